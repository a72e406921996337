#pragma once
// A vertex array with the buffers it draws from. Buffers moved in are owned by the mesh; buffers
// passed by reference stay owned by the caller and must outlive the mesh.
#include <cstddef>
#include <initializer_list>
#include <span>
#include <vector>

#include "Gfx/GL/Buffer.h"
#include "Gfx/GL/Object.h"
#include "Gfx/MeshData.h"

namespace ArdentisEngine::GL {

enum class VertexType: std::uint8_t {
    Float,
    HalfFloat,
    // Normalised to 0..1 in the shader.
    UnsignedByteNormalized,
    UnsignedShortNormalized,
    // Integer attributes, read as uint/int in the shader.
    UnsignedByte,
    UnsignedShort,
    UnsignedInt,
    Int,
};

struct VertexAttribute {
    unsigned location;
    int components{4};
    VertexType type{VertexType::Float};
    // Matrices take one location per column, each column `components` wide.
    int columns{1};

    std::size_t size() const;
};

enum class IndexType: GLenum {
    UnsignedByte = GL_UNSIGNED_BYTE,
    UnsignedShort = GL_UNSIGNED_SHORT,
    UnsignedInt = GL_UNSIGNED_INT,
};

GLenum glPrimitive(MeshPrimitive primitive);

class Mesh {
public:
    explicit Mesh(MeshPrimitive primitive = MeshPrimitive::Triangles);
    explicit Mesh(NoCreateT) {}

    GLuint id() const { return _vao.id(); }
    Mesh& setLabel(std::string_view label);
    const std::string& label() const { return _vao.label(); }

    MeshPrimitive primitive() const { return _primitive; }
    Mesh& setPrimitive(MeshPrimitive primitive) { _primitive = primitive; return *this; }
    // Vertices, or indices when indexed. A mesh with count 0 draws nothing.
    int count() const { return _count; }
    Mesh& setCount(int count) { _count = count; return *this; }
    int instanceCount() const { return _instanceCount; }
    Mesh& setInstanceCount(int count) { _instanceCount = count; return *this; }
    bool isIndexed() const { return _indexBufferSet; }
    IndexType indexType() const { return _indexType; }

    // Attributes lie one after another from `offset` in each vertex of `stride` bytes (0: packed
    // tightly). A non-zero divisor advances them once per that many instances.
    Mesh& addVertexBuffer(Buffer& buffer, std::size_t offset, std::size_t stride,
        std::span<const VertexAttribute> attributes, unsigned divisor = 0);
    Mesh& addVertexBuffer(Buffer&& buffer, std::size_t offset, std::size_t stride,
        std::span<const VertexAttribute> attributes, unsigned divisor = 0);
    Mesh& addVertexBuffer(Buffer& buffer, std::size_t offset, std::size_t stride,
        std::initializer_list<VertexAttribute> attributes, unsigned divisor = 0) {
        return addVertexBuffer(buffer, offset, stride, std::span<const VertexAttribute>{attributes.begin(), attributes.size()}, divisor);
    }
    Mesh& addVertexBuffer(Buffer&& buffer, std::size_t offset, std::size_t stride,
        std::initializer_list<VertexAttribute> attributes, unsigned divisor = 0) {
        return addVertexBuffer(std::move(buffer), offset, stride, std::span<const VertexAttribute>{attributes.begin(), attributes.size()}, divisor);
    }

    Mesh& setIndexBuffer(Buffer& buffer, std::size_t offset, IndexType type);
    Mesh& setIndexBuffer(Buffer&& buffer, std::size_t offset, IndexType type);

    // Draws with the program in use. Nothing happens for an empty mesh.
    void draw();

private:
    static void destroy(GLuint id) { glDeleteVertexArrays(1, &id); }
    void attach(const Buffer& buffer, std::size_t offset, std::size_t stride,
        std::span<const VertexAttribute> attributes, unsigned divisor);
    void attachIndices(const Buffer& buffer, std::size_t offset, IndexType type);

    Implementation::ObjectHandle<destroy> _vao;
    MeshPrimitive _primitive{MeshPrimitive::Triangles};
    int _count{0};
    int _instanceCount{1};
    bool _indexBufferSet{false};
    IndexType _indexType{IndexType::UnsignedInt};
    std::size_t _indexOffset{0};
    std::vector<Buffer> _ownedBuffers;
};

}
