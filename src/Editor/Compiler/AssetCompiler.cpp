#include "Editor/Compiler/AssetCompiler.h"

// [SECTION] Driving the passes
// [SECTION] Shaders and pipelines
// [SECTION] Images and textures
// [SECTION] Materials
// [SECTION] Meshes, fonts and animations
// [SECTION] Probes
// Objects and their components are in CompileObjects.cpp.

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>

#include "Editor/Compiler/FontLoader.h"
#include "Editor/Compiler/RootMotion.h"
#include "Editor/Data/EditorData.h"
#include "Editor/Import/SceneImporter.h"
#include "Engine/TextManager.h"
#include "Gfx/ImageConversion.h"
#include "Gfx/Log.h"
#include "Gfx/MeshTools.h"
#include "Gfx/Primitives/Primitives.h"
#include "Renderer/DefaultPipelines.h"
#include "Renderer/InlineIncludes.h"
#include "Renderer/InternalShaders.h"
#include "Renderer/MeshPacking.h"

namespace ArdentisEngine {

namespace fs = std::filesystem;
using Data::SceneCategory;
using namespace CompilerDetail;

namespace {

constexpr std::uint32_t bit(SceneCategory c) { return 1u << unsigned(c); }

template<class T> void fitTo(std::vector<T>& v, const SlotTable& table) {
    if(v.size() < table.size()) v.resize(table.size());
}

// "meshes/3" -> 3 for the prefix "meshes/"; nothing for other forms.
std::optional<std::size_t> indexedResource(std::string_view resource, std::string_view prefix) {
    if(!resource.starts_with(prefix)) return {};
    resource.remove_prefix(prefix.size());
    std::size_t index = 0;
    const auto [end, error] = std::from_chars(resource.data(), resource.data() + resource.size(), index);
    if(error != std::errc{} || end != resource.data() + resource.size()) return {};
    return index;
}

MeshDataFlags attributeFlags(const MeshData& mesh) {
    if(mesh.positions.empty()) return 0;
    MeshDataFlags flags = 0;
    if(!mesh.normals.empty()) flags |= MeshDataNormal;
    if(!mesh.textureCoordinates.empty()) flags |= MeshDataTextureCoordinates;
    if(!mesh.colors.empty()) flags |= MeshDataColor;
    if(!mesh.tangents.empty()) flags |= MeshDataTangent;
    if(!mesh.jointIds.empty()) flags |= MeshDataJoints;
    return flags;
}

// Built-in shapes that mesh records can name with a "primitive" field instead of a source.
std::optional<MeshData> primitiveMesh(std::string_view name) {
    using namespace Primitives;
    if(name == "cube") return cubeSolid();
    if(name == "sphere") return uvSphereSolid(16, 32, UVSphereFlag::TextureCoordinates);
    if(name == "plane") return planeSolid(PlaneFlag::TextureCoordinates);
    if(name == "cylinder") return cylinderSolid(1, 32, 1.0f, CylinderFlag::CapEnds | CylinderFlag::TextureCoordinates);
    if(name == "cone") return coneSolid(1, 32, 1.0f, ConeFlag::CapEnd);
    return {};
}

// Names of a file's objects as the animation preview shows them, each followed by its ancestors'
// ("Hand<Arm<Root"); root-motion targets picked there are stored so.
std::vector<std::string> chainNames(const ImportedSceneCache& file) {
    std::vector<std::string> names = file.names;
    for(const ImportedSceneCache::HierarchyEntry& e: file.hierarchy)
        if(e.object < names.size() && e.parent < names.size()) names[e.object] = file.names[e.object] + "<" + names[e.parent];
    return names;
}

}

std::vector<Record> CompilerDetail::sectionRecords(const ProjectFile& project, std::string_view section) {
    std::vector<Record> out;
    const JsonValue& document = project.document();
    const JsonValue* records = member(&document, section);
    if(!records || !records->IsObject()) return out;
    for(const auto& entry: records->GetObject()) {
        std::uint32_t id = 0;
        const char* begin = entry.name.GetString();
        const char* end = begin + entry.name.GetStringLength();
        const auto [last, error] = std::from_chars(begin, end, id);
        if(error == std::errc{} && last == end && id) out.push_back({ResourceId{id}, &entry.value});
    }
    std::sort(out.begin(), out.end(), [](const Record& a, const Record& b) { return a.id < b.id; });
    return out;
}

void AssetCompiler::SectionState::forgetMissing(const std::set<std::uint32_t>& present) {
    std::erase_if(compiled, [&](std::uint32_t id) { return !present.count(id); });
    dirty.clear();
    allDirty = false;
}

std::vector<std::uint16_t> AssetCompiler::SectionState::release(SlotTable& slots, const std::vector<Record>& records) {
    std::set<std::uint32_t> present;
    for(const Record& r: records) present.insert(r.id.value);
    forgetMissing(present);
    return slots.releaseUnless([&](ResourceId id) { return present.count(id.value) != 0; });
}

AssetCompiler::AssetCompiler(ProjectFile& project, Data::Scene& scene): _project{&project}, _scene{&scene} {
    for(const char* section: ProjectFile::Sections) _sections[section];
    _projectLifetime = project.lifetime();
    _listener = project.addChangeListener([this](std::string_view path, ChangeCategories) { noteChange(path); });
    addProbeCompiler("environment", [](AssetCompiler& compiler, Data::Scene& s) { return compiler.compileEnvironmentProbe(s); });
}

AssetCompiler::AssetCompiler(EditorData& data): AssetCompiler{data.projectFile(), data.scene().main()} {}

AssetCompiler::~AssetCompiler() {
    if(!_projectLifetime.expired()) _project->removeChangeListener(_listener);
}

// Paths are "/{section}/{id}/..." for record edits; anything shorter replaced whole sections.
void AssetCompiler::noteChange(std::string_view path) {
    if(path.empty() || path == "/") {
        for(auto& [name, state]: _sections) state.allDirty = true;
        return;
    }
    path.remove_prefix(1);
    const std::size_t slash = path.find('/');
    const auto found = _sections.find(unescapePathSegment(path.substr(0, slash)));
    if(found == _sections.end()) return;
    if(slash == std::string_view::npos) {
        found->second.allDirty = true;
        return;
    }
    std::string_view rest = path.substr(slash + 1);
    rest = rest.substr(0, rest.find('/'));
    std::uint32_t id = 0;
    const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), id);
    if(error == std::errc{} && end == rest.data() + rest.size()) found->second.dirty.insert(id);
    else found->second.allDirty = true;
}

