#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <imgui.h>
#include <imgui_internal.h>

#include "Editor/App/EditorShell.h"
#include "Editor/App/InputScript.h"
#include "Editor/Compiler/AssetCompiler.h"
#include "Editor/Data/EditorData.h"
#include "Editor/Data/ObjectCommands.h"
#include "Editor/Input/Key.h"
#include <GLFW/glfw3.h>
#include "Editor/Project/ProjectFile.h"
#include "Editor/Project/ResourceSection.h"
#include "Editor/Undo/ChangeManager.h"
#include "Gfx/Log.h"

using namespace ArdentisEngine;

namespace {

constexpr const char* ProjectText = R"({
  "format": "ardentis-project",
  "version": 1,
  "objects": {
    "1": {"name": "Crate", "translation": [1, 2, 3]},
    "2": {"name": "Lid", "parent": 1},
    "3": {"name": "Lamp", "components": [{"type": 1, "lightType": 1, "intensity": 2}]}
  }
})";

std::filesystem::path makeProject(const char* name) {
    const char* root = std::getenv("ARDENTIS_TEST_TMP");
    const std::filesystem::path folder = std::filesystem::path{root ? root : "/tmp"}/"shell-test"/name;
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    std::ofstream{folder/ProjectFile::FileName} << ProjectText;
    return folder;
}

constexpr Vector2 Window{1280.0f, 720.0f};

// Runs the shell without GL: the UI is built every frame, never drawn.
class ShellDriver {
public:
    explicit ShellDriver(const std::filesystem::path& project): shell{EditorShell::Configuration{}} {
        EXPECT_TRUE(shell.openProject(project.string()));
        shell.initWithoutGraphics();
        frame();
    }

    void frame() { shell.buildFrame(1.0f/60.0f, Window, Vector2{1.0f}); }

    // Replays a script from the next frame on and runs `frames` frames.
    void play(const std::string& script, int frames) {
        const auto events = parseInputScript(script, "test script");
        ASSERT_TRUE(events);
        std::size_t next = 0;
        for(int f = 0; f != frames; ++f) {
            for(; next != events->size() && (*events)[next].frame <= f; ++next) shell.handle((*events)[next].event);
            frame();
        }
        ASSERT_EQ(next, events->size()) << "script longer than the frames played";
    }

    Vector3 translation(std::uint32_t id) {
        return shell.project().section<ObjectRecord>()[ResourceId{id}][Model::Object::Translation].value();
    }

    EditorShell shell;
};

// Where the default layout puts things, from the style's metrics.
struct Layout {
    float frame = ImGui::GetFrameHeight(), line = ImGui::GetFontSize(), padding = ImGui::GetStyle().WindowPadding.y;
    // Centre of the n-th row of the outliner (all rows are open).
    Vector2 outlinerRow(int n) const {
        return {40.0f, 2.0f*frame + padding + line*0.5f + float(n)*(line + ImGui::GetStyle().ItemSpacing.y)};
    }
    // Centre of the first component of the translation field in the properties panel.
    Vector2 translationX() const {
        const float side = std::max(220.0f, Window.x*0.2f);
        const float spacing = ImGui::GetStyle().ItemSpacing.y;
        return {Window.x - side + 8.0f + 12.0f, 2.0f*frame + padding + 3.0f*(frame + spacing) + frame*0.5f};
    }
};

std::string at(int frame, const std::string& command) { return "@" + std::to_string(frame) + " " + command + "\n"; }
std::string xy(Vector2 p) { return std::to_string(p.x) + " " + std::to_string(p.y); }

