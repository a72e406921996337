#include "Gfx/GL/Renderbuffer.h"

#include "Gfx/Log.h"

namespace ArdentisEngine::GL {

Renderbuffer::Renderbuffer() {
    GLuint id;
    glGenRenderbuffers(1, &id);
    glBindRenderbuffer(GL_RENDERBUFFER, id);
    _handle = {id, ObjectOwnership::Owned};
}

Renderbuffer Renderbuffer::wrap(GLuint id, ObjectOwnership ownership) {
    Renderbuffer r{NoCreate};
    r._handle = {id, ownership};
    return r;
}

Renderbuffer& Renderbuffer::setLabel(std::string_view label) {
    _handle.label() = label;
    setObjectLabel(GL_RENDERBUFFER, id(), label);
    return *this;
}

Renderbuffer& Renderbuffer::setStorage(TextureFormat format, Vector2i size) {
    return setStorageMultisample(0, format, size);
}

Renderbuffer& Renderbuffer::setStorageMultisample(int samples, TextureFormat format, Vector2i size) {
    if(size.x < 1 || size.y < 1 || samples < 0) {
        Log::error("GL::Renderbuffer {}: invalid storage {}x{} with {} samples", label(), size.x, size.y, samples);
        return *this;
    }
    glBindRenderbuffer(GL_RENDERBUFFER, id());
    glRenderbufferStorageMultisample(GL_RENDERBUFFER, samples, GLenum(format), size.x, size.y);
    _format = format;
    _size = size;
    return *this;
}

int Renderbuffer::samples() const {
    GLint samples = 0;
    glBindRenderbuffer(GL_RENDERBUFFER, id());
    glGetRenderbufferParameteriv(GL_RENDERBUFFER, GL_RENDERBUFFER_SAMPLES, &samples);
    return samples;
}

}
