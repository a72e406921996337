#define SHADER_INTERNAL
#define SHADER_TYPE_FORWARD
// Shows what the irradiance probe volume gives a surface: the volume's irradiance at the surface's
// position and normal, Reinhard tone-mapped so that bright probes stay readable.

#include "lib/Math.glsl"
#include "lib/Uniforms.glsl"
#include "lib/Inputs.glsl"
#include "lib/Color.glsl"
#include "lib/Equirect.glsl"
#include "lib/GI.glsl"

layout(location = 0) out vec4 fragmentColor;

void main() {
    vec3 n = safeNormalize(surfaceNormal, vec3(0.0, 1.0, 0.0));
    if(!gl_FrontFacing) n = -n;
    fragmentColor = vec4(tonemapReinhard(probeVolumeIrradiance(surfacePosition, n)), 1.0);
}