TEST(EditorShellTest, OutlinerClickSelectsAndEachTranslationEditIsOneStep) {
    ShellDriver driver{makeProject("undo")};
    const Layout layout;
    const Vector3 original = driver.translation(1);

    // Click "Crate", the first row.
    driver.play(at(0, "click left " + xy(layout.outlinerRow(0))), 3);
    ASSERT_EQ(driver.shell.selection().ids(), std::vector<ResourceId>{ResourceId{1}});

    // Double-click the X of the translation to type into it, replace the text, confirm.
    const std::string field = xy(layout.translationX());
    driver.play(at(0, "click left " + field) + at(2, "click left " + field) + at(5, "key Ctrl+A") +
                at(7, "text 7.25") + at(9, "key Enter"), 12);
    const Vector3 edited = driver.translation(1);
    EXPECT_EQ(edited, Vector3(7.25f, original.y, original.z));
    EXPECT_EQ(driver.shell.changeManager().undoCount(), 1u) << "typing is one undo step";

    // A second edit of the same field, past the double-click time, is a step of its own.
    for(int i = 0; i != 20; ++i) driver.frame();
    driver.play(at(0, "click left " + field) + at(2, "click left " + field) + at(5, "key Ctrl+A") +
                at(7, "text 9") + at(9, "key Enter"), 12);
    EXPECT_FLOAT_EQ(driver.translation(1).x, 9.0f);
    EXPECT_EQ(driver.shell.changeManager().undoCount(), 2u);
}

TEST(EditorShellTest, OutlinerDragReparents) {
    ShellDriver driver{makeProject("reparent")};
    const Layout layout;
    auto drag = [&](Vector2 a, Vector2 b) {
        driver.play(at(0, "press left " + xy(a)) + at(1, "move " + xy(a + Vector2{12.0f, 4.0f})) +
                    at(2, "move " + xy(b)) + at(3, "move " + xy(b + Vector2{1.0f, 0.0f})) +
                    at(4, "release left " + xy(b + Vector2{1.0f, 0.0f})), 7);
    };
    auto parentOf = [&](std::uint32_t id) {
        return driver.shell.project().section<ObjectRecord>()[ResourceId{id}][Model::Object::Parent].value();
    };

    // Rows: Crate, Lid (child of Crate), Lamp. Lid onto Lamp.
    drag(layout.outlinerRow(1), layout.outlinerRow(2));
    EXPECT_EQ(parentOf(2), ResourceId{3});
    EXPECT_EQ(driver.shell.changeManager().undoCount(), 1u);

    // Rows now: Crate, Lamp, Lid (child of Lamp). Lamp onto its own child is refused.
    drag(layout.outlinerRow(1), layout.outlinerRow(2));
    EXPECT_EQ(parentOf(3), ResourceId{});
    EXPECT_EQ(driver.shell.changeManager().undoCount(), 1u);

    // Lid onto the free space below the tree becomes a root.
    drag(layout.outlinerRow(2), {40.0f, 500.0f});
    EXPECT_EQ(parentOf(2), ResourceId{});
    EXPECT_EQ(driver.shell.changeManager().undoCount(), 2u);
}

TEST(EditorShellTest, NewObjectAndComponentFromThePanels) {
    ShellDriver driver{makeProject("new-object")};
    const Layout layout;
    const ImGuiStyle& style = ImGui::GetStyle();
    const ResourceSection<ObjectRecord> objects = driver.shell.project().section<ObjectRecord>();

    // Right-click below the tree, choose "New object": a fourth object, selected.
    const Vector2 menu{40.0f, 400.0f};
    const Vector2 item = menu + Vector2{20.0f, style.WindowPadding.y + layout.line*0.5f};
    driver.play(at(0, "click right " + xy(menu)) + at(3, "click left " + xy(item)), 6);
    ASSERT_TRUE(objects.contains(ResourceId{4}));
    EXPECT_EQ(objects[ResourceId{4}][Model::Object::Name].value(), "Object");
    EXPECT_EQ(driver.shell.selection().ids(), std::vector<ResourceId>{ResourceId{4}});

    // The properties panel's "Add component..." list: its first entry is a light.
    const float side = std::max(220.0f, Window.x*0.2f);
    const float comboY = 2.0f*layout.frame + layout.padding + 6.0f*(layout.frame + style.ItemSpacing.y) + style.ItemSpacing.y;
    const Vector2 combo{Window.x - side + 60.0f, comboY + layout.frame*0.5f};
    const Vector2 first{combo.x, comboY + layout.frame + style.WindowPadding.y + layout.line*0.5f};
    driver.play(at(0, "click left " + xy(combo)) + at(3, "click left " + xy(first)), 6);
    const ValueAccess<void> components = objects[ResourceId{4}].access(Model::Object::Components);
    ASSERT_EQ(components.size(), 1u);
    EXPECT_EQ(components.access(std::size_t{0})[Model::Component::Type].value(), unsigned(Model::ComponentType::Light));

    // Both were steps of their own.
    EXPECT_EQ(driver.shell.changeManager().undoCount(), 2u);
}

