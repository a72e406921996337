// #define SHADER_INTERNAL
// Not internal yet: projects with their own vertex layouts pair it with their pipelines until the
// engine has built-in resources they can refer to instead.
#define SHADER_TYPE_SKINNING
// Skins and morphs vertices once per frame and writes them out by transform feedback, so that every
// later pass (depth, shadows, forward, picking) draws the result as plain pre-transformed geometry.
//
// Joint data lives in the array texture `skinDataTexture` (RGBA32F): skin s uses layer
// s >> NUM_ROWS_LOG2, row s & (2^NUM_ROWS_LOG2 - 1), and joint j of it the texels
//   3j       rotation quaternion (the real part of the joint's dual quaternion)
//   3j + 1   dual part (the translation)
//   3j + 2   scaling xyz
//
// `skinList` holds the skin of each draw as 16-bit halves, two draws per entry (even draw ids in the
// low half); skin 0 means the draw is not skinned.

#include "lib/Inputs.glsl"
#include "lib/Quaternion.glsl"
#include "lib/Packing.glsl"
#ifdef MORPH_TARGETS
#include "lib/MorphTargets.glsl"
#endif

#ifndef NUM_ROWS_LOG2
#define NUM_ROWS_LOG2 6
#endif
#ifndef MAX_SKINNED_DRAWS
#define MAX_SKINNED_DRAWS 256
#endif

#ifndef MULTIDRAW
uniform uint idOffset;
#endif
#ifdef PRIMARY_JOINTS
uniform sampler2DArray skinDataTexture;
uniform uint skinList[MAX_SKINNED_DRAWS/2];
#endif

// Transform feedback captures whole floats and uints only, so the narrow attributes are packed.
out vec3 skinnedPosition;
#ifdef TEXTURE_COORDS
out vec2 skinnedTextureCoordinates;
#endif
#ifdef TEXTURE_COORDS_1
out vec2 skinnedTextureCoordinates1;
#endif
#ifdef COLOR
flat out uvec2 skinnedColor;          // unorm 16 bits per channel: rg, ba
#endif
#if defined(TANGENT) || defined(NORMAL)
flat out uvec2 skinnedTangentNormal;  // snorm 8 bits per channel: tangent xyzw, normal xyz
#endif
#ifndef MULTIDRAW
flat out uint skinnedObjectId;
#endif

uint packUnorm2x16Portable(vec2 v) {
    uvec2 b = uvec2(round(clamp(v, 0.0, 1.0)*65535.0));
    return b.x | (b.y << 16u);
}

uint packSnorm4x8Portable(vec4 v) {
    ivec4 i = ivec4(round(clamp(v, -1.0, 1.0)*127.0));
    uvec4 b = uvec4(i) & 0xffu;
    return b.x | (b.y << 8u) | (b.z << 16u) | (b.w << 24u);
}

#ifdef PRIMARY_JOINTS
struct Joint { vec4 real; vec4 dual; vec3 scaling; };

Joint fetchJoint(ivec2 row, int layer, uint joint) {
    int x = int(joint)*3;
    return Joint(texelFetch(skinDataTexture, ivec3(x, row.y, layer), 0),
                 texelFetch(skinDataTexture, ivec3(x + 1, row.y, layer), 0),
                 texelFetch(skinDataTexture, ivec3(x + 2, row.y, layer), 0).xyz);
}
#endif

void main() {
#ifdef MULTIDRAW
    uint drawId = uint(gl_DrawID);
#else
    uint drawId = vertexObjectId - idOffset;
#endif

    vec3 position = vertexPosition;
#ifdef NORMAL
    vec3 normal = vertexNormal;
#else
    vec3 normal = vec3(0.0, 0.0, 1.0);
#endif
#ifdef TANGENT
    vec4 tangent = vertexTangent;
#endif

#ifdef MORPH_TARGETS
    applyMorphTargets(drawId, gl_VertexID, position, normal);
#endif

#ifdef PRIMARY_JOINTS
    uint skin = unpackHalfOfPair(skinList[drawId >> 1u], drawId);
    if(skin != 0u) {
        int layer = int(skin >> uint(NUM_ROWS_LOG2));
        ivec2 row = ivec2(0, int(skin & ((1u << uint(NUM_ROWS_LOG2)) - 1u)));

        Joint first = fetchJoint(row, layer, vertexJoints.x);
        DualQuatBlend blend = dualQuatBlendBegin(first.real, first.dual, vertexWeights.x);
        vec3 scaling = first.scaling*vertexWeights.x;
        float weightSum = vertexWeights.x;
        for(int i = 1; i != 4; ++i) {
            Joint j = fetchJoint(row, layer, vertexJoints[i]);
            dualQuatBlendAdd(blend, j.real, j.dual, vertexWeights[i]);
            scaling += j.scaling*vertexWeights[i];
            weightSum += vertexWeights[i];
        }
#ifdef SECONDARY_JOINTS
        for(int i = 0; i != 4; ++i) {
            Joint j = fetchJoint(row, layer, vertexSecondaryJoints[i]);
            dualQuatBlendAdd(blend, j.real, j.dual, vertexSecondaryWeights[i]);
            scaling += j.scaling*vertexSecondaryWeights[i];
            weightSum += vertexSecondaryWeights[i];
        }
#endif
        dualQuatBlendEnd(blend);
        scaling /= weightSum;

        position = dualQuatTransformPoint(blend.real, blend.dual, scaling*position);
        normal = quatRotate(blend.real, normal);
#ifdef TANGENT
        tangent.xyz = quatRotate(blend.real, tangent.xyz);
#endif
    }
#endif

    skinnedPosition = position;
#ifdef TEXTURE_COORDS
    skinnedTextureCoordinates = vertexTextureCoordinates;
#endif
#ifdef TEXTURE_COORDS_1
    skinnedTextureCoordinates1 = vertexTextureCoordinates1;
#endif
#ifdef COLOR
    skinnedColor = uvec2(packUnorm2x16Portable(vertexColor.rg), packUnorm2x16Portable(vertexColor.ba));
#endif
#if defined(TANGENT) || defined(NORMAL)
#ifdef TANGENT
    uint packedTangent = packSnorm4x8Portable(vec4(normalize(tangent.xyz), tangent.w));
#else
    uint packedTangent = 0u;
#endif
    skinnedTangentNormal = uvec2(packedTangent, packSnorm4x8Portable(vec4(normalize(normal), 0.0)));
#endif
#ifndef MULTIDRAW
    skinnedObjectId = vertexObjectId;
#endif
    // Nothing is rasterised; the position is only there for drivers that want one written.
    gl_Position = vec4(position, 1.0);
}
