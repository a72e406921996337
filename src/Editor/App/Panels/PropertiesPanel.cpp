#include "Editor/App/Panels/PropertiesPanel.h"

#include <cstring>

#include <imgui.h>

#include "Editor/App/ArdentisEditor.h"
#include "Editor/App/Panels/Outliner.h"
#include "Editor/Project/ProjectFile.h"
#include "Editor/Ui/Icons.h"
#include "Editor/Ui/Ui.h"
#include "Editor/Undo/ChangeManager.h"

namespace ArdentisEngine {

namespace {

// Called right after a widget that can edit over several frames: its edits from activation to
// release form one change group, so that they merge into one step and nothing older.
bool tracked(PanelContext& context, bool changed) {
    if(ImGui::IsItemActivated()) context.changes.startChangeGroup();
    return changed;
}

}

template<class T> void PropertiesPanel::edit(PanelContext& context, const ValueAccess<void>& target, const T& value) {
    // A change while the widget is released (a typed value confirmed) is a step of its own.
    const bool continuing = ImGui::IsItemActive();
    if(!continuing) context.changes.startChangeGroup();
    context.changes.pushChange(target, value, continuing);
    context.changes.commit();
}

void PropertiesPanel::draw(PanelContext& context) {
    const std::optional<ResourceId> selected = context.selection.first();
    const ResourceSection<ObjectRecord> objects = context.project.section<ObjectRecord>();
    if(!selected || !objects.contains(*selected)) {
        ImGui::TextDisabled("Select an object in the outliner or a view");
        _shown = ResourceId{};
        return;
    }
    const RecordAccess record = objects[*selected];
    if(context.selection.ids().size() > 1)
        ImGui::TextDisabled("%zu objects selected; showing the first", context.selection.ids().size());

    // Name: the buffer follows the record unless the user is typing in it.
    const std::string name = record[Model::Object::Name].value();
    if(_shown != *selected || (_nameShown != name && !ImGui::IsAnyItemActive())) {
        _shown = *selected;
        _nameShown = name;
        std::strncpy(_nameBuffer.data(), name.c_str(), _nameBuffer.size() - 1);
        _nameBuffer.back() = '\0';
    }
    ImGui::AlignTextToFramePadding();
    ImGui::TextUnformatted("Name");
    ImGui::SameLine(90.0f);
    ImGui::SetNextItemWidth(-1.0f);
    ImGui::InputText("##name", _nameBuffer.data(), _nameBuffer.size());
    if(ImGui::IsItemDeactivatedAfterEdit() && name != _nameBuffer.data()) {
        context.changes.pushChange(record[Model::Object::Name], std::string_view{_nameBuffer.data()});
        context.changes.commit();
        _nameShown = _nameBuffer.data();
    }

    bool active = record[Model::Object::Active].value();
    if(ImGui::Checkbox("Active", &active)) {
        context.changes.pushChange(record[Model::Object::Active], active);
        context.changes.commit();
    }

    if(ImGui::CollapsingHeader("Transformation", ImGuiTreeNodeFlags_DefaultOpen)) drawTransform(context, record);

    const ValueAccess<void> components = record.access(Model::Object::Components);
    const std::size_t count = components.size();
    for(std::size_t i = 0; i != count; ++i) drawComponent(context, components.access(i), i);

    // A new component starts with only its type; every other field reads as its default until set.
    ImGui::Spacing();
    ImGui::SetNextItemWidth(-1.0f);
    if(ImGui::BeginCombo("##add", "Add component...")) {
        for(unsigned type = unsigned(Model::ComponentType::Light); type <= unsigned(Model::ComponentType::Skin); ++type) {
            const std::string label = std::string{componentIcon(type)} + "  " + componentTypeName(type);
            if(!ImGui::Selectable(label.c_str())) continue;
            JsonDocument component{rapidjson::kObjectType};
            component.AddMember("type", JsonValue{type}, component.GetAllocator());
            context.changes.pushChange(components.access(count), component);
            context.changes.commit();
        }
        ImGui::EndCombo();
    }
}

void PropertiesPanel::drawTransform(PanelContext& context, const RecordAccess& record) {
    ImGui::PushID("transform");
    const auto translation = record[Model::Object::Translation];
    Vector3 t = translation.value();
    ImGui::SetNextItemWidth(-90.0f);
    if(tracked(context, ImGui::DragFloat3("Translation", &t.x, 0.05f, 0.0f, 0.0f, "%.3f"))) edit(context, translation, t);

    // Shown as angles in degrees about X, Y and Z; stored as a quaternion.
    const auto rotation = record[Model::Object::Rotation];
    const Quaternion q = rotation.value();
    Vector3 angles = glm::degrees(glm::eulerAngles(q));
    ImGui::SetNextItemWidth(-90.0f);
    if(tracked(context, ImGui::DragFloat3("Rotation", &angles.x, 0.5f, 0.0f, 0.0f, "%.2f")))
        edit(context, rotation, glm::normalize(Quaternion{glm::radians(angles)}));

    const auto scaling = record[Model::Object::Scaling];
    Vector3 s = scaling.value();
    ImGui::SetNextItemWidth(-90.0f);
    if(tracked(context, ImGui::DragFloat3("Scaling", &s.x, 0.01f, 0.0f, 0.0f, "%.3f"))) edit(context, scaling, s);
    ImGui::PopID();
}

void PropertiesPanel::drawComponent(PanelContext& context, const ValueAccess<void>& component, std::size_t index) {
    const unsigned type = component[Model::Component::Type].value();
    ImGui::PushID(int(index));
    const std::string header = std::string{componentIcon(type)} + "  " + componentTypeName(type) + "###component";
    bool keep = true;
    if(ImGui::CollapsingHeader(header.c_str(), &keep, ImGuiTreeNodeFlags_DefaultOpen)) {
        const JsonValue* json = component.json();
        if(json && json->IsObject()) {
            // Members are read into a list first: an edit below may reallocate the object.
            std::vector<std::string> names;
            for(auto it = json->MemberBegin(); it != json->MemberEnd(); ++it)
                if(std::string_view{it->name.GetString()} != Model::Component::Type.name) names.emplace_back(it->name.GetString());
            for(const std::string& name: names) drawValue(context, component.access(name), name);
        }
    }
    if(!keep) {
        context.changes.pushRemoval(component);
        context.changes.commit();
    }
    ImGui::PopID();
}

bool PropertiesPanel::drawValue(PanelContext& context, const ValueAccess<void>& value, const std::string& name) {
    const JsonValue* json = value.json();
    if(!json) return false;
    ImGui::PushID(name.c_str());
    ImGui::SetNextItemWidth(-120.0f);
    bool changed = false;
    // Resource references take drops of their kind from the asset panel.
    const ResourceType dropType = name == Model::Component::Material.name ? ResourceType::Material
                                : name == Model::Component::Mesh.name ? ResourceType::Mesh
                                : name == Model::Component::Font.name ? ResourceType::Font
                                : name == Model::Component::Animation.name ? ResourceType::Animation
                                : ResourceType::None;
    if(json->IsBool()) {
        bool b = json->GetBool();
        if((changed = ImGui::Checkbox(name.c_str(), &b))) {
            context.changes.pushChange(value, b);
            context.changes.commit();
        }
    } else if(json->IsUint() && dropType != ResourceType::None) {
        ImGui::LabelText(name.c_str(), "%s %u", Icons::Link, json->GetUint());
        if(ImGui::BeginDragDropTarget()) {
            if(const auto dropped = Ui::acceptResource(dropType)) {
                context.changes.pushChange(value, ResourceId{*dropped});
                context.changes.commit();
                changed = true;
            }
            ImGui::EndDragDropTarget();
        }
    } else if(json->IsInt() || json->IsUint()) {
        int i = json->IsInt() ? json->GetInt() : int(json->GetUint());
        if(ImGui::InputInt(name.c_str(), &i) && (json->IsInt() || i >= 0)) {
            if(json->IsUint() && !json->IsInt()) context.changes.pushChange(value, std::uint32_t(i));
            else context.changes.pushChange(value, std::int32_t(i));
            context.changes.commit();
            changed = true;
        }
    } else if(json->IsNumber()) {
        float f = float(json->GetDouble());
        if((changed = tracked(context, ImGui::DragFloat(name.c_str(), &f, 0.01f)))) edit(context, value, f);
    } else if(json->IsString()) {
        std::array<char, 512> buffer{};
        std::strncpy(buffer.data(), json->GetString(), buffer.size() - 1);
        ImGui::InputText(name.c_str(), buffer.data(), buffer.size());
        if((changed = ImGui::IsItemDeactivatedAfterEdit())) {
            context.changes.pushChange(value, std::string_view{buffer.data()});
            context.changes.commit();
        }
    } else if(json->IsArray() && json->Size() == 3 && isValidJsonValue<Vector3>(*json)) {
        Vector3 v = JsonReader::as<Vector3>(*json);
        const bool colour = name.find("olor") != std::string::npos;
        changed = tracked(context, colour ? ImGui::ColorEdit3(name.c_str(), &v.x) : ImGui::DragFloat3(name.c_str(), &v.x, 0.01f));
        if(changed) edit(context, value, v);
    } else if(json->IsArray() && json->Size() == 4 && isValidJsonValue<Vector4>(*json)) {
        Vector4 v = JsonReader::as<Vector4>(*json);
        if((changed = tracked(context, ImGui::DragFloat4(name.c_str(), &v.x, 0.01f)))) edit(context, value, v);
    } else {
        // Lists of ids (skin joints) and file links are shown, not edited here.
        ImGui::LabelText(name.c_str(), "%s", json->IsArray() ? "(list)" : json->IsObject() ? "(record)" : "null");
    }
    ImGui::PopID();
    return changed;
}

}
