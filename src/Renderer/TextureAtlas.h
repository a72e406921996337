#pragma once
// The uncompressed texture atlas: every RGBA8 image of a scene packed into the layers of one 2D array
// texture, so that all materials sample textures from a single binding (see Shaders/lib/Textures.glsl).
// Images are reserved first (CPU only, so that overflow is known before anything is uploaded) and
// their pixels set afterwards by slot; the slot of a reservation is the texture count before it.
//
// Packing is by shelves, first fit over the layers in order; each image keeps Padding texels on
// every side, filled with its opposite edges, so that bilinear filtering neither bleeds between
// neighbours nor darkens the seams of a repeated texture. Mip levels are generated over whole layers
// by finishUploads(), so the smallest levels do mix neighbours.
#include <array>
#include <vector>

#include "Gfx/GL/Texture.h"
#include "Gfx/Image.h"
#include "Math/Range.h"

namespace ArdentisEngine {

class RendererState;

class TextureAtlas {
public:
    static constexpr int Padding = 2;

    // An atlas of `layerCount` layers of `layerSize` texels; nothing is allocated on the GPU until
    // the first setImage().
    explicit TextureAtlas(Vector2i layerSize = Vector2i{2048}, int layerCount = 1);
    ~TextureAtlas();
    TextureAtlas(const TextureAtlas&) = delete;
    TextureAtlas& operator=(const TextureAtlas&) = delete;

    Vector2i layerSize() const { return _layerSize; }
    int layerCount() const { return _layerCount; }

    // False, with nothing reserved, when the image does not fit in any layer.
    bool reserve(Vector2i size);
    UnsignedInt textureCount() const { return UnsignedInt(_rectangles.size()); }
    // Drops every reservation; the GPU texture is kept for reuse when the size stays.
    void clear();
    // Changes the size (a project setting); drops all reservations and the GPU texture.
    void setSize(Vector2i layerSize, int layerCount);

    // Uploads the pixels of a reserved slot. Logs and does nothing for a slot that was not reserved,
    // an image of a different size, or a format other than RGBA8 or RGB8.
    bool setImage(UnsignedInt slot, const ImageView& image);
    // Regenerates mip levels if images changed since the last call.
    void finishUploads();

    // Texel rectangle of a slot inside its layer, without padding.
    Range2Di rectangle(UnsignedInt slot) const;
    int layer(UnsignedInt slot) const;
    // The two texels Textures.glsl reads for a texture showing this slot: (offset, size) in atlas UV,
    // then (layer, mip levels, 0, 0).
    std::array<Vector4, 2> boundsTexels(UnsignedInt slot) const;

    // The array texture; created on first upload.
    GL::Texture2DArray& texture() { return _texture; }
    void bind(RendererState& state, UnsignedInt unit);

private:
    void dropTexture();

    struct Shelf {
        int layer, y, height, usedWidth;
    };
    struct Placement {
        Range2Di rectangle;
        int layer;
    };

    Vector2i _layerSize;
    int _layerCount;
    std::vector<Shelf> _shelves;
    std::vector<int> _layerUsedHeight;
    std::vector<Placement> _rectangles;
    GL::Texture2DArray _texture{GL::NoCreate};
    bool _mipsDirty = false;
};

}
