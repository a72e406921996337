#define SHADER_INTERNAL
#define SHADER_TYPE_FORWARD
// Blinn-Phong lit by the scene's lights and their shadow maps, with SH (or probe volume) ambient. With TEXTURED the
// diffuse and specular colours are multiplied by their textures.

#include "lib/Math.glsl"
#include "lib/Uniforms.glsl"
#include "lib/Inputs.glsl"
#include "lib/CoordinateSystems.glsl"
#include "lib/Color.glsl"
#include "lib/Equirect.glsl"
#include "lib/GI.glsl"
#include "lib/Lights.glsl"
#include "lib/Shadows.glsl"
#include "lib/Textures.glsl"

#pragma material vec4 diffuseColor 0.8 0.8 0.8 1.0
#pragma material vec4 specularColor 0.2 0.2 0.2 1.0
#pragma material vec4 ambientColor 1.0 1.0 1.0 1.0
#pragma material float shininess 80.0
#pragma material texture diffuseTexture
#pragma material texture specularTexture

layout(location = 0) out vec4 fragmentColor;

void main() {
    Material material = loadMaterial(surfaceMaterial);
    vec4 diffuse = material.diffuseColor*surfaceColor;
    vec3 specular = material.specularColor.rgb;
#ifdef TEXTURED
    diffuse *= sampleTexture(material.diffuseTexture, surfaceUV);
    specular *= sampleTexture(material.specularTexture, surfaceUV).rgb;
#endif
    vec3 n = safeNormalize(surfaceNormal, vec3(0.0, 0.0, 1.0));
    if(!gl_FrontFacing) n = -n;
    vec3 v = viewDirection(surfacePosition);

    vec3 color = diffuse.rgb*material.ambientColor.rgb*ambientDiffuse(surfacePosition, n);
    for(uint i = 0u; i != min(lightCount, uint(MAX_LIGHTS)); ++i) {
        vec3 l;
        vec3 radiance = incomingLight(i, surfacePosition, l)*shadowFactor(i, surfacePosition, n);
        float NoL = dot(n, l);
        if(NoL <= 0.0) continue;
        vec3 h = normalize(l + v);
        // Normalised so that raising the shininess narrows the highlight without brightening it.
        float highlight = pow(saturate(dot(n, h)), material.shininess)*(material.shininess + 8.0)/(8.0*PI);
        color += radiance*NoL*(diffuse.rgb*INV_PI + specular*highlight);
    }
    fragmentColor = vec4(color, diffuse.a);
}
