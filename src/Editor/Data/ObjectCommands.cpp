#include "Editor/Data/ObjectCommands.h"

#include "Editor/Undo/ChangeManager.h"

namespace ArdentisEngine {

std::vector<ResourceId> selectedObjectRecords(EditorData& data) {
    std::vector<ResourceId> out;
    const Data::Scene& scene = data.scene().main();
    for(std::size_t object: data.selection()) {
        if(object == 0 || !scene.graph().isValid(Data::Id(object))) continue;
        if(const std::uint32_t record = scene.ids().nameOf(Data::Id(object))) out.emplace_back(record);
    }
    return out;
}

void deleteSelectedObjects(EditorData& data, ChangeManager& changes) {
    const std::vector<ResourceId> objects = selectedObjectRecords(data);
    if(deleteObjects(changes, objects)) data.selection().resize(0);
}

std::string copySelected(EditorData& data, bool trees) {
    const std::vector<ResourceId> objects = selectedObjectRecords(data);
    return copyObjects(data.projectFile(), objects, trees);
}

namespace {
std::optional<ResourceId> firstSelectedRecord(EditorData& data) {
    const std::vector<ResourceId> objects = selectedObjectRecords(data);
    if(objects.empty()) return std::nullopt;
    return objects.front();
}
}

std::vector<ResourceId> paste(EditorData& data, ChangeManager& changes, std::string_view text) {
    ResourceId parent;
    if(const std::optional<ResourceId> first = firstSelectedRecord(data))
        parent = data.projectFile().section<ObjectRecord>()[*first][Model::Object::Parent].value();
    return pasteObjects(changes, text, parent);
}

std::vector<ResourceId> pasteChild(EditorData& data, ChangeManager& changes, std::string_view text) {
    return pasteObjects(changes, text, firstSelectedRecord(data).value_or(ResourceId{}));
}

std::vector<ResourceId> duplicate(EditorData& data, ChangeManager& changes, bool trees) {
    const std::vector<ResourceId> objects = selectedObjectRecords(data);
    return duplicateObjects(changes, objects, trees);
}

void selectObjects(EditorData& data, std::span<const ResourceId> objects, bool add, bool toggle) {
    if(!add) data.selection().resize(0);
    // Asking again sizes the emptied set back to the scene.
    BitSet& selection = data.selection();
    const Data::Scene& scene = data.scene().main();
    for(ResourceId record: objects) {
        const Data::Id object = scene.ids().find(record.value);
        if(object == Data::InvalidId || object >= selection.size()) continue;
        if(toggle) selection.set(object, !selection.isSet(object));
        else selection.set(object);
    }
}

bool isSimulatedRigidBody(const Data::Scene& scene, Data::Id object) {
    return scene.graph().isValid(object) && scene.physics().isSimulated(object);
}

}
