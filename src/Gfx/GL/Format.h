#pragma once
// Internal formats of textures and renderbuffers, and how CPU pixels travel to and from them.
#include <cstdint>
#include <optional>

#include <epoxy/gl.h>

#include "Gfx/Image.h"

namespace ArdentisEngine::GL {

enum class TextureFormat: GLenum {
    R8 = GL_R8,
    RG8 = GL_RG8,
    RGB8 = GL_RGB8,
    RGBA8 = GL_RGBA8,
    SRGB8Alpha8 = GL_SRGB8_ALPHA8,
    R16 = GL_R16,
    RG16 = GL_RG16,
    RGBA16 = GL_RGBA16,
    R16F = GL_R16F,
    RG16F = GL_RG16F,
    RGB16F = GL_RGB16F,
    RGBA16F = GL_RGBA16F,
    R32F = GL_R32F,
    RG32F = GL_RG32F,
    RGB32F = GL_RGB32F,
    RGBA32F = GL_RGBA32F,
    R8UI = GL_R8UI,
    R16UI = GL_R16UI,
    RG16UI = GL_RG16UI,
    R32UI = GL_R32UI,
    RG32UI = GL_RG32UI,
    RGBA32UI = GL_RGBA32UI,
    DepthComponent16 = GL_DEPTH_COMPONENT16,
    DepthComponent24 = GL_DEPTH_COMPONENT24,
    DepthComponent32F = GL_DEPTH_COMPONENT32F,
    Depth24Stencil8 = GL_DEPTH24_STENCIL8,
    Depth32FStencil8 = GL_DEPTH32F_STENCIL8,
};

const char* textureFormatName(TextureFormat format);
bool isDepthFormat(TextureFormat format);
bool hasStencil(TextureFormat format);
bool isIntegerFormat(TextureFormat format);

// The GL format/type pair describing CPU pixels of the given format.
struct PixelTransfer {
    GLenum format;
    GLenum type;
};
PixelTransfer pixelTransfer(PixelFormat format);

// The CPU format an image of this texture format is read back as. Normalised 16-bit formats come
// back as 32-bit floats; depth formats have no CPU counterpart.
std::optional<PixelFormat> readbackFormat(TextureFormat format);

}
