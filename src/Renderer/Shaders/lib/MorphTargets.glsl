// Morph targets applied in the vertex stage (or by the skinning transform feedback pass).
//
// morphTargetTexture: RGBA32F array, one layer per target; texel (i mod width, i / width) holds the
//   position delta of vertex i (rgb); with MORPH_NORMALS the next layer holds the normal deltas.
// morphWeightTexture: RGBA32F, MAX_MORPH_TARGETS texels per key (the object id in the renderer's
//   draws), wrapping at the texture's width; texel t = (weight, first layer of target t, first vertex
//   of the mesh in the draw's vertex buffer, 0). A weight of exactly 0 ends the list early.

#ifndef MAX_MORPH_TARGETS
#define MAX_MORPH_TARGETS 8
#endif

uniform sampler2DArray morphTargetTexture;
uniform sampler2D morphWeightTexture;

void applyMorphTargets(uint key, int vertexId, inout vec3 position, inout vec3 normal) {
    int width = textureSize(morphTargetTexture, 0).x;
    int weightsWidth = textureSize(morphWeightTexture, 0).x;
    for(int t = 0; t != MAX_MORPH_TARGETS; ++t) {
        int i = int(key)*MAX_MORPH_TARGETS + t;
        vec4 w = texelFetch(morphWeightTexture, ivec2(i % weightsWidth, i/weightsWidth), 0);
        if(w.x == 0.0) break;
        int layer = int(w.y);
        int vertex = vertexId - int(w.z);
        ivec2 texel = ivec2(vertex % width, vertex/width);
        position += texelFetch(morphTargetTexture, ivec3(texel, layer), 0).rgb*w.x;
#ifdef MORPH_NORMALS
        normal += texelFetch(morphTargetTexture, ivec3(texel, layer + 1), 0).rgb*w.x;
#endif
    }
}
