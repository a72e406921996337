#pragma once
// One engine scene: its graph, component managers, names and id maps, the change stamps that drive
// incremental runtime rebuilds, and the runtime data the renderer and bakers consume (plain CPU
// data; GPU objects belong to the renderer).
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Engine/Animation/AnimationManager.h"
#include "Engine/Animation/SkinData.h"
#include "Engine/BitSet.h"
#include "Engine/FontData.h"
#include "Engine/LightManager.h"
#include "Engine/MeshManager.h"
#include "Engine/NameManager.h"
#include "Engine/Physics/PhysicsManager.h"
#include "Engine/SceneGraph.h"
#include "Engine/TextManager.h"
#include "Engine/ViewManager.h"
#include "Gfx/Image.h"
#include "Gfx/MeshData.h"
#include "Math/BoundingSphere.h"

namespace ArdentisEngine::Data {

// Categories of scene data with a change stamp each. The first eighteen follow the project model's
// change categories value for value, so an edit's categories map over without a table.
enum class SceneCategory: std::uint8_t {
    Objects, Meshes, Materials, Textures, Images, Shaders, Fonts, Animations, Files,
    Lights, Texts, EnvironmentSettings, RenderSettings, EnvironmentProbe, ProbeVolume,
    Physics, ImageSettings, Settings, Pipelines, MorphTargets,
    Count
};
constexpr std::size_t SceneCategoryCount = std::size_t(SceneCategory::Count);
static_assert(SceneCategoryCount == 20);
const char* sceneCategoryName(SceneCategory category);

// [runtime data]

// A compressed image split into tiles that stream into the renderer's tiled atlas.
struct CompressedImageHeader {
    std::uint32_t tileCount = 0;
    std::uint32_t width = 0, height = 0;
};
struct ImageData {
    // Uncompressed pixels, when the image is not compressed.
    std::optional<Image> pixels;
    // Compressed tiles, each block-compressed data of one tile, and their content hashes.
    CompressedImageHeader header;
    std::vector<std::vector<std::byte>> tiles;
    std::vector<std::string> tileHashes;
    std::string name;

    bool isCompressed() const { return header.tileCount != 0 || !tiles.empty(); }
    bool isEmpty() const { return !pixels && !isCompressed(); }
    Vector2i size() const {
        return pixels ? pixels->size() : Vector2i{int(header.width), int(header.height)};
    }
};

struct TextureData {
    std::uint32_t id = 0;
    std::uint32_t image = 0;
    // Sampler settings as the renderer defines them (filtering, wrapping).
    std::uint32_t samplerFlags = 0;
};

struct MaterialData {
    std::uint16_t pipeline = 0;
    std::string name;
    // Parameter values in the layout of the pipeline's material definition.
    std::vector<float> parameters;
    std::vector<std::uint32_t> textures;
    bool alphaBlended = false;
};

struct ShaderHeader {
    std::uint8_t kind = 0;  // 0 vertex, 1 fragment
    std::uint8_t role = 0;  // 2 depth, 3 tile feedback, 4 skinning; other values are plain shaders
};
struct ShaderData {
    ShaderHeader header;
    std::string name;
    std::string source;
};

struct PipelineData {
    std::string name;
    std::uint16_t vertexShader = 0, fragmentShader = 0;
    // Fixed-function state and feature bits as the renderer's pipeline record defines them.
    std::uint32_t header = 0;
    std::uint32_t enabledFeatures = 0;
    bool present = false;
};

// Vertex deltas of a mesh's morph targets: targetCount runs of vertexCount positions each.
struct MorphTargetSet {
    std::uint32_t vertexCount = 0, targetCount = 0;
    std::vector<Vector3> positionDeltas;
    std::vector<Vector3> normalDeltas;
};

// Baked irradiance volume.
struct ProbeVolumeHeader {
    Vector3i resolution{0};
    Vector3 origin{0.0f}, size{0.0f};
};
struct ProbeVolumeData {
    ProbeVolumeHeader header;
    std::vector<std::uint32_t> indirection;
    std::vector<std::byte> probes;
};

// Pre-filtered specular environment: levelCount levels, level 0 baseSize wide.
struct ProbeHeader {
    std::uint32_t levelCount = 0;
};
struct ProbeData {
    ProbeHeader header;
    std::uint32_t baseSize = 0;
    std::vector<std::byte> data;
};

// A draw outside the component batches (debug geometry and the like).
struct Draw {
    std::uint16_t pipeline = 0;
    std::uint16_t mesh = 0;
    std::uint16_t material = 0;
    Matrix4 transformation{1.0f};
};

class Scene {
public:
    // `objectCapacity` objects in the graph; every manager starts with room for that many
    // components (they grow with setCapacity()).
    explicit Scene(std::uint16_t objectCapacity = 1024);
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    SceneGraph& graph() { return _graph; }
    const SceneGraph& graph() const { return _graph; }
    MeshManager& meshes() { return _meshes; }
    const MeshManager& meshes() const { return _meshes; }
    LightManager& lights() { return _lights; }
    const LightManager& lights() const { return _lights; }
    ViewManager& views() { return _views; }
    const ViewManager& views() const { return _views; }
    TextManager& texts() { return _texts; }
    const TextManager& texts() const { return _texts; }
    AnimationManager& animations() { return _animations; }
    const AnimationManager& animations() const { return _animations; }
    PhysicsManager& physics() { return _physics; }
    const PhysicsManager& physics() const { return _physics; }
    NameManager& names() { return _names; }
    const NameManager& names() const { return _names; }
    // First id map: object -> the project (or imported file) object it was made from.
    IdManager& ids() { return _ids; }
    const IdManager& ids() const { return _ids; }
    // Second id map: object -> 16-bit link id, 0 for none.
    IdManager& secondIds() { return _secondIds; }
    const IdManager& secondIds() const { return _secondIds; }

