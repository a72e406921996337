// Shadow lookups for the lights of the Lights block. Needs lib/Uniforms.glsl.

uniform sampler2DArrayShadow shadowMaps;

// The layer of light i's shadow map that covers `position`, or -1 when the light casts none.
int shadowLayer(uint i, vec3 position) {
    int layer = int(floor(lights[i].spotShadow.z + 0.5));
    if(layer < 0) return -1;
    uint type = uint(lights[i].positionType.w + 0.5);
    if(type == LIGHT_TYPE_POINT) {
        vec3 d = position - lights[i].positionType.xyz;
        vec3 a = abs(d);
        if(a.x >= a.y && a.x >= a.z) layer += d.x >= 0.0 ? 0 : 1;
        else if(a.y >= a.z) layer += d.y >= 0.0 ? 2 : 3;
        else layer += d.z >= 0.0 ? 4 : 5;
    } else if(type == LIGHT_TYPE_SUN) {
        float depth = -(views[viewIndex].viewMatrix*vec4(position, 1.0)).z;
        int cascades = max(int(shadowParameters.w + 0.5), 1);
        int cascade = 0;
        for(int c = 0; c < cascades - 1; ++c)
            if(depth > cascadeSplits[c]) cascade = c + 1;
        layer += cascade;
    }
    return layer < MAX_SHADOW_MAPS ? layer : -1;
}

// 1 where light i reaches `position` unoccluded, 0 in full shadow; 3x3 percentage-closer filtered.
// Surfaces are pushed along their normal first so that they do not shadow themselves.
float shadowFactor(uint i, vec3 position, vec3 normal) {
    int layer = shadowLayer(i, position);
    if(layer < 0) return 1.0;
    vec4 p = shadowMatrices[layer]*vec4(position + normal*shadowParameters.y, 1.0);
    vec3 uvz = p.xyz/p.w*0.5 + 0.5;
    if(any(lessThan(uvz, vec3(0.0))) || any(greaterThan(uvz, vec3(1.0)))) return 1.0;
    float reference = uvz.z - shadowParameters.x;
    float lit = 0.0;
    for(int y = -1; y <= 1; ++y)
        for(int x = -1; x <= 1; ++x)
            lit += texture(shadowMaps, vec4(uvz.xy + vec2(x, y)*shadowParameters.z, float(layer), reference));
    return lit/9.0;
}