// [SECTION] Driving the passes

bool AssetCompiler::moved(ChangeCategory category) const {
    return _first || _project->stamp(category) != _seen[std::size_t(category)];
}

void AssetCompiler::markCompiled(SceneCategory category, std::uint32_t count) {
    _counts[std::size_t(category)] += count;
    _compiledMask |= bit(category);
}

std::uint32_t AssetCompiler::compile() {
    compileCategories(false);
    return _compiledMask;
}

void AssetCompiler::compileObjects(bool all) { compileCategories(all); }

void AssetCompiler::compileCategories(bool allObjects) {
    _counts.fill(0);
    _compiledMask = 0;
    _componentInputs = false;

    // A new file may be what a failed mesh or animation was waiting for; those are still due.
    const bool files = moved(ChangeCategory::Files);

    // Each pass reports whether any slot changed, so that what depends on it looks again.
    const bool shaders = moved(ChangeCategory::Shaders);
    const std::uint32_t before = _compiledMask;
    if(shaders) compileShaders(false);
    const bool shadersChanged = _compiledMask != before;
    if(shaders) compilePipelines(shadersChanged);
    const bool pipelinesChanged = _compiledMask & bit(SceneCategory::Pipelines);

    const bool imageSettings = moved(ChangeCategory::ImageSettings);
    if(moved(ChangeCategory::Images) || imageSettings) compileImages(imageSettings);
    const bool imagesChanged = _compiledMask & bit(SceneCategory::Images);
    if(moved(ChangeCategory::Textures) || imagesChanged) compileTextures(imagesChanged);
    const bool texturesChanged = _compiledMask & bit(SceneCategory::Textures);
    if(moved(ChangeCategory::Materials) || pipelinesChanged || texturesChanged)
        compileMaterials(pipelinesChanged || texturesChanged);
    if(moved(ChangeCategory::EnvironmentSettings) || (_compiledMask & bit(SceneCategory::Materials)) || pipelinesChanged)
        compileSkyDraw();

    if(moved(ChangeCategory::Meshes) || files) compileMeshes(false);
    // A text using a character the fonts lack a glyph for reloads them all with it.
    const bool newCodePoints = (moved(ChangeCategory::Texts) || moved(ChangeCategory::Objects) ||
                                moved(ChangeCategory::Fonts)) && gatherTextCodePoints();
    if(moved(ChangeCategory::Fonts) || newCodePoints) compileFonts(newCodePoints);
    if(moved(ChangeCategory::Animations) || files) compileAnimations(false);

    if(moved(ChangeCategory::Physics)) {
        const Vector3 gravity = _project->settings()[Model::Settings::Gravity].value();
        Data::PhysicsWorld& world = _scene->physics().world();
        if(world.gravity() != gravity) {
            world.setGravity(gravity);
            markCompiled(SceneCategory::Physics);
        }
    }

    // Components hold slots and what they read through them (a material's pipeline, a mesh's
    // morph target count and skin); the passes above say when any of that moved.
    const bool dependencies = _componentInputs;
    const bool objectRecords = moved(ChangeCategory::Objects) || moved(ChangeCategory::Lights) ||
        moved(ChangeCategory::Texts) || moved(ChangeCategory::Physics);
    if(allObjects || objectRecords || dependencies)
        compileObjectRecords(allObjects, dependencies);

    updatePipelineFeatures();
    _seen = {};
    for(std::size_t c = 0; c != _seen.size(); ++c) _seen[c] = _project->stamp(ChangeCategory(c));
    _first = false;
    _scene->markChanged(_compiledMask);
}

