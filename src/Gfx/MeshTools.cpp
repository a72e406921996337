#include "Gfx/MeshTools.h"

#include <cmath>
#include <cstring>
#include <limits>

#include "Gfx/Log.h"

namespace ArdentisEngine::MeshTools {

unsigned attributeLocation(MeshAttribute attribute) {
    switch(attribute) {
        case MeshAttribute::Position: return AttributeLocation::Position;
        case MeshAttribute::Normal: return AttributeLocation::Normal;
        case MeshAttribute::Tangent: return AttributeLocation::Tangent;
        case MeshAttribute::TextureCoordinates: return AttributeLocation::TextureCoordinates;
        case MeshAttribute::Color: return AttributeLocation::Color;
        case MeshAttribute::JointIds: return AttributeLocation::JointIds;
        case MeshAttribute::Weights: return AttributeLocation::Weights;
        case MeshAttribute::ObjectId: return AttributeLocation::ObjectId;
    }
    return AttributeLocation::Position;
}

namespace {

template<class T> void appendAttribute(std::vector<T>& out, const std::vector<T>& in,
    std::size_t vertexCount, bool resultHasIt, const T& fallback) {
    if(!resultHasIt) return;
    if(in.empty()) out.insert(out.end(), vertexCount, fallback);
    else out.insert(out.end(), in.begin(), in.end());
}

bool isJoinable(MeshPrimitive p) {
    return p == MeshPrimitive::Points || p == MeshPrimitive::Lines || p == MeshPrimitive::Triangles;
}

MeshData concatenateImpl(std::span<const MeshData* const> meshes) {
    if(meshes.empty()) return MeshData{};
    const MeshPrimitive primitive = meshes.front()->primitive;
    if(meshes.size() == 1) return *meshes.front();
    if(!isJoinable(primitive)) {
        Log::error("MeshTools::concatenate(): cannot join meshes of primitive {}", meshPrimitiveName(primitive));
        return MeshData{primitive};
    }
    bool normals = false, tangents = false, uvs = false, colors = false, joints = false, weights = false,
        ids = false, indexed = false;
    for(const MeshData* m: meshes) {
        if(m->primitive != primitive) {
            Log::error("MeshTools::concatenate(): mixed primitives {} and {}",
                meshPrimitiveName(primitive), meshPrimitiveName(m->primitive));
            return MeshData{primitive};
        }
        std::string why;
        if(!m->isValid(&why)) {
            Log::error("MeshTools::concatenate(): invalid input mesh: {}", why);
            return MeshData{primitive};
        }
        normals |= m->hasNormals(); tangents |= m->hasTangents(); uvs |= m->hasTextureCoordinates();
        colors |= m->hasColors(); joints |= m->hasJointIds(); weights |= m->hasWeights();
        ids |= m->hasObjectIds(); indexed |= m->isIndexed();
    }

    MeshData out{primitive};
    for(const MeshData* m: meshes) {
        const std::size_t n = m->vertexCount();
        const auto base = UnsignedInt(out.positions.size());
        if(indexed) {
            if(m->isIndexed()) for(UnsignedInt i: m->indices) out.indices.push_back(base + i);
            else for(std::size_t i = 0; i != n; ++i) out.indices.push_back(base + UnsignedInt(i));
        }
        out.positions.insert(out.positions.end(), m->positions.begin(), m->positions.end());
        appendAttribute(out.normals, m->normals, n, normals, Vector3{0.0f});
        appendAttribute(out.tangents, m->tangents, n, tangents, Vector4{1.0f, 0.0f, 0.0f, 1.0f});
        appendAttribute(out.textureCoordinates, m->textureCoordinates, n, uvs, Vector2{0.0f});
        appendAttribute(out.colors, m->colors, n, colors, Color4{1.0f});
        appendAttribute(out.jointIds, m->jointIds, n, joints, JointIds{0u});
        appendAttribute(out.weights, m->weights, n, weights, Vector4{0.0f});
        appendAttribute(out.objectIds, m->objectIds, n, ids, UnsignedInt{0});
    }
    return out;
}

}

MeshData concatenate(std::span<const MeshData> meshes) {
    std::vector<const MeshData*> pointers;
    pointers.reserve(meshes.size());
    for(const MeshData& m: meshes) pointers.push_back(&m);
    return concatenateImpl(pointers);
}

MeshData concatenate(std::initializer_list<std::reference_wrapper<const MeshData>> meshes) {
    std::vector<const MeshData*> pointers;
    pointers.reserve(meshes.size());
    for(const MeshData& m: meshes) pointers.push_back(&m);
    return concatenateImpl(pointers);
}

void transform3DInPlace(MeshData& mesh, const Matrix4& transformation) {
    for(Vector3& p: mesh.positions) p = Vector3{transformation*Vector4{p, 1.0f}};
    const Matrix3 linear{transformation};
    const Matrix3 normalMatrix = glm::transpose(glm::inverse(linear));
    for(Vector3& n: mesh.normals) {
        const Vector3 t = normalMatrix*n;
        const float length = glm::length(t);
        n = length > 0.0f ? t/length : t;
    }
    const float handedness = glm::determinant(linear) < 0.0f ? -1.0f : 1.0f;
    for(Vector4& tangent: mesh.tangents) {
        Vector3 t = linear*Vector3{tangent};
        const float length = glm::length(t);
        if(length > 0.0f) t /= length;
        tangent = Vector4{t, tangent.w*handedness};
    }
}

MeshData transform3D(const MeshData& mesh, const Matrix4& transformation) {
    MeshData out = mesh;
    transform3DInPlace(out, transformation);
    return out;
}

BoundingSphere boundingSphere(const MeshData& mesh) {
    if(mesh.positions.empty()) return {};
    Vector3 min{std::numeric_limits<float>::max()}, max{-std::numeric_limits<float>::max()};
    for(const Vector3& p: mesh.positions) {
        min = glm::min(min, p);
        max = glm::max(max, p);
    }
    const Vector3 center = (min + max)*0.5f;
    float radiusSquared = 0.0f;
    for(const Vector3& p: mesh.positions) {
        const Vector3 d = p - center;
        radiusSquared = glm::max(radiusSquared, glm::dot(d, d));
    }
    return {center, std::sqrt(radiusSquared)};
}

namespace {
template<class T> std::vector<T> gather(const std::vector<T>& in, const std::vector<UnsignedInt>& indices) {
    if(in.empty()) return {};
    std::vector<T> out;
    out.reserve(indices.size());
    for(UnsignedInt i: indices) out.push_back(in[i]);
    return out;
}
}

MeshData deindex(const MeshData& mesh) {
    if(!mesh.isIndexed()) return mesh;
    std::string why;
    if(!mesh.isValid(&why)) {
        Log::error("MeshTools::deindex(): invalid mesh: {}", why);
        return MeshData{mesh.primitive};
    }
    MeshData out{mesh.primitive};
    out.positions = gather(mesh.positions, mesh.indices);
    out.normals = gather(mesh.normals, mesh.indices);
    out.tangents = gather(mesh.tangents, mesh.indices);
    out.textureCoordinates = gather(mesh.textureCoordinates, mesh.indices);
    out.colors = gather(mesh.colors, mesh.indices);
    out.jointIds = gather(mesh.jointIds, mesh.indices);
    out.weights = gather(mesh.weights, mesh.indices);
    out.objectIds = gather(mesh.objectIds, mesh.indices);
    return out;
}

bool generateFlatNormalsInPlace(MeshData& mesh) {
    if(mesh.primitive != MeshPrimitive::Triangles) {
        Log::error("MeshTools::generateFlatNormals(): needs triangles, got {}", meshPrimitiveName(mesh.primitive));
        return false;
    }
    mesh = deindex(mesh);
    const std::size_t triangles = mesh.positions.size()/3;
    mesh.normals.assign(mesh.positions.size(), Vector3{0.0f});
    for(std::size_t t = 0; t != triangles; ++t) {
        const Vector3& a = mesh.positions[3*t];
        const Vector3& b = mesh.positions[3*t + 1];
        const Vector3& c = mesh.positions[3*t + 2];
        const Vector3 cross = glm::cross(b - a, c - a);
        const float length = glm::length(cross);
        // Degenerate triangles keep a zero normal rather than NaN.
        const Vector3 n = length > 0.0f ? cross/length : Vector3{0.0f};
        for(int i = 0; i != 3; ++i) mesh.normals[3*t + i] = n;
    }
    return true;
}

const VertexAttributeLayout* InterleavedVertices::find(MeshAttribute attribute) const {
    for(const VertexAttributeLayout& a: attributes)
        if(a.attribute == attribute) return &a;
    return nullptr;
}

namespace {
template<class T> void describe(InterleavedVertices& out, const std::vector<T>& values, MeshAttribute attribute,
    VertexComponentType type) {
    if(values.empty()) return;
    constexpr unsigned components = sizeof(T)/4;
    out.attributes.push_back({attribute, attributeLocation(attribute), type, components, out.stride});
    out.stride += sizeof(T);
}
template<class T> void pack(InterleavedVertices& out, const std::vector<T>& values, MeshAttribute attribute) {
    const VertexAttributeLayout* layout = out.find(attribute);
    if(!layout) return;
    for(std::size_t i = 0; i != values.size(); ++i)
        std::memcpy(out.data.data() + i*out.stride + layout->offset, &values[i], sizeof(T));
}
}

InterleavedVertices interleave(const MeshData& mesh) {
    InterleavedVertices out;
    describe(out, mesh.positions, MeshAttribute::Position, VertexComponentType::Float);
    describe(out, mesh.normals, MeshAttribute::Normal, VertexComponentType::Float);
    describe(out, mesh.tangents, MeshAttribute::Tangent, VertexComponentType::Float);
    describe(out, mesh.textureCoordinates, MeshAttribute::TextureCoordinates, VertexComponentType::Float);
    describe(out, mesh.colors, MeshAttribute::Color, VertexComponentType::Float);
    describe(out, mesh.jointIds, MeshAttribute::JointIds, VertexComponentType::UnsignedInt);
    describe(out, mesh.weights, MeshAttribute::Weights, VertexComponentType::Float);
    describe(out, mesh.objectIds, MeshAttribute::ObjectId, VertexComponentType::UnsignedInt);
    out.data.resize(out.stride*mesh.vertexCount());
    pack(out, mesh.positions, MeshAttribute::Position);
    pack(out, mesh.normals, MeshAttribute::Normal);
    pack(out, mesh.tangents, MeshAttribute::Tangent);
    pack(out, mesh.textureCoordinates, MeshAttribute::TextureCoordinates);
    pack(out, mesh.colors, MeshAttribute::Color);
    pack(out, mesh.jointIds, MeshAttribute::JointIds);
    pack(out, mesh.weights, MeshAttribute::Weights);
    pack(out, mesh.objectIds, MeshAttribute::ObjectId);
    return out;
}

}
