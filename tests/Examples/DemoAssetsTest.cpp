// The demo project's source files: the committed copies are exactly what the generator writes, the
// glTF files are internally consistent, the skin binds the body in its rest pose, and the images
// decode to what the materials expect.
#include <algorithm>
#include <cstdlib>
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

fs::path scratch(const char* name) {
    const char* base = std::getenv("ARDENTIS_TEST_TMP");
    const fs::path folder = fs::path{base ? base : "/tmp/ardentis-test"}/"Examples"/name;
    fs::remove_all(folder);
    fs::create_directories(folder);
    return folder;
}

TEST(DemoAssets, CommittedFilesAreWhatTheGeneratorWritesEveryTime) {
    // Two runs: state kept between runs (a static counter, an unseeded generator) shows as a
    // difference between them that a single comparison would only show on the next commit.
    const fs::path out = scratch("generated"), again = scratch("again");
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
    std::string text = bytes;
    if(path.extension() == ".glb") {
        // Header, JSON chunk header, JSON, binary chunk header, binary.
        std::uint32_t jsonLength, binaryLength;
        if(bytes.size() < 20) { error = "too short"; return false; }
        std::memcpy(&jsonLength, bytes.data() + 12, 4);
        if(20 + jsonLength + 8 > bytes.size()) { error = "no binary chunk"; return false; }
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

class DemoGltf: public testing::TestWithParam<const char*> {};

TEST_P(DemoGltf, IsConsistent) {
    GltfFile gltf;
    std::string error;
    ASSERT_TRUE(readGltf(demoFolder()/GetParam(), gltf, error)) << error;
    const JsonValue& views = gltf.json["bufferViews"];
    ASSERT_EQ(gltf.json["buffers"][0]["byteLength"].GetUint(), gltf.buffer.size());
    // Each accessor fills its view exactly, and each view lies in the buffer, aligned.
    for(const JsonValue& accessor: gltf.json["accessors"].GetArray()) {
        const JsonValue& view = views[accessor["bufferView"].GetUint()];
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
        const JsonValue& attributes = primitive["attributes"];
        // Position bounds are what loaders cull and place by, so they must be the true ones.
        const unsigned position = attributes["POSITION"].GetUint();
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

INSTANTIATE_TEST_SUITE_P(, DemoGltf, testing::Values("models/Character.gltf", "models/Props.glb"),
    [](const testing::TestParamInfo<const char*>& info) { return fs::path{info.param}.stem().string(); });

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
    ASSERT_EQ(cache.meshes.size(), 1u);
    const auto& mesh = cache.meshes[0];
    ASSERT_EQ(mesh.skin, 0);
    const auto& skin = cache.skins[0];
    const MeshData& data = mesh.data;
    ASSERT_TRUE(data.hasJointIds());
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

struct ImageCase {
    const char* file;
    Vector2i size;
    PixelFormat format;
};

void PrintTo(const ImageCase& data, std::ostream* out) { *out << data.file; }

class DemoImage: public testing::TestWithParam<ImageCase> {};

TEST_P(DemoImage, Decodes) {
    auto importer = ImagePluginManager{}.loadImporter("AnyImageImporter");
    ASSERT_TRUE(importer);
    ASSERT_TRUE(importer->openFile((demoFolder()/GetParam().file).string()));
    const std::optional<Image> image = importer->image2D();
    ASSERT_TRUE(image);
    EXPECT_EQ(image->size(), GetParam().size);
    EXPECT_EQ(image->format(), GetParam().format);
    // A texture of one colour would mean the pattern was lost.
    std::set<std::string> colours;
    for(int y = 0; y < image->size().y; y += 7)
        for(int x = 0; x < image->size().x; x += 7) {
            const auto row = image->row(y);
            colours.emplace(reinterpret_cast<const char*>(row.data()) + x*image->pixelSize(), image->pixelSize());
        }
    EXPECT_GT(colours.size(), 1u);
}

INSTANTIATE_TEST_SUITE_P(, DemoImage, testing::Values(
    ImageCase{"textures/Checker.png", {256, 256}, PixelFormat::RGB8},
    ImageCase{"textures/Bricks.png", {256, 256}, PixelFormat::RGB8},
    ImageCase{"textures/BricksNormal.png", {256, 256}, PixelFormat::RGB8},
    ImageCase{"textures/Stone.png", {128, 128}, PixelFormat::RGB8},
    ImageCase{"sky/Sky.hdr", {256, 128}, PixelFormat::RGB32F}),
    [](const testing::TestParamInfo<ImageCase>& info) { return fs::path{info.param.file}.stem().string(); });

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
    const int w = image.size().x, h = image.size().y;
    // Rows are bottom-up: the last row is the zenith.
    const Vector3 zenith = image.pixel<Vector3>(w/2, h - 1), ground = image.pixel<Vector3>(w/2, 0);
    EXPECT_GT(zenith.b, zenith.r);
    EXPECT_LT(ground.r + ground.g + ground.b, zenith.r + zenith.g + zenith.b);
    float brightest = 0.0f;
    int sunRow = -1;
    for(int y = 0; y != h; ++y)
        for(int x = 0; x != w; ++x) {
            const Vector3 c = image.pixel<Vector3>(x, y);
            if(c.r > brightest) { brightest = c.r; sunRow = y; }
        }
    EXPECT_GT(brightest, 20.0f);
    EXPECT_GT(sunRow, h/2) << "the sun is below the horizon";
}

}
}