// [SECTION] Shaders and pipelines

std::optional<std::string> AssetCompiler::readProjectText(const std::string& file, std::string_view who) {
    const fs::path path = _project->absolutePath(file);
    std::ifstream in{path, std::ios::binary};
    if(!in) {
        Log::error("{}: cannot read {}", who, path.string());
        return {};
    }
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
}

void AssetCompiler::compileShaders(bool force) {
    SectionState& state = _sections[ShaderRecord::Section];
    const auto records = sectionRecords(*_project, ShaderRecord::Section);
    std::uint32_t count = 0;
    for(const auto& [id, record]: records) {
        if(!state.begin(id, force)) continue;
        const std::string name = read(record, Model::Shader::Name);
        const std::string file = read(record, Model::Shader::File);
        const std::string who = fmt::format("Shader {} ({})", id.value, name);
        // A file of the project first; otherwise a file of the engine's own shader group, so that
        // projects can name "Phong.frag" without carrying a copy.
        std::optional<std::string> source;
        if(file.empty()) Log::error("{}: names no file", who);
        else if(fs::is_regular_file(_project->absolutePath(file))) source = readProjectText(file, who);
        else if(std::optional<std::string> internal = Shaders::internalShaderFile(file)) source = std::move(internal);
        else Log::error("{}: {} not found", who, _project->absolutePath(file));
        if(!source) continue;
        const std::uint16_t slot = _shaders.assign(id);
        if(!slot) { Log::error("{}: too many shaders", who); continue; }
        fitTo(_scene->shaders, _shaders);
        Data::ShaderData& shader = _scene->shaders[slot];
        shader.header.kind = std::uint8_t(read(record, Model::Shader::Kind));
        shader.header.role = std::uint8_t(read(record, Model::Shader::Role));
        shader.name = name;
        shader.source = std::move(*source);
        _shaderFiles[slot] = file;
        state.done(id);
        ++count;
    }
    for(std::uint16_t slot: state.release(_shaders, records)) {
        _scene->shaders[slot] = {};
        _shaderFiles.erase(slot);
        ++count;
    }
    if(count) markCompiled(SceneCategory::Shaders, count);
}

void AssetCompiler::compilePipelines(bool force) {
    SectionState& state = _sections[PipelineRecord::Section];
    const auto records = sectionRecords(*_project, PipelineRecord::Section);
    // Includes resolve against the project's shaders by record name and by file, then the engine's.
    std::unordered_map<std::string, std::string> files;
    for(const auto& [slot, file]: _shaderFiles) {
        const Data::ShaderData& shader = _scene->shaders[slot];
        files.emplace(shader.name, shader.source);
        files.emplace(file, shader.source);
    }

    std::uint32_t count = 0;
    for(const auto& [id, record]: records) {
        if(!state.begin(id, force)) continue;
        const std::string name = read(record, Model::Pipeline::Name);
        const std::string who = fmt::format("Pipeline {} ({})", id.value, name);

        const ResourceId fragmentId = read(record, Model::Pipeline::Shader);
        const ResourceId vertexId = read(record, Model::Pipeline::VertexShader);
        const Shaders::PipelineDescription* builtIn = Shaders::findDefaultPipeline(name);
        std::string fragmentSource, fragmentName, shaderName;
        if(fragmentId) {
            const std::uint16_t fragmentSlot = _shaders.find(fragmentId);
            if(!fragmentSlot) {
                Log::error("{}: its shader {} is not compiled", who, fragmentId.value);
                continue;
            }
            fragmentSource = _scene->shaders[fragmentSlot].source;
            shaderName = _scene->shaders[fragmentSlot].name;
            fragmentName = _shaderFiles[fragmentSlot];
        } else if(builtIn) {
            // A pipeline named after a built-in one draws with the engine's shader.
            std::optional<std::string> source = Shaders::internalShaderFile(builtIn->fragmentShader);
            if(!source) { Log::error("{}: the engine has no {}", who, builtIn->fragmentShader); continue; }
            fragmentSource = std::move(*source);
            fragmentName = builtIn->fragmentShader;
            shaderName = fs::path{fragmentName}.stem().string();
        } else {
            Log::error("{}: names no shader", who);
            continue;
        }
        if(vertexId && !_shaders.find(vertexId)) {
            Log::error("{}: its vertex shader {} is not compiled", who, vertexId.value);
            continue;
        }

        // Both report their own failures, naming the file and line.
        std::optional<Utils::InlinedSource> inlined = Utils::inlineIncludes(fragmentSource, fragmentName, files);
        if(!inlined) continue;
        std::optional<Shaders::MaterialDefinition> definition = Shaders::MaterialDefinition::parse(inlined->text, inlined->files, 0);
        if(!definition) continue;

        const std::uint16_t slot = _pipelines.assign(id);
        if(!slot) { Log::error("{}: too many pipelines", who); continue; }
        fitTo(_scene->pipelines, _pipelines);
        fitTo(_definitions, _pipelines);
        fitTo(_pipelineShaderNames, _pipelines);
        if(_pipelineTransparent.size() < _pipelines.size()) _pipelineTransparent.resize(_pipelines.size());

        const bool transparent = read(record, Model::Pipeline::Transparent);
        Data::PipelineType type = builtIn ? builtIn->pipeline.type : Data::PipelineType::Opaque;
        if(transparent) type = Data::PipelineType::Transparent;
        Data::PipelineData& pipeline = _scene->pipelines[slot];
        pipeline.name = name;
        pipeline.fragmentShader = _shaders.find(fragmentId);
        pipeline.vertexShader = _shaders.find(vertexId);
        // The low byte holds the pass the pipeline draws in (Data::PipelineType).
        pipeline.header = std::uint32_t(type);
        pipeline.enabledFeatures = 0;
        pipeline.present = true;
        _definitions[slot] = std::move(definition);
        _pipelineShaderNames[slot] = shaderName;
        _pipelineTransparent[slot] = type == Data::PipelineType::Transparent;
        state.done(id);
        ++count;
    }
    for(std::uint16_t slot: state.release(_pipelines, records)) {
        _scene->pipelines[slot] = {};
        _definitions[slot].reset();
        _pipelineShaderNames[slot].clear();
        ++count;
    }
    if(count) {
        markCompiled(SceneCategory::Pipelines, count);
        _compiledMask |= bit(SceneCategory::Shaders);
    }
}

