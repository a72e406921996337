// Colour space conversions and tone mapping.

vec3 srgbToLinear(vec3 c) {
    return mix(c/12.92, pow((c + 0.055)/1.055, vec3(2.4)), step(vec3(0.04045), c));
}
vec3 linearToSrgb(vec3 c) {
    c = max(c, vec3(0.0));
    return mix(c*12.92, 1.055*pow(c, vec3(1.0/2.4)) - 0.055, step(vec3(0.0031308), c));
}

// Rec. 709 luma weights.
float luminance(vec3 c) { return dot(c, vec3(0.2126, 0.7152, 0.0722)); }

vec3 tonemapReinhard(vec3 c) { return c/(1.0 + c); }

// Narkowicz's fit of the ACES filmic curve.
vec3 tonemapAces(vec3 c) {
    const float a = 2.51, b = 0.03, d = 0.59, e = 0.14, f = 2.43;
    return clamp((c*(a*c + b))/(c*(f*c + d) + e), 0.0, 1.0);
}

// Tone-mapping modes of the bloom pass: 0 none (clamp), 1 Reinhard, 2 ACES.
vec3 tonemap(vec3 c, uint mode) {
    if(mode == 1u) return tonemapReinhard(c);
    if(mode == 2u) return tonemapAces(c);
    return clamp(c, 0.0, 1.0);
}
