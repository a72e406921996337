#include <gtest/gtest.h>

#include "Gfx/Image.h"
#include "Gfx/ImageConversion.h"
#include "Gfx/Log.h"

using namespace ArdentisEngine;

// Rows hold their pixels and the least padding that makes the next row start aligned.
TEST(ImageTest, StrideAndDataSizeFollowPackAlignment) {
    for(int i = 0; i <= int(PixelFormat::R32UI); ++i)
        for(int alignment: {1, 2, 4, 8})
            for(int width = 0; width != 10; ++width) {
                const auto format = PixelFormat(i);
                SCOPED_TRACE(testing::Message{} << pixelFormatName(format) << " width " << width << " alignment " << alignment);
                const std::size_t stride = rowStride(width, format, alignment), used = std::size_t(width)*pixelSize(format);
                EXPECT_EQ(stride % std::size_t(alignment), 0u);
                EXPECT_GE(stride, used);
                EXPECT_LT(stride - used, std::size_t(alignment));
                EXPECT_EQ(imageDataSize({width, 3}, format, alignment), 3*stride);
                const Image image{format, {width, 3}, alignment};
                EXPECT_EQ(image.data().size(), 3*stride);
                EXPECT_EQ(image.stride(), stride);
            }
    // Anchors for the pixel sizes the loop takes as given.
    EXPECT_EQ(rowStride(3, PixelFormat::RGB8, 4), 12u);
    EXPECT_EQ(rowStride(3, PixelFormat::RGB32F, 8), 40u);
}

TEST(ImageTest, FormatPropertiesAreConsistent) {
    for(int i = 0; i <= int(PixelFormat::R32UI); ++i) {
        const auto format = PixelFormat(i);
        SCOPED_TRACE(pixelFormatName(format));
        EXPECT_EQ(pixelSize(format), componentSize(format) * std::size_t(channelCount(format)));
        EXPECT_EQ(pixelFormatFor(componentType(format), channelCount(format)), format);
        EXPECT_FALSE(isFloatingPoint(format) && isInteger(format));
    }
    EXPECT_EQ(pixelFormatFor(ComponentType::UnsignedInt, 4), std::nullopt);
    EXPECT_FALSE(isValidAlignment(3));
    EXPECT_FALSE(isValidAlignment(16));
}

TEST(ImageTest, RowsSkipPaddingAndPixelsLandInTheirRow) {
    Image image{PixelFormat::RGB8, {3, 2}};
    image.setPixel(2, 1, glm::u8vec3{10, 20, 30});
    image.setPixel(0, 0, glm::u8vec3{1, 2, 3});
    ASSERT_EQ(image.row(1).size(), 9u);
    // Row 1 starts after the 9 pixel bytes and 3 padding bytes of row 0.
    EXPECT_EQ(image.row(1).data(), image.data().data() + 12);
    EXPECT_EQ(std::to_integer<int>(image.data()[12 + 6]), 10);
    EXPECT_EQ(std::to_integer<int>(image.data()[0]), 1);
    EXPECT_EQ(image.pixel<glm::u8vec3>(2, 1), (glm::u8vec3{10, 20, 30}));
    EXPECT_EQ(image.view().pixel<glm::u8vec3>(1, 1), (glm::u8vec3{0, 0, 0}));
}

TEST(ImageTest, MoveLeavesAnEmptyImageAndCopyOfIsIndependent) {
    Image a{PixelFormat::R8, {4, 4}};
    a.setPixel(1, 1, std::uint8_t{7});
    Image copy = Image::copyOf(a);
    Image b = std::move(a);
    EXPECT_TRUE(a.isEmpty());
    EXPECT_TRUE(a.data().empty());
    b.setPixel(1, 1, std::uint8_t{9});
    EXPECT_EQ(copy.pixel<std::uint8_t>(1, 1), 7);
    const std::vector<std::byte> data = b.release();
    EXPECT_EQ(data.size(), 16u);
    EXPECT_TRUE(b.isEmpty());
}

TEST(ImageTest, ViewOverLargerBufferUsesOnlyItsRows) {
    std::vector<std::byte> buffer(64, std::byte{0xff});
    buffer[4] = std::byte{5};
    const ImageView view{PixelFormat::R8, {3, 2}, buffer};
    EXPECT_EQ(view.stride(), 4u);
    EXPECT_EQ(view.pixel<std::uint8_t>(0, 1), 5);
    const Image copy = Image::copyOf(view);
    EXPECT_EQ(copy.data().size(), 8u);
}

namespace {

struct HalfCase {
    const char* name;
    float value;
    std::uint16_t bits;
};

const HalfCase HalfCases[]{
    {"MinusTwo", -2.0f, 0xc000},
    {"LargestFinite", 65504.0f, 0x7bff},
    {"SmallestNormal", 6.103515625e-05f, 0x0400},
};

class HalfTest: public testing::TestWithParam<HalfCase> {};

}

TEST_P(HalfTest, PacksAndUnpacksExactly) {
    const HalfCase& c = GetParam();
    EXPECT_EQ(packHalf(c.value), c.bits);
    EXPECT_EQ(unpackHalf(c.bits), c.value);
}

