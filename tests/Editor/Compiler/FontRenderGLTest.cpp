#include <vector>

#include <gtest/gtest.h>

#include "Editor/Compiler/FontLoader.h"
#include "Gfx/GLTestFixture.h"
#include "Gfx/Log.h"
#include "Renderer/RenderStage.h"

using namespace ArdentisEngine;
using ArdentisEngine::Test::Rgba8;

namespace {

constexpr int Size = 128;
constexpr float TextSize = 4.0f;
constexpr Vector2 Origin{-3.5f, -1.5f};
constexpr const char* DejaVu = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";

enum class Expect { Background, Text, Outline };

// One text object at Origin, laid out from its baseline, drawn in red on black in front of the
// shared stage's camera (the z = 0 plane shows -5..5).
struct Stage: Test::Stage {
    Stage(std::span<const Data::FontData> fonts, const char* text, bool outline): Test::Stage{Size} {
        const Shaders::MaterialDefinition& d = renderer.shader(renderer.pipelineIndex("Text"))->materialDefinition();
        Data::Material m = d.defaults();
        d.set(m, UnsignedInt(d.paramIndex("color")), Vector4{0.9f, 0.1f, 0.1f, 1.0f});
        if(outline) {
            d.set(m, UnsignedInt(d.paramIndex("effectColor")), Vector4{0.1f, 0.9f, 0.1f, 1.0f});
            d.set(m, UnsignedInt(d.paramIndex("effectWidth")), Vector4{0.2f});
        }
        renderer.updateMaterial(1, m);

        auto& graph = scene.graph();
        const Data::Id object = graph.addObject();
        graph.setLocalTransformation(object, DualQuaternion::translation(Vector3{Origin, 0.0f}));
        const Data::Id t = scene.texts().addComponent(object);
        scene.texts().setText(t, text);
        scene.texts().setSize(t, TextSize);
        scene.texts().setMaterial(t, 1);
        scene.texts().activate(t);
        graph.activate();

        renderer.updateFonts(fonts);
        prepare();
    }
};

class FontRenderGLTest: public Test::GLTestFixture {};

TEST_F(FontRenderGLTest, GlyphsShowWhereTheQuadsAre) {
    std::string error;
    const std::optional<Data::FontData> font = loadFontFile(DejaVu, error);
    ASSERT_TRUE(font) << error;
    // With more glyphs the second font's atlas is larger, so the first one's fills only part of
    // its layer.
    std::vector<char32_t> greekAndCyrillic;
    for(char32_t c = 0x370; c != 0x530; ++c) greekAndCyrillic.push_back(c);
    const std::optional<Data::FontData> larger = loadFontFile(DejaVu, error, greekAndCyrillic);
    ASSERT_TRUE(larger) << error;
    ASSERT_NE(larger->atlasSize, font->atlasSize);
    const Data::FontData both[]{*font, *larger};
    const Data::GlyphMetrics& h = *font->glyph(U'H');
    const Data::GlyphMetrics& i = *font->glyph(U'i');
    const float hHeight = h.boundsMax.y - h.boundsMin.y, iHeight = i.boundsMax.y - i.boundsMin.y;
    const float iPen = h.advance + font->kerning(U'H', U'i');
    const float gap = iPen - h.boundsMax.x + i.boundsMin.x;

    // Points in em from the pen of the first glyph: the H's stems run along its box's sides with a
    // bar at half height, the i's stem is its lower part.
    const struct {
        const char* name;
        Vector2 at;
        Expect plain, outlined;
    } probes[]{
        {"H left stem", {h.boundsMin.x + 0.04f, h.boundsMin.y + 0.2f*hHeight}, Expect::Text, Expect::Text},
        {"H bar", {0.5f*(h.boundsMin.x + h.boundsMax.x), h.boundsMin.y + 0.5f*hHeight}, Expect::Text, Expect::Text},
        {"inside the H above its bar", {0.5f*(h.boundsMin.x + h.boundsMax.x), h.boundsMin.y + 0.85f*hHeight}, Expect::Background, Expect::Background},
        {"just left of the H", {h.boundsMin.x - 0.025f, h.boundsMin.y + 0.3f*hHeight}, Expect::Background, Expect::Outline},
        {"between the letters", {h.boundsMax.x + 0.5f*gap, h.boundsMin.y + 0.5f*hHeight}, Expect::Background, Expect::Background},
        {"i stem", {iPen + 0.5f*(i.boundsMin.x + i.boundsMax.x), i.boundsMin.y + 0.25f*iHeight}, Expect::Text, Expect::Text},
        {"above the baseline past the i", {iPen + i.advance + 0.3f, 0.3f}, Expect::Background, Expect::Background},
    };
    const struct {
        const char* name;
        const char* text;
        bool outline;
        bool missingGlyph;
        std::size_t fontCount;
    } cases[]{
        {"plain", "Hi", false, false, 1},
        {"outlined", "Hi", true, false, 1},
        // The unassigned U+10FFFD has no glyph: skipped, with the rest laid out as without it.
        {"with a missing glyph", "H\xf4\x8f\xbf\xbdi", false, true, 1},
        {"beside a font with a larger atlas", "Hi", false, false, 2},
    };
    for(const auto& c: cases) {
        SCOPED_TRACE(c.name);
        Log::Capture errors{Log::Channel::Error};
        Stage s{std::span{both, c.fontCount}, c.text, c.outline};
        const Image image = s.frame();
        EXPECT_EQ(errors.contains("no glyph for U+10FFFD"), c.missingGlyph) << errors.text();
        for(const auto& p: probes) {
            SCOPED_TRACE(p.name);
            const Vector2 world = Origin + p.at*TextSize;
            const Vector2i pixel{int((0.5f + world.x/10.0f)*Size), int((0.5f + world.y/10.0f)*Size)};
            const Rgba8 px = image.pixel<Rgba8>(pixel.x, pixel.y);
            switch(c.outline ? p.outlined : p.plain) {
                case Expect::Text: EXPECT_TRUE(px.r > 180 && px.g < 60) << int(px.r) << " " << int(px.g); break;
                case Expect::Outline: EXPECT_TRUE(px.g > 150 && px.r < 80) << int(px.r) << " " << int(px.g); break;
                case Expect::Background: EXPECT_TRUE(px.r < 30 && px.g < 30) << int(px.r) << " " << int(px.g); break;
            }
        }
    }
}

}