// Quitting with nothing to save is the view test's.
TEST(EditorShellTest, UnsavedChangesAreOfferedOnQuit) {
    ShellDriver edited{makeProject("quit-edited")};
    edited.shell.changeManager().pushChange(edited.shell.project().section<ObjectRecord>()[ResourceId{1}][Model::Object::Name], std::string_view{"Box"});
    edited.shell.changeManager().commit();
    EXPECT_TRUE(edited.shell.hasUnsavedChanges());
    edited.shell.requestQuit();
    edited.frame();
    EXPECT_FALSE(edited.shell.shouldQuit()) << "a dialog asks first";
    EXPECT_TRUE(edited.shell.saveProject());
    EXPECT_FALSE(edited.shell.hasUnsavedChanges());
}

// A view that records what the host does to it.
class RecordingView: public EditorView {
public:
    explicit RecordingView(const char* name): EditorView{name} {}

    void init(ImGuiContext* context, EditorData* data, ArdentisEditorApplication* application) override {
        EditorView::init(context, data, application);
        initialized = data != nullptr;
        registerShortcuts({Shortcut{"Frame all", chord(Key::F), ShortcutScope(2), ShortcutFlags{3}}});
    }
    void draw() override {
        beginWindow(8);
        if(Ui::beginDragDropTargetWindow()) {
            if(const ImGuiPayload* payload = ImGui::AcceptDragDropPayload(Ui::PathsPayloadType))
                for(std::string_view path: Ui::payloadToPaths(payload->Data, payload->DataSize)) dropped.emplace_back(path);
            ImGui::EndDragDropTarget();
        }
        if(shortcuts()[0].isTriggered(ShortcutScope(0))) ++triggered;
        if(ui().shortcut(Ui::Shortcuts::Delete).isTriggered(ShortcutScope(0))) ++deletes;
        ImGui::End();
        ++draws;
    }
    void update() override { ++updates; }
    void focusEvent(bool focused) override { focusEvents.push_back(focused); }
    void pointerPressEvent(PointerEvent& e) override { presses.push_back(e.button); holdingAtPress = holdsPointer(); }
    void pointerReleaseEvent(PointerEvent& e) override { releases.push_back(e.button); }
    void pointerMoveEvent(PointerMoveEvent& e) override { if(holdsPointer()) dragged += e.relativePosition; }
    void keyPressEvent(KeyEvent& e) override { keys.push_back(e.key); }
    void exitEvent(ExitEvent& e) override { e.cancelled = busy; }
    using EditorView::load;
    void load(std::span<const char> state) override { loaded.assign(state.begin(), state.end()); }
    std::vector<char> unload(bool) override { return {toSave.begin(), toSave.end()}; }

    bool initialized{}, holdingAtPress{}, busy{};
    std::string loaded, toSave;
    std::vector<std::string> dropped;
    int draws{}, updates{}, triggered{}, deletes{};
    std::vector<bool> focusEvents;
    std::vector<int> presses, releases, keys;
    Vector2 dragged{};
};

