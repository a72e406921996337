#include "Renderer/GlyphAtlas.h"

#include <algorithm>

#include "Gfx/Log.h"
#include "Renderer/RendererState.h"

namespace ArdentisEngine {

GlyphAtlas::~GlyphAtlas() { clear(); }

void GlyphAtlas::clear() {
    if(_texture) {
        RendererState::notifyTextureDeleted(_texture);
        glDeleteTextures(1, &_texture);
        _texture = 0;
    }
    _layerSize = Vector2i{0};
    _uvScales.clear();
}

void GlyphAtlas::upload(RendererState& state, UnsignedInt unit, std::span<const Data::FontData> fonts) {
    clear();
    _uvScales.assign(fonts.size(), Vector2{1.0f});
    GLint maxSize = 0, maxLayers = 0;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &maxSize);
    glGetIntegerv(GL_MAX_ARRAY_TEXTURE_LAYERS, &maxLayers);
    std::vector<bool> usable(fonts.size(), false);
    for(std::size_t i = 0; i != fonts.size(); ++i) {
        const Data::FontData& f = fonts[i];
        if(f.atlasSize.x <= 0 || f.atlasSize.y <= 0) continue;
        if(f.atlas.size() != std::size_t(f.atlasSize.x)*std::size_t(f.atlasSize.y)) {
            Log::error("GlyphAtlas: font {} ({}) has {} atlas pixels for {}x{}, its text stays invisible", i, f.name,
                       f.atlas.size(), f.atlasSize.x, f.atlasSize.y);
            continue;
        }
        if(f.atlasSize.x > maxSize || f.atlasSize.y > maxSize) {
            Log::error("GlyphAtlas: font {} ({}) atlas {}x{} exceeds the texture limit {}", i, f.name, f.atlasSize.x,
                       f.atlasSize.y, maxSize);
            continue;
        }
        usable[i] = true;
        _layerSize = glm::max(_layerSize, f.atlasSize);
    }
    if(_layerSize.x == 0) return;
    if(GLint(fonts.size()) > maxLayers) {
        Log::error("GlyphAtlas: {} fonts, only the first {} get glyphs", fonts.size(), maxLayers);
        usable.resize(std::size_t(maxLayers));
    }

    glGenTextures(1, &_texture);
    state.bindTexture(unit, RendererState::TextureTarget::Texture2DArray, _texture);
    const GLsizei layers = GLsizei(std::min<std::size_t>(fonts.size(), std::size_t(maxLayers)));
    glTexImage3D(GL_TEXTURE_2D_ARRAY, 0, GL_R8, _layerSize.x, _layerSize.y, layers, 0, GL_RED, GL_UNSIGNED_BYTE, nullptr);
    // Layers start outside every glyph, so texture coordinates past a smaller atlas read nothing.
    const std::vector<std::uint8_t> empty(std::size_t(_layerSize.x)*std::size_t(_layerSize.y), 0);
    GLint unpack = 4;
    glGetIntegerv(GL_UNPACK_ALIGNMENT, &unpack);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    for(GLsizei layer = 0; layer != layers; ++layer) {
        const Data::FontData& f = fonts[std::size_t(layer)];
        const bool own = usable[std::size_t(layer)];
        if(own && f.atlasSize == _layerSize) {
            glTexSubImage3D(GL_TEXTURE_2D_ARRAY, 0, 0, 0, layer, _layerSize.x, _layerSize.y, 1, GL_RED, GL_UNSIGNED_BYTE,
                            f.atlas.data());
        } else {
            glTexSubImage3D(GL_TEXTURE_2D_ARRAY, 0, 0, 0, layer, _layerSize.x, _layerSize.y, 1, GL_RED, GL_UNSIGNED_BYTE,
                            empty.data());
            if(own) {
                glTexSubImage3D(GL_TEXTURE_2D_ARRAY, 0, 0, 0, layer, f.atlasSize.x, f.atlasSize.y, 1, GL_RED,
                                GL_UNSIGNED_BYTE, f.atlas.data());
                _uvScales[std::size_t(layer)] = Vector2{f.atlasSize}/Vector2{_layerSize};
            }
        }
    }
    glPixelStorei(GL_UNPACK_ALIGNMENT, unpack);
    // The field is smooth, so plain bilinear filtering keeps edges sharp when magnified.
    glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
}

void GlyphAtlas::bind(RendererState& state, UnsignedInt unit) const {
    if(_texture) state.bindTexture(unit, RendererState::TextureTarget::Texture2DArray, _texture);
}

}
