#include "Renderer/MeshPacking.h"

#include <cstring>

#include "Gfx/Assert.h"
#include "Gfx/Log.h"

namespace ArdentisEngine {

namespace {

struct KindLayout {
    bool normal, uv, tangent, color, joints;
};

KindLayout kindLayout(VertexLayoutKind kind) {
    switch(kind) {
        case VertexLayoutKind::Position: return {false, false, false, false, false};
        case VertexLayoutKind::PositionNormal: return {true, false, false, false, false};
        case VertexLayoutKind::PositionNormalUV: return {true, true, false, false, false};
        case VertexLayoutKind::PositionNormalUVTangent: return {true, true, true, false, false};
        case VertexLayoutKind::Skinned: return {true, true, false, false, true};
        case VertexLayoutKind::Overlay: return {true, false, false, true, false};
    }
    AE_UNREACHABLE();
}

template<class T> void put(std::byte*& out, const T& value) {
    std::memcpy(out, &value, sizeof(T));
    out += sizeof(T);
}

BoundingSphere boundsOf(const std::vector<Vector3>& positions) {
    if(positions.empty()) return {};
    Vector3 lo = positions[0], hi = positions[0];
    for(const Vector3& p: positions) {
        lo = glm::min(lo, p);
        hi = glm::max(hi, p);
    }
    const Vector3 center = (lo + hi)*0.5f;
    float r2 = 0.0f;
    for(const Vector3& p: positions) r2 = std::max(r2, glm::dot(p - center, p - center));
    // A degenerate mesh (one point) still gets a tiny sphere so that it is not "empty".
    return {center, std::max(std::sqrt(r2), 1e-6f)};
}

}

VertexLayoutKind layoutKindForFlags(MeshDataFlags flags) {
    if(flags & MeshDataJoints) return VertexLayoutKind::Skinned;
    if(flags & MeshDataTangent) return VertexLayoutKind::PositionNormalUVTangent;
    if(flags & MeshDataTextureCoordinates) return VertexLayoutKind::PositionNormalUV;
    if(flags & MeshDataNormal) return VertexLayoutKind::PositionNormal;
    return VertexLayoutKind::Position;
}

UnsignedInt vertexStride(VertexLayoutKind kind) {
    const KindLayout l = kindLayout(kind);
    return 12 + (l.normal ? 12 : 0) + (l.uv ? 8 : 0) + (l.tangent ? 16 : 0) + (l.color ? 16 : 0) +
           (l.joints ? 16 + 16 : 0);
}

std::vector<std::string> layoutDefines(VertexLayoutKind kind) {
    const KindLayout l = kindLayout(kind);
    std::vector<std::string> out;
    if(l.normal) out.emplace_back("NORMAL");
    if(l.uv) out.emplace_back("TEXTURE_COORDS");
    if(l.tangent) out.emplace_back("TANGENT");
    if(l.color) out.emplace_back("COLOR");
    if(l.joints) out.emplace_back("PRIMARY_JOINTS");
    return out;
}

PackedMesh packMesh(const MeshData& mesh, VertexLayoutKind kind) {
    std::string why;
    if(!mesh.isValid(&why)) {
        Log::error("packMesh(): invalid mesh: {}", why);
        return {};
    }
    PackedMesh out;
    out.kind = kind;
    out.primitive = mesh.primitive;
    out.vertexCount = UnsignedInt(mesh.vertexCount());
    out.bounds = boundsOf(mesh.positions);
    const KindLayout l = kindLayout(kind);
    const UnsignedInt stride = vertexStride(kind);
    out.vertices.resize(std::size_t(stride)*out.vertexCount);
    std::byte* o = out.vertices.data();
    for(std::size_t i = 0; i != mesh.vertexCount(); ++i) {
        put(o, mesh.positions[i]);
        if(l.normal) put(o, mesh.hasNormals() ? mesh.normals[i] : Vector3{0.0f, 0.0f, 1.0f});
        if(l.uv) put(o, mesh.hasTextureCoordinates() ? mesh.textureCoordinates[i] : Vector2{0.0f});
        if(l.tangent) put(o, mesh.hasTangents() ? mesh.tangents[i] : Vector4{1.0f, 0.0f, 0.0f, 1.0f});
        if(l.color) put(o, mesh.hasColors() ? mesh.colors[i] : Color4{1.0f});
        if(l.joints) {
            put(o, mesh.hasJointIds() ? mesh.jointIds[i] : JointIds{0u});
            put(o, mesh.hasWeights() ? mesh.weights[i] : Vector4{1.0f, 0.0f, 0.0f, 0.0f});
        }
    }
    if(mesh.isIndexed()) out.indices = mesh.indices;
    else {
        out.indices.resize(mesh.vertexCount());
        for(std::size_t i = 0; i != out.indices.size(); ++i) out.indices[i] = UnsignedInt(i);
    }
    return out;
}

}
