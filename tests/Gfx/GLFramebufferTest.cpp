#include <array>

#include "GLTestFixture.h"

#include "Gfx/GL/Buffer.h"
#include "Gfx/Log.h"

namespace ArdentisEngine::Test {
namespace {

using Test::PrintTo;

class PlatformOverrideGLTest: public GLTestFixture {};
class FramebufferGLTest: public GLTestFixture {};

TEST_F(PlatformOverrideGLTest, UnknownPlatformIsReported) {
    ::setenv("ARDENTIS_EGL_PLATFORM", "teapot", 1);
    Log::Capture errors{Log::Channel::Error};
    EXPECT_FALSE(Gfx::HeadlessContext::create());
    ::unsetenv("ARDENTIS_EGL_PLATFORM");
    EXPECT_TRUE(errors.contains("unknown ARDENTIS_EGL_PLATFORM value teapot")) << errors.text();
    ASSERT_TRUE(context()->makeCurrent());
}

TEST_F(FramebufferGLTest, IncompleteStatusIsReportedWithLabel) {
    GL::Framebuffer fb{Range2Di{{0, 0}, {8, 8}}};
    fb.setLabel("Probe FB");
    EXPECT_EQ(fb.checkStatus(), GL::FramebufferStatus::IncompleteMissingAttachment);
    Log::Capture errors{Log::Channel::Error};
    EXPECT_FALSE(Gfx::checkFramebufferComplete(fb));
    EXPECT_TRUE(errors.contains("Probe FB")) << errors.text();
    EXPECT_TRUE(errors.contains("GL_FRAMEBUFFER_INCOMPLETE_MISSING_ATTACHMENT")) << errors.text();
}

// Every pixel gets a distinct value so that an offset or flipped row shows up.
Image patternImage(Vector2i size) {
    Image image{PixelFormat::RGBA8, size};
    for(int y = 0; y != size.y; ++y)
        for(int x = 0; x != size.x; ++x)
            image.setPixel(x, y, Rgba8{x*10, y*10, x + y, 255});
    return image;
}

struct ReadRangeCase {
    const char* name;
    Range2Di range;
    PixelFormat format;
};

const ReadRangeCase ReadRangeCases[]{
    {"SingleCorner", {{6, 4}, {7, 5}}, PixelFormat::RGBA8},
    // RGB8 rows of 3 pixels are 9 bytes, padded to 12 by the 4-byte alignment.
    {"PaddedRowsRgb", {{1, 1}, {4, 4}}, PixelFormat::RGB8},
};

class FramebufferReadGLTest: public GLTestFixtureWithParam<ReadRangeCase> {};

TEST_P(FramebufferReadGLTest, SubRangeReturnsThoseBytes) {
    const ReadRangeCase& data = GetParam();
    const Vector2i size{7, 5};
    RenderTarget target{size};
    const Image source = patternImage(size);
    target.color.setSubImage(0, {0, 0}, source);

    const Image read = target.framebuffer.read(data.range, data.format);
    ASSERT_EQ(read.size(), data.range.size());
    ASSERT_EQ(read.format(), data.format);
    const std::size_t channels = std::size_t(channelCount(data.format));
    for(int y = 0; y != read.size().y; ++y)
        for(int x = 0; x != read.size().x; ++x) {
            const Rgba8 expected = source.pixel<Rgba8>(data.range.min.x + x, data.range.min.y + y);
            const std::byte* actual = read.row(y).data() + std::size_t(x)*channels;
            for(std::size_t c = 0; c != channels; ++c)
                ASSERT_EQ(int(actual[c]), int(expected[int(c)])) << "pixel " << x << ", " << y << " channel " << c;
        }
}

INSTANTIATE_TEST_SUITE_P(, FramebufferReadGLTest, ::testing::ValuesIn(ReadRangeCases), caseName);

class ObjectGLTest: public GLTestFixture {};

TEST_F(ObjectGLTest, MovesDeleteEachNameOnce) {
    GLuint textureId, bufferId, fbId;
    {
        GL::Texture2D a;
        textureId = a.id();
        GL::Texture2D b{GL::NoCreate};
        b = std::move(a);
        EXPECT_EQ(a.id(), 0u);
        EXPECT_EQ(b.id(), textureId);

        GL::Buffer buffer;
        bufferId = buffer.id();
        GL::Buffer movedBuffer = std::move(buffer);
        GL::Framebuffer fb{Range2Di{{0, 0}, {1, 1}}};
        fbId = fb.id();
        GL::Framebuffer other{GL::NoCreate};
        other = std::move(fb);
        EXPECT_TRUE(glIsTexture(textureId));
        EXPECT_TRUE(glIsBuffer(bufferId));
        EXPECT_TRUE(glIsFramebuffer(fbId));
    }
    EXPECT_FALSE(glIsTexture(textureId));
    EXPECT_FALSE(glIsBuffer(bufferId));
    EXPECT_FALSE(glIsFramebuffer(fbId));
}

TEST_F(ObjectGLTest, BufferSubDataRoundTripsAndRejectsOutOfRange) {
    GL::Buffer buffer;
    const std::array<UnsignedInt, 4> values{1, 2, 3, 4};
    buffer.setData(std::span<const UnsignedInt>{values});
    EXPECT_EQ(buffer.size(), 16u);
    const std::array<UnsignedInt, 1> patch{99};
    buffer.setSubData(8, std::span<const UnsignedInt>{patch});
    Log::Capture errors{Log::Channel::Error};
    buffer.setSubData(12, std::span<const UnsignedInt>{values});
    EXPECT_TRUE(errors.contains("outside")) << errors.text();
    const std::vector<std::byte> bytes = buffer.subData(8, 8);
    ASSERT_EQ(bytes.size(), 8u);
    EXPECT_EQ(int(bytes[0]), 99);
    EXPECT_EQ(int(bytes[4]), 4);
}

struct TextureFormatCase {
    const char* name;
    GL::TextureFormat format;
    PixelFormat upload;
};

const TextureFormatCase TextureFormatCases[]{
    {"R8", GL::TextureFormat::R8, PixelFormat::R8},
    {"RGB8", GL::TextureFormat::RGB8, PixelFormat::RGB8},
    {"RGBA16F", GL::TextureFormat::RGBA16F, PixelFormat::RGBA16F},
    {"R32UI", GL::TextureFormat::R32UI, PixelFormat::R32UI},
};

class TextureFormatGLTest: public GLTestFixtureWithParam<TextureFormatCase> {};

// Odd sizes make rows of 1- and 3-byte formats need padding.
TEST_P(TextureFormatGLTest, SubImageRoundTripsThroughStorage) {
    const TextureFormatCase& data = GetParam();
    const Vector2i size{5, 3};
    Image source{data.upload, size};
    // Byte patterns valid in every format: small values avoid half-float NaN and infinity encodings.
    for(std::size_t i = 0; i != source.mutableData().size(); ++i)
        source.mutableData()[i] = std::byte(i % 4 == 3 ? 0x3c : (i*7) % 61);
    GL::Texture2D texture;
    texture.setStorage(1, data.format, size);
    texture.setSubImage(0, {0, 0}, source);
    const Image back = texture.image();
    ASSERT_EQ(back.format(), data.upload);
    ASSERT_EQ(back.size(), size);
    for(int y = 0; y != size.y; ++y) {
        const auto a = source.row(y), b = back.row(y);
        ASSERT_TRUE(std::equal(a.begin(), a.end(), b.begin())) << "row " << y;
    }
}

INSTANTIATE_TEST_SUITE_P(, TextureFormatGLTest, ::testing::ValuesIn(TextureFormatCases), caseName);

class TextureGLTest: public GLTestFixture {};

TEST_F(TextureGLTest, MipChainAndRejectedRegions) {
    GL::Texture2D texture;
    texture.setStorage(GL::mipLevelCount({8, 4}), GL::TextureFormat::RGBA8, {8, 4});
    EXPECT_EQ(texture.levelCount(), 4);
    EXPECT_EQ(texture.size(3), Vector2i(1, 1));
    Image white{PixelFormat::RGBA8, {8, 4}};
    for(auto& b: white.mutableData()) b = std::byte{255};
    texture.setSubImage(0, {0, 0}, white).generateMipmap();
    EXPECT_TRUE(pixelNear(texture.image(2), {0, 0}, Rgba8{255, 255, 255, 255}, 0));

    Log::Capture errors{Log::Channel::Error};
    texture.setSubImage(1, {1, 0}, white);
    texture.setSubImage(7, {0, 0}, white);
    EXPECT_TRUE(errors.contains("does not fit")) << errors.text();
    EXPECT_TRUE(errors.contains("level 7 does not exist")) << errors.text();
}

TEST_F(TextureGLTest, MutableImageCanChangeSize) {
    GL::Texture2D texture;
    texture.setImage(0, GL::TextureFormat::RGBA8, patternImage({3, 2}));
    EXPECT_EQ(texture.size(), Vector2i(3, 2));
    EXPECT_TRUE(pixelNear(texture.image(), {2, 1}, Rgba8{20, 10, 3, 255}, 0));
    texture.setImage(0, GL::TextureFormat::RGBA8, patternImage({5, 4}));
    EXPECT_EQ(texture.size(), Vector2i(5, 4));
    EXPECT_TRUE(pixelNear(texture.image(), {4, 3}, Rgba8{40, 30, 7, 255}, 0));
}

TEST_F(TextureGLTest, ArrayLayersAreSeparateAndRenderable) {
    GL::Texture2DArray array;
    array.setStorage(1, GL::TextureFormat::RGBA8, {2, 2, 3});
    for(int layer = 0; layer != 3; ++layer) {
        Image image{PixelFormat::RGBA8, {2, 2}};
        for(int i = 0; i != 4; ++i) image.setPixel(i % 2, i/2, Rgba8{layer*50, i, 7, 255});
        array.setSubImage(0, layer, {0, 0}, image);
    }
    for(int layer = 0; layer != 3; ++layer)
        EXPECT_TRUE(pixelNear(array.image(0, layer), {1, 1}, Rgba8{layer*50, 3, 7, 255}, 0)) << layer;
    GL::Framebuffer fb{Range2Di{{0, 0}, {2, 2}}};
    fb.attachTextureLayer(GL::Framebuffer::Attachment::color(0), array, 1);
    ASSERT_TRUE(Gfx::checkFramebufferComplete(fb));
    fb.clearColor(0, Color4{0.0f, 0.0f, 1.0f, 1.0f});
    EXPECT_TRUE(pixelNear(array.image(0, 1), {0, 0}, Rgba8{0, 0, 255, 255}, 0));
    EXPECT_TRUE(pixelNear(array.image(0, 2), {0, 0}, Rgba8{100, 0, 7, 255}, 0));
}

}
}
