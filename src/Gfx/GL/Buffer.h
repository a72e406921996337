#pragma once
#include <cstddef>
#include <span>
#include <vector>

#include "Gfx/GL/Object.h"

namespace ArdentisEngine::GL {

enum class BufferTarget: GLenum {
    Array = GL_ARRAY_BUFFER,
    ElementArray = GL_ELEMENT_ARRAY_BUFFER,
    Uniform = GL_UNIFORM_BUFFER,
    ShaderStorage = GL_SHADER_STORAGE_BUFFER,
    PixelPack = GL_PIXEL_PACK_BUFFER,
    PixelUnpack = GL_PIXEL_UNPACK_BUFFER,
    CopyRead = GL_COPY_READ_BUFFER,
    CopyWrite = GL_COPY_WRITE_BUFFER,
};

enum class BufferUsage: GLenum {
    StaticDraw = GL_STATIC_DRAW,
    DynamicDraw = GL_DYNAMIC_DRAW,
    StreamDraw = GL_STREAM_DRAW,
    StaticRead = GL_STATIC_READ,
    DynamicRead = GL_DYNAMIC_READ,
};

// Bits of glMapBufferRange.
namespace MapAccess {
inline constexpr GLbitfield Read = GL_MAP_READ_BIT;
inline constexpr GLbitfield Write = GL_MAP_WRITE_BIT;
inline constexpr GLbitfield InvalidateRange = GL_MAP_INVALIDATE_RANGE_BIT;
inline constexpr GLbitfield InvalidateBuffer = GL_MAP_INVALIDATE_BUFFER_BIT;
inline constexpr GLbitfield Unsynchronized = GL_MAP_UNSYNCHRONIZED_BIT;
}

class Buffer {
public:
    Buffer();
    explicit Buffer(NoCreateT) {}
    static Buffer wrap(GLuint id, ObjectOwnership ownership = ObjectOwnership::Borrowed);

    GLuint id() const { return _handle.id(); }
    GLuint release() { return _handle.release(); }
    Buffer& setLabel(std::string_view label);
    const std::string& label() const { return _handle.label(); }

    // Reallocates; the size becomes data.size() bytes.
    Buffer& setData(std::span<const std::byte> data, BufferUsage usage = BufferUsage::StaticDraw);
    template<class T> Buffer& setData(std::span<const T> data, BufferUsage usage = BufferUsage::StaticDraw) {
        return setData(std::as_bytes(data), usage);
    }
    template<class T> Buffer& setData(const std::vector<T>& data, BufferUsage usage = BufferUsage::StaticDraw) {
        return setData(std::as_bytes(std::span<const T>{data}), usage);
    }
    // Allocates without initialising.
    Buffer& allocate(std::size_t size, BufferUsage usage = BufferUsage::DynamicDraw);
    Buffer& setSubData(std::size_t offset, std::span<const std::byte> data);
    template<class T> Buffer& setSubData(std::size_t offset, std::span<const T> data) {
        return setSubData(offset, std::as_bytes(data));
    }

    std::size_t size() const { return _size; }
    // Reads the bytes back; for tests and tools, it stalls the pipeline.
    std::vector<std::byte> subData(std::size_t offset, std::size_t size) const;

    // Returns nullptr and logs when the range is outside the buffer or mapping fails.
    void* map(std::size_t offset, std::size_t length, GLbitfield access);
    // False when the contents were lost while mapped and must be uploaded again.
    bool unmap();

    void bind(BufferTarget target) const;
    // Indexed binding points of uniform and shader-storage blocks.
    void bindBase(BufferTarget target, unsigned index) const;
    void bindRange(BufferTarget target, unsigned index, std::size_t offset, std::size_t size) const;
    static void unbind(BufferTarget target);

private:
    static void destroy(GLuint id) { glDeleteBuffers(1, &id); }
    Implementation::ObjectHandle<destroy> _handle;
    std::size_t _size{0};
};

}
