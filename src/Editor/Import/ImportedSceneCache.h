#pragma once
// What importing a scene file leaves behind for the editor: the file's object hierarchy with its
// rest pose and, for the records made from the file, the decoded meshes, skins and animations.
// The file record's resolveData() hands out the cache; the mesh and animation records' hand out
// their MeshData and Data::AnimationData.
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "Engine/Animation/AnimationData.h"
#include "Engine/Scene.h"
#include "Gfx/MeshData.h"
#include "Math/Types.h"

namespace ArdentisEngine {

class ImportedSceneCache {
public:
    static constexpr std::uint32_t NoParent = 0xffffffffu;

    struct HierarchyEntry {
        std::uint32_t object;
        std::uint32_t parent;  // NoParent for a root
    };
    struct Transformation {
        std::uint32_t object;
        Vector3 translation;
        Quaternion rotation;
        Vector3 scaling;
    };
    struct Skin {
        std::string name;
        std::vector<std::uint32_t> joints;  // object indices
        std::vector<Matrix4> inverseBindMatrices;
    };
    struct Mesh {
        std::string name;
        MeshData data;
        std::uint32_t material = 0;  // index into the file's materials
        Data::MorphTargetSet morphTargets;
        std::int32_t skin = -1;  // index into skins, -1 when not skinned
    };

    std::uint32_t objectCount() const { return std::uint32_t(names.size()); }

    // By object index.
    std::vector<std::string> names;
    // Parents before children.
    std::vector<HierarchyEntry> hierarchy;
    std::vector<Transformation> transformations;
    // (object, 16-bit id) pairs for the scene's second id map: objects that carry meshes, with the
    // 1-based index of their first mesh.
    std::vector<std::pair<std::uint32_t, std::uint16_t>> ids;
    // Meshes drawn by each object, by object index.
    std::vector<std::vector<std::uint32_t>> objectMeshes;

    std::vector<Mesh> meshes;
    std::vector<Skin> skins;
    std::vector<Data::AnimationData> animations;
    std::vector<std::string> materialNames;
};

}
