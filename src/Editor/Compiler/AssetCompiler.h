#pragma once
// Compiles the project's records into an engine scene: shaders and pipelines (with the material
// definitions their fragment shaders declare), images, textures, materials packed through those
// definitions, meshes with their bounding spheres and morph targets, fonts, animations, and the
// objects with their components (active objects are marked in Scene::visibleObjects for bakers).
//
// Compiling is incremental. The compiler remembers, per change category, the project stamp it
// last compiled and, per record, the text it was compiled from; compile() revisits only categories
// whose stamps moved and, in them, only records whose text changed (or whose inputs did: a new
// texture record makes every material look its ids up again). Each record keeps its runtime slot
// for as long as it exists, so indices compiled earlier stay valid. The scene's stamps move for
// every category that was compiled, which is what the renderer's reload compares against.
//
// Mesh records take their data from an imported file (`source`: "meshes/N" or the mesh's name) or,
// with a "primitive" field ("cube", "sphere", "plane", "cylinder", "cone"), from a built-in shape.
//
// A record whose source cannot be read (a missing image, a broken model file, a shader that does
// not parse) gives one error line naming the file and keeps what was compiled for it before.
#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Editor/Compiler/CompilerPluginManager.h"
#include "Editor/Compiler/RecordFields.h"
#include "Editor/Compiler/SlotTable.h"
#include "Editor/Project/ProjectFile.h"
#include "Engine/Animation/RuntimeAnimation.h"
#include "Engine/Scene.h"
#include "Renderer/MaterialDefinition.h"

namespace ArdentisEngine {

class EditorData;
class ImportedSceneCache;

// An animation record made playable: one entry of tracks per animated object of its source file
// (translation, rotation and scaling keys, times in seconds), in the order in which the tracks
// first name them, so that a view that maps the file's objects itself (an animation preview)
// lines its targets up with these; the compiled scene's objects those targets are; and the
// record's events.
struct AnimationInstance {
    struct Event {
        double time;
        std::string name;
    };

    ResourceId record;
    std::string name;
    std::shared_ptr<const Data::RuntimeAnimation> animation;
    // Parallel to animation->targets: the object index in the source file, and the scene object
    // made from that object's record (InvalidId when the scene has none).
    std::vector<std::uint32_t> fileTargets;
    std::vector<Data::Id> targets;
    std::vector<Event> events;

    // The tracks whose targets are in the scene, as animation components play them.
    std::shared_ptr<const Data::RuntimeAnimation> sceneAnimation;
    std::vector<Data::Id> sceneTargets;

    float duration() const { return animation ? animation->duration : 0.0f; }
};

class AssetCompiler {
public:
    static constexpr std::uint32_t NoAnimation = 0xffffffffu;

    // Texture sampler bits in Data::TextureData::samplerFlags.
    static constexpr std::uint32_t SamplerRepeat = 1u << 0;
    static constexpr std::uint32_t SamplerLinear = 1u << 1;

    // Bits of Data::PipelineData::enabledFeatures: what the meshes drawn with a pipeline carry, so
    // that its shaders are built with the matching vertex features (featureDefines()).
    static constexpr std::uint32_t FeatureJoints = 1u << 0;
    static constexpr std::uint32_t FeatureMorphTargets = 1u << 1;
    static constexpr std::uint32_t FeatureTextureCoordinates = 1u << 2;
    // The shader defines of enabledFeatures bits, as the renderer's pipelines take them.
    static std::vector<std::string> featureDefines(std::uint32_t features);

    // A compiler of baked cache files into scene data, run by compileProbes(). Returns false when
    // it found nothing usable (the scene keeps what it had).
    using ProbeCompiler = std::function<bool(AssetCompiler& compiler, Data::Scene& scene)>;

    AssetCompiler(ProjectFile& project, Data::Scene& scene);
    // Compiles into the main scene of the editor data's project.
    explicit AssetCompiler(EditorData& data);
    ~AssetCompiler();
    AssetCompiler(const AssetCompiler&) = delete;
    AssetCompiler& operator=(const AssetCompiler&) = delete;

    ProjectFile& project() { return *_project; }
    Data::Scene& scene() { return *_scene; }

    // Compiles every category whose project stamp moved since the last compile. Returns the scene
    // categories it compiled (bit i = Data::SceneCategory i); 0 when nothing had changed.
    std::uint32_t compile();

