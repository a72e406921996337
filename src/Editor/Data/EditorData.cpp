#include "Editor/Data/EditorData.h"

#include "Editor/Import/Import.h"

#include "Gfx/Assert.h"

namespace ArdentisEngine {

EditorSceneData::EditorSceneData(): _main{std::make_unique<Data::Scene>()} {}

EditorData::EditorData() = default;

EditorData::EditorData(ProjectFile& project) { attachProject(project); }

EditorData::~EditorData() { detach(); }

void EditorData::detach() {
    if(_project && !_projectLifetime.expired()) _project->removeChangeListener(_listener);
    _project = nullptr;
    _listener = 0;
}

void EditorData::attachProject(ProjectFile& project) {
    detach();
    _project = &project;
    _projectLifetime = project.lifetime();
    // Views ask records for imported data (an animation's file hierarchy) right after opening.
    if(!project.hasDataResolver()) resolveImportedDataOnDemand(project);
    // The project's change categories and the scene's first categories share their values.
    _listener = project.addChangeListener([this](std::string_view, ChangeCategories categories) {
        _scene.main().markChanged(categories);
        _scene.bumpVersion();
    });
    _scene.main().markChanged((1u << unsigned(ChangeCategory::Count)) - 1);
    _scene.bumpVersion();
}

ProjectFile& EditorData::projectFile() {
    AE_ASSERT(_project && !_projectLifetime.expired());
    return *_project;
}

std::uint16_t EditorData::addScene() {
    for(std::size_t i = 0; i != _scenes.size(); ++i) if(!_scenes[i]) {
        _scenes[i] = std::make_unique<Data::Scene>();
        _selections[i] = BitSet{};
        return std::uint16_t(i);
    }
    AE_ASSERT(_scenes.size() < 0xffff);
    _scenes.push_back(std::make_unique<Data::Scene>());
    _selections.emplace_back();
    return std::uint16_t(_scenes.size() - 1);
}

void EditorData::removeScene(std::uint16_t index) {
    AE_ASSERT(hasScene(index));
    _scenes[index].reset();
    _selections[index] = BitSet{};
    while(!_scenes.empty() && !_scenes.back()) {
        _scenes.pop_back();
        _selections.pop_back();
    }
}

Data::Scene& EditorData::sceneAt(std::uint16_t index) {
    AE_ASSERT(hasScene(index));
    return *_scenes[index];
}

Data::Scene& EditorData::scene(std::optional<std::uint16_t> index) {
    return index ? sceneAt(*index) : _scene.main();
}

std::size_t EditorData::sceneCount() const {
    std::size_t count = 0;
    for(const auto& s: _scenes) count += s != nullptr;
    return count;
}

BitSet& EditorData::selection(std::optional<std::uint16_t> index) {
    if(index) AE_ASSERT(hasScene(*index));
    BitSet& bits = index ? _selections[*index] : _mainSelection;
    const std::size_t capacity = scene(index).graph().capacity();
    if(bits.size() < capacity) bits.resize(capacity);
    return bits;
}

bool EditorData::isSelected(Data::Id object) const { return _mainSelection.isSetSafe(object); }

std::optional<Data::Id> EditorData::firstSelectedObject() const {
    const std::optional<std::size_t> first = _mainSelection.findFirstSet();
    if(!first) return std::nullopt;
    return Data::Id(*first);
}

std::size_t EditorData::selectedCount() const { return _mainSelection.countSet(); }

}
