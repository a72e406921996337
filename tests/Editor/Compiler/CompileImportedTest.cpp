// Compiling what the importer brought in from the glTF test models.
#include <filesystem>
#include <set>

#include <gtest/gtest.h>

#include "Editor/Compiler/AssetCompiler.h"
#include "Editor/Import/Import.h"
#include "Editor/Project/TestProject.h"
#include "Editor/Undo/ChangeManager.h"
#include "Gfx/Log.h"

namespace ArdentisEngine::Test {
namespace {

namespace fs = std::filesystem;
using Data::Id;

// Skins, animations and morph targets (on the first mesh) of each model once compiled.
TEST(CompileModel, ObjectsSkinsAndAnimations) {
    const fs::path models = fs::path{ARDENTIS_TESTDATA_DIR}/"gltf";
    if(!fs::is_directory(models)) GTEST_SKIP() << "test models not found in " << models;
    const struct { const char* name; const char* file; std::size_t skins, animations; std::uint32_t morphTargets; } cases[]{
        {"Box", "Box/glTF-Embedded/Box.gltf", 0, 0, 0},  // buffers in data URIs
        {"RiggedSimple", "RiggedSimple/RiggedSimple.glb", 1, 1, 0},
        {"AnimatedMorphCube", "AnimatedMorphCube/AnimatedMorphCube.glb", 0, 1, 2},
        {"Fox", "Fox/Fox.glb", 1, 3, 0},
    };
    for(const auto& c: cases) {
        SCOPED_TRACE(c.name);
        ProjectFile project;
        ASSERT_TRUE(project.create((scratchFolder()/c.name).string()));
        ChangeManager changes{project};
        ASSERT_TRUE(loadFile((models/c.file).string(), changes));
        // Meshes and animations come from what the importer keeps, not from the file again.
        auto files = project.section<FileRecord>();
        fs::remove(project.absolutePath(files[files.ids().at(0)][Model::File::FileName].value()));
        Data::Scene scene;
        AssetCompiler compiler{project, scene};
        Log::Capture errors{Log::Channel::Error};
        compiler.compile();

        const std::size_t objects = project.section<ObjectRecord>().ids().size();
        EXPECT_EQ(scene.graph().objectCount(), objects + 1);
        std::size_t skins = 0;
        for(const Data::SkinData& skin: scene.skins) if(skin.jointCount()) ++skins;
        EXPECT_EQ(skins, c.skins);
        EXPECT_EQ(compiler.animationInstances().size(), c.animations);
        // Every track's target is an instance target, in the file's terms; those the scene has are
        // what animation components play.
        const ImportedSceneCache* cache = files.resolveData(files.ids().at(0));
        ASSERT_TRUE(cache);
        for(const AnimationInstance& instance: compiler.animationInstances()) {
            EXPECT_GT(instance.duration(), 0.0f) << instance.name;
            const ResourceId record = instance.record;
            const Data::AnimationData* data = project.section<AnimationRecord>().resolveData(record);
            ASSERT_TRUE(data);
            std::set<std::uint32_t> fileTargets;
            for(const Data::AnimationTrack& track: data->tracks) fileTargets.insert(track.target);
            EXPECT_EQ(std::set<std::uint32_t>(instance.fileTargets.begin(), instance.fileTargets.end()), fileTargets) << instance.name;
            ASSERT_EQ(instance.targets.size(), instance.animation->targetCount());
            for(std::size_t t = 0; t != instance.targets.size(); ++t) {
                if(instance.targets[t] == Data::InvalidId) continue;
                EXPECT_EQ(scene.names().nameOf(instance.targets[t]), cache->names[instance.fileTargets[t]]);
            }
            EXPECT_FALSE(instance.sceneTargets.empty()) << instance.name;
            for(Id target: instance.sceneTargets) EXPECT_TRUE(scene.graph().isValid(target));
        }
        const std::uint16_t firstMesh = compiler.meshInstance(project.section<MeshRecord>().ids().at(0));
        EXPECT_EQ(scene.morphTargetSets[firstMesh].targetCount, c.morphTargets);

        // Skin joints are the objects the skin component names, in its order, and every mesh the
        // skinned object draws is deformed by that skin; morphed meshes carry their weights.
        auto records = project.section<ObjectRecord>();
        for(ResourceId id: records.resourceIds()) {
            const Id object = compiler.objectInstance(id);
            const ValueAccess<void> components = records[id].access(Model::Object::Components);
            std::uint16_t skin = Data::MeshManager::NoSkin;
            for(std::size_t i = 0; i != components.size(); ++i) {
                if(components[i][Model::Component::Type].value() != std::uint32_t(Model::ComponentType::Skin)) continue;
                const ValueAccess<void> joints = components[i].access(Model::Component::Joints);
                for(std::size_t s = 0; s != scene.skins.size(); ++s) if(scene.skins[s].jointCount() == joints.size() &&
                    scene.skins[s].joints()[0] == compiler.objectInstance(joints[0].as<ResourceId>())) skin = std::uint16_t(s);
                ASSERT_NE(skin, Data::MeshManager::NoSkin) << "skin of object " << id.value;
                for(std::size_t j = 0; j != joints.size(); ++j)
                    EXPECT_EQ(scene.skins[skin].joints()[j], compiler.objectInstance(joints[j].as<ResourceId>())) << j;
            }
            for(Id m: scene.graph().componentsOfType(object, Data::ComponentType::Mesh)) {
                EXPECT_EQ(scene.meshes().skin(m), skin) << "object " << id.value;
                EXPECT_EQ(scene.meshes().morphTargetWeights(m).size(), scene.morphTargetSets[scene.meshes().mesh(m)].targetCount);
            }
        }
        EXPECT_EQ(errors.text(), "");
    }
}

// An animation component plays its record's tracks on the scene objects made from the file.
TEST(CompileAnimationComponent, PlaysOnTheImportedObjects) {
    const fs::path model = fs::path{ARDENTIS_TESTDATA_DIR}/"gltf/BoxAnimated/BoxAnimated.glb";
    if(!fs::exists(model)) GTEST_SKIP() << "test model not found: " << model;
    ProjectFile project;
    ASSERT_TRUE(project.create(scratchFolder().string()));
    ChangeManager changes{project};
    ASSERT_TRUE(loadFile(model.string(), changes));
    const ResourceId root = project.section<ObjectRecord>().ids().at(0);
    JsonDocument component;
    component.Parse(R"({"type": 5, "animation": 1, "loop": false, "speed": 2})");
    const ValueAccess<void> components = project.section<ObjectRecord>()[root].access(Model::Object::Components);
    changes.pushChange(components.access(components.size()), component);
    changes.commit();

    Data::Scene scene;
    AssetCompiler compiler{project, scene};
    compiler.compile();
    const auto animations = scene.graph().componentsOfType(compiler.objectInstance(root), Data::ComponentType::Animation);
    ASSERT_EQ(animations.size(), 1u);
    const Id a = animations[0];
    const AnimationInstance& instance = compiler.animationInstances()[compiler.animationInstance(ResourceId{1})];
    EXPECT_EQ(scene.animations().targets(a).size(), instance.sceneTargets.size());

    // Halfway through, some target has left its rest pose.
    std::vector<DualQuaternion> rest;
    for(Id target: instance.sceneTargets) rest.push_back(scene.graph().localTransformation(target));
    scene.animations().setTime(a, instance.duration()*0.5f);
    bool moved = false;
    for(std::size_t i = 0; i != rest.size(); ++i) moved |= !(scene.graph().localTransformation(instance.sceneTargets[i]) == rest[i]);
    EXPECT_TRUE(moved);

    // Compiling every object puts the pose back.
    compiler.compileObjects(true);
    for(std::size_t i = 0; i != rest.size(); ++i) {
        const DualQuaternion now = scene.graph().localTransformation(instance.sceneTargets[i]);
        EXPECT_NEAR(glm::distance(now.translation(), rest[i].translation()), 0.0f, 1e-5f) << i;
    }
}

}
}
