#define SHADER_INTERNAL
#define SHADER_TYPE_SCREENSPACE_QUAD
// One separable Gaussian step (9 taps) along `direction`, in texels of the source scaled by the width.

uniform sampler2D source;
uniform vec2 direction;

in vec2 screenPosition;
layout(location = 0) out vec4 fragmentColor;

void main() {
    vec2 texel = direction/vec2(textureSize(source, 0));
    const float weights[5] = float[](0.227027, 0.1945946, 0.1216216, 0.054054, 0.016216);
    vec3 sum = texture(source, screenPosition).rgb*weights[0];
    for(int i = 1; i < 5; ++i) {
        sum += texture(source, screenPosition + texel*float(i)).rgb*weights[i];
        sum += texture(source, screenPosition - texel*float(i)).rgb*weights[i];
    }
    fragmentColor = vec4(sum, 1.0);
}
