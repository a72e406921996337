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
    EXPECT_FALSE(isValidAlignment(3) || isValidAlignment(16));
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

TEST(ImageTest, HalfFloatsPackAndUnpackExactly) {
    const std::pair<float, std::uint16_t> cases[]{{-2.0f, 0xc000}, {65504.0f, 0x7bff}, {6.103515625e-05f, 0x0400}};
    for(const auto& [value, bits]: cases) {
        EXPECT_EQ(packHalf(value), bits) << value;
        EXPECT_EQ(unpackHalf(bits), value) << value;
    }
}

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

TEST(ImageDeathTest, MismatchedDataSizeIsAFaultOfTheCaller) {
    EXPECT_DEATH((Image{PixelFormat::RGB8, {3, 2}, std::vector<std::byte>(18), 4}), "Assertion");
    EXPECT_DEATH((Image{PixelFormat::RGB8, {3, 2}, 3}), "Assertion");
}
