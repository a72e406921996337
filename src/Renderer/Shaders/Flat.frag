#define SHADER_INTERNAL
#define SHADER_TYPE_FORWARD
// Unlit colour, times the vertex colour and, with TEXTURED, a texture. Its alpha is what the
// "Flat Transparent" pipeline blends with.

#include "lib/Inputs.glsl"
#include "lib/Textures.glsl"

#pragma material vec4 color 1.0 1.0 1.0 1.0
#pragma material texture colorTexture

layout(location = 0) out vec4 fragmentColor;

void main() {
    Material material = loadMaterial(surfaceMaterial);
    vec4 color = material.color*surfaceColor;
#ifdef TEXTURED
    color *= sampleTexture(material.colorTexture, surfaceUV);
#endif
    fragmentColor = color;
}
