#pragma once
// The editor's store of small pictures of assets, by key ("m3" the mesh at index 3, "ma2" a
// material, "font1" a font, "5" the image at index 5). Views render or decode them and hand them
// over; the asset panel shows them. Every thumbnail is an RGBA8 texture owned by the store.
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <epoxy/gl.h>

#include "Gfx/Image.h"
#include "Math/Types.h"

namespace ArdentisEngine {

namespace GL { class Framebuffer; }

class ThumbnailManager {
public:
    // Edge length of thumbnails that views render.
    static constexpr int Size = 128;

    ThumbnailManager();
    ~ThumbnailManager();
    ThumbnailManager(const ThumbnailManager&) = delete;
    ThumbnailManager& operator=(const ThumbnailManager&) = delete;

    // Copies the image (any 8-bit, half or float format; colours are clamped to 0..1) into the
    // store, replacing what the key held. An empty image is refused with a message.
    bool setThumbnail(std::string_view key, const ImageView& image);
    // Copies the framebuffer's viewport from its read buffer, resolving multisampling.
    bool setThumbnail(std::string_view key, GL::Framebuffer& framebuffer);

    // GL texture name of the thumbnail, bottom row first as GL stores it; nothing when absent.
    std::optional<GLuint> texture(std::string_view key) const;
    std::optional<Vector2i> size(std::string_view key) const;
    bool contains(std::string_view key) const { return _thumbnails.find(key) != _thumbnails.end(); }
    std::size_t count() const { return _thumbnails.size(); }
    void remove(std::string_view key);
    void clear();

private:
    struct Entry;
    Entry& entry(std::string_view key, Vector2i size);

    std::map<std::string, std::unique_ptr<Entry>, std::less<>> _thumbnails;
};

}
