#pragma once
// Operations on CPU mesh data, and compile() which uploads it into a GL mesh.
#include <cstddef>
#include <functional>
#include <initializer_list>
#include <span>
#include <vector>

#include "Gfx/MeshData.h"
#include "Math/BoundingSphere.h"

namespace ArdentisEngine::GL { class Mesh; }

namespace ArdentisEngine::MeshTools {

// Attribute locations shared by compile() and every built-in shader. Locations 8-11 are taken by
// the per-instance transformation matrix (one vec4 column each), 12 by the per-instance colour.
namespace AttributeLocation {
inline constexpr unsigned Position = 0;
inline constexpr unsigned Normal = 1;
inline constexpr unsigned Tangent = 2;
inline constexpr unsigned TextureCoordinates = 3;
inline constexpr unsigned Color = 4;
inline constexpr unsigned JointIds = 5;
inline constexpr unsigned Weights = 6;
inline constexpr unsigned ObjectId = 7;
inline constexpr unsigned InstanceTransformation = 8; // 8, 9, 10, 11
inline constexpr unsigned InstanceColor = 12;
}

unsigned attributeLocation(MeshAttribute attribute);

// Joins meshes of one primitive into one. An attribute present in only some inputs gets default
// values for the others (zero, white colour, tangent +X); the result is indexed when any input is.
// Strips and fans cannot be joined without restart indices: that, or mixed primitives, logs an
// error and returns an empty mesh.
MeshData concatenate(std::span<const MeshData> meshes);
MeshData concatenate(std::initializer_list<std::reference_wrapper<const MeshData>> meshes);

// Positions by the matrix, normals by its normal matrix, tangents by its upper 3x3; both renormalised.
// A mirroring matrix flips the tangent handedness so the bitangent stays consistent.
void transform3DInPlace(MeshData& mesh, const Matrix4& transformation);
MeshData transform3D(const MeshData& mesh, const Matrix4& transformation);

// Sphere around the axis-aligned box centre enclosing every position; empty for no vertices.
BoundingSphere boundingSphere(const MeshData& mesh);

// Copies every vertex out through the index buffer; the result is not indexed.
MeshData deindex(const MeshData& mesh);

// Triangle meshes only: de-indexes and gives each triangle's three vertices the face normal.
// Logs an error and returns false for other primitives.
bool generateFlatNormalsInPlace(MeshData& mesh);

enum class VertexComponentType: std::uint8_t { Float, UnsignedInt };

struct VertexAttributeLayout {
    MeshAttribute attribute;
    unsigned location;
    VertexComponentType type;
    unsigned components;
    std::size_t offset;
};

// All present attributes of each vertex packed one after another, in MeshAttribute order.
struct InterleavedVertices {
    std::vector<std::byte> data;
    std::size_t stride{0};
    std::vector<VertexAttributeLayout> attributes;

    const VertexAttributeLayout* find(MeshAttribute attribute) const;
};

InterleavedVertices interleave(const MeshData& mesh);

// Uploads an interleaved vertex buffer (and a 32-bit index buffer when indexed) at the locations
// above. Invalid data logs an error and gives an empty mesh that draws nothing. Defined with the GL
// layer; include "Gfx/GL/Mesh.h" to call it.
GL::Mesh compile(const MeshData& mesh);

}
