#pragma once
// The glyph texture the Text shader samples: one R8 layer per font of the scene holding that font's
// signed distance field atlas, at the layer's origin. Layers share the largest atlas's size, so a
// font's texture coordinates (fractions of its own atlas) are scaled by uvScale() before drawing.
#include <span>
#include <vector>

#include <epoxy/gl.h>

#include "Engine/FontData.h"

namespace ArdentisEngine {

class RendererState;

class GlyphAtlas {
public:
    GlyphAtlas() = default;
    ~GlyphAtlas();
    GlyphAtlas(const GlyphAtlas&) = delete;
    GlyphAtlas& operator=(const GlyphAtlas&) = delete;

    // Replaces the texture with the fonts' atlases; fonts without one get an empty layer.
    void upload(RendererState& state, UnsignedInt unit, std::span<const Data::FontData> fonts);
    void clear();
    // Binds the texture, or nothing when no font has an atlas.
    void bind(RendererState& state, UnsignedInt unit) const;

    GLuint texture() const { return _texture; }
    Vector2i layerSize() const { return _layerSize; }
    Vector2 uvScale(std::size_t font) const { return font < _uvScales.size() ? _uvScales[font] : Vector2{1.0f}; }

private:
    GLuint _texture = 0;
    Vector2i _layerSize{0};
    std::vector<Vector2> _uvScales;
};

}
