#include "Gfx/GLTestFixture.h"

#include <filesystem>
#include <fstream>

#include "Editor/App/EditorShell.h"
#include "Editor/App/ThumbnailManager.h"
#include "Editor/Compiler/AssetCompiler.h"
#include "Editor/Project/ProjectFile.h"
#include "Gfx/ImageConversion.h"
#include "Gfx/Log.h"

using namespace ArdentisEngine;
using Test::GLTestFixture;
using Test::Rgba8;

namespace {

Image readTexture(GLuint id, Vector2i size) {
    GL::Texture2D texture = GL::Texture2D::wrap(id, GL::ObjectOwnership::Borrowed);
    GL::Framebuffer framebuffer{Range2Di{{0, 0}, size}};
    framebuffer.attachTexture(GL::Framebuffer::Attachment::color(0), texture).mapForRead(0);
    return framebuffer.read(Range2Di{{0, 0}, size}, PixelFormat::RGBA8);
}

using ThumbnailManagerGLTest = GLTestFixture;

TEST_F(ThumbnailManagerGLTest, ImagesOfEveryKindBecomeRGBA8EmptyOnesAreRefused) {
    // Every pixel holds `value`; tolerance 1 for the rounding of 8-bit normalisation.
    const struct { const char* name; PixelFormat format; Vector4 value; Rgba8 expected; } cases[]{
        {"RGBA8", PixelFormat::RGBA8, {1.0f, 0.5f, 0.0f, 1.0f}, {255, 128, 0, 255}},
        {"RGB8 gets opaque alpha", PixelFormat::RGB8, {0.0f, 0.0f, 1.0f, 1.0f}, {0, 0, 255, 255}},
        {"float is clamped", PixelFormat::RGB32F, {4.0f, -1.0f, 0.25f, 1.0f}, {255, 0, 64, 255}},
    };
    ThumbnailManager thumbnails;
    for(const auto& c: cases) {
        Image image{c.format, {3, 2}};
        for(int y = 0; y != 2; ++y)
            for(int x = 0; x != 3; ++x) writePixel(image, x, y, c.value);
        ASSERT_TRUE(thumbnails.setThumbnail(c.name, image.view())) << c.name;
        const std::optional<GLuint> id = thumbnails.texture(c.name);
        ASSERT_TRUE(id) << c.name;
        EXPECT_EQ(thumbnails.size(c.name), Vector2i(3, 2));
        const Image back = readTexture(*id, {3, 2});
        EXPECT_TRUE(ArdentisEngine::Test::pixelNear(back, {2, 1}, c.expected, 1)) << c.name;
    }
    // Empty input is refused and stores nothing.
    Log::Capture errors{Log::Channel::Error};
    EXPECT_FALSE(thumbnails.setThumbnail("ma1", ImageView{}));
    GL::Framebuffer empty{Range2Di{}};
    EXPECT_FALSE(thumbnails.setThumbnail("ma1", empty));
    EXPECT_TRUE(errors.contains("Thumbnail ma1: the image is empty")) << errors.text();
    EXPECT_TRUE(errors.contains("viewport is empty")) << errors.text();
    EXPECT_EQ(thumbnails.count(), 3u);
}

using EditorShellGLTest = GLTestFixture;

TEST_F(EditorShellGLTest, AssetPanelShowsThumbnailsOfCompiledResources) {
    const char* root = std::getenv("ARDENTIS_TEST_TMP");
    const std::filesystem::path folder = std::filesystem::path{root ? root : "/tmp"}/"shell-gl-test";
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    std::ofstream{folder/ProjectFile::FileName} << R"({"format": "ardentis-project", "version": 1,
        "meshes": {"4": {"name": "Cube", "primitive": "cube"}}})";

    EditorShell shell{EditorShell::Configuration{}};
    ASSERT_TRUE(shell.openProject(folder.string()));
    ASSERT_TRUE(shell.initGraphics(1.0f));
    const std::uint16_t slot = shell.assetCompiler().meshInstance(ResourceId{4});
    ASSERT_NE(slot, 0);

    // What a view's mesh thumbnail pass would hand over: a red picture.
    Image red{PixelFormat::RGBA8, {ThumbnailManager::Size, ThumbnailManager::Size}};
    for(int y = 0; y != red.size().y; ++y)
        for(int x = 0; x != red.size().x; ++x) red.setPixel(x, y, Rgba8{255, 0, 0, 255});
    ASSERT_TRUE(shell.editor().thumbnails().setThumbnail("m" + std::to_string(slot), red.view()));

    ArdentisEngine::Test::RenderTarget target{{1280, 720}};
    for(int frame = 0; frame != 3; ++frame) {
        shell.buildFrame(1.0f/60.0f, {1280.0f, 720.0f}, Vector2{1.0f});
        target.framebuffer.bind();
        shell.renderFrame({1280, 720});
    }
    const Image image = target.read();
    // The meshes tab is the first; its one tile sits in the asset panel at the bottom middle.
    const int redPixels = ArdentisEngine::Test::countPixels(image, Rgba8{255, 0, 0, 255}, 2, Range2Di{{256, 0}, {1024, 200}});
    // A 72-pixel tile, less nothing: the thumbnail fills it.
    EXPECT_GT(redPixels, 60*60);
    EXPECT_LT(redPixels, 80*80);
}

}
