#include "Gfx/ImagePlugins.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include "Gfx/Log.h"

namespace ArdentisEngine {

namespace Implementation {
// The stb-backed plug-ins; null for names they don't know.
std::unique_ptr<AbstractImageImporter> createStbImporter(std::string_view name);
std::unique_ptr<AbstractImageConverter> createStbConverter(std::string_view name);
}

namespace {

constexpr std::string_view ImporterNames[]{"AnyImageImporter", "HdrImporter"};
constexpr std::string_view ConverterNames[]{"PngImageConverter", "HdrImageConverter", "StbResizeImageConverter"};

std::string prefix(std::string_view who) { return who.empty() ? std::string{} : std::string{who} + ": "; }

}

std::string ImagePluginConfiguration::value(std::string_view key) const {
    const auto found = _values.find(key);
    return found == _values.end() ? std::string{} : found->second;
}

AbstractImageImporter::~AbstractImageImporter() = default;

bool AbstractImageImporter::openFile(const std::string& path) {
    close();
    std::optional<std::vector<std::byte>> data = readFile(path, _name);
    if(!data) return false;
    _image = decode(*data, path);
    return _image.has_value();
}

bool AbstractImageImporter::openData(std::span<const std::byte> data) {
    close();
    _image = decode(data, "data");
    return _image.has_value();
}

bool AbstractImageImporter::openData(std::string_view data) {
    return openData(std::as_bytes(std::span{data.data(), data.size()}));
}

std::optional<Image> AbstractImageImporter::image2D(unsigned id, unsigned level) {
    // Reached when a caller skips checking the open result; the open already said why.
    if(!isOpened()) {
        Log::error("{}: no image is open", _name);
        return std::nullopt;
    }
    if(id != 0 || level != 0) {
        Log::error("{}: no image {} level {}, the file holds one image of one level", _name, id, level);
        return std::nullopt;
    }
    return Image::copyOf(*_image);
}

AbstractImageConverter::~AbstractImageConverter() = default;

std::optional<Image> AbstractImageConverter::convert(const ImageView& image) { return doConvert(image, "data"); }

std::optional<std::vector<std::byte>> AbstractImageConverter::convertToData(const ImageView& image) {
    return doConvertToData(image, "data");
}

bool AbstractImageConverter::convertToFile(const ImageView& image, const std::string& path) {
    std::optional<std::vector<std::byte>> data = doConvertToData(image, path);
    return data && writeFileAtomically(path, *data, _name);
}

std::optional<Image> AbstractImageConverter::doConvert(const ImageView&, const std::string& target) {
    Log::error("{}: can't convert {} to an image, the plug-in only writes files", _name, target);
    return std::nullopt;
}

std::optional<std::vector<std::byte>> AbstractImageConverter::doConvertToData(const ImageView&, const std::string& target) {
    Log::error("{}: can't write {}, the plug-in only converts images to images", _name, target);
    return std::nullopt;
}

std::unique_ptr<AbstractImageImporter> ImagePluginManager::loadImporter(std::string_view name) const {
    if(auto importer = Implementation::createStbImporter(name)) return importer;
    Log::error("ImagePluginManager: there is no image importer named \"{}\"", name);
    return nullptr;
}

std::unique_ptr<AbstractImageConverter> ImagePluginManager::loadConverter(std::string_view name) const {
    if(auto converter = Implementation::createStbConverter(name)) return converter;
    Log::error("ImagePluginManager: there is no image converter named \"{}\"", name);
    return nullptr;
}

std::span<const std::string_view> ImagePluginManager::importerNames() { return ImporterNames; }
std::span<const std::string_view> ImagePluginManager::converterNames() { return ConverterNames; }

bool writeFileAtomically(const std::string& path, std::span<const std::byte> data, std::string_view who) {
    // Beside the target, so that the rename stays on one file system and is atomic.
    std::string temporary;
    int fd = -1;
    for(int attempt = 0; attempt != 100 && fd < 0; ++attempt) {
        temporary = path + ".tmp" + std::to_string(::getpid()) + "-" + std::to_string(attempt);
        fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if(fd < 0 && errno != EEXIST) break;
    }
    if(fd < 0) {
        Log::error("{}can't write {}: {}", prefix(who), path, std::strerror(errno));
        return false;
    }
    const auto fail = [&](int error) {
        ::close(fd);
        ::unlink(temporary.c_str());
        Log::error("{}can't write {}: {}", prefix(who), path, std::strerror(error));
        return false;
    };
    std::size_t written = 0;
    while(written < data.size()) {
        const ssize_t n = ::write(fd, data.data() + written, data.size() - written);
        if(n < 0) {
            if(errno == EINTR) continue;
            return fail(errno);
        }
        written += std::size_t(n);
    }
    if(::fsync(fd) != 0) return fail(errno);
    if(::close(fd) != 0) {
        const int error = errno;
        ::unlink(temporary.c_str());
        Log::error("{}can't write {}: {}", prefix(who), path, std::strerror(error));
        return false;
    }
    if(::rename(temporary.c_str(), path.c_str()) != 0) {
        const int error = errno;
        ::unlink(temporary.c_str());
        Log::error("{}can't write {}: {}", prefix(who), path, std::strerror(error));
        return false;
    }
    return true;
}

std::optional<std::vector<std::byte>> readFile(const std::string& path, std::string_view who) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if(fd < 0) {
        Log::error("{}can't read {}: {}", prefix(who), path, std::strerror(errno));
        return std::nullopt;
    }
    std::vector<std::byte> data;
    std::byte buffer[65536];
    for(;;) {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if(n == 0) break;
        if(n < 0) {
            if(errno == EINTR) continue;
            const int error = errno;
            ::close(fd);
            Log::error("{}can't read {}: {}", prefix(who), path, std::strerror(error));
            return std::nullopt;
        }
        data.insert(data.end(), buffer, buffer + n);
    }
    ::close(fd);
    return data;
}

}
