#pragma once
// The open project: one JSON document holding every record, the folder it lives in, its cache
// folder, the revision counters that tell the engine side what changed, and the runtime data
// (imported scenes, decoded images) resolved for records.
#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <typeindex>
#include <unordered_map>
#include <utility>
#include <vector>

#include "Editor/Project/Access.h"

namespace ArdentisEngine {

template<class Record> class ResourceSection;

// What an edit touched, for incremental rebuilds. At most twenty categories, one per scene stamp.
enum class ChangeCategory: std::uint8_t {
    Objects, Meshes, Materials, Textures, Images, Shaders, Fonts, Animations, Files,
    Lights, Texts, EnvironmentSettings, RenderSettings, EnvironmentProbe, ProbeVolume,
    Physics, ImageSettings, Settings,
    Count
};
static_assert(std::size_t(ChangeCategory::Count) <= 20);
using ChangeCategories = std::uint32_t;
constexpr ChangeCategories categoryBit(ChangeCategory c) { return 1u << unsigned(c); }

class ProjectFile {
public:
    static constexpr const char* FileName = "project.ardentis.json";
    static constexpr const char* CacheFolder = "cache";
    static constexpr const char* Format = "ardentis-project";
    static constexpr std::uint32_t Version = 1;
    // Record sections, in the order the format document lists them.
    static const std::array<const char*, 10> Sections;

    // An empty project that lives nowhere until create() or load().
    ProjectFile();
    ProjectFile(const ProjectFile&) = delete;
    ProjectFile& operator=(const ProjectFile&) = delete;

    // Makes folder (and its parents) a new empty project and writes its file. A folder that already
    // holds a project is left alone.
    bool create(std::string_view folder);
    // Opens the project in folder, or the project file itself. A broken or foreign file is
    // reported with the file and the JSON location and leaves this project as it was.
    bool load(std::string_view path);
    // Replaces the records with those in text, checked as load() checks a file; name is used in
    // messages. The folder stays.
    bool loadText(std::string_view text, std::string_view name);
    // Writes beside the project file, then renames over it: a failed save leaves the old file.
    bool save();
    // The bytes save() writes.
    std::string text() const;

    const std::string& folder() const { return _folder; }
    std::string filePath() const;
    std::string cachePath() const;
    // Creates the cache folder when missing; false (with a message) when it cannot be made.
    bool makeCachePath() const;
    // path (absolute, or relative to the project folder) as a normalised path relative to the
    // project folder; empty, with a message unless report is false, when it points outside.
    std::optional<std::string> relativePath(std::string_view path, bool report = true) const;
    std::string absolutePath(std::string_view relative) const;

    // The member of object named key, or nullptr. Large objects (the record sections) are looked
    // up through an index kept here, so that reaching a record costs the same in a project of ten
    // objects as in one of ten thousand. The index checks every hit and rebuilds itself when the
    // object changed, so writing to the document directly is safe.
    const JsonValue::Member* findMember(const JsonValue& object, std::string_view key) const;
    JsonValue::Member* findMember(JsonValue& object, std::string_view key) const {
        return const_cast<JsonValue::Member*>(findMember(std::as_const(object), key));
    }

    // Keep the lookup index of object in step with an edit made through the undo service: a member
    // added (and moved to position), or the member at position erased.
    void memberAdded(const JsonValue& object, std::size_t position) const;
    void memberErased(const JsonValue& object, std::size_t position, std::string_view key) const;

    JsonDocument& document() { return _document; }
    const JsonDocument& document() const { return _document; }
    RecordAccess root() { return {*this, ""}; }
    RecordAccess settings() { return {*this, "/settings"}; }
    template<class Record> ResourceSection<Record> section();

    // Bumped by every applied edit (including undo and redo) and by load.
    std::uint32_t revision() const { return _revision; }
    // The revision at which a category last changed.
    std::uint32_t stamp(ChangeCategory category) const { return _stamps[std::size_t(category)]; }
    const std::array<std::uint32_t, 20>& stamps() const { return _stamps; }
    // Categories an edit at path touches (reads the document to tell a light component from a mesh).
    ChangeCategories categoriesOf(std::string_view path) const;
    // Called by the undo service after it changed the value at path.
    void touched(std::string_view path, ChangeCategories extra = 0);

