#pragma once
// Shared base for every *GLTest suite: one headless context per suite, a GL error check after
// each case, and helpers to render into an offscreen target and compare pixels with tolerances.
// A missing context fails every case; GL tests never skip.
#include <cctype>
#include <cmath>
#include <concepts>
#include <ostream>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "Gfx/GL/Framebuffer.h"
#include "Gfx/GL/Renderbuffer.h"
#include "Gfx/GL/Texture.h"
#include "Gfx/HeadlessContext.h"
#include "Gfx/Image.h"
#include "Math/Range.h"

namespace ArdentisEngine::Test {

class GLTestFixture: public ::testing::Test {
public:
    static void SetUpTestSuite() {
        context().reset();
        context() = Gfx::HeadlessContext::create();
    }
    static void TearDownTestSuite() { context().reset(); }

    static std::optional<Gfx::HeadlessContext>& context() {
        static std::optional<Gfx::HeadlessContext> instance;
        return instance;
    }

protected:
    void SetUp() override {
        ASSERT_TRUE(context() && context()->isValid())
            << "no headless OpenGL context could be created; see the error log above";
        ASSERT_TRUE(context()->makeCurrent());
        // Errors left by an earlier case must not be blamed on this one.
        while(glGetError() != GL_NO_ERROR) {}
    }
    void TearDown() override {
        if(!context()) return;
        const GLenum error = GL::takeError();
        EXPECT_EQ(error, GLenum(GL_NO_ERROR)) << "GL error at the end of the case: " << GL::errorName(error);
    }
};

// Data-driven cases print as their name instead of a byte dump. Test files in an unnamed
// namespace pull this in with `using Test::PrintTo;` so that argument lookup finds it.
template<class T> requires requires(const T& t) { { t.name } -> std::convertible_to<const char*>; }
void PrintTo(const T& value, std::ostream* out) { *out << value.name; }

// Names a parameterised case after its `name`, with what GoogleTest refuses in names turned to '_'.
inline const auto caseName = [](const auto& info) {
    std::string name = info.param.name;
    for(char& ch: name) if(!std::isalnum(static_cast<unsigned char>(ch))) ch = '_';
    return name;
};

template<class T> class GLTestFixtureWithParam: public GLTestFixture, public ::testing::WithParamInterface<T> {};

// An RGBA8 colour texture with a depth-stencil renderbuffer, bound and cleared by clear().
struct RenderTarget {
    explicit RenderTarget(Vector2i size_, GL::TextureFormat colorFormat = GL::TextureFormat::RGBA8):
        size{size_}, framebuffer{Range2Di{{0, 0}, size_}} {
        color.setStorage(1, colorFormat, size);
        depth.setStorage(GL::TextureFormat::Depth24Stencil8, size);
        framebuffer.attachTexture(GL::Framebuffer::Attachment::color(0), color)
            .attachRenderbuffer(GL::Framebuffer::DepthStencil, depth)
            .mapForDraw({0}).mapForRead(0)
            .setLabel("test target");
    }
    RenderTarget& clear(const Color4& colorValue = Color4{0.0f, 0.0f, 0.0f, 1.0f}) {
        framebuffer.bind();
        framebuffer.clearColor(0, colorValue).clearDepthStencil(1.0f, 0);
        return *this;
    }
    Image read(PixelFormat format = PixelFormat::RGBA8) {
        return framebuffer.read(Range2Di{{0, 0}, size}, format);
    }

    Vector2i size;
    GL::Texture2D color;
    GL::Renderbuffer depth;
    GL::Framebuffer framebuffer;
};

using Rgba8 = glm::u8vec4;

// Largest per-channel difference between two RGBA8 pixels.
inline int channelDifference(Rgba8 a, Rgba8 b) {
    int d = 0;
    for(int i = 0; i != 4; ++i) d = std::max(d, std::abs(int(a[i]) - int(b[i])));
    return d;
}

inline ::testing::AssertionResult pixelNear(const Image& image, Vector2i at, Rgba8 expected, int tolerance) {
    if(image.format() != PixelFormat::RGBA8)
        return ::testing::AssertionFailure() << "image is not RGBA8";
    if(at.x < 0 || at.y < 0 || at.x >= image.size().x || at.y >= image.size().y)
        return ::testing::AssertionFailure() << "pixel (" << at.x << ", " << at.y << ") is outside the image";
    const Rgba8 actual = image.pixel<Rgba8>(at.x, at.y);
    if(channelDifference(actual, expected) <= tolerance) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "pixel (" << at.x << ", " << at.y << ") is ("
        << int(actual.r) << ", " << int(actual.g) << ", " << int(actual.b) << ", " << int(actual.a)
        << "), expected (" << int(expected.r) << ", " << int(expected.g) << ", " << int(expected.b) << ", "
        << int(expected.a) << ") within " << tolerance;
}

inline Rgba8 toRgba8(const Color4& c) {
    const Color4 s = glm::clamp(c, 0.0f, 1.0f)*255.0f + 0.5f;
    return Rgba8{glm::u8vec4{s}};
}

// Number of RGBA8 pixels in `region` (the whole image by default) for which `matches` holds.
template<class F> int countPixelsIf(const Image& image, F matches, std::optional<Range2Di> region = {}) {
    const Range2Di r = region.value_or(Range2Di{{0, 0}, image.size()});
    int n = 0;
    for(int y = r.min.y; y != r.max.y; ++y)
        for(int x = r.min.x; x != r.max.x; ++x)
            if(matches(image.pixel<Rgba8>(x, y))) ++n;
    return n;
}

// Number of pixels within `tolerance` of `color`.
inline int countPixels(const Image& image, Rgba8 color, int tolerance = 2, std::optional<Range2Di> region = {}) {
    return countPixelsIf(image, [&](Rgba8 p) { return channelDifference(p, color) <= tolerance; }, region);
}

}
