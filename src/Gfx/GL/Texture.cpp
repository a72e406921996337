#include "Gfx/GL/Texture.h"

#include <algorithm>
#include <bit>

#include "Gfx/HeadlessContext.h"
#include "Gfx/Log.h"

namespace ArdentisEngine::GL {

namespace {

// A format/type pair glTexImage accepts for allocating the given internal format without data;
// only used where immutable storage is unavailable.
PixelTransfer allocationTransfer(TextureFormat format) {
    switch(format) {
        case TextureFormat::DepthComponent16:
        case TextureFormat::DepthComponent24: return {GL_DEPTH_COMPONENT, GL_UNSIGNED_INT};
        case TextureFormat::DepthComponent32F: return {GL_DEPTH_COMPONENT, GL_FLOAT};
        case TextureFormat::Depth24Stencil8: return {GL_DEPTH_STENCIL, GL_UNSIGNED_INT_24_8};
        case TextureFormat::Depth32FStencil8: return {GL_DEPTH_STENCIL, GL_FLOAT_32_UNSIGNED_INT_24_8_REV};
        default: break;
    }
    if(const auto pixel = readbackFormat(format)) return pixelTransfer(*pixel);
    switch(format) {
        case TextureFormat::R8UI: return {GL_RED_INTEGER, GL_UNSIGNED_BYTE};
        case TextureFormat::RG32UI: return {GL_RG_INTEGER, GL_UNSIGNED_INT};
        case TextureFormat::RGBA32UI: return {GL_RGBA_INTEGER, GL_UNSIGNED_INT};
        default: return {GL_RGBA, GL_UNSIGNED_BYTE};
    }
}

bool hasTextureStorage() {
    return Gfx::isVersionAtLeast(4, 2) || Gfx::hasExtension("GL_ARB_texture_storage");
}

void setUnpackState(const ImageView& image) {
    glPixelStorei(GL_UNPACK_ALIGNMENT, image.alignment());
    glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
}

void setPackState(int alignment) {
    glPixelStorei(GL_PACK_ALIGNMENT, alignment);
    glPixelStorei(GL_PACK_ROW_LENGTH, 0);
    glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
}

bool fitsLevel(const std::string& label, int level, Vector2i offset, Vector2i imageSize, Vector2i levelSize) {
    if(offset.x < 0 || offset.y < 0 || offset.x + imageSize.x > levelSize.x || offset.y + imageSize.y > levelSize.y) {
        Log::error("GL texture {}: a {}x{} image at ({}, {}) does not fit level {} of size {}x{}",
            label, imageSize.x, imageSize.y, offset.x, offset.y, level, levelSize.x, levelSize.y);
        return false;
    }
    return true;
}

}

int mipLevelCount(Vector2i size) {
    const unsigned largest = unsigned(std::max({size.x, size.y, 1}));
    return std::bit_width(largest);
}

AbstractTexture::AbstractTexture(GLenum target): _target{target} {
    GLuint id;
    glGenTextures(1, &id);
    _handle = {id, ObjectOwnership::Owned};
    // Binding creates the object so that it can be labelled before it has storage.
    const auto binding = bindForEdit();
}

void AbstractTexture::wrapId(GLuint id, ObjectOwnership ownership) {
    _handle = {id, ownership};
}

void AbstractTexture::bind(unsigned unit) const {
    glActiveTexture(GL_TEXTURE0 + unit);
    glBindTexture(_target, id());
}

void AbstractTexture::unbind(GLenum target, unsigned unit) {
    glActiveTexture(GL_TEXTURE0 + unit);
    glBindTexture(target, 0);
}

void AbstractTexture::doSetLabel(std::string_view label) {
    _handle.label() = label;
    setObjectLabel(GL_TEXTURE, id(), label);
}

void AbstractTexture::doSetMinificationFilter(SamplerFilter filter, SamplerMipmap mipmap) {
    GLenum value = GLenum(filter);
    if(mipmap == SamplerMipmap::Nearest)
        value = filter == SamplerFilter::Nearest ? GL_NEAREST_MIPMAP_NEAREST : GL_LINEAR_MIPMAP_NEAREST;
    else if(mipmap == SamplerMipmap::Linear)
        value = filter == SamplerFilter::Nearest ? GL_NEAREST_MIPMAP_LINEAR : GL_LINEAR_MIPMAP_LINEAR;
    const auto binding = bindForEdit();
    glTexParameteri(_target, GL_TEXTURE_MIN_FILTER, GLint(value));
}

void AbstractTexture::doSetMagnificationFilter(SamplerFilter filter) {
    const auto binding = bindForEdit();
    glTexParameteri(_target, GL_TEXTURE_MAG_FILTER, GLint(filter));
}

void AbstractTexture::doSetWrapping(SamplerWrapping wrapping) {
    const auto binding = bindForEdit();
    glTexParameteri(_target, GL_TEXTURE_WRAP_S, GLint(wrapping));
    glTexParameteri(_target, GL_TEXTURE_WRAP_T, GLint(wrapping));
    glTexParameteri(_target, GL_TEXTURE_WRAP_R, GLint(wrapping));
}

void AbstractTexture::doSetMaxLevel(int level) {
    const auto binding = bindForEdit();
    glTexParameteri(_target, GL_TEXTURE_MAX_LEVEL, level);
}

void AbstractTexture::doGenerateMipmap() {
    const auto binding = bindForEdit();
    glGenerateMipmap(_target);
}

// [Texture2D]

Texture2D Texture2D::wrap(GLuint id, ObjectOwnership ownership) {
    Texture2D t{NoCreate};
    t.wrapId(id, ownership);
    return t;
}

Texture2D& Texture2D::setStorage(int levels, TextureFormat format, Vector2i size) {
    if(levels < 1 || size.x < 1 || size.y < 1) {
        Log::error("GL::Texture2D {}: invalid storage of {} levels, {}x{}", label(), levels, size.x, size.y);
        return *this;
    }
    const auto binding = bindForEdit();
    if(hasTextureStorage()) {
        glTexStorage2D(GL_TEXTURE_2D, levels, GLenum(format), size.x, size.y);
    } else {
        const PixelTransfer transfer = allocationTransfer(format);
        for(int level = 0; level != levels; ++level) {
            const Vector2i s = glm::max(size >> level, Vector2i{1});
            glTexImage2D(GL_TEXTURE_2D, level, GLint(format), s.x, s.y, 0, transfer.format, transfer.type, nullptr);
        }
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, levels - 1);
    }
    _format = format;
    _levels = levels;
    return *this;
}