    using ChangeListener = std::function<void(std::string_view path, ChangeCategories)>;
    // Listeners see every edit after it is applied; load reports the root path and all categories.
    int addChangeListener(ChangeListener listener);
    void removeChangeListener(int handle);
    // Expires when the project is destroyed: listeners that may outlive it check it before
    // removing themselves.
    std::weak_ptr<const void> lifetime() const { return _lifetime; }

    // Runtime data of a record, typed; replaced or dropped by the importer and compiler.
    template<class T> void setData(const char* section, ResourceId id, std::shared_ptr<T> data) const {
        _data.insert_or_assign(std::pair<std::string, std::uint32_t>{section, id.value},
            std::pair<std::shared_ptr<void>, std::type_index>{std::move(data), std::type_index(typeid(T))});
    }
    // Asks the data resolver (when there is one) for data not made yet.
    template<class T> T* data(const char* section, ResourceId id) const {
        auto found = _data.find({section, id.value});
        if(found == _data.end() && _resolver && _resolver(const_cast<ProjectFile&>(*this), section, id))
            found = _data.find({section, id.value});
        if(found == _data.end() || found->second.second != std::type_index(typeid(T))) return nullptr;
        return static_cast<T*>(found->second.first.get());
    }
    void removeData(const char* section, ResourceId id) { _data.erase({section, id.value}); }
    // Makes a record's runtime data on first request (the importer installs one: opening a project
    // then imports each file only when something asks for its data). Returns whether it set data.
    using DataResolver = std::function<bool(ProjectFile& project, std::string_view section, ResourceId id)>;
    void setDataResolver(DataResolver resolver) { _resolver = std::move(resolver); }
    bool hasDataResolver() const { return bool(_resolver); }

private:
    bool adopt(JsonDocument& document, std::string_view name);
    void touchAll();

    std::string _folder;
    JsonDocument _document;
    std::uint32_t _revision = 0;
    std::array<std::uint32_t, 20> _stamps{};
    std::vector<std::pair<int, ChangeListener>> _listeners;
    std::shared_ptr<const void> _lifetime = std::make_shared<int>(0);
    int _nextListener = 1;
    // Runtime data is a cache of what the records describe, so lookups may fill it.
    mutable std::map<std::pair<std::string, std::uint32_t>, std::pair<std::shared_ptr<void>, std::type_index>> _data;
    DataResolver _resolver;
    struct MemberIndex {
        std::size_t memberCount = 0;
        std::unordered_map<std::string, std::size_t> positions;
    };
    mutable std::unordered_map<const JsonValue*, MemberIndex> _memberIndices;
};

// Checks that document is a project of ours: the format marker, sections of records keyed by ids,
// field types, file references inside the project. Returns "JSON pointer: reason" on failure.
std::optional<std::string> validateProject(const JsonValue& document);
// Checks one record of section (by its section name) as load does; path is used in the message.
std::optional<std::string> validateRecord(std::string_view section, const JsonValue& record, const std::string& path);
// Whether a project-relative path stays inside the project folder.
bool isInsideProject(std::string_view relativePath);

// The link resource that names a font installed on the system rather than a file of the project:
// {"file": "DejaVuSans.ttf", "resource": "system"}. The name is a bare file name, so a link can
// reach only the system font folders and never the rest of the disk.
constexpr std::string_view SystemFontResource = "system";
// The folders searched for system fonts, with their subfolders.
extern const std::array<const char*, 2> SystemFontFolders;
// Whether name can name a system font: a file name without folders, "..", or backslashes.
bool isSystemFontName(std::string_view name);
// The path of the system font of that exact file name; nothing when the name is not a bare file
// name or no system font folder holds it. Found in several places, the first path in sorted order
// wins, so the choice does not depend on directory order.
std::optional<std::string> findSystemFont(std::string_view name);

// The open project's folders, for code that has no project at hand.
struct WorkspaceData {
    static std::string projectPath();
    static std::string projectCachePath();
    static void setProjectPath(std::string path);
};

}

#include "Editor/Project/ResourceSection.h"
