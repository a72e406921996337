#include "Gfx/ImageConversion.h"

#include <algorithm>
#include <cmath>

#include <glm/gtc/packing.hpp>

#include "Gfx/Log.h"

namespace ArdentisEngine {

std::uint16_t packHalf(float value) { return glm::packHalf1x16(value); }
float unpackHalf(std::uint16_t value) { return glm::unpackHalf1x16(value); }

Vector4 readPixel(const ImageView& image, int x, int y) {
    const PixelFormat format = image.format();
    const int channels = channelCount(format);
    const std::byte* p = image.row(y).data() + std::size_t(x) * pixelSize(format);
    AE_ASSERT(x >= 0 && x < image.size().x);
    Vector4 out{0.0f, 0.0f, 0.0f, 1.0f};
    for(int c = 0; c != channels; ++c) {
        switch(componentType(format)) {
            case ComponentType::UnsignedByte:
                out[c] = float(std::to_integer<std::uint8_t>(p[c])) / 255.0f;
                break;
            case ComponentType::Half: {
                std::uint16_t h;
                std::memcpy(&h, p + 2 * c, 2);
                out[c] = unpackHalf(h);
                break;
            }
            case ComponentType::Float:
                std::memcpy(&out[c], p + 4 * c, 4);
                break;
            case ComponentType::UnsignedShort: {
                std::uint16_t v;
                std::memcpy(&v, p + 2 * c, 2);
                out[c] = float(v);
                break;
            }
            case ComponentType::UnsignedInt: {
                std::uint32_t v;
                std::memcpy(&v, p + 4 * c, 4);
                out[c] = float(v);
                break;
            }
        }
    }
    return out;
}

void writePixel(Image& image, int x, int y, const Vector4& value) {
    const PixelFormat format = image.format();
    const int channels = channelCount(format);
    AE_ASSERT(x >= 0 && x < image.size().x);
    std::byte* p = image.mutableRow(y).data() + std::size_t(x) * pixelSize(format);
    for(int c = 0; c != channels; ++c) {
        switch(componentType(format)) {
            case ComponentType::UnsignedByte: {
                const float v = std::clamp(value[c], 0.0f, 1.0f);
                p[c] = std::byte(std::lround(v * 255.0f));
                break;
            }
            case ComponentType::Half: {
                const std::uint16_t h = packHalf(value[c]);
                std::memcpy(p + 2 * c, &h, 2);
                break;
            }
            case ComponentType::Float:
                std::memcpy(p + 4 * c, &value[c], 4);
                break;
            case ComponentType::UnsignedShort: {
                const auto v = std::uint16_t(std::clamp(value[c], 0.0f, 65535.0f));
                std::memcpy(p + 2 * c, &v, 2);
                break;
            }
            case ComponentType::UnsignedInt: {
                const auto v = std::uint32_t(std::clamp(double(value[c]), 0.0, 4294967295.0));
                std::memcpy(p + 4 * c, &v, 4);
                break;
            }
        }
    }
}

std::optional<Image> convertPixelFormat(const ImageView& image, PixelFormat format, int alignment) {
    if(isInteger(image.format()) != isInteger(format)) {
        Log::error("Can't convert a {} image to {}: integer and colour formats don't mix",
            pixelFormatName(image.format()), pixelFormatName(format));
        return std::nullopt;
    }
    Image out{format, image.size(), alignment};
    if(format == image.format()) {
        for(int y = 0; y != image.size().y; ++y)
            std::ranges::copy(image.row(y), out.mutableRow(y).begin());
        return out;
    }
    // Integer values above 2^24 don't survive the float detour; copy them exactly instead.
    if(isInteger(format) && componentType(format) == componentType(image.format())) {
        const std::size_t component = componentSize(format);
        const int from = channelCount(image.format()), to = channelCount(format);
        for(int y = 0; y != image.size().y; ++y) {
            const std::byte* src = image.row(y).data();
            std::byte* dst = out.mutableRow(y).data();
            for(int x = 0; x != image.size().x; ++x)
                for(int c = 0; c != std::min(from, to); ++c)
                    std::memcpy(dst + (std::size_t(x) * to + c) * component,
                                src + (std::size_t(x) * from + c) * component, component);
        }
        return out;
    }
    for(int y = 0; y != image.size().y; ++y)
        for(int x = 0; x != image.size().x; ++x) writePixel(out, x, y, readPixel(image, x, y));
    return out;
}

Image flippedVertically(const ImageView& image, int alignment) {
    Image out{image.format(), image.size(), alignment};
    const int height = image.size().y;
    for(int y = 0; y != height; ++y)
        std::ranges::copy(image.row(y), out.mutableRow(height - 1 - y).begin());
    return out;
}

Image repacked(const ImageView& image, int alignment) {
    Image out{image.format(), image.size(), alignment};
    for(int y = 0; y != image.size().y; ++y) std::ranges::copy(image.row(y), out.mutableRow(y).begin());
    return out;
}

}
