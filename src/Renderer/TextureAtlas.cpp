#include "Renderer/TextureAtlas.h"

#include "Gfx/Assert.h"
#include "Gfx/ImageConversion.h"
#include "Gfx/Log.h"
#include "Renderer/RendererState.h"

namespace ArdentisEngine {

TextureAtlas::TextureAtlas(Vector2i layerSize, int layerCount) { setSize(layerSize, layerCount); }

TextureAtlas::~TextureAtlas() { dropTexture(); }

void TextureAtlas::dropTexture() {
    // GL unbinds a deleted texture; the caches must forget it too, or a new texture given the same
    // name would not be bound.
    if(_texture.id()) RendererState::notifyTextureDeleted(_texture.id());
    _texture = GL::Texture2DArray{GL::NoCreate};
}

void TextureAtlas::setSize(Vector2i layerSize, int layerCount) {
    AE_ASSERT(layerSize.x > 0 && layerSize.y > 0 && layerCount > 0);
    _layerSize = layerSize;
    _layerCount = layerCount;
    dropTexture();
    clear();
}

void TextureAtlas::clear() {
    _shelves.clear();
    _rectangles.clear();
    _layerUsedHeight.assign(std::size_t(_layerCount), 0);
}

bool TextureAtlas::reserve(Vector2i size) {
    if(size.x <= 0 || size.y <= 0) return false;
    const Vector2i padded = size + 2*Padding;
    if(padded.x > _layerSize.x || padded.y > _layerSize.y) return false;

    auto place = [&](Shelf& shelf) {
        const Vector2i origin{shelf.usedWidth + Padding, shelf.y + Padding};
        shelf.usedWidth += padded.x;
        _rectangles.push_back({Range2Di::fromSize(origin, size), shelf.layer});
        return true;
    };
    // First fit into an existing shelf that is tall enough, but not so tall that a small image
    // wastes most of a big shelf's height.
    for(Shelf& shelf: _shelves)
        if(shelf.height >= padded.y && shelf.height <= 2*padded.y && shelf.usedWidth + padded.x <= _layerSize.x)
            return place(shelf);
    for(int layer = 0; layer != _layerCount; ++layer) {
        if(_layerUsedHeight[std::size_t(layer)] + padded.y > _layerSize.y) continue;
        _shelves.push_back({layer, _layerUsedHeight[std::size_t(layer)], padded.y, 0});
        _layerUsedHeight[std::size_t(layer)] += padded.y;
        return place(_shelves.back());
    }
    // Last resort: any shelf with room, however tall.
    for(Shelf& shelf: _shelves)
        if(shelf.height >= padded.y && shelf.usedWidth + padded.x <= _layerSize.x) return place(shelf);
    return false;
}

Range2Di TextureAtlas::rectangle(UnsignedInt slot) const {
    AE_ASSERT(slot < _rectangles.size());
    return _rectangles[slot].rectangle;
}

int TextureAtlas::layer(UnsignedInt slot) const {
    AE_ASSERT(slot < _rectangles.size());
    return _rectangles[slot].layer;
}

std::array<Vector4, 2> TextureAtlas::boundsTexels(UnsignedInt slot) const {
    const Range2Di r = rectangle(slot);
    const Vector2 layer{_layerSize};
    const int levels = _texture.id() ? _texture.levelCount() : GL::mipLevelCount(_layerSize);
    return {Vector4{Vector2{r.min}/layer, Vector2{r.size()}/layer}, Vector4{float(this->layer(slot)), float(levels), 0.0f, 0.0f}};
}

bool TextureAtlas::setImage(UnsignedInt slot, const ImageView& image) {
    if(slot >= _rectangles.size()) {
        Log::error("TextureAtlas::setImage(): slot {} was not reserved, the atlas holds {} textures", slot, _rectangles.size());
        return false;
    }
    const Range2Di r = _rectangles[slot].rectangle;
    if(image.size() != r.size()) {
        Log::error("TextureAtlas::setImage(): image of {}x{} for slot {} reserved as {}x{}", image.size().x,
                   image.size().y, slot, r.sizeX(), r.sizeY());
        return false;
    }
    if(image.format() != PixelFormat::RGBA8 && image.format() != PixelFormat::RGB8) {
        Log::error("TextureAtlas::setImage(): slot {} got a {} image, expected RGBA8 or RGB8", slot,
                   pixelFormatName(image.format()));
        return false;
    }
    if(!_texture.id()) {
        _texture = GL::Texture2DArray{};
        _texture.setStorage(GL::mipLevelCount(_layerSize), GL::TextureFormat::RGBA8, {_layerSize, _layerCount})
            .setMinificationFilter(GL::SamplerFilter::Linear, GL::SamplerMipmap::Linear)
            .setMagnificationFilter(GL::SamplerFilter::Linear)
            .setWrapping(GL::SamplerWrapping::ClampToEdge)
            .setLabel("Texture atlas");
    }
    std::optional<Image> converted;
    if(image.format() == PixelFormat::RGB8) {
        converted = convertPixelFormat(image, PixelFormat::RGBA8);
        AE_ASSERT(converted);
    }
    const ImageView rgba = converted ? converted->view() : image;
    // Materials repeat their textures: the padding holds the opposite edges, so that filtering
    // across a seam blends the texels the repetition puts there instead of empty ones.
    const Vector2i size = r.size();
    Image bordered{PixelFormat::RGBA8, size + Vector2i{2*Padding}};
    for(int y = 0; y != bordered.size().y; ++y) {
        const int sourceY = ((y - Padding) % size.y + size.y) % size.y;
        for(int x = 0; x != bordered.size().x; ++x)
            bordered.setPixel(x, y, rgba.pixel<glm::u8vec4>(((x - Padding) % size.x + size.x) % size.x, sourceY));
    }
    _texture.setSubImage(0, _rectangles[slot].layer, r.min - Vector2i{Padding}, bordered);
    _mipsDirty = true;
    return true;
}

void TextureAtlas::finishUploads() {
    if(!_mipsDirty || !_texture.id()) return;
    _texture.generateMipmap();
    _mipsDirty = false;
}

void TextureAtlas::bind(RendererState& state, UnsignedInt unit) {
    state.bindTexture(unit, RendererState::TextureTarget::Texture2DArray, _texture.id());
}

}
