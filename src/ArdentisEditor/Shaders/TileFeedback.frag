// #define SHADER_INTERNAL
// Not internal yet: projects with their own vertex layouts pair it with their pipelines until the
// engine has built-in resources they can refer to instead.
#define SHADER_TYPE_TILE_FEEDBACK
// Tells the texture streamer which tiles of which mip level each pixel samples. One request per
// texture property of the surface's object (up to four), or with SKY one request for the sky texture
// in the view direction. Only compressed textures stream; the others always ask for nothing (0).
//
// A request packs the level and the tile within it into 16 bits:
//
//   bit 15 - lod          the level marker: 1 << (15 - lod)
//   bits above halfBits   tile x (not masked: a wider x runs into the marker and is caught there)
//   bits below halfBits   tile y
//
// with halfBits = (15 - lod) >> 1 and tiles of 256 texels at level 0, 2^(lod + 8) texels at lod.
//
// Per texture id, two RGBA32F texels of `streamedTextureBounds` (row-major, wrapping at its width):
//   2*id      offset (xy) and size (zw) of the texture in the streamed atlas, in texels
//   2*id + 1  highest mip level (x), 1 when the texture is compressed and streams (y)

#include "lib/Math.glsl"
#include "lib/Uniforms.glsl"
#ifdef SKY
#include "lib/CoordinateSystems.glsl"
#include "lib/Equirect.glsl"
#else
#include "lib/Inputs.glsl"
#endif

uniform sampler2D streamedTextureBounds;
#ifdef SKY
uniform uint skyTexture;
#else
// R32UI, texturePropertyCount texture ids per object, row-major, wrapping at its width.
uniform usampler2D objectTextures;
uniform uint texturePropertyCount;
#endif

layout(location = 0) out uvec4 request;

vec4 boundsTexel(int i) {
    int w = textureSize(streamedTextureBounds, 0).x;
    return texelFetch(streamedTextureBounds, ivec2(i % w, i/w), 0);
}

// uvDx, uvDy: screen derivatives of uv, taken by the caller where control flow is uniform.
uint tileRequest(uint id, vec2 uv, vec2 uvDx, vec2 uvDy) {
    if(id == 0u) return 0u;
    vec4 bounds = boundsTexel(int(id)*2);
    vec4 info = boundsTexel(int(id)*2 + 1);
    if(info.y < 0.5) return 0u;

    vec2 offset = bounds.xy, size = bounds.zw;
    // The level is chosen for the 16-times smaller feedback target, hence the division.
    float footprint = max(length(uvDx*size), length(uvDy*size))/16.0;
    uint lod = uint(clamp(floor(log2(max(footprint, 1e-8))), 0.0, min(info.x, 15.0)));

    uint halfBits = (15u - lod) >> 1u;
    float scale = exp2(-float(lod + 8u));
    uvec2 tile = uvec2(ceil(offset*scale) + fract(uv)*size*scale);
    return (1u << (15u - lod)) | (tile.x << halfBits) | (tile.y & ((1u << halfBits) - 1u));
}

#ifndef SKY
uint objectTexture(uint object, uint property) {
    int i = int(object*texturePropertyCount + property);
    int w = textureSize(objectTextures, 0).x;
    return texelFetch(objectTextures, ivec2(i % w, i/w), 0).r;
}
#endif

void main() {
#ifdef SKY
    vec2 uv = directionToEquirect(screenToWorldDirection(screenUV(gl_FragCoord.xy)));
    request = uvec4(tileRequest(skyTexture, uv, dFdx(uv), dFdy(uv)), 0u, 0u, 0u);
#else
    vec2 uvDx = dFdx(surfaceUV), uvDy = dFdy(surfaceUV);
    uvec4 r = uvec4(0u);
    uint count = min(texturePropertyCount, 4u);
    for(uint p = 0u; p < count; ++p)
        r[p] = tileRequest(objectTexture(surfaceObject, p), surfaceUV, uvDx, uvDy);
    request = r;
#endif
}
