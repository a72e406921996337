#include "Editor/Import/Import.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "Editor/Undo/ChangeManager.h"
#include "Gfx/Log.h"

namespace fs = std::filesystem;

namespace ArdentisEngine {

namespace {

std::string lowerExtension(std::string_view path) {
    std::string extension = fs::path{path}.extension().string();
    for(char& c: extension) c = char(std::tolower(static_cast<unsigned char>(c)));
    return extension;
}

// Relative paths name files in the project folder.
fs::path absoluteSource(const ProjectFile& project, std::string_view path) {
    const fs::path p{path};
    return (p.is_absolute() ? p : fs::path{project.folder()}/p).lexically_normal();
}

// [SECTION] Copying files from outside into the project

// Files a scene file needs beside it, relative to its folder.
std::vector<std::string> dependenciesOf(const fs::path& file) {
    std::vector<std::string> out;
    const std::string extension = lowerExtension(file.string());
    std::ifstream in{file, std::ios::binary};
    std::stringstream text;
    text << in.rdbuf();
    if(extension == ".gltf") {
        JsonDocument document;
        std::string error;
        if(!parseJson(text.str(), document, error) || !document.IsObject()) return out;
        for(const char* list: {"buffers", "images"}) {
            auto found = document.FindMember(list);
            if(found == document.MemberEnd() || !found->value.IsArray()) continue;
            for(const JsonValue& entry: found->value.GetArray())
                if(entry.IsObject() && entry.HasMember("uri") && entry["uri"].IsString()) {
                    const std::string uri = entry["uri"].GetString();
                    if(!uri.starts_with("data:")) out.push_back(uri);
                }
        }
    } else if(extension == ".obj" || extension == ".mtl") {
        std::string line;
        while(std::getline(text, line)) {
            std::istringstream words{line};
            std::string keyword, last, word;
            words >> keyword;
            while(words >> word) last = word;
            if(last.empty()) continue;
            if(keyword == "mtllib") {
                out.push_back(last);
                // The importer reads a library's texture names relative to the scene file.
                for(std::string& nested: dependenciesOf(file.parent_path()/last)) out.push_back(nested);
            } else if(keyword.starts_with("map_") || keyword == "bump" || keyword == "norm") out.push_back(last);
        }
    }
    return out;
}

// A folder name under ImportFolder that is not taken yet.
fs::path freeImportFolder(const ProjectFile& project, const std::string& stem) {
    const fs::path base = fs::path{project.folder()}/ImportFolder;
    fs::path candidate = base/stem;
    for(int i = 2; fs::exists(candidate); ++i) candidate = base/(stem + "-" + std::to_string(i));
    return candidate;
}

// Copies source (and, with dependencies, what it names) into a new folder under ImportFolder.
// Returns the copy's path relative to the project, or nothing after reporting why.
std::optional<std::string> copyIntoProject(ProjectFile& project, const fs::path& source, bool dependencies,
    std::vector<fs::path>& written, std::string& error)
{
    const fs::path folder = freeImportFolder(project, source.stem().string());
    std::error_code code;
    fs::create_directories(folder, code);
    if(code) { error = "cannot create " + folder.string() + ": " + code.message(); return {}; }
    written.push_back(folder);
    std::vector<std::string> files{source.filename().string()};
    if(dependencies) for(std::string& d: dependenciesOf(source)) files.push_back(std::move(d));
    for(const std::string& file: files) {
        const fs::path relative = fs::path{file}.lexically_normal();
        if(!isInsideProject(relative.generic_string())) { error = "it names " + file + ", outside its folder"; return {}; }
        const fs::path from = source.parent_path()/relative;
        if(!fs::exists(from)) continue;
        fs::create_directories((folder/relative).parent_path(), code);
        fs::copy_file(from, folder/relative, fs::copy_options::overwrite_existing, code);
        if(code) { error = "cannot copy " + from.string() + ": " + code.message(); return {}; }
    }
    return project.relativePath((folder/source.filename()).string());
}

void removeWritten(const std::vector<fs::path>& written) {
    std::error_code ignored;
    for(auto it = written.rbegin(); it != written.rend(); ++it) fs::remove_all(*it, ignored);
}

// [SECTION] Records

JsonValue stringValue(std::string_view text, JsonAllocator& a) {
    return JsonValue{text.data(), rapidjson::SizeType(text.size()), a};
}

JsonValue linkValue(const std::string& file, const std::string& resource, JsonAllocator& a) {
    return toJsonValue(FileLink{file, resource}, a);
}

// Hands the file's imported data to the file record and to the mesh and animation records made
// from it (found by their source links).
void attachData(ProjectFile& project, ResourceId file, const std::string& fileName, std::shared_ptr<ImportedSceneCache> cache) {
    project.setData(FileRecord::Section, file, cache);
    auto attach = [&](const char* section, const char* prefix, std::size_t count, auto pointerOf) {
        for(ResourceId id: ProjectSection{project, section}.resourceIds()) {
            const FileLink link = ProjectSection{project, section}.record(id)[Model::Mesh::Source].value();
            if(link.file != fileName || !link.resource.starts_with(prefix)) continue;
            const std::size_t index = std::strtoul(link.resource.c_str() + std::string_view{prefix}.size(), nullptr, 10);
            if(index < count) project.setData(section, id, pointerOf(index));
        }
    };
    attach(MeshRecord::Section, "meshes/", cache->meshes.size(),
        [&](std::size_t i) { return std::shared_ptr<MeshData>(cache, &cache->meshes[i].data); });
    attach(AnimationRecord::Section, "animations/", cache->animations.size(),
        [&](std::size_t i) { return std::shared_ptr<Data::AnimationData>(cache, &cache->animations[i]); });
}

bool importScene(const fs::path& source, ChangeManager& changes) {
    ProjectFile& project = changes.project();
    auto fail = [&source](const std::string& why) {
        Log::error("Cannot import {}: {}", source.string(), why);
        return false;
    };
    ImportedFile imported;
    std::string error;
    if(!importSceneFile(source.string(), imported, error)) return fail(error);

    std::vector<fs::path> written;
    std::optional<std::string> relative = project.relativePath(source.string(), false);
    if(!relative) {
        relative = copyIntoProject(project, source, true, written, error);
        if(!relative) { removeWritten(written); return fail(error); }
    }
    auto files = project.section<FileRecord>();
    if(ResourceId existing = files.resourceByName(Model::File::FileName.name, *relative)) {
        removeWritten(written);
        return fail("it is already in the project as file " + std::to_string(existing.value));
    }
    const fs::path sceneFolder = fs::path{*relative}.parent_path();

    // Texture paths to project-relative image files; embedded ones are written out beside the file.
    std::map<std::string, std::string> imageFiles;
    for(const ImportedMaterial& material: imported.materials)
        for(const std::string* texture: {&material.baseColorTexture, &material.normalTexture}) {
            if(texture->empty() || imageFiles.count(*texture)) continue;
            if(texture->starts_with("*")) {
                const std::size_t index = std::strtoul(texture->c_str() + 1, nullptr, 10);
                if(index >= imported.embeddedTextures.size() || imported.embeddedTextures[index].bytes.empty()) continue;
                const EmbeddedTexture& embedded = imported.embeddedTextures[index];
                const fs::path target = sceneFolder/(fs::path{*relative}.stem().string() + "-texture" + std::to_string(index) + "." +
                    (embedded.extension.empty() ? std::string{"bin"} : embedded.extension));
                std::ofstream out{fs::path{project.folder()}/target, std::ios::binary};
                out.write(reinterpret_cast<const char*>(embedded.bytes.data()), std::streamsize(embedded.bytes.size()));
                out.close();
                if(!out) { removeWritten(written); return fail("cannot write " + target.string()); }
                written.push_back(fs::path{project.folder()}/target);
                imageFiles[*texture] = target.generic_string();
            } else {
                const std::string path = (sceneFolder/fs::path{*texture}).lexically_normal().generic_string();
                if(!isInsideProject(path) || !fs::exists(fs::path{project.folder()}/path)) {
                    Log::error("Importing {}: texture {} not found, the material goes without it", source.string(), *texture);
                    continue;
                }
                imageFiles[*texture] = path;
            }
        }

    changes.startChangeGroup();
    JsonDocument scratch;
    auto& a = scratch.GetAllocator();
    auto record = [&a](std::initializer_list<std::pair<const char*, JsonValue>> members) {
        JsonValue out{rapidjson::kObjectType};
        for(auto& [name, value]: members) out.AddMember(JsonValue{name, a}, JsonValue{const_cast<JsonValue&>(value), a}, a);
        return out;
    };

    const ResourceId fileId = files.nextId();
    changes.pushChange(files[fileId], record({{Model::File::FileName.name, stringValue(*relative, a)}}));

    std::map<std::string, ResourceId> textureIds;
    for(const auto& [texture, path]: imageFiles) {
        auto images = project.section<ImageRecord>();
        auto textures = project.section<TextureRecord>();
        const std::string name = fs::path{path}.filename().string();
        const ResourceId image = images.nextId();
        changes.pushChange(images[image], record({{"name", stringValue(name, a)}, {"file", stringValue(path, a)}}));
        const ResourceId textureId = textures.nextId();
        changes.pushChange(textures[textureId], record({{"name", stringValue(name, a)}, {"image", JsonValue{image.value}}}));
        textureIds[texture] = textureId;
    }

    // Materials the meshes use, each with its parameters in a sub-record named after its pipeline's
    // shader. Physically based pipelines keep the file's metallic-roughness values as they are; a
    // project without them falls back to Phong, which is also what a fresh project gets.
    std::map<std::uint32_t, ResourceId> materialIds;
    for(const ImportedSceneCache::Mesh& mesh: imported.cache.meshes) {
        if(materialIds.count(mesh.material) || mesh.material >= imported.materials.size()) continue;
        const ImportedMaterial& material = imported.materials[mesh.material];
        const bool textured = !material.baseColorTexture.empty() && textureIds.count(material.baseColorTexture);
        auto pipelines = project.section<PipelineRecord>();
        ResourceId pipeline = pipelines.resourceByName("name", textured ? "Physical Opaque Textured" : "Physical Opaque");
        std::string shader = "Physical";
        if(!pipeline) {
            pipeline = pipelines.resourceByName("name", textured ? "Phong Opaque Textured" : "Phong Opaque");
            shader = "Phong";
        }
        if(pipeline) {
            const ResourceId shaderId = pipelines[pipeline][Model::Pipeline::Shader].value();
            const std::string shaderName = project.section<ShaderRecord>()[shaderId][Model::Shader::Name].value();
            if(!shaderName.empty()) shader = shaderName;
        }
        JsonValue parameters{rapidjson::kObjectType};
        const bool physical = shader == "Physical";
        if(physical) {
            parameters.AddMember("baseColor", toJsonValue(material.baseColor, a), a);
            parameters.AddMember("metallic", JsonValue{double(material.metalness)}, a);
            parameters.AddMember("roughness", JsonValue{double(material.roughness)}, a);
        } else {
            // Blinn-Phong exponent of roughly the same highlight width as the file's roughness.
            const float r = std::max(material.roughness, 0.05f);
            parameters.AddMember("diffuseColor", toJsonValue(material.baseColor, a), a);
            parameters.AddMember("shininess", JsonValue{double(std::min(2.0f/(r*r*r*r) - 2.0f, 256.0f))}, a);
        }
        if(textured) parameters.AddMember(rapidjson::StringRef(physical ? "baseColorTexture" : "diffuseTexture"),
            JsonValue{textureIds[material.baseColorTexture].value}, a);
        if(physical && textureIds.count(material.normalTexture))
            parameters.AddMember("normalTexture", JsonValue{textureIds[material.normalTexture].value}, a);
        JsonValue value = record({{"name", stringValue(material.name, a)}, {"pipeline", JsonValue{pipeline.value}}});
        value.AddMember(stringValue(shader, a), parameters, a);
        auto materials = project.section<MaterialRecord>();
        const ResourceId id = materials.nextId();
        changes.pushChange(materials[id], value);
        materialIds[mesh.material] = id;
    }

    std::vector<ResourceId> meshIds;
    for(std::size_t i = 0; i != imported.cache.meshes.size(); ++i) {
        auto meshes = project.section<MeshRecord>();
        const ResourceId id = meshes.nextId();
        changes.pushChange(meshes[id], record({{"name", stringValue(imported.cache.meshes[i].name, a)},
            {"source", linkValue(*relative, "meshes/" + std::to_string(i), a)}}));
        meshIds.push_back(id);
    }

    // Objects: ids are handed out in cache order, which lists parents first.
    auto objects = project.section<ObjectRecord>();
    std::vector<ResourceId> objectIds;
    for(std::uint32_t o = 0, next = objects.nextId().value; o != imported.cache.objectCount(); ++o) objectIds.emplace_back(next + o);
    for(const ImportedSceneCache::HierarchyEntry& entry: imported.cache.hierarchy) {
        const ImportedSceneCache::Transformation& t = imported.cache.transformations[entry.object];
        JsonValue value = record({{"name", stringValue(imported.cache.names[entry.object], a)},
            {"translation", toJsonValue(t.translation, a)}, {"rotation", toJsonValue(t.rotation, a)},
            {"scaling", toJsonValue(t.scaling, a)}});
        if(entry.parent != ImportedSceneCache::NoParent)
            value.AddMember("parent", JsonValue{objectIds[entry.parent].value}, a);
        JsonValue components{rapidjson::kArrayType};
        std::set<std::int32_t> skins;
        for(std::uint32_t mesh: imported.cache.objectMeshes[entry.object]) {
            JsonValue component = record({{"type", JsonValue{std::uint32_t(Model::ComponentType::Mesh)}},
                {"mesh", JsonValue{meshIds[mesh].value}}});
            if(auto material = materialIds.find(imported.cache.meshes[mesh].material); material != materialIds.end())
                component.AddMember("material", JsonValue{material->second.value}, a);
            components.PushBack(component, a);
            if(imported.cache.meshes[mesh].skin >= 0) skins.insert(imported.cache.meshes[mesh].skin);
        }
        for(std::int32_t skin: skins) {
            JsonValue joints{rapidjson::kArrayType};
            for(std::uint32_t joint: imported.cache.skins[skin].joints) joints.PushBack(JsonValue{objectIds[joint].value}, a);
            JsonValue component = record({{"type", JsonValue{std::uint32_t(Model::ComponentType::Skin)}}});
            component.AddMember("joints", joints, a);
            components.PushBack(component, a);
        }
        if(!components.Empty()) value.AddMember("components", components, a);
        changes.pushChange(objects[objectIds[entry.object]], value);
    }

    for(std::size_t i = 0; i != imported.cache.animations.size(); ++i) {
        auto animations = project.section<AnimationRecord>();
        const ResourceId id = animations.nextId();
        changes.pushChange(animations[id], record({{"name", stringValue(imported.cache.animations[i].name, a)},
            {"source", linkValue(*relative, "animations/" + std::to_string(i), a)}}));
    }
    changes.commit();

    attachData(project, fileId, *relative, std::make_shared<ImportedSceneCache>(std::move(imported.cache)));
    Log::info("Imported {}", *relative);
    return true;
}

}

bool isImagePath(std::string_view path) {
    const std::string extension = lowerExtension(path);
    for(const char* known: {".png", ".jpg", ".jpeg", ".tga", ".bmp", ".hdr", ".psd", ".gif"})
        if(extension == known) return true;
    return false;
}

bool isImageLoaded(std::string_view path, ProjectFile& project) {
    const std::optional<std::string> relative = project.relativePath(absoluteSource(project, path).string(), false);
    return relative && project.section<ImageRecord>().resourceByName(Model::Image::File.name, *relative);
}

bool loadImage(std::string_view path, ChangeManager& changes) {
    ProjectFile& project = changes.project();
    const fs::path source = absoluteSource(project, path);
    auto fail = [&source](const std::string& why) {
        Log::error("Cannot load image {}: {}", source.string(), why);
        return false;
    };
    if(project.folder().empty()) return fail("the project has no folder yet");
    if(!isImagePath(source.string())) return fail("not an image file");
    if(!fs::is_regular_file(source)) return fail("no such file");
    std::vector<fs::path> written;
    std::string error;
    std::optional<std::string> relative = project.relativePath(source.string(), false);
    if(!relative) {
        relative = copyIntoProject(project, source, false, written, error);
        if(!relative) { removeWritten(written); return fail(error); }
    }
    auto images = project.section<ImageRecord>();
    if(images.resourceByName(Model::Image::File.name, *relative)) return fail("it is already in the project");
    const std::string name = fs::path{*relative}.filename().string();
    JsonDocument scratch;
    auto& a = scratch.GetAllocator();
    JsonValue image{rapidjson::kObjectType};
    image.AddMember("name", stringValue(name, a), a);
    image.AddMember("file", stringValue(*relative, a), a);
    changes.startChangeGroup();
    const ResourceId imageId = images.nextId();
    changes.pushChange(images[imageId], image);
    JsonValue texture{rapidjson::kObjectType};
    texture.AddMember("name", stringValue(name, a), a);
    texture.AddMember("image", JsonValue{imageId.value}, a);
    auto textures = project.section<TextureRecord>();
    changes.pushChange(textures[textures.nextId()], texture);
    changes.commit();
    return true;
}

bool loadFile(std::string_view path, ChangeManager& changes) {
    ProjectFile& project = changes.project();
    if(project.folder().empty()) {
        Log::error("Cannot import {}: the project has no folder yet", path);
        return false;
    }
    if(isImagePath(path)) return loadImage(path, changes);
    return importScene(absoluteSource(project, path), changes);
}

void resolveImportedDataOnDemand(ProjectFile& project) {
    auto failed = std::make_shared<std::set<std::string>>();
    project.setDataResolver([failed](ProjectFile& p, std::string_view section, ResourceId id) {
        std::string fileName;
        ResourceId file;
        if(section == FileRecord::Section) {
            file = id;
            fileName = p.section<FileRecord>()[id][Model::File::FileName].value();
        } else if(section == MeshRecord::Section || section == AnimationRecord::Section) {
            fileName = ProjectSection{p, section == MeshRecord::Section ? MeshRecord::Section : AnimationRecord::Section}
                .record(id)[Model::Mesh::Source].value().file;
            file = p.section<FileRecord>().resourceByName(Model::File::FileName.name, fileName);
        } else return false;
        if(!file || fileName.empty() || !isSceneFilePath(fileName) || failed->count(fileName)) return false;
        ImportedFile imported;
        std::string error;
        if(!importSceneFile(p.absolutePath(fileName), imported, error)) {
            Log::error("Cannot import {}: {}", p.absolutePath(fileName), error);
            failed->insert(fileName);
            return false;
        }
        attachData(p, file, fileName, std::make_shared<ImportedSceneCache>(std::move(imported.cache)));
        return true;
    });
}

std::size_t resolveImportedData(ProjectFile& project) {
    std::size_t failed = 0;
    auto files = project.section<FileRecord>();
    for(ResourceId id: files.resourceIds()) {
        const std::string fileName = files[id][Model::File::FileName].value();
        if(!isSceneFilePath(fileName)) continue;
        ImportedFile imported;
        std::string error;
        if(!importSceneFile(project.absolutePath(fileName), imported, error)) {
            Log::error("Cannot import {}: {}", project.absolutePath(fileName), error);
            ++failed;
            continue;
        }
        attachData(project, id, fileName, std::make_shared<ImportedSceneCache>(std::move(imported.cache)));
    }
    return failed;
}

}
