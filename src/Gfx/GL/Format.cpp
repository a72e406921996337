#include "Gfx/GL/Format.h"

namespace ArdentisEngine::GL {

const char* textureFormatName(TextureFormat format) {
    switch(format) {
        case TextureFormat::R8: return "R8";
        case TextureFormat::RG8: return "RG8";
        case TextureFormat::RGB8: return "RGB8";
        case TextureFormat::RGBA8: return "RGBA8";
        case TextureFormat::SRGB8Alpha8: return "SRGB8Alpha8";
        case TextureFormat::R16: return "R16";
        case TextureFormat::RG16: return "RG16";
        case TextureFormat::RGBA16: return "RGBA16";
        case TextureFormat::R16F: return "R16F";
        case TextureFormat::RG16F: return "RG16F";
        case TextureFormat::RGB16F: return "RGB16F";
        case TextureFormat::RGBA16F: return "RGBA16F";
        case TextureFormat::R32F: return "R32F";
        case TextureFormat::RG32F: return "RG32F";
        case TextureFormat::RGB32F: return "RGB32F";
        case TextureFormat::RGBA32F: return "RGBA32F";
        case TextureFormat::R8UI: return "R8UI";
        case TextureFormat::R16UI: return "R16UI";
        case TextureFormat::RG16UI: return "RG16UI";
        case TextureFormat::R32UI: return "R32UI";
        case TextureFormat::RG32UI: return "RG32UI";
        case TextureFormat::RGBA32UI: return "RGBA32UI";
        case TextureFormat::DepthComponent16: return "DepthComponent16";
        case TextureFormat::DepthComponent24: return "DepthComponent24";
        case TextureFormat::DepthComponent32F: return "DepthComponent32F";
        case TextureFormat::Depth24Stencil8: return "Depth24Stencil8";
        case TextureFormat::Depth32FStencil8: return "Depth32FStencil8";
    }
    return "unknown";
}

bool isDepthFormat(TextureFormat format) {
    switch(format) {
        case TextureFormat::DepthComponent16:
        case TextureFormat::DepthComponent24:
        case TextureFormat::DepthComponent32F:
        case TextureFormat::Depth24Stencil8:
        case TextureFormat::Depth32FStencil8:
            return true;
        default:
            return false;
    }
}

bool hasStencil(TextureFormat format) {
    return format == TextureFormat::Depth24Stencil8 || format == TextureFormat::Depth32FStencil8;
}

bool isIntegerFormat(TextureFormat format) {
    switch(format) {
        case TextureFormat::R8UI:
        case TextureFormat::R16UI:
        case TextureFormat::RG16UI:
        case TextureFormat::R32UI:
        case TextureFormat::RG32UI:
        case TextureFormat::RGBA32UI:
            return true;
        default:
            return false;
    }
}

PixelTransfer pixelTransfer(PixelFormat format) {
    switch(format) {
        case PixelFormat::R8: return {GL_RED, GL_UNSIGNED_BYTE};
        case PixelFormat::RG8: return {GL_RG, GL_UNSIGNED_BYTE};
        case PixelFormat::RGB8: return {GL_RGB, GL_UNSIGNED_BYTE};
        case PixelFormat::RGBA8: return {GL_RGBA, GL_UNSIGNED_BYTE};
        case PixelFormat::R16F: return {GL_RED, GL_HALF_FLOAT};
        case PixelFormat::RG16F: return {GL_RG, GL_HALF_FLOAT};
        case PixelFormat::RGB16F: return {GL_RGB, GL_HALF_FLOAT};
        case PixelFormat::RGBA16F: return {GL_RGBA, GL_HALF_FLOAT};
        case PixelFormat::R32F: return {GL_RED, GL_FLOAT};
        case PixelFormat::RG32F: return {GL_RG, GL_FLOAT};
        case PixelFormat::RGB32F: return {GL_RGB, GL_FLOAT};
        case PixelFormat::RGBA32F: return {GL_RGBA, GL_FLOAT};
        case PixelFormat::R16UI: return {GL_RED_INTEGER, GL_UNSIGNED_SHORT};
        case PixelFormat::RG16UI: return {GL_RG_INTEGER, GL_UNSIGNED_SHORT};
        case PixelFormat::R32UI: return {GL_RED_INTEGER, GL_UNSIGNED_INT};
    }
    return {GL_RGBA, GL_UNSIGNED_BYTE};
}

std::optional<PixelFormat> readbackFormat(TextureFormat format) {
    switch(format) {
        case TextureFormat::R8: return PixelFormat::R8;
        case TextureFormat::RG8: return PixelFormat::RG8;
        case TextureFormat::RGB8: return PixelFormat::RGB8;
        case TextureFormat::RGBA8:
        case TextureFormat::SRGB8Alpha8: return PixelFormat::RGBA8;
        case TextureFormat::R16: return PixelFormat::R32F;
        case TextureFormat::RG16: return PixelFormat::RG32F;
        case TextureFormat::RGBA16: return PixelFormat::RGBA32F;
        case TextureFormat::R16F: return PixelFormat::R16F;
        case TextureFormat::RG16F: return PixelFormat::RG16F;
        case TextureFormat::RGB16F: return PixelFormat::RGB16F;
        case TextureFormat::RGBA16F: return PixelFormat::RGBA16F;
        case TextureFormat::R32F: return PixelFormat::R32F;
        case TextureFormat::RG32F: return PixelFormat::RG32F;
        case TextureFormat::RGB32F: return PixelFormat::RGB32F;
        case TextureFormat::RGBA32F: return PixelFormat::RGBA32F;
        case TextureFormat::R16UI: return PixelFormat::R16UI;
        case TextureFormat::RG16UI: return PixelFormat::RG16UI;
        case TextureFormat::R32UI: return PixelFormat::R32UI;
        default: return std::nullopt;
    }
}

}
