// Direct light from the Lights block. Needs lib/Math.glsl and lib/Uniforms.glsl.

// Radiance arriving at `position` from light i, and the unit direction towards the light in `l`.
// Point and spot lights fall off with the inverse square of the distance, windowed to zero at their
// range so that lights can be culled there; suns arrive unattenuated.
vec3 incomingLight(uint i, vec3 position, out vec3 l) {
    LightData light = lights[i];
    vec3 radiance = light.colorIntensity.rgb*light.colorIntensity.w;
    uint type = uint(light.positionType.w + 0.5);
    if(type == LIGHT_TYPE_SUN) {
        l = -normalize(light.directionRange.xyz);
        return radiance;
    }
    vec3 toLight = light.positionType.xyz - position;
    float d2 = max(dot(toLight, toLight), 1e-4);
    l = toLight*inversesqrt(d2);
    float attenuation = 1.0/d2;
    float range = light.directionRange.w;
    if(range > 0.0) attenuation *= pow2(saturate(1.0 - pow2(d2/(range*range))));
    if(type == LIGHT_TYPE_SPOT) {
        float cosAngle = dot(-l, normalize(light.directionRange.xyz));
        attenuation *= smoothstep(light.spotShadow.y, light.spotShadow.x, cosAngle);
    }
    return radiance*attenuation;
}
