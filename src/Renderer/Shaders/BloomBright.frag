#define SHADER_INTERNAL
#define SHADER_TYPE_SCREENSPACE_QUAD
// Bloom's first step: the part of the HDR image above the threshold, at half resolution. A soft knee
// keeps colours just above the threshold from popping in.

#include "lib/Color.glsl"

uniform sampler2D source;
uniform float threshold;

in vec2 screenPosition;
layout(location = 0) out vec4 fragmentColor;

void main() {
    vec3 c = texture(source, screenPosition).rgb;
    float l = luminance(c);
    float excess = max(l - threshold, 0.0);
    fragmentColor = vec4(l > 0.0 ? c*(excess/l) : vec3(0.0), 1.0);
}
