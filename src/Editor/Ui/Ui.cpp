#include "Editor/Ui/Ui.h"

#include <algorithm>
#include <cstring>

#include <imgui.h>
#include <imgui_internal.h>

#include "Editor/Undo/ChangeManager.h"
#include "Gfx/Assert.h"
#include "Gfx/Log.h"

namespace ArdentisEngine {

namespace {

std::string bindingKey(std::string_view group, std::string_view name) {
    std::string key{group};
    key += '/';
    key += name;
    return key;
}

}

std::string_view resourceTypeName(ResourceType type) {
    switch(type) {
        case ResourceType::None: return "none";
        case ResourceType::Mesh: return "mesh";
        case ResourceType::Image: return "image";
        case ResourceType::Animation: return "animation";
        case ResourceType::Font: return "font";
        case ResourceType::Texture: return "texture";
        case ResourceType::File: return "file";
        case ResourceType::Material: return "material";
        case ResourceType::Shader: return "shader";
        case ResourceType::Pipeline: return "pipeline";
        case ResourceType::Object: return "object";
        case ResourceType::Count: break;
    }
    return {};
}

Ui::Ui() {
    constexpr ShortcutFlags flags = ShortcutFlag::Rebindable | ShortcutFlag::IgnoredWhileTyping;
    // In Shortcuts order.
    _editorShortcuts = {
        {"Undo", chord(Key::Z, KeyMod::Ctrl), ShortcutScope::Anywhere, flags},
        {"Redo", chord(Key::Z, KeyMod::Ctrl | KeyMod::Shift), ShortcutScope::Anywhere, flags},
        {"Save", chord(Key::S, KeyMod::Ctrl), ShortcutScope::Anywhere, flags},
        {"Delete selection", chord(Key::Delete), ShortcutScope::FocusedWindow, flags},
        {"Cancel", chord(Key::Escape), ShortcutScope::FocusedWindow, flags},
        {"Redo (alternative)", chord(Key::Y, KeyMod::Ctrl), ShortcutScope::Anywhere, flags},
    };
    AE_ASSERT(_editorShortcuts.size() == std::size_t(Shortcuts::Count));
    for(Shortcut& s: _editorShortcuts) s.bind(&_dispatcher, this);
    registerShortcutTable(EditorGroup, _editorShortcuts);
}

Shortcut& Ui::shortcut(Shortcuts id) {
    AE_ASSERT(int(id) >= 0 && int(id) < int(Shortcuts::Count));
    return _editorShortcuts[std::size_t(id)];
}

void Ui::registerShortcutTable(std::string_view group, std::vector<Shortcut>& shortcuts) {
    unregisterShortcutTable(shortcuts);
    _tables.push_back({std::string{group}, &shortcuts});
    applyBindings(group, shortcuts);
}

void Ui::unregisterShortcutTable(const std::vector<Shortcut>& shortcuts) {
    std::erase_if(_tables, [&](const ShortcutTable& t) { return t.shortcuts == &shortcuts; });
}

void Ui::setBindings(std::map<std::string, std::string>* bindings) {
    _bindings = bindings;
    for(ShortcutTable& table: _tables) applyBindings(table.group, *table.shortcuts);
}

void Ui::applyBindings(std::string_view group, std::vector<Shortcut>& shortcuts) {
    if(!_bindings) return;
    for(Shortcut& s: shortcuts) {
        const auto found = _bindings->find(bindingKey(group, s.name()));
        if(found == _bindings->end()) continue;
        const std::optional<KeyChord> parsed = parseChord(found->second);
        if(!parsed) {
            Log::error("Preferences: \"{}\" is not a key chord for shortcut {}/{}, keeping {}",
                       found->second, group, s.name(), s.chordName());
            continue;
        }
        s.setChord(*parsed);
    }
}

void Ui::rebind(std::string_view group, Shortcut& shortcut, KeyChord chord) {
    shortcut.setChord(chord);
    if(!_bindings) return;
    const std::string key = bindingKey(group, shortcut.name());
    if(chord == shortcut.defaultChord())
        _bindings->erase(key);
    else
        (*_bindings)[key] = std::string{shortcut.chordName()};
}

std::vector<const Shortcut*> Ui::conflicts(KeyChord chord, const Shortcut* except) const {
    std::vector<const Shortcut*> found;
    for(const ShortcutTable& table: _tables)
        for(const Shortcut& s: *table.shortcuts)
            if(&s != except && s.chord() == chord) found.push_back(&s);
    return found;
}

void Ui::requestObjectPick(std::string_view requester) {
    _pickRequester = requester;
    _pickedObject.clear();
    _pickPending = true;
    _picked = false;
}

void Ui::setPickedObject(std::string_view name) {
    if(!_pickPending) return;
    _pickedObject = name;
    _pickPending = false;
    _picked = true;
}

void Ui::cancelObjectPick() {
    _pickPending = false;
    _picked = false;
    _pickRequester.clear();
}

std::optional<std::string> Ui::takePickedObject(std::string_view requester) {
    if(!_picked || requester != _pickRequester) return std::nullopt;
    _picked = false;
    _pickRequester.clear();
    return std::move(_pickedObject);
}

namespace {

// "translation##/objects/3/translation": the key shows, the full path keeps ids apart.
std::string valueLabel(const ValueAccess<void>& value) { return value.key() + "##" + value.path(); }

}

template<class T> void Ui::record(const ValueAccess<void>& value, const T& newValue, bool continuing) {
    if(!_changes) {
        Log::error("Ui: no project is open, the edit of {} is dropped", value.path());
        return;
    }
    // An edit that spans frames (typing, dragging) merges into one step of the group its widget
    // started when it was activated; a one-off edit is a step of its own.
    if(!continuing) _changes->startChangeGroup();
    _changes->pushChange(value, newValue, continuing);
    _changes->commit();
}

void Ui::startGroupOnActivation() {
    if(_changes && ImGui::IsItemActivated()) _changes->startChangeGroup();
}

bool Ui::inputText(const ValueAccess<void>& value) {
    const std::string stored = value.as<std::string>();
    std::array<char, 1024> buffer{};
    std::memcpy(buffer.data(), stored.data(), std::min(stored.size(), buffer.size() - 1));
    ImGui::InputText(valueLabel(value).c_str(), buffer.data(), buffer.size());
    // Text is written when the field lets go, so that one rename is one step.
    if(!ImGui::IsItemDeactivatedAfterEdit() || stored == buffer.data()) return false;
    record(value, std::string_view{buffer.data()}, false);
    return true;
}

bool Ui::inputFloat(const ValueAccess<void>& value, float min, float max, float step, float fastStep) {
    float f = value.as<float>();
    const bool edited = ImGui::InputFloat(valueLabel(value).c_str(), &f, step, fastStep, "%.3f");
    startGroupOnActivation();
    if(!edited) return false;
    f = std::clamp(f, min, max);
    if(value.exists() && value.as<float>() == f) return false;
    record(value, f, ImGui::IsItemActive());
    return true;
}

bool Ui::checkboxBits(const ValueAccess<void>& value, unsigned count, std::span<const std::string_view> labels) {
    AE_ASSERT(count <= 32);
    const std::uint32_t bits = value.as<std::uint32_t>();
    std::uint32_t result = bits;
    ImGui::PushID(value.path().c_str());
    ImGui::TextUnformatted(value.key().c_str());
    for(unsigned i = 0; i != count; ++i) {
        const std::string label = i < labels.size() ? std::string{labels[i]} : std::to_string(i);
        bool on = (bits >> i) & 1u;
        ImGui::PushID(int(i));
        if(ImGui::Checkbox(label.c_str(), &on)) result = on ? (result | (1u << i)) : (result & ~(1u << i));
        ImGui::PopID();
    }
    ImGui::PopID();
    if(result == bits) return false;
    record(value, result, false);
    return true;
}

bool Ui::selectGeneric(const ValueAccess<void>& value, std::span<const std::string_view> items) {
    const std::uint32_t index = value.as<std::uint32_t>();
    // A stored index past the list shows as its number rather than as another entry.
    const std::string current = index < items.size() ? std::string{items[index]} : "#" + std::to_string(index);
    std::uint32_t chosen = index;
    if(ImGui::BeginCombo(valueLabel(value).c_str(), current.c_str())) {
        for(std::uint32_t i = 0; i != items.size(); ++i) {
            const std::string item{items[i]};
            if(ImGui::Selectable(item.c_str(), i == index)) chosen = i;
        }
        ImGui::EndCombo();
    }
    if(chosen == index) return false;
    record(value, chosen, false);
    return true;
}

bool Ui::beginDragDropTargetWindow() {
    ImGuiWindow* window = ImGui::GetCurrentWindow();
    if(!window || window->SkipItems) return false;
    // A custom target over the inner rectangle: items inside the window stay targets of their own.
    return ImGui::BeginDragDropTargetCustom(window->InnerRect, window->ID);
}

std::string_view Ui::resourceToDragDropType(ResourceType type) {
    // Dear ImGui limits payload type names to 32 characters.
    switch(type) {
        case ResourceType::Mesh: return "RESOURCE_MESH";
        case ResourceType::Image: return "RESOURCE_IMAGE";
        case ResourceType::Animation: return "RESOURCE_ANIMATION";
        case ResourceType::Font: return "RESOURCE_FONT";
        case ResourceType::Texture: return "RESOURCE_TEXTURE";
        case ResourceType::File: return "RESOURCE_FILE";
        case ResourceType::Material: return "RESOURCE_MATERIAL";
        case ResourceType::Shader: return "RESOURCE_SHADER";
        case ResourceType::Pipeline: return "RESOURCE_PIPELINE";
        case ResourceType::Object: return "RESOURCE_OBJECT";
        case ResourceType::None:
        case ResourceType::Count: break;
    }
    return {};
}

std::vector<char> Ui::pathsToPayload(const std::vector<std::string>& paths) {
    std::vector<char> data;
    for(const std::string& path: paths) {
        data.insert(data.end(), path.begin(), path.end());
        data.push_back('\0');
    }
    return data;
}

std::vector<std::string_view> Ui::payloadToPaths(const void* data, int size) {
    std::vector<std::string_view> paths;
    const char* text = static_cast<const char*>(data);
    std::size_t start = 0;
    for(std::size_t i = 0; i < std::size_t(size > 0 ? size : 0); ++i) {
        if(text[i] != '\0') continue;
        if(i > start) paths.emplace_back(text + start, i - start);
        start = i + 1;
    }
    // A last path without its terminator still counts.
    if(start < std::size_t(size > 0 ? size : 0)) paths.emplace_back(text + start, std::size_t(size) - start);
    return paths;
}

bool Ui::resourceDragSource(ResourceType type, std::uint32_t id, std::string_view label) {
    const std::string_view payloadType = resourceToDragDropType(type);
    if(payloadType.empty() || !ImGui::BeginDragDropSource(ImGuiDragDropFlags_None)) return false;
    const std::string typeName{payloadType};
    ImGui::SetDragDropPayload(typeName.c_str(), &id, sizeof(id));
    ImGui::TextUnformatted(label.data(), label.data() + label.size());
    ImGui::EndDragDropSource();
    return true;
}

std::optional<std::uint32_t> Ui::acceptResource(ResourceType type) {
    const std::string typeName{resourceToDragDropType(type)};
    if(typeName.empty()) return std::nullopt;
    const ImGuiPayload* payload = ImGui::AcceptDragDropPayload(typeName.c_str());
    if(!payload || payload->DataSize != sizeof(std::uint32_t)) return std::nullopt;
    std::uint32_t id;
    std::memcpy(&id, payload->Data, sizeof(id));
    return id;
}

}
