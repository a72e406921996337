// An FBX file written at test time by Assimp's own exporter from a scene built here, then
// imported the way a user drops it in.
#include <filesystem>
#include <map>
#include <memory>

#include <assimp/Exporter.hpp>
#include <assimp/scene.h>
#include <gtest/gtest.h>

#include "Editor/Import/Import.h"
#include "Editor/Undo/ChangeManager.h"
#include "TestProject.h"

namespace ArdentisEngine::Test {
namespace {

namespace fs = std::filesystem;

// Parent (moved by 1, 2, 3) with children Body, which draws a quad, and Lamp.
std::unique_ptr<aiScene> quadScene() {
    auto scene = std::make_unique<aiScene>();
    scene->mRootNode = new aiNode{"Scene"};
    aiNode* parent = new aiNode{"Parent"};
    parent->mTransformation = aiMatrix4x4{}.Translation({1.0f, 2.0f, 3.0f}, parent->mTransformation);
    scene->mRootNode->addChildren(1, &parent);
    aiNode* children[]{new aiNode{"Body"}, new aiNode{"Lamp"}};
    parent->addChildren(2, children);
    children[0]->mNumMeshes = 1;
    children[0]->mMeshes = new unsigned[1]{0};

    aiMesh* mesh = new aiMesh;
    mesh->mName = "Quad";
    mesh->mPrimitiveTypes = aiPrimitiveType_TRIANGLE;
    mesh->mNumVertices = 4;
    mesh->mVertices = new aiVector3D[4]{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
    mesh->mNormals = new aiVector3D[4]{{0, 0, 1}, {0, 0, 1}, {0, 0, 1}, {0, 0, 1}};
    mesh->mNumFaces = 2;
    mesh->mFaces = new aiFace[2];
    for(unsigned f = 0; f != 2; ++f) {
        mesh->mFaces[f].mNumIndices = 3;
        mesh->mFaces[f].mIndices = new unsigned[3]{0, f + 1, f + 2};
    }
    scene->mNumMeshes = 1;
    scene->mMeshes = new aiMesh*[1]{mesh};

    // A mesh needs a material; Assimp's conversion of materials is the OBJ import test's.
    scene->mNumMaterials = 1;
    scene->mMaterials = new aiMaterial*[1]{new aiMaterial};
    return scene;
}

TEST(ImportFbx, SceneWrittenByAssimpComesBackWhole) {
    const fs::path folder = scratchFolder();
    ProjectFile project;
    ASSERT_TRUE(project.create((folder/"project").string()));
    ChangeManager changes{project};
    const fs::path models = folder/"project/models";
    fs::create_directories(models);

    // Debian's Assimp 5.2.5 writes binary FBX ("fbx") that its own importer refuses as corrupt
    // ("block offset is out of range"), so the ASCII flavour of the format is written instead.
    Assimp::Exporter exporter;
    const std::unique_ptr<aiScene> scene = quadScene();
    ASSERT_EQ(exporter.Export(scene.get(), "fbxa", (models/"quad.fbx").string()), AI_SUCCESS) << exporter.GetErrorString();
    ASSERT_TRUE(loadFile((models/"quad.fbx").string(), changes));
    EXPECT_EQ(changes.undoCount(), 1u);

    // Objects by name with their parents' names: the importer's own scene root is not an object,
    // so the file's top-level node is a root again.
    auto objects = project.section<ObjectRecord>();
    std::map<std::string, std::string> parentOf;
    std::map<std::string, ResourceId> objectNamed;
    for(ResourceId id: objects.resourceIds()) objectNamed[objects[id][Model::Object::Name].value()] = id;
    for(const auto& [name, id]: objectNamed) {
        const ResourceId parent = objects[id].access("parent").exists() ? objects[id].access("parent").as<ResourceId>() : ResourceId{};
        parentOf[name] = parent ? std::string{objects[parent][Model::Object::Name].value()} : "";
    }
    EXPECT_EQ(parentOf, (std::map<std::string, std::string>{{"Parent", ""}, {"Body", "Parent"}, {"Lamp", "Parent"}}));
    const Vector3 translation = objects[objectNamed["Parent"]].access("translation").as<Vector3>();
    EXPECT_NEAR(glm::distance(translation, Vector3{1.0f, 2.0f, 3.0f}), 0.0f, 1e-5f);

    // The mesh (named after its object by the FBX importer) has a vertex per corner, and Body draws it.
    auto meshes = project.section<MeshRecord>();
    ASSERT_EQ(meshes.ids().size(), 1u);
    const MeshData* mesh = meshes.resolveData(meshes.ids()[0]);
    ASSERT_TRUE(mesh);
    EXPECT_EQ(mesh->vertexCount(), 6u);
    const ValueAccess<void> components = objects[objectNamed["Body"]].access("components");
    ASSERT_EQ(components.size(), 1u);
    EXPECT_EQ(components.access(0)[Model::Component::Mesh].value(), meshes.ids()[0]);
    EXPECT_FALSE(validateProject(project.document()));
}

}
}
