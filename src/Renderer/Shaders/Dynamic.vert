#define SHADER_INTERNAL
// The vertex stage of every mesh pipeline. The fragment stage's SHADER_TYPE_* define is given to this
// stage too, and decides what is passed on (see lib/Inputs.glsl).
//
// Per-object data, three RGBA32F texels per object id in `transformations` (row-major, wrapping at
// the texture's width): rotation quaternion, dual part, (scaling xyz, material id as float bits).
// With PRETRANSFORMED (meshes written by the skinning pass) positions are already in world space.
// With INSTANCED_TRANSFORMATION (overlay batches) each instance brings its transformation in
// attributes 11-13 instead, and the draw's component number is the instance number.

#include "lib/Uniforms.glsl"
#include "lib/Inputs.glsl"
#include "lib/Quaternion.glsl"
#ifdef MORPH_TARGETS
#include "lib/MorphTargets.glsl"
#endif
#ifdef PRIMARY_JOINTS
#include "lib/Skinning.glsl"
#endif

uniform sampler2D transformations;
uniform uint idOffset;

// The three texels of an object: one size query and one division for all of them.
void objectTexels(uint object, out vec4 rotation, out vec4 dual, out vec4 scalingMaterial) {
    int w = textureSize(transformations, 0).x;
    int i = int(object)*3;
    ivec2 p = ivec2(i % w, i/w);
    rotation = texelFetch(transformations, p, 0);
    p.x += 1;
    if(p.x == w) p = ivec2(0, p.y + 1);
    dual = texelFetch(transformations, p, 0);
    p.x += 1;
    if(p.x == w) p = ivec2(0, p.y + 1);
    scalingMaterial = texelFetch(transformations, p, 0);
}

void main() {
    uint object = vertexObjectId;
#if defined(INSTANCED_TRANSFORMATION)
    // Overlay batches draw one run per mesh; idOffset is the run's first instance.
    uint drawId = uint(gl_InstanceID) + idOffset;
#else
    // Batches feed object ids per instance, multi-drawn or not, so the draw number never enters.
    uint drawId = object - idOffset;
#endif

    vec3 position = vertexPosition;
#ifdef NORMAL
    vec3 normal = vertexNormal;
#else
    vec3 normal = vec3(0.0, 0.0, 1.0);
#endif
#ifdef MORPH_TARGETS
    applyMorphTargets(object, gl_VertexID, position, normal);
#endif

#ifdef INSTANCED_TRANSFORMATION
    vec4 rotation = instanceRotation;
    vec4 dual = instanceDual;
    vec4 scalingMaterial = instanceScaling;
#else
    vec4 rotation, dual, scalingMaterial;
    objectTexels(object, rotation, dual, scalingMaterial);
#endif
#ifdef PRETRANSFORMED
    vec3 world = position;
#elif defined(PRIMARY_JOINTS)
    mat4 skin = skinMatrix(object, vertexJoints, vertexWeights);
    vec3 world = (skin*vec4(position, 1.0)).xyz;
#else
    vec3 world = dualQuatTransformPoint(rotation, dual, position*scalingMaterial.xyz);
#endif
    gl_Position = views[viewIndex].viewProjectionMatrix*vec4(world, 1.0);

#if defined(PASS_SURFACE) || defined(SHADER_TYPE_COMPONENT_ID)
    surfaceComponent = drawId;
#endif
#ifdef PASS_SURFACE
    surfacePosition = world;
    surfaceObject = object;
    surfaceMaterial = floatBitsToUint(scalingMaterial.w);
#ifdef PRETRANSFORMED
    surfaceNormal = normal;
#elif defined(PRIMARY_JOINTS)
    surfaceNormal = mat3(skin)*normal;
#else
    // Non-uniform scaling: normals transform by the inverse scaling before the rotation.
    surfaceNormal = quatRotate(rotation, normal/scalingMaterial.xyz);
#endif
#ifdef TANGENT
#ifdef PRETRANSFORMED
    surfaceTangent = vertexTangent;
#elif defined(PRIMARY_JOINTS)
    surfaceTangent = vec4(mat3(skin)*vertexTangent.xyz, vertexTangent.w);
#else
    surfaceTangent = vec4(quatRotate(rotation, vertexTangent.xyz*scalingMaterial.xyz), vertexTangent.w);
#endif
#endif
#ifdef TEXTURE_COORDS
    surfaceUV = vertexTextureCoordinates;
#else
    surfaceUV = vec2(0.0);
#endif
#ifdef TEXTURE_COORDS_1
    surfaceUV1 = vertexTextureCoordinates1;
#endif
#ifdef WIREFRAME
    int corner = gl_VertexID % 3;
    surfaceBarycentric = vec3(corner == 0, corner == 1, corner == 2);
#endif
#ifdef COLOR
    surfaceColor = vertexColor;
#else
    surfaceColor = vec4(1.0);
#endif
#endif
}
