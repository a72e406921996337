#pragma once
// A small glTF 2.0 writer: collects meshes, nodes, skins and animations, then writes either a .gltf
// with a .bin beside it or a single .glb. Output depends only on what was added, so the same scene
// gives the same bytes every run.
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Gfx/MeshData.h"
#include "Math/Types.h"

namespace ArdentisEngine::DemoAssets {

struct GltfNode {
    std::string name;
    Vector3 translation{0.0f};
    Quaternion rotation{1.0f, 0.0f, 0.0f, 0.0f};
    Vector3 scaling{1.0f};
    std::optional<unsigned> mesh, skin;
    std::vector<unsigned> children;
};

struct GltfChannel {
    unsigned node;
    // Exactly one of the value lists is filled, with one value per time.
    std::vector<float> times;
    std::vector<Vector3> translations;
    std::vector<Quaternion> rotations;
};

class GltfWriter {
public:
    unsigned addMaterial(const std::string& name, const Color4& baseColor, float metallic, float roughness);
    // Triangles with positions and normals, optional texture coordinates, joints and weights.
    unsigned addMesh(const std::string& name, const MeshData& data, unsigned material);
    unsigned addNode(GltfNode node);
    // Makes child a child of parent; nodes without a parent are the scene's roots.
    void attach(unsigned parent, unsigned child);
    unsigned addSkin(const std::string& name, const std::vector<unsigned>& joints, const std::vector<Matrix4>& inverseBindMatrices);
    void addAnimation(const std::string& name, const std::vector<GltfChannel>& channels);

    // Writes folder/stem.gltf and folder/stem.bin. False after one logged message.
    bool writeGltf(const std::string& folder, const std::string& stem) const;
    // Writes path as one binary file.
    bool writeGlb(const std::string& path) const;

private:
    struct Accessor {
        std::size_t offset, size;
        int componentType;
        const char* type;
        std::size_t count;
        std::optional<int> target;
        std::vector<float> min, max;
    };
    struct Mesh {
        std::string name;
        unsigned material;
        // Accessor per attribute name, in the order written.
        std::vector<std::pair<const char*, unsigned>> attributes;
        unsigned indices;
    };
    struct Skin {
        std::string name;
        std::vector<unsigned> joints;
        unsigned inverseBindMatrices;
    };
    struct Sampler {
        unsigned node, input, output;
        const char* path;
    };
    struct Animation {
        std::string name;
        std::vector<Sampler> samplers;
    };
    struct Material {
        std::string name;
        Color4 baseColor;
        float metallic, roughness;
    };

    // Appends bytes to the buffer at a 4-byte boundary and describes them by an accessor.
    unsigned addAccessor(const void* data, std::size_t size, int componentType, const char* type, std::size_t count,
                         std::optional<int> target, std::vector<float> min = {}, std::vector<float> max = {});
    unsigned addFloats(const std::vector<float>& values, const char* type, std::size_t count, std::optional<int> target, bool bounds);
    std::string json(const std::string& bufferUri) const;

    std::vector<unsigned char> _buffer;
    std::vector<Accessor> _accessors;
    std::vector<Mesh> _meshes;
    std::vector<GltfNode> _nodes;
    std::vector<bool> _hasParent;
    std::vector<Skin> _skins;
    std::vector<Animation> _animations;
    std::vector<Material> _materials;
};

}
