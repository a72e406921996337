#pragma once
// Identifiers of project records. An id is unique within its section; 0 never names a record.
#include <compare>
#include <cstdint>
#include <functional>
#include <string>

namespace ArdentisEngine {

struct ResourceId {
    std::uint32_t value = 0;

    constexpr ResourceId() = default;
    constexpr explicit ResourceId(std::uint32_t id): value{id} {}
    constexpr explicit operator bool() const { return value != 0; }
    constexpr auto operator<=>(const ResourceId&) const = default;
};

// An id that remembers which section it belongs to, so that a material id cannot index textures.
template<class Record> struct TypedResourceId: ResourceId {
    constexpr TypedResourceId() = default;
    constexpr explicit TypedResourceId(std::uint32_t id): ResourceId{id} {}
    constexpr explicit TypedResourceId(ResourceId id): ResourceId{id} {}
};

// A reference from a record to a resource inside one of the project's source files: the file
// (relative to the project folder) and the resource's name within it (may be empty).
struct FileLink {
    std::string file;
    std::string resource;

    const std::string& fileName() const { return file; }
    const std::string& resourceName() const { return resource; }
    bool operator==(const FileLink&) const = default;
};

class ImportedSceneCache;
struct MeshData;
namespace Data { struct AnimationData; }

// Record kinds: each names its section in the project file. Data is what resolveData() hands out
// once the record's source has been imported or compiled.
struct ObjectRecord { static constexpr const char* Section = "objects"; };
struct MeshRecord {
    static constexpr const char* Section = "meshes";
    using Data = MeshData;
};
struct MaterialRecord { static constexpr const char* Section = "materials"; };
struct TextureRecord { static constexpr const char* Section = "textures"; };
struct ImageRecord { static constexpr const char* Section = "images"; };
struct ShaderRecord { static constexpr const char* Section = "shaders"; };
struct PipelineRecord { static constexpr const char* Section = "pipelines"; };
struct FontRecord { static constexpr const char* Section = "fonts"; };
struct AnimationRecord {
    static constexpr const char* Section = "animations";
    using Data = ::ArdentisEngine::Data::AnimationData;
    struct Event { static constexpr const char* List = "events"; };
};
struct FileRecord {
    static constexpr const char* Section = "files";
    using Data = ImportedSceneCache;
};

}

template<> struct std::hash<ArdentisEngine::ResourceId> {
    std::size_t operator()(ArdentisEngine::ResourceId id) const noexcept { return id.value; }
};