const Shaders::MaterialDefinition* AssetCompiler::materialDefinition(std::uint16_t pipeline) const {
    return pipeline < _definitions.size() && _definitions[pipeline] ? &*_definitions[pipeline] : nullptr;
}

const std::string& AssetCompiler::pipelineShaderName(std::uint16_t pipeline) const {
    static const std::string None;
    return pipeline < _pipelineShaderNames.size() ? _pipelineShaderNames[pipeline] : None;
}

// [SECTION] Images and textures

void AssetCompiler::compileImages(bool force) {
    SectionState& state = _sections[ImageRecord::Section];
    const auto records = sectionRecords(*_project, ImageRecord::Section);
    const std::uint32_t maxSize = _project->settings()[Model::Settings::MaxImageSize].value();
    std::uint32_t count = 0;
    for(const auto& [id, record]: records) {
        if(!state.begin(id, force)) continue;
        const std::string name = read(record, Model::Image::Name);
        const std::string file = read(record, Model::Image::File);
        if(file.empty()) { Log::error("Image {} ({}): names no file", id.value, name); continue; }
        const std::string path = _project->absolutePath(file);
        if(!fs::is_regular_file(path)) { Log::error("Image {} ({}): {} not found", id.value, name, path); continue; }
        AbstractImageImporter* importer = _plugins.importer("AnyImageImporter");
        // The importer's own message names the file and the reason.
        if(!importer || !importer->openFile(path)) continue;
        std::optional<Image> image = importer->image2D();
        importer->close();
        if(!image) continue;

        const Vector2i size = image->size();
        if(maxSize && std::uint32_t(std::max(size.x, size.y)) > maxSize) {
            const float scale = float(maxSize)/float(std::max(size.x, size.y));
            const Vector2i target = glm::max(Vector2i{1}, Vector2i{Vector2(size)*scale});
            if(AbstractImageConverter* resize = _plugins.converter("StbResizeImageConverter")) {
                resize->configuration().setValue("size", fmt::format("{} {}", target.x, target.y));
                if(std::optional<Image> smaller = resize->convert(image->view())) image = std::move(smaller);
            }
        }

        const std::uint16_t slot = _images.assign(id);
        if(!slot) { Log::error("Image {} ({}): too many images", id.value, name); continue; }
        fitTo(_scene->images, _images);
        Data::ImageData& data = _scene->images[slot];
        data = {};
        data.pixels = std::move(image);
        data.name = name;
        state.done(id);
        ++count;
    }
    for(std::uint16_t slot: state.release(_images, records)) {
        _scene->images[slot] = {};
        ++count;
    }
    if(_scene->streamedImages.size() < _scene->images.size()) _scene->streamedImages.resize(_scene->images.size());
    if(count) markCompiled(SceneCategory::Images, count);
}

void AssetCompiler::compileTextures(bool force) {
    SectionState& state = _sections[TextureRecord::Section];
    const auto records = sectionRecords(*_project, TextureRecord::Section);
    std::uint32_t count = 0;
    for(const auto& [id, record]: records) {
        if(!state.begin(id, force)) continue;
        const std::uint16_t slot = _textures.assign(id);
        if(!slot) { Log::error("Texture {}: too many textures", id.value); continue; }
        fitTo(_scene->textures, _textures);
        Data::TextureData& texture = _scene->textures[slot];
        texture.id = slot;
        // An image that failed to compile leaves the texture without one; it was reported then.
        texture.image = _images.find(read(record, Model::Texture::Image));
        texture.samplerFlags = (read(record, Model::Texture::Repeat) ? SamplerRepeat : 0) |
            (read(record, Model::Texture::Filter) ? SamplerLinear : 0);
        state.done(id);
        ++count;
    }
    for(std::uint16_t slot: state.release(_textures, records)) {
        _scene->textures[slot] = {};
        ++count;
    }
    if(count) markCompiled(SceneCategory::Textures, count);
}

