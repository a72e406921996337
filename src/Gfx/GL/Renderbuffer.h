#pragma once
#include "Gfx/GL/Format.h"
#include "Gfx/GL/Object.h"
#include "Math/Types.h"

namespace ArdentisEngine::GL {

class Renderbuffer {
public:
    Renderbuffer();
    explicit Renderbuffer(NoCreateT) {}
    static Renderbuffer wrap(GLuint id, ObjectOwnership ownership = ObjectOwnership::Borrowed);

    GLuint id() const { return _handle.id(); }
    GLuint release() { return _handle.release(); }
    Renderbuffer& setLabel(std::string_view label);
    const std::string& label() const { return _handle.label(); }

    Renderbuffer& setStorage(TextureFormat format, Vector2i size);
    // The driver may round the sample count up; samples() says what it gave.
    Renderbuffer& setStorageMultisample(int samples, TextureFormat format, Vector2i size);

    TextureFormat format() const { return _format; }
    Vector2i size() const { return _size; }
    int samples() const;

private:
    static void destroy(GLuint id) { glDeleteRenderbuffers(1, &id); }
    Implementation::ObjectHandle<destroy> _handle;
    TextureFormat _format{TextureFormat::RGBA8};
    Vector2i _size{0};
};

}