    // Grows the graph, every manager and the name and id tables together.
    void setCapacity(std::uint16_t objectCapacity);

    // Icon-font glyph (UTF-8) shown beside objects that carry a component of this type.
    static std::string_view iconForManager(ComponentType type);

    // [change stamps]
    // The revision moves on every change; a category's stamp is the revision of its last change.
    std::uint32_t revision() const { return _revision; }
    std::uint32_t stamp(SceneCategory category) const { return _stamps[std::size_t(category)]; }
    const std::array<std::uint32_t, SceneCategoryCount>& stamps() const { return _stamps; }
    void markChanged(SceneCategory category);
    // Marks each category whose bit is set in `categories` (bit i = category i) in one revision.
    void markChanged(std::uint32_t categories);
    // True when the category changed after `revision` was seen.
    bool changedSince(SceneCategory category, std::uint32_t revision) const { return stamp(category) != revision; }
    // Writes the current revision into every stamp: everything has been seen.
    void stampAll();

    // [runtime data] Index 0 of meshes, images, textures, materials, fonts, shaders and pipelines
    // is reserved ("none"); loaders fill slots from 1.
    std::vector<MeshData> meshData;
    // One local-space bounding sphere per mesh, by mesh index.
    std::vector<BoundingSphere> meshBoundingSpheres;
    // Vertex layout flags of the mesh data, as the renderer defines them.
    std::uint32_t meshDataFlags = 0;
    std::vector<ImageData> images;
    // Bit i set: image i streams, so its tiles may be evicted from the atlas.
    BitSet streamedImages;
    std::vector<TextureData> textures;
    std::vector<MaterialData> materials;
    std::vector<ShaderData> shaders;
    std::vector<PipelineData> pipelines;
    std::vector<FontData> fonts;
    std::vector<MorphTargetSet> morphTargetSets;
    std::vector<SkinData> skins;
    std::optional<ProbeVolumeData> probeVolume;
    std::optional<ProbeData> environmentProbe;
    std::vector<Draw> draws;
    // Objects that count as visible for baking (probe rendering).
    BitSet visibleObjects;

    // Object creation with names and id maps kept the size of the graph.
    Id addObject(Id parent, std::string_view name = {});

private:
    SceneGraph _graph;
    MeshManager _meshes;
    LightManager _lights;
    ViewManager _views;
    TextManager _texts;
    AnimationManager _animations;
    PhysicsManager _physics;
    NameManager _names;
    IdManager _ids, _secondIds;

    std::uint32_t _revision = 0;
    std::array<std::uint32_t, SceneCategoryCount> _stamps{};
};

}
