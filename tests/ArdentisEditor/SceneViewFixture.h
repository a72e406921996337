#pragma once
// The scene view as the editor runs it: a headless shell with GL and Dear ImGui over a small project
// written by the test, the view added to it, and helpers to run frames and feed input. One GL
// context per suite (GLTestFixture); a fresh project, shell and view per case. Suites derive and
// keep "GLTest" in their name:
//
//   using SceneViewFooGLTest = Test::SceneViewFixture;
//   TEST_F(SceneViewFooGLTest, Bar) { frame(); view().canvas() ...; }
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#define GLFW_INCLUDE_NONE
#include <GLFW/glfw3.h>

#include "ArdentisEditor/Canvas.h"
#include "ArdentisEditor/Views/SceneView.h"
#include "Editor/App/EditorShell.h"
#include "Editor/App/InputEvent.h"
#include "Editor/App/ThumbnailManager.h"
#include "Editor/Compiler/AssetCompiler.h"
#include "Editor/Data/EditorData.h"
#include "Editor/Data/ObjectCommands.h"
#include "Editor/Project/Json.h"
#include "Editor/Project/ProjectFile.h"
#include "Editor/Undo/ChangeManager.h"
#include "Gfx/GLTestFixture.h"
#include "Gfx/Log.h"

namespace ArdentisEngine::Test {

// Crate (cube, red) with its child Lid (an OBJ triangle), a sun, and a text in the system DejaVu
// font; physics enabled so that its shortcut works.
inline constexpr std::string_view SceneViewProject = R"({
  "format": "ardentis-project", "version": 1,
  "settings": {"physics": {"enabled": true}},
  "pipelines": {"1": {"name": "Phong Opaque"}},
  "materials": {"1": {"name": "Red", "pipeline": 1, "Phong": {"diffuseColor": [1, 0, 0, 1]}}},
  "meshes": {
    "1": {"name": "Cube", "primitive": "cube"},
    "2": {"name": "Triangle", "source": {"file": "models/triangle.obj", "resource": "meshes/0"}}
  },
  "fonts": {"1": {"name": "DejaVu Sans", "file": {"file": "DejaVuSans.ttf", "resource": "system"}}},
  "objects": {
    "1": {"name": "Crate", "translation": [0, 0.5, 0], "components": [{"type": 4, "mesh": 1, "material": 1}]},
    "2": {"name": "Lid", "parent": 1, "translation": [0, 1, 0], "scaling": [0.5, 0.5, 0.5],
          "components": [{"type": 4, "mesh": 2, "material": 1}]},
    "3": {"name": "Sun", "rotation": [-0.38, 0, 0, 0.92], "components": [{"type": 1, "lightType": 0, "intensity": 2}]},
    "4": {"name": "Label", "translation": [-2, 0, 0], "components": [{"type": 3, "text": "Ardentis", "font": 1, "size": 0.5}]}
  }
})";

class SceneViewFixture: public GLTestFixture {
public:
    static constexpr Vector2i WindowSize{1280, 720};

protected:
    void SetUp() override {
        GLTestFixture::SetUp();
        if(HasFatalFailure()) return;
        const char* base = std::getenv("ARDENTIS_TEST_TMP");
        const ::testing::TestInfo* info = ::testing::UnitTest::GetInstance()->current_test_info();
        folder = std::filesystem::path{base ? base : "/tmp/ardentis-test"}/"SceneView"/
                 (std::string{info->test_suite_name()} + "." + info->name());
        std::filesystem::remove_all(folder);
        std::filesystem::create_directories(folder/"models");
        std::ofstream{folder/"models"/"triangle.obj"} << "v 0 0 0\nv 1 0 0\nv 0 1 0\nvn 0 0 1\nf 1//1 2//1 3//1\n";
        std::ofstream{folder/ProjectFile::FileName} << SceneViewProject;

        target = std::make_unique<RenderTarget>(WindowSize);
        shell = std::make_unique<EditorShell>(EditorShell::Configuration{});
        ASSERT_TRUE(shell->openProject(folder.string()));
        ASSERT_TRUE(shell->initGraphics(1.0f));
        _view = &shell->addView<SceneView>();
        frame();
    }

    void TearDown() override {
        // The shell releases GL objects, so it goes while the context is current.
        shell.reset();
        target.reset();
        GLTestFixture::TearDown();
    }

    // One editor frame: every view's update and renderScene, the UI with the view's draw, and the
    // UI drawn into an off-screen target.
    void frame(float dt = 1.0f/60.0f) {
        shell->buildFrame(dt, Vector2{WindowSize}, contentScale);
        target->framebuffer.bind();
        shell->renderFrame(WindowSize);
    }
    void frames(int count) { for(int i = 0; i != count; ++i) frame(); }

    SceneView& view() { return *_view; }
    EditorData& data() { return shell->editorData(); }
    ArdentisEditor& app() { return shell->editor(); }
    ThumbnailManager& thumbnails() { return shell->editor().thumbnails(); }
    ChangeManager& changes() { return shell->changeManager(); }
    Ui& ui() { return shell->editor().ui(); }
    ProjectFile& project() { return shell->project(); }
    RecordAccess object(std::uint32_t id) { return project().section<ObjectRecord>()[ResourceId{id}]; }
    // Scene object compiled from an object record.
    Data::Id instance(std::uint32_t id) { return shell->assetCompiler().objectInstance(ResourceId{id}); }