    // Objects and their components. `all` rewrites every object from its record, which puts
    // simulated or animated objects back where the records have them; otherwise only objects whose
    // records changed are touched. Other changed categories are compiled first, since components
    // refer to them.
    void compileObjects(bool all);

    // Runs every probe compiler, in the order they were added. The built-in one, "environment",
    // reads the specular environment levels "environment-mip-{level}.{hdr,png}" from the project's
    // cache folder into Scene::environmentProbe: baseSize is level 0's width, and the data holds
    // every level's pixels as tightly packed RGBA32F, level 0 first, each level half the size of
    // the one before (rows bottom-up, as images are). Bakers that write other cache files (the
    // irradiance volume) add their own with addProbeCompiler(). Returns true when every compiler
    // succeeded.
    bool compileProbes();
    // Adds or replaces the compiler with that name.
    void addProbeCompiler(std::string name, ProbeCompiler compiler);
    void removeProbeCompiler(std::string_view name);
    std::vector<std::string> probeCompilerNames() const;

    // Images are decoded synchronously and stored uncompressed (records asking for compression
    // too, until the renderer has a tiled atlas): there is no background compression job, so this
    // is always false. Such a job reports here while it runs, so that the renderer keeps quiet
    // about a virtual atlas that is being refilled.
    bool isCompressingImages() const { return false; }

    // Scene slots of records; 0 when the record was never compiled (or failed the first time).
    std::uint16_t pipelineInstance(ResourceId pipeline) const { return _pipelines.find(pipeline); }
    std::uint16_t materialInstance(ResourceId material) const { return _materials.find(material); }
    std::uint16_t meshInstance(ResourceId mesh) const { return _meshes.find(mesh); }
    std::uint16_t textureInstance(ResourceId texture) const { return _textures.find(texture); }
    std::uint16_t imageInstance(ResourceId image) const { return _images.find(image); }
    std::uint16_t shaderInstance(ResourceId shader) const { return _shaders.find(shader); }
    std::uint16_t fontInstance(ResourceId font) const { return _fonts.find(font); }
    // Index into animationInstances(), or NoAnimation.
    std::uint32_t animationInstance(ResourceId animation) const;
    // The scene object made from an object record, or InvalidId.
    Data::Id objectInstance(ResourceId object) const;

    // The material definition of a compiled pipeline (by its slot), or null.
    const Shaders::MaterialDefinition* materialDefinition(std::uint16_t pipeline) const;
    // The name a material record of the pipeline keeps its shader parameters under: the shader
    // record's name, or a built-in pipeline's shader file without extension. Empty when none.
    const std::string& pipelineShaderName(std::uint16_t pipeline) const;
    // By pipeline slot; empty where a pipeline has no definition.
    std::span<const std::optional<Shaders::MaterialDefinition>> materialDefinitions() const { return _definitions; }
    std::span<const AnimationInstance> animationInstances() const { return _animationInstances; }

    // Records compiled by the last compile() or compileObjects(), by scene category.
    const std::array<std::uint32_t, Data::SceneCategoryCount>& compiledCounts() const { return _counts; }

    // The image plug-ins, kept for the compiler's life.
    CompilerPluginManager& pluginManager() { return _plugins; }

private:

    // Which records of a section need compiling. Edits are learnt from the project's change
    // listener, so a pass visits the edited records only; a record that failed stays due until it
    // compiles.
    struct SectionState {
        std::set<std::uint32_t> dirty;     // edited since the section's last pass
        std::set<std::uint32_t> compiled;  // compiled from their current record
        bool allDirty = true;              // the whole section (or project) was replaced

        // Whether the record is due; it counts as not compiled until done().
        bool begin(ResourceId id, bool force) {
            if(!force && !allDirty && !dirty.count(id.value) && compiled.count(id.value)) return false;
            compiled.erase(id.value);
            return true;
        }
        void done(ResourceId id) { compiled.insert(id.value); }
        // Ends a pass: forgets records that are gone and the edits seen.
        void forgetMissing(const std::set<std::uint32_t>& present);
        // forgetMissing() and frees the slots of records that are gone, which it returns.
        std::vector<std::uint16_t> release(SlotTable& slots, const std::vector<CompilerDetail::Record>& records);
    };