Texture2D& Texture2D::setImage(int level, TextureFormat format, const ImageView& image) {
    const auto binding = bindForEdit();
    const PixelTransfer transfer = image.data().empty() ? allocationTransfer(format) : pixelTransfer(image.format());
    setUnpackState(image);
    glTexImage2D(GL_TEXTURE_2D, level, GLint(format), image.size().x, image.size().y, 0,
        transfer.format, transfer.type, image.data().empty() ? nullptr : image.data().data());
    _format = format;
    _levels = std::max(_levels, level + 1);
    return *this;
}

Texture2D& Texture2D::setSubImage(int level, Vector2i offset, const ImageView& image) {
    if(level < 0 || level >= _levels) {
        Log::error("GL::Texture2D {}: level {} does not exist ({} levels)", label(), level, _levels);
        return *this;
    }
    if(!fitsLevel(label(), level, offset, image.size(), size(level)) || image.isEmpty()) return *this;
    const auto binding = bindForEdit();
    setUnpackState(image);
    const PixelTransfer transfer = pixelTransfer(image.format());
    glTexSubImage2D(GL_TEXTURE_2D, level, offset.x, offset.y, image.size().x, image.size().y,
        transfer.format, transfer.type, image.data().data());
    return *this;
}

Vector2i Texture2D::size(int level) const {
    if(!id()) return Vector2i{0};
    const auto binding = bindForEdit();
    Vector2i s{0};
    glGetTexLevelParameteriv(GL_TEXTURE_2D, level, GL_TEXTURE_WIDTH, &s.x);
    glGetTexLevelParameteriv(GL_TEXTURE_2D, level, GL_TEXTURE_HEIGHT, &s.y);
    return s;
}

