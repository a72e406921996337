#include "Gfx/GL/Object.h"

#include <epoxy/egl.h>

#include "Gfx/HeadlessContext.h"

namespace ArdentisEngine::GL {

bool hasDebugLabels() { return Implementation::capabilities().debugLabels; }

void setObjectLabel(GLenum identifier, GLuint id, std::string_view label) {
    if(!id || !hasDebugLabels()) return;
    glObjectLabel(identifier, id, GLsizei(label.size()), label.data());
}

GLenum takeError() {
    GLenum first = GL_NO_ERROR;
    for(GLenum e = glGetError(); e != GL_NO_ERROR; e = glGetError())
        if(first == GL_NO_ERROR) first = e;
    return first;
}

const char* errorName(GLenum error) {
    switch(error) {
        case GL_NO_ERROR: return "GL_NO_ERROR";
        case GL_INVALID_ENUM: return "GL_INVALID_ENUM";
        case GL_INVALID_VALUE: return "GL_INVALID_VALUE";
        case GL_INVALID_OPERATION: return "GL_INVALID_OPERATION";
        case GL_INVALID_FRAMEBUFFER_OPERATION: return "GL_INVALID_FRAMEBUFFER_OPERATION";
        case GL_OUT_OF_MEMORY: return "GL_OUT_OF_MEMORY";
        case GL_STACK_UNDERFLOW: return "GL_STACK_UNDERFLOW";
        case GL_STACK_OVERFLOW: return "GL_STACK_OVERFLOW";
    }
    return "unknown GL error";
}

namespace Implementation {

const Capabilities& capabilities() {
    // Keyed by the current EGL context; a windowed GLX context reads as no EGL context, and there
    // is only one of those.
    thread_local void* cachedFor = nullptr;
    thread_local bool cached = false;
    thread_local Capabilities value{};
    void* const current = eglGetCurrentContext();
    if(!cached || cachedFor != current) {
        value.debugLabels = Gfx::isVersionAtLeast(4, 3) || Gfx::hasExtension("GL_KHR_debug");
        value.parallelShaderCompile = Gfx::hasExtension("GL_KHR_parallel_shader_compile");
        value.programUniform = Gfx::isVersionAtLeast(4, 1) || Gfx::hasExtension("GL_ARB_separate_shader_objects");
        cachedFor = current;
        cached = true;
    }
    return value;
}

namespace {
GLenum textureBindingQuery(GLenum target) {
    switch(target) {
        case GL_TEXTURE_2D_ARRAY: return GL_TEXTURE_BINDING_2D_ARRAY;
        case GL_TEXTURE_CUBE_MAP: return GL_TEXTURE_BINDING_CUBE_MAP;
        case GL_TEXTURE_3D: return GL_TEXTURE_BINDING_3D;
        default: return GL_TEXTURE_BINDING_2D;
    }
}
}

TextureBindingScope::TextureBindingScope(GLenum target, GLuint id): _target{target} {
    glGetIntegerv(textureBindingQuery(target), &_previous);
    if(GLuint(_previous) != id) glBindTexture(target, id);
}

TextureBindingScope::~TextureBindingScope() { glBindTexture(_target, GLuint(_previous)); }

FramebufferBindingScope::FramebufferBindingScope(GLenum target, GLuint id): _target{target} {
    glGetIntegerv(target == GL_READ_FRAMEBUFFER ? GL_READ_FRAMEBUFFER_BINDING : GL_DRAW_FRAMEBUFFER_BINDING, &_previous);
    if(GLuint(_previous) != id) glBindFramebuffer(target, id);
}

FramebufferBindingScope::~FramebufferBindingScope() { glBindFramebuffer(_target, GLuint(_previous)); }

VertexArrayBindingScope::VertexArrayBindingScope(GLuint id) {
    glGetIntegerv(GL_VERTEX_ARRAY_BINDING, &_previous);
    if(GLuint(_previous) != id) glBindVertexArray(id);
}

VertexArrayBindingScope::~VertexArrayBindingScope() { glBindVertexArray(GLuint(_previous)); }

ProgramScope::ProgramScope(GLuint id) {
    glGetIntegerv(GL_CURRENT_PROGRAM, &_previous);
    if(GLuint(_previous) != id) glUseProgram(id);
}

ProgramScope::~ProgramScope() { glUseProgram(GLuint(_previous)); }

}

DebugGroup::DebugGroup(std::string_view name): _pushed{hasDebugLabels()} {
    if(_pushed) glPushDebugGroup(GL_DEBUG_SOURCE_APPLICATION, 0, GLsizei(name.size()), name.data());
}

DebugGroup::~DebugGroup() {
    if(_pushed) glPopDebugGroup();
}

}
