#define SHADER_INTERNAL
#define SHADER_TYPE_SCREENSPACE_QUAD
// Pre-filters an equirectangular environment for one roughness level of the split-sum specular
// approximation. The target is the equirectangular level itself, so the pixel's screen position is
// its direction; normal and view are both taken to be that direction.
//
// Importance-sampled GGX reads a mip level of the source matched to the solid angle a sample stands
// for, which keeps 1024 samples free of fireflies from small bright sources.

#include "lib/Math.glsl"
#include "lib/Uniforms.glsl"
#include "lib/CoordinateSystems.glsl"
#include "lib/Equirect.glsl"
#include "lib/PhysicalBSDF.glsl"

#define SAMPLE_COUNT 1024u

layout(std140) uniform PerBake {
    vec3 tint;
    float texelCount;  // source width times height, at level 0
    float roughness;
};

uniform sampler2D environment;

in vec2 screenPosition;
layout(location = 0) out vec4 fragmentColor;

void main() {
    vec3 n = equirectToDirection(screenPosition);
    vec3 v = n;
    mat3 frame = tangentFrame(n);
    float alpha = roughness*roughness;
    float texelSolidAngle = 4.0*PI/texelCount;

    vec3 sum = vec3(0.0);
    float weight = 0.0;
    for(uint i = 0u; i != SAMPLE_COUNT; ++i) {
        vec3 h = frame*importanceSampleGGX(hammersley(i, SAMPLE_COUNT), alpha);
        vec3 l = reflect(-v, h);
        float NoL = dot(n, l);
        if(NoL <= EPSILON) continue;

        float level = 0.0;
        // A mirror has a zero-width lobe (and D would be 0/0), so it reads the top level directly.
        if(roughness > EPSILON) {
            float NoH = saturate(dot(n, h));
            float HoV = saturate(dot(h, v));
            float pdf = max(distributionGGX(NoH, alpha)*NoH/(4.0*HoV), 0.0001);
            float sampleSolidAngle = 1.0/(float(SAMPLE_COUNT)*pdf);
            level = max(0.5*log2(sampleSolidAngle/texelSolidAngle), 0.0);
        }
        sum += textureLod(environment, directionToEquirect(l), level).rgb*tint*NoL;
        weight += NoL;
    }
    fragmentColor = vec4(sum/max(weight, EPSILON), 1.0);
}
