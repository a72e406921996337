// Quaternions as vec4(x, y, z, w) and unit dual quaternions (real, dual) with dual = 0.5*t*real,
// the layout the engine uploads for transformations and joints.

vec4 quatMultiply(vec4 a, vec4 b) {
    return vec4(a.w*b.xyz + b.w*a.xyz + cross(a.xyz, b.xyz), a.w*b.w - dot(a.xyz, b.xyz));
}
vec4 quatConjugate(vec4 q) { return vec4(-q.xyz, q.w); }

// Rotates v by the unit quaternion q (the expanded form of q*v*conj(q)).
vec3 quatRotate(vec4 q, vec3 v) {
    vec3 t = 2.0*cross(q.xyz, v);
    return v + q.w*t + cross(q.xyz, t);
}

vec3 dualQuatTranslation(vec4 real, vec4 dual) {
    return 2.0*quatMultiply(dual, quatConjugate(real)).xyz;
}

vec3 dualQuatTransformPoint(vec4 real, vec4 dual, vec3 p) {
    return quatRotate(real, p) + dualQuatTranslation(real, dual);
}

mat3 quatToMatrix(vec4 q) {
    float x2 = q.x + q.x, y2 = q.y + q.y, z2 = q.z + q.z;
    float xx = q.x*x2, xy = q.x*y2, xz = q.x*z2, yy = q.y*y2, yz = q.y*z2, zz = q.z*z2;
    float wx = q.w*x2, wy = q.w*y2, wz = q.w*z2;
    return mat3(1.0 - (yy + zz), xy + wz, xz - wy,
                xy - wz, 1.0 - (xx + zz), yz + wx,
                xz + wy, yz - wx, 1.0 - (xx + yy));
}

// Scale, then rotate, then translate, as one matrix.
mat4 dualQuatToMatrix(vec4 real, vec4 dual, vec3 scaling) {
    mat3 r = quatToMatrix(real);
    return mat4(vec4(r[0]*scaling.x, 0.0), vec4(r[1]*scaling.y, 0.0), vec4(r[2]*scaling.z, 0.0),
                vec4(dualQuatTranslation(real, dual), 1.0));
}

// Dual quaternion linear blending: each further joint's weight takes the sign of its rotation's dot
// product with the first (antipodality), and the sum is normalised by its rotation's length.
struct DualQuatBlend { vec4 real; vec4 dual; vec4 pivot; };

DualQuatBlend dualQuatBlendBegin(vec4 real, vec4 dual, float weight) {
    return DualQuatBlend(real*weight, dual*weight, real);
}
void dualQuatBlendAdd(inout DualQuatBlend b, vec4 real, vec4 dual, float weight) {
    float w = dot(b.pivot, real) < 0.0 ? -weight : weight;
    b.real += real*w;
    b.dual += dual*w;
}
void dualQuatBlendEnd(inout DualQuatBlend b) {
    float l = length(b.real);
    b.real /= l;
    b.dual /= l;
}
