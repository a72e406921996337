#pragma once
// Editor-wide data: the edited scene (its main engine scene, per-mesh data the views read), extra
// scenes that views make for previews, one selection bit set per scene, and the version counter
// that tells views the scene changed. Project edits reach the main scene's change stamps through
// the project's change listener.
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "Engine/BitSet.h"
#include "Engine/Scene.h"
#include "Editor/Project/ProjectFile.h"

namespace ArdentisEngine {

class EditorSceneData {
public:
    EditorSceneData();

    Data::Scene& main() { return *_main; }
    const Data::Scene& main() const { return *_main; }
    // Moves on every change of the scene or of the records it is compiled from.
    std::uint32_t version() const { return _version; }
    void bumpVersion() { ++_version; }

private:
    std::unique_ptr<Data::Scene> _main;
    std::uint32_t _version = 1;
};

class EditorData {
public:
    EditorData();
    explicit EditorData(ProjectFile& project);
    ~EditorData();
    EditorData(const EditorData&) = delete;
    EditorData& operator=(const EditorData&) = delete;

    // Follows project's edits from now on (replacing a previously attached project).
    void attachProject(ProjectFile& project);
    bool hasProject() const { return _project != nullptr; }
    ProjectFile& projectFile();

    EditorSceneData& scene() { return _scene; }
    const EditorSceneData& scene() const { return _scene; }

    // Extra scenes. Indices are reused after removal; the main scene has no index.
    std::uint16_t addScene();
    void removeScene(std::uint16_t index);
    bool hasScene(std::uint16_t index) const { return index < _scenes.size() && _scenes[index]; }
    Data::Scene& sceneAt(std::uint16_t index);
    // The scene at index, or the main scene when there is none.
    Data::Scene& scene(std::optional<std::uint16_t> index);
    std::size_t sceneCount() const;

    // The selection of the main scene, or of an extra scene; bit i set when object i is selected.
    // Sized to the scene graph's capacity on every access.
    BitSet& selection(std::optional<std::uint16_t> scene = std::nullopt);
    bool isSelected(Data::Id object) const;
    std::optional<Data::Id> firstSelectedObject() const;
    std::size_t selectedCount() const;

private:
    void detach();

    ProjectFile* _project = nullptr;
    std::weak_ptr<const void> _projectLifetime;
    int _listener = 0;
    EditorSceneData _scene;
    BitSet _mainSelection;
    std::vector<std::unique_ptr<Data::Scene>> _scenes;
    std::vector<BitSet> _selections;
};

}
