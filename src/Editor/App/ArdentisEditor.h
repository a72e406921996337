#pragma once
// The editor application object that views and host functions reach: the open project and its
// services, the editor-wide flags and switches, preferences and progress records. It owns no
// window; the shell (EditorShell) drives it. Services are attached by whoever owns them, so tests
// can run it over a project without any window.
#include <array>
#include <deque>
#include <memory>
#include <string_view>

#include "Editor/App/Preferences.h"
#include "Editor/App/Progress.h"
#include "Editor/Ui/Ui.h"
#include "Math/Types.h"

struct GLFWwindow;

namespace ArdentisEngine {

class ProjectFile;
class ChangeManager;
class AssetCompiler;
class ThumbnailManager;
class EditorData;

// What EditorView::init receives. The concrete application is ArdentisEditor.
class ArdentisEditorApplication {
public:
    virtual ~ArdentisEditorApplication();
};

class ArdentisEditor: public ArdentisEditorApplication {
public:
    // Editor view switches, by their position in the row.
    enum Switch: int {
        Objects = 0, Lights, Bones, Views, CollisionShapes, Overdraw, PhysXShapes, Probes, Voxels,
        Boundaries, Grid, FreezeCullingFrustum, SimulatePhysX, SwitchCount
    };
    static constexpr std::array<std::string_view, SwitchCount> SwitchNames{
        "Objects", "Lights", "Bones", "Views", "Collision Shapes", "Overdraw", "PhysX Shapes", "Probes",
        "Voxels", "Boundaries", "Grid", "Freeze Culling Frustum", "Simulate PhysX"};

    ArdentisEditor();
    ~ArdentisEditor() override;

    // Services; each asserts that it was attached.
    ProjectFile& project();
    ChangeManager& changeManager();
    AssetCompiler& assetCompiler();
    ThumbnailManager& thumbnails();
    EditorData& editorData();
    bool hasProject() const { return _project != nullptr; }
    bool hasAssetCompiler() const { return _assetCompiler != nullptr; }
    bool hasThumbnails() const { return _thumbnails != nullptr; }

    void attachProject(ProjectFile* project, ChangeManager* changeManager) {
        _project = project;
        _changeManager = changeManager;
        _ui.setChangeManager(changeManager);
    }
    void attachEditorData(EditorData* data) { _editorData = data; }
    void attachAssetCompiler(AssetCompiler* compiler) { _assetCompiler = compiler; }
    void attachThumbnails(ThumbnailManager* thumbnails) { _thumbnails = thumbnails; }

    Ui& ui() { return _ui; }

    // A named progress record, shown until it is finished and released.
    Progress& pushProgress(std::string_view name);
    // Drops finished records that nobody holds; the shell calls it once per frame.
    void collectProgress();
    const std::deque<std::unique_ptr<Progress>>& progress() const { return _progress; }

    bool isSimulating() const { return _simulating; }
    void setSimulating(bool simulating) { _simulating = simulating; }
    // Set by views while a bake runs; the shell shows it.
    bool isBaking() const { return _baking; }
    void setBaking(bool baking) { _baking = baking; }

    std::array<bool, SwitchCount>& switches() { return _switches; }
    const std::array<bool, SwitchCount>& switches() const { return _switches; }
    bool& viewSwitch(Switch s) { return _switches[s]; }

    Preferences& preferences() { return _preferences; }
    // Replaces the preferences and applies their shortcut bindings to every registered table.
    void setPreferences(Preferences preferences);
    const Preferences& preferences() const { return _preferences; }
    float cameraRotationSensitivity() const { return _preferences.cameraRotationSensitivity; }
    float cameraPanSensitivity() const { return _preferences.cameraPanSensitivity; }

    // Framebuffer pixels per window unit (2 on a high-density display).
    Vector2 contentScale() const { return _contentScale; }
    void setContentScale(Vector2 scale) { _contentScale = scale; }

    // The application's window; null when running headless.
    GLFWwindow* window() const { return _window; }
    void setWindow(GLFWwindow* window) { _window = window; }

private:
    ProjectFile* _project{};
    ChangeManager* _changeManager{};
    AssetCompiler* _assetCompiler{};
    ThumbnailManager* _thumbnails{};
    EditorData* _editorData{};
    Ui _ui;
    Preferences _preferences;
    std::deque<std::unique_ptr<Progress>> _progress;
    std::array<bool, SwitchCount> _switches{};
    Vector2 _contentScale{1.0f, 1.0f};
    GLFWwindow* _window{};
    bool _simulating{}, _baking{};
};

}