TEST(EditorShellViewTest, EventsAndShortcutsFollowFocus) {
    ShellDriver driver{makeProject("views")};
    auto& first = static_cast<RecordingView&>(driver.shell.addView([] { return std::make_unique<RecordingView>("First View"); }));
    auto& second = static_cast<RecordingView&>(driver.shell.addView([] { return std::make_unique<RecordingView>("Second View"); }));
    EXPECT_TRUE(first.initialized);
    driver.frame();
    EXPECT_EQ(first.draws, 1);
    EXPECT_EQ(first.updates, 1);

    // The second view sits on top of the first, offset by 24 pixels; its body is at (700, 300),
    // and the first view's title bar peeks out above it at (700, 32).
    const std::string body = xy({700.0f, 300.0f});
    const std::string firstTitle = xy({700.0f, 32.0f});

    // F pressed while the outliner has focus: no view fires.
    driver.play(at(0, "click left 40 400") + at(3, "key F"), 5);
    EXPECT_EQ(first.triggered + second.triggered, 0);

    // Clicking into the second view focuses it; F and Delete then fire there only, once each.
    driver.play(at(0, "press left " + body) + at(1, "move 720 310") + at(2, "release left " + xy({720.0f, 310.0f})) +
                at(4, "key F") + at(6, "key Delete"), 9);
    EXPECT_EQ(second.presses, std::vector<int>{PointerButton::Left});
    EXPECT_EQ(second.releases, std::vector<int>{PointerButton::Left});
    EXPECT_TRUE(second.holdingAtPress);
    EXPECT_FALSE(second.holdsPointer()) << "released with the last button";
    EXPECT_EQ(second.dragged, Vector2(20.0f, 10.0f));
    // Dear ImGui focuses the newest window at start; the outliner click took the focus away.
    EXPECT_EQ(second.focusEvents, (std::vector<bool>{true, false, true}));
    EXPECT_EQ(second.triggered, 1);
    EXPECT_EQ(second.deletes, 1);
    EXPECT_EQ(second.keys, (std::vector<int>{GLFW_KEY_F, GLFW_KEY_DELETE}));
    EXPECT_TRUE(first.keys.empty()) << "keys go to the focused view only";

    // Focus moves to the first view: focus events on both sides, and F fires there.
    driver.play(at(0, "click left " + firstTitle) + at(3, "key F"), 6);
    EXPECT_EQ(second.focusEvents, (std::vector<bool>{true, false, true, false}));
    EXPECT_EQ(first.focusEvents, std::vector<bool>{true});
    EXPECT_EQ(first.triggered, 1);
    EXPECT_EQ(second.triggered, 1);

    // Files dropped from outside reach the view in front (the first, since it was clicked last)
    // once, as one list.
    driver.play(at(0, "drop 700 300 /data/a.png /data/b.glb") + at(1, "move 710 300"), 5);
    EXPECT_EQ(first.dropped, (std::vector<std::string>{"/data/a.png", "/data/b.glb"}));
    EXPECT_TRUE(second.dropped.empty());

    // A busy view keeps the editor open.
    second.busy = true;
    driver.shell.requestQuit();
    EXPECT_FALSE(driver.shell.shouldQuit());
    second.busy = false;
    driver.shell.requestQuit();
    EXPECT_TRUE(driver.shell.shouldQuit());
}

TEST(EditorShellTest, SaveAsCopiesSourcesAndContinuesThere) {
    const std::filesystem::path source = makeProject("save-as-source");
    std::filesystem::create_directories(source/"models");
    std::ofstream{source/"models"/"box.obj"} << "v 0 0 0\n";
    std::filesystem::create_directories(source/ProjectFile::CacheFolder);
    std::ofstream{source/ProjectFile::CacheFolder/"baked.bin"} << "x";
    ShellDriver driver{source};
    const std::filesystem::path target = source.parent_path()/"save-as-target";
    std::filesystem::remove_all(target);

    ASSERT_TRUE(driver.shell.saveProjectAs(target.string()));
    EXPECT_TRUE(std::filesystem::exists(target/"models"/"box.obj"));
    EXPECT_FALSE(std::filesystem::exists(target/ProjectFile::CacheFolder/"baked.bin")) << "the cache is rebuilt, not copied";
    EXPECT_EQ(std::filesystem::path{driver.shell.project().folder()}, target);
    EXPECT_FALSE(driver.shell.hasUnsavedChanges());
    ProjectFile copy;
    ASSERT_TRUE(copy.load(target.string()));
    EXPECT_TRUE(copy.section<ObjectRecord>().contains(ResourceId{3}));

    // A folder that already holds a project is not overwritten.
    Log::Capture errors{Log::Channel::Error};
    EXPECT_FALSE(driver.shell.saveProjectAs(source.string()));
    EXPECT_TRUE(errors.contains("already holds a project")) << errors.text();
}

