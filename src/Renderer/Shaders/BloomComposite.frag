#define SHADER_INTERNAL
#define SHADER_TYPE_SCREENSPACE_QUAD
// The HDR image plus the blurred highlights, exposed and tone-mapped to the display range.

#include "lib/Color.glsl"

uniform sampler2D source;
uniform sampler2D bloom;
uniform float intensity;
uniform float exposure;
uniform uint tonemappingMode;

in vec2 screenPosition;
layout(location = 0) out vec4 fragmentColor;

void main() {
    vec4 c = texture(source, screenPosition);
    vec3 hdr = (c.rgb + texture(bloom, screenPosition).rgb*intensity)*exposure;
    fragmentColor = vec4(tonemap(hdr, tonemappingMode), 1.0);
}
