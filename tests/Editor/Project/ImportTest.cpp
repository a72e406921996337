#include <filesystem>

#include <gtest/gtest.h>

#include "Editor/Import/Import.h"
#include "Editor/Undo/ChangeManager.h"
#include "Gfx/Log.h"
#include "TestProject.h"

namespace ArdentisEngine::Test {
namespace {

namespace fs = std::filesystem;

fs::path modelFolder() { return fs::path{ARDENTIS_TESTDATA_DIR}/"gltf"; }

class ImportTest: public testing::Test {
protected:
    void SetUp() override {
        if(!fs::is_directory(modelFolder())) GTEST_SKIP() << "test models not found in " << modelFolder();
        folder = scratchFolder();
        ASSERT_TRUE(project.create(folder.string()));
    }
    fs::path folder;
    ProjectFile project;
    ChangeManager changes{project};
};

TEST_F(ImportTest, OpenedProjectImportsOnFirstRequest) {
    ASSERT_TRUE(loadFile((modelFolder()/"Fox/Fox.glb").string(), changes));
    ASSERT_TRUE(loadFile((modelFolder()/"Box/Box.glb").string(), changes));
    ASSERT_TRUE(project.save());
    ProjectFile reopened;
    ASSERT_TRUE(reopened.load(folder.string()));
    EditorData data{reopened};
    const Data::AnimationData* walk = reopened.section<AnimationRecord>().resolveData(ResourceId{2});
    ASSERT_TRUE(walk);
    EXPECT_EQ(walk->name, "Walk");
    const ImportedSceneCache* fox = reopened.section<FileRecord>().resolveData(ResourceId{1});
    ASSERT_TRUE(fox);
    EXPECT_EQ(fox->animations.size(), 3u);

    // A source that went missing is reported once, however often it is asked for.
    fs::remove(folder/"imported/Box/Box.glb");
    Log::Capture errors{Log::Channel::Error};
    const ResourceId boxMesh = reopened.section<MeshRecord>().ids().back();
    EXPECT_FALSE(reopened.section<MeshRecord>().resolveData(boxMesh));
    EXPECT_FALSE(reopened.section<MeshRecord>().resolveData(boxMesh));
    EXPECT_FALSE(reopened.section<FileRecord>().resolveData(ResourceId{2}));
    EXPECT_EQ(std::count(errors.text().begin(), errors.text().end(), '\n'), 1) << errors.text();
    EXPECT_TRUE(errors.contains("Box.glb")) << errors.text();
}

TEST_F(ImportTest, ImageDropAddsImageAndTextureOnce) {
    const fs::path image = folder/"Bricks.png";
    // Records only name the file; its pixels are read when the scene is compiled.
    writeFile(image, "\x89PNG");
    EXPECT_FALSE(isImageLoaded(image.string(), project));
    ASSERT_TRUE(loadFile(image.string(), changes));
    EXPECT_TRUE(isImageLoaded("Bricks.png", project));
    EXPECT_TRUE(project.section<TextureRecord>().resourceByName("name", "Bricks.png"));
    Log::Capture errors{Log::Channel::Error};
    EXPECT_FALSE(loadImage(image.string(), changes));
    EXPECT_TRUE(errors.contains("already")) << errors.text();
    EXPECT_EQ(project.section<ImageRecord>().ids().size(), 1u);
}

// Files that must be refused whole: one message naming the file, nothing added or left behind.
TEST_F(ImportTest, RefusedFilesChangeNothing) {
    const std::string fox = readFile(modelFolder()/"Fox/Fox.glb");
    // Bytes of nullptr: the file does not exist.
    const struct { const char* fileName; const char* bytes; std::size_t size; const char* reason; } cases[]{
        {"Fox.glb", fox.data(), fox.size()/2, ""},
        {"Foreign.gltf", R"({"hello": "world"})", 18, ""},
        {"Missing.glb", nullptr, 0, "no such file"},
        {"Notes.txt", "notes", 5, "not a scene file"},
    };
    const fs::path outside = folder.parent_path()/"refused-sources";
    fs::create_directories(outside);
    const std::string before = project.text();
    for(const auto& c: cases) {
        const fs::path file = outside/c.fileName;
        if(c.bytes) writeFile(file, std::string_view{c.bytes, c.size});
        Log::Capture errors{Log::Channel::Error};
        EXPECT_FALSE(loadFile(file.string(), changes));
        EXPECT_EQ(std::count(errors.text().begin(), errors.text().end(), '\n'), 1) << errors.text();
        EXPECT_TRUE(errors.contains(file.string())) << errors.text();
        EXPECT_TRUE(errors.contains(c.reason)) << errors.text();
        EXPECT_EQ(project.text(), before);
        EXPECT_EQ(changes.undoCount(), 0u);
        EXPECT_FALSE(fs::exists(folder/ImportFolder) && !fs::is_empty(folder/ImportFolder));
    }
}

// An OBJ made here, with its material library and a texture in a sub-folder, imported from
// outside the project: everything it names comes along.
TEST(ImportObj, MaterialLibraryAndTextureComeAlong) {
    const fs::path folder = scratchFolder();
    const fs::path source = folder/"outside";
    fs::create_directories(source/"textures");
    writeFile(source/"cube.obj", "mtllib cube.mtl\no Cube\nv 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\n"
        "vt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\nusemtl Bricks\nf 1/1 2/2 3/3 4/4\n");
    writeFile(source/"cube.mtl", "newmtl Bricks\nKd 0.8 0.2 0.1\nmap_Kd textures/bricks.png\n");
    writeFile(source/"textures/bricks.png", "\x89PNG");

    ProjectFile project;
    ASSERT_TRUE(project.create((folder/"project").string()));
    ChangeManager changes{project};
    ASSERT_TRUE(loadFile((source/"cube.obj").string(), changes));
    EXPECT_TRUE(fs::exists(folder/"project/imported/cube/cube.mtl"));
    EXPECT_TRUE(fs::exists(folder/"project/imported/cube/textures/bricks.png"));

    auto meshes = project.section<MeshRecord>();
    ASSERT_EQ(meshes.ids().size(), 1u);
    const MeshData* mesh = meshes.resolveData(meshes.ids()[0]);
    ASSERT_TRUE(mesh);
    EXPECT_EQ(mesh->elementCount(), 6u);
    EXPECT_TRUE(mesh->hasTextureCoordinates());

    const ResourceId texture = project.section<TextureRecord>().resourceByName("name", "bricks.png");
    ASSERT_TRUE(texture);
    EXPECT_EQ(project.section<ImageRecord>()[ResourceId{1}][Model::Image::File].value(), "imported/cube/textures/bricks.png");
    const RecordAccess material = project.section<MaterialRecord>()[ResourceId{1}];
    EXPECT_EQ(material[Model::Material::Name].value(), "Bricks");
    EXPECT_EQ(material["Phong"]["diffuseTexture"].as<ResourceId>(), texture);
}

// A glTF written here whose buffer and image lie in sub-folders.
TEST(ImportGltf, FilesInSubFoldersComeAlong) {
    const fs::path folder = scratchFolder();
    const fs::path source = folder/"outside";
    for(const char* sub: {"data", "textures"}) fs::create_directories(source/sub);
    // One triangle: three positions, then three 16-bit indices padded to four.
    const float positions[]{0, 0, 0, 1, 0, 0, 0, 1, 0};
    const std::uint16_t indices[]{0, 1, 2, 0};
    writeFile(source/"data/tri.bin", std::string(reinterpret_cast<const char*>(positions), sizeof(positions)) +
                                     std::string(reinterpret_cast<const char*>(indices), sizeof(indices)));
    writeFile(source/"textures/image.png", "\x89PNG");
    writeFile(source/"tri.gltf", R"({
      "asset": {"version": "2.0"}, "scene": 0, "scenes": [{"nodes": [0]}],
      "nodes": [{"name": "Triangle", "mesh": 0}],
      "meshes": [{"name": "Tri", "primitives": [{"attributes": {"POSITION": 0}, "indices": 1, "material": 0}]}],
      "materials": [{"name": "Textured", "pbrMetallicRoughness": {"baseColorTexture": {"index": 0}}}],
      "textures": [{"source": 0}], "images": [{"uri": "textures/image.png"}],
      "buffers": [{"uri": "data/tri.bin", "byteLength": 44}],
      "bufferViews": [{"buffer": 0, "byteOffset": 0, "byteLength": 36}, {"buffer": 0, "byteOffset": 36, "byteLength": 6}],
      "accessors": [
        {"bufferView": 0, "componentType": 5126, "count": 3, "type": "VEC3", "min": [0, 0, 0], "max": [1, 1, 0]},
        {"bufferView": 1, "componentType": 5123, "count": 3, "type": "SCALAR"}]
    })");
    ProjectFile project;
    ASSERT_TRUE(project.create((folder/"project").string()));
    const std::string before = project.text();
    ChangeManager changes{project};
    ASSERT_TRUE(loadFile((source/"tri.gltf").string(), changes));
    EXPECT_TRUE(fs::exists(folder/"project/imported/tri/data/tri.bin"));
    EXPECT_TRUE(fs::exists(folder/"project/imported/tri/textures/image.png"));
    EXPECT_TRUE(project.section<TextureRecord>().resourceByName("name", "image.png"));
    const MeshData* mesh = project.section<MeshRecord>().resolveData(ResourceId{1});
    ASSERT_TRUE(mesh);
    EXPECT_EQ(mesh->positions.at(1), (Vector3{1.0f, 0.0f, 0.0f}));
    EXPECT_EQ(project.section<ObjectRecord>()[ResourceId{1}][Model::Object::Name].value(), "Triangle");
    // One step: undone, the project is as it was.
    changes.undo();
    EXPECT_EQ(project.text(), before);
}

}
}
