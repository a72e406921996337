// What the compiler derives for the runtime beyond the records' own values: shadow casting, the
// second id map, pipeline features, and root motion taken out of animations.
#include <filesystem>

#include <gtest/gtest.h>

#include "Editor/Compiler/AssetCompiler.h"
#include "Editor/Compiler/RootMotion.h"
#include "Editor/Import/Import.h"
#include "Editor/Project/TestProject.h"
#include "Editor/Undo/ChangeManager.h"
#include "Gfx/Log.h"

namespace ArdentisEngine::Test {
namespace {

namespace fs = std::filesystem;
using Data::Id;

constexpr std::string_view Records = R"({
  "format": "ardentis-project", "version": 1,
  "pipelines": {"1": {"name": "Phong Opaque"}, "2": {"name": "Flat Opaque"}},
  "materials": {"1": {"name": "Plain", "pipeline": 1}, "2": {"name": "Flat", "pipeline": 2}},
  "meshes": {"1": {"name": "Cube", "primitive": "cube"}, "2": {"name": "Ball", "primitive": "sphere"}},
  "objects": {
    "1": {"name": "Caster", "components": [{"type": 4, "mesh": 1, "material": 1}]},
    "2": {"name": "Receiver", "components": [{"type": 4, "mesh": 2, "material": 2, "castShadows": false}]},
    "3": {"name": "Sun", "components": [{"type": 1, "shadowBias": 0.02, "shadowDistance": 40}]},
    "4": {"name": "Bulb", "components": [{"type": 1, "lightType": 1, "castShadows": false}]},
    "5": {"name": "Empty"}
  }
})";

class RuntimeFields: public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(project.create(scratchFolder().string()));
        ASSERT_TRUE(project.loadText(Records, "records"));
        changes = std::make_unique<ChangeManager>(project);
        compiler = std::make_unique<AssetCompiler>(project, scene);
        compiler->compile();
    }
    Id object(std::uint32_t record) const { return compiler->objectInstance(ResourceId{record}); }
    template<class Manager> Id component(Manager& manager, std::uint32_t record) {
        return scene.graph().componentsOfType(object(record), manager.type()).at(0);
    }
    void edit(const char* path, const char* json) {
        JsonDocument value;
        value.Parse(json);
        changes->pushChange(ValueAccess<void>{project, path}, value);
        changes->commit();
        compiler->compile();
    }
    ProjectFile project;
    Data::Scene scene;
    std::unique_ptr<ChangeManager> changes;
    std::unique_ptr<AssetCompiler> compiler;
};

TEST_F(RuntimeFields, ShadowSettingsReachTheManagers) {
    auto& meshes = scene.meshes();
    auto& lights = scene.lights();
    EXPECT_TRUE(meshes.castsShadows(component(meshes, 1)));
    EXPECT_FALSE(meshes.castsShadows(component(meshes, 2)));
    const Id sun = component(lights, 3);
    EXPECT_TRUE(lights.castsShadows(sun));
    EXPECT_FLOAT_EQ(lights.shadowBias(sun), 0.02f);
    EXPECT_FLOAT_EQ(lights.shadowDistance(sun), 40.0f);
    EXPECT_FALSE(lights.castsShadows(component(lights, 4)));
    // Only the casting light gets shadow views.
    EXPECT_EQ(lights.setupShadows(scene.views(), 0, 2), 2u);
    EXPECT_EQ(lights.shadowIndex(component(lights, 4)), Data::LightManager::NoShadow);

    // Edits go through the edited-object path; the caster set follows the dense order.
    edit("/objects/1/components/0/castShadows", "false");
    edit("/objects/2/components/0/castShadows", "true");
    EXPECT_FALSE(meshes.castsShadows(component(meshes, 1)));
    EXPECT_TRUE(meshes.castsShadows(component(meshes, 2)));
    meshes.update(0.0);
    for(std::size_t i = 0; i != meshes.size(); ++i)
        EXPECT_EQ(meshes.shadowCasters().isSet(i), meshes.castsShadows(meshes.component(i))) << i;
}

TEST_F(RuntimeFields, SecondIdMapHoldsTheFirstMeshSlot) {
    EXPECT_EQ(scene.secondIds().nameOf(object(1)), compiler->meshInstance(ResourceId{1}));
    EXPECT_EQ(scene.secondIds().nameOf(object(2)), compiler->meshInstance(ResourceId{2}));
    EXPECT_EQ(scene.secondIds().nameOf(object(3)), 0u);
    EXPECT_EQ(scene.secondIds().nameOf(object(5)), 0u);
    // The first map keeps the record ids.
    EXPECT_EQ(scene.ids().nameOf(object(2)), 2u);

    // Losing its mesh clears the link; gaining one sets it.
    edit("/objects/1/components", "[]");
    edit("/objects/5/components", R"([{"type": 1}, {"type": 4, "mesh": 2}, {"type": 4, "mesh": 1}])");
    EXPECT_EQ(scene.secondIds().nameOf(object(1)), 0u);
    EXPECT_EQ(scene.secondIds().nameOf(object(5)), compiler->meshInstance(ResourceId{2}));
}

