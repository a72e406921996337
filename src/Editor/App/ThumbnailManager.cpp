#include "Editor/App/ThumbnailManager.h"

#include "Gfx/GL/Framebuffer.h"
#include "Gfx/GL/Texture.h"
#include "Gfx/ImageConversion.h"
#include "Gfx/Log.h"

namespace ArdentisEngine {

struct ThumbnailManager::Entry {
    GL::Texture2D texture{GL::NoCreate};
    Vector2i size{0};
};

ThumbnailManager::ThumbnailManager() = default;
ThumbnailManager::~ThumbnailManager() = default;

ThumbnailManager::Entry& ThumbnailManager::entry(std::string_view key, Vector2i size) {
    auto found = _thumbnails.find(key);
    if(found == _thumbnails.end())
        found = _thumbnails.emplace(std::string{key}, std::make_unique<Entry>()).first;
    Entry& e = *found->second;
    // Immutable storage: a thumbnail of another size gets a new texture.
    if(e.size != size || !e.texture.id()) {
        e.texture = GL::Texture2D{};
        e.texture.setStorage(1, GL::TextureFormat::RGBA8, size)
            .setMinificationFilter(GL::SamplerFilter::Linear)
            .setMagnificationFilter(GL::SamplerFilter::Linear)
            .setLabel("Thumbnail " + std::string{key});
        e.size = size;
    }
    return e;
}

bool ThumbnailManager::setThumbnail(std::string_view key, const ImageView& image) {
    if(image.isEmpty()) {
        Log::error("Thumbnail {}: the image is empty", key);
        return false;
    }
    std::optional<Image> rgba;
    if(image.format() != PixelFormat::RGBA8) {
        rgba = convertPixelFormat(image, PixelFormat::RGBA8);
        if(!rgba) {
            Log::error("Thumbnail {}: images of format {} cannot be shown", key, pixelFormatName(image.format()));
            return false;
        }
    }
    const ImageView pixels = rgba ? rgba->view() : image;
    entry(key, pixels.size()).texture.setSubImage(0, {0, 0}, pixels);
    return true;
}

bool ThumbnailManager::setThumbnail(std::string_view key, GL::Framebuffer& framebuffer) {
    const Range2Di source = framebuffer.viewport();
    if(source.isEmpty()) {
        Log::error("Thumbnail {}: the framebuffer's viewport is empty", key);
        return false;
    }
    Entry& e = entry(key, source.size());
    GL::Framebuffer target{Range2Di{{0, 0}, source.size()}};
    target.attachTexture(GL::Framebuffer::Attachment::color(0), e.texture).mapForDraw({0});
    GL::Framebuffer::blit(framebuffer, target, source, Range2Di{{0, 0}, source.size()}, GL_COLOR_BUFFER_BIT, GL::BlitFilter::Nearest);
    return true;
}

std::optional<GLuint> ThumbnailManager::texture(std::string_view key) const {
    const auto found = _thumbnails.find(key);
    if(found == _thumbnails.end()) return std::nullopt;
    return found->second->texture.id();
}

std::optional<Vector2i> ThumbnailManager::size(std::string_view key) const {
    const auto found = _thumbnails.find(key);
    if(found == _thumbnails.end()) return std::nullopt;
    return found->second->size;
}

void ThumbnailManager::remove(std::string_view key) {
    const auto found = _thumbnails.find(key);
    if(found != _thumbnails.end()) _thumbnails.erase(found);
}

void ThumbnailManager::clear() { _thumbnails.clear(); }

}
