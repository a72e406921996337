#pragma once
// The contract between the editor and the views it hosts. The virtual operations are declared in
// the order views and the host rely on (destructor first, exit event last); update and renderScene
// come after them so that the earlier slots keep their positions.
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Editor/Input/Shortcut.h"
#include "Editor/View/Events.h"
#include "Math/Types.h"

struct ImGuiContext;

namespace ArdentisEngine {

class EditorData;
class ArdentisEditorApplication;
class ArdentisEditor;
class Ui;

class AbstractPlugin {
public:
    virtual ~AbstractPlugin();
    // Whether the plug-in may be unloaded now.
    virtual bool canBeDeleted();
};

enum class ModuleType: int { Module = 0, EditorPlugin = 1, EditorView = 2 };

class AbstractModule: public AbstractPlugin {
public:
    // Called when the module is brought into the editor, before any state is restored.
    virtual void load();
};

class EditorPlugin: public AbstractModule {
public:
    using AbstractModule::load;
    // Restores view state saved by a previous unload.
    virtual void load(std::span<const char> state);
    // Returns the view state to keep; `shuttingDown` is true when the editor exits.
    virtual std::vector<char> unload(bool shuttingDown);
    virtual ModuleType moduleType();
};

class EditorView: public EditorPlugin {
public:
    explicit EditorView(std::string_view name);
    ~EditorView() override;

    EditorView(const EditorView&) = delete;
    EditorView& operator=(const EditorView&) = delete;

    ModuleType moduleType() override;

    // Overrides call this first.
    virtual void init(ImGuiContext* context, EditorData* data, ArdentisEditorApplication* application);
    virtual const char* title() const;
    virtual void deinit();
    virtual void draw();
    virtual void postUpdate();
    virtual void focusEvent(bool focused);
    virtual void pointerMoveEvent(PointerMoveEvent& event);
    virtual void pointerPressEvent(PointerEvent& event);
    virtual void pointerReleaseEvent(PointerEvent& event);
    virtual void scrollEvent(ScrollEvent& event);
    virtual void keyPressEvent(KeyEvent& event);
    virtual void keyReleaseEvent(KeyEvent& event);
    virtual void exitEvent(ExitEvent& event);
    // Per-frame work before draw: clock and data refresh, then off-screen rendering.
    virtual void update();
    virtual void renderScene();

    const std::string& name() const { return _name; }
    bool isInitialized() const { return _application != nullptr; }

    Ui& ui();
    EditorData& editorData();
    ArdentisEditor& application();
    ImGuiContext* imguiContext() const { return _imguiContext; }

    // Hands the view's shortcut table to the host, which owns it from then on: it binds each entry
    // to this view and applies the chords the user rebound in an earlier session.
    void registerShortcuts(std::vector<Shortcut>&& shortcuts);
    std::span<Shortcut> shortcuts() { return _shortcuts; }
    std::span<const Shortcut> shortcuts() const { return _shortcuts; }

    // Set by the host while a drag that began in this view is under way.
    bool holdsPointer() const { return _holdsPointer; }
    void setHoldsPointer(bool holds) { _holdsPointer = holds; }
    // False while the view's window is collapsed, clipped away or closed.
    bool isVisible() const { return _visible; }
    void setVisible(bool visible) { _visible = visible; }
    // Whether the window had keyboard focus / the pointer at its last beginWindow.
    bool isWindowFocused() const { return _windowFocused; }
    bool isWindowHovered() const { return _windowHovered; }
    // Screen rectangle of the window at its last beginWindow.
    Vector2 windowPosition() const { return _windowPosition; }
    Vector2 windowSize() const { return _windowSize; }

    // Where the host places the window the first time it is shown (later runs restore the user's).
    void setDefaultPlacement(Vector2 position, Vector2 size) {
        _defaultPosition = position;
        _defaultSize = size;
    }
    // The View menu toggles this; a closed view is not drawn.
    bool isOpen() const { return _open; }
    void setOpen(bool open) { _open = open; }

protected:
    // Opens the view's window (Dear ImGui window flags); the view calls ImGui::End itself, whatever
    // this returns. Returns false when the window is collapsed or clipped away.
    bool beginWindow(int windowFlags);

    EditorData* _editorData{};
    ArdentisEditorApplication* _application{};

private:
    std::string _name;
    ImGuiContext* _imguiContext{};
    Ui* _ui{};
    std::vector<Shortcut> _shortcuts;
    Vector2 _defaultPosition{40.0f, 40.0f}, _defaultSize{640.0f, 480.0f};
    Vector2 _windowPosition{}, _windowSize{};
    bool _holdsPointer{}, _visible{}, _windowFocused{}, _windowHovered{}, _open{true};
};

}