    // One undo step setting a field of a record, as a panel would.
    template<class T, class V> void edit(const RecordAccess& record, const Model::Field<T>& field, const V& value) {
        changes().pushChange(record[field], value);
        changes().commit();
    }
    template<class T, class V> void setSetting(const Model::Field<T>& field, const V& value) {
        edit(project().settings(), field, value);
    }
    // A value of the project (or a record by its path) replaced by a JSON text, left uncommitted.
    void pushJson(const ValueAccess<void>& at, std::string_view json) {
        JsonDocument document;
        std::string error;
        ASSERT_TRUE(parseJson(json, document, error)) << error;
        changes().pushChange(at, document);
    }
    void pushJson(const std::string& path, std::string_view json) { pushJson(RecordAccess{project(), path}, json); }
    // A rigid body component on the crate, left uncommitted.
    void addBody(std::string_view json) { pushJson(object(1).access("components").access(std::size_t{1}), json); }
    Image canvasImage() {
        Canvas& canvas = view().canvas();
        return canvas.framebuffer().read(Range2Di{{0, 0}, canvas.framebufferSize()}, PixelFormat::RGBA8);
    }
    // Saves the project and opens it in a fresh shell with a new scene view, as a restart would.
    void reopen() {
        ASSERT_TRUE(shell->saveProject());
        shell = std::make_unique<EditorShell>(EditorShell::Configuration{});
        ASSERT_TRUE(shell->openProject(folder.string()));
        ASSERT_TRUE(shell->initGraphics(1.0f));
        _view = &shell->addView<SceneView>();
    }
    // Selects the objects of these records alone, then runs the frames that show it.
    void select(std::initializer_list<std::uint32_t> ids) {
        std::vector<ResourceId> records;
        for(std::uint32_t id: ids) records.push_back(ResourceId{id});
        selectObjects(data(), std::span<const ResourceId>{records}, false, false);
        frames(2);
    }

    // Input, delivered as the platform would between frames.
    void send(InputEvent event) { shell->handle(event); }
    void move(Vector2 to, int modifiers = 0) { send({.type = InputEvent::Type::PointerMove, .position = to, .modifiers = modifiers}); }
    void press(int button, Vector2 at, int modifiers = 0) {
        send({.type = InputEvent::Type::PointerPress, .position = at, .button = button, .modifiers = modifiers});
    }
    void release(int button, Vector2 at, int modifiers = 0) {
        send({.type = InputEvent::Type::PointerRelease, .position = at, .button = button, .modifiers = modifiers});
    }
    void scroll(float amount) { send({.type = InputEvent::Type::Scroll, .offset = {0.0f, amount}}); }
    void keyDown(int glfwKey, int modifiers = 0) { send({.type = InputEvent::Type::KeyPress, .key = glfwKey, .modifiers = modifiers}); }
    void keyUp(int glfwKey, int modifiers = 0) { send({.type = InputEvent::Type::KeyRelease, .key = glfwKey, .modifiers = modifiers}); }
    // Presses a chord (modifier keys first) and lets go, then runs the frame that sees it.
    void chord(KeyChord chord);
    // Centre of the view's image, where pointer input reaches the scene.
    Vector2 viewCenter() const { return _view->windowPosition() + _view->windowSize()*0.5f; }
    // Clicks into the view so that it has keyboard focus, then runs a few frames.
    void focusView();

    std::filesystem::path folder;
    // Framebuffer pixels per window unit that the next frames report.
    Vector2 contentScale{1.0f};
    std::unique_ptr<RenderTarget> target;
    std::unique_ptr<EditorShell> shell;

private:
    SceneView* _view{};
};

inline void SceneViewFixture::chord(KeyChord value) {
    struct Modifier { int chordBit, glfwKey, eventBit; };
    static constexpr Modifier Modifiers[]{
        {KeyMod::Ctrl, GLFW_KEY_LEFT_CONTROL, EventMod::Ctrl},
        {KeyMod::Shift, GLFW_KEY_LEFT_SHIFT, EventMod::Shift},
        {KeyMod::Alt, GLFW_KEY_LEFT_ALT, EventMod::Alt},
    };
    int held = 0;
    for(const Modifier& m: Modifiers)
        if(value & m.chordBit) {
            keyDown(m.glfwKey, held);
            held |= m.eventBit;
        }
    const int key = glfwFromKey(chordKey(value));
    ASSERT_GE(key, 0) << "no platform key for chord " << chordName(value);
    keyDown(key, held);
    keyUp(key, held);
    for(const Modifier& m: Modifiers)
        if(value & m.chordBit) keyUp(m.glfwKey, held);
    frame();
}

inline void SceneViewFixture::focusView() {
    // A right click focuses the window without selecting anything (it flies for one frame).
    const Vector2 at = viewCenter();
    move(at);
    press(PointerButton::Right, at);
    frame();
    release(PointerButton::Right, at);
    frames(2);
}

}
