// Skinning in the vertex stage. `skinDataTexture` (RGBA32F, wrapping rows like the other data
// textures) holds: texel 0 x = H (int bits), the index of the first joint texel; texel 1 + o x =
// the first joint of object o's skin (int bits, -1 for none); from texel H on, four texels (matrix
// columns) per joint. Joint matrices are world space (absolute joint x inverse bind), so a skinned
// vertex ignores its object's own transformation.

uniform sampler2D skinDataTexture;

vec4 skinTexel(int i) {
    int w = textureSize(skinDataTexture, 0).x;
    return texelFetch(skinDataTexture, ivec2(i % w, i/w), 0);
}

mat4 jointMatrix(int first, uint joint) {
    int base = floatBitsToInt(skinTexel(0).x) + (first + int(joint))*4;
    return mat4(skinTexel(base), skinTexel(base + 1), skinTexel(base + 2), skinTexel(base + 3));
}

// The weighted joint matrix of a vertex; the identity for an object without a skin.
mat4 skinMatrix(uint object, uvec4 joints, vec4 weights) {
    int first = floatBitsToInt(skinTexel(1 + int(object)).x);
    if(first < 0) return mat4(1.0);
    return jointMatrix(first, joints.x)*weights.x + jointMatrix(first, joints.y)*weights.y +
           jointMatrix(first, joints.z)*weights.z + jointMatrix(first, joints.w)*weights.w;
}
