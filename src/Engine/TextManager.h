#pragma once
// Text components: a UTF-8 string drawn with a font of the scene, aligned around the object's origin
// in its XY plane. meshData() lays the text out into one quad per glyph for the renderer.
//
// Grouping is the base one: active texts form group 0, drawn as one batch.
#include <string>
#include <string_view>
#include <vector>

#include "Engine/ComponentManager.h"
#include "Engine/FontData.h"
#include "Gfx/MeshData.h"

namespace ArdentisEngine::Data {

enum class HorizontalAlignment: std::uint8_t { Left = 0, Center = 1, Right = 2 };
// Top: the first line's ascent touches the origin; Middle: the block is centred on it; Baseline:
// the first line's baseline runs through it; Bottom: the last line's descent touches it.
enum class VerticalAlignment: std::uint8_t { Top = 0, Middle = 1, Baseline = 2, Bottom = 3 };

class TextManager: public ComponentManager {
public:
    explicit TextManager(std::uint16_t capacity = 0);

    const std::string& text(Id component) const { return _texts[checked(component)].text; }
    void setText(Id component, std::string_view text) { _texts[checked(component)].text = text; }
    std::uint16_t font(Id component) const { return _texts[checked(component)].font; }
    void setFont(Id component, std::uint16_t font) { _texts[checked(component)].font = font; }
    HorizontalAlignment horizontalAlignment(Id component) const { return _texts[checked(component)].horizontal; }
    void setHorizontalAlignment(Id component, HorizontalAlignment a) { _texts[checked(component)].horizontal = a; }
    VerticalAlignment verticalAlignment(Id component) const { return _texts[checked(component)].vertical; }
    void setVerticalAlignment(Id component, VerticalAlignment a) { _texts[checked(component)].vertical = a; }
    // Shader effect variant (0 plain; outline, shadow and so on as the text pipeline defines them).
    std::uint8_t effect(Id component) const { return _texts[checked(component)].effect; }
    void setEffect(Id component, std::uint8_t effect) { _texts[checked(component)].effect = effect; }
    // Height of one em in object units.
    float size(Id component) const { return _texts[checked(component)].size; }
    void setSize(Id component, float size) { _texts[checked(component)].size = size; }
    std::uint16_t material(Id component) const { return _texts[checked(component)].material; }
    void setMaterial(Id component, std::uint16_t material) { _texts[checked(component)].material = material; }
    // Renderer mesh slot of the laid-out text; the component id unless set.
    std::uint16_t mesh(Id component) const { return _texts[checked(component)].mesh; }
    void setMesh(Id component, std::uint16_t mesh) { _texts[checked(component)].mesh = mesh; }

    Matrix4 absoluteTransformationAsMatrix(Id component) const;

    // One quad (two triangles) per drawn glyph: positions in object units, texture coordinates in
    // the font's atlas (the glyph box in em for fonts without one), object ids the glyph index. Characters the font lacks are left out with one
    // error line per text.
    MeshData meshData(Id component, const FontData& font) const;

protected:
    void resizeData(std::size_t capacity) override;
    void onAdd(Id component) override;

private:
    struct Text {
        std::string text;
        std::uint16_t font = 0;
        std::uint16_t material = 0;
        std::uint16_t mesh = 0;
        HorizontalAlignment horizontal = HorizontalAlignment::Left;
        VerticalAlignment vertical = VerticalAlignment::Baseline;
        std::uint8_t effect = 0;
        float size = 1.0f;
    };
    Id checked(Id component) const { AE_ASSERT(isValid(component)); return component; }

    std::vector<Text> _texts;
};

// Decodes UTF-8; malformed bytes become U+FFFD.
std::u32string decodeUtf8(std::string_view text);
// Appends the UTF-8 encoding of one code point.
void appendUtf8(std::string& out, char32_t c);

}
