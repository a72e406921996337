// The image plug-ins, decoding and encoding through the stb library that libstb ships compiled.
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

#include <stb_image.h>
#include <stb_image_resize.h>
#include <stb_image_write.h>

#include "Gfx/ImageConversion.h"
#include "Gfx/ImagePlugins.h"
#include "Gfx/Log.h"

namespace ArdentisEngine {

namespace {

enum class FileFormat { Unknown, Png, Jpeg, Tga, Bmp, Hdr };

std::string_view fileFormatName(FileFormat format) {
    switch(format) {
        case FileFormat::Unknown: return "unknown";
        case FileFormat::Png: return "PNG";
        case FileFormat::Jpeg: return "JPEG";
        case FileFormat::Tga: return "TGA";
        case FileFormat::Bmp: return "BMP";
        case FileFormat::Hdr: return "Radiance HDR";
    }
    AE_UNREACHABLE();
}

bool startsWith(std::span<const std::byte> data, std::string_view magic) {
    return data.size() >= magic.size() && std::memcmp(data.data(), magic.data(), magic.size()) == 0;
}

std::uint8_t byteAt(std::span<const std::byte> data, std::size_t i) { return std::to_integer<std::uint8_t>(data[i]); }

// TGA has no magic number, only a header whose fields have few valid values.
bool looksLikeTga(std::span<const std::byte> data) {
    if(data.size() < 18) return false;
    const std::uint8_t colorMapType = byteAt(data, 1), imageType = byteAt(data, 2), depth = byteAt(data, 16);
    const int width = byteAt(data, 12) | byteAt(data, 13) << 8, height = byteAt(data, 14) | byteAt(data, 15) << 8;
    const bool knownType = imageType == 1 || imageType == 2 || imageType == 3 ||
                           imageType == 9 || imageType == 10 || imageType == 11;
    const bool knownDepth = depth == 8 || depth == 15 || depth == 16 || depth == 24 || depth == 32;
    return colorMapType <= 1 && knownType && knownDepth && width > 0 && height > 0;
}

bool isHdr(std::span<const std::byte> data) { return startsWith(data, "#?RADIANCE") || startsWith(data, "#?RGBE"); }

// stb's Radiance decoder reads zeros past the end of its input and spins forever on a run length of
// zero, so a truncated file would either hang or come back as a partly black image. Walk the
// scanlines first, the way the decoder will, and refuse such files. Layout faults that the decoder
// reports itself (unsupported orientation, wrong scanline length) are left to it.
std::optional<std::string> findHdrDataFault(std::span<const std::byte> data) {
    std::size_t p = 0;
    const auto line = [&]() -> std::optional<std::string_view> {
        const auto* begin = reinterpret_cast<const char*>(data.data()) + p;
        const auto* end = static_cast<const char*>(std::memchr(begin, '\n', data.size() - p));
        if(!end) return std::nullopt;
        p += std::size_t(end - begin) + 1;
        return std::string_view{begin, std::size_t(end - begin)};
    };
    // Signature, header lines, then an empty line.
    for(bool first = true;; first = false) {
        const std::optional<std::string_view> header = line();
        if(!header) return "the header is truncated";
        if(!first && header->empty()) break;
    }
    const std::optional<std::string_view> resolution = line();
    if(!resolution) return "the resolution line is truncated";
    int width = 0, height = 0;
    if(std::sscanf(std::string{*resolution}.c_str(), "-Y %d +X %d", &height, &width) != 2 || width <= 0 || height <= 0)
        return std::nullopt;

    const std::size_t pixels = std::size_t(width) * std::size_t(height);
    const auto remaining = [&] { return data.size() - p; };
    const auto flatFits = [&] {
        return remaining() >= pixels * 4 ? std::optional<std::string>{} : std::optional<std::string>{"the pixel data is truncated"};
    };
    if(width < 8 || width >= 32768) return flatFits();
    for(int y = 0; y != height; ++y) {
        if(remaining() < 4) return fmt::format("scanline {} is truncated", y);
        const std::uint8_t c1 = byteAt(data, p), c2 = byteAt(data, p + 1), high = byteAt(data, p + 2);
        // Not run-length encoded: the decoder reads every pixel flat from here.
        if(c1 != 2 || c2 != 2 || (high & 0x80)) return flatFits();
        if((high << 8 | byteAt(data, p + 3)) != width) return std::nullopt;
        p += 4;
        for(int channel = 0; channel != 4; ++channel) {
            for(int x = 0; x < width;) {
                if(remaining() < 1) return fmt::format("scanline {} is truncated", y);
                int count = byteAt(data, p++);
                std::size_t bytes = std::size_t(count);
                if(count > 128) {
                    count -= 128;
                    bytes = 1;
                }
                if(count == 0) return fmt::format("scanline {} has a run of length zero", y);
                if(count > width - x) return std::nullopt;
                if(remaining() < bytes) return fmt::format("scanline {} is truncated", y);
                p += bytes;
                x += count;
            }
        }
    }
    return std::nullopt;
}

FileFormat detect(std::span<const std::byte> data) {
    if(startsWith(data, "\x89PNG\r\n\x1a\n")) return FileFormat::Png;
    if(startsWith(data, "\xff\xd8\xff")) return FileFormat::Jpeg;
    if(isHdr(data)) return FileFormat::Hdr;
    if(startsWith(data, "BM")) return FileFormat::Bmp;
    if(looksLikeTga(data)) return FileFormat::Tga;
    return FileFormat::Unknown;
}

// stb hands rows out top first; ours go bottom first.
template<class T> Image fromTopDown(const T* pixels, Vector2i size, PixelFormat format) {
    Image image{format, size};
    const std::size_t rowBytes = std::size_t(size.x) * pixelSize(format);
    for(int y = 0; y != size.y; ++y)
        std::memcpy(image.mutableRow(size.y - 1 - y).data(),
                    reinterpret_cast<const std::byte*>(pixels) + std::size_t(y) * rowBytes, rowBytes);
    return image;
}

std::optional<Image> decodeWithStb(std::string_view plugin, std::span<const std::byte> data,
                                   const std::string& source, FileFormat format) {
    if(data.size() > std::size_t(std::numeric_limits<int>::max())) {
        Log::error("{}: can't decode {}: the file is too large", plugin, source);
        return std::nullopt;
    }
    const auto* bytes = reinterpret_cast<const stbi_uc*>(data.data());
    const int length = int(data.size());
    int width = 0, height = 0, channels = 0;
    if(format == FileFormat::Hdr) {
        if(const std::optional<std::string> fault = findHdrDataFault(data)) {
            Log::error("{}: can't decode {} as {}: {}", plugin, source, fileFormatName(format), *fault);
            return std::nullopt;
        }
        // Radiance files are RGB by definition; ask for exactly three channels.
        float* pixels = stbi_loadf_from_memory(bytes, length, &width, &height, &channels, 3);
        if(!pixels) {
            Log::error("{}: can't decode {} as {}: {}", plugin, source, fileFormatName(format), stbi_failure_reason());
            return std::nullopt;
        }
        Image image = fromTopDown(pixels, {width, height}, PixelFormat::RGB32F);
        stbi_image_free(pixels);
        return image;
    }
    stbi_uc* pixels = stbi_load_from_memory(bytes, length, &width, &height, &channels, 0);
    if(!pixels) {
        Log::error("{}: can't decode {} as {}: {}", plugin, source, fileFormatName(format), stbi_failure_reason());
        return std::nullopt;
    }
    const std::optional<PixelFormat> pixelFormat = pixelFormatFor(ComponentType::UnsignedByte, channels);
    if(!pixelFormat) {
        stbi_image_free(pixels);
        Log::error("{}: can't decode {}: {} channels aren't supported", plugin, source, channels);
        return std::nullopt;
    }
    Image image = fromTopDown(pixels, {width, height}, *pixelFormat);
    stbi_image_free(pixels);
    return image;
}

class AnyImageImporter: public AbstractImageImporter {
public:
    AnyImageImporter(): AbstractImageImporter{"AnyImageImporter"} {}

private:
    std::optional<Image> decode(std::span<const std::byte> data, const std::string& source) override {
        if(data.empty()) {
            Log::error("{}: can't decode {}: it is empty", name(), source);
            return std::nullopt;
        }
        const FileFormat format = detect(data);
        if(format == FileFormat::Unknown) {
            Log::error("{}: can't decode {}: not a PNG, JPEG, TGA, BMP or Radiance HDR image", name(), source);
            return std::nullopt;
        }
        return decodeWithStb(name(), data, source, format);
    }
};

class HdrImporter: public AbstractImageImporter {
public:
    HdrImporter(): AbstractImageImporter{"HdrImporter"} {}

private:
    std::optional<Image> decode(std::span<const std::byte> data, const std::string& source) override {
        if(!isHdr(data)) {
            Log::error("{}: can't decode {}: not a Radiance HDR image (no #?RADIANCE or #?RGBE signature)", name(), source);
            return std::nullopt;
        }
        return decodeWithStb(name(), data, source, FileFormat::Hdr);
    }
};

void appendBytes(void* context, void* data, int size) {
    auto& out = *static_cast<std::vector<std::byte>*>(context);
    const auto* bytes = static_cast<const std::byte*>(data);
    out.insert(out.end(), bytes, bytes + size);
}

bool checkNotEmpty(std::string_view plugin, const ImageView& image, const std::string& target) {
    if(!image.isEmpty()) return true;
    Log::error("{}: can't write {}: the image is empty ({}x{})", plugin, target, image.size().x, image.size().y);
    return false;
}

class PngImageConverter: public AbstractImageConverter {
public:
    PngImageConverter(): AbstractImageConverter{"PngImageConverter"} {}

private:
    std::optional<std::vector<std::byte>> doConvertToData(const ImageView& image, const std::string& target) override {
        if(componentType(image.format()) != ComponentType::UnsignedByte) {
            Log::error("{}: can't write {}: {} pixels aren't supported, only R8, RG8, RGB8 and RGBA8",
                name(), target, pixelFormatName(image.format()));
            return std::nullopt;
        }
        if(!checkNotEmpty(name(), image, target)) return std::nullopt;
        const Image topDown = flippedVertically(image, 1);
        std::vector<std::byte> out;
        if(!stbi_write_png_to_func(appendBytes, &out, image.size().x, image.size().y, channelCount(image.format()),
                                   topDown.data().data(), int(topDown.stride()))) {
            Log::error("{}: can't write {}: the PNG encoder failed", name(), target);
            return std::nullopt;
        }
        return out;
    }
};

class HdrImageConverter: public AbstractImageConverter {
public:
    HdrImageConverter(): AbstractImageConverter{"HdrImageConverter"} {}

private:
    std::optional<std::vector<std::byte>> doConvertToData(const ImageView& image, const std::string& target) override {
        const PixelFormat format = image.format();
        if(format != PixelFormat::RGB32F && format != PixelFormat::RGBA32F &&
           format != PixelFormat::RGB16F && format != PixelFormat::RGBA16F) {
            Log::error("{}: can't write {}: {} pixels aren't supported, only RGB and RGBA with float or half-float channels",
                name(), target, pixelFormatName(format));
            return std::nullopt;
        }
        if(!checkNotEmpty(name(), image, target)) return std::nullopt;
        // The encoder wants top-down, tightly packed floats; RGBE has no alpha, so it is dropped here.
        std::optional<Image> floats = convertPixelFormat(image, PixelFormat::RGB32F, 1);
        AE_ASSERT(floats);
        const Image topDown = flippedVertically(*floats, 1);
        std::vector<std::byte> out;
        if(!stbi_write_hdr_to_func(appendBytes, &out, image.size().x, image.size().y, 3,
                                   reinterpret_cast<const float*>(topDown.data().data()))) {
            Log::error("{}: can't write {}: the HDR encoder failed", name(), target);
            return std::nullopt;
        }
        return out;
    }
};

// "W H" with two positive integers and nothing else.
std::optional<Vector2i> parseSize(std::string_view text) {
    Vector2i size;
    const char* p = text.data();
    const char* end = text.data() + text.size();
    for(int i = 0; i != 2; ++i) {
        while(p != end && (*p == ' ' || *p == '\t')) ++p;
        const auto [next, error] = std::from_chars(p, end, size[i]);
        if(error != std::errc{} || size[i] <= 0) return std::nullopt;
        p = next;
    }
    while(p != end && (*p == ' ' || *p == '\t')) ++p;
    if(p != end) return std::nullopt;
    return size;
}

class StbResizeImageConverter: public AbstractImageConverter {
public:
    StbResizeImageConverter(): AbstractImageConverter{"StbResizeImageConverter"} {}

private:
    std::optional<Image> doConvert(const ImageView& image, const std::string& target) override {
        const std::string sizeText = configuration().value("size");
        const std::optional<Vector2i> size = parseSize(sizeText);
        if(!size) {
            Log::error("{}: can't resize {}: the size \"{}\" isn't two positive integers \"W H\"", name(), target, sizeText);
            return std::nullopt;
        }
        const PixelFormat format = image.format();
        if(isInteger(format)) {
            Log::error("{}: can't resize {}: {} pixels hold ids, not colours", name(), target, pixelFormatName(format));
            return std::nullopt;
        }
        if(image.isEmpty()) {
            Log::error("{}: can't resize {}: the image is empty ({}x{})", name(), target, image.size().x, image.size().y);
            return std::nullopt;
        }
        const int channels = channelCount(format);
        if(componentType(format) == ComponentType::UnsignedByte) {
            Image out{format, *size, image.alignment()};
            if(!stbir_resize_uint8(reinterpret_cast<const unsigned char*>(image.data().data()), image.size().x,
                                   image.size().y, int(image.stride()),
                                   reinterpret_cast<unsigned char*>(out.mutableData().data()), size->x, size->y,
                                   int(out.stride()), channels)) {
                Log::error("{}: can't resize {} to {}x{}: the resampler failed", name(), target, size->x, size->y);
                return std::nullopt;
            }
            return out;
        }
        // Half floats go through full floats and back.
        const std::optional<PixelFormat> floatFormat = pixelFormatFor(ComponentType::Float, channels);
        AE_ASSERT(floatFormat);
        std::optional<Image> converted;
        ImageView source = image;
        if(format != *floatFormat) {
            converted = convertPixelFormat(image, *floatFormat);
            AE_ASSERT(converted);
            source = *converted;
        }
        Image out{*floatFormat, *size, image.alignment()};
        if(!stbir_resize_float(reinterpret_cast<const float*>(source.data().data()), source.size().x,
                               source.size().y, int(source.stride()),
                               reinterpret_cast<float*>(out.mutableData().data()), size->x, size->y,
                               int(out.stride()), channels)) {
            Log::error("{}: can't resize {} to {}x{}: the resampler failed", name(), target, size->x, size->y);
            return std::nullopt;
        }
        if(format == *floatFormat) return out;
        std::optional<Image> back = convertPixelFormat(out, format, image.alignment());
        AE_ASSERT(back);
        return back;
    }
};

}

namespace Implementation {

std::unique_ptr<AbstractImageImporter> createStbImporter(std::string_view name) {
    if(name == "AnyImageImporter") return std::make_unique<AnyImageImporter>();
    if(name == "HdrImporter") return std::make_unique<HdrImporter>();
    return nullptr;
}

std::unique_ptr<AbstractImageConverter> createStbConverter(std::string_view name) {
    if(name == "PngImageConverter") return std::make_unique<PngImageConverter>();
    if(name == "HdrImageConverter") return std::make_unique<HdrImageConverter>();
    if(name == "StbResizeImageConverter") return std::make_unique<StbResizeImageConverter>();
    return nullptr;
}

}

}