// [SECTION] Materials

void AssetCompiler::compileMaterials(bool force) {
    SectionState& state = _sections[MaterialRecord::Section];
    const auto records = sectionRecords(*_project, MaterialRecord::Section);
    std::uint32_t count = 0;
    for(const auto& [id, record]: records) {
        if(!state.begin(id, force)) continue;
        const std::string name = read(record, Model::Material::Name);
        const std::string who = fmt::format("Material {} ({})", id.value, name);
        const ResourceId pipelineId = read(record, Model::Material::Pipeline);
        const std::uint16_t pipeline = _pipelines.find(pipelineId);
        if(pipelineId && !pipeline) Log::error("{}: its pipeline {} is not compiled", who, pipelineId.value);

        Data::MaterialData material;
        material.name = name;
        material.pipeline = pipeline;
        if(const Shaders::MaterialDefinition* definition = materialDefinition(pipeline)) {
            Data::Material packed = definition->defaults();
            const std::string& shaderName = _pipelineShaderNames[pipeline];
            const JsonValue* values = member(record, shaderName);
            if(values && values->IsObject()) for(const auto& entry: values->GetObject()) {
                const std::string param{entry.name.GetString(), entry.name.GetStringLength()};
                const int index = definition->paramIndex(param);
                if(index < 0) {
                    Log::error("{}: shader {} has no parameter {}", who, shaderName, param);
                    continue;
                }
                const JsonValue& value = entry.value;
                const Shaders::MaterialParamType type = definition->paramType(unsigned(index));
                const unsigned components = definition->paramComponents(unsigned(index));
                if(type == Shaders::MaterialParamType::Texture) {
                    if(!value.IsUint()) { Log::error("{}: {} must be a texture id", who, param); continue; }
                    const ResourceId texture{value.GetUint()};
                    const std::uint16_t slot = _textures.find(texture);
                    if(texture && !slot) Log::error("{}: {} names texture {}, which does not exist", who, param, texture.value);
                    definition->setInteger(packed, unsigned(index), slot);
                } else if(type == Shaders::MaterialParamType::Int || type == Shaders::MaterialParamType::UnsignedInt) {
                    if(!value.IsInt64()) { Log::error("{}: {} must be an integer", who, param); continue; }
                    definition->setInteger(packed, unsigned(index), std::uint32_t(value.GetInt64()));
                } else {
                    Vector4 v{0.0f};
                    bool valid = false;
                    if(components == 1 && value.IsNumber()) {
                        v.x = float(value.GetDouble());
                        valid = true;
                    } else if(value.IsArray() && value.Size() == components) {
                        valid = true;
                        for(unsigned i = 0; i != components; ++i) {
                            if(!value[i].IsNumber()) { valid = false; break; }
                            v[int(i)] = float(value[i].GetDouble());
                        }
                    }
                    if(!valid) { Log::error("{}: {} must be {} number{}", who, param, components, components == 1 ? "" : "s"); continue; }
                    definition->set(packed, unsigned(index), v);
                }
            }
            material.parameters.assign(packed.values.begin(), packed.values.end());
            for(unsigned index: definition->findTextureProperties())
                material.textures.push_back(definition->getInteger(packed, index));
            material.alphaBlended = _pipelineTransparent[pipeline];
        }

        const bool isNew = !_materials.find(id);
        const std::uint16_t slot = _materials.assign(id);
        if(!slot) { Log::error("{}: too many materials", who); continue; }
        fitTo(_scene->materials, _materials);
        if(isNew || _scene->materials[slot].pipeline != material.pipeline) _componentInputs = true;
        _scene->materials[slot] = std::move(material);
        state.done(id);
        ++count;
    }
    for(std::uint16_t slot: state.release(_materials, records)) {
        _scene->materials[slot] = {};
        _componentInputs = true;
        ++count;
    }
    if(count) markCompiled(SceneCategory::Materials, count);
}

