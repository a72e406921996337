#include "Editor/App/EditorShell.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <system_error>

// epoxy first: it must come before anything that includes the system GL header.
#include <epoxy/gl.h>
#define GLFW_INCLUDE_NONE
#include <GLFW/glfw3.h>
#include <fmt/format.h>
#include <imgui.h>
#include <imgui_internal.h>
#include <backends/imgui_impl_opengl3.h>

#include "Editor/Compiler/AssetCompiler.h"
#include "Renderer/DefaultPipelines.h"
#include "Editor/Data/EditorData.h"
#include "Editor/Data/ObjectCommands.h"
#include "Editor/App/ThumbnailManager.h"
#include "Editor/Input/Key.h"
#include "Editor/Project/ProjectFile.h"
#include "Editor/Ui/Fonts.h"
#include "Editor/Ui/Icons.h"
#include "Editor/Undo/ChangeManager.h"
#include "Gfx/Assert.h"
#include "Gfx/Log.h"

namespace ArdentisEngine {

namespace {

// Dear ImGui's mouse button index of one PointerButton bit.
int imguiButton(int button) {
    switch(button) {
        case PointerButton::Left: return ImGuiMouseButton_Left;
        case PointerButton::Right: return ImGuiMouseButton_Right;
        case PointerButton::Middle: return ImGuiMouseButton_Middle;
    }
    return -1;
}

}

EditorShell::EditorShell(const Configuration& configuration): _configuration{configuration} {
    _context = ImGui::CreateContext();
    ImGui::SetCurrentContext(_context);
    ImGuiIO& io = ImGui::GetIO();
    _layoutFile = configuration.layoutFile.string();
    io.IniFilename = _layoutFile.empty() ? nullptr : _layoutFile.c_str();
    if(!_layoutFile.empty()) {
        std::error_code error;
        std::filesystem::create_directories(configuration.layoutFile.parent_path(), error);
    }
    io.ConfigFlags |= ImGuiConfigFlags_NavEnableKeyboard;
    io.ConfigWindowsMoveFromTitleBarOnly = true;
    io.BackendPlatformName = "ardentis";
    // KeysDown is indexed by GLFW key codes, which all fit its 512 entries.
    const struct {
        ImGuiKey imgui;
        int glfw;
    } keyMap[]{
        {ImGuiKey_Tab, GLFW_KEY_TAB}, {ImGuiKey_LeftArrow, GLFW_KEY_LEFT}, {ImGuiKey_RightArrow, GLFW_KEY_RIGHT},
        {ImGuiKey_UpArrow, GLFW_KEY_UP}, {ImGuiKey_DownArrow, GLFW_KEY_DOWN}, {ImGuiKey_PageUp, GLFW_KEY_PAGE_UP},
        {ImGuiKey_PageDown, GLFW_KEY_PAGE_DOWN}, {ImGuiKey_Home, GLFW_KEY_HOME}, {ImGuiKey_End, GLFW_KEY_END},
        {ImGuiKey_Insert, GLFW_KEY_INSERT}, {ImGuiKey_Delete, GLFW_KEY_DELETE}, {ImGuiKey_Backspace, GLFW_KEY_BACKSPACE},
        {ImGuiKey_Space, GLFW_KEY_SPACE}, {ImGuiKey_Enter, GLFW_KEY_ENTER}, {ImGuiKey_Escape, GLFW_KEY_ESCAPE},
        {ImGuiKey_KeyPadEnter, GLFW_KEY_KP_ENTER}, {ImGuiKey_A, GLFW_KEY_A}, {ImGuiKey_C, GLFW_KEY_C},
        {ImGuiKey_V, GLFW_KEY_V}, {ImGuiKey_X, GLFW_KEY_X}, {ImGuiKey_Y, GLFW_KEY_Y}, {ImGuiKey_Z, GLFW_KEY_Z},
    };
    for(const auto& k: keyMap) io.KeyMap[k.imgui] = k.glfw;
    ImGui::StyleColorsDark();
    ImGui::GetStyle().FrameRounding = 3.0f;
    ImGui::GetStyle().WindowRounding = 4.0f;

    if(!configuration.preferencesFile.empty()) _editor.setPreferences(loadPreferences(configuration.preferencesFile));

    // Start on an empty project that lives nowhere, so that every panel always has one.
    adoptProject(std::make_unique<ProjectFile>());

    _owners[Outliner::Title] = &_outliner;
    _owners[PropertiesPanel::Title] = &_properties;
    _owners[AssetPanel::Title] = &_assets;
    _owners[PreferencesWindow::Title] = &_preferencesWindow;
}

EditorShell::~EditorShell() {
    ImGui::SetCurrentContext(_context);
    for(auto& view: _views) {
        saveViewState(*view);
        view->deinit();
    }
    _views.clear();
    _compiler.reset();
    _changes.reset();
    _editorData.reset();
    _thumbnails.reset();
    if(_graphics) ImGui_ImplOpenGL3_Shutdown();
    ImGui::DestroyContext(_context);
}

void EditorShell::adoptProject(std::unique_ptr<ProjectFile> project) {
    ImGui::SetCurrentContext(_context);
    // Views, the compiled scene, the selection and the undo history all belong to one project:
    // they go before the project they were made on, and come back made on the new one.
    std::vector<bool> open;
    for(auto& view: _views) {
        open.push_back(view->isOpen());
        saveViewState(*view);
        view->deinit();
        if(_pointerView == view.get()) _pointerView = nullptr;
        if(_focusedOwner == view.get()) _focusedOwner = nullptr;
    }
    _views.clear();
    _compiler.reset();
    _changes.reset();
    _editorData.reset();
    // Thumbnails are keyed by the compiled scene's indices, which the new project reassigns.
    if(_thumbnails) _thumbnails->clear();

    _project = std::move(project);
    _editorData = std::make_unique<EditorData>(*_project);
    _editor.attachEditorData(_editorData.get());
    _changes = std::make_unique<ChangeManager>(*_project);
    _editor.attachProject(_project.get(), _changes.get());
    _compiler = std::make_unique<AssetCompiler>(*_editorData);
    _editor.attachAssetCompiler(_compiler.get());
    _compiler->compile();
    _savedRevision = _project->revision();
    _selection.clear();
    _sceneSelectionSeen.clear();

    for(std::size_t i = 0; i != _viewFactories.size(); ++i) startView(i).setOpen(i < open.size() ? bool(open[i]) : true);
}

std::string EditorShell::windowTitle() const {
    const std::string name = _project->folder().empty() ? std::string{"unsaved project"}
                                                        : std::filesystem::path{_project->folder()}.filename().string();
    return "Ardentis Editor - " + name + (hasUnsavedChanges() ? " *" : "");
}

EditorView& EditorShell::startView(std::size_t index) {
    std::unique_ptr<EditorView> view = _viewFactories[index]();
    AE_ASSERT(view);
    EditorView& started = *view;
    if(_views.size() <= index) _views.resize(index + 1);
    _views[index] = std::move(view);
    started.init(_context, _editorData.get(), &_editor);
    _owners[started.title()] = &started;
    loadViewState(started);
    return started;
}

std::filesystem::path EditorShell::viewStatePath(const EditorView& view) const {
    if(_configuration.layoutFile.empty()) return {};
    return _configuration.layoutFile.parent_path()/"views"/(view.name() + ".state");
}

void EditorShell::loadViewState(EditorView& view) {
    const std::filesystem::path path = viewStatePath(view);
    if(path.empty() || !std::filesystem::exists(path)) return;
    std::ifstream file{path, std::ios::binary};
    const std::vector<char> state{std::istreambuf_iterator<char>{file}, std::istreambuf_iterator<char>{}};
    if(!file.good() && !file.eof()) {
        Log::error("Cannot read the saved state of {} from {}", view.name(), path.string());
        return;
    }
    view.load(std::span<const char>{state});
}

void EditorShell::saveViewState(EditorView& view) {
    const std::vector<char> state = view.unload(true);
    const std::filesystem::path path = viewStatePath(view);
    if(path.empty()) return;
    std::error_code error;
    if(state.empty()) {
        std::filesystem::remove(path, error);
        return;
    }
    std::filesystem::create_directories(path.parent_path(), error);
    std::filesystem::path temporary = path;
    temporary += ".tmp";
    {
        std::ofstream file{temporary, std::ios::binary | std::ios::trunc};
        file.write(state.data(), std::streamsize(state.size()));
        if(!file.flush()) {
            Log::error("Cannot save the state of {} to {}", view.name(), path.string());
            return;
        }
    }
    std::filesystem::rename(temporary, path, error);
    if(error) Log::error("Cannot save the state of {} to {}: {}", view.name(), path.string(), error.message());
}

bool EditorShell::openProject(const std::string& path) {
    auto project = std::make_unique<ProjectFile>();
    if(!project->load(path)) return false;
    adoptProject(std::move(project));
    WorkspaceData::setProjectPath(_project->folder());
    Log::info("Opened project {}", _project->filePath());
    return true;
}

bool EditorShell::newProject(const std::string& folder) {
    auto project = std::make_unique<ProjectFile>();
    if(!project->create(folder)) return false;
    // A new project draws out of the box: one pipeline record for each of the engine's built-in
    // pipelines (texts, for one, only draw with the "Text" pipeline). Part of creating, not undoable.
    std::string text = fmt::format(R"({{"format": "{}", "version": {}, "pipelines": {{)", ProjectFile::Format, ProjectFile::Version);
    const std::vector<Shaders::PipelineDescription>& builtIn = Shaders::defaultPipelines();
    for(std::size_t i = 0; i != builtIn.size(); ++i)
        text += fmt::format(R"({}"{}": {{"name": "{}"}})", i ? ", " : "", i + 1, builtIn[i].name);
    text += "}}";
    if(!project->loadText(text, project->filePath()) || !project->save()) return false;
    adoptProject(std::move(project));
    WorkspaceData::setProjectPath(_project->folder());
    Log::info("Created project {}", _project->filePath());
    return true;
}

bool EditorShell::saveProject() {
    if(_project->folder().empty()) {
        Log::error("The project has no folder yet; use File > Save As");
        return false;
    }
    if(!_project->save()) return false;
    _savedRevision = _project->revision();
    return true;
}

bool EditorShell::saveProjectAs(const std::string& folder) {
    std::error_code error;
    const std::filesystem::path target{folder};
    if(std::filesystem::exists(target/ProjectFile::FileName)) {
        Log::error("{} already holds a project; choose an empty folder", folder);
        return false;
    }
    std::filesystem::create_directories(target, error);
    if(error) {
        Log::error("Cannot create {}: {}", folder, error.message());
        return false;
    }
    // Imported source files travel with the records that name them; the cache is rebuilt.
    if(!_project->folder().empty()) {
        for(const auto& entry: std::filesystem::directory_iterator{_project->folder(), error}) {
            const std::string name = entry.path().filename().string();
            if(name == ProjectFile::CacheFolder || name == ProjectFile::FileName) continue;
            std::filesystem::copy(entry.path(), target/name,
                std::filesystem::copy_options::recursive | std::filesystem::copy_options::overwrite_existing, error);
            if(error) {
                Log::error("Cannot copy {} to {}: {}", entry.path().string(), folder, error.message());
                return false;
            }
        }
    }
    auto copy = std::make_unique<ProjectFile>();
    if(!copy->create(folder) || !copy->loadText(_project->text(), (target/ProjectFile::FileName).string()) || !copy->save())
        return false;
    adoptProject(std::move(copy));
    WorkspaceData::setProjectPath(_project->folder());
    return true;
}

bool EditorShell::hasUnsavedChanges() const {
    return _project->revision() != _savedRevision || _changes->hasPendingChanges();
}

EditorView& EditorShell::addView(ViewFactory factory) {
    ImGui::SetCurrentContext(_context);
    _viewFactories.push_back(std::move(factory));
    return startView(_viewFactories.size() - 1);
}

bool EditorShell::initGraphics(float contentScale) {
    ImGui::SetCurrentContext(_context);
    const float scale = _editor.preferences().uiScale > 0.0f ? _editor.preferences().uiScale : contentScale;
    loadEditorFonts(scale);
    if(scale != 1.0f) ImGui::GetStyle().ScaleAllSizes(scale);
    // GLSL 3.30 matches the GL 3.3 core floor we target.
    if(!ImGui_ImplOpenGL3_Init("#version 330 core")) {
        Log::error("The UI renderer could not start on this GL context");
        return false;
    }
    _graphics = true;
    _thumbnails = std::make_unique<ThumbnailManager>();
    _editor.attachThumbnails(_thumbnails.get());
    _assets.setThumbnailLookup([this](ResourceType type, ResourceId id) { return thumbnailOf(type, id); });
    return true;
}

std::optional<unsigned> EditorShell::thumbnailOf(ResourceType type, ResourceId id) const {
    if(!_thumbnails || !_compiler) return std::nullopt;
    // Keys name the compiled scene's slots: "m3" mesh 3, "ma2" material 2, "font1", "5" image 5.
    std::string key;
    auto slot = [&](const char* prefix, std::uint32_t index) {
        if(index) key = prefix + std::to_string(index);
    };
    switch(type) {
        case ResourceType::Mesh: slot("m", _compiler->meshInstance(id)); break;
        case ResourceType::Material: slot("ma", _compiler->materialInstance(id)); break;
        case ResourceType::Font: slot("font", _compiler->fontInstance(id)); break;
        case ResourceType::Image: slot("", _compiler->imageInstance(id)); break;
        case ResourceType::Texture: {
            const ResourceId image = _project->section<TextureRecord>()[id][Model::Texture::Image].value();
            if(image) slot("", _compiler->imageInstance(image));
            break;
        }
        default: break;
    }
    if(key.empty()) return std::nullopt;
    const std::optional<GLuint> texture = _thumbnails->texture(key);
    return texture ? std::optional<unsigned>{*texture} : std::nullopt;
}

void EditorShell::initWithoutGraphics() {
    ImGui::SetCurrentContext(_context);
    loadEditorFonts(1.0f);
    unsigned char* pixels;
    int width, height;
    ImGui::GetIO().Fonts->GetTexDataAsRGBA32(&pixels, &width, &height);
}

void EditorShell::persistPreferences() {
    if(!_configuration.preferencesFile.empty()) savePreferences(_editor.preferences(), _configuration.preferencesFile);
}

EditorView* EditorShell::viewAt(Vector2 position) const {
    // Dear ImGui finds the hovered window only at the next NewFrame; an event needs it now, from
    // the windows as the last frame left them, front-most first.
    const ImGuiContext& g = *_context;
    const ImVec2 p{position.x, position.y};
    for(int i = g.Windows.Size - 1; i >= 0; --i) {
        const ImGuiWindow* window = g.Windows[i];
        if(!window->Active || window->Hidden || (window->Flags & ImGuiWindowFlags_NoMouseInputs)) continue;
        if(!window->OuterRectClipped.Contains(p)) continue;
        const ImGuiWindow* root = window->RootWindow;
        for(const auto& view: _views)
            if(view->isOpen() && std::strcmp(root->Name, view->title()) == 0) return view.get();
        return nullptr;
    }
    return nullptr;
}

EditorView* EditorShell::focusedView() const {
    for(const auto& view: _views)
        if(view.get() == _focusedOwner) return view.get();
    return nullptr;
}

void EditorShell::handle(const InputEvent& event) {
    ImGui::SetCurrentContext(_context);
    ImGuiIO& io = ImGui::GetIO();
    switch(event.type) {
        case InputEvent::Type::PointerMove: {
            const Vector2 delta = _pointerKnown ? event.position - _pointer : Vector2{0.0f};
            _pointer = event.position;
            _pointerKnown = true;
            io.MousePos = {event.position.x, event.position.y};
            PointerMoveEvent e{event.position, delta, _buttonsDown, event.modifiers};
            if(EditorView* view = _pointerView ? _pointerView : viewAt(event.position)) view->pointerMoveEvent(e);
            break;
        }
        case InputEvent::Type::PointerPress:
        case InputEvent::Type::PointerRelease: {
            const bool press = event.type == InputEvent::Type::PointerPress;
            const int index = imguiButton(event.button);
            if(index < 0) break;
            _pointer = event.position;
            _pointerKnown = true;
            io.MousePos = {event.position.x, event.position.y};
            if(press) {
                io.MouseDown[index] = true;
                _mousePressedThisFrame[index] = true;
                _buttonsDown |= event.button;
            } else {
                if(_mousePressedThisFrame[index]) _mouseReleaseLater.push_back(index);
                else io.MouseDown[index] = false;
                _buttonsDown &= ~event.button;
            }
            PointerEvent e{event.button, event.modifiers, event.position};
            // A drag that starts in a view stays with it until the last button is let go, even
            // when the pointer leaves the window.
            EditorView* view = _pointerView ? _pointerView : viewAt(event.position);
            if(!view) break;
            if(press) {
                _pointerView = view;
                view->setHoldsPointer(true);
                view->pointerPressEvent(e);
            } else {
                view->pointerReleaseEvent(e);
                if(!_buttonsDown) {
                    view->setHoldsPointer(false);
                    _pointerView = nullptr;
                }
            }
            break;
        }
        case InputEvent::Type::Scroll: {
            io.MouseWheel += event.offset.y;
            io.MouseWheelH += event.offset.x;
            ScrollEvent e{event.offset, _pointer, event.modifiers};
            if(EditorView* view = viewAt(_pointer)) view->scrollEvent(e);
            break;
        }
        case InputEvent::Type::KeyPress:
        case InputEvent::Type::KeyRelease: {
            const bool press = event.type == InputEvent::Type::KeyPress;
            if(event.key >= 0 && event.key < int(IM_ARRAYSIZE(io.KeysDown))) {
                if(press) {
                    io.KeysDown[event.key] = true;
                    _keysPressedThisFrame.push_back(event.key);
                } else if(std::find(_keysPressedThisFrame.begin(), _keysPressedThisFrame.end(), event.key) != _keysPressedThisFrame.end())
                    _keyReleaseLater.push_back(event.key);
                else
                    io.KeysDown[event.key] = false;
            }
            // Modifier state from the keys themselves: platforms report it before or after the
            // modifier key's own event, differently.
            io.KeyCtrl = io.KeysDown[GLFW_KEY_LEFT_CONTROL] || io.KeysDown[GLFW_KEY_RIGHT_CONTROL];
            io.KeyShift = io.KeysDown[GLFW_KEY_LEFT_SHIFT] || io.KeysDown[GLFW_KEY_RIGHT_SHIFT];
            io.KeyAlt = io.KeysDown[GLFW_KEY_LEFT_ALT] || io.KeysDown[GLFW_KEY_RIGHT_ALT];
            io.KeySuper = io.KeysDown[GLFW_KEY_LEFT_SUPER] || io.KeysDown[GLFW_KEY_RIGHT_SUPER];
            if(press) _editor.ui().dispatcher().keyPressed(keyFromGlfw(event.key), chordModifiersFromEvent(event.modifiers), event.repeat);
            KeyEvent e{event.key, 0, event.modifiers, event.repeat ? 1 : 0};
            if(EditorView* view = focusedView()) {
                if(press) view->keyPressEvent(e);
                else view->keyReleaseEvent(e);
            }
            break;
        }
        case InputEvent::Type::Text:
            if(event.codepoint) io.AddInputCharacter(event.codepoint);
            break;
        case InputEvent::Type::Drop:
            if(event.paths.empty()) break;
            _dropPayload = Ui::pathsToPayload(event.paths);
            _dropPosition = event.position;
            _dropStage = 1;
            break;
    }
}

void EditorShell::updateFocus() {
    const ImGuiContext& g = *_context;
    const void* owner = nullptr;
    if(g.NavWindow) {
        const auto found = _owners.find(std::string_view{g.NavWindow->RootWindow->Name});
        // Windows nobody owns (a view's toolbar, a popup, the menu bar) keep the focus where it
        // was, so that the view's shortcuts keep working while its toolbar is used.
        owner = found != _owners.end() ? found->second : _focusedOwner;
    }
    if(owner != _focusedOwner) {
        for(auto& view: _views) {
            if(view.get() == _focusedOwner) view->focusEvent(false);
            if(view.get() == owner) view->focusEvent(true);
        }
        _focusedOwner = owner;
    }
    _editor.ui().dispatcher().newFrame(_focusedOwner, ImGui::GetIO().WantTextInput);
}

void EditorShell::applyPendingInput() {
    // Runs after NewFrame: a press and release within one frame were seen as a press; the
    // release now shows in the next.
    ImGuiIO& io = ImGui::GetIO();
    for(int index: _mouseReleaseLater) io.MouseDown[index] = false;
    for(int key: _keyReleaseLater) io.KeysDown[key] = false;
    _mouseReleaseLater.clear();
    _keyReleaseLater.clear();
    _keysPressedThisFrame.clear();
    _mousePressedThisFrame.fill(false);
    io.KeyCtrl = io.KeysDown[GLFW_KEY_LEFT_CONTROL] || io.KeysDown[GLFW_KEY_RIGHT_CONTROL];
    io.KeyShift = io.KeysDown[GLFW_KEY_LEFT_SHIFT] || io.KeysDown[GLFW_KEY_RIGHT_SHIFT];
    io.KeyAlt = io.KeysDown[GLFW_KEY_LEFT_ALT] || io.KeysDown[GLFW_KEY_RIGHT_ALT];
    io.KeySuper = io.KeysDown[GLFW_KEY_LEFT_SUPER] || io.KeysDown[GLFW_KEY_RIGHT_SUPER];
}

void EditorShell::buildFrame(float dt, Vector2 windowSize, Vector2 framebufferScale) {
    ImGui::SetCurrentContext(_context);
    ImGuiIO& io = ImGui::GetIO();
    _displaySize = {std::max(windowSize.x, 1.0f), std::max(windowSize.y, 1.0f)};
    io.DisplaySize = {_displaySize.x, _displaySize.y};
    io.DisplayFramebufferScale = {framebufferScale.x, framebufferScale.y};
    _editor.setContentScale(framebufferScale);
    io.DeltaTime = dt > 0.0f ? dt : 1.0f/60.0f;

    updateFocus();
    prepareDrop();
    if(_graphics) ImGui_ImplOpenGL3_NewFrame();
    ImGui::NewFrame();
    applyPendingInput();
    submitDrop();

    // Records edited since the last frame reach the scene before the views look at it.
    _compiler->compile();

    // Off-screen work of the views comes before any of them draws its window.
    for(auto& view: _views) {
        if(!view->isOpen()) continue;
        view->update();
        view->renderScene();
    }

    handleEditorShortcuts();
    drawMainMenu();
    pullSceneSelection();
    const std::vector<ResourceId> selectionBefore = _selection.ids();
    drawPanels();
    pushSceneSelection(selectionBefore);
    drawViews();
    drawProgress();
    drawDialogs();

    ImGui::Render();
    _editor.collectProgress();
    ++_frame;
}

void EditorShell::prepareDrop() {
    if(!_dropStage) return;
    ImGuiIO& io = ImGui::GetIO();
    io.MousePos = {_dropPosition.x, _dropPosition.y};
    // Held while targets preview the drop, let go when it is delivered.
    io.MouseDown[ImGuiMouseButton_Left] = _dropStage == 1 || (_buttonsDown & PointerButton::Left);
}

void EditorShell::submitDrop() {
    if(!_dropStage) return;
    if(ImGui::BeginDragDropSource(ImGuiDragDropFlags_SourceExtern)) {
        ImGui::SetDragDropPayload(Ui::PathsPayloadType, _dropPayload.data(), _dropPayload.size());
        ImGui::EndDragDropSource();
    }
    if(++_dropStage > 2) {
        _dropStage = 0;
        _dropPayload.clear();
    }
}

void EditorShell::pullSceneSelection() {
    std::vector<ResourceId> scene = selectedObjectRecords(*_editorData);
    if(scene == _sceneSelectionSeen) return;
    _selection.clear();
    for(ResourceId id: scene) _selection.add(id);
    _sceneSelectionSeen = std::move(scene);
}

void EditorShell::pushSceneSelection(const std::vector<ResourceId>& before) {
    if(_selection.ids() == before) return;
    selectObjects(*_editorData, std::span<const ResourceId>{_selection.ids()}, false, false);
    _sceneSelectionSeen = selectedObjectRecords(*_editorData);
}

void EditorShell::renderFrame(Vector2i framebufferSize) {
    AE_ASSERT(_graphics);
    glViewport(0, 0, framebufferSize.x, framebufferSize.y);
    glDisable(GL_SCISSOR_TEST);
    glClearColor(0.09f, 0.09f, 0.10f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    ImGui_ImplOpenGL3_RenderDrawData(ImGui::GetDrawData());
}

void EditorShell::handleEditorShortcuts() {
    // Text fields keep their own undo; the project's waits until they let go of the keyboard. A
    // chord being captured in the preferences is only a new binding, not a command.
    if(ImGui::GetIO().WantTextInput || _preferencesWindow.isCapturing()) return;
    Ui& ui = _editor.ui();
    if(ui.shortcut(Ui::Shortcuts::Undo).isTriggered()) _changes->undo();
    if(ui.shortcut(Ui::Shortcuts::Redo).isTriggered() || ui.shortcut(Ui::Shortcuts::RedoAlternative).isTriggered())
        _changes->redo();
    if(ui.shortcut(Ui::Shortcuts::Save).isTriggered()) {
        if(_project->folder().empty()) {
            _dialog = Dialog::SaveAs;
            _openDialog = true;
        } else
            saveProject();
    }
}

void EditorShell::placeFirstTime(const char* title, Vector2 position, Vector2 size) {
    (void)title;
    ImGui::SetNextWindowPos({position.x, position.y}, ImGuiCond_FirstUseEver);
    ImGui::SetNextWindowSize({size.x, size.y}, ImGuiCond_FirstUseEver);
}

void EditorShell::drawPanels() {
    // Default arrangement: outliner left, properties right, assets along the bottom, views in the
    // middle. Dear ImGui remembers where the user moves them.
    const float top = ImGui::GetFrameHeight();
    const Vector2 d = _displaySize;
    const float side = std::max(220.0f, d.x*0.2f);
    const float bottom = std::max(160.0f, (d.y - top)*0.28f);
    PanelContext context = panelContext();

    auto panel = [&](const char* title, bool& shown, Vector2 position, Vector2 size, auto&& content) {
        if(!shown) return;
        placeFirstTime(title, position, size);
        if(ImGui::Begin(title, &shown)) {
            _editor.ui().dispatcher().setDrawingOwner(_owners.at(title));
            content();
        }
        ImGui::End();
    };
    panel(Outliner::Title, _showOutliner, {0.0f, top}, {side, d.y - top}, [&] { _outliner.draw(context); });
    panel(PropertiesPanel::Title, _showProperties, {d.x - side, top}, {side, d.y - top}, [&] { _properties.draw(context); });
    panel(AssetPanel::Title, _showAssets, {side, d.y - bottom}, {d.x - 2.0f*side, bottom}, [&] { _assets.draw(context); });
    panel(PreferencesWindow::Title, _showPreferences, {d.x*0.5f - 260.0f, d.y*0.15f}, {520.0f, d.y*0.7f},
          [&] { _preferencesWindow.draw(_editor, [this] { persistPreferences(); }); });
}

void EditorShell::drawViews() {
    const float top = ImGui::GetFrameHeight();
    const Vector2 d = _displaySize;
    const float side = std::max(220.0f, d.x*0.2f);
    const float bottom = std::max(160.0f, (d.y - top)*0.28f);
    for(std::size_t i = 0; i != _views.size(); ++i) {
        EditorView& view = *_views[i];
        if(!view.isOpen()) {
            view.setVisible(false);
            continue;
        }
        // Views share the middle; later ones start a little offset so that all titles show.
        const float offset = 24.0f*float(i);
        view.setDefaultPlacement({side + offset, top + offset}, {d.x - 2.0f*side - offset, d.y - top - bottom - offset});
        _editor.ui().dispatcher().setDrawingOwner(&view);
        view.draw();
        view.postUpdate();
        if(!view.isOpen()) view.setVisible(false);
    }
    _editor.ui().dispatcher().setDrawingOwner(nullptr);
}

}
