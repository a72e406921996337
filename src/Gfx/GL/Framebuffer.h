#pragma once
// Framebuffer objects and the default framebuffer. bind() before drawing; it also sets the
// viewport. Attaching, clearing, mapping, reading and blitting leave the bindings as they were.
#include <initializer_list>
#include <optional>
#include <vector>

#include "Gfx/GL/Format.h"
#include "Gfx/GL/Object.h"
#include "Gfx/Image.h"
#include "Math/Range.h"

namespace ArdentisEngine::GL {

class Texture2D;
class Texture2DArray;
class CubeMapTexture;
class Renderbuffer;
enum class CubeMapFace: GLenum;

enum class FramebufferStatus: GLenum {
    Complete = GL_FRAMEBUFFER_COMPLETE,
    Undefined = GL_FRAMEBUFFER_UNDEFINED,
    IncompleteAttachment = GL_FRAMEBUFFER_INCOMPLETE_ATTACHMENT,
    IncompleteMissingAttachment = GL_FRAMEBUFFER_INCOMPLETE_MISSING_ATTACHMENT,
    IncompleteDrawBuffer = GL_FRAMEBUFFER_INCOMPLETE_DRAW_BUFFER,
    IncompleteReadBuffer = GL_FRAMEBUFFER_INCOMPLETE_READ_BUFFER,
    Unsupported = GL_FRAMEBUFFER_UNSUPPORTED,
    IncompleteMultisample = GL_FRAMEBUFFER_INCOMPLETE_MULTISAMPLE,
    IncompleteLayerTargets = GL_FRAMEBUFFER_INCOMPLETE_LAYER_TARGETS,
};

// "GL_FRAMEBUFFER_INCOMPLETE_MISSING_ATTACHMENT" and so on.
const char* framebufferStatusName(FramebufferStatus status);

enum class FramebufferTarget: GLenum { Draw = GL_DRAW_FRAMEBUFFER, Read = GL_READ_FRAMEBUFFER };

// Bits of a blit or of which buffers to clear.
namespace FramebufferBlit {
inline constexpr GLbitfield Color = GL_COLOR_BUFFER_BIT;
inline constexpr GLbitfield Depth = GL_DEPTH_BUFFER_BIT;
inline constexpr GLbitfield Stencil = GL_STENCIL_BUFFER_BIT;
}

enum class BlitFilter: GLenum { Nearest = GL_NEAREST, Linear = GL_LINEAR };

class Framebuffer {
public:
    struct Attachment {
        GLenum value;
        static constexpr Attachment color(unsigned index) { return {GLenum(GL_COLOR_ATTACHMENT0 + index)}; }
        bool operator==(const Attachment&) const = default;
    };
    static constexpr Attachment Depth{GL_DEPTH_ATTACHMENT};
    static constexpr Attachment Stencil{GL_STENCIL_ATTACHMENT};
    static constexpr Attachment DepthStencil{GL_DEPTH_STENCIL_ATTACHMENT};
    // In mapForDraw(): a draw buffer slot that writes nowhere.
    static constexpr int NoAttachment = -1;

    explicit Framebuffer(const Range2Di& viewport);
    explicit Framebuffer(NoCreateT) {}
    // Id 0 wraps the default framebuffer of the context.
    static Framebuffer wrap(GLuint id, const Range2Di& viewport, ObjectOwnership ownership = ObjectOwnership::Borrowed);

    GLuint id() const { return _handle.id(); }
    GLuint release() { return _handle.release(); }
    Framebuffer& setLabel(std::string_view label);
    const std::string& label() const { return _handle.label(); }

    const Range2Di& viewport() const { return _viewport; }
    // Applied immediately when this framebuffer is the bound draw framebuffer, else at bind().
    Framebuffer& setViewport(const Range2Di& viewport);
    // Binds for drawing and reading and applies the viewport.
    Framebuffer& bind();
    void bind(FramebufferTarget target) const;

    Framebuffer& attachTexture(Attachment attachment, Texture2D& texture, int level = 0);
    Framebuffer& attachTextureLayer(Attachment attachment, Texture2DArray& texture, int layer, int level = 0);
    Framebuffer& attachCubeMapTexture(Attachment attachment, CubeMapTexture& texture, CubeMapFace face, int level = 0);
    Framebuffer& attachRenderbuffer(Attachment attachment, Renderbuffer& renderbuffer);
    Framebuffer& detach(Attachment attachment);

    // Fragment output i goes to colour attachment attachments[i] (NoAttachment for none).
    Framebuffer& mapForDraw(std::initializer_list<int> colorAttachments);
    Framebuffer& mapForRead(unsigned colorAttachment);

    FramebufferStatus checkStatus(FramebufferTarget target = FramebufferTarget::Draw) const;

    // glClearBuffer*: honours the scissor test and the colour, depth and stencil write masks.
    Framebuffer& clearColor(int drawBuffer, const Color4& color);
    Framebuffer& clearColor(int drawBuffer, const Vector4i& color);
    Framebuffer& clearColor(int drawBuffer, const glm::uvec4& color);
    Framebuffer& clearDepth(float depth);
    Framebuffer& clearStencil(int stencil);
    Framebuffer& clearDepthStencil(float depth, int stencil);

    // Pixels of the read buffer in the given range, bottom row first. Logs and returns an empty
    // image when the range is empty.
    Image read(const Range2Di& range, PixelFormat format);

    // Contents of these attachments may be dropped (a hint; nothing happens below GL 4.3).
    Framebuffer& invalidate(std::initializer_list<Attachment> attachments);

    // Copies from the read buffer of `source` to the draw buffers of `destination`. Multisampled
    // sources are resolved; then both rectangles must have the same size.
    static void blit(Framebuffer& source, Framebuffer& destination, const Range2Di& sourceRectangle,
        const Range2Di& destinationRectangle, GLbitfield mask, BlitFilter filter);
    static void blit(Framebuffer& source, Framebuffer& destination, const Range2Di& rectangle, GLbitfield mask) {
        blit(source, destination, rectangle, rectangle, mask, BlitFilter::Nearest);
    }

private:
    static void destroy(GLuint id) { glDeleteFramebuffers(1, &id); }
    [[nodiscard]] Implementation::FramebufferBindingScope bindDraw() const { return {GL_DRAW_FRAMEBUFFER, id()}; }
    Implementation::ObjectHandle<destroy> _handle;
    Range2Di _viewport;
};

// The context's own framebuffer (id 0). Its viewport is whatever the window code last set.
Framebuffer& defaultFramebuffer();

}

namespace ArdentisEngine::Gfx {
// True when complete; otherwise logs the framebuffer's label and the status name and returns false.
bool checkFramebufferComplete(GL::Framebuffer& framebuffer);
}