INSTANTIATE_TEST_SUITE_P(Cases, HalfTest, testing::ValuesIn(HalfCases),
    [](const testing::TestParamInfo<HalfCase>& info) { return std::string{info.param.name}; });

TEST(ImageConversionTest, ReadAndWritePixelAcrossComponentTypes) {
    Image rgba8{PixelFormat::RGBA8, {2, 1}};
    writePixel(rgba8, 1, 0, {1.5f, 0.5f, -1.0f, 0.2f});
    // Clamped to 0..1 and rounded to the nearest step.
    EXPECT_EQ(rgba8.pixel<glm::u8vec4>(1, 0), (glm::u8vec4{255, 128, 0, 51}));

    Image r8{PixelFormat::R8, {1, 1}};
    writePixel(r8, 0, 0, {0.2f, 0.9f, 0.9f, 0.3f});
    EXPECT_EQ(readPixel(r8, 0, 0), (Vector4{51.0f / 255.0f, 0.0f, 0.0f, 1.0f}));

    Image half{PixelFormat::RGB16F, {1, 1}};
    writePixel(half, 0, 0, {2.5f, -0.25f, 1000.0f, 0.0f});
    EXPECT_EQ(readPixel(half, 0, 0), (Vector4{2.5f, -0.25f, 1000.0f, 1.0f}));
}

TEST(ImageConversionTest, ConvertKeepsValuesAndChangesAlignment) {
    Image source{PixelFormat::RGB8, {3, 2}, 1};
    for(int y = 0; y != 2; ++y)
        for(int x = 0; x != 3; ++x)
            source.setPixel(x, y, glm::u8vec3{std::uint8_t(x * 50), std::uint8_t(y * 100), 255});
    const std::optional<Image> floats = convertPixelFormat(source, PixelFormat::RGBA32F, 8);
    ASSERT_TRUE(floats);
    EXPECT_EQ(floats->alignment(), 8);
    EXPECT_EQ(floats->pixel<Vector4>(2, 1), (Vector4{100.0f / 255.0f, 100.0f / 255.0f, 1.0f, 1.0f}));
    const std::optional<Image> back = convertPixelFormat(*floats, PixelFormat::RGB8, 4);
    ASSERT_TRUE(back);
    for(int y = 0; y != 2; ++y)
        for(int x = 0; x != 3; ++x)
            EXPECT_EQ(back->pixel<glm::u8vec3>(x, y), source.pixel<glm::u8vec3>(x, y));
}

TEST(ImageConversionTest, IntegerFormatsCopyExactlyAndRefuseColour) {
    Image ids{PixelFormat::R32UI, {2, 1}};
    ids.setPixel(1, 0, std::uint32_t{0xfffffff1u});
    const std::optional<Image> same = convertPixelFormat(ids, PixelFormat::R32UI);
    ASSERT_TRUE(same);
    EXPECT_EQ(same->pixel<std::uint32_t>(1, 0), 0xfffffff1u);

    Image pairs{PixelFormat::R16UI, {1, 1}};
    pairs.setPixel(0, 0, std::uint16_t{65535});
    const std::optional<Image> widened = convertPixelFormat(pairs, PixelFormat::RG16UI);
    ASSERT_TRUE(widened);
    EXPECT_EQ(widened->pixel<glm::u16vec2>(0, 0), (glm::u16vec2{65535, 0}));

    Log::Capture errors{Log::Channel::Error};
    EXPECT_FALSE(convertPixelFormat(ids, PixelFormat::RGBA8));
    EXPECT_FALSE(convertPixelFormat(Image{PixelFormat::RGBA8, {1, 1}}, PixelFormat::R32UI));
    EXPECT_TRUE(errors.contains("Can't convert a R32UI image to RGBA8"));
}

TEST(ImageConversionTest, FlipAndRepackKeepPixels) {
    Image source{PixelFormat::RG8, {3, 3}, 4};
    for(int y = 0; y != 3; ++y)
        for(int x = 0; x != 3; ++x) source.setPixel(x, y, glm::u8vec2{std::uint8_t(x), std::uint8_t(y)});
    const Image flipped = flippedVertically(source, 1);
    const Image tight = repacked(source, 1);
    EXPECT_EQ(tight.stride(), 6u);
    EXPECT_EQ(tight.data().size(), 18u);
    for(int y = 0; y != 3; ++y)
        for(int x = 0; x != 3; ++x) {
            EXPECT_EQ(flipped.pixel<glm::u8vec2>(x, y), (glm::u8vec2{x, 2 - y}));
            EXPECT_EQ(tight.pixel<glm::u8vec2>(x, y), (glm::u8vec2{x, y}));
        }
}

TEST(ImageDeathTest, MismatchedDataSizeIsAFaultOfTheCaller) {
    EXPECT_DEATH((Image{PixelFormat::RGB8, {3, 2}, std::vector<std::byte>(18), 4}), "Assertion");
    EXPECT_DEATH((Image{PixelFormat::RGB8, {3, 2}, 3}), "Assertion");
}