    void noteChange(std::string_view path);
    void compileCategories(bool allObjects);
    bool moved(ChangeCategory category) const;

    void compileShaders(bool force);
    void compilePipelines(bool force);
    void compileImages(bool force);
    void compileTextures(bool force);
    void compileMaterials(bool force);
    // The scene's draw list: the sky material of the environment settings, drawn behind everything.
    void compileSkyDraw();
    void compileMeshes(bool force);
    void compileFonts(bool force);
    // Adds the code points past Latin-1 that the project's texts use to those the fonts were
    // loaded with; true when any was new.
    bool gatherTextCodePoints();
    void compileAnimations(bool force);
    void compileObjectRecords(bool all, bool components);
    // The edited objects alone, when none of them was added, removed or moved in the hierarchy;
    // false (having changed nothing) otherwise.
    bool compileEditedObjects();
    // Makes the object's components anew from its record; returns the scene categories touched.
    std::uint32_t compileComponents(ResourceId id, const JsonValue* record, Data::Id object);

    // The imported scene of a project file: the importer's cache when it has one (valid for the
    // current pass only), else imported here and kept until the file changes on disk. Null after
    // one message when the file cannot be read.
    std::shared_ptr<const ImportedSceneCache> sceneFile(const std::string& file, std::string_view who);
    std::optional<std::string> readProjectText(const std::string& file, std::string_view who);
    bool compileEnvironmentProbe(Data::Scene& scene);

    void markCompiled(Data::SceneCategory category, std::uint32_t count = 1);
    // Derives every pipeline's enabledFeatures from the meshes its components draw.
    void updatePipelineFeatures();

    ProjectFile* _project;
    Data::Scene* _scene;
    CompilerPluginManager _plugins;

    std::array<std::uint32_t, std::size_t(ChangeCategory::Count)> _seen{};
    bool _first = true;
    std::array<std::uint32_t, Data::SceneCategoryCount> _counts{};
    std::uint32_t _compiledMask = 0;

    SlotTable _shaders, _pipelines, _images, _textures, _materials, _meshes, _fonts;
    // Sorted; only grows, so that deleting text never reloads the fonts.
    std::u32string _fontCodePoints;
    // Skins by object record; Scene::skins index = slot - 1.
    SlotTable _skins;
    std::map<std::string, SectionState, std::less<>> _sections;
    std::weak_ptr<const void> _projectLifetime;
    int _listener = 0;
    std::map<std::uint16_t, std::string> _shaderFiles;  // by shader slot, for includes and messages
    std::vector<std::optional<Shaders::MaterialDefinition>> _definitions;
    // Name of the fragment shader record of each pipeline slot: materials keep their parameters
    // in a sub-record named after it.
    std::vector<std::string> _pipelineShaderNames;
    std::vector<bool> _pipelineTransparent;

    // What skin components of objects drawing a mesh need from the mesh's file.
    struct MeshSkin {
        bool skinned = false;
        std::vector<Matrix4> inverseBindMatrices;
    };
    std::map<std::uint16_t, MeshSkin> _meshSkins;  // by mesh slot

    // An animation record as read from its file; instances are made from it whenever the objects
    // its tracks drive may have changed. Targets are found by name, preferring the object whose
    // parent has the name the target's parent has in the file.
    struct AnimationSource {
        std::string name;
        std::shared_ptr<const Data::AnimationData> data;
        // Names of the file's objects and of their parents, by object index.
        std::vector<std::string> objectNames, parentNames;
        std::vector<AnimationInstance::Event> events;
    };
    std::map<std::uint32_t, AnimationSource> _animationSources;  // by record id
    std::vector<AnimationInstance> _animationInstances;
    std::map<std::uint32_t, std::uint32_t> _animationIndex;  // record id -> instance
    void buildAnimationInstances();

    std::map<std::uint32_t, Data::Id> _objects;  // object record -> scene object
    struct SceneFile {
        std::filesystem::file_time_type time;
        std::uintmax_t size;
        std::shared_ptr<const ImportedSceneCache> cache;  // null when the file did not import
    };
    std::map<std::string, SceneFile> _sceneFiles;  // by project-relative path
    // Set by a pass when components may read something new through their slots.
    bool _componentInputs = false;

    std::vector<std::pair<std::string, ProbeCompiler>> _probeCompilers;
};

}
