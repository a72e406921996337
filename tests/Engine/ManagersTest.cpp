#include <gtest/gtest.h>

#include "Engine/MeshManager.h"
#include "Engine/NameManager.h"
#include "Engine/Scene.h"
#include "Engine/SceneGraph.h"
#include "Engine/TextManager.h"
#include "Gfx/Log.h"

using namespace ArdentisEngine;
using Data::Id;
using Data::SceneGraph;

TEST(MeshManager, ActiveComponentsAreGroupedByPipeline) {
    SceneGraph graph{16};
    Data::MeshManager meshes{16};
    graph.setComponentManager(meshes);
    std::vector<Id> components;
    for(int p: {2, 1, 0, 2, 1, 2}) {
        components.push_back(meshes.addComponent(graph.addObject(0)));
        meshes.setPipeline(components.back(), std::uint16_t(p));
    }
    // Nothing is active yet: everything waits in group 0.
    const auto& groups = meshes.components();
    EXPECT_EQ(groups.groupSize(0), 6u);
    graph.activate();
    ASSERT_EQ(groups.groupsCount(), 3u);
    for(std::size_t g = 0; g != 3; ++g) {
        EXPECT_EQ(groups.groupSize(g), g + 1);  // the one without a pipeline, then 2 and 3
        for(std::size_t i = groups.groupStart(g, 0); i != groups.groupEnd(g); ++i)
            EXPECT_EQ(meshes.pipeline(meshes.component(i)), g);
    }
    // Moving a component to another pipeline keeps object() consistent; deactivating returns it to group 0.
    meshes.setPipeline(components[0], 1);
    EXPECT_EQ(groups.groupSize(1), 3u);
    EXPECT_EQ(meshes.object(meshes.indexOf(components[0])), meshes.objectOf(components[0]));
    meshes.deactivate(components[1]);
    EXPECT_EQ(groups.groupSize(1), 2u);
    EXPECT_EQ(groups.groupSize(0), 2u);
}

namespace {

// Monospaced test font: every glyph is 0.5 em wide with a box from (0, 0) to (0.4, 0.7).
Data::FontData testFont() {
    Data::FontData font;
    font.name = "Test";
    font.ascent = 0.8f;
    font.descent = -0.2f;
    font.lineHeight = 1.0f;
    std::uint32_t index = 0;
    for(char32_t c: std::u32string_view{U"ABC\u00e9"}) font.glyphs[c] = {0.5f, {0.0f, 0.0f}, {0.4f, 0.7f}, index++};
    font.glyphs[U' '] = {0.5f, {0, 0}, {0, 0}, 99};
    return font;
}

struct LayoutCase {
    const char* name;
    const char* text;
    Data::HorizontalAlignment horizontal;
    Data::VerticalAlignment vertical;
    std::size_t quads;
    Vector2 min, max;  // extent of all positions
};

using H = Data::HorizontalAlignment;
using V = Data::VerticalAlignment;

const LayoutCase LayoutCases[]{
    {"RightTop", "AB", H::Right, V::Top, 2, {-1.0f, -0.8f}, {-0.1f, -0.1f}},
    {"SpaceMakesNoQuad", "A B", H::Left, V::Baseline, 2, {0.0f, 0.0f}, {1.4f, 0.7f}},
    {"TwoLinesBottom", "AB\nC", H::Left, V::Bottom, 3, {0.0f, 0.2f}, {0.9f, 1.9f}},
    {"Utf8Centered", "\xc3\xa9" "A", H::Center, V::Baseline, 2, {-0.5f, 0.0f}, {0.4f, 0.7f}},
    {"Empty", "", H::Center, V::Middle, 0, {0.0f, 0.0f}, {0.0f, 0.0f}},
};

class TextLayout: public testing::TestWithParam<LayoutCase> {};

}

