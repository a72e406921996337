#include "Gfx/GL/Object.h"

#include "Gfx/HeadlessContext.h"

namespace ArdentisEngine::GL {

bool hasDebugLabels() {
    return Gfx::isVersionAtLeast(4, 3) || Gfx::hasExtension("GL_KHR_debug");
}

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

DebugGroup::DebugGroup(std::string_view name): _pushed{hasDebugLabels()} {
    if(_pushed) glPushDebugGroup(GL_DEBUG_SOURCE_APPLICATION, 0, GLsizei(name.size()), name.data());
}

DebugGroup::~DebugGroup() {
    if(_pushed) glPopDebugGroup();
}

}