TEST_F(RuntimeFields, PipelineFeaturesFollowTheMeshesDrawn) {
    const auto features = [&](std::uint32_t pipeline) {
        return scene.pipelines[compiler->pipelineInstance(ResourceId{pipeline})].enabledFeatures;
    };
    EXPECT_EQ(features(1), 0u);  // the cube has no texture coordinates
    EXPECT_EQ(features(2), AssetCompiler::FeatureTextureCoordinates);
    const std::uint32_t stamp = scene.stamp(Data::SceneCategory::Pipelines);

    // The sphere moves to pipeline 1: both pipelines' features change, and the renderer is told.
    edit("/objects/2/components/0/material", "1");
    EXPECT_EQ(features(1), AssetCompiler::FeatureTextureCoordinates);
    EXPECT_EQ(features(2), 0u);
    EXPECT_NE(scene.stamp(Data::SceneCategory::Pipelines), stamp);
    // Recompiling the pipelines keeps what the meshes ask for.
    edit("/pipelines/1/transparent", "true");
    EXPECT_EQ(features(1), AssetCompiler::FeatureTextureCoordinates);

    EXPECT_EQ(AssetCompiler::featureDefines(AssetCompiler::FeatureJoints | AssetCompiler::FeatureMorphTargets),
              (std::vector<std::string>{"PRIMARY_JOINTS", "MORPH_TARGETS"}));
}

// Imported skins and morph targets reach the features of the pipelines that draw them.
TEST(RuntimeFieldsImported, SkinsAndMorphTargetsSetFeatures) {
    const struct {
        const char* file;
        std::uint32_t expected;
    } cases[]{
        {"RiggedSimple/RiggedSimple.glb", AssetCompiler::FeatureJoints},
        {"AnimatedMorphCube/AnimatedMorphCube.glb", AssetCompiler::FeatureMorphTargets},
        {"Box/Box.glb", 0},
    };
    for(const auto& c: cases) {
        SCOPED_TRACE(c.file);
        const fs::path model = fs::path{ARDENTIS_TESTDATA_DIR}/"gltf"/c.file;
        ASSERT_TRUE(fs::exists(model)) << model;
        ProjectFile project;
        ASSERT_TRUE(project.create(scratchFolder().string()));
        // The importer gives its materials these pipelines when the project has them.
        ASSERT_TRUE(project.loadText(R"({"format": "ardentis-project", "version": 1, "pipelines": {
            "1": {"name": "Phong Opaque"}, "2": {"name": "Phong Opaque Textured"}}})", "records"));
        ChangeManager changes{project};
        ASSERT_TRUE(loadFile(model.string(), changes));
        Data::Scene scene;
        AssetCompiler compiler{project, scene};
        compiler.compile();
        std::uint32_t features = 0;
        for(std::size_t i = 0; i != scene.meshes().size(); ++i)
            features |= scene.pipelines[scene.meshes().pipeline(scene.meshes().component(i))].enabledFeatures;
        EXPECT_EQ(features & (AssetCompiler::FeatureJoints | AssetCompiler::FeatureMorphTargets), c.expected);
    }
}

// Object 0 "Hips" walks forward along z while bobbing in y and turning about y; object 1 "Arm"
// moves too but is never the target.
Data::AnimationData walk() {
    Data::AnimationData a;
    a.tracks.push_back(Data::translationTrack(0, {0.0f, 1.0f}, {{1.0f, 2.0f, 3.0f}, {1.5f, 2.5f, 7.0f}}));
    a.tracks.push_back(Data::rotationTrack(0, {0.0f, 1.0f},
        {glm::angleAxis(0.3f, Vector3{1, 0, 0}), glm::angleAxis(1.2f, Vector3{0, 1, 0})*glm::angleAxis(0.3f, Vector3{1, 0, 0})}));
    a.tracks.push_back(Data::translationTrack(1, {0.0f, 1.0f}, {{0.0f, 0.0f, 0.0f}, {0.0f, 0.0f, 4.0f}}));
    a.duration = 1.0f;
    return a;
}

