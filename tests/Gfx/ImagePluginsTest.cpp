#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>

#include <stb_image.h>
#include <stb_image_write.h>

#include "Gfx/ImageConversion.h"
#include "Gfx/ImagePlugins.h"
#include "Gfx/Log.h"

using namespace ArdentisEngine;
namespace fs = std::filesystem;

namespace {

// A fresh folder per test case, under the build tree when run by CTest.
fs::path testFolder() {
    const char* base = std::getenv("ARDENTIS_TEST_TMP");
    const testing::TestInfo* info = testing::UnitTest::GetInstance()->current_test_info();
    std::string name = std::string{info->test_suite_name()} + "." + info->name();
    for(char& c: name) if(c == '/') c = '_';
    const fs::path folder = fs::path{base ? base : testing::TempDir()} / "ImagePlugins" / name;
    fs::remove_all(folder);
    fs::create_directories(folder);
    return folder;
}

std::vector<std::byte> bytesOf(std::string_view text) {
    const auto bytes = std::as_bytes(std::span{text});
    return {bytes.begin(), bytes.end()};
}

std::vector<std::byte> fileBytes(const fs::path& path) {
    std::ifstream in{path, std::ios::binary};
    return bytesOf(std::string{std::istreambuf_iterator<char>{in}, {}});
}

void writeBytes(const fs::path& path, std::span<const std::byte> data) {
    std::ofstream out{path, std::ios::binary};
    out.write(reinterpret_cast<const char*>(data.data()), std::streamsize(data.size()));
}

// Every channel a different function of the position, so that swapped rows, columns or channels show.
Image pattern(PixelFormat format, Vector2i size, int alignment = 4) {
    Image image{format, size, alignment};
    for(int y = 0; y != size.y; ++y)
        for(int x = 0; x != size.x; ++x) {
            const Vector4 value{float(x) / float(size.x), float(y) / float(size.y),
                                float((x * 7 + y * 3) % 11) / 10.0f, 1.0f - float(x + y) / float(size.x + size.y)};
            writePixel(image, x, y, isFloatingPoint(format) ? value * 40.0f + 0.01f : value);
        }
    return image;
}

void appendTo(void* context, void* data, int size) {
    auto& out = *static_cast<std::vector<std::byte>*>(context);
    out.insert(out.end(), static_cast<std::byte*>(data), static_cast<std::byte*>(data) + size);
}

const ImagePluginManager Manager;
const auto Named = [](const auto& info) { return std::string{info.param.name}; };

struct PngCase {
    const char* name;
    PixelFormat format;
    Vector2i size;
    int alignment;
};

const PngCase PngCases[]{
    {"RGB8OddWidthPadded", PixelFormat::RGB8, {3, 5}, 8},
    {"RGBA8SinglePixel", PixelFormat::RGBA8, {1, 1}, 4},
};

class PngRoundTripTest: public testing::TestWithParam<PngCase> {};

TEST_P(PngRoundTripTest, FileAndDataRoundTripsAreExact) {
    const PngCase& c = GetParam();
    const Image source = pattern(c.format, c.size, c.alignment);
    const fs::path path = testFolder() / "out.png";
    writeBytes(path, bytesOf("old"));
    auto converter = Manager.loadConverter("PngImageConverter");
    auto importer = Manager.loadImporter("AnyImageImporter");
    ASSERT_TRUE(converter && importer);

    ASSERT_TRUE(converter->convertToFile(source, path.string()));
    EXPECT_EQ(std::distance(fs::directory_iterator{path.parent_path()}, fs::directory_iterator{}), 1) << "a temporary is left";
    ASSERT_TRUE(importer->openFile(path.string()));
    std::optional<Image> fromFile = importer->image2D(0, 0);
    ASSERT_TRUE(fromFile);

    const std::optional<std::vector<std::byte>> data = converter->convertToData(source);
    ASSERT_TRUE(data);
    EXPECT_EQ(*data, fileBytes(path));
    ASSERT_TRUE(importer->openData(*data));
    std::optional<Image> fromData = importer->image2D();
    ASSERT_TRUE(fromData);

    for(const Image* imported: {&*fromFile, &*fromData}) {
        ASSERT_EQ(imported->format(), c.format);
        ASSERT_EQ(imported->size(), c.size);
        for(int y = 0; y != c.size.y; ++y)
            ASSERT_TRUE(std::ranges::equal(imported->row(y), source.row(y))) << "row " << y;
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, PngRoundTripTest, testing::ValuesIn(PngCases), Named);

TEST(ImagePluginsTest, FilesStoreTheTopRowFirst) {
    // Our row 0 is the bottom of the picture; in the file it must come last.
    Image image{PixelFormat::R8, {2, 3}};
    image.setPixel(0, 0, std::uint8_t{10});
    image.setPixel(0, 2, std::uint8_t{200});
    const auto png = Manager.loadConverter("PngImageConverter")->convertToData(image);
    ASSERT_TRUE(png);
    int w, h, n;
    stbi_uc* pixels = stbi_load_from_memory(reinterpret_cast<const stbi_uc*>(png->data()), int(png->size()), &w, &h, &n, 1);
    ASSERT_TRUE(pixels);
    EXPECT_EQ(pixels[0], 200);
    EXPECT_EQ(pixels[2 * 2], 10);
    stbi_image_free(pixels);
}

struct HdrCase {
    const char* name;
    PixelFormat format;
    const char* importer;
};

const HdrCase HdrCases[]{
    {"RGB32FThroughAnyImporter", PixelFormat::RGB32F, "AnyImageImporter"},
    {"RGBA16F", PixelFormat::RGBA16F, "HdrImporter"},
};

class HdrRoundTripTest: public testing::TestWithParam<HdrCase> {};

TEST_P(HdrRoundTripTest, RoundTripWithinRgbePrecision) {
    const HdrCase& c = GetParam();
    const Image source = pattern(c.format, {9, 5});
    const auto data = Manager.loadConverter("HdrImageConverter")->convertToData(source);
    ASSERT_TRUE(data);
    // Writers use "#?RADIANCE"; files from other tools start with "#?RGBE", whatever their name.
    std::string text(reinterpret_cast<const char*>(data->data()), data->size());
    ASSERT_EQ(text.rfind("#?RADIANCE\n", 0), 0u);
    text.replace(0, 11, "#?RGBE\n");
    const fs::path path = testFolder() / "environment.png";
    writeBytes(path, bytesOf(text));
    auto importer = Manager.loadImporter(c.importer);
    ASSERT_TRUE(importer->openFile(path.string()));
    const std::optional<Image> imported = importer->image2D();
    ASSERT_TRUE(imported);
    EXPECT_EQ(imported->format(), PixelFormat::RGB32F);
    ASSERT_EQ(imported->size(), source.size());
    for(int y = 0; y != 5; ++y)
        for(int x = 0; x != 9; ++x) {
            const Vector4 expected = readPixel(source, x, y), actual = readPixel(*imported, x, y);
            // RGBE keeps 8 mantissa bits relative to the largest channel of the pixel.
            const float tolerance = std::max({expected.r, expected.g, expected.b}) / 128.0f;
            for(int ch = 0; ch != 3; ++ch)
                EXPECT_NEAR(actual[ch], expected[ch], tolerance) << x << "," << y << " channel " << ch;
        }
}

INSTANTIATE_TEST_SUITE_P(Cases, HdrRoundTripTest, testing::ValuesIn(HdrCases), Named);

struct DetectCase {
    const char* name;
    int (*write)(std::vector<std::byte>&, int w, int h, int comp, const void* data);
    bool lossy;
};

const DetectCase DetectCases[]{
    {"Bmp", [](std::vector<std::byte>& out, int w, int h, int comp, const void* data) {
         return stbi_write_bmp_to_func(appendTo, &out, w, h, comp, data); }, false},
    {"Jpeg", [](std::vector<std::byte>& out, int w, int h, int comp, const void* data) {
         return stbi_write_jpg_to_func(appendTo, &out, w, h, comp, data, 100); }, true},
};

class DetectTest: public testing::TestWithParam<DetectCase> {};

TEST_P(DetectTest, AnyImporterDecodesByContent) {
    const DetectCase& c = GetParam();
    // A flat colour with one bright square in the top-left corner of the file.
    std::vector<std::uint8_t> topDown(16 * 16 * 3, 40);
    for(int y = 0; y != 8; ++y)
        for(int x = 0; x != 8; ++x) topDown[std::size_t((y * 16 + x) * 3)] = 250;
    std::vector<std::byte> file;
    ASSERT_TRUE(c.write(file, 16, 16, 3, topDown.data()));
    auto importer = Manager.loadImporter("AnyImageImporter");
    ASSERT_TRUE(importer->openData(file));
    const std::optional<Image> image = importer->image2D();
    ASSERT_TRUE(image);
    EXPECT_EQ(image->format(), PixelFormat::RGB8);
    ASSERT_EQ(image->size(), (Vector2i{16, 16}));
    const int tolerance = c.lossy ? 12 : 0;
    // Top-left of the file is our last row.
    EXPECT_NEAR(image->pixel<glm::u8vec3>(2, 13).r, 250, tolerance);
    EXPECT_NEAR(image->pixel<glm::u8vec3>(13, 2).r, 40, tolerance);
    EXPECT_NEAR(image->pixel<glm::u8vec3>(2, 2).g, 40, tolerance);
}

INSTANTIATE_TEST_SUITE_P(Cases, DetectTest, testing::ValuesIn(DetectCases), Named);

struct BrokenFileCase {
    const char* name;
    const char* importer;
    // Makes the file's content from a valid PNG and HDR; null leaves the file missing.
    std::vector<std::byte> (*content)(const std::vector<std::byte>& png, const std::vector<std::byte>& hdr);
    const char* reason;
};

const BrokenFileCase BrokenFileCases[]{
    {"Missing", "AnyImageImporter", nullptr, "No such file or directory"},
    {"Garbage", "AnyImageImporter", [](auto&, auto&) { return bytesOf("this is not an image at all\n"); },
     "not a PNG, JPEG, TGA, BMP or Radiance HDR image"},
    {"TruncatedPng", "AnyImageImporter", [](auto& png, auto&) {
         return std::vector<std::byte>(png.begin(), png.begin() + std::ptrdiff_t(png.size() / 2)); }, "as PNG"},
    // The decoder would spin forever on the zero run lengths it reads past the end.
    {"HdrCutInsideAScanline", "AnyImageImporter", [](auto&, auto& hdr) {
         return std::vector<std::byte>(hdr.begin(), hdr.begin() + std::ptrdiff_t(hdr.size() / 2)); }, "is truncated"},
    {"PngGivenToHdrImporter", "HdrImporter", [](auto& png, auto&) { return png; }, "not a Radiance HDR image"},
};

class BrokenFileTest: public testing::TestWithParam<BrokenFileCase> {};

TEST_P(BrokenFileTest, OneMessageNamingTheFileAndNoImage) {
    const BrokenFileCase& c = GetParam();
    const auto png = *Manager.loadConverter("PngImageConverter")->convertToData(pattern(PixelFormat::RGBA8, {32, 32}));
    const auto hdr = *Manager.loadConverter("HdrImageConverter")->convertToData(pattern(PixelFormat::RGB32F, {32, 32}));
    const fs::path path = testFolder() / "broken.img";
    if(c.content) writeBytes(path, c.content(png, hdr));

    auto importer = Manager.loadImporter(c.importer);
    Log::Capture errors{Log::Channel::Error};
    Log::Capture infos{Log::Channel::Info};
    EXPECT_FALSE(importer->openFile(path.string()));
    EXPECT_FALSE(importer->isOpened());
    EXPECT_EQ(importer->image2DCount(), 0u);
    EXPECT_EQ(std::ranges::count(errors.text(), '\n'), 1) << errors.text();
    EXPECT_TRUE(errors.contains(path.string())) << errors.text();
    EXPECT_TRUE(errors.contains(c.reason)) << errors.text();
    EXPECT_TRUE(errors.contains(c.importer)) << errors.text();
    EXPECT_EQ(infos.text(), "");
}

INSTANTIATE_TEST_SUITE_P(Cases, BrokenFileTest, testing::ValuesIn(BrokenFileCases), Named);

TEST(ImagePluginsTest, OnlyImageZeroLevelZeroOfAnOpenFileExists) {
    auto importer = Manager.loadImporter("AnyImageImporter");
    ASSERT_TRUE(importer->openData(*Manager.loadConverter("PngImageConverter")->convertToData(pattern(PixelFormat::R8, {2, 2}))));
    Log::Capture errors{Log::Channel::Error};
    EXPECT_FALSE(importer->image2D(1, 0));
    EXPECT_FALSE(importer->image2D(0, 1));
    EXPECT_EQ(std::ranges::count(errors.text(), '\n'), 2);
    EXPECT_TRUE(importer->image2D(0, 0));
    // A failed open drops the image that was open before.
    EXPECT_FALSE(importer->openData(std::string_view{"garbage"}));
    EXPECT_FALSE(importer->isOpened());
    EXPECT_TRUE(errors.contains("AnyImageImporter: can't decode data"));
    EXPECT_FALSE(importer->image2D());
    EXPECT_TRUE(errors.contains("AnyImageImporter: no image is open"));
}

struct RefusedWriteCase {
    const char* name;
    const char* converter;
    PixelFormat format;
    Vector2i size;
    const char* folder;  // a sub-folder that doesn't exist, or empty
    const char* reason;
};

const RefusedWriteCase RefusedWriteCases[]{
    {"PngOfFloats", "PngImageConverter", PixelFormat::RGB32F, {2, 2}, "", "RGB32F pixels aren't supported"},
    {"MissingFolder", "PngImageConverter", PixelFormat::RGBA8, {2, 2}, "no/such/folder", "No such file or directory"},
    {"ResizerWritesNoFiles", "StbResizeImageConverter", PixelFormat::RGBA8, {2, 2}, "", "only converts images to images"},
};

class RefusedWriteTest: public testing::TestWithParam<RefusedWriteCase> {};

TEST_P(RefusedWriteTest, OneMessageAndTheOldFileStaysIntact) {
    const RefusedWriteCase& c = GetParam();
    const fs::path folder = testFolder();
    const fs::path path = folder / c.folder / "target.out";
    if(!*c.folder) writeBytes(path, bytesOf("previous content"));

    auto converter = Manager.loadConverter(c.converter);
    Log::Capture errors{Log::Channel::Error};
    EXPECT_FALSE(converter->convertToFile(Image{c.format, c.size}, path.string()));
    EXPECT_EQ(std::ranges::count(errors.text(), '\n'), 1) << errors.text();
    EXPECT_TRUE(errors.contains(path.string())) << errors.text();
    EXPECT_TRUE(errors.contains(c.reason)) << errors.text();
    if(!*c.folder) {
        EXPECT_EQ(fileBytes(path), bytesOf("previous content"));
    }
    // Nothing but the target is left in the folder.
    EXPECT_EQ(std::distance(fs::directory_iterator{folder}, fs::directory_iterator{}), *c.folder ? 0 : 1);
}

INSTANTIATE_TEST_SUITE_P(Cases, RefusedWriteTest, testing::ValuesIn(RefusedWriteCases), Named);

struct ResizeCase {
    const char* name;
    PixelFormat format;
    Vector2i from;
    const char* size;
    Vector2i to;
};

const ResizeCase ResizeCases[]{
    {"RGB8PaddedRowsUpExtraSpaces", PixelFormat::RGB8, {5, 3}, "  20   12 ", {20, 12}},
    {"RGBA16FStaysHalf", PixelFormat::RGBA16F, {16, 16}, "8 8", {8, 8}},
};

class ResizeTest: public testing::TestWithParam<ResizeCase> {};

TEST_P(ResizeTest, GivesTheRequestedSizeAndKeepsContent) {
    const ResizeCase& c = GetParam();
    // A flat background with a horizontal ramp in the first channel.
    Image source{c.format, c.from};
    const float scale = isFloatingPoint(c.format) ? 8.0f : 1.0f;
    for(int y = 0; y != c.from.y; ++y)
        for(int x = 0; x != c.from.x; ++x)
            writePixel(source, x, y, Vector4{float(x) / float(c.from.x - 1), 0.5f, 0.25f, 0.75f} * scale);

    auto resizer = Manager.loadConverter("StbResizeImageConverter");
    resizer->configuration().setValue("size", c.size);
    const std::optional<Image> resized = resizer->convert(source);
    ASSERT_TRUE(resized);
    EXPECT_EQ(resized->format(), c.format);
    ASSERT_EQ(resized->size(), c.to);
    const int channels = channelCount(c.format);
    for(int y = 0; y != c.to.y; ++y) {
        float previous = -1.0f;
        for(int x = 0; x != c.to.x; ++x) {
            const Vector4 p = readPixel(*resized, x, y) / scale;
            // The flat channels stay flat, the ramp keeps rising.
            for(int ch = 1; ch < channels; ++ch)
                EXPECT_NEAR(p[ch], (Vector4{0.0f, 0.5f, 0.25f, 0.75f})[ch], 0.01f) << x << "," << y;
            EXPECT_GE(p.r, previous - 0.005f) << x << "," << y;
            previous = p.r;
        }
        EXPECT_LT(readPixel(*resized, 0, y).r / scale, 0.25f);
        EXPECT_GT(readPixel(*resized, c.to.x - 1, y).r / scale, 0.75f);
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, ResizeTest, testing::ValuesIn(ResizeCases), Named);

TEST(ImagePluginsTest, ResizeRefusesBadSizesAndIdImages) {
    const struct {
        const char* size;
        PixelFormat format;
        const char* reason;
    } cases[]{
        {nullptr, PixelFormat::RGBA8, "the size \"\" isn't two positive integers"},
        {"64", PixelFormat::RGBA8, "the size \"64\" isn't"},
        {"4 4", PixelFormat::R32UI, "R32UI pixels hold ids"},
    };
    for(const auto& c: cases) {
        SCOPED_TRACE(c.size ? c.size : "(unset)");
        auto resizer = Manager.loadConverter("StbResizeImageConverter");
        if(c.size) resizer->config().setValue("size", c.size);
        Log::Capture errors{Log::Channel::Error};
        EXPECT_FALSE(resizer->convert(Image{c.format, {8, 8}}));
        EXPECT_EQ(std::ranges::count(errors.text(), '\n'), 1) << errors.text();
        EXPECT_TRUE(errors.contains(c.reason)) << errors.text();
    }
}

TEST(ImagePluginsTest, ManagerHandsOutKnownNamesOnly) {
    for(std::string_view name: ImagePluginManager::importerNames()) EXPECT_TRUE(Manager.loadImporter(name)) << name;
    for(std::string_view name: ImagePluginManager::converterNames()) EXPECT_TRUE(Manager.loadConverter(name)) << name;
    Log::Capture errors{Log::Channel::Error};
    EXPECT_FALSE(Manager.loadImporter("PngImageConverter"));
    EXPECT_FALSE(Manager.loadConverter("JpegImageConverter"));
    EXPECT_EQ(errors.text(), "ImagePluginManager: there is no image importer named \"PngImageConverter\"\n"
        "ImagePluginManager: there is no image converter named \"JpegImageConverter\"\n");
}

}
