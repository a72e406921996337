#include "Editor/App/Panels/Outliner.h"

#include <cstring>

#include <imgui.h>

#include "Editor/App/ArdentisEditor.h"
#include "Editor/Project/ProjectFile.h"
#include "Editor/Ui/Icons.h"
#include "Editor/Ui/Ui.h"
#include "Editor/Undo/ChangeManager.h"

namespace ArdentisEngine {

const char* componentIcon(unsigned type) {
    switch(Model::ComponentType(type)) {
        case Model::ComponentType::Light: return Icons::Light;
        case Model::ComponentType::View: return Icons::Camera;
        case Model::ComponentType::Text: return Icons::Text;
        case Model::ComponentType::Mesh: return Icons::Mesh;
        case Model::ComponentType::Animation: return Icons::Animation;
        case Model::ComponentType::RigidBody: return Icons::Physics;
        case Model::ComponentType::Skin: return Icons::Person;
    }
    return Icons::Box;
}

const char* componentTypeName(unsigned type) {
    switch(Model::ComponentType(type)) {
        case Model::ComponentType::Light: return "Light";
        case Model::ComponentType::View: return "View";
        case Model::ComponentType::Text: return "Text";
        case Model::ComponentType::Mesh: return "Mesh";
        case Model::ComponentType::Animation: return "Animation";
        case Model::ComponentType::RigidBody: return "Rigid Body";
        case Model::ComponentType::Skin: return "Skin";
    }
    return "Unknown component";
}

void Outliner::draw(PanelContext& context) {
    _tree.rebuild(context.project);
    context.selection.prune([&](ResourceId id) { return _tree.find(id) != nullptr; });

    if(_tree.size() == 0) ImGui::TextDisabled("No objects");
    for(ResourceId root: _tree.roots()) drawNode(context, *_tree.find(root));

    // Dropping on the free space below the tree makes the object a root.
    ImGui::Dummy(ImGui::GetContentRegionAvail());
    if(ImGui::BeginDragDropTarget()) {
        if(const auto dropped = Ui::acceptResource(ResourceType::Object)) reparent(context, ResourceId{*dropped}, ResourceId{});
        ImGui::EndDragDropTarget();
    }
    if(ImGui::IsItemClicked() && !ImGui::GetIO().KeyCtrl && !ImGui::GetIO().KeyShift) context.selection.clear();

    // Right-click anywhere in the panel: new objects, at the root or below the first selected one.
    if(ImGui::BeginPopupContextWindow("outliner", ImGuiPopupFlags_MouseButtonRight)) {
        const std::optional<ResourceId> parent = context.selection.first();
        if(ImGui::MenuItem("New object")) addObject(context, ResourceId{});
        if(ImGui::MenuItem("New child object", nullptr, false, parent.has_value()) && parent) addObject(context, *parent);
        ImGui::EndPopup();
    }

    Ui& ui = context.editor.ui();
    if(ui.shortcut(Ui::Shortcuts::Delete).isTriggered() && !context.selection.empty()) {
        // Children go with their parent, as the tree shows them.
        const std::vector<ResourceId> doomed = _tree.withDescendants(context.selection.ids());
        const ResourceSection<ObjectRecord> objects = context.project.section<ObjectRecord>();
        for(auto it = doomed.rbegin(); it != doomed.rend(); ++it) context.changes.pushRemoval(objects[*it]);
        context.changes.commit();
        context.selection.clear();
    }
    if(ui.shortcut(Ui::Shortcuts::Cancel).isTriggered()) {
        if(_renaming) _renaming = ResourceId{};
        else context.selection.clear();
    }
}

void Outliner::drawNode(PanelContext& context, const ObjectNode& node) {
    ImGui::PushID(int(node.id.value));
    ImGuiTreeNodeFlags flags = ImGuiTreeNodeFlags_OpenOnArrow | ImGuiTreeNodeFlags_SpanAvailWidth |
                               ImGuiTreeNodeFlags_DefaultOpen;
    if(node.children.empty()) flags |= ImGuiTreeNodeFlags_Leaf;
    if(context.selection.contains(node.id)) flags |= ImGuiTreeNodeFlags_Selected;

    bool open;
    if(_renaming == node.id) {
        open = ImGui::TreeNodeEx("##node", flags | ImGuiTreeNodeFlags_AllowItemOverlap, "%s", "");
        ImGui::SameLine();
        if(_focusRename) {
            ImGui::SetKeyboardFocusHere();
            _focusRename = false;
        }
        ImGui::SetNextItemWidth(-1.0f);
        if(ImGui::InputText("##rename", _renameBuffer.data(), _renameBuffer.size(),
                            ImGuiInputTextFlags_EnterReturnsTrue | ImGuiInputTextFlags_AutoSelectAll))
            finishRename(context);
        else if(ImGui::IsItemDeactivated())
            finishRename(context);
    } else {
        const char* label = node.name.empty() ? "(unnamed)" : node.name.c_str();
        open = ImGui::TreeNodeEx("##node", flags, "%s", label);
        if(ImGui::IsItemClicked() && !ImGui::IsItemToggledOpen()) {
            const ImGuiIO& io = ImGui::GetIO();
            if(io.KeyCtrl) context.selection.toggle(node.id);
            else if(io.KeyShift) context.selection.add(node.id);
            else context.selection.select(node.id);
        }
        if(ImGui::IsItemHovered() && ImGui::IsMouseDoubleClicked(ImGuiMouseButton_Left)) {
            _renaming = node.id;
            std::strncpy(_renameBuffer.data(), node.name.c_str(), _renameBuffer.size() - 1);
            _focusRename = true;
        }
        Ui::resourceDragSource(ResourceType::Object, node.id.value, node.name);
        if(ImGui::BeginDragDropTarget()) {
            if(const auto dropped = Ui::acceptResource(ResourceType::Object)) reparent(context, ResourceId{*dropped}, node.id);
            ImGui::EndDragDropTarget();
        }
        // Component icons after the name.
        if(!node.componentTypes.empty()) {
            ImGui::SameLine();
            for(unsigned type: node.componentTypes) {
                ImGui::TextDisabled("%s", componentIcon(type));
                if(ImGui::IsItemHovered()) ImGui::SetTooltip("%s", componentTypeName(type));
                ImGui::SameLine(0.0f, 2.0f);
            }
            ImGui::NewLine();
        }
    }

    if(open) {
        for(ResourceId child: node.children) drawNode(context, *_tree.find(child));
        ImGui::TreePop();
    }
    ImGui::PopID();
}

void Outliner::addObject(PanelContext& context, ResourceId parent) {
    const ResourceSection<ObjectRecord> objects = context.project.section<ObjectRecord>();
    const ResourceId id = objects.nextId();
    JsonDocument record{rapidjson::kObjectType};
    record.AddMember("name", JsonValue{"Object"}, record.GetAllocator());
    if(parent) record.AddMember("parent", JsonValue{parent.value}, record.GetAllocator());
    context.changes.pushChange(objects[id], record);
    context.changes.commit();
    context.selection.select(id);
}

void Outliner::finishRename(PanelContext& context) {
    const ResourceId id = _renaming;
    _renaming = ResourceId{};
    const ObjectNode* node = _tree.find(id);
    if(!node || node->name == _renameBuffer.data()) return;
    const RecordAccess record = context.project.section<ObjectRecord>()[id];
    context.changes.pushChange(record[Model::Object::Name], std::string_view{_renameBuffer.data()});
    context.changes.commit();
}

void Outliner::reparent(PanelContext& context, ResourceId object, ResourceId parent) {
    const ObjectNode* node = _tree.find(object);
    // An object cannot go below itself or one of its own descendants.
    if(!node || node->parent == parent || (parent && _tree.isWithin(parent, object))) return;
    const RecordAccess record = context.project.section<ObjectRecord>()[object];
    if(parent) context.changes.pushChange(record[Model::Object::Parent], parent);
    else context.changes.pushRemoval(record[Model::Object::Parent]);
    context.changes.commit();
}

}
