// Sampling the renderer's uncompressed texture atlas by texture id. Texture id 0 is "no texture" and
// samples as white, so that a material without a texture keeps its plain colour.
//
// textureBounds holds two RGBA32F texels per texture id, in a row-major 2D layout:
//   2*id      atlas offset (xy) and size (zw), in atlas UV
//   2*id + 1  atlas layer, mip levels, unused, unused

uniform sampler2DArray textureAtlas;
uniform sampler2D textureBounds;

// Texel i of a texture used as a flat array, wrapping at its width.
vec4 fetchLinear(sampler2D s, int i) {
    int w = textureSize(s, 0).x;
    return texelFetch(s, ivec2(i % w, i/w), 0);
}

vec4 textureAtlasBounds(uint id) { return fetchLinear(textureBounds, int(id)*2); }

vec4 sampleTexture(uint id, vec2 uv) {
    if(id == 0u) return vec4(1.0);
    vec4 bounds = fetchLinear(textureBounds, int(id)*2);
    float layer = fetchLinear(textureBounds, int(id)*2 + 1).x;
    // Repeat inside the texture's rectangle; gradients of the unwrapped coordinates keep the mip
    // selection smooth across the wrap.
    vec2 atlasUV = bounds.xy + fract(uv)*bounds.zw;
    return textureGrad(textureAtlas, vec3(atlasUV, layer), dFdx(uv)*bounds.zw, dFdy(uv)*bounds.zw);
}
