#include "Gfx/Resource.h"

#include <algorithm>
#include <memory>

#include "Gfx/Assert.h"
#include "Gfx/Log.h"

namespace ArdentisEngine {

struct Implementation::ResourceGroup {
    std::string name;
    std::vector<ResourceFile> files;
};

namespace {

// Reached from static initialisers of other translation units, so it must be constructed on first
// use rather than in this file's own static initialisation.
std::vector<std::unique_ptr<Implementation::ResourceGroup>>& groups() {
    static std::vector<std::unique_ptr<Implementation::ResourceGroup>> instance;
    return instance;
}

const Implementation::ResourceGroup* findGroup(std::string_view name) {
    for(const auto& group: groups())
        if(group->name == name) return group.get();
    return nullptr;
}

}

void Implementation::registerResourceGroup(const char* group, const ResourceFile* files, std::size_t count) {
    if(findGroup(group)) {
        Log::error("Resource: the group {} is registered twice, keeping the first", group);
        return;
    }
    auto entry = std::make_unique<Implementation::ResourceGroup>();
    entry->name = group;
    entry->files.assign(files, files + count);
    groups().push_back(std::move(entry));
}

bool Resource::hasGroup(std::string_view group) { return findGroup(group) != nullptr; }

Resource::Resource(std::string_view group): _group{findGroup(group)} {
    AE_ASSERT(_group != nullptr);
}

const std::string& Resource::group() const { return _group->name; }

bool Resource::contains(std::string_view file) const {
    return std::ranges::any_of(_group->files, [&](const auto& f) { return file == f.name; });
}

std::string_view Resource::get(std::string_view file) const {
    for(const Implementation::ResourceFile& f: _group->files)
        if(file == f.name) return {f.begin, std::size_t(f.end - f.begin)};
    Log::error("Resource: there is no file {} in the group {}", file, _group->name);
    return {};
}

std::vector<std::string_view> Resource::list() const {
    std::vector<std::string_view> names;
    names.reserve(_group->files.size());
    for(const Implementation::ResourceFile& f: _group->files) names.emplace_back(f.name);
    return names;
}

}
