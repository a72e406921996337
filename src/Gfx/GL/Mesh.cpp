#include "Gfx/GL/Mesh.h"

namespace ArdentisEngine::GL {

namespace {

GLenum glType(VertexType type) {
    switch(type) {
        case VertexType::Float: return GL_FLOAT;
        case VertexType::HalfFloat: return GL_HALF_FLOAT;
        case VertexType::UnsignedByteNormalized:
        case VertexType::UnsignedByte: return GL_UNSIGNED_BYTE;
        case VertexType::UnsignedShortNormalized:
        case VertexType::UnsignedShort: return GL_UNSIGNED_SHORT;
        case VertexType::UnsignedInt: return GL_UNSIGNED_INT;
        case VertexType::Int: return GL_INT;
    }
    return GL_FLOAT;
}

std::size_t typeSize(VertexType type) {
    switch(type) {
        case VertexType::UnsignedByteNormalized:
        case VertexType::UnsignedByte: return 1;
        case VertexType::HalfFloat:
        case VertexType::UnsignedShortNormalized:
        case VertexType::UnsignedShort: return 2;
        case VertexType::Float:
        case VertexType::UnsignedInt:
        case VertexType::Int: return 4;
    }
    return 4;
}

bool isInteger(VertexType type) {
    return type == VertexType::UnsignedByte || type == VertexType::UnsignedShort ||
        type == VertexType::UnsignedInt || type == VertexType::Int;
}

}

std::size_t VertexAttribute::size() const {
    return typeSize(type)*std::size_t(components)*std::size_t(columns);
}

GLenum glPrimitive(MeshPrimitive primitive) {
    switch(primitive) {
        case MeshPrimitive::Points: return GL_POINTS;
        case MeshPrimitive::Lines: return GL_LINES;
        case MeshPrimitive::LineStrip: return GL_LINE_STRIP;
        case MeshPrimitive::Triangles: return GL_TRIANGLES;
        case MeshPrimitive::TriangleStrip: return GL_TRIANGLE_STRIP;
        case MeshPrimitive::TriangleFan: return GL_TRIANGLE_FAN;
    }
    return GL_TRIANGLES;
}

Mesh::Mesh(MeshPrimitive primitive): _primitive{primitive} {
    GLuint id;
    glGenVertexArrays(1, &id);
    // Binding once creates the object so that it can be labelled.
    { const Implementation::VertexArrayBindingScope binding{id}; }
    _vao = {id, ObjectOwnership::Owned};
}

Mesh& Mesh::setLabel(std::string_view label) {
    _vao.label() = label;
    setObjectLabel(GL_VERTEX_ARRAY, id(), label);
    return *this;
}

void Mesh::attach(const Buffer& buffer, std::size_t offset, std::size_t stride,
    std::span<const VertexAttribute> attributes, unsigned divisor) {
    if(stride == 0) for(const VertexAttribute& a: attributes) stride += a.size();
    const Implementation::VertexArrayBindingScope binding{id()};
    glBindBuffer(GL_ARRAY_BUFFER, buffer.id());
    std::size_t at = offset;
    for(const VertexAttribute& a: attributes) {
        const std::size_t columnSize = a.size()/std::size_t(a.columns);
        for(int column = 0; column != a.columns; ++column) {
            const GLuint location = a.location + GLuint(column);
            const auto pointer = reinterpret_cast<const void*>(at + columnSize*std::size_t(column));
            glEnableVertexAttribArray(location);
            if(isInteger(a.type))
                glVertexAttribIPointer(location, a.components, glType(a.type), GLsizei(stride), pointer);
            else
                glVertexAttribPointer(location, a.components, glType(a.type),
                    a.type == VertexType::UnsignedByteNormalized || a.type == VertexType::UnsignedShortNormalized,
                    GLsizei(stride), pointer);
            glVertexAttribDivisor(location, divisor);
        }
        at += a.size();
    }
}

Mesh& Mesh::addVertexBuffer(Buffer& buffer, std::size_t offset, std::size_t stride,
    std::span<const VertexAttribute> attributes, unsigned divisor) {
    attach(buffer, offset, stride, attributes, divisor);
    return *this;
}

Mesh& Mesh::addVertexBuffer(Buffer&& buffer, std::size_t offset, std::size_t stride,
    std::span<const VertexAttribute> attributes, unsigned divisor) {
    attach(buffer, offset, stride, attributes, divisor);
    _ownedBuffers.push_back(std::move(buffer));
    return *this;
}

void Mesh::attachIndices(const Buffer& buffer, std::size_t offset, IndexType type) {
    // The element binding is vertex-array state: bound here it belongs to this mesh only.
    const Implementation::VertexArrayBindingScope binding{id()};
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, buffer.id());
    _indexBufferSet = true;
    _indexType = type;
    _indexOffset = offset;
}

Mesh& Mesh::setIndexBuffer(Buffer& buffer, std::size_t offset, IndexType type) {
    attachIndices(buffer, offset, type);
    return *this;
}

Mesh& Mesh::setIndexBuffer(Buffer&& buffer, std::size_t offset, IndexType type) {
    attachIndices(buffer, offset, type);
    _ownedBuffers.push_back(std::move(buffer));
    return *this;
}

void Mesh::draw() {
    if(_count == 0 || _instanceCount == 0 || !id()) return;
    const Implementation::VertexArrayBindingScope binding{id()};
    if(_indexBufferSet)
        glDrawElementsInstanced(glPrimitive(_primitive), _count, GLenum(_indexType),
            reinterpret_cast<const void*>(_indexOffset), _instanceCount);
    else
        glDrawArraysInstanced(glPrimitive(_primitive), 0, _count, _instanceCount);
}

}