TEST_P(TextLayout, PlacesGlyphQuads) {
    const LayoutCase& c = GetParam();
    SceneGraph graph{4};
    Data::TextManager texts{2};
    graph.setComponentManager(texts);
    const Id t = texts.addComponent(graph.addObject(0));
    texts.setText(t, c.text);
    texts.setHorizontalAlignment(t, c.horizontal);
    texts.setVerticalAlignment(t, c.vertical);
    const MeshData mesh = texts.meshData(t, testFont());
    ASSERT_EQ(mesh.positions.size(), c.quads*4);
    ASSERT_EQ(mesh.indices.size(), c.quads*6);
    std::string why;
    EXPECT_TRUE(mesh.isValid(&why)) << why;
    if(!c.quads) return;
    Vector2 lo{1e9f}, hi{-1e9f};
    for(const Vector3& p: mesh.positions) {
        lo = glm::min(lo, Vector2{p});
        hi = glm::max(hi, Vector2{p});
    }
    EXPECT_NEAR(lo.x, c.min.x, 1e-5f);
    EXPECT_NEAR(lo.y, c.min.y, 1e-5f);
    EXPECT_NEAR(hi.x, c.max.x, 1e-5f);
    EXPECT_NEAR(hi.y, c.max.y, 1e-5f);
}

INSTANTIATE_TEST_SUITE_P(, TextLayout, testing::ValuesIn(LayoutCases),
    [](const testing::TestParamInfo<LayoutCase>& i) { return std::string{i.param.name}; });

TEST(TextManager, MissingGlyphsAreReportedOnceAndLeftOut) {
    SceneGraph graph{4};
    Data::TextManager texts{2};
    graph.setComponentManager(texts);
    const Id t = texts.addComponent(graph.addObject(0));
    texts.setText(t, "AzzB");
    Log::Capture errors{Log::Channel::Error};
    const MeshData mesh = texts.meshData(t, testFont());
    EXPECT_EQ(mesh.positions.size(), 8u);
    EXPECT_TRUE(errors.contains("U+007A"));
    EXPECT_EQ(std::count(errors.text().begin(), errors.text().end(), '\n') <= 1, true);
}

TEST(Utf8, MalformedBytesBecomeReplacementCharacters) {
    EXPECT_EQ(Data::decodeUtf8("a\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80"), U"a\u00e9\u20ac\U0001F600");
    EXPECT_EQ(Data::decodeUtf8("\xff" "a"), U"\uFFFDa");
    EXPECT_EQ(Data::decodeUtf8("\xc3"), U"\uFFFD");
    EXPECT_EQ(Data::decodeUtf8("\xe2\x28\xa1"), U"\uFFFD(\uFFFD");
}

TEST(NameManager, RenamingKeepsOtherNamesAndCompacts) {
    Data::NameManager names{4};
    names.setName(1, "Root");
    names.setName(2, "Arm<Root");
    names.setName(1, "R");  // shorter: reuses its place
    EXPECT_EQ(names.nameOf(500), "");
    // Many growing renames trigger compaction; every name must survive it.
    for(int i = 0; i != 2000; ++i) names.setName(3, std::string(std::size_t(i%50 + 1), 'x') + std::to_string(i));
    EXPECT_EQ(names.nameOf(2), "Arm<Root");
    EXPECT_EQ(names.nameOf(1), "R");
    EXPECT_EQ(names.nameOf(3), std::string(1999%50 + 1, 'x') + "1999");
    EXPECT_EQ(names.find("Arm<Root"), 2);
    EXPECT_EQ(names.find("nothing"), Data::InvalidId);
}

TEST(Scene, ManagersShareTheGraphAndTablesGrowWithIt) {
    Data::Scene scene{4};
    const Id a = scene.addObject(0, "Lamp");
    ASSERT_NE(scene.lights().addComponent(a), Data::InvalidId);
    ASSERT_NE(scene.meshes().addComponent(a), Data::InvalidId);

    scene.setCapacity(200);
    for(int i = 0; i != 150; ++i) ASSERT_NE(scene.addObject(a), Data::InvalidId);
    EXPECT_GE(scene.names().size(), 200u);
    EXPECT_GE(scene.ids().size(), 200u);
    EXPECT_EQ(scene.graph().descendantCount(a), 150u);
    const Id last = scene.graph().objectData(scene.graph().objectCount() - 1).id;
    EXPECT_NE(scene.meshes().addComponent(last), Data::InvalidId);
}
