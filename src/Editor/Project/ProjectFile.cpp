#include "Editor/Project/ProjectFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

#include "Gfx/Log.h"

namespace fs = std::filesystem;

namespace ArdentisEngine {

const std::array<const char*, 10> ProjectFile::Sections{
    "objects", "meshes", "materials", "textures", "images", "shaders", "pipelines", "fonts", "animations", "files"};

namespace {

std::string g_workspacePath;

void makeEmpty(JsonDocument& document) {
    document.SetObject();
    auto& a = document.GetAllocator();
    document.AddMember("format", JsonValue{ProjectFile::Format, a}, a);
    document.AddMember("version", JsonValue{ProjectFile::Version}, a);
    document.AddMember("settings", JsonValue{rapidjson::kObjectType}, a);
    for(const char* section: ProjectFile::Sections)
        document.AddMember(JsonValue{section, a}, JsonValue{rapidjson::kObjectType}, a);
}

// [SECTION] Validation

struct FieldCheck {
    const char* name;
    bool (*valid)(const JsonValue&);
    const char* expected;
    bool fileReference;
};

template<class T> const char* expectedName() {
    if constexpr(std::is_same_v<T, bool>) return "true or false";
    else if constexpr(std::is_same_v<T, std::uint32_t>) return "an unsigned integer";
    else if constexpr(std::is_same_v<T, float> || std::is_same_v<T, double>) return "a number";
    else if constexpr(std::is_same_v<T, std::string>) return "a string";
    else if constexpr(std::is_same_v<T, ResourceId>) return "a record id (unsigned integer)";
    else if constexpr(std::is_same_v<T, Vector3>) return "an array of 3 numbers";
    else if constexpr(std::is_same_v<T, Vector4>) return "an array of 4 numbers";
    else if constexpr(std::is_same_v<T, Quaternion>) return "an array of 4 numbers (x, y, z, w)";
    else if constexpr(std::is_same_v<T, FileLink>) return "a file link {\"file\": ..., \"resource\": ...}";
    else return "a value of another type";
}

template<class T> FieldCheck check(const Model::Field<T>& field, bool fileReference = false) {
    return {field.name, [](const JsonValue& v) { return isValidJsonValue<T>(v); }, expectedName<T>(), fileReference};
}

const JsonValue* findField(const JsonValue& record, std::string_view name) {
    const JsonValue* current = &record;
    while(!name.empty()) {
        const std::size_t slash = name.find('/');
        const std::string_view segment = name.substr(0, slash);
        if(!current->IsObject()) return nullptr;
        auto found = current->FindMember(JsonValue{rapidjson::StringRef(segment.data(), segment.size())});
        if(found == current->MemberEnd()) return nullptr;
        current = &found->value;
        name = slash == std::string_view::npos ? std::string_view{} : name.substr(slash + 1);
    }
    return current;
}

std::optional<std::string> checkFields(const JsonValue& record, const std::string& path,
    std::initializer_list<FieldCheck> checks)
{
    for(const FieldCheck& c: checks) {
        const JsonValue* v = findField(record, c.name);
        if(!v) continue;
        const std::string fieldPath = path + '/' + c.name;
        if(!c.valid(*v)) return fieldPath + ": expected " + c.expected;
        if(c.fileReference) {
            const std::string file = v->IsString() ? v->GetString() : (*v)["file"].GetString();
            if(!isInsideProject(file))
                return fieldPath + ": file \"" + file + "\" is outside the project folder";
        }
    }
    return {};
}

bool isRecordKey(std::string_view key) {
    if(key.empty() || key.size() > 9 || key[0] == '0') return false;
    for(char c: key) if(c < '0' || c > '9') return false;
    return true;
}

std::optional<std::string> checkObject(const JsonValue& record, const std::string& path) {
    using namespace Model;
    if(auto e = checkFields(record, path, {check(Object::Name), check(Object::Parent), check(Object::Translation),
        check(Object::Rotation), check(Object::Scaling), check(Object::Active)})) return e;
    auto components = record.FindMember(Object::Components);
    if(components == record.MemberEnd()) return {};
    const std::string listPath = path + '/' + Object::Components;
    if(!components->value.IsArray()) return listPath + ": expected an array of components";
    for(rapidjson::SizeType i = 0; i != components->value.Size(); ++i) {
        const JsonValue& c = components->value[i];
        const std::string cPath = listPath + '/' + std::to_string(i);
        if(!c.IsObject()) return cPath + ": expected a component object";
        if(!c.HasMember(Component::Type.name)) return cPath + ": component has no \"type\"";
        if(auto e = checkFields(c, cPath, {check(Component::Type), check(Component::Mesh), check(Component::Material),
            check(Component::CastShadows), check(Component::LightType), check(Component::Color),
            check(Component::Intensity), check(Component::Range), check(Component::InnerAngle),
            check(Component::OuterAngle), check(Component::FieldOfView), check(Component::Near), check(Component::Far),
            check(Component::Orthographic), check(Component::Text), check(Component::Font), check(Component::Size),
            check(Component::Animation), check(Component::Loop), check(Component::Speed), check(Component::BodyType),
            check(Component::Mass), check(Component::Shape), check(Component::HalfExtents), check(Component::Radius)}))
            return e;
        if(auto joints = c.FindMember(Component::Joints); joints != c.MemberEnd()) {
            if(!joints->value.IsArray()) return cPath + "/joints: expected an array of object ids";
            for(rapidjson::SizeType j = 0; j != joints->value.Size(); ++j)
                if(!joints->value[j].IsUint()) return cPath + "/joints/" + std::to_string(j) + ": expected an object id";
        }
    }
    return {};
}

std::optional<std::string> checkRecord(std::string_view section, const JsonValue& record, const std::string& path) {
    using namespace Model;
    if(section == "objects") return checkObject(record, path);
    if(section == "meshes") return checkFields(record, path, {check(Mesh::Name), check(Mesh::Source, true)});
    if(section == "materials") return checkFields(record, path, {check(Material::Name), check(Material::Pipeline)});
    if(section == "textures") return checkFields(record, path, {check(Texture::Name), check(Texture::Image),
        check(Texture::Repeat), check(Texture::Filter)});
    if(section == "images") return checkFields(record, path, {check(Image::Name), check(Image::File, true), check(Image::Compress)});
    if(section == "shaders") return checkFields(record, path, {check(Shader::Name), check(Shader::File, true),
        check(Shader::Kind), check(Shader::Role)});
    if(section == "pipelines") return checkFields(record, path, {check(Pipeline::Name), check(Pipeline::Shader),
        check(Pipeline::VertexShader), check(Pipeline::Transparent)});
    if(section == "fonts") {
        // The file is a path in the project or, as a link, a system font.
        if(auto file = record.FindMember(Font::File.name); file != record.MemberEnd() && file->value.IsObject()) {
            const std::string filePath = path + '/' + Font::File.name;
            if(!isValidJsonValue<FileLink>(file->value)) return filePath + ": expected " + expectedName<std::string>() +
                " or " + expectedName<FileLink>();
            const FileLink link = JsonReader::as<FileLink>(file->value);
            if(link.resource == SystemFontResource) {
                if(!isSystemFontName(link.file))
                    return filePath + ": system font \"" + link.file + "\" must be a file name without folders";
            } else if(!link.resource.empty())
                return filePath + ": unknown resource \"" + link.resource + "\" (fonts take \"" +
                    std::string{SystemFontResource} + "\" or none)";
            else if(!isInsideProject(link.file))
                return filePath + ": file \"" + link.file + "\" is outside the project folder";
            return checkFields(record, path, {check(Font::Name)});
        }
        return checkFields(record, path, {check(Font::Name), check(Font::File, true)});
    }
    if(section == "files") return checkFields(record, path, {check(File::FileName, true)});
    if(section == "animations") {
        if(auto e = checkFields(record, path, {check(Animation::Name), check(Animation::Source, true),
            check(Animation::RootMotionTarget), check(Animation::RootMotionTranslationAxes),
            check(Animation::RootMotionRotationAxes)})) return e;
        auto events = record.FindMember(Animation::Events);
        if(events == record.MemberEnd()) return {};
        const std::string listPath = path + '/' + Animation::Events;
        if(!events->value.IsArray()) return listPath + ": expected an array of events";
        for(rapidjson::SizeType i = 0; i != events->value.Size(); ++i) {
            const std::string ePath = listPath + '/' + std::to_string(i);
            if(!events->value[i].IsObject()) return ePath + ": expected an event object";
            if(auto e = checkFields(events->value[i], ePath, {check(AnimationEvent::Time), check(AnimationEvent::Name)})) return e;
        }
    }
    return {};
}

const std::vector<FieldCheck>& settingsChecks() {
    using S = Model::Settings;
    static const std::vector<FieldCheck> checks{check(S::PhysicsEnabled), check(S::Gravity), check(S::ClearColor),
        check(S::Near), check(S::Far), check(S::FieldOfView), check(S::Shadows), check(S::ShadowMapSize), check(S::PreZ), check(S::MultiDraw),
        check(S::FrustumCulling), check(S::Skinning), check(S::EnvironmentLighting), check(S::AmbientIntensity),
        check(S::AmbientTint), check(S::BloomEnabled), check(S::BloomFilterPasses), check(S::BloomThreshold),
        check(S::BloomIntensity), check(S::BloomExposure), check(S::BloomTonemapping), check(S::BloomWidth),
        check(S::EnvironmentEnabled), check(S::EnvironmentAutoBake), check(S::EnvironmentSource),
        check(S::EnvironmentImage, true), check(S::SkyMaterial), check(S::EnvironmentSize), check(S::EnvironmentFactor),
        check(S::TextureAtlasSize), check(S::CompressedTextureAtlasSize), check(S::CompressImages), check(S::MaxImageSize),
        check(S::ProbeVolumeEnabled), check(S::ProbeVolumePosition), check(S::ProbeVolumeRotation),
        check(S::ProbeVolumeScale), check(S::ProbeVolumeQuality), check(S::ProbeVolumeVoxelSize),
        check(S::ProbeVolumeMaxSubdivision), check(S::ProbeVolumeNormalOffset), check(S::ProbeVolumeTint),
        check(S::ProbeVolumeTintScale)};
    return checks;
}

std::optional<std::string> checkSettings(const JsonValue& settings) {
    for(const FieldCheck& c: settingsChecks())
        if(auto e = checkFields(settings, "/settings", {c})) return e;
    return {};
}

// Settings this editor does not know: kept, but worth telling about (a typo reads as the default).
std::vector<std::string> unknownSettings(const JsonValue& settings) {
    std::set<std::string> known, groups;
    for(const FieldCheck& c: settingsChecks()) {
        known.insert(c.name);
        groups.insert(std::string{c.name}.substr(0, std::string_view{c.name}.find('/')));
    }
    std::vector<std::string> out;
    for(auto group = settings.MemberBegin(); group != settings.MemberEnd(); ++group) {
        const std::string name{group->name.GetString(), group->name.GetStringLength()};
        if(!groups.count(name) || !group->value.IsObject()) {
            out.push_back("/settings/" + escapePathSegment(name));
            continue;
        }
        for(auto it = group->value.MemberBegin(); it != group->value.MemberEnd(); ++it) {
            const std::string field{it->name.GetString(), it->name.GetStringLength()};
            if(!known.count(name + '/' + field)) out.push_back("/settings/" + name + '/' + escapePathSegment(field));
        }
    }
    return out;
}

// Parents must exist and must not form a cycle, or the scene graph cannot be built.
std::optional<std::string> checkHierarchy(const JsonValue& objects) {
    std::map<std::uint32_t, std::uint32_t> parents;
    for(auto it = objects.MemberBegin(); it != objects.MemberEnd(); ++it) {
        auto parent = it->value.FindMember(Model::Object::Parent.name);
        parents[std::uint32_t(std::stoul(it->name.GetString()))] =
            parent == it->value.MemberEnd() ? 0 : parent->value.GetUint();
    }
    for(auto [id, parent]: parents) {
        const std::string path = "/objects/" + std::to_string(id) + "/parent";
        if(parent && !parents.count(parent)) return path + ": object " + std::to_string(parent) + " does not exist";
        std::uint32_t current = parent;
        for(std::size_t steps = 0; current; ++steps) {
            if(current == id || steps > parents.size()) return path + ": the parent chain forms a cycle";
            current = parents[current];
        }
    }
    return {};
}

}

std::optional<std::string> validateRecord(std::string_view section, const JsonValue& record, const std::string& path) {
    if(!record.IsObject()) return path + ": expected a record object";
    return checkRecord(section, record, path);
}

std::optional<std::string> validateProject(const JsonValue& document) {
    if(!document.IsObject()) return std::string{": expected a JSON object"};
    auto format = document.FindMember("format");
    if(format == document.MemberEnd() || !format->value.IsString() || std::strcmp(format->value.GetString(), ProjectFile::Format) != 0)
        return std::string{"/format: not a project file (expected \""} + ProjectFile::Format + "\")";
    auto version = document.FindMember("version");
    if(version == document.MemberEnd() || !version->value.IsUint())
        return std::string{"/version: expected an unsigned integer"};
    if(version->value.GetUint() > ProjectFile::Version)
        return "/version: version " + std::to_string(version->value.GetUint()) + " is newer than this editor reads (" +
            std::to_string(ProjectFile::Version) + ")";
    if(auto settings = document.FindMember("settings"); settings != document.MemberEnd()) {
        if(!settings->value.IsObject()) return std::string{"/settings: expected an object"};
        if(auto e = checkSettings(settings->value)) return e;
    }
    for(const char* section: ProjectFile::Sections) {
        auto found = document.FindMember(section);
        if(found == document.MemberEnd()) continue;
        const std::string path = std::string{"/"} + section;
        if(!found->value.IsObject()) return path + ": expected an object of records keyed by id";
        std::set<std::string> seen;
        for(auto it = found->value.MemberBegin(); it != found->value.MemberEnd(); ++it) {
            const std::string key{it->name.GetString(), it->name.GetStringLength()};
            const std::string recordPath = path + '/' + escapePathSegment(key);
            if(!isRecordKey(key)) return recordPath + ": record keys are ids, positive integers without leading zeros";
            if(!seen.insert(key).second) return recordPath + ": the id is used twice";
            if(!it->value.IsObject()) return recordPath + ": expected a record object";
            if(auto e = checkRecord(section, it->value, recordPath)) return e;
        }
        if(std::string_view{section} == "objects")
            if(auto e = checkHierarchy(found->value)) return e;
    }
    return {};
}

bool isInsideProject(std::string_view relativePath) {
    if(relativePath.empty()) return true;
    const fs::path path{relativePath};
    if(path.is_absolute() || path.has_root_name() || path.has_root_directory()) return false;
    // Backslashes would be separators on other systems; refuse them rather than guess.
    if(relativePath.find('\\') != std::string_view::npos) return false;
    const fs::path normal = path.lexically_normal();
    return normal.empty() || *normal.begin() != "..";
}

const std::array<const char*, 2> SystemFontFolders{"/usr/share/fonts/truetype", "/usr/share/fonts/opentype"};

bool isSystemFontName(std::string_view name) {
    return !name.empty() && name != "." && name != ".." && name.find_first_of("/\\") == std::string_view::npos;
}

std::optional<std::string> findSystemFont(std::string_view name) {
    if(!isSystemFontName(name)) return {};
    std::optional<std::string> found;
    for(const char* folder: SystemFontFolders) {
        std::error_code error;
        // Unreadable subfolders are skipped: fonts elsewhere in the tree still count.
        for(fs::recursive_directory_iterator it{folder, fs::directory_options::skip_permission_denied, error}, end;
            !error && it != end; it.increment(error))
        {
            if(it->path().filename() != name || !it->is_regular_file(error)) continue;
            const std::string path = it->path().string();
            if(!found || path < *found) found = path;
        }
        if(found) return found;
    }
    return {};
}

// [SECTION] ProjectFile

ProjectFile::ProjectFile() { makeEmpty(_document); }

std::string ProjectFile::filePath() const { return (fs::path{_folder}/FileName).string(); }
std::string ProjectFile::cachePath() const { return (fs::path{_folder}/CacheFolder).string(); }

bool ProjectFile::makeCachePath() const {
    std::error_code error;
    fs::create_directories(cachePath(), error);
    if(error) {
        Log::error("Cannot create the project cache folder {}: {}", cachePath(), error.message());
        return false;
    }
    return true;
}

std::optional<std::string> ProjectFile::relativePath(std::string_view path, bool report) const {
    fs::path p{path};
    std::string relative;
    if(p.is_absolute()) {
        const fs::path base = fs::path{_folder}.lexically_normal();
        relative = p.lexically_normal().lexically_relative(base).generic_string();
        if(relative.empty()) relative = "..";
    } else relative = p.lexically_normal().generic_string();
    if(relative.empty() || relative == "." || !isInsideProject(relative)) {
        if(report) Log::error("Refusing {}: it is outside the project folder {}", path, _folder);
        return {};
    }
    return relative;
}

std::string ProjectFile::absolutePath(std::string_view relative) const {
    return (fs::path{_folder}/fs::path{relative}).lexically_normal().string();
}

bool ProjectFile::create(std::string_view folder) {
    std::error_code error;
    if(fs::exists(fs::path{folder}/FileName, error)) {
        Log::error("Cannot create a project in {}: it already holds one", folder);
        return false;
    }
    fs::create_directories(fs::path{folder}, error);
    if(error) {
        Log::error("Cannot create project folder {}: {}", folder, error.message());
        return false;
    }
    const std::string previousFolder = _folder;
    _folder = fs::absolute(fs::path{folder}).lexically_normal().string();
    JsonDocument previous;
    previous.Swap(_document);
    makeEmpty(_document);
    if(!save()) {
        _document.Swap(previous);
        _folder = previousFolder;
        return false;
    }
    WorkspaceData::setProjectPath(_folder);
    _data.clear();
    touchAll();
    return true;
}

bool ProjectFile::load(std::string_view path) {
    fs::path file{path};
    std::error_code error;
    if(fs::is_directory(file, error)) file /= FileName;
    std::ifstream in{file, std::ios::binary};
    if(!in) {
        Log::error("Cannot load project {}: {}", file.string(), std::strerror(errno));
        return false;
    }
    std::ostringstream bytes;
    bytes << in.rdbuf();
    JsonDocument document;
    std::string parseError;
    if(!parseJson(bytes.str(), document, parseError)) {
        Log::error("Cannot load project {}: {}", file.string(), parseError);
        return false;
    }
    if(!adopt(document, file.string())) return false;
    _folder = fs::absolute(file).parent_path().lexically_normal().string();
    WorkspaceData::setProjectPath(_folder);
    _data.clear();
    return true;
}

bool ProjectFile::loadText(std::string_view text, std::string_view name) {
    JsonDocument document;
    std::string parseError;
    if(!parseJson(text, document, parseError)) {
        Log::error("Cannot load project {}: {}", name, parseError);
        return false;
    }
    return adopt(document, name);
}

bool ProjectFile::adopt(JsonDocument& document, std::string_view name) {
    if(auto error = validateProject(document)) {
        Log::error("Cannot load project {}: at {}", name, *error);
        return false;
    }
    if(auto settings = document.FindMember("settings"); settings != document.MemberEnd())
        for(const std::string& unknown: unknownSettings(settings->value))
            Log::error("Project {}: unknown setting {} is kept but not used", name, unknown);
    _document.Swap(document);
    touchAll();
    return true;
}

std::string ProjectFile::text() const { return writeJson(_document); }

bool ProjectFile::save() {
    if(_folder.empty()) {
        Log::error("Cannot save the project: it has no folder yet");
        return false;
    }
    const std::string target = filePath();
    const std::string temporary = target + ".tmp";
    const std::string bytes = text();
    std::FILE* out = std::fopen(temporary.c_str(), "wb");
    if(!out) {
        Log::error("Cannot save project {}: cannot write {}: {}", target, temporary, std::strerror(errno));
        return false;
    }
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), out) == bytes.size();
    const int writeErrno = errno;
    const bool closed = std::fclose(out) == 0;
    if(!written || !closed) {
        Log::error("Cannot save project {}: writing {} failed: {}", target, temporary, std::strerror(written ? errno : writeErrno));
        std::remove(temporary.c_str());
        return false;
    }
    if(std::rename(temporary.c_str(), target.c_str()) != 0) {
        Log::error("Cannot save project {}: {}", target, std::strerror(errno));
        std::remove(temporary.c_str());
        return false;
    }
    return true;
}

