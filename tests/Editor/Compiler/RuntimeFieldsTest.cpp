// What the compiler derives for the runtime beyond plain record values.
#include <gtest/gtest.h>

#include "Editor/Compiler/AssetCompiler.h"
#include "Editor/Compiler/RootMotion.h"
#include "Editor/Project/TestProject.h"
#include "Editor/Undo/ChangeManager.h"

namespace ArdentisEngine::Test {
namespace {

TEST(RuntimeFields, ShadowsMeshLinksAndPipelineFeatures) {
    ProjectFile project;
    ASSERT_TRUE(project.create(scratchFolder().string()));
    ASSERT_TRUE(project.loadText(R"({"format": "ardentis-project", "version": 1,
      "pipelines": {"1": {"name": "Phong Opaque"}, "2": {"name": "Flat Opaque"}},
      "materials": {"1": {"pipeline": 1}, "2": {"pipeline": 2}},
      "meshes": {"1": {"primitive": "cube"}, "2": {"primitive": "sphere"}},
      "objects": {"1": {"components": [{"type": 4, "mesh": 1, "material": 1}]},
        "2": {"components": [{"type": 1, "castShadows": false, "shadowBias": 0.02},
                             {"type": 4, "mesh": 2, "material": 2, "castShadows": false}]}}})", "records"));
    ChangeManager changes{project};
    Data::Scene scene;
    AssetCompiler compiler{project, scene};
    compiler.compile();
    const Data::Id one = compiler.objectInstance(ResourceId{1}), two = compiler.objectInstance(ResourceId{2});
    auto mesh = [&](Data::Id o) { return scene.graph().componentsOfType(o, Data::ComponentType::Mesh).at(0); };
    auto features = [&](std::uint32_t p) { return scene.pipelines[compiler.pipelineInstance(ResourceId{p})].enabledFeatures; };
    // The set the shadow pass draws with follows the dense order.
    auto checkCasters = [&] {
        for(std::size_t i = 0; i != scene.meshes().size(); ++i)
            EXPECT_EQ(scene.meshes().shadowCasters().isSet(i), scene.meshes().castsShadows(scene.meshes().component(i))) << i;
    };
    checkCasters();
    const Data::Id light = scene.graph().componentsOfType(two, Data::ComponentType::Light).at(0);
    EXPECT_FALSE(scene.lights().castsShadows(light));
    EXPECT_FLOAT_EQ(scene.lights().shadowBias(light), 0.02f);
    EXPECT_TRUE(scene.meshes().castsShadows(mesh(one)));
    EXPECT_FALSE(scene.meshes().castsShadows(mesh(two)));
    EXPECT_EQ(scene.secondIds().nameOf(two), compiler.meshInstance(ResourceId{2}));
    EXPECT_EQ(features(1), 0u);  // the cube has no texture coordinates
    EXPECT_EQ(features(2), AssetCompiler::FeatureTextureCoordinates);

    // Edited objects: the sphere moves to pipeline 1 and casts; object 1 loses its mesh.
    changes.pushChange(ValueAccess<void>{project, "/objects/2/components/1/material"}, 1u);
    changes.pushChange(ValueAccess<void>{project, "/objects/2/components/1/castShadows"}, true);
    changes.pushChange(ValueAccess<void>{project, "/objects/1/components"}, JsonDocument{rapidjson::kArrayType});
    changes.commit();
    compiler.compile();
    EXPECT_TRUE(scene.meshes().castsShadows(mesh(two)));
    checkCasters();
    EXPECT_EQ(scene.secondIds().nameOf(one), 0u);
    EXPECT_EQ(features(1), AssetCompiler::FeatureTextureCoordinates);
    EXPECT_EQ(features(2), 0u);
}

TEST(RootMotion, RemovesTheChosenAxesOfTheTarget) {
    // "Hips" walks along z, bobs in y and turns about y from a lean about x; "Arm" is never the target.
    const std::vector<std::string> names{"Hips", "Arm"};
    const Quaternion lean = glm::angleAxis(0.3f, Vector3{1, 0, 0});
    const struct {
        const char* name;
        const char* target;
        std::uint32_t translation, rotation;
        bool found;
        Vector3 lastPosition;
        float lastTurn;  // about y, since the first key
    } cases[]{
        {"none", "", 7, 7, true, {1.5f, 2.5f, 7.0f}, 1.2f},
        {"xz in place", "Hips", RootMotionX | RootMotionZ, 0, true, {1.0f, 2.5f, 3.0f}, 1.2f},
        {"heading kept", "Hips", 0, RootMotionY, true, {1.5f, 2.5f, 7.0f}, 0.0f},
        {"unknown target", "Tail", 7, 7, false, {1.5f, 2.5f, 7.0f}, 1.2f},
    };
    for(const auto& c: cases) {
        SCOPED_TRACE(c.name);
        Data::AnimationData a;
        a.tracks.push_back(Data::translationTrack(0, {0.0f, 1.0f}, {{1.0f, 2.0f, 3.0f}, {1.5f, 2.5f, 7.0f}}));
        a.tracks.push_back(Data::rotationTrack(0, {0.0f, 1.0f}, {lean, glm::angleAxis(1.2f, Vector3{0, 1, 0})*lean}));
        a.tracks.push_back(Data::translationTrack(1, {0.0f, 1.0f}, {Vector3{0.0f}, Vector3{4.0f}}));
        EXPECT_EQ(removeRootMotion(a, names, c.target, c.translation, c.rotation), c.found);
        EXPECT_NEAR(glm::distance(a.tracks[0].keys.vector3(1), c.lastPosition), 0.0f, 1e-5f);
        const Quaternion turn = a.tracks[1].keys.quaternion(1)*glm::inverse(a.tracks[1].keys.quaternion(0));
        EXPECT_NEAR(std::abs(glm::dot(turn, glm::angleAxis(c.lastTurn, Vector3{0, 1, 0}))), 1.0f, 1e-4f);
        EXPECT_EQ(a.tracks[2].keys.vector3(1), Vector3{4.0f});
    }
}

}
}
