// Indirect light: the ambient spherical harmonics of the Frame block, the pre-filtered environment
// and the irradiance probe volume. Needs lib/Math.glsl, lib/Uniforms.glsl and lib/Equirect.glsl.

uniform sampler2D environmentTexture;     // equirect, one mip level per specular roughness step
uniform sampler3D probeVolumeTexture;// x = probe.x*4 + L1 coefficient, y, z = probe y, z

// Irradiance divided by pi (so that albedo*result is the reflected radiance) from the radiance SH,
// with the cosine lobe convolved in per band (pi, 2pi/3, pi/4 before the division).
vec3 evaluateSH(vec3 n) {
    if(shCount == 0u) return vec3(0.0);
    const float a0 = 1.0, a1 = 2.0/3.0, a2 = 0.25;
    vec3 r = shCoefficients[0].rgb*(0.282095*a0);
    if(shCount >= 4u) {
        r += shCoefficients[1].rgb*(0.488603*a1*n.y);
        r += shCoefficients[2].rgb*(0.488603*a1*n.z);
        r += shCoefficients[3].rgb*(0.488603*a1*n.x);
    }
    if(shCount >= 9u) {
        r += shCoefficients[4].rgb*(1.092548*a2*n.x*n.y);
        r += shCoefficients[5].rgb*(1.092548*a2*n.y*n.z);
        r += shCoefficients[6].rgb*(0.315392*a2*(3.0*n.z*n.z - 1.0));
        r += shCoefficients[7].rgb*(1.092548*a2*n.x*n.z);
        r += shCoefficients[8].rgb*(0.546274*a2*(n.x*n.x - n.y*n.y));
    }
    return max(r, vec3(0.0))*ambientTint.rgb;
}

// Pre-filtered environment radiance along r; level 0 is the mirror, the last level roughness 1.
vec3 environmentSpecular(vec3 r, float roughness) {
    if(environmentLevels == 0u) return evaluateSH(r);
    float level = roughness*float(environmentLevels - 1u);
    return textureLod(environmentTexture, directionToEquirect(r), level).rgb*ambientTint.rgb;
}

bool probeVolumeEnabled() { return probeVolumeOrigin.w > 0.5; }

// Irradiance divided by pi at a world position from the L1 SH of the eight surrounding probes,
// trilinearly weighted; probes outside the grid are clamped to its border.
vec3 probeVolumeIrradiance(vec3 position, vec3 n) {
    vec3 grid = (position - probeVolumeOrigin.xyz)/probeVolumeSpacing.xyz;
    ivec3 counts = max(probeVolumeCounts.xyz, ivec3(1));
    grid = clamp(grid, vec3(0.0), vec3(counts - 1));
    ivec3 base = min(ivec3(floor(grid)), counts - 1);
    vec3 f = grid - vec3(base);
    vec3 sh[4];
    for(int c = 0; c != 4; ++c) sh[c] = vec3(0.0);
    for(int i = 0; i != 8; ++i) {
        ivec3 corner = ivec3(i & 1, (i >> 1) & 1, (i >> 2) & 1);
        ivec3 probe = min(base + corner, counts - 1);
        vec3 w3 = mix(1.0 - f, f, vec3(corner));
        float w = w3.x*w3.y*w3.z;
        for(int c = 0; c != 4; ++c)
            sh[c] += texelFetch(probeVolumeTexture, ivec3(probe.x*4 + c, probe.y, probe.z), 0).rgb*w;
    }
    const float a1 = 2.0/3.0;
    vec3 r = sh[0]*0.282095 + (sh[1]*n.y + sh[2]*n.z + sh[3]*n.x)*(0.488603*a1);
    return max(r, vec3(0.0))*probeVolumeTint.rgb;
}

// Diffuse ambient for a surface: the probe volume when enabled, else the scene SH.
vec3 ambientDiffuse(vec3 position, vec3 n) {
    return probeVolumeEnabled() ? probeVolumeIrradiance(position, n) : evaluateSH(n);
}