// [SECTION] Member lookup

const JsonValue::Member* ProjectFile::findMember(const JsonValue& object, std::string_view key) const {
    if(!object.IsObject()) return nullptr;
    const JsonValue name{rapidjson::StringRef(key.data(), key.size())};
    // Below this a linear search is as fast as hashing.
    constexpr std::size_t IndexedFrom = 64;
    if(object.MemberCount() < IndexedFrom) {
        auto found = object.FindMember(name);
        return found == object.MemberEnd() ? nullptr : &*found;
    }
    auto matches = [&](std::size_t position) {
        if(position >= object.MemberCount()) return false;
        const JsonValue& n = (object.MemberBegin() + position)->name;
        return std::string_view{n.GetString(), n.GetStringLength()} == key;
    };
    MemberIndex& index = _memberIndices[&object];
    for(int attempt = 0; attempt != 2; ++attempt) {
        if(index.memberCount == object.MemberCount()) {
            auto found = index.positions.find(std::string{key});
            if(found != index.positions.end() && matches(found->second)) return &*(object.MemberBegin() + found->second);
            // A key the index does not know, with an unchanged count: absent, or the members were
            // replaced behind our back. Only a linear search can tell.
            if(found == index.positions.end()) {
                auto linear = object.FindMember(name);
                if(linear == object.MemberEnd()) return nullptr;
            }
        }
        index.memberCount = object.MemberCount();
        index.positions.clear();
        index.positions.reserve(object.MemberCount());
        std::size_t position = 0;
        for(auto it = object.MemberBegin(); it != object.MemberEnd(); ++it, ++position)
            index.positions.emplace(std::string{it->name.GetString(), it->name.GetStringLength()}, position);
    }
    auto found = index.positions.find(std::string{key});
    return found != index.positions.end() && matches(found->second) ? &*(object.MemberBegin() + found->second) : nullptr;
}

