// Metallic-roughness BSDF: GGX distribution, height-correlated Smith visibility, Schlick Fresnel and
// a Lambertian diffuse lobe. Needs lib/Math.glsl.

struct SurfaceParameters {
    vec3 baseColor;
    float metallic;
    float roughness;     // perceptual; alpha = roughness^2
    float occlusion;
};

float distributionGGX(float NoH, float alpha) {
    float a2 = alpha*alpha;
    float d = NoH*NoH*(a2 - 1.0) + 1.0;
    return a2/(PI*d*d);
}

// Smith G divided by 4 N.L N.V, so that D*V*F is the whole specular term.
float visibilitySmithGGX(float NoV, float NoL, float alpha) {
    float a2 = alpha*alpha;
    float v = NoL*sqrt(NoV*NoV*(1.0 - a2) + a2);
    float l = NoV*sqrt(NoL*NoL*(1.0 - a2) + a2);
    return 0.5/max(v + l, 1e-6);
}

vec3 fresnelSchlick(vec3 f0, float VoH) { return f0 + (1.0 - f0)*pow5(1.0 - VoH); }

vec3 specularColor(SurfaceParameters s) { return mix(vec3(0.04), s.baseColor, s.metallic); }
vec3 diffuseColor(SurfaceParameters s) { return s.baseColor*(1.0 - s.metallic); }

// Reflected radiance per unit of incoming radiance from direction l, cosine included.
vec3 evaluateBSDF(SurfaceParameters s, vec3 n, vec3 v, vec3 l) {
    float NoL = dot(n, l);
    if(NoL <= 0.0) return vec3(0.0);
    vec3 h = normalize(v + l);
    float NoV = max(dot(n, v), 1e-4);
    float NoH = saturate(dot(n, h));
    float VoH = saturate(dot(v, h));
    float alpha = max(s.roughness*s.roughness, 0.002);
    vec3 F = fresnelSchlick(specularColor(s), VoH);
    vec3 specular = F*(distributionGGX(NoH, alpha)*visibilitySmithGGX(NoV, NoL, alpha));
    vec3 diffuse = (1.0 - F)*diffuseColor(s)*INV_PI;
    return (diffuse + specular)*NoL;
}

// Split-sum environment BRDF scale and bias, Karis' analytic fit for mobile.
vec2 environmentBRDF(float NoV, float roughness) {
    const vec4 c0 = vec4(-1.0, -0.0275, -0.572, 0.022);
    const vec4 c1 = vec4(1.0, 0.0425, 1.04, -0.04);
    vec4 r = roughness*c0 + c1;
    float a004 = min(r.x*r.x, exp2(-9.28*NoV))*r.x + r.y;
    return vec2(-1.04, 1.04)*a004 + r.zw;
}

// GGX importance sample of a half vector around +Z for uniform point xi.
vec3 importanceSampleGGX(vec2 xi, float alpha) {
    float phi = TWO_PI*xi.x;
    float cosTheta = sqrt((1.0 - xi.y)/(1.0 + (alpha*alpha - 1.0)*xi.y));
    float sinTheta = sqrt(1.0 - cosTheta*cosTheta);
    return vec3(cos(phi)*sinTheta, sin(phi)*sinTheta, cosTheta);
}