void AssetCompiler::compileSkyDraw() {
    std::vector<Data::Draw> draws;
    const ResourceId id = _project->settings()[Model::Settings::SkyMaterial].value();
    if(id) {
        const std::uint16_t material = _materials.find(id);
        const std::uint16_t pipeline = material ? _scene->materials[material].pipeline : 0;
        if(!material) Log::error("Settings: environment/skyMaterial names material {}, which is not compiled", id.value);
        else if(!pipeline || pipeline >= _scene->pipelines.size() || Data::PipelineType(_scene->pipelines[pipeline].header & 0xff) != Data::PipelineType::Sky)
            Log::error("Settings: environment/skyMaterial {} ({}) does not draw with a sky pipeline", id.value,
                       _scene->materials[material].name);
        // The sky pass needs no mesh: its full-screen triangle only reads the material.
        else draws.push_back(Data::Draw{pipeline, 0, material, Matrix4{1.0f}});
    }
    if(draws.size() == _scene->draws.size() && std::equal(draws.begin(), draws.end(), _scene->draws.begin(),
        [](const Data::Draw& a, const Data::Draw& b) { return a.pipeline == b.pipeline && a.material == b.material; }))
        return;
    _scene->draws = std::move(draws);
    markCompiled(SceneCategory::EnvironmentSettings);
}

// [SECTION] Meshes, fonts and animations

std::shared_ptr<const ImportedSceneCache> AssetCompiler::sceneFile(const std::string& file, std::string_view who) {
    // The importer's cache when a file record of that name has one. It is borrowed for this pass
    // only (the importer may replace it at any time): the passes copy what they keep.
    ProjectSection files{*_project, FileRecord::Section};
    if(const ResourceId record = files.resourceByName(Model::File::FileName.name, file))
        if(const ImportedSceneCache* cache = _project->data<ImportedSceneCache>(FileRecord::Section, record))
            return std::shared_ptr<const ImportedSceneCache>{std::shared_ptr<const ImportedSceneCache>{}, cache};

    const std::string path = _project->absolutePath(file);
    std::error_code ec;
    if(!fs::is_regular_file(path, ec)) {
        Log::error("{}: {} not found", who, path);
        _sceneFiles.erase(file);
        return nullptr;
    }
    // A file is imported again when it changed on disk since.
    const fs::file_time_type time = fs::last_write_time(path, ec);
    const std::uintmax_t size = fs::file_size(path, ec);
    if(auto found = _sceneFiles.find(file); found != _sceneFiles.end() && found->second.time == time && found->second.size == size) {
        // Failures are remembered too, so that ten meshes of one broken file are one import.
        if(!found->second.cache) Log::error("{}: {} could not be imported", who, path);
        return found->second.cache;
    }
    // Files that were never imported (or whose import failed when the project was opened) are
    // read here and kept.
    ImportedFile imported;
    std::string error;
    std::shared_ptr<const ImportedSceneCache> cache;
    if(!importSceneFile(path, imported, error)) Log::error("{}: cannot import {}: {}", who, path, error);
    else cache = std::make_shared<const ImportedSceneCache>(std::move(imported.cache));
    _sceneFiles.insert_or_assign(file, SceneFile{time, size, cache});
    return cache;
}

void AssetCompiler::compileMeshes(bool force) {
    SectionState& state = _sections[MeshRecord::Section];
    const auto records = sectionRecords(*_project, MeshRecord::Section);
    std::uint32_t count = 0;
    bool morphTargets = false;
    for(const auto& [id, record]: records) {
        if(!state.begin(id, force)) continue;
        const std::string name = read(record, Model::Mesh::Name);
        const std::string who = fmt::format("Mesh {} ({})", id.value, name);

        MeshData data;
        Data::MorphTargetSet morph;
        MeshSkin skin;
        const JsonValue* primitive = member(record, "primitive");
        if(primitive && primitive->IsString()) {
            std::optional<MeshData> made = primitiveMesh(primitive->GetString());
            if(!made) { Log::error("{}: unknown primitive {}", who, primitive->GetString()); continue; }
            data = std::move(*made);
        } else {
            const FileLink link = read(record, Model::Mesh::Source);
            if(link.file.empty()) { Log::error("{}: has neither a source nor a primitive", who); continue; }
            std::shared_ptr<const ImportedSceneCache> file = sceneFile(link.file, who);
            if(!file) continue;
            std::optional<std::size_t> index = indexedResource(link.resource, "meshes/");
            if(!index) for(std::size_t i = 0; i != file->meshes.size(); ++i)
                if(file->meshes[i].name == link.resource) { index = i; break; }
            if(!index || *index >= file->meshes.size()) {
                Log::error("{}: {} has no mesh {}", who, _project->absolutePath(link.file), link.resource);
                continue;
            }
            const ImportedSceneCache::Mesh& mesh = file->meshes[*index];
            data = mesh.data;
            morph = mesh.morphTargets;
            if(mesh.skin >= 0 && std::size_t(mesh.skin) < file->skins.size()) {
                skin.inverseBindMatrices = file->skins[mesh.skin].inverseBindMatrices;
                skin.skinned = true;
            }
        }
        if(std::string why; !data.isValid(&why)) {
            Log::error("{}: invalid mesh data: {}", who, why);
            continue;
        }

        const std::uint16_t slot = _meshes.assign(id);
        if(!slot) { Log::error("{}: too many meshes", who); continue; }
        fitTo(_scene->meshData, _meshes);
        fitTo(_scene->meshBoundingSpheres, _meshes);
        fitTo(_scene->morphTargetSets, _meshes);
        _scene->meshBoundingSpheres[slot] = MeshTools::boundingSphere(data);
        _scene->meshData[slot] = std::move(data);
        morphTargets |= morph.targetCount != 0 || _scene->morphTargetSets[slot].targetCount != 0;
        _scene->morphTargetSets[slot] = std::move(morph);
        _meshSkins[slot] = std::move(skin);
        state.done(id);
        ++count;
    }
    for(std::uint16_t slot: state.release(_meshes, records)) {
        _scene->meshData[slot] = {};
        _scene->meshBoundingSpheres[slot] = {};
        morphTargets |= _scene->morphTargetSets[slot].targetCount != 0;
        _scene->morphTargetSets[slot] = {};
        _meshSkins.erase(slot);
        ++count;
    }
    if(count) {
        // The renderer packs every mesh with one vertex layout, chosen from what the meshes carry.
        _scene->meshDataFlags = 0;
        for(const MeshData& mesh: _scene->meshData) _scene->meshDataFlags |= attributeFlags(mesh);
        markCompiled(SceneCategory::Meshes, count);
        _componentInputs = true;
    }
    if(morphTargets) markCompiled(SceneCategory::MorphTargets);
}

