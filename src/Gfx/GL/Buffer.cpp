#include "Gfx/GL/Buffer.h"

#include "Gfx/Log.h"

namespace ArdentisEngine::GL {

namespace {
// Edits go through the copy-write binding: binding GL_ELEMENT_ARRAY_BUFFER here would silently
// change the index buffer of whatever vertex array happens to be bound.
constexpr GLenum EditTarget = GL_COPY_WRITE_BUFFER;
}

Buffer::Buffer() {
    GLuint id;
    // glGen* only reserves the name; binding once creates the object so labels can be set on it.
    glGenBuffers(1, &id);
    glBindBuffer(EditTarget, id);
    _handle = {id, ObjectOwnership::Owned};
}

Buffer Buffer::wrap(GLuint id, ObjectOwnership ownership) {
    Buffer b{NoCreate};
    b._handle = {id, ownership};
    if(id) {
        GLint size = 0;
        glBindBuffer(EditTarget, id);
        glGetBufferParameteriv(EditTarget, GL_BUFFER_SIZE, &size);
        b._size = std::size_t(size);
    }
    return b;
}

Buffer& Buffer::setLabel(std::string_view label) {
    _handle.label() = label;
    setObjectLabel(GL_BUFFER, id(), label);
    return *this;
}

Buffer& Buffer::setData(std::span<const std::byte> data, BufferUsage usage) {
    glBindBuffer(EditTarget, id());
    glBufferData(EditTarget, GLsizeiptr(data.size()), data.empty() ? nullptr : data.data(), GLenum(usage));
    _size = data.size();
    return *this;
}

Buffer& Buffer::allocate(std::size_t size, BufferUsage usage) {
    glBindBuffer(EditTarget, id());
    glBufferData(EditTarget, GLsizeiptr(size), nullptr, GLenum(usage));
    _size = size;
    return *this;
}

Buffer& Buffer::setSubData(std::size_t offset, std::span<const std::byte> data) {
    if(offset + data.size() > _size) {
        Log::error("GL::Buffer {}: sub-data of {} bytes at {} is outside the {} bytes of the buffer",
            label(), data.size(), offset, _size);
        return *this;
    }
    if(data.empty()) return *this;
    glBindBuffer(EditTarget, id());
    glBufferSubData(EditTarget, GLintptr(offset), GLsizeiptr(data.size()), data.data());
    return *this;
}

std::vector<std::byte> Buffer::subData(std::size_t offset, std::size_t size) const {
    if(offset + size > _size) {
        Log::error("GL::Buffer {}: reading {} bytes at {} is outside the {} bytes of the buffer",
            label(), size, offset, _size);
        return {};
    }
    std::vector<std::byte> out(size);
    if(size == 0) return out;
    glBindBuffer(GL_COPY_READ_BUFFER, id());
    glGetBufferSubData(GL_COPY_READ_BUFFER, GLintptr(offset), GLsizeiptr(size), out.data());
    return out;
}

void* Buffer::map(std::size_t offset, std::size_t length, GLbitfield access) {
    if(length == 0 || offset + length > _size) {
        Log::error("GL::Buffer {}: cannot map {} bytes at {} of a {}-byte buffer", label(), length, offset, _size);
        return nullptr;
    }
    glBindBuffer(EditTarget, id());
    void* pointer = glMapBufferRange(EditTarget, GLintptr(offset), GLsizeiptr(length), access);
    if(!pointer) Log::error("GL::Buffer {}: glMapBufferRange failed", label());
    return pointer;
}

bool Buffer::unmap() {
    glBindBuffer(EditTarget, id());
    return glUnmapBuffer(EditTarget) == GL_TRUE;
}

void Buffer::bind(BufferTarget target) const { glBindBuffer(GLenum(target), id()); }

void Buffer::bindBase(BufferTarget target, unsigned index) const {
    glBindBufferBase(GLenum(target), index, id());
}

void Buffer::bindRange(BufferTarget target, unsigned index, std::size_t offset, std::size_t size) const {
    glBindBufferRange(GLenum(target), index, id(), GLintptr(offset), GLsizeiptr(size));
}

void Buffer::unbind(BufferTarget target) { glBindBuffer(GLenum(target), 0); }

}
