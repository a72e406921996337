// The bundled demo project as `./dev run` opens it: every asset the Assets panel lists gets a
// picture, and each picture shows something.
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <vector>

#include "ArdentisEditor/Views/SceneView.h"
#include "Editor/App/EditorShell.h"
#include "Editor/App/InputEvent.h"
#include "Editor/View/Events.h"
#include "Editor/Project/ResourceSection.h"
#include "Editor/Ui/ResourceType.h"
#include "Gfx/GLTestFixture.h"

using namespace ArdentisEngine;

namespace {

using DemoProjectGLTest = Test::GLTestFixture;

// Texels with any coverage in a thumbnail texture.
std::size_t coveredTexels(unsigned texture) {
    GLint width = 0, height = 0;
    glGetTextureLevelParameteriv(texture, 0, GL_TEXTURE_WIDTH, &width);
    glGetTextureLevelParameteriv(texture, 0, GL_TEXTURE_HEIGHT, &height);
    std::vector<std::uint8_t> pixels(std::size_t(width)*height*4);
    glGetTextureImage(texture, 0, GL_RGBA, GL_UNSIGNED_BYTE, GLsizei(pixels.size()), pixels.data());
    std::size_t covered = 0;
    for(std::size_t i = 3; i < pixels.size(); i += 4) covered += pixels[i] > 0;
    return covered;
}

template<class Record> void expectThumbnails(EditorShell& shell, ResourceType type, const char* kind) {
    const ResourceSection<Record> section{shell.project()};
    ASSERT_FALSE(section.ids().empty()) << "the demo has no " << kind;
    for(const ResourceId id: section.resourceIds()) {
        const std::optional<unsigned> texture = shell.thumbnailOf(type, id);
        ASSERT_TRUE(texture) << kind << " " << id.value << " has no thumbnail";
        EXPECT_GT(coveredTexels(*texture), 100u) << kind << " " << id.value << " has an empty thumbnail";
    }
}

TEST_F(DemoProjectGLTest, EveryListedAssetHasAThumbnail) {
    // A copy, since opening and running a project may write caches beside it.
    const std::filesystem::path folder = std::filesystem::temp_directory_path()/"ardentis-demo-thumbnails";
    std::filesystem::remove_all(folder);
    std::filesystem::copy(std::filesystem::path{ARDENTIS_SOURCE_DIR}/"examples"/"DemoProject", folder,
                          std::filesystem::copy_options::recursive);

    auto shell = std::make_unique<EditorShell>(EditorShell::Configuration{});
    ASSERT_TRUE(shell->openProject(folder.string()));
    ASSERT_TRUE(shell->initGraphics(1.0f));
    shell->addView<SceneView>();
    ArdentisEngine::Test::RenderTarget target{{1280, 720}};
    auto frames = [&](int count) {
        for(int frame = 0; frame != count; ++frame) {
            shell->buildFrame(1.0f/60.0f, Vector2{1280.0f, 720.0f}, Vector2{1.0f});
            target.framebuffer.bind();
            shell->renderFrame({1280, 720});
        }
    };
    frames(3);

    // Holding a button anywhere while thumbnails are shown once tripped the UI library's check
    // that drag sources sit on items with an id, and aborted the editor.
    for(const float y: {200.0f, 700.0f}) {
        shell->handle({.type = InputEvent::Type::PointerMove, .position = {500.0f, y}});
        shell->handle({.type = InputEvent::Type::PointerPress, .position = {500.0f, y}, .button = PointerButton::Left});
        frames(2);
        shell->handle({.type = InputEvent::Type::PointerRelease, .position = {500.0f, y}, .button = PointerButton::Left});
        frames(1);
    }

    expectThumbnails<MeshRecord>(*shell, ResourceType::Mesh, "mesh");
    expectThumbnails<MaterialRecord>(*shell, ResourceType::Material, "material");
    expectThumbnails<FontRecord>(*shell, ResourceType::Font, "font");
    expectThumbnails<ImageRecord>(*shell, ResourceType::Image, "image");
    expectThumbnails<TextureRecord>(*shell, ResourceType::Texture, "texture");

    shell.reset();
    std::filesystem::remove_all(folder);
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}

}
