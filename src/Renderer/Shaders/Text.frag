#define SHADER_INTERNAL
#define SHADER_TYPE_FORWARD
// Text from signed-distance glyphs: glyphTexture layer `font` holds that font's glyphs with the
// outline at 0.5 (inside above). An effect colour with non-zero alpha draws an outline band around
// the glyphs; anti-aliasing is one screen pixel wide whatever the text's size.

#include "lib/Inputs.glsl"

#pragma material vec4 color 1.0 1.0 1.0 1.0
#pragma material vec4 effectColor 0.0 0.0 0.0 0.0
#pragma material uint font 0
#pragma material float effectWidth 0.15

uniform sampler2DArray glyphTexture;

layout(location = 0) out vec4 fragmentColor;

void main() {
    Material material = loadMaterial(surfaceMaterial);
    float distance = texture(glyphTexture, vec3(surfaceUV, float(material.font))).r;
    float aa = max(fwidth(distance), 1e-4)*0.5;
    float inside = smoothstep(0.5 - aa, 0.5 + aa, distance);
    vec4 color = material.color*surfaceColor;
    if(material.effectColor.a > 0.0) {
        float edge = 0.5 - material.effectWidth;
        float outline = smoothstep(edge - aa, edge + aa, distance);
        vec4 effect = vec4(material.effectColor.rgb, material.effectColor.a*outline);
        color = mix(effect, color, inside);
    } else {
        color.a *= inside;
    }
    if(color.a <= 0.0) discard;
    fragmentColor = color;
}
