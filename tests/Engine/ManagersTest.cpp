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
    const std::uint16_t pipelines[]{2, 1, 0, 2, 1, 2};
    for(std::uint16_t p: pipelines) {
        const Id c = meshes.addComponent(graph.addObject(0));
        meshes.setPipeline(c, p);
        components.push_back(c);
    }
    // Nothing is active yet: everything waits in group 0.
    EXPECT_EQ(meshes.components().groupSize(0), 6u);
    graph.activate();
    const auto& groups = meshes.components();
    ASSERT_EQ(groups.groupsCount(), 3u);
    EXPECT_EQ(groups.groupSize(0), 1u);  // the one without a pipeline
    EXPECT_EQ(groups.groupSize(1), 2u);
    EXPECT_EQ(groups.groupSize(2), 3u);
    for(std::size_t g = 0; g != 3; ++g)
        for(std::size_t i = groups.groupStart(g, 0); i != groups.groupEnd(g); ++i)
            EXPECT_EQ(meshes.pipeline(meshes.component(i)), g);

    // Moving a component to another pipeline keeps the groups contiguous and object() consistent.
    meshes.setPipeline(components[0], 1);
    EXPECT_EQ(groups.groupSize(1), 3u);
    EXPECT_EQ(meshes.object(meshes.indexOf(components[0])), meshes.objectOf(components[0]));
    meshes.deactivate(components[1]);
    EXPECT_EQ(groups.groupSize(1), 2u);
    EXPECT_EQ(groups.groupSize(0), 2u);
}

TEST(MeshManager, MorphWeightsPackInDenseOrder) {
    SceneGraph graph{8};
    Data::MeshManager meshes{8};
    graph.setComponentManager(meshes);
    const Id a = meshes.addComponent(graph.addObject(0)), b = meshes.addComponent(graph.addObject(0));
    meshes.setMorphTargetCount(a, 2);
    meshes.setMorphTargetCount(b, 3);
    meshes.morphTargetWeights(a)[1] = 0.5f;
    meshes.morphTargetWeights(b)[2] = 0.25f;
    const auto packed = meshes.morphTargetWeightsData();
    ASSERT_EQ(packed.size(), 5u);
    EXPECT_EQ(packed[meshes.morphTargetWeightsOffset(a) + 1], 0.5f);
    EXPECT_EQ(packed[meshes.morphTargetWeightsOffset(b) + 2], 0.25f);
    // Activation reorders the components; offsets follow.
    meshes.setPipeline(b, 1);
    meshes.activate(b);
    const auto repacked = meshes.morphTargetWeightsData();
    EXPECT_EQ(repacked[meshes.morphTargetWeightsOffset(b) + 2], 0.25f);
    EXPECT_EQ(repacked[meshes.morphTargetWeightsOffset(a) + 1], 0.5f);
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
    for(char32_t c: U"ABCDEFGHIJ\u00e9") {
        if(!c) continue;
        font.glyphs[c] = {0.5f, {0.0f, 0.0f}, {0.4f, 0.7f}, index++};
    }
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
    {"CenterBaseline", "ABCD", H::Center, V::Baseline, 4, {-1.0f, 0.0f}, {0.9f, 0.7f}},
    {"RightTop", "AB", H::Right, V::Top, 2, {-1.0f, -0.8f}, {-0.1f, -0.1f}},
    {"SpaceMakesNoQuad", "A B", H::Left, V::Baseline, 2, {0.0f, 0.0f}, {1.4f, 0.7f}},
    {"TwoLinesBottom", "AB\nC", H::Left, V::Bottom, 3, {0.0f, 0.2f}, {0.9f, 1.9f}},
    {"TwoLinesMiddle", "A\nB", H::Left, V::Middle, 2, {0.0f, -0.8f}, {0.4f, 0.9f}},
    {"Utf8", "\xc3\xa9" "A", H::Left, V::Baseline, 2, {0.0f, 0.0f}, {0.9f, 0.7f}},
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
    texts.setSize(t, 2.0f);
    Log::Capture errors{Log::Channel::Error};
    const MeshData mesh = texts.meshData(t, testFont());
    EXPECT_EQ(mesh.positions.size(), 8u);
    EXPECT_TRUE(errors.contains("U+007A"));
    EXPECT_EQ(std::count(errors.text().begin(), errors.text().end(), '\n') <= 1, true);
    // The size scales the layout: B starts one advance (0.5 em) after A.
    EXPECT_NEAR(mesh.positions[4].x, 1.0f, 1e-6f);
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
    EXPECT_EQ(names.nameOf(1), "R");
    EXPECT_EQ(names.nameOf(2), "Arm<Root");
    EXPECT_EQ(names.nameOf(3), "");
    EXPECT_EQ(names.nameOf(500), "");
    // Many growing renames trigger compaction; every name must survive it.
    for(int i = 0; i != 2000; ++i) names.setName(3, std::string(std::size_t(i%50 + 1), 'x') + std::to_string(i));
    EXPECT_EQ(names.nameOf(2), "Arm<Root");
    EXPECT_EQ(names.nameOf(1), "R");
    EXPECT_EQ(names.nameOf(3), std::string(1999%50 + 1, 'x') + "1999");
    EXPECT_EQ(names.find("Arm<Root"), 2);
    EXPECT_EQ(names.find("nothing"), Data::InvalidId);
    names.setName(10, "Far");
    EXPECT_EQ(names.size(), 11u);
    EXPECT_GE(names.capacity(), 11u);
}

