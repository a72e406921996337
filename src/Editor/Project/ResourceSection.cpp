#include "Editor/Project/ResourceSection.h"

#include <algorithm>
#include <charconv>

namespace ArdentisEngine {

namespace {
const JsonValue* sectionValue(const ProjectFile& project, const char* name) {
    const JsonDocument& document = project.document();
    auto found = document.FindMember(name);
    return found == document.MemberEnd() || !found->value.IsObject() ? nullptr : &found->value;
}
}

std::vector<ResourceId> ProjectSection::resourceIds() const {
    std::vector<ResourceId> out;
    if(const JsonValue* section = sectionValue(*_project, _name))
        for(auto it = section->MemberBegin(); it != section->MemberEnd(); ++it) {
            std::uint32_t id = 0;
            const char* begin = it->name.GetString();
            auto [end, error] = std::from_chars(begin, begin + it->name.GetStringLength(), id);
            if(error == std::errc{} && id) out.emplace_back(id);
        }
    std::sort(out.begin(), out.end());
    return out;
}

bool ProjectSection::contains(ResourceId id) const { return id && record(id).exists(); }

ResourceId ProjectSection::resourceByName(std::string_view field, std::string_view value) const {
    for(ResourceId id: resourceIds()) {
        const ValueAccess<void> v = record(id).access(field);
        if(v.isValid<std::string_view>() && v.as<std::string_view>() == value) return id;
    }
    return ResourceId{};
}

ResourceId ProjectSection::nextId() const {
    const std::vector<ResourceId> ids = resourceIds();
    return ResourceId{ids.empty() ? 1u : ids.back().value + 1};
}

RecordAccess ProjectSection::record(ResourceId id) const {
    return {*_project, std::string{"/"} + _name + '/' + std::to_string(id.value)};
}

}
