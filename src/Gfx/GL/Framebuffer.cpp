#include "Gfx/GL/Framebuffer.h"

#include <vector>

#include "Gfx/GL/Renderbuffer.h"
#include "Gfx/GL/Texture.h"
#include "Gfx/HeadlessContext.h"
#include "Gfx/Log.h"

namespace ArdentisEngine::GL {

const char* framebufferStatusName(FramebufferStatus status) {
    switch(status) {
        case FramebufferStatus::Complete: return "GL_FRAMEBUFFER_COMPLETE";
        case FramebufferStatus::Undefined: return "GL_FRAMEBUFFER_UNDEFINED";
        case FramebufferStatus::IncompleteAttachment: return "GL_FRAMEBUFFER_INCOMPLETE_ATTACHMENT";
        case FramebufferStatus::IncompleteMissingAttachment: return "GL_FRAMEBUFFER_INCOMPLETE_MISSING_ATTACHMENT";
        case FramebufferStatus::IncompleteDrawBuffer: return "GL_FRAMEBUFFER_INCOMPLETE_DRAW_BUFFER";
        case FramebufferStatus::IncompleteReadBuffer: return "GL_FRAMEBUFFER_INCOMPLETE_READ_BUFFER";
        case FramebufferStatus::Unsupported: return "GL_FRAMEBUFFER_UNSUPPORTED";
        case FramebufferStatus::IncompleteMultisample: return "GL_FRAMEBUFFER_INCOMPLETE_MULTISAMPLE";
        case FramebufferStatus::IncompleteLayerTargets: return "GL_FRAMEBUFFER_INCOMPLETE_LAYER_TARGETS";
    }
    return "unknown framebuffer status";
}

Framebuffer::Framebuffer(const Range2Di& viewport): _viewport{viewport} {
    GLuint id;
    glGenFramebuffers(1, &id);
    _handle = {id, ObjectOwnership::Owned};
    // Binding creates the object so that it can be labelled before anything is attached.
    const auto binding = bindDraw();
}

Framebuffer Framebuffer::wrap(GLuint id, const Range2Di& viewport, ObjectOwnership ownership) {
    Framebuffer f{NoCreate};
    f._handle = {id, ownership};
    f._viewport = viewport;
    return f;
}

Framebuffer& Framebuffer::setLabel(std::string_view label) {
    _handle.label() = label;
    setObjectLabel(GL_FRAMEBUFFER, id(), label);
    return *this;
}

Framebuffer& Framebuffer::setViewport(const Range2Di& viewport) {
    _viewport = viewport;
    GLint bound = -1;
    glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &bound);
    if(GLuint(bound) == id())
        glViewport(viewport.min.x, viewport.min.y, viewport.sizeX(), viewport.sizeY());
    return *this;
}

Framebuffer& Framebuffer::bind() {
    glBindFramebuffer(GL_FRAMEBUFFER, id());
    glViewport(_viewport.min.x, _viewport.min.y, _viewport.sizeX(), _viewport.sizeY());
    return *this;
}

void Framebuffer::bind(FramebufferTarget target) const { glBindFramebuffer(GLenum(target), id()); }

Framebuffer& Framebuffer::attachTexture(Attachment attachment, Texture2D& texture, int level) {
    const auto binding = bindDraw();
    glFramebufferTexture2D(GL_DRAW_FRAMEBUFFER, attachment.value, GL_TEXTURE_2D, texture.id(), level);
    return *this;
}

Framebuffer& Framebuffer::attachTextureLayer(Attachment attachment, Texture2DArray& texture, int layer, int level) {
    const auto binding = bindDraw();
    glFramebufferTextureLayer(GL_DRAW_FRAMEBUFFER, attachment.value, texture.id(), level, layer);
    return *this;
}

Framebuffer& Framebuffer::attachCubeMapTexture(Attachment attachment, CubeMapTexture& texture, CubeMapFace face, int level) {
    const auto binding = bindDraw();
    glFramebufferTexture2D(GL_DRAW_FRAMEBUFFER, attachment.value, GLenum(face), texture.id(), level);
    return *this;
}

Framebuffer& Framebuffer::attachRenderbuffer(Attachment attachment, Renderbuffer& renderbuffer) {
    const auto binding = bindDraw();
    glFramebufferRenderbuffer(GL_DRAW_FRAMEBUFFER, attachment.value, GL_RENDERBUFFER, renderbuffer.id());
    return *this;
}

Framebuffer& Framebuffer::detach(Attachment attachment) {
    const auto binding = bindDraw();
    glFramebufferRenderbuffer(GL_DRAW_FRAMEBUFFER, attachment.value, GL_RENDERBUFFER, 0);
    return *this;
}

