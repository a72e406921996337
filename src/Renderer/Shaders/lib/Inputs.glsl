// Vertex attributes (vertex stage) and the values passed from the vertex to the fragment stage. The
// attribute locations are the engine's mesh layout:
//
//   0 position   1 texture coordinates   2 colour   3 tangent   4 object id   5 normal
//   6 joint ids  7 weights   8 secondary joint ids   9 secondary weights   10 texture coordinates 1
//   11-13 per-instance rotation, dual part, scaling (INSTANCED_TRANSFORMATION)
//
// Which values are passed depends on the shader type: depth passes pass nothing, component-id passes
// only the component, forward and tile-feedback passes everything the layout has.

#if defined(SHADER_TYPE_FORWARD) || defined(SHADER_TYPE_TILE_FEEDBACK)
#define PASS_SURFACE
#endif

#ifdef VERTEX_SHADER
layout(location = 0) in vec3 vertexPosition;
#ifdef TEXTURE_COORDS
layout(location = 1) in vec2 vertexTextureCoordinates;
#endif
#ifdef COLOR
layout(location = 2) in vec4 vertexColor;
#endif
#ifdef TANGENT
layout(location = 3) in vec4 vertexTangent;
#endif
layout(location = 4) in uint vertexObjectId;
#ifdef NORMAL
layout(location = 5) in vec3 vertexNormal;
#endif
#ifdef PRIMARY_JOINTS
layout(location = 6) in uvec4 vertexJoints;
layout(location = 7) in vec4 vertexWeights;
#endif
#ifdef SECONDARY_JOINTS
layout(location = 8) in uvec4 vertexSecondaryJoints;
layout(location = 9) in vec4 vertexSecondaryWeights;
#endif
#ifdef TEXTURE_COORDS_1
layout(location = 10) in vec2 vertexTextureCoordinates1;
#endif
#ifdef INSTANCED_TRANSFORMATION
layout(location = 11) in vec4 instanceRotation;
layout(location = 12) in vec4 instanceDual;
layout(location = 13) in vec4 instanceScaling;  // xyz; w = material id as float bits
#endif
#define STAGE_OUT out
#else
#define STAGE_OUT in
#endif

#ifdef PASS_SURFACE
STAGE_OUT vec3 surfacePosition;      // world space
STAGE_OUT vec3 surfaceNormal;        // world space, not normalised
#ifdef TANGENT
STAGE_OUT vec4 surfaceTangent;       // world space xyz, bitangent sign in w
#endif
STAGE_OUT vec2 surfaceUV;
#ifdef TEXTURE_COORDS_1
STAGE_OUT vec2 surfaceUV1;
#endif
STAGE_OUT vec4 surfaceColor;         // vertex colour, white without one
flat STAGE_OUT uint surfaceObject;   // object id, indexes per-object data
flat STAGE_OUT uint surfaceMaterial;
#ifdef WIREFRAME
STAGE_OUT vec3 surfaceBarycentric;   // from gl_VertexID, for non-indexed draws
#endif
#endif
#if defined(PASS_SURFACE) || defined(SHADER_TYPE_COMPONENT_ID)
flat STAGE_OUT uint surfaceComponent; // component or instance number within the draw
#endif
