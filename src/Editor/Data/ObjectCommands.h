#pragma once
// The host's object commands on the edited scene's selection: delete, copy, paste, duplicate and
// select. Each edit is one undo step. The app-taking forms are what views call
// (deleteSelectedObjects(app), paste(app, text), ...); they need only app.editorData() and
// app.changeManager().
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Editor/Data/EditorData.h"
#include "Editor/Project/ObjectClipboard.h"

namespace ArdentisEngine {

class ChangeManager;

// Project object ids of the selected objects of the main scene, in scene id order; objects not
// made from a project record are left out.
std::vector<ResourceId> selectedObjectRecords(EditorData& data);

void deleteSelectedObjects(EditorData& data, ChangeManager& changes);
std::string copySelected(EditorData& data, bool trees);
// Siblings of the first selected object (roots when nothing is selected).
std::vector<ResourceId> paste(EditorData& data, ChangeManager& changes, std::string_view text);
// Children of the first selected object (roots when nothing is selected).
std::vector<ResourceId> pasteChild(EditorData& data, ChangeManager& changes, std::string_view text);
std::vector<ResourceId> duplicate(EditorData& data, ChangeManager& changes, bool trees);
// Selects the main-scene objects made from these project objects: replacing the selection unless
// add, flipping each object's bit when toggle. Objects not in the scene yet are skipped.
void selectObjects(EditorData& data, std::span<const ResourceId> objects, bool add, bool toggle);
// Whether the physics simulation moves this object (a dynamic body).
bool isSimulatedRigidBody(const Data::Scene& scene, Data::Id object);

template<class App> concept EditorApplication = requires(App& app) {
    { app.editorData() } -> std::same_as<EditorData&>;
    { app.changeManager() } -> std::same_as<ChangeManager&>;
};

template<EditorApplication App> void deleteSelectedObjects(App& app) { deleteSelectedObjects(app.editorData(), app.changeManager()); }
template<EditorApplication App> std::string copySelected(App& app) { return copySelected(app.editorData(), false); }
template<EditorApplication App> std::string copySelectedTrees(App& app) { return copySelected(app.editorData(), true); }
template<EditorApplication App> std::vector<ResourceId> paste(App& app, std::string_view text) {
    return paste(app.editorData(), app.changeManager(), text);
}
template<EditorApplication App> std::vector<ResourceId> pasteChild(App& app, std::string_view text) {
    return pasteChild(app.editorData(), app.changeManager(), text);
}
template<EditorApplication App> std::vector<ResourceId> duplicate(App& app) {
    return duplicate(app.editorData(), app.changeManager(), false);
}
template<EditorApplication App> std::vector<ResourceId> duplicateTrees(App& app) {
    return duplicate(app.editorData(), app.changeManager(), true);
}
template<EditorApplication App> void selectObjects(App& app, std::span<const ResourceId> objects, bool add, bool toggle) {
    selectObjects(app.editorData(), objects, add, toggle);
}

}
