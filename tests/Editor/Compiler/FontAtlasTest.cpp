#include <gtest/gtest.h>

#include "Editor/Compiler/AssetCompiler.h"
#include "Editor/Compiler/FontLoader.h"
#include "Editor/Project/TestProject.h"
#include "Editor/Undo/ChangeManager.h"
#include "Engine/SceneGraph.h"
#include "Engine/TextManager.h"

using namespace ArdentisEngine;

namespace {

constexpr const char* DejaVu = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";

TEST(FontAtlasTest, LoadsGlyphFieldsIntoTheAtlas) {
    std::string error;
    const char32_t extra[]{U'\u0416', U'\U0010FFFD', U'H'};  // Cyrillic Zhe, an unassigned code point, a duplicate
    const std::optional<Data::FontData> font = loadFontFile(DejaVu, error, extra);
    ASSERT_TRUE(font) << error;
    ASSERT_EQ(font->atlas.size(), std::size_t(font->atlasSize.x*font->atlasSize.y));
    EXPECT_FALSE(font->glyph(U'\U0010FFFD'));
    EXPECT_TRUE(font->glyph(U' ') && font->glyph(U' ')->atlasRect.isEmpty());
    ASSERT_TRUE(font->glyph(U'\u0416'));
    std::vector<Range2Di> rects;
    for(const auto& [c, g]: font->glyphs) {
        if(g.atlasRect.isEmpty()) continue;
        SCOPED_TRACE(testing::Message() << "U+" << std::hex << std::uint32_t(c));
        EXPECT_EQ(g.atlasRect.intersected(Range2Di{{0, 0}, font->atlasSize}), g.atlasRect);
        // The field's box is the outline's box padded by the spread, as many pixels as the rectangle.
        const Vector2 box = (g.atlasBoundsMax - g.atlasBoundsMin)*font->atlasPixelsPerEm;
        EXPECT_NEAR(box.x, float(g.atlasRect.sizeX()), 0.01f);
        EXPECT_NEAR(box.y, float(g.atlasRect.sizeY()), 0.01f);
        EXPECT_TRUE(g.atlasBoundsMin.x <= g.boundsMin.x && g.atlasBoundsMax.y >= g.boundsMax.y);
        for(const Range2Di& other: rects) EXPECT_TRUE(other.intersected(g.atlasRect).isEmpty());
        rects.push_back(g.atlasRect);
    }
    EXPECT_GT(rects.size(), 180u);
    // "AV" kerns tighter; text layout moves the V by it.
    ASSERT_LT(font->kerning(U'A', U'V'), -0.01f);
    Data::SceneGraph graph{4};
    Data::TextManager texts{2};
    graph.setComponentManager(texts);
    const Data::Id t = texts.addComponent(graph.addObject(0));
    texts.setText(t, "AV");
    const MeshData mesh = texts.meshData(t, *font);
    ASSERT_EQ(mesh.positions.size(), 8u);
    EXPECT_NEAR(mesh.positions[4].x - mesh.positions[0].x,
                font->glyph(U'A')->advance + font->kerning(U'A', U'V') + font->glyph(U'V')->atlasBoundsMin.x -
                    font->glyph(U'A')->atlasBoundsMin.x, 1e-5f);
}

TEST(FontAtlasTest, ProjectTextsBringTheirCharacters) {
    // Past Latin-1: what the texts use is loaded, at first and after an edit brings a new one.
    ProjectFile project;
    ASSERT_TRUE(project.create(ArdentisEngine::Test::scratchFolder().string()));
    ASSERT_TRUE(project.loadText(R"({"format": "ardentis-project", "version": 1,
        "fonts": {"1": {"name": "Sans", "file": {"file": "DejaVuSans.ttf", "resource": "system"}}},
        "objects": {"1": {"name": "Sign", "components": [{"type": 3, "text": "\u0416uk", "font": 1}]}}})", "records"));
    ChangeManager changes{project};
    Data::Scene scene{16};
    AssetCompiler compiler{project, scene};
    compiler.compile();
    const std::uint16_t slot = compiler.fontInstance(ResourceId{1});
    ASSERT_TRUE(slot);
    ASSERT_TRUE(scene.fonts[slot].glyph(U'\u0416'));
    EXPECT_FALSE(scene.fonts[slot].glyph(U'\u03c9'));

    JsonDocument text;
    text.SetString("\xcf\x89 and \xd0\x96");  // omega, Zhe
    changes.pushChange(ProjectSection{project, "objects"}.record(ResourceId{1}).access("components").access(0).access("text"), text);
    changes.commit();
    compiler.compile();
    const Data::GlyphMetrics* omega = scene.fonts[compiler.fontInstance(ResourceId{1})].glyph(U'\u03c9');
    ASSERT_TRUE(omega);
    EXPECT_FALSE(omega->atlasRect.isEmpty());
    EXPECT_TRUE(scene.fonts[slot].glyph(U'\u0416'));
}

}