bool AssetCompiler::gatherTextCodePoints() {
    std::u32string used;
    for(const auto& [id, record]: sectionRecords(*_project, ObjectRecord::Section)) {
        const JsonValue* list = member(record, Model::Object::Components);
        if(!list || !list->IsArray()) continue;
        for(const JsonValue& c: list->GetArray()) {
            if(Model::ComponentType(read(&c, Model::Component::Type)) != Model::ComponentType::Text) continue;
            for(char32_t code: Data::decodeUtf8(read(&c, Model::Component::Text)))
                if(code > 0xff) used.push_back(code);
        }
    }
    std::sort(used.begin(), used.end());
    used.erase(std::unique(used.begin(), used.end()), used.end());
    if(std::includes(_fontCodePoints.begin(), _fontCodePoints.end(), used.begin(), used.end())) return false;
    std::u32string merged;
    std::set_union(_fontCodePoints.begin(), _fontCodePoints.end(), used.begin(), used.end(), std::back_inserter(merged));
    _fontCodePoints = std::move(merged);
    return true;
}

void AssetCompiler::compileFonts(bool force) {
    SectionState& state = _sections[FontRecord::Section];
    const auto records = sectionRecords(*_project, FontRecord::Section);
    std::uint32_t count = 0;
    for(const auto& [id, record]: records) {
        if(!state.begin(id, force)) continue;
        const std::string name = read(record, Model::Font::Name);
        std::string error;
        const std::optional<std::string> path = locateFontFile(*_project, member(record, Model::Font::File.name), error);
        if(!path) { Log::error("Font {} ({}): {}", id.value, name, error); continue; }
        std::optional<Data::FontData> font = loadFontFile(*path, error, _fontCodePoints);
        if(!font) { Log::error("Font {} ({}): {}: {}", id.value, name, *path, error); continue; }
        if(!name.empty()) font->name = name;
        if(!_fonts.find(id)) _componentInputs = true;
        const std::uint16_t slot = _fonts.assign(id);
        if(!slot) { Log::error("Font {} ({}): too many fonts", id.value, name); continue; }
        fitTo(_scene->fonts, _fonts);
        _scene->fonts[slot] = std::move(*font);
        state.done(id);
        ++count;
    }
    for(std::uint16_t slot: state.release(_fonts, records)) {
        _scene->fonts[slot] = {};
        _componentInputs = true;
        ++count;
    }
    if(count) markCompiled(SceneCategory::Fonts, count);
}

