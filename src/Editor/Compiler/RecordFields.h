#pragma once
// Reading records straight from their JSON values. The compiler walks whole sections, and looking
// every field up from the document root again (as record handles do) would cost a search of the
// section per field.
#include <string_view>
#include <vector>

#include "Editor/Project/ProjectFile.h"

namespace ArdentisEngine::CompilerDetail {

struct Record {
    ResourceId id;
    const JsonValue* value;
};

// Light component fields the schema does not list yet; `castShadows` is the mesh component's.
struct LightShadow {
    static inline const Model::Field<float> Bias{"shadowBias", 0.005f};
    // Sun shadows reach this far from the camera at most.
    static inline const Model::Field<float> Distance{"shadowDistance", 100.0f};
};

// The section's records by ascending id; valid until the next edit of the project.
std::vector<Record> sectionRecords(const ProjectFile& project, std::string_view section);

// The member of an object value, or null.
inline const JsonValue* member(const JsonValue* value, std::string_view name) {
    if(!value || !value->IsObject()) return nullptr;
    const auto found = value->FindMember(JsonValue{rapidjson::StringRef(name.data(), rapidjson::SizeType(name.size()))});
    return found == value->MemberEnd() ? nullptr : &found->value;
}

// A field as the schema reads it: missing or of the wrong type gives its default.
template<class T> T read(const JsonValue* record, const Model::Field<T>& field) {
    const JsonValue* v = member(record, field.name);
    return v && isValidJsonValue<T>(*v) ? JsonReader::as<T>(*v) : field.defaultValue;
}

}
