#pragma once
// The editor around the views: the Dear ImGui context, the open project and its undo service, the
// main menu, the host panels, one window per view, the progress area and the dialogs. Input
// arrives as InputEvent records, from a window or from a script, and goes one way to Dear ImGui,
// the shortcut dispatcher and the view that has the pointer or the keyboard.
#include <array>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Editor/App/ArdentisEditor.h"
#include "Editor/App/InputEvent.h"
#include "Editor/App/Panels/AssetPanel.h"
#include "Editor/App/Panels/Outliner.h"
#include "Editor/App/Panels/PreferencesWindow.h"
#include "Editor/App/Panels/PropertiesPanel.h"
#include "Editor/App/Selection.h"
#include "Editor/View/EditorView.h"

struct ImGuiContext;

namespace ArdentisEngine {

class ProjectFile;
class ChangeManager;
class EditorData;
class AssetCompiler;
class ThumbnailManager;

class EditorShell {
public:
    struct Configuration {
        // Where the window layout is remembered; empty keeps it in memory only (headless runs).
        std::filesystem::path layoutFile;
        // Where preferences are read and written; empty uses the defaults and never writes.
        std::filesystem::path preferencesFile;
    };

    explicit EditorShell(const Configuration& configuration);
    ~EditorShell();
    EditorShell(const EditorShell&) = delete;
    EditorShell& operator=(const EditorShell&) = delete;

    // Opens the project in `path` (a folder or its project file). On failure the message names
    // the file and the current project stays open.
    bool openProject(const std::string& path);
    bool newProject(const std::string& folder);
    bool saveProject();
    // Copies the project folder to `folder` and continues there.
    bool saveProjectAs(const std::string& folder);
    bool hasUnsavedChanges() const;
    // "Ardentis Editor - {project folder}", with " *" while there are unsaved changes.
    std::string windowTitle() const;

    // Views belong to the open project: the shell makes one from its factory and initialises it
    // now, and tears it down and makes it anew whenever another project is opened.
    using ViewFactory = std::function<std::unique_ptr<EditorView>()>;
    EditorView& addView(ViewFactory factory);
    template<class View> View& addView() {
        return static_cast<View&>(addView([] { return std::unique_ptr<EditorView>{new View}; }));
    }
    const std::vector<std::unique_ptr<EditorView>>& views() const { return _views; }

    // Fonts and GL objects of the UI; needs a current GL 3.3+ context. Without it (tests), call
    // initWithoutGraphics, which builds the font atlas on the CPU only.
    bool initGraphics(float contentScale);
    void initWithoutGraphics();

    void handle(const InputEvent& event);
    // Builds one frame of UI: views' update and renderScene, panels, views' draw.
    void buildFrame(float dt, Vector2 windowSize, Vector2 framebufferScale);
    // Draws the built frame into the bound framebuffer.
    void renderFrame(Vector2i framebufferSize);

    // Asks to close the editor; with unsaved changes a dialog offers to save them first.
    void requestQuit();
    bool shouldQuit() const { return _quit; }

    ArdentisEditor& editor() { return _editor; }
    ProjectFile& project() { return *_project; }
    ChangeManager& changeManager() { return *_changes; }
    Selection& selection() { return _selection; }
    EditorData& editorData() { return *_editorData; }
    AssetCompiler& assetCompiler() { return *_compiler; }
    ImGuiContext* imguiContext() const { return _context; }
    AssetPanel& assetPanel() { return _assets; }
    // GL texture of the thumbnail the asset panel shows for a resource, when one has been made.
    std::optional<unsigned> thumbnailOf(ResourceType type, ResourceId id) const;
    long frameIndex() const { return _frame; }
    // Last pointer position (window pixels) and the PointerButton bits held.
    Vector2 pointer() const { return _pointer; }
    int buttonsDown() const { return _buttonsDown; }

private:
    enum class Dialog { None, New, Open, SaveAs, Unsaved };

    void applyPendingInput();
    void prepareDrop();
    void submitDrop();
    void updateFocus();
    void handleEditorShortcuts();
    void drawMainMenu();
    void drawPanels();
    void drawViews();
    void drawProgress();
    void drawDialogs();
    void placeFirstTime(const char* title, Vector2 position, Vector2 size);
    EditorView* viewAt(Vector2 position) const;
    EditorView* focusedView() const;
    void adoptProject(std::unique_ptr<ProjectFile> project);
    EditorView& startView(std::size_t index);
    // What a view returns from unload is kept beside the layout file and handed to its load when
    // it starts again; nothing is kept without a layout file.
    std::filesystem::path viewStatePath(const EditorView& view) const;
    void loadViewState(EditorView& view);
    void saveViewState(EditorView& view);
    void persistPreferences();
    // The panels keep record ids, the views a bit set over the scene's objects; whichever side
    // changed since the last frame wins.
    void pullSceneSelection();
    void pushSceneSelection(const std::vector<ResourceId>& before);
    PanelContext panelContext() { return {_editor, *_project, *_changes, _selection}; }

    Configuration _configuration;
    std::string _layoutFile;
    ImGuiContext* _context{};
    ArdentisEditor _editor;
    std::unique_ptr<ProjectFile> _project;
    std::unique_ptr<ChangeManager> _changes;
    std::unique_ptr<EditorData> _editorData;
    std::unique_ptr<AssetCompiler> _compiler;
    std::unique_ptr<ThumbnailManager> _thumbnails;
    std::vector<ResourceId> _sceneSelectionSeen;
    std::uint32_t _savedRevision{};
    Selection _selection;
    std::vector<std::unique_ptr<EditorView>> _views;
    std::vector<ViewFactory> _viewFactories;

    Outliner _outliner;
    PropertiesPanel _properties;
    AssetPanel _assets;
    PreferencesWindow _preferencesWindow;
    bool _showOutliner{true}, _showProperties{true}, _showAssets{true}, _showPreferences{false};

    // Window title -> who owns that window (a view or a panel), for focus and pointer routing.
    std::map<std::string, const void*, std::less<>> _owners;
    const void* _focusedOwner{};
    EditorView* _pointerView{};
    int _buttonsDown{};
    Vector2 _pointer{};
    bool _pointerKnown{};

    // Presses that were let go within the same frame stay down for that frame.
    std::array<bool, 5> _mousePressedThisFrame{};
    std::vector<int> _mouseReleaseLater, _keyReleaseLater;
    std::vector<int> _keysPressedThisFrame;

    // Files dropped by the platform become a drag-and-drop payload over two frames: one in which
    // targets under the pointer see it with the button held, one in which it is delivered.
    std::vector<char> _dropPayload;
    Vector2 _dropPosition{};
    int _dropStage{};

    Dialog _dialog{Dialog::None};
    bool _openDialog{}, _dialogFailed{};
    std::array<char, 1024> _pathBuffer{};
    bool _quit{}, _quitAfterSave{};
    bool _graphics{};
    long _frame{};
    Vector2 _displaySize{1280.0f, 720.0f};
};

}
