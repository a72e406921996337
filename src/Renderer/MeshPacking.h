#pragma once
// The renderer's own vertex layouts. Meshes are packed into interleaved vertices at the attribute
// locations of Shaders/lib/Inputs.glsl (0 position, 1 texture coordinates, 2 colour, 3 tangent,
// 5 normal, 6/7 joints and weights). These are not the locations of Gfx/MeshTools, whose meshes
// serve the editor's own shaders; a mesh meant for the renderer's batches goes through packMesh().
//
// The object id (location 4) is never part of a packed vertex: batches feed it per instance.
#include <cstddef>
#include <string>
#include <vector>

#include "Gfx/MeshData.h"
#include "Math/BoundingSphere.h"

namespace ArdentisEngine {

// Bits of a scene's mesh-data flags: which attributes its meshes carry.
enum MeshDataFlag: UnsignedInt {
    MeshDataNormal = 1u << 0,
    MeshDataTextureCoordinates = 1u << 1,
    MeshDataColor = 1u << 2,
    MeshDataTangent = 1u << 3,
    MeshDataJoints = 1u << 4,
    MeshDataObjectId = 1u << 5,
    MeshDataPosition = 1u << 6,
};
using MeshDataFlags = UnsignedInt;

// Vertex layout kinds. Every kind has a position; the rest is listed per kind.
enum class VertexLayoutKind: UnsignedByte {
    Position = 0,                  // position
    PositionNormal = 1,            // + normal
    PositionNormalUV = 2,          // + normal, texture coordinates
    PositionNormalUVTangent = 3,   // + normal, texture coordinates, tangent
    Skinned = 4,                   // + normal, texture coordinates, joints, weights
    Overlay = 5,                   // + normal, colour: the canvas's instanced overlay meshes
};
constexpr UnsignedByte VertexLayoutKindCount = 6;

// The layout that holds every attribute the flags name (joints win over tangents).
VertexLayoutKind layoutKindForFlags(MeshDataFlags flags);
// Bytes per vertex of a kind.
UnsignedInt vertexStride(VertexLayoutKind kind);
// Shader feature defines a kind supplies ("NORMAL", "TEXTURE_COORDS", ...).
std::vector<std::string> layoutDefines(VertexLayoutKind kind);

struct PackedMesh {
    VertexLayoutKind kind = VertexLayoutKind::Position;
    MeshPrimitive primitive = MeshPrimitive::Triangles;
    UnsignedInt vertexCount = 0;
    std::vector<std::byte> vertices;    // vertexCount*vertexStride(kind) bytes
    std::vector<UnsignedInt> indices;   // always indexed; a non-indexed mesh gets 0..n-1
    BoundingSphere bounds;              // local space

    bool isEmpty() const { return indices.empty(); }
};

// Attributes the kind has but the mesh lacks are filled with neutral values (normal +Z, white,
// zero texture coordinates, tangent +X, weight 1 on joint 0); attributes the kind lacks are dropped.
// An invalid mesh is logged and gives an empty PackedMesh.
PackedMesh packMesh(const MeshData& mesh, VertexLayoutKind kind);

}
