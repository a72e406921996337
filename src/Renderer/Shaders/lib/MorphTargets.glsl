// Morph targets applied in the vertex stage (or by the skinning transform feedback pass).
//
// morphTargetTexture: RGBA32F array, one layer per target; texel (i mod width, i / width) holds the
//   position delta of vertex i (rgb); with MORPH_NORMALS the next layer holds the normal deltas.
// morphWeightTexture: RGBA32F, row = draw id; texel t = (weight, first layer of target t, 0, 0).
//   A weight of exactly 0 ends the list early.

#ifndef MAX_MORPH_TARGETS
#define MAX_MORPH_TARGETS 8
#endif

uniform sampler2DArray morphTargetTexture;
uniform sampler2D morphWeightTexture;

void applyMorphTargets(uint drawId, int vertexId, inout vec3 position, inout vec3 normal) {
    int width = textureSize(morphTargetTexture, 0).x;
    ivec2 texel = ivec2(vertexId % width, vertexId/width);
    for(int t = 0; t != MAX_MORPH_TARGETS; ++t) {
        vec4 w = texelFetch(morphWeightTexture, ivec2(t, int(drawId)), 0);
        if(w.x == 0.0) break;
        int layer = int(w.y);
        position += texelFetch(morphTargetTexture, ivec3(texel, layer), 0).rgb*w.x;
#ifdef MORPH_NORMALS
        normal += texelFetch(morphTargetTexture, ivec3(texel, layer + 1), 0).rgb*w.x;
#endif
    }
}
