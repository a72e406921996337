// The demo project's source files: the committed copies are exactly what the generator writes, the
// glTF files are internally consistent, the skin binds the body in its rest pose, and the normal map
// and sky hold what the materials expect (the project tests decode every image by compiling it).
#include <algorithm>
#include <cstring>
#include <set>

#include <gtest/gtest.h>

#include "DemoAssets.h"
#include "DemoFiles.h"
#include "Editor/Import/SceneImporter.h"
#include "Editor/Project/Json.h"
#include "Gfx/ImagePlugins.h"

namespace ArdentisEngine::Test {
namespace {

namespace fs = std::filesystem;

TEST(DemoAssets, CommittedFilesAreWhatTheGeneratorWritesEveryTime) {
    // Two runs: state kept between runs (a static counter, an unseeded generator) shows as a
    // difference between them that a single comparison would only show on the next commit.
    const fs::path out = scratchFolder()/"generated", again = scratchFolder()/"again";
    ASSERT_TRUE(DemoAssets::writeDemoAssets(out.string()));
    ASSERT_TRUE(DemoAssets::writeDemoAssets(again.string()));
    for(const std::string& file: DemoAssets::demoAssetFiles()) {
        SCOPED_TRACE(file);
        ASSERT_TRUE(fs::exists(demoFolder()/file)) << "not committed; run make-demo-assets examples/DemoProject";
        const std::string fresh = readFile(out/file), committed = readFile(demoFolder()/file);
        EXPECT_FALSE(fresh.empty());
        EXPECT_TRUE(fresh == committed) << "differs from a fresh run (" << fresh.size() << " against " << committed.size()
            << " bytes); run make-demo-assets examples/DemoProject and commit the result";
        EXPECT_TRUE(fresh == readFile(again/file)) << "a second run differs";
    }
    // Nothing left over from an older generator either.
    std::set<std::string> committed, listed(DemoAssets::demoAssetFiles().begin(), DemoAssets::demoAssetFiles().end());
    for(const fs::directory_entry& entry: fs::recursive_directory_iterator{demoFolder()}) {
        const std::string relative = fs::relative(entry.path(), demoFolder()).generic_string();
        if(entry.is_regular_file() && relative != "project.ardentis.json" && relative != ".gitignore" && !relative.starts_with("cache/"))
            committed.insert(relative);
    }
    EXPECT_EQ(committed, listed);
}

// [SECTION] glTF structure

struct GltfFile {
    JsonDocument json;
    std::string buffer;
};

bool readGltf(const fs::path& path, GltfFile& out, std::string& error) {
    const std::string bytes = readFile(path);
    std::string text = bytes;  // a .glb is a header, the JSON chunk, then the binary chunk
    if(path.extension() == ".glb") {
        std::uint32_t jsonLength = 0, binaryLength;
        if(bytes.size() >= 20) std::memcpy(&jsonLength, bytes.data() + 12, 4);
        if(bytes.size() < 20 || 20 + jsonLength + 8 > bytes.size()) { error = "no binary chunk"; return false; }
        std::memcpy(&binaryLength, bytes.data() + 20 + jsonLength, 4);
        text = bytes.substr(20, jsonLength);
        out.buffer = bytes.substr(20 + jsonLength + 8, binaryLength);
    }
    if(!parseJson(text, out.json, error)) return false;
    if(path.extension() == ".gltf") out.buffer = readFile(path.parent_path()/out.json["buffers"][0]["uri"].GetString());
    return true;
}

std::size_t componentSize(int type) { return type == 5126 || type == 5125 ? 4 : type == 5123 ? 2 : 1; }
std::size_t componentCount(std::string_view type) {
    return type == "SCALAR" ? 1 : type == "VEC2" ? 2 : type == "VEC3" ? 3 : type == "VEC4" ? 4 : type == "MAT4" ? 16 : 0;
}

// An accessor's elements as doubles, components flattened.
std::vector<double> accessorValues(const GltfFile& gltf, unsigned index) {
    const JsonValue& accessor = gltf.json["accessors"][index];
    const JsonValue& view = gltf.json["bufferViews"][accessor["bufferView"].GetUint()];
    const int type = accessor["componentType"].GetInt();
    const std::size_t n = accessor["count"].GetUint()*componentCount(accessor["type"].GetString());
    std::vector<double> out;
    const char* data = gltf.buffer.data() + view["byteOffset"].GetUint();
    for(std::size_t i = 0; i != n; ++i) {
        if(type == 5126) { float v; std::memcpy(&v, data + 4*i, 4); out.push_back(v); }
        else if(type == 5125) { std::uint32_t v; std::memcpy(&v, data + 4*i, 4); out.push_back(v); }
        else { std::uint16_t v; std::memcpy(&v, data + 2*i, 2); out.push_back(v); }
    }
    return out;
}

TEST(DemoGltf, FilesAreConsistent) {
    for(const char* file: {"models/Character.gltf", "models/Props.glb"}) {
        SCOPED_TRACE(file);
        GltfFile gltf;
        std::string error;
        ASSERT_TRUE(readGltf(demoFolder()/file, gltf, error)) << error;
        ASSERT_EQ(gltf.json["buffers"][0]["byteLength"].GetUint(), gltf.buffer.size());
        // Each accessor fills its view exactly, and each view lies in the buffer, aligned.
        for(const JsonValue& accessor: gltf.json["accessors"].GetArray()) {
            const JsonValue& view = gltf.json["bufferViews"][accessor["bufferView"].GetUint()];
            const std::size_t size = componentSize(accessor["componentType"].GetInt())*componentCount(accessor["type"].GetString());
            ASSERT_NE(size, 0u);
            EXPECT_EQ(view["byteLength"].GetUint(), accessor["count"].GetUint()*size);
            EXPECT_EQ(view["byteOffset"].GetUint() % 4, 0u);
            EXPECT_LE(view["byteOffset"].GetUint() + view["byteLength"].GetUint(), gltf.buffer.size());
        }
        const JsonValue& accessors = gltf.json["accessors"];
        for(const JsonValue& mesh: gltf.json["meshes"].GetArray()) {
            SCOPED_TRACE(mesh["name"].GetString());
            const JsonValue& primitive = mesh["primitives"][0];
            // Position bounds are what loaders cull and place by, so they must be the true ones.
            const unsigned position = primitive["attributes"]["POSITION"].GetUint();
            const std::vector<double> positions = accessorValues(gltf, position);
            const std::size_t vertices = positions.size()/3;
            for(int c = 0; c != 3; ++c) {
                double low = positions[c], high = positions[c];
                for(std::size_t v = 0; v != vertices; ++v) { low = std::min(low, positions[3*v + c]); high = std::max(high, positions[3*v + c]); }
                EXPECT_EQ(accessors[position]["min"][c].GetFloat(), float(low));
                EXPECT_EQ(accessors[position]["max"][c].GetFloat(), float(high));
            }
            for(double index: accessorValues(gltf, primitive["indices"].GetUint())) ASSERT_LT(index, double(vertices));
        }
        if(gltf.json.HasMember("animations"))
            for(const JsonValue& animation: gltf.json["animations"].GetArray())
                for(const JsonValue& sampler: animation["samplers"].GetArray()) {
                    const std::vector<double> times = accessorValues(gltf, sampler["input"].GetUint());
                    EXPECT_TRUE(std::is_sorted(times.begin(), times.end()) && std::adjacent_find(times.begin(), times.end()) == times.end())
                        << animation["name"].GetString() << ": key times must increase";
                }
    }
}

TEST(DemoCharacter, SkinBindsTheBodyInItsRestPose) {
    // In the rest pose every joint's world transform times its inverse bind matrix is the identity,
    // so skinning must leave each vertex where it is; a wrong bind matrix or joint order moves it.
    ImportedFile imported;
    std::string error;
    ASSERT_TRUE(importSceneFile((demoFolder()/"models/Character.gltf").string(), imported, error)) << error;
    const ImportedSceneCache& cache = imported.cache;
    std::vector<Matrix4> world(cache.objectCount(), Matrix4{1.0f});
    for(const auto& entry: cache.hierarchy) {
        const auto& t = cache.transformations[entry.object];
        const Matrix4 local = glm::translate(Matrix4{1.0f}, t.translation)*glm::mat4_cast(t.rotation)*glm::scale(Matrix4{1.0f}, t.scaling);
        world[entry.object] = entry.parent == ImportedSceneCache::NoParent ? local : world[entry.parent]*local;
    }
    ASSERT_TRUE(cache.meshes.size() == 1u && cache.meshes[0].skin == 0 && cache.meshes[0].data.hasJointIds());
    const auto& skin = cache.skins[0];
    const MeshData& data = cache.meshes[0].data;
    std::set<unsigned> used;
    for(std::size_t v = 0; v != data.vertexCount(); ++v) {
        Vector4 skinned{0.0f};
        for(int k = 0; k != 4; ++k) {
            if(data.weights[v][k] == 0.0f) continue;
            const unsigned joint = data.jointIds[v][k];
            ASSERT_LT(joint, skin.joints.size()) << "vertex " << v;
            used.insert(joint);
            skinned += data.weights[v][k]*(world[skin.joints[joint]]*skin.inverseBindMatrices[joint]*Vector4{data.positions[v], 1.0f});
        }
        // Weights that don't add up to one show here too.
        ASSERT_NEAR(glm::distance(Vector3{skinned}, data.positions[v]), 0.0f, 1e-4f) << "vertex " << v;
    }
    // Every joint carries some of the body, else the animations would move nothing visible.
    EXPECT_EQ(used.size(), skin.joints.size());
}

// [SECTION] Images

TEST(DemoTextures, NormalMapHoldsUnitNormalsFacingOut) {
    auto importer = ImagePluginManager{}.loadImporter("AnyImageImporter");
    ASSERT_TRUE(importer->openFile((demoFolder()/"textures/BricksNormal.png").string()));
    const Image image = *importer->image2D();
    std::size_t tilted = 0;
    for(int y = 0; y != image.size().y; ++y)
        for(int x = 0; x != image.size().x; ++x) {
            const glm::u8vec3 p = image.pixel<glm::u8vec3>(x, y);
            const Vector3 n = Vector3{p}/127.5f - 1.0f;
            ASSERT_NEAR(glm::length(n), 1.0f, 0.02f) << x << ", " << y;
            ASSERT_GT(n.z, 0.0f) << x << ", " << y;
            tilted += n.z < 0.99f;
        }
    // The brick edges bend the normals; flat everywhere would be a blank map.
    EXPECT_GT(tilted, std::size_t(image.size().x*image.size().y/20));
}

TEST(DemoSky, HasABlueZenithADarkGroundAndASun) {
    auto importer = ImagePluginManager{}.loadImporter("AnyImageImporter");
    ASSERT_TRUE(importer->openFile((demoFolder()/"sky/Sky.hdr").string()));
    const Image image = *importer->image2D();
    // Rows are bottom-up: the last row is the zenith.
    const Vector3 zenith = image.pixel<Vector3>(image.size().x/2, image.size().y - 1), ground = image.pixel<Vector3>(image.size().x/2, 0);
    EXPECT_GT(zenith.b, zenith.r);
    EXPECT_LT(ground.r + ground.g + ground.b, zenith.r + zenith.g + zenith.b);
    Vector2i sun{};
    for(int y = 0; y != image.size().y; ++y) for(int x = 0; x != image.size().x; ++x)
        if(image.pixel<Vector3>(x, y).r > image.pixel<Vector3>(sun.x, sun.y).r) sun = {x, y};
    EXPECT_GT(image.pixel<Vector3>(sun.x, sun.y).r, 20.0f);
    EXPECT_GT(sun.y, image.size().y/2) << "the sun is below the horizon";
}
}
}