TEST(EditorShellViewTest, SelectionIsSharedThroughTheScene) {
    ShellDriver driver{makeProject("shared-selection")};
    const Layout layout;
    const Data::Id crate = driver.shell.assetCompiler().objectInstance(ResourceId{1});
    const Data::Id lamp = driver.shell.assetCompiler().objectInstance(ResourceId{3});
    ASSERT_NE(crate, lamp);

    // The outliner's click reaches the scene's selection, which the views read.
    driver.play(at(0, "click left " + xy(layout.outlinerRow(0))), 3);
    EXPECT_TRUE(driver.shell.editorData().isSelected(crate));
    EXPECT_FALSE(driver.shell.editorData().isSelected(lamp));

    // A view picking in the scene shows in the panels.
    const ResourceId picked[]{ResourceId{3}};
    selectObjects(driver.shell.editorData(), picked, false, false);
    driver.frame();
    EXPECT_EQ(driver.shell.selection().ids(), std::vector<ResourceId>{ResourceId{3}});
}

TEST(EditorShellTest, NewProjectStartsWithTheBuiltInPipelinesSaved) {
    ShellDriver driver{makeProject("new-from")};
    const std::filesystem::path folder = makeProject("new-to").parent_path()/"new-project";
    std::filesystem::remove_all(folder);
    ASSERT_TRUE(driver.shell.newProject(folder.string()));
    const ResourceSection<PipelineRecord> pipelines = driver.shell.project().section<PipelineRecord>();
    for(const char* name: {"Phong Opaque", "Text", "Sky", "MeshVisualizer"})
        EXPECT_TRUE(pipelines.resourceByName("name", name)) << name;
    EXPECT_FALSE(driver.shell.hasUnsavedChanges());
    EXPECT_EQ(driver.shell.changeManager().undoCount(), 0u);
    std::ifstream saved{folder/ProjectFile::FileName};
    EXPECT_NE(std::string(std::istreambuf_iterator<char>{saved}, {}).find("\"MeshVisualizer\""), std::string::npos);
}

TEST(EditorShellViewTest, OpeningAnotherProjectRemakesTheViews) {
    ShellDriver driver{makeProject("remake-a")};
    int made = 0;
    EditorView* view = &driver.shell.addView([&] {
        ++made;
        return std::make_unique<RecordingView>("Remade View");
    });
    view->setOpen(false);
    ASSERT_TRUE(driver.shell.openProject(makeProject("remake-b").string()));
    EXPECT_EQ(made, 2);
    ASSERT_EQ(driver.shell.views().size(), 1u);
    auto& remade = static_cast<RecordingView&>(*driver.shell.views()[0]);
    EXPECT_TRUE(remade.initialized);
    EXPECT_EQ(&remade.editorData(), &driver.shell.editorData());
    EXPECT_FALSE(remade.isOpen()) << "closed views stay closed";
    driver.frame();
    EXPECT_EQ(remade.draws, 0) << "and are not drawn";
}

TEST(EditorShellViewTest, ViewStateIsKeptBetweenRuns) {
    const std::filesystem::path project = makeProject("view-state");
    const std::filesystem::path layout = project.parent_path()/"config"/"layout.ini";
    std::filesystem::remove_all(layout.parent_path());
    for(const char* expected: {"", "tab=3"}) {
        EditorShell shell{EditorShell::Configuration{layout, {}}};
        ASSERT_TRUE(shell.openProject(project.string()));
        shell.initWithoutGraphics();
        auto& view = static_cast<RecordingView&>(shell.addView([] { return std::make_unique<RecordingView>("Stateful View"); }));
        EXPECT_EQ(view.loaded, expected);
        view.toSave = "tab=3";
    }
}

}
