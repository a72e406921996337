#define SHADER_INTERNAL
#define SHADER_TYPE_FORWARD
// Metallic-roughness shading lit by the scene's lights and their shadow maps, with SH (or probe volume) diffuse ambient and
// the pre-filtered environment for specular ambient. With TEXTURED the base colour, metallic-roughness
// (glTF channels: roughness in green, metallic in blue), normal and emissive textures apply.

#include "lib/Math.glsl"
#include "lib/Uniforms.glsl"
#include "lib/Inputs.glsl"
#include "lib/CoordinateSystems.glsl"
#include "lib/Color.glsl"
#include "lib/Equirect.glsl"
#include "lib/GI.glsl"
#include "lib/PhysicalBSDF.glsl"
#include "lib/Lights.glsl"
#include "lib/Shadows.glsl"
#include "lib/Textures.glsl"

#pragma material vec4 baseColor 1.0 1.0 1.0 1.0
#pragma material vec3 emissiveColor 0.0 0.0 0.0
#pragma material float metallic 0.0
#pragma material float roughness 0.5
#pragma material float normalScale 1.0
#pragma material float occlusion 1.0
#pragma material texture baseColorTexture
#pragma material texture metallicRoughnessTexture
#pragma material texture normalTexture
#pragma material texture emissiveTexture

layout(location = 0) out vec4 fragmentColor;

void main() {
    Material material = loadMaterial(surfaceMaterial);
    vec4 base = material.baseColor*surfaceColor;
    float metallic = material.metallic, roughness = material.roughness;
    vec3 emissive = material.emissiveColor;
    vec3 n = safeNormalize(surfaceNormal, vec3(0.0, 0.0, 1.0));
    if(!gl_FrontFacing) n = -n;
#ifdef TEXTURED
    base *= sampleTexture(material.baseColorTexture, surfaceUV);
    vec4 mr = sampleTexture(material.metallicRoughnessTexture, surfaceUV);
    roughness *= mr.g;
    metallic *= mr.b;
    emissive *= sampleTexture(material.emissiveTexture, surfaceUV).rgb;
#ifdef TANGENT
    if(material.normalTexture != 0u) {
        vec3 t = safeNormalize(surfaceTangent.xyz - n*dot(n, surfaceTangent.xyz), tangentFrame(n)[0]);
        vec3 b = cross(n, t)*surfaceTangent.w;
        vec3 tn = sampleTexture(material.normalTexture, surfaceUV).xyz*2.0 - 1.0;
        tn.xy *= material.normalScale;
        n = normalize(mat3(t, b, n)*tn);
    }
#endif
#endif
    SurfaceParameters s = SurfaceParameters(base.rgb, saturate(metallic), clamp(roughness, 0.03, 1.0),
                                            material.occlusion);
    vec3 v = viewDirection(surfacePosition);
    float NoV = max(dot(n, v), 1e-4);

    vec2 brdf = environmentBRDF(NoV, s.roughness);
    vec3 ambient = diffuseColor(s)*ambientDiffuse(surfacePosition, n) +
                   (specularColor(s)*brdf.x + brdf.y)*environmentSpecular(reflect(-v, n), s.roughness);
    vec3 color = ambient*s.occlusion + emissive;
    for(uint i = 0u; i != min(lightCount, uint(MAX_LIGHTS)); ++i) {
        vec3 l;
        vec3 radiance = incomingLight(i, surfacePosition, l)*shadowFactor(i, surfacePosition, n);
        color += radiance*evaluateBSDF(s, n, v, l);
    }
    fragmentColor = vec4(color, base.a);
}
