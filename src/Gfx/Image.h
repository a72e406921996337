#pragma once
// Pixel images on the CPU.
//
// Rows are stored bottom-up: row 0 is the bottom of the picture, which is what glTexImage2D and
// glReadPixels expect. Importers and converters flip at the file boundary, so nothing else has to.
//
// Row layout follows GL's GL_PACK_ALIGNMENT / GL_UNPACK_ALIGNMENT: every row starts at a multiple of
// the alignment (1, 2, 4 or 8) and the padding bytes after a row are part of the data. An image
// with alignment 4 can be handed to GL with the default pixel-store state.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "Gfx/Assert.h"
#include "Math/Types.h"

namespace ArdentisEngine {

enum class PixelFormat : std::uint8_t {
    R8, RG8, RGB8, RGBA8,
    R16F, RG16F, RGB16F, RGBA16F,
    R32F, RG32F, RGB32F, RGBA32F,
    // Integer formats, for object-id readback; no colour conversions apply to them.
    R16UI, RG16UI, R32UI,
};

enum class ComponentType : std::uint8_t { UnsignedByte, Half, Float, UnsignedShort, UnsignedInt };

ComponentType componentType(PixelFormat format);
int channelCount(PixelFormat format);
std::size_t componentSize(PixelFormat format);
std::size_t pixelSize(PixelFormat format);
// Half or full float components.
bool isFloatingPoint(PixelFormat format);
bool isInteger(PixelFormat format);
std::string_view pixelFormatName(PixelFormat format);
// The format with the given component type and channel count, if there is one.
std::optional<PixelFormat> pixelFormatFor(ComponentType type, int channels);

bool isValidAlignment(int alignment);
// Bytes from the start of one row to the start of the next.
std::size_t rowStride(int width, PixelFormat format, int alignment);
// Every row including the padding of the last one, as GL reads and writes it with the same alignment.
std::size_t imageDataSize(Vector2i size, PixelFormat format, int alignment);

// A read-only window on pixels owned elsewhere.
class ImageView {
public:
    ImageView() = default;
    // The data must hold at least imageDataSize(size, format, alignment) bytes.
    ImageView(PixelFormat format, Vector2i size, std::span<const std::byte> data, int alignment = 4);

    PixelFormat format() const { return _format; }
    Vector2i size() const { return _size; }
    int alignment() const { return _alignment; }
    std::size_t pixelSize() const { return ArdentisEngine::pixelSize(_format); }
    std::size_t stride() const { return rowStride(_size.x, _format, _alignment); }
    bool isEmpty() const { return _size.x == 0 || _size.y == 0; }
    std::span<const std::byte> data() const { return _data; }

    // The pixels of one row, without the padding.
    std::span<const std::byte> row(int y) const;
    // One pixel as T, whose size must be the pixel size (e.g. glm::u8vec4 for RGBA8, Vector3 for RGB32F).
    template<class T> T pixel(int x, int y) const {
        AE_ASSERT(sizeof(T) == pixelSize());
        AE_ASSERT(x >= 0 && x < _size.x);
        T value;
        std::memcpy(&value, row(y).data() + std::size_t(x) * sizeof(T), sizeof(T));
        return value;
    }

private:
    PixelFormat _format{PixelFormat::RGBA8};
    Vector2i _size{0, 0};
    int _alignment{4};
    std::span<const std::byte> _data;
};

// Owns its pixels. Move-only, so that large images are never copied by accident; copy with
// Image::copyOf when a copy is meant.
class Image {
public:
    Image() = default;
    // Zero-filled.
    Image(PixelFormat format, Vector2i size, int alignment = 4);
    // Takes the data over; its size must be exactly imageDataSize(size, format, alignment).
    Image(PixelFormat format, Vector2i size, std::vector<std::byte> data, int alignment = 4);

    static Image copyOf(const ImageView& view);

    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;
    // A moved-from image is empty, not a size without data.
    Image(Image&& other) noexcept;
    Image& operator=(Image&& other) noexcept;

    PixelFormat format() const { return _format; }
    Vector2i size() const { return _size; }
    int alignment() const { return _alignment; }
    std::size_t pixelSize() const { return ArdentisEngine::pixelSize(_format); }
    std::size_t stride() const { return rowStride(_size.x, _format, _alignment); }
    bool isEmpty() const { return _size.x == 0 || _size.y == 0; }
    std::span<const std::byte> data() const { return _data; }
    std::span<std::byte> mutableData() { return _data; }

    std::span<const std::byte> row(int y) const { return view().row(y); }
    std::span<std::byte> mutableRow(int y);

    template<class T> T pixel(int x, int y) const { return view().pixel<T>(x, y); }
    template<class T> void setPixel(int x, int y, const T& value) {
        AE_ASSERT(sizeof(T) == pixelSize());
        AE_ASSERT(x >= 0 && x < _size.x);
        std::memcpy(mutableRow(y).data() + std::size_t(x) * sizeof(T), &value, sizeof(T));
    }

    ImageView view() const { return ImageView{_format, _size, _data, _alignment}; }
    operator ImageView() const { return view(); }

    // Hands the data out and leaves an empty image.
    std::vector<std::byte> release();

private:
    PixelFormat _format{PixelFormat::RGBA8};
    Vector2i _size{0, 0};
    int _alignment{4};
    std::vector<std::byte> _data;
};

}
