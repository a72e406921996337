#define SHADER_INTERNAL
#define SHADER_TYPE_FORWARD
// The sky behind everything, drawn with FullScreenTriangle.vert at the far plane: an equirectangular
// texture when the material has one, otherwise a gradient from the ground through the horizon to
// the zenith.

#include "lib/Math.glsl"
#include "lib/Uniforms.glsl"
#include "lib/CoordinateSystems.glsl"
#include "lib/Equirect.glsl"
#include "lib/Textures.glsl"

#pragma material vec4 zenithColor 0.25 0.45 0.8 1.0
#pragma material vec4 horizonColor 0.75 0.85 0.95 1.0
#pragma material vec4 groundColor 0.3 0.28 0.25 1.0
#pragma material float intensity 1.0
#pragma material texture skyTexture

uniform uint skyMaterial;

in vec2 screenPosition;
layout(location = 0) out vec4 fragmentColor;

void main() {
    Material material = loadMaterial(skyMaterial);
    vec3 direction = screenToWorldDirection(screenPosition);
    vec3 color;
    if(material.skyTexture != 0u) {
        vec4 bounds = textureAtlasBounds(material.skyTexture);
        float layer = fetchLinear(textureBounds, int(material.skyTexture)*2 + 1).x;
        // No mip selection: the equirect seam would pick the smallest level along it.
        vec2 uv = bounds.xy + directionToEquirect(direction)*bounds.zw;
        color = textureLod(textureAtlas, vec3(uv, layer), 0.0).rgb;
    } else {
        float h = direction.y;
        color = h >= 0.0 ? mix(material.horizonColor.rgb, material.zenithColor.rgb, sqrt(h))
                         : mix(material.horizonColor.rgb, material.groundColor.rgb, sqrt(-h));
    }
    fragmentColor = vec4(color*material.intensity, 1.0);
}