TEST(RootMotion, RemovesTheChosenAxesOfTheTarget) {
    const std::vector<std::string> names{"Hips", "Arm"};
    const struct {
        const char* name;
        const char* target;
        std::uint32_t translation, rotation;
        bool found;
        Vector3 lastPosition;
        float lastYaw;  // rotation about y of the last key relative to the first
    } cases[]{
        {"none", "", 7, 7, true, {1.5f, 2.5f, 7.0f}, 1.2f},
        {"xz in place", "Hips", RootMotionX | RootMotionZ, 0, true, {1.0f, 2.5f, 3.0f}, 1.2f},
        {"all translation", "Hips", 7, 0, true, {1.0f, 2.0f, 3.0f}, 1.2f},
        {"heading kept", "Hips", 0, RootMotionY, true, {1.5f, 2.5f, 7.0f}, 0.0f},
        {"unknown target", "Tail", 7, 7, false, {1.5f, 2.5f, 7.0f}, 1.2f},
    };
    for(const auto& c: cases) {
        SCOPED_TRACE(c.name);
        Data::AnimationData a = walk();
        EXPECT_EQ(removeRootMotion(a, names, c.target, c.translation, c.rotation), c.found);
        const Vector3 last = a.tracks[0].keys.vector3(1);
        EXPECT_NEAR(glm::distance(last, c.lastPosition), 0.0f, 1e-5f) << last.x << " " << last.y << " " << last.z;
        EXPECT_EQ(a.tracks[0].keys.vector3(0), (Vector3{1.0f, 2.0f, 3.0f}));
        // The swing about x survives a removed heading.
        const Quaternion first = a.tracks[1].keys.quaternion(0), end = a.tracks[1].keys.quaternion(1);
        const Quaternion delta = end*glm::inverse(first);
        EXPECT_NEAR(std::abs(glm::dot(delta, glm::angleAxis(c.lastYaw, Vector3{0, 1, 0}))), 1.0f, 1e-4f);
        EXPECT_EQ(a.tracks[2].keys.vector3(1), (Vector3{0.0f, 0.0f, 4.0f})) << "other objects keep their motion";
    }
}

// The record names its target as the preview lists it (the object's name followed by its
// ancestors') or by the plain name; anything else is reported and the clip plays unchanged.
TEST(RootMotion, RecordTargetsAreFoundByEitherName) {
    const fs::path model = fs::path{ARDENTIS_TESTDATA_DIR}/"gltf/RiggedSimple/RiggedSimple.glb";
    ASSERT_TRUE(fs::exists(model)) << model;
    ProjectFile project;
    ASSERT_TRUE(project.create(scratchFolder().string()));
    ChangeManager changes{project};
    ASSERT_TRUE(loadFile(model.string(), changes));
    auto files = project.section<FileRecord>();
    const ImportedSceneCache* cache = files.resolveData(files.ids().at(0));
    ASSERT_TRUE(cache);
    // The deepest track target, so that its preview name has ancestors.
    const Data::AnimationData& animation = cache->animations.at(0);
    std::uint32_t target = animation.tracks.at(0).target;
    std::vector<std::uint32_t> parent(cache->objectCount(), ImportedSceneCache::NoParent);
    for(const auto& e: cache->hierarchy) parent[e.object] = e.parent;
    auto depth = [&](std::uint32_t o) { int d = 0; while(parent[o] != ImportedSceneCache::NoParent) { o = parent[o]; ++d; } return d; };
    for(const auto& track: animation.tracks) if(depth(track.target) > depth(target)) target = track.target;
    std::string chain = cache->names[target];
    for(std::uint32_t o = parent[target]; o != ImportedSceneCache::NoParent; o = parent[o]) chain += "<" + cache->names[o];
    ASSERT_GT(depth(target), 0);

    const ResourceId record = project.section<AnimationRecord>().ids().at(0);
    for(const std::string& name: {cache->names[target], chain, std::string{"Nobody"}}) {
        SCOPED_TRACE(name);
        changes.pushChange(project.section<AnimationRecord>()[record].access(Model::Animation::RootMotionTarget.name), name);
        changes.pushChange(project.section<AnimationRecord>()[record].access(Model::Animation::RootMotionTranslationAxes.name), 7u);
        changes.commit();
        Data::Scene scene;
        AssetCompiler compiler{project, scene};
        Log::Capture errors{Log::Channel::Error};
        compiler.compile();
        EXPECT_EQ(errors.text().find("root-motion target") != std::string::npos, name == "Nobody") << errors.text();
        EXPECT_EQ(compiler.animationInstances().size(), 1u);
    }
}

}
}
