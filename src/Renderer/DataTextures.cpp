#include "Renderer/DataTextures.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "Gfx/Assert.h"
#include "Renderer/RendererState.h"

namespace ArdentisEngine {

Vector4Texture::Vector4Texture(int width, std::string label): _width{width}, _label{std::move(label)} {
    AE_ASSERT(width > 0);
}

Vector4Texture::~Vector4Texture() {
    if(_texture.id()) RendererState::notifyTextureDeleted(_texture.id());
}

void Vector4Texture::resize(std::size_t texels) {
    const std::size_t old = _texels.size();
    _texels.resize(texels, Vector4{0.0f});
    if(texels > old) {
        _dirtyBegin = _dirtyEnd == _dirtyBegin ? old : std::min(_dirtyBegin, old);
        _dirtyEnd = std::max(_dirtyEnd, texels);
    }
    _dirtyEnd = std::min(_dirtyEnd, texels);
    _dirtyBegin = std::min(_dirtyBegin, _dirtyEnd);
}

void Vector4Texture::set(std::size_t first, std::span<const Vector4> values) {
    AE_ASSERT(first + values.size() <= _texels.size());
    if(values.empty()) return;
    std::copy(values.begin(), values.end(), _texels.begin() + std::ptrdiff_t(first));
    if(_dirtyBegin == _dirtyEnd) {
        _dirtyBegin = first;
        _dirtyEnd = first + values.size();
    } else {
        _dirtyBegin = std::min(_dirtyBegin, first);
        _dirtyEnd = std::max(_dirtyEnd, first + values.size());
    }
}

int Vector4Texture::upload() {
    const int rows = std::max(1, int((_texels.size() + std::size_t(_width) - 1)/std::size_t(_width)));
    // The last row is padded with zeros so that whole rows can be sent.
    std::vector<Vector4> padded;
    auto rowData = [&](int firstRow, int rowCount) {
        const std::size_t begin = std::size_t(firstRow)*std::size_t(_width);
        const std::size_t count = std::size_t(rowCount)*std::size_t(_width);
        padded.assign(count, Vector4{0.0f});
        if(begin < _texels.size())
            std::copy_n(_texels.begin() + std::ptrdiff_t(begin), std::min(count, _texels.size() - begin), padded.begin());
        return ImageView{PixelFormat::RGBA32F, {_width, rowCount}, std::as_bytes(std::span{padded})};
    };
    if(!_texture.id() || rows > _uploadedRows) {
        if(_texture.id()) RendererState::notifyTextureDeleted(_texture.id());
        _texture = GL::Texture2D{};
        // Room to grow, so that adding a few objects does not reallocate every time, but never past
        // the height GL allows (material rows are numbered up to near that limit).
        GLint maxHeight = 0;
        glGetIntegerv(GL_MAX_TEXTURE_SIZE, &maxHeight);
        const int allocated = std::max(rows, std::min(_uploadedRows*2, int(maxHeight)));
        _texture.setStorage(1, GL::TextureFormat::RGBA32F, {_width, allocated})
            .setMinificationFilter(GL::SamplerFilter::Nearest)
            .setMagnificationFilter(GL::SamplerFilter::Nearest)
            .setLabel(_label);
        _uploadedRows = allocated;
        _texture.setSubImage(0, {0, 0}, rowData(0, rows));
        _dirtyBegin = _dirtyEnd = 0;
        return rows;
    }
    if(_dirtyBegin == _dirtyEnd) return 0;
    const int firstRow = int(_dirtyBegin/std::size_t(_width));
    const int lastRow = int((_dirtyEnd - 1)/std::size_t(_width));
    _texture.setSubImage(0, {0, firstRow}, rowData(firstRow, lastRow - firstRow + 1));
    _dirtyBegin = _dirtyEnd = 0;
    return lastRow - firstRow + 1;
}

void Vector4Texture::bind(RendererState& state, UnsignedInt unit) const {
    state.bindTexture(unit, RendererState::TextureTarget::Texture2D, _texture.id());
}

void TransformationsTexture::setTransformation(std::size_t object, const DualQuaternion& t, const Vector3& scaling,
                                               UnsignedInt material) {
    const Vector4 texels[3]{{t.real.x, t.real.y, t.real.z, t.real.w}, {t.dual.x, t.dual.y, t.dual.z, t.dual.w},
                            {scaling, std::bit_cast<float>(material)}};
    set(object*3, texels);
}

void MaterialTexture::setMaterial(std::size_t index, const Data::Material& material) {
    std::array<Vector4, Shaders::MaterialDefinition::SlotCount> slots;
    static_assert(sizeof(slots) == sizeof(material.values));
    std::memcpy(slots.data(), material.values.data(), sizeof(slots));
    set(index*Shaders::MaterialDefinition::SlotCount, slots);
}

void TextureBoundsTexture::setBounds(std::size_t textureId, const std::array<Vector4, 2>& bounds) {
    set(textureId*2, bounds);
}

}
