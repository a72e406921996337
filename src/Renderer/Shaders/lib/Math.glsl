// Constants and small numeric helpers shared by every stage.
#define PI 3.14159265358979
#define TWO_PI 6.28318530717959
#define INV_PI 0.318309886183791
#define EPSILON 1e-5

float saturate(float x) { return clamp(x, 0.0, 1.0); }
vec3 saturate(vec3 x) { return clamp(x, 0.0, 1.0); }
float pow2(float x) { return x*x; }
float pow5(float x) { float x2 = x*x; return x2*x2*x; }
float maxComponent(vec3 v) { return max(v.x, max(v.y, v.z)); }

// Normalises, or returns the fallback for a (near) zero vector instead of NaNs.
vec3 safeNormalize(vec3 v, vec3 fallback) {
    float l = dot(v, v);
    return l > 1e-12 ? v*inversesqrt(l) : fallback;
}

// Van der Corput radical inverse in base 2 (bit reversal of a 32-bit index).
float radicalInverse(uint bits) {
    bits = (bits << 16u) | (bits >> 16u);
    bits = ((bits & 0x55555555u) << 1u) | ((bits & 0xAAAAAAAAu) >> 1u);
    bits = ((bits & 0x33333333u) << 2u) | ((bits & 0xCCCCCCCCu) >> 2u);
    bits = ((bits & 0x0F0F0F0Fu) << 4u) | ((bits & 0xF0F0F0F0u) >> 4u);
    bits = ((bits & 0x00FF00FFu) << 8u) | ((bits & 0xFF00FF00u) >> 8u);
    return float(bits)*2.3283064365386963e-10;
}

// Point i of an n-point Hammersley set in [0, 1)^2.
vec2 hammersley(uint i, uint n) { return vec2(float(i)/float(n), radicalInverse(i)); }
