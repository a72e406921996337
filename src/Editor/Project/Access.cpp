#include "Editor/Project/Access.h"

#include <charconv>

#include "Editor/Project/ProjectFile.h"
#include "Gfx/Assert.h"
#include "Gfx/Log.h"

namespace ArdentisEngine {

namespace {

// Walks a JSON pointer; nullptr when any segment is missing.
const JsonValue* lookUp(const ProjectFile& project, std::string_view path) {
    const JsonValue* current = &project.document();
    while(!path.empty()) {
        if(path[0] != '/') return nullptr;
        path.remove_prefix(1);
        const std::size_t slash = path.find('/');
        const std::string segment = unescapePathSegment(path.substr(0, slash));
        path = slash == std::string_view::npos ? std::string_view{} : path.substr(slash);
        if(current->IsObject()) {
            const JsonValue::Member* found = project.findMember(*current, segment);
            if(!found) return nullptr;
            current = &found->value;
        } else if(current->IsArray()) {
            std::size_t index = 0;
            auto [end, error] = std::from_chars(segment.data(), segment.data() + segment.size(), index);
            if(error != std::errc{} || end != segment.data() + segment.size() || index >= current->Size()) return nullptr;
            current = &(*current)[rapidjson::SizeType(index)];
        } else return nullptr;
    }
    return current;
}

}

ProjectFile& JsonAccess::project() const {
    AE_ASSERT(_project);
    return *_project;
}

const JsonValue* JsonAccess::json() const {
    if(!_project) return nullptr;
    return lookUp(*_project, _path);
}

std::size_t JsonAccess::size() const {
    const JsonValue* v = json();
    if(!v) return 0;
    if(v->IsArray()) return v->Size();
    if(v->IsObject()) return v->MemberCount();
    return 0;
}

std::string JsonAccess::key() const { return lastPathSegment(_path); }

FileLink JsonAccess::fileLink() const {
    const JsonValue* v = json();
    if(!v) return {};
    if(isValidJsonValue<FileLink>(*v)) return JsonReader::as<FileLink>(*v);
    if(v->IsObject())
        if(auto source = v->FindMember(Model::Mesh::Source.name); source != v->MemberEnd())
            return JsonReader::as<FileLink>(source->value);
    return {};
}

ValueAccess<void> ValueAccess<void>::access(std::string_view field) const {
    return {project(), _path + '/' + escapePathSegment(field)};
}

ValueAccess<void> ValueAccess<void>::access(std::size_t index) const {
    return {project(), _path + '/' + std::to_string(index)};
}

ValueAccess<void> ValueAccess<void>::operator[](std::string_view field) const {
    ValueAccess<void> child = access(field);
    if(!child.exists()) Log::error("operator[](StringView): Path does not exist: {}/{}", _path, field);
    return child;
}

ResourceId RecordAccess::id() const {
    const std::string key = this->key();
    std::uint32_t id = 0;
    std::from_chars(key.data(), key.data() + key.size(), id);
    return ResourceId{id};
}

}
