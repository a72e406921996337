#pragma once
// Files compiled into the program, in named groups. ardentis_add_resource_group() in
// cmake/EmbedResources.cmake embeds the files and registers the group from a static initialiser, so
// that every group is there before main() runs.
//
//   Resource shaders{"ArdentisEditorShaders"};
//   std::string_view source = shaders.get("OutlineDraw.frag");
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace ArdentisEngine {

namespace Implementation { struct ResourceGroup; }

class Resource {
public:
    static bool hasGroup(std::string_view group);

    // The group must exist (check with hasGroup when unsure): asking for a group nobody registered is
    // a fault of the build, not of user input.
    explicit Resource(std::string_view group);

    const std::string& group() const;
    // The file's bytes, valid for the life of the program and followed by a zero byte that isn't
    // counted, so that text can be handed to C APIs. A missing file logs one message and is empty.
    std::string_view get(std::string_view file) const;
    bool contains(std::string_view file) const;
    // File names in the order they were registered.
    std::vector<std::string_view> list() const;

private:
    const Implementation::ResourceGroup* _group;
};

namespace Implementation {

// One file of a group as the generated registration code lays it out.
struct ResourceFile {
    const char* name;
    const char* begin;
    const char* end;
};

// Called by generated code during static initialisation. Registering a name twice keeps the first
// group and reports the second.
void registerResourceGroup(const char* group, const ResourceFile* files, std::size_t count);

}

}
