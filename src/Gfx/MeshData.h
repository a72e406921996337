#pragma once
// CPU-side mesh: a primitive type, optional per-vertex attributes of fixed types and optional
// 32-bit indices. Every present attribute has one entry per vertex; absent ones are empty.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "Math/Types.h"

namespace ArdentisEngine {

enum class MeshPrimitive: std::uint8_t {
    Points,
    Lines,
    LineStrip,
    Triangles,
    TriangleStrip,
    TriangleFan
};

const char* meshPrimitiveName(MeshPrimitive primitive);

enum class MeshAttribute: std::uint8_t {
    Position,
    Normal,
    Tangent,
    TextureCoordinates,
    Color,
    JointIds,
    Weights,
    ObjectId
};

const char* meshAttributeName(MeshAttribute attribute);

using JointIds = glm::uvec4;

struct MeshData {
    MeshPrimitive primitive{MeshPrimitive::Triangles};

    std::vector<Vector3> positions;
    std::vector<Vector3> normals;
    // xyz is the tangent, w the handedness (+1 or -1) of the bitangent.
    std::vector<Vector4> tangents;
    std::vector<Vector2> textureCoordinates;
    std::vector<Color4> colors;
    std::vector<JointIds> jointIds;
    std::vector<Vector4> weights;
    std::vector<UnsignedInt> objectIds;

    std::vector<UnsignedInt> indices;

    MeshData() = default;
    explicit MeshData(MeshPrimitive primitive_): primitive{primitive_} {}

    std::size_t vertexCount() const { return positions.size(); }
    bool isIndexed() const { return !indices.empty(); }
    // What a draw call consumes: the index count when indexed, else the vertex count.
    std::size_t elementCount() const { return isIndexed() ? indices.size() : vertexCount(); }

    bool hasAttribute(MeshAttribute attribute) const;
    bool hasNormals() const { return !normals.empty(); }
    bool hasTangents() const { return !tangents.empty(); }
    bool hasTextureCoordinates() const { return !textureCoordinates.empty(); }
    bool hasColors() const { return !colors.empty(); }
    bool hasJointIds() const { return !jointIds.empty(); }
    bool hasWeights() const { return !weights.empty(); }
    bool hasObjectIds() const { return !objectIds.empty(); }

    // Number of entries of the given attribute (0 when absent).
    std::size_t attributeCount(MeshAttribute attribute) const;

    // Checks attribute sizes against the vertex count and indices against the vertex range.
    // On failure returns false and, when given, fills `why` with a one-line reason.
    bool isValid(std::string* why = nullptr) const;

    // Element `i` resolved through the index buffer when there is one.
    UnsignedInt vertexIndex(std::size_t i) const { return isIndexed() ? indices[i] : UnsignedInt(i); }
};

}
