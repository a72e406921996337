#define SHADER_INTERNAL
#define SHADER_TYPE_SCREENSPACE_QUAD
// The overdraw count as a heat image: black where nothing was drawn, then blue, green, yellow and red
// at `maxCount` fragments per pixel and above.

uniform sampler2D overdrawCount;
uniform float maxCount;

in vec2 screenPosition;
layout(location = 0) out vec4 fragmentColor;

void main() {
    float count = texture(overdrawCount, screenPosition).r;
    if(count < 0.5) {
        fragmentColor = vec4(0.0, 0.0, 0.0, 1.0);
        return;
    }
    float t = clamp((count - 1.0)/max(maxCount - 1.0, 1.0), 0.0, 1.0);
    vec3 heat = t < 0.33 ? mix(vec3(0.0, 0.0, 1.0), vec3(0.0, 1.0, 0.0), t/0.33)
              : t < 0.66 ? mix(vec3(0.0, 1.0, 0.0), vec3(1.0, 1.0, 0.0), (t - 0.33)/0.33)
              : mix(vec3(1.0, 1.0, 0.0), vec3(1.0, 0.0, 0.0), (t - 0.66)/0.34);
    fragmentColor = vec4(heat, 1.0);
}
