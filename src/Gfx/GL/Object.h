#pragma once
// What every GL object wrapper shares: deferred creation, wrapping names we do not own, labels.
//
// Bindings: creating, editing, reading and drawing leave the program, vertex array, framebuffer
// and texture bindings as they found them, so a state cache above this layer stays correct. Only
// the calls that exist to change them do: Framebuffer::bind(), AbstractTexture::bind(),
// ShaderProgram::use() and Buffer::bind*(). Buffer edits go through the copy-write target and
// pixel transfers reset the pixel-pack/unpack buffer bindings to 0; neither is expected to be cached.
#include <string>
#include <string_view>
#include <utility>

#include <epoxy/gl.h>

namespace ArdentisEngine::GL {

// Constructs a wrapper without a GL object; assign a real one later. Safe without a context.
struct NoCreateT { explicit constexpr NoCreateT() = default; };
inline constexpr NoCreateT NoCreate{};

// Wrapped names are deleted on destruction only when ownership was taken.
enum class ObjectOwnership: bool { Borrowed, Owned };

// Object labels go through KHR_debug (or GL 4.3) when the context has it; elsewhere only the
// copy kept on our side exists, which is what error messages use.
bool hasDebugLabels();
void setObjectLabel(GLenum identifier, GLuint id, std::string_view label);

// Drains glGetError() and returns the first error, GL_NO_ERROR when there was none.
GLenum takeError();
const char* errorName(GLenum error);

// A named region in debug captures for a render pass, closed when the scope ends.
class DebugGroup {
public:
    explicit DebugGroup(std::string_view name);
    ~DebugGroup();
    DebugGroup(const DebugGroup&) = delete;
    DebugGroup& operator=(const DebugGroup&) = delete;
private:
    bool _pushed;
};

namespace Implementation {

// What the current context offers, queried once per context: the extension lookup walks every
// extension string, too slow for calls made per frame.
struct Capabilities {
    bool debugLabels;
    bool parallelShaderCompile;
    bool programUniform;
};
const Capabilities& capabilities();

// Binds for the scope of an operation and puts the previous binding back.
class TextureBindingScope {
public:
    TextureBindingScope(GLenum target, GLuint id);
    ~TextureBindingScope();
    TextureBindingScope(const TextureBindingScope&) = delete;
    TextureBindingScope& operator=(const TextureBindingScope&) = delete;
private:
    GLenum _target;
    GLint _previous{0};
};

class FramebufferBindingScope {
public:
    // GL_DRAW_FRAMEBUFFER or GL_READ_FRAMEBUFFER.
    FramebufferBindingScope(GLenum target, GLuint id);
    ~FramebufferBindingScope();
    FramebufferBindingScope(const FramebufferBindingScope&) = delete;
    FramebufferBindingScope& operator=(const FramebufferBindingScope&) = delete;
private:
    GLenum _target;
    GLint _previous{0};
};

class VertexArrayBindingScope {
public:
    explicit VertexArrayBindingScope(GLuint id);
    ~VertexArrayBindingScope();
    VertexArrayBindingScope(const VertexArrayBindingScope&) = delete;
    VertexArrayBindingScope& operator=(const VertexArrayBindingScope&) = delete;
private:
    GLint _previous{0};
};

class ProgramScope {
public:
    explicit ProgramScope(GLuint id);
    ~ProgramScope();
    ProgramScope(const ProgramScope&) = delete;
    ProgramScope& operator=(const ProgramScope&) = delete;
private:
    GLint _previous{0};
};

// Holds the name, the ownership and the label; the owners give it their delete function.
template<void(*Delete)(GLuint)> class ObjectHandle {
public:
    ObjectHandle() = default;
    ObjectHandle(GLuint id, ObjectOwnership ownership): _id{id}, _owned{ownership == ObjectOwnership::Owned} {}
    ObjectHandle(ObjectHandle&& other) noexcept:
        _id{std::exchange(other._id, 0)}, _owned{std::exchange(other._owned, false)}, _label{std::move(other._label)} {}
    ObjectHandle& operator=(ObjectHandle&& other) noexcept {
        std::swap(_id, other._id);
        std::swap(_owned, other._owned);
        std::swap(_label, other._label);
        return *this;
    }
    ObjectHandle(const ObjectHandle&) = delete;
    ObjectHandle& operator=(const ObjectHandle&) = delete;
    ~ObjectHandle() { if(_id && _owned) Delete(_id); }

    GLuint id() const { return _id; }
    bool owned() const { return _owned; }
    // Gives up ownership and returns the name; the wrapper then holds nothing.
    GLuint release() { _owned = false; return std::exchange(_id, 0); }
    const std::string& label() const { return _label; }
    std::string& label() { return _label; }

private:
    GLuint _id{0};
    bool _owned{false};
    std::string _label;
};

}

}