Image Texture2D::image(int level) const {
    const auto format = readbackFormat(_format);
    if(!format || level < 0 || level >= _levels) {
        Log::error("GL::Texture2D {}: cannot read level {} of a {} texture with {} levels",
            label(), level, textureFormatName(_format), _levels);
        return {};
    }
    Image out{*format, size(level)};
    const auto binding = bindForEdit();
    setPackState(out.alignment());
    const PixelTransfer transfer = pixelTransfer(*format);
    glGetTexImage(GL_TEXTURE_2D, level, transfer.format, transfer.type, out.mutableData().data());
    return out;
}

// [Texture2DArray]

Texture2DArray Texture2DArray::wrap(GLuint id, ObjectOwnership ownership) {
    Texture2DArray t{NoCreate};
    t.wrapId(id, ownership);
    return t;
}

Texture2DArray& Texture2DArray::setStorage(int levels, TextureFormat format, Vector3i size) {
    if(levels < 1 || size.x < 1 || size.y < 1 || size.z < 1) {
        Log::error("GL::Texture2DArray {}: invalid storage of {} levels, {}x{}x{}", label(), levels, size.x, size.y, size.z);
        return *this;
    }
    const auto binding = bindForEdit();
    if(hasTextureStorage()) {
        glTexStorage3D(GL_TEXTURE_2D_ARRAY, levels, GLenum(format), size.x, size.y, size.z);
    } else {
        const PixelTransfer transfer = allocationTransfer(format);
        for(int level = 0; level != levels; ++level) {
            const Vector2i s = glm::max(Vector2i{size} >> level, Vector2i{1});
            glTexImage3D(GL_TEXTURE_2D_ARRAY, level, GLint(format), s.x, s.y, size.z, 0,
                transfer.format, transfer.type, nullptr);
        }
        glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_MAX_LEVEL, levels - 1);
    }
    _format = format;
    _levels = levels;
    return *this;
}

Texture2DArray& Texture2DArray::setSubImage(int level, int layer, Vector2i offset, const ImageView& image) {
    const Vector3i s = size(level);
    if(level < 0 || level >= _levels || layer < 0 || layer >= s.z) {
        Log::error("GL::Texture2DArray {}: level {} layer {} does not exist", label(), level, layer);
        return *this;
    }
    if(!fitsLevel(label(), level, offset, image.size(), Vector2i{s}) || image.isEmpty()) return *this;
    const auto binding = bindForEdit();
    setUnpackState(image);
    const PixelTransfer transfer = pixelTransfer(image.format());
    glTexSubImage3D(GL_TEXTURE_2D_ARRAY, level, offset.x, offset.y, layer, image.size().x, image.size().y, 1,
        transfer.format, transfer.type, image.data().data());
    return *this;
}

Vector3i Texture2DArray::size(int level) const {
    if(!id()) return Vector3i{0};
    const auto binding = bindForEdit();
    Vector3i s{0};
    glGetTexLevelParameteriv(GL_TEXTURE_2D_ARRAY, level, GL_TEXTURE_WIDTH, &s.x);
    glGetTexLevelParameteriv(GL_TEXTURE_2D_ARRAY, level, GL_TEXTURE_HEIGHT, &s.y);
    glGetTexLevelParameteriv(GL_TEXTURE_2D_ARRAY, level, GL_TEXTURE_DEPTH, &s.z);
    return s;
}