void AssetCompiler::compileAnimations(bool force) {
    SectionState& state = _sections[AnimationRecord::Section];
    const auto records = sectionRecords(*_project, AnimationRecord::Section);
    std::uint32_t count = 0;
    for(const auto& [id, record]: records) {
        if(!state.begin(id, force)) continue;
        const std::string name = read(record, Model::Animation::Name);
        const std::string who = fmt::format("Animation {} ({})", id.value, name);
        const FileLink link = read(record, Model::Animation::Source);
        if(link.file.empty()) { Log::error("{}: has no source", who); continue; }
        std::shared_ptr<const ImportedSceneCache> file = sceneFile(link.file, who);
        if(!file) continue;
        std::optional<std::size_t> index = indexedResource(link.resource, "animations/");
        if(!index) for(std::size_t i = 0; i != file->animations.size(); ++i)
            if(file->animations[i].name == link.resource) { index = i; break; }
        if(!index || *index >= file->animations.size()) {
            Log::error("{}: {} has no animation {}", who, _project->absolutePath(link.file), link.resource);
            continue;
        }
        const Data::AnimationData& animation = file->animations[*index];
        bool valid = true;
        for(const Data::AnimationTrack& track: animation.tracks) if(track.target >= file->objectCount()) {
            Log::error("{}: a track animates object {}, which {} does not have", who, track.target, _project->absolutePath(link.file));
            valid = false;
            break;
        }
        if(!valid) continue;

        AnimationSource source;
        source.name = name;
        Data::AnimationData data = animation;
        const std::string rootMotion = read(record, Model::Animation::RootMotionTarget);
        const std::uint32_t translationAxes = read(record, Model::Animation::RootMotionTranslationAxes);
        const std::uint32_t rotationAxes = read(record, Model::Animation::RootMotionRotationAxes);
        if(!removeRootMotion(data, file->names, rootMotion, translationAxes, rotationAxes) &&
           !removeRootMotion(data, chainNames(*file), rootMotion, translationAxes, rotationAxes))
            Log::error("{}: root-motion target {} is not animated by it; playing it as it is", who, rootMotion);
        source.data = std::make_shared<const Data::AnimationData>(std::move(data));
        // Tracks name objects of the file by index; keep the names (and their parents') that the
        // targets are found by among the project's objects.
        source.objectNames = file->names;
        source.parentNames.assign(file->objectCount(), std::string{});
        for(const ImportedSceneCache::HierarchyEntry& e: file->hierarchy)
            if(e.object < file->objectCount() && e.parent < file->objectCount()) source.parentNames[e.object] = file->names[e.parent];
        if(const JsonValue* events = member(record, Model::Animation::Events); events && events->IsArray())
            for(const JsonValue& event: events->GetArray())
                source.events.push_back({read(&event, Model::AnimationEvent::Time), read(&event, Model::AnimationEvent::Name)});
        _animationSources[id.value] = std::move(source);
        state.done(id);
        ++count;
    }
    std::set<std::uint32_t> present;
    for(const auto& r: records) present.insert(r.id.value);
    for(auto it = _animationSources.begin(); it != _animationSources.end();) {
        if(present.count(it->first)) { ++it; continue; }
        it = _animationSources.erase(it);
        ++count;
    }
    state.forgetMissing(present);
    if(count) {
        markCompiled(SceneCategory::Animations, count);
        _componentInputs = true;
    }
}

std::uint32_t AssetCompiler::animationInstance(ResourceId animation) const {
    const auto found = _animationIndex.find(animation.value);
    return found == _animationIndex.end() ? NoAnimation : found->second;
}

// [SECTION] Probes

void AssetCompiler::addProbeCompiler(std::string name, ProbeCompiler compiler) {
    for(auto& [existing, function]: _probeCompilers)
        if(existing == name) { function = std::move(compiler); return; }
    _probeCompilers.emplace_back(std::move(name), std::move(compiler));
}

void AssetCompiler::removeProbeCompiler(std::string_view name) {
    std::erase_if(_probeCompilers, [name](const auto& entry) { return entry.first == name; });
}

std::vector<std::string> AssetCompiler::probeCompilerNames() const {
    std::vector<std::string> out;
    for(const auto& entry: _probeCompilers) out.push_back(entry.first);
    return out;
}

bool AssetCompiler::compileProbes() {
    bool all = true;
    for(auto& [name, compiler]: _probeCompilers) all &= compiler(*this, *_scene);
    return all;
}

bool AssetCompiler::compileEnvironmentProbe(Data::Scene& scene) {
    const fs::path cache = _project->cachePath();
    Data::ProbeData probe;
    Vector2i levelSize{0};
    for(std::uint32_t level = 0;; ++level) {
        fs::path path;
        const char* importerName = nullptr;
        for(const auto& [extension, importer]: {std::pair{".hdr", "HdrImporter"}, std::pair{".png", "AnyImageImporter"}}) {
            const fs::path candidate = cache/fmt::format("environment-mip-{}{}", level, extension);
            if(fs::is_regular_file(candidate)) { path = candidate; importerName = importer; break; }
        }
        if(!importerName) break;
        AbstractImageImporter* importer = _plugins.importer(importerName);
        if(!importer || !importer->openFile(path.string())) return false;
        std::optional<Image> image = importer->image2D();
        importer->close();
        if(!image) return false;
        // Each level halves the one before; a file that breaks the chain is stale.
        if(level && image->size() != glm::max(levelSize/2, Vector2i{1})) {
            Log::error("Environment probe: {} is {}x{}, expected half of the level before", path.string(), image->size().x, image->size().y);
            return false;
        }
        levelSize = image->size();
        std::optional<Image> rgba = convertPixelFormat(image->view(), PixelFormat::RGBA32F);
        if(!rgba) return false;
        if(level == 0) probe.baseSize = std::uint32_t(levelSize.x);
        const auto bytes = rgba->data();
        probe.data.insert(probe.data.end(), bytes.begin(), bytes.end());
        probe.header.levelCount = level + 1;
    }
    if(!probe.header.levelCount) {
        Log::error("Environment probe: no baked levels in {}", cache.string());
        return false;
    }
    scene.environmentProbe = std::move(probe);
    scene.markChanged(SceneCategory::EnvironmentProbe);
    return true;
}

}
