// Environment bakes: the cache files they write, how a reload reads them back, and what reaches the
// renderer.
#include <filesystem>
#include <fstream>
#include <vector>

#include "ArdentisEditor/Canvas.h"
#include "Gfx/ImageConversion.h"
#include "Gfx/ImagePlugins.h"
#include "Renderer/SphericalHarmonics.h"
#include "Renderer/WebGL2Renderer.h"
#include "SceneViewFixture.h"

namespace ArdentisEngine::Test {
// The view's private bake steps.
struct SceneViewEnvironmentAccess {
    static bool reload(SceneView& view) { return view.reloadEnvironment(); }
};
}

using namespace ArdentisEngine;
namespace AT = ArdentisEngine::Test;
namespace fs = std::filesystem;

namespace {

class SceneViewEnvironmentGLTest: public AT::SceneViewFixture {
protected:
    fs::path cache() { return project().cachePath(); }
    WebGL2Renderer& renderer() { return view().canvas().renderer(); }
    Vector3 coefficient(int i) { return Vector3{renderer().frameUniforms().data().shCoefficients[i]}; }
    void write(const fs::path& path, std::string_view bytes) {
        fs::create_directories(path.parent_path());
        std::ofstream{path, std::ios::binary} << bytes;
    }
    // Size of the first specular level in the cache, zero when there is none.
    Vector2i mipSize() {
        const std::unique_ptr<AbstractImageImporter> importer = ImagePluginManager{}.loadImporter("HdrImporter");
        const Log::Silence quiet;
        if(!importer->openFile((cache()/"environment-mip-0.hdr").string())) return {};
        return importer->image2D()->size();
    }
};

// A file's bytes: Radiance HDR, or PNG with png set.
std::string encoded(Vector2i size, bool png = false) {
    Image image{PixelFormat::RGB32F, size};
    for(int y = 0; y != size.y; ++y)
        for(int x = 0; x != size.x; ++x) image.setPixel(x, y, Vector3{0.2f, 0.5f, float(y)/float(size.y)});
    if(png) image = *convertPixelFormat(image, PixelFormat::RGB8);
    const auto bytes = *ImagePluginManager{}.loadConverter(png ? "PngImageConverter" : "HdrImageConverter")->convertToData(image);
    return std::string{reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// environment.bin holds RGB float triples; whole bands of them load, up to nine and no more than the
// render setting asks for.
TEST_F(SceneViewEnvironmentGLTest, ReloadReadsTheDiffuseCache) {
    const char* const Specular = "[baker] Failed to load specular environment";
    const char* const Corrupt = "[baker] Failed to load diffuse environment from disk, reason: Corrupted data";
    struct Case { const char* name; UnsignedInt before; int bytes; UnsignedInt count; const char* message; };
    const Case cases[]{
        {"one coefficient", 9, 12, 1, Specular}, {"more than nine", 9, 120, 9, Specular},
        {"between bands", 9, 24, 1, Specular}, {"setting asks for fewer", 4, 108, 4, Specular},
        {"not whole triples", 9, 100, 9, Corrupt}, {"empty", 9, 0, 9, Corrupt},
        {"missing", 9, -1, 9, "[baker] Failed to load diffuse environment from disk"},
    };
    for(const Case& c: cases) {
        SCOPED_TRACE(c.name);
        ASSERT_TRUE(renderer().setShCount(c.before));
        fs::remove_all(cache());
        std::string bytes;
        for(int i = 0; i < c.bytes/4; ++i) {
            const auto bits = std::bit_cast<std::uint32_t>(float(i)*0.25f);
            for(int b = 0; b != 4; ++b) bytes.push_back(char(bits >> (8*b)));
        }
        bytes.resize(std::max(c.bytes, 0));
        if(c.bytes >= 0) write(cache()/"environment.bin", bytes);
        const Log::Capture errors{Log::Channel::Error};
        EXPECT_FALSE(AT::SceneViewEnvironmentAccess::reload(view()));
        EXPECT_TRUE(errors.contains(c.message)) << errors.text();
        EXPECT_EQ(renderer().shCount(), c.count);
        // Little-endian triples, coefficient by coefficient.
        const float last = 0.75f*float(c.count - 1);
        if(c.message == Specular) { EXPECT_EQ(coefficient(int(c.count) - 1), (Vector3{last, last + 0.25f, last + 0.5f})); }
    }
}

// Image sources: compiled records or project files, Radiance files recognised by their content,
// images taller than the target size made smaller first.
TEST_F(SceneViewEnvironmentGLTest, BakesFromImages) {
    struct Case { const char* name; const char* file; std::string bytes; std::uint32_t size; const char* error; Vector2i mip; };
    const Case cases[]{
        {"HDR named as PNG", "env/sky.png", encoded({32, 16}), 512, nullptr, {32, 16}},
        {"broken HDR named as PNG", "env/broken.png", "#?RGBE\nnot an image", 512, "HdrImporter", {}},
        {"PNG named as HDR", "env/sky.hdr", encoded({32, 16}, true), 512, nullptr, {32, 16}},
        {"taller than the target", "env/big.hdr", encoded({128, 64}), 32, nullptr, {32, 16}},
        {"as tall as the target", "env/even.hdr", encoded({64, 32}), 32, nullptr, {64, 32}},
        {"missing", "env/none.hdr", {}, 512, "Image env/none.hdr isn't valid, skipping environment bake", {}},
    };
    setSetting(Model::Settings::EnvironmentSource, std::string{"image"});
    for(const Case& c: cases) {
        SCOPED_TRACE(c.name);
        fs::remove_all(cache());
        if(!c.bytes.empty()) write(folder/c.file, c.bytes);
        setSetting(Model::Settings::EnvironmentImage, std::string{c.file});
        setSetting(Model::Settings::EnvironmentSize, c.size);
        frame();
        const Log::Capture errors{Log::Channel::Error};
        view().requestEnvironmentBake(0.0);
        frame();
        EXPECT_EQ(mipSize(), c.mip);
        EXPECT_EQ(fs::exists(cache()/"environment.bin"), c.mip != Vector2i{});
        if(c.error) { EXPECT_TRUE(errors.contains(c.error)) << errors.text(); }
        if(c.mip == Vector2i{} && !c.bytes.empty()) {
            EXPECT_TRUE(errors.contains(fmt::format("Failed to parse image {} from file {}. Skipping environment bake", c.file,
                                                    (folder/c.file).string()))) << errors.text();
        }
    }
}

// Off: neither a bake nor a reload touches the cache or the renderer.
TEST_F(SceneViewEnvironmentGLTest, NothingHappensWithLightingOff) {
    setSetting(Model::Settings::EnvironmentLighting, 0u);
    setSetting(Model::Settings::EnvironmentSource, std::string{"image"});
    write(folder/"env/sky.hdr", encoded({32, 16}));
    setSetting(Model::Settings::EnvironmentImage, std::string{"env/sky.hdr"});
    frame();
    fs::remove_all(cache());
    const Log::Capture info{Log::Channel::Info}, errors{Log::Channel::Error};
    view().requestEnvironmentBake(0.0);
    frames(2);
    EXPECT_TRUE(AT::SceneViewEnvironmentAccess::reload(view()));
    EXPECT_FALSE(fs::exists(cache()));
    EXPECT_EQ(renderer().shCount(), 0u);
    EXPECT_EQ(info.text() + errors.text(), "");
}

// Skies captured through the renderer give the coefficients of the same sky projected directly (the
// gradient checks up and down, the texture's quarters the turn around the vertical); the levels
// reach the renderer, and a reopened project loads them without a bake.
TEST_F(SceneViewEnvironmentGLTest, SkyBakeWritesTheCacheAndLoadsIt) {
    const Vector3 zenith{0.1f, 0.3f, 1.0f}, horizon{1.0f, 1.0f, 1.0f}, ground{0.6f, 0.2f, 0.0f};
    const glm::u8vec3 quarters[]{{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {0, 0, 0}};
    Image texture{PixelFormat::RGB8, {64, 32}};
    for(int y = 0; y != 32; ++y)
        for(int x = 0; x != 64; ++x) texture.setPixel(x, y, quarters[x/16]);
    ASSERT_TRUE(ImagePluginManager{}.loadConverter("PngImageConverter")->convertToFile(texture, (folder/"quarters.png").string()));
    Image gradient{PixelFormat::RGB32F, {128, 64}};
    for(int y = 0; y != 64; ++y)
        for(int x = 0; x != 128; ++x) {
            const float h = equirectToDirection({(float(x) + 0.5f)/128.0f, (float(y) + 0.5f)/64.0f}).y;
            gradient.setPixel(x, y, h >= 0.0f ? glm::mix(horizon, zenith, std::sqrt(h)) : glm::mix(horizon, ground, std::sqrt(-h)));
        }
    setSetting(Model::Settings::EnvironmentAutoBake, false);
    pushJson("/pipelines/2", R"({"name": "Sky"})");
    pushJson("/images/1", R"({"file": "quarters.png"})");
    pushJson("/textures/1", R"({"image": 1, "filter": false})");

    struct Case { const char* name; const char* material; const Image& expected; };
    const Case cases[]{
        {"gradient", R"({"name": "Sky", "pipeline": 2, "Sky": {"zenithColor": [0.1, 0.3, 1, 1],
            "horizonColor": [1, 1, 1, 1], "groundColor": [0.6, 0.2, 0, 1]}})", gradient},
        {"texture", R"({"name": "Sky", "pipeline": 2, "Sky": {"skyTexture": 1}})", texture},
    };
    for(const Case& c: cases) {
        SCOPED_TRACE(c.name);
        pushJson("/materials/2", c.material);
        changes().commit();
        setSetting(Model::Settings::SkyMaterial, ResourceId{2});
        frame();
        fs::remove_all(cache());
        const Log::Capture info{Log::Channel::Info};
        view().requestEnvironmentBake(0.0);
        frame();
        EXPECT_TRUE(info.contains("[baker] Reloading done!")) << info.text();
        EXPECT_EQ(fs::file_size(cache()/"environment.bin"), 108u);
        // Compiled from the five environment-mip-{i}.hdr files.
        EXPECT_EQ(renderer().frameUniforms().data().environmentLevels, 5u);
        ASSERT_EQ(renderer().shCount(), 9u);
        const SphericalHarmonics<2, Vector3> sh = sphericalHarmonicsFromPixels(c.expected);
        for(int i = 0; i != 9; ++i)
            for(int k = 0; k != 3; ++k) EXPECT_NEAR(coefficient(i)[k], sh.coefficients[i][k], 0.03f) << i << " " << k;
    }

    ASSERT_NO_FATAL_FAILURE(reopen());
    frame();
    EXPECT_EQ(renderer().frameUniforms().data().environmentLevels, 5u);
    EXPECT_EQ(view().environmentBakeDeadline(), std::numeric_limits<double>::infinity());
}

}
