#pragma once
// Image importers and converters handed out by name, the way the asset compiler asks for them:
//
//   importers   "AnyImageImporter"  PNG, JPEG, TGA, BMP to 8-bit; Radiance HDR to RGB32F (by content)
//               "HdrImporter"       Radiance HDR only, to RGB32F
//   converters  "PngImageConverter"        R8, RG8, RGB8, RGBA8 to PNG
//               "HdrImageConverter"        RGB(A)32F or RGB(A)16F to Radiance HDR (alpha is dropped)
//               "StbResizeImageConverter"  image to image at the configuration value "size" ("W H")
//
// Every failure is one Log::error line that names the plug-in, the file (or "data" for memory) and
// the reason; the call then returns nothing, never a partial image, and writing a file never leaves
// a partial file behind.
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Gfx/Image.h"

namespace ArdentisEngine {

// Text values by key, as plug-ins are configured.
class ImagePluginConfiguration {
public:
    void setValue(std::string_view key, std::string_view value) { _values[std::string{key}] = value; }
    bool hasValue(std::string_view key) const { return _values.find(key) != _values.end(); }
    // Empty when the key was never set.
    std::string value(std::string_view key) const;

private:
    std::map<std::string, std::string, std::less<>> _values;
};

class AbstractImageImporter {
public:
    virtual ~AbstractImageImporter();
    AbstractImageImporter(const AbstractImageImporter&) = delete;
    AbstractImageImporter& operator=(const AbstractImageImporter&) = delete;

    const std::string& name() const { return _name; }
    ImagePluginConfiguration& configuration() { return _configuration; }
    ImagePluginConfiguration& config() { return _configuration; }

    // Reads and decodes the whole image; false after one logged message. Closes what was open first.
    bool openFile(const std::string& path);
    bool openData(std::span<const std::byte> data);
    bool openData(std::string_view data);
    bool isOpened() const { return _image.has_value(); }
    void close() { _image.reset(); }

    // Images hold one level; any other id or level, or no open image, is an error message and nothing.
    unsigned image2DCount() const { return isOpened() ? 1 : 0; }
    std::optional<Image> image2D(unsigned id = 0, unsigned level = 0);

protected:
    explicit AbstractImageImporter(std::string name): _name{std::move(name)} {}
    // Decodes bytes to an image with rows bottom-up, or logs one message naming `source` and fails.
    virtual std::optional<Image> decode(std::span<const std::byte> data, const std::string& source) = 0;

private:
    std::string _name;
    ImagePluginConfiguration _configuration;
    std::optional<Image> _image;
};

class AbstractImageConverter {
public:
    virtual ~AbstractImageConverter();
    AbstractImageConverter(const AbstractImageConverter&) = delete;
    AbstractImageConverter& operator=(const AbstractImageConverter&) = delete;

    const std::string& name() const { return _name; }
    ImagePluginConfiguration& configuration() { return _configuration; }
    ImagePluginConfiguration& config() { return _configuration; }

    // Image to image; only converters that say so support it.
    std::optional<Image> convert(const ImageView& image);
    // Image to file bytes.
    std::optional<std::vector<std::byte>> convertToData(const ImageView& image);
    // Image to a file, written beside the target and renamed over it.
    bool convertToFile(const ImageView& image, const std::string& path);

protected:
    explicit AbstractImageConverter(std::string name): _name{std::move(name)} {}
    // `target` names the file or "data" in messages.
    virtual std::optional<Image> doConvert(const ImageView& image, const std::string& target);
    virtual std::optional<std::vector<std::byte>> doConvertToData(const ImageView& image, const std::string& target);

private:
    std::string _name;
    ImagePluginConfiguration _configuration;
};

class ImagePluginManager {
public:
    // A new instance of the named plug-in; an unknown name is an error message and null.
    std::unique_ptr<AbstractImageImporter> loadImporter(std::string_view name) const;
    std::unique_ptr<AbstractImageConverter> loadConverter(std::string_view name) const;

    static std::span<const std::string_view> importerNames();
    static std::span<const std::string_view> converterNames();
};

// Writes the bytes to a temporary file beside `path` and renames it over `path`, so that readers see
// the old file or the new one, never a partial one. False after one message naming `path`, prefixed
// with "<who>: " when `who` is given.
bool writeFileAtomically(const std::string& path, std::span<const std::byte> data, std::string_view who = {});
// The whole file, or nothing after one message naming `path`.
std::optional<std::vector<std::byte>> readFile(const std::string& path, std::string_view who = {});

}
