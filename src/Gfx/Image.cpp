#include "Gfx/Image.h"

#include <utility>

namespace ArdentisEngine {

namespace {

struct FormatInfo {
    ComponentType type;
    int channels;
    std::string_view name;
};

// Indexed by PixelFormat.
constexpr FormatInfo Formats[]{
    {ComponentType::UnsignedByte, 1, "R8"},
    {ComponentType::UnsignedByte, 2, "RG8"},
    {ComponentType::UnsignedByte, 3, "RGB8"},
    {ComponentType::UnsignedByte, 4, "RGBA8"},
    {ComponentType::Half, 1, "R16F"},
    {ComponentType::Half, 2, "RG16F"},
    {ComponentType::Half, 3, "RGB16F"},
    {ComponentType::Half, 4, "RGBA16F"},
    {ComponentType::Float, 1, "R32F"},
    {ComponentType::Float, 2, "RG32F"},
    {ComponentType::Float, 3, "RGB32F"},
    {ComponentType::Float, 4, "RGBA32F"},
    {ComponentType::UnsignedShort, 1, "R16UI"},
    {ComponentType::UnsignedShort, 2, "RG16UI"},
    {ComponentType::UnsignedInt, 1, "R32UI"},
};
constexpr std::size_t FormatCount = sizeof(Formats) / sizeof(Formats[0]);
static_assert(FormatCount == std::size_t(PixelFormat::R32UI) + 1, "format table out of step with the enum");

const FormatInfo& info(PixelFormat format) {
    AE_ASSERT(std::size_t(format) < FormatCount);
    return Formats[std::size_t(format)];
}

}

ComponentType componentType(PixelFormat format) { return info(format).type; }
int channelCount(PixelFormat format) { return info(format).channels; }

std::size_t componentSize(PixelFormat format) {
    switch(info(format).type) {
        case ComponentType::UnsignedByte: return 1;
        case ComponentType::Half:
        case ComponentType::UnsignedShort: return 2;
        case ComponentType::Float:
        case ComponentType::UnsignedInt: return 4;
    }
    AE_UNREACHABLE();
}

std::size_t pixelSize(PixelFormat format) { return componentSize(format) * std::size_t(channelCount(format)); }

bool isFloatingPoint(PixelFormat format) {
    const ComponentType type = componentType(format);
    return type == ComponentType::Half || type == ComponentType::Float;
}

bool isInteger(PixelFormat format) {
    const ComponentType type = componentType(format);
    return type == ComponentType::UnsignedShort || type == ComponentType::UnsignedInt;
}

std::string_view pixelFormatName(PixelFormat format) { return info(format).name; }

std::optional<PixelFormat> pixelFormatFor(ComponentType type, int channels) {
    for(std::size_t i = 0; i != FormatCount; ++i)
        if(Formats[i].type == type && Formats[i].channels == channels) return PixelFormat(i);
    return std::nullopt;
}

bool isValidAlignment(int alignment) {
    return alignment == 1 || alignment == 2 || alignment == 4 || alignment == 8;
}

std::size_t rowStride(int width, PixelFormat format, int alignment) {
    AE_ASSERT(isValidAlignment(alignment));
    AE_ASSERT(width >= 0);
    const std::size_t bytes = std::size_t(width) * pixelSize(format);
    const std::size_t a = std::size_t(alignment);
    return (bytes + a - 1) / a * a;
}

std::size_t imageDataSize(Vector2i size, PixelFormat format, int alignment) {
    AE_ASSERT(size.y >= 0);
    return rowStride(size.x, format, alignment) * std::size_t(size.y);
}

ImageView::ImageView(PixelFormat format, Vector2i size, std::span<const std::byte> data, int alignment):
    _format{format}, _size{size}, _alignment{alignment}, _data{data} {
    AE_ASSERT(size.x >= 0 && size.y >= 0);
    AE_ASSERT(data.size() >= imageDataSize(size, format, alignment));
}

std::span<const std::byte> ImageView::row(int y) const {
    AE_ASSERT(y >= 0 && y < _size.y);
    return _data.subspan(std::size_t(y) * stride(), std::size_t(_size.x) * pixelSize());
}

Image::Image(PixelFormat format, Vector2i size, int alignment):
    Image{format, size, std::vector<std::byte>(imageDataSize(size, format, alignment)), alignment} {}

Image::Image(PixelFormat format, Vector2i size, std::vector<std::byte> data, int alignment):
    _format{format}, _size{size}, _alignment{alignment}, _data{std::move(data)} {
    AE_ASSERT(size.x >= 0 && size.y >= 0);
    AE_ASSERT(_data.size() == imageDataSize(size, format, alignment));
}

Image::Image(Image&& other) noexcept:
    _format{other._format}, _size{std::exchange(other._size, Vector2i{0, 0})},
    _alignment{other._alignment}, _data{std::move(other._data)} {
    other._data.clear();
}

Image& Image::operator=(Image&& other) noexcept {
    if(this != &other) {
        _format = other._format;
        _size = std::exchange(other._size, Vector2i{0, 0});
        _alignment = other._alignment;
        _data = std::move(other._data);
        other._data.clear();
    }
    return *this;
}

Image Image::copyOf(const ImageView& view) {
    const std::size_t size = imageDataSize(view.size(), view.format(), view.alignment());
    std::vector<std::byte> data(view.data().begin(), view.data().begin() + std::ptrdiff_t(size));
    return Image{view.format(), view.size(), std::move(data), view.alignment()};
}

std::span<std::byte> Image::mutableRow(int y) {
    AE_ASSERT(y >= 0 && y < _size.y);
    return std::span<std::byte>{_data}.subspan(std::size_t(y) * stride(), std::size_t(_size.x) * pixelSize());
}

std::vector<std::byte> Image::release() {
    _size = {0, 0};
    return std::exchange(_data, {});
}

}