TEST(IdManager, UnsetEntriesReadZero) {
    Data::IdManager ids;
    ids.setSize(8);
    ids.setName(3, 42);
    ids.setName(20, 7);
    EXPECT_EQ(ids.nameOf(3), 42u);
    EXPECT_EQ(ids.nameOf(4), 0u);
    EXPECT_EQ(ids.nameOf(20), 7u);
    EXPECT_EQ(ids.nameOf(60000), 0u);
    EXPECT_EQ(ids.find(42), 3);
    EXPECT_EQ(ids.find(1234), Data::InvalidId);
}

TEST(Scene, StampsTellWhatChangedSinceAReload) {
    Data::Scene scene{16};
    // A fresh reload state (all bits set) sees everything as changed.
    const std::uint32_t never = ~0u;
    for(std::size_t c = 0; c != Data::SceneCategoryCount; ++c)
        EXPECT_TRUE(scene.changedSince(Data::SceneCategory(c), never));
    scene.stampAll();
    std::uint32_t seen = scene.revision();
    for(std::size_t c = 0; c != Data::SceneCategoryCount; ++c)
        EXPECT_FALSE(scene.changedSince(Data::SceneCategory(c), seen));

    scene.markChanged(Data::SceneCategory::Lights);
    EXPECT_NE(scene.revision(), seen);
    EXPECT_TRUE(scene.changedSince(Data::SceneCategory::Lights, seen));
    EXPECT_FALSE(scene.changedSince(Data::SceneCategory::Meshes, seen));
    scene.markChanged((1u << unsigned(Data::SceneCategory::Meshes)) | (1u << unsigned(Data::SceneCategory::Fonts)));
    EXPECT_TRUE(scene.changedSince(Data::SceneCategory::Fonts, seen));
    EXPECT_TRUE(scene.changedSince(Data::SceneCategory::Meshes, seen));
    EXPECT_FALSE(scene.changedSince(Data::SceneCategory::Images, seen));
    scene.stampAll();
    seen = scene.revision();
    EXPECT_FALSE(scene.changedSince(Data::SceneCategory::Lights, seen));
}

TEST(Scene, ManagersShareTheGraphAndTablesGrowWithIt) {
    Data::Scene scene{4};
    const Id a = scene.addObject(0, "Lamp");
    const Id light = scene.lights().addComponent(a);
    const Id mesh = scene.meshes().addComponent(a);
    ASSERT_NE(light, Data::InvalidId);
    ASSERT_NE(mesh, Data::InvalidId);
    EXPECT_EQ(scene.graph().componentTypes(a),
              (std::vector<Data::ComponentType>{Data::ComponentType::Light, Data::ComponentType::Mesh}));
    EXPECT_EQ(scene.names().nameOf(a), "Lamp");

    scene.setCapacity(200);
    for(int i = 0; i != 150; ++i) ASSERT_NE(scene.addObject(a), Data::InvalidId);
    EXPECT_GE(scene.names().size(), 200u);
    EXPECT_GE(scene.ids().size(), 200u);
    EXPECT_EQ(scene.graph().descendantCount(a), 150u);
    const Id last = scene.graph().objectData(scene.graph().objectCount() - 1).id;
    EXPECT_NE(scene.meshes().addComponent(last), Data::InvalidId);
}