Framebuffer& Framebuffer::mapForDraw(std::initializer_list<int> colorAttachments) {
    std::vector<GLenum> buffers;
    buffers.reserve(colorAttachments.size());
    // The default framebuffer names its buffers differently from framebuffer objects.
    for(int a: colorAttachments)
        buffers.push_back(a == NoAttachment ? GL_NONE : id() == 0 ? GL_BACK : GLenum(GL_COLOR_ATTACHMENT0 + a));
    const auto binding = bindDraw();
    glDrawBuffers(GLsizei(buffers.size()), buffers.data());
    return *this;
}

Framebuffer& Framebuffer::mapForRead(unsigned colorAttachment) {
    const Implementation::FramebufferBindingScope binding{GL_READ_FRAMEBUFFER, id()};
    glReadBuffer(id() == 0 ? GL_BACK : GLenum(GL_COLOR_ATTACHMENT0 + colorAttachment));
    return *this;
}

FramebufferStatus Framebuffer::checkStatus(FramebufferTarget target) const {
    const Implementation::FramebufferBindingScope binding{GLenum(target), id()};
    return FramebufferStatus(glCheckFramebufferStatus(GLenum(target)));
}

Framebuffer& Framebuffer::clearColor(int drawBuffer, const Color4& color) {
    const auto binding = bindDraw();
    glClearBufferfv(GL_COLOR, drawBuffer, glm::value_ptr(color));
    return *this;
}

Framebuffer& Framebuffer::clearColor(int drawBuffer, const Vector4i& color) {
    const auto binding = bindDraw();
    glClearBufferiv(GL_COLOR, drawBuffer, glm::value_ptr(color));
    return *this;
}

Framebuffer& Framebuffer::clearColor(int drawBuffer, const glm::uvec4& color) {
    const auto binding = bindDraw();
    glClearBufferuiv(GL_COLOR, drawBuffer, glm::value_ptr(color));
    return *this;
}

Framebuffer& Framebuffer::clearDepth(float depth) {
    const auto binding = bindDraw();
    glClearBufferfv(GL_DEPTH, 0, &depth);
    return *this;
}

Framebuffer& Framebuffer::clearStencil(int stencil) {
    const auto binding = bindDraw();
    glClearBufferiv(GL_STENCIL, 0, &stencil);
    return *this;
}

Framebuffer& Framebuffer::clearDepthStencil(float depth, int stencil) {
    const auto binding = bindDraw();
    glClearBufferfi(GL_DEPTH_STENCIL, 0, depth, stencil);
    return *this;
}

Image Framebuffer::read(const Range2Di& range, PixelFormat format) {
    if(range.isEmpty()) {
        Log::error("GL::Framebuffer {}: cannot read an empty range", label());
        return {};
    }
    Image out{format, range.size()};
    const Implementation::FramebufferBindingScope binding{GL_READ_FRAMEBUFFER, id()};
    glPixelStorei(GL_PACK_ALIGNMENT, out.alignment());
    glPixelStorei(GL_PACK_ROW_LENGTH, 0);
    glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
    const PixelTransfer transfer = pixelTransfer(format);
    glReadPixels(range.min.x, range.min.y, range.sizeX(), range.sizeY(), transfer.format, transfer.type,
        out.mutableData().data());
    return out;
}

Framebuffer& Framebuffer::invalidate(std::initializer_list<Attachment> attachments) {
    if(!Gfx::isVersionAtLeast(4, 3) && !Gfx::hasExtension("GL_ARB_invalidate_subdata")) return *this;
    std::vector<GLenum> values;
    for(const Attachment a: attachments) values.push_back(a.value);
    const auto binding = bindDraw();
    glInvalidateFramebuffer(GL_DRAW_FRAMEBUFFER, GLsizei(values.size()), values.data());
    return *this;
}

void Framebuffer::blit(Framebuffer& source, Framebuffer& destination, const Range2Di& sourceRectangle,
    const Range2Di& destinationRectangle, GLbitfield mask, BlitFilter filter) {
    const Implementation::FramebufferBindingScope read{GL_READ_FRAMEBUFFER, source.id()};
    const Implementation::FramebufferBindingScope draw{GL_DRAW_FRAMEBUFFER, destination.id()};
    glBlitFramebuffer(sourceRectangle.min.x, sourceRectangle.min.y, sourceRectangle.max.x, sourceRectangle.max.y,
        destinationRectangle.min.x, destinationRectangle.min.y, destinationRectangle.max.x, destinationRectangle.max.y,
        mask, GLenum(filter));
}

Framebuffer& defaultFramebuffer() {
    static Framebuffer framebuffer = Framebuffer::wrap(0, Range2Di{});
    return framebuffer;
}

}

namespace ArdentisEngine::Gfx {

bool checkFramebufferComplete(GL::Framebuffer& framebuffer) {
    const GL::FramebufferStatus status = framebuffer.checkStatus();
    if(status == GL::FramebufferStatus::Complete) return true;
    Log::error("Framebuffer {} is incomplete: {}",
        framebuffer.label().empty() ? std::to_string(framebuffer.id()) : framebuffer.label(),
        GL::framebufferStatusName(status));
    return false;
}

}
