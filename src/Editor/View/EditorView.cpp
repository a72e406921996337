#include "Editor/View/EditorView.h"

#include <imgui.h>

#include "Editor/App/ArdentisEditor.h"
#include "Gfx/Assert.h"

namespace ArdentisEngine {

AbstractPlugin::~AbstractPlugin() = default;
bool AbstractPlugin::canBeDeleted() { return true; }

void AbstractModule::load() {}

void EditorPlugin::load(std::span<const char>) {}
std::vector<char> EditorPlugin::unload(bool) { return {}; }
ModuleType EditorPlugin::moduleType() { return ModuleType::EditorPlugin; }

EditorView::EditorView(std::string_view name): _name{name} {}

EditorView::~EditorView() {
    if(_ui) _ui->unregisterShortcutTable(_shortcuts);
}

ModuleType EditorView::moduleType() { return ModuleType::EditorView; }

void EditorView::init(ImGuiContext* context, EditorData* data, ArdentisEditorApplication* application) {
    AE_ASSERT(application);
    _imguiContext = context;
    _editorData = data;
    _application = application;
    _ui = &static_cast<ArdentisEditor*>(application)->ui();
    if(context) ImGui::SetCurrentContext(context);
}

const char* EditorView::title() const { return _name.c_str(); }
void EditorView::deinit() {}
void EditorView::draw() {}
void EditorView::postUpdate() {}
void EditorView::focusEvent(bool) {}
void EditorView::pointerMoveEvent(PointerMoveEvent&) {}
void EditorView::pointerPressEvent(PointerEvent&) {}
void EditorView::pointerReleaseEvent(PointerEvent&) {}
void EditorView::scrollEvent(ScrollEvent&) {}
void EditorView::keyPressEvent(KeyEvent&) {}
void EditorView::keyReleaseEvent(KeyEvent&) {}
void EditorView::exitEvent(ExitEvent&) {}
void EditorView::update() {}
void EditorView::renderScene() {}

Ui& EditorView::ui() {
    AE_ASSERT(_ui);
    return *_ui;
}

EditorData& EditorView::editorData() {
    AE_ASSERT(_editorData);
    return *_editorData;
}

ArdentisEditor& EditorView::application() {
    AE_ASSERT(_application);
    return *static_cast<ArdentisEditor*>(_application);
}

void EditorView::registerShortcuts(std::vector<Shortcut>&& shortcuts) {
    Ui& host = ui();
    host.unregisterShortcutTable(_shortcuts);
    _shortcuts = std::move(shortcuts);
    for(Shortcut& s: _shortcuts) s.bind(&host.dispatcher(), this);
    host.registerShortcutTable(_name, _shortcuts);
}

bool EditorView::beginWindow(int windowFlags) {
    ImGui::SetNextWindowPos({_defaultPosition.x, _defaultPosition.y}, ImGuiCond_FirstUseEver);
    ImGui::SetNextWindowSize({_defaultSize.x, _defaultSize.y}, ImGuiCond_FirstUseEver);
    const bool open = ImGui::Begin(title(), &_open, windowFlags);
    const ImVec2 position = ImGui::GetWindowPos();
    const ImVec2 size = ImGui::GetWindowSize();
    _windowPosition = {position.x, position.y};
    _windowSize = {size.x, size.y};
    _windowFocused = ImGui::IsWindowFocused(ImGuiFocusedFlags_RootAndChildWindows);
    _windowHovered = ImGui::IsWindowHovered(ImGuiHoveredFlags_RootAndChildWindows);
    _visible = open && !ImGui::IsWindowCollapsed();
    if(_ui) _ui->dispatcher().setDrawingOwner(this);
    return open;
}

}
