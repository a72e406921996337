#include "Editor/Project/ObjectClipboard.h"

#include <algorithm>
#include <map>
#include <set>

#include "Editor/Undo/ChangeManager.h"
#include "Gfx/Log.h"

namespace ArdentisEngine {

namespace {

constexpr const char* ClipboardFormat = "ardentis-objects";
constexpr std::uint32_t ClipboardVersion = 1;

// One pass over the section: looking each record up by id would make this quadratic.
std::map<std::uint32_t, std::vector<ResourceId>> childrenOf(ProjectFile& project) {
    std::map<std::uint32_t, std::vector<ResourceId>> children;
    auto objects = project.document().FindMember(ObjectRecord::Section);
    if(objects == project.document().MemberEnd() || !objects->value.IsObject()) return children;
    for(auto it = objects->value.MemberBegin(); it != objects->value.MemberEnd(); ++it) {
        const ResourceId id{std::uint32_t(std::strtoul(it->name.GetString(), nullptr, 10))};
        if(!id || !it->value.IsObject()) continue;
        auto parent = it->value.FindMember(Model::Object::Parent.name);
        children[parent != it->value.MemberEnd() && parent->value.IsUint() ? parent->value.GetUint() : 0].push_back(id);
    }
    for(auto& [parent, list]: children) std::sort(list.begin(), list.end());
    return children;
}

void collectTree(const std::map<std::uint32_t, std::vector<ResourceId>>& children, ResourceId id, std::vector<ResourceId>& out) {
    auto found = children.find(id.value);
    if(found == children.end()) return;
    for(ResourceId child: found->second) {
        out.push_back(child);
        collectTree(children, child, out);
    }
}

}

std::vector<ResourceId> objectDescendants(ProjectFile& project, ResourceId object) {
    std::vector<ResourceId> out;
    collectTree(childrenOf(project), object, out);
    return out;
}

std::string copyObjects(ProjectFile& project, std::span<const ResourceId> objects, bool trees) {
    auto section = project.section<ObjectRecord>();
    const auto children = trees ? childrenOf(project) : std::map<std::uint32_t, std::vector<ResourceId>>{};
    std::vector<ResourceId> order;
    std::set<std::uint32_t> taken;
    auto add = [&](ResourceId id) {
        if(section.contains(id) && taken.insert(id.value).second) order.push_back(id);
    };
    for(ResourceId id: objects) {
        add(id);
        if(trees) {
            std::vector<ResourceId> tree;
            collectTree(children, id, tree);
            for(ResourceId descendant: tree) add(descendant);
        }
    }
    if(order.empty()) return {};

    JsonDocument fragment;
    fragment.SetObject();
    auto& a = fragment.GetAllocator();
    fragment.AddMember("format", JsonValue{ClipboardFormat, a}, a);
    fragment.AddMember("version", JsonValue{ClipboardVersion}, a);
    JsonValue list{rapidjson::kArrayType};
    for(ResourceId id: order) {
        const RecordAccess record = section[id];
        JsonValue entry{rapidjson::kObjectType};
        entry.AddMember("id", JsonValue{id.value}, a);
        entry.AddMember("parent", JsonValue{record[Model::Object::Parent].value().value}, a);
        JsonValue copy;
        copy.CopyFrom(*record.json(), a);
        copy.RemoveMember(Model::Object::Parent.name);
        entry.AddMember("record", copy, a);
        list.PushBack(entry, a);
    }
    fragment.AddMember("objects", list, a);
    return writeJson(fragment);
}

std::vector<ResourceId> pasteObjects(ChangeManager& changes, std::string_view text, std::optional<ResourceId> parent) {
    if(text.find_first_not_of(" \t\r\n") == std::string_view::npos) return {};
    JsonDocument fragment;
    std::string error;
    auto refuse = [](std::string_view why) {
        Log::error("Nothing to paste: the clipboard does not hold copied objects ({})", why);
        return std::vector<ResourceId>{};
    };
    if(!parseJson(text, fragment, error)) return refuse(error);
    if(!fragment.IsObject() || !fragment.HasMember("format") || !fragment["format"].IsString() ||
       std::string_view{fragment["format"].GetString()} != ClipboardFormat)
        return refuse("not an object fragment");
    if(!fragment.HasMember("version") || !fragment["version"].IsUint() || fragment["version"].GetUint() > ClipboardVersion)
        return refuse("unknown fragment version");
    if(!fragment.HasMember("objects") || !fragment["objects"].IsArray()) return refuse("no object list");

    // Check everything before changing anything, so that a bad fragment adds nothing.
    const JsonValue& list = fragment["objects"];
    std::set<std::uint32_t> copiedIds;
    for(rapidjson::SizeType i = 0; i != list.Size(); ++i) {
        const JsonValue& entry = list[i];
        const std::string path = "/objects/" + std::to_string(i);
        if(!entry.IsObject() || !entry.HasMember("id") || !entry["id"].IsUint() || !entry["id"].GetUint() ||
           !entry.HasMember("parent") || !entry["parent"].IsUint() || !entry.HasMember("record"))
            return refuse(path + " is not a copied object");
        if(auto invalid = validateRecord("objects", entry["record"], path + "/record")) return refuse(*invalid);
        if(!copiedIds.insert(entry["id"].GetUint()).second) return refuse(path + " repeats an id");
    }
    // A parent must come before its children, as copyObjects writes them.
    {
        std::set<std::uint32_t> seen;
        for(const JsonValue& entry: list.GetArray()) {
            const std::uint32_t p = entry["parent"].GetUint();
            if(copiedIds.count(p) && !seen.count(p)) return refuse("a child comes before its parent");
            seen.insert(entry["id"].GetUint());
        }
    }
    if(list.Empty()) return {};

    ProjectFile& project = changes.project();
    auto section = project.section<ObjectRecord>();
    std::map<std::uint32_t, ResourceId> newIds;
    ResourceId next = section.nextId();
    for(const JsonValue& entry: list.GetArray()) {
        newIds[entry["id"].GetUint()] = next;
        next = ResourceId{next.value + 1};
    }

    std::vector<ResourceId> created;
    changes.startChangeGroup();
    for(const JsonValue& entry: list.GetArray()) {
        const std::uint32_t oldParent = entry["parent"].GetUint();
        ResourceId newParent;
        if(auto found = newIds.find(oldParent); found != newIds.end()) newParent = found->second;
        else if(parent) newParent = *parent;
        else if(section.contains(ResourceId{oldParent})) newParent = ResourceId{oldParent};

        JsonDocument record;
        record.CopyFrom(entry["record"], record.GetAllocator());
        auto& a = record.GetAllocator();
        record.RemoveMember(Model::Object::Parent.name);
        if(newParent) record.AddMember(JsonValue{Model::Object::Parent.name, a}, JsonValue{newParent.value}, a);
        // Skin joints among the copied objects follow their copies.
        if(auto components = record.FindMember(Model::Object::Components); components != record.MemberEnd())
            for(JsonValue& component: components->value.GetArray())
                if(auto joints = component.FindMember(Model::Component::Joints); joints != component.MemberEnd())
                    for(JsonValue& joint: joints->value.GetArray())
                        if(auto mapped = newIds.find(joint.GetUint()); mapped != newIds.end()) joint.SetUint(mapped->second.value);

        const ResourceId id = newIds[entry["id"].GetUint()];
        changes.pushChange(section[id], record);
        created.push_back(id);
    }
    changes.commit();
    return created;
}

std::vector<ResourceId> duplicateObjects(ChangeManager& changes, std::span<const ResourceId> objects, bool trees) {
    const std::string text = copyObjects(changes.project(), objects, trees);
    if(text.empty()) return {};
    return pasteObjects(changes, text);
}

std::size_t deleteObjects(ChangeManager& changes, std::span<const ResourceId> objects) {
    ProjectFile& project = changes.project();
    auto section = project.section<ObjectRecord>();
    const auto children = childrenOf(project);
    std::vector<ResourceId> doomed;
    std::set<std::uint32_t> taken;
    for(ResourceId id: objects) {
        if(!section.contains(id) || !taken.insert(id.value).second) continue;
        doomed.push_back(id);
        std::vector<ResourceId> tree;
        collectTree(children, id, tree);
        for(ResourceId d: tree) if(taken.insert(d.value).second) doomed.push_back(d);
    }
    if(doomed.empty()) return 0;
    changes.startChangeGroup();
    // Children first, so that no state in between has an object without its parent.
    for(auto it = doomed.rbegin(); it != doomed.rend(); ++it) changes.pushRemoval(section[*it]);
    changes.commit();
    return doomed.size();
}

}
