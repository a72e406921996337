#include "Engine/TextManager.h"

#include "Engine/SceneGraph.h"
#include "Gfx/Log.h"

namespace ArdentisEngine::Data {

TextManager::TextManager(std::uint16_t capacity): ComponentManager{ComponentType::Text, capacity} {
    TextManager::resizeData(capacity);
}

void TextManager::resizeData(std::size_t capacity) { _texts.resize(capacity); }
void TextManager::onAdd(Id component) {
    _texts[component] = Text{};
    _texts[component].mesh = component;
}

Matrix4 TextManager::absoluteTransformationAsMatrix(Id component) const {
    AE_ASSERT(sceneGraph());
    return sceneGraph()->absoluteTransformationAsMatrix(objectOf(checked(component)));
}

void appendUtf8(std::string& out, char32_t c) {
    if(c < 0x80) {
        out += char(c);
    } else if(c < 0x800) {
        out += char(0xc0 | (c >> 6));
        out += char(0x80 | (c & 0x3f));
    } else if(c < 0x10000) {
        out += char(0xe0 | (c >> 12));
        out += char(0x80 | ((c >> 6) & 0x3f));
        out += char(0x80 | (c & 0x3f));
    } else {
        out += char(0xf0 | (c >> 18));
        out += char(0x80 | ((c >> 12) & 0x3f));
        out += char(0x80 | ((c >> 6) & 0x3f));
        out += char(0x80 | (c & 0x3f));
    }
}

std::u32string decodeUtf8(std::string_view text) {
    std::u32string out;
    for(std::size_t i = 0; i < text.size();) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        std::size_t length = c < 0x80 ? 1 : (c >> 5) == 0x6 ? 2 : (c >> 4) == 0xe ? 3 : (c >> 3) == 0x1e ? 4 : 0;
        if(length == 0 || i + length > text.size()) {
            out.push_back(U'\uFFFD');
            ++i;
            continue;
        }
        char32_t code = length == 1 ? c : c & (0x7f >> length);
        bool valid = true;
        for(std::size_t k = 1; k != length; ++k) {
            const unsigned char cc = static_cast<unsigned char>(text[i + k]);
            if((cc & 0xc0) != 0x80) { valid = false; break; }
            code = (code << 6) | (cc & 0x3f);
        }
        if(!valid) {
            out.push_back(U'\uFFFD');
            ++i;
            continue;
        }
        out.push_back(code);
        i += length;
    }
    return out;
}

MeshData TextManager::meshData(Id component, const FontData& font) const {
    const Text& t = _texts[checked(component)];
    const std::u32string chars = decodeUtf8(t.text);

    // Line widths first, for horizontal alignment.
    std::vector<float> widths{0.0f};
    char32_t missing = 0, previous = 0;
    for(char32_t c: chars) {
        if(c == U'\n') { widths.push_back(0.0f); previous = 0; continue; }
        if(const GlyphMetrics* g = font.glyph(c)) {
            widths.back() += font.kerning(previous, c) + g->advance;
            previous = c;
        } else if(!missing) missing = c;
    }
    if(missing)
        Log::error("TextManager::meshData(): font {} has no glyph for U+{:04X}", font.name, std::uint32_t(missing));

    const float lines = float(widths.size());
    float baseline = 0.0f;  // of the first line
    switch(t.vertical) {
        case VerticalAlignment::Top: baseline = -font.ascent; break;
        case VerticalAlignment::Baseline: baseline = 0.0f; break;
        case VerticalAlignment::Bottom: baseline = (lines - 1.0f)*font.lineHeight - font.descent; break;
        case VerticalAlignment::Middle: {
            const float height = font.ascent - font.descent + (lines - 1.0f)*font.lineHeight;
            baseline = height*0.5f - font.ascent;
            break;
        }
    }
    auto lineStart = [&](std::size_t line) {
        switch(t.horizontal) {
            case HorizontalAlignment::Left: return 0.0f;
            case HorizontalAlignment::Center: return -widths[line]*0.5f;
            case HorizontalAlignment::Right: return -widths[line];
        }
        return 0.0f;
    };

    MeshData mesh{MeshPrimitive::Triangles};
    std::size_t line = 0;
    Vector2 pen{lineStart(0), baseline};
    previous = 0;
    for(char32_t c: chars) {
        if(c == U'\n') {
            ++line;
            pen = {lineStart(line), baseline - float(line)*font.lineHeight};
            previous = 0;
            continue;
        }
        const GlyphMetrics* g = font.glyph(c);
        if(!g) continue;
        pen.x += font.kerning(previous, c);
        previous = c;
        // With an atlas the quad covers the glyph's distance field, spread included, and the
        // texture coordinates address its pixels; without one they are the box in em.
        const bool inAtlas = !g->atlasRect.isEmpty() && font.atlasSize.x > 0 && font.atlasSize.y > 0;
        const Vector2 min = inAtlas ? g->atlasBoundsMin : g->boundsMin, max = inAtlas ? g->atlasBoundsMax : g->boundsMax;
        if(max.x > min.x && max.y > min.y) {
            const UnsignedInt first = UnsignedInt(mesh.positions.size());
            const Vector2 corners[4]{min, {max.x, min.y}, max, {min.x, max.y}};
            const Vector2 atlasMin = Vector2{g->atlasRect.min}/Vector2{font.atlasSize};
            const Vector2 atlasMax = Vector2{g->atlasRect.max}/Vector2{font.atlasSize};
            for(const Vector2& corner: corners) {
                mesh.positions.push_back(Vector3{(pen + corner)*t.size, 0.0f});
                mesh.textureCoordinates.push_back(inAtlas ? atlasMin + (corner - min)/(max - min)*(atlasMax - atlasMin) : corner);
                mesh.objectIds.push_back(g->index);
            }
            for(UnsignedInt k: {0u, 1u, 2u, 0u, 2u, 3u}) mesh.indices.push_back(first + k);
        }
        pen.x += g->advance;
    }
    return mesh;
}

}