Image Texture2DArray::image(int level, int layer) const {
    const auto format = readbackFormat(_format);
    const Vector3i s = size(level);
    if(!format || level < 0 || level >= _levels || layer < 0 || layer >= s.z) {
        Log::error("GL::Texture2DArray {}: cannot read level {} layer {}", label(), level, layer);
        return {};
    }
    // glGetTexImage returns every layer; each is a whole padded image.
    const std::size_t layerSize = imageDataSize(Vector2i{s}, *format, 4);
    std::vector<std::byte> all(layerSize*std::size_t(s.z));
    const auto binding = bindForEdit();
    setPackState(4);
    const PixelTransfer transfer = pixelTransfer(*format);
    glGetTexImage(GL_TEXTURE_2D_ARRAY, level, transfer.format, transfer.type, all.data());
    std::vector<std::byte> data(all.begin() + std::ptrdiff_t(layerSize*std::size_t(layer)),
        all.begin() + std::ptrdiff_t(layerSize*std::size_t(layer + 1)));
    return Image{*format, Vector2i{s}, std::move(data), 4};
}

// [CubeMapTexture]

CubeMapTexture CubeMapTexture::wrap(GLuint id, ObjectOwnership ownership) {
    CubeMapTexture t{NoCreate};
    t.wrapId(id, ownership);
    return t;
}

CubeMapTexture& CubeMapTexture::setStorage(int levels, TextureFormat format, Vector2i size) {
    if(levels < 1 || size.x < 1 || size.x != size.y) {
        Log::error("GL::CubeMapTexture {}: invalid storage of {} levels, {}x{}", label(), levels, size.x, size.y);
        return *this;
    }
    const auto binding = bindForEdit();
    if(hasTextureStorage()) {
        glTexStorage2D(GL_TEXTURE_CUBE_MAP, levels, GLenum(format), size.x, size.y);
    } else {
        const PixelTransfer transfer = allocationTransfer(format);
        for(int level = 0; level != levels; ++level) {
            const Vector2i s = glm::max(size >> level, Vector2i{1});
            for(GLenum face = GL_TEXTURE_CUBE_MAP_POSITIVE_X; face <= GL_TEXTURE_CUBE_MAP_NEGATIVE_Z; ++face)
                glTexImage2D(face, level, GLint(format), s.x, s.y, 0, transfer.format, transfer.type, nullptr);
        }
        glTexParameteri(GL_TEXTURE_CUBE_MAP, GL_TEXTURE_MAX_LEVEL, levels - 1);
    }
    _format = format;
    _levels = levels;
    return *this;
}

CubeMapTexture& CubeMapTexture::setSubImage(CubeMapFace face, int level, Vector2i offset, const ImageView& image) {
    if(level < 0 || level >= _levels) {
        Log::error("GL::CubeMapTexture {}: level {} does not exist ({} levels)", label(), level, _levels);
        return *this;
    }
    if(!fitsLevel(label(), level, offset, image.size(), size(level)) || image.isEmpty()) return *this;
    const auto binding = bindForEdit();
    setUnpackState(image);
    const PixelTransfer transfer = pixelTransfer(image.format());
    glTexSubImage2D(GLenum(face), level, offset.x, offset.y, image.size().x, image.size().y,
        transfer.format, transfer.type, image.data().data());
    return *this;
}

Vector2i CubeMapTexture::size(int level) const {
    if(!id()) return Vector2i{0};
    const auto binding = bindForEdit();
    Vector2i s{0};
    glGetTexLevelParameteriv(GL_TEXTURE_CUBE_MAP_POSITIVE_X, level, GL_TEXTURE_WIDTH, &s.x);
    glGetTexLevelParameteriv(GL_TEXTURE_CUBE_MAP_POSITIVE_X, level, GL_TEXTURE_HEIGHT, &s.y);
    return s;
}

Image CubeMapTexture::image(CubeMapFace face, int level) const {
    const auto format = readbackFormat(_format);
    if(!format || level < 0 || level >= _levels) {
        Log::error("GL::CubeMapTexture {}: cannot read level {} of a {} texture", label(), level, textureFormatName(_format));
        return {};
    }
    Image out{*format, size(level)};
    const auto binding = bindForEdit();
    setPackState(out.alignment());
    const PixelTransfer transfer = pixelTransfer(*format);
    glGetTexImage(GLenum(face), level, transfer.format, transfer.type, out.mutableData().data());
    return out;
}

}