void ProjectFile::memberAdded(const JsonValue& object, std::size_t position) const {
    auto found = _memberIndices.find(&object);
    if(found == _memberIndices.end()) return;
    MemberIndex& index = found->second;
    // Anything but exactly one new member since the index was made: let the next lookup rebuild it.
    if(index.memberCount + 1 != object.MemberCount() || position >= object.MemberCount()) {
        _memberIndices.erase(found);
        return;
    }
    for(auto& [key, at]: index.positions) if(at >= position) ++at;
    const JsonValue& name = (object.MemberBegin() + position)->name;
    index.positions[std::string{name.GetString(), name.GetStringLength()}] = position;
    ++index.memberCount;
}

void ProjectFile::memberErased(const JsonValue& object, std::size_t position, std::string_view key) const {
    auto found = _memberIndices.find(&object);
    if(found == _memberIndices.end()) return;
    MemberIndex& index = found->second;
    if(index.memberCount != object.MemberCount() + 1) {
        _memberIndices.erase(found);
        return;
    }
    index.positions.erase(std::string{key});
    for(auto& [name, at]: index.positions) if(at > position) --at;
    --index.memberCount;
}

// [SECTION] Revisions

ChangeCategories ProjectFile::categoriesOf(std::string_view path) const {
    auto next = [&path]() {
        if(path.empty()) return std::string{};
        path.remove_prefix(1);
        const std::size_t slash = path.find('/');
        std::string segment = unescapePathSegment(path.substr(0, slash));
        path = slash == std::string_view::npos ? std::string_view{} : path.substr(slash);
        return segment;
    };
    if(path.empty()) return (1u << unsigned(ChangeCategory::Count)) - 1;
    const std::string section = next();
    if(section == "settings") {
        const std::string group = next();
        if(group.empty())
            return categoryBit(ChangeCategory::Settings) | categoryBit(ChangeCategory::Physics) |
                categoryBit(ChangeCategory::RenderSettings) | categoryBit(ChangeCategory::EnvironmentSettings) |
                categoryBit(ChangeCategory::ImageSettings) | categoryBit(ChangeCategory::ProbeVolume);
        if(group == "physics") return categoryBit(ChangeCategory::Physics);
        if(group == "render" || group == "bloom") return categoryBit(ChangeCategory::RenderSettings);
        if(group == "environment") return categoryBit(ChangeCategory::EnvironmentSettings);
        if(group == "images") return categoryBit(ChangeCategory::ImageSettings);
        if(group == "probeVolume") return categoryBit(ChangeCategory::ProbeVolume);
        return categoryBit(ChangeCategory::Settings);
    }
    if(section == "objects") {
        ChangeCategories out = categoryBit(ChangeCategory::Objects);
        auto addComponent = [&out](const JsonValue& c) {
            if(!c.IsObject()) return;
            auto type = c.FindMember(Model::Component::Type.name);
            if(type == c.MemberEnd() || !type->value.IsUint()) return;
            switch(Model::ComponentType(type->value.GetUint())) {
                case Model::ComponentType::Light: out |= categoryBit(ChangeCategory::Lights); break;
                case Model::ComponentType::Text: out |= categoryBit(ChangeCategory::Texts); break;
                case Model::ComponentType::RigidBody: out |= categoryBit(ChangeCategory::Physics); break;
                default: break;
            }
        };
        const std::string id = next();
        const JsonValue* record = nullptr;
        if(const JsonValue::Member* objects = findMember(_document, "objects"); objects && !id.empty())
            if(const JsonValue::Member* found = findMember(objects->value, id)) record = &found->value;
        if(!record || !record->IsObject()) return out;
        auto components = record->FindMember(Model::Object::Components);
        if(components == record->MemberEnd() || !components->value.IsArray()) return out;
        const std::string field = next();
        if(field.empty() || field == Model::Object::Components) {
            const std::string index = next();
            for(rapidjson::SizeType i = 0; i != components->value.Size(); ++i)
                if(index.empty() || index == std::to_string(i)) addComponent(components->value[i]);
        }
        return out;
    }
    if(section == "meshes") return categoryBit(ChangeCategory::Meshes);
    if(section == "materials") return categoryBit(ChangeCategory::Materials);
    if(section == "textures") return categoryBit(ChangeCategory::Textures);
    if(section == "images") return categoryBit(ChangeCategory::Images);
    if(section == "shaders" || section == "pipelines") return categoryBit(ChangeCategory::Shaders);
    if(section == "fonts") return categoryBit(ChangeCategory::Fonts);
    if(section == "animations") return categoryBit(ChangeCategory::Animations);
    if(section == "files") return categoryBit(ChangeCategory::Files);
    return categoryBit(ChangeCategory::Settings);
}

void ProjectFile::touched(std::string_view path, ChangeCategories extra) {
    const ChangeCategories categories = categoriesOf(path) | extra;
    ++_revision;
    for(std::size_t i = 0; i != std::size_t(ChangeCategory::Count); ++i)
        if(categories & (1u << i)) _stamps[i] = _revision;
    for(auto& [handle, listener]: _listeners) listener(path, categories);
}

void ProjectFile::touchAll() {
    _memberIndices.clear();
    touched("", 0);
}

int ProjectFile::addChangeListener(ChangeListener listener) {
    _listeners.emplace_back(_nextListener, std::move(listener));
    return _nextListener++;
}

void ProjectFile::removeChangeListener(int handle) {
    std::erase_if(_listeners, [handle](auto& entry) { return entry.first == handle; });
}

// [SECTION] WorkspaceData

std::string WorkspaceData::projectPath() { return g_workspacePath; }
std::string WorkspaceData::projectCachePath() {
    return g_workspacePath.empty() ? std::string{} : (fs::path{g_workspacePath}/ProjectFile::CacheFolder).string();
}
void WorkspaceData::setProjectPath(std::string path) { g_workspacePath = std::move(path); }

}
