#include <gtest/gtest.h>

#include "Gfx/ImageConversion.h"
#include "Gfx/Log.h"
#include "Renderer/SphericalHarmonics.h"

using namespace ArdentisEngine;

namespace {

// An equirectangular float image of a radiance function of the direction.
template<class F> Image environment(PixelFormat format, Vector2i size, F radiance) {
    Image image{format, size};
    for(int y = 0; y != size.y; ++y)
        for(int x = 0; x != size.x; ++x) {
            const Vector3 d = equirectToDirection({(float(x) + 0.5f)/float(size.x), (float(y) + 0.5f)/float(size.y)});
            writePixel(image, x, y, Vector4{radiance(d), 1.0f});
        }
    return image;
}

struct ProjectionCase {
    const char* name;
    Vector3 (*radiance)(const Vector3&);
    float tolerance;  // of the reconstruction; the projection is exact up to sampling for these
};

// Functions inside bands 0-2 come back unchanged from projection and evaluation.
const ProjectionCase ProjectionCases[]{
    {"constant", [](const Vector3&) { return Vector3{0.25f, 0.5f, 1.0f}; }, 2e-3f},
    {"towards +X and -Z", [](const Vector3& d) { return Vector3{1.0f + 0.3f*d.x - 0.4f*d.z, 1.0f, 1.0f}; }, 5e-3f},
    {"second band", [](const Vector3& d) { return Vector3{1.0f + d.x*d.z, 1.0f + d.x*d.y, 1.0f + d.y*d.y - d.z*d.z}; }, 1e-2f},
};

}

TEST(SphericalHarmonicsTest, ProjectionReconstructsLowFrequencies) {
    for(const ProjectionCase& c: ProjectionCases) {
        SCOPED_TRACE(c.name);
        const auto sh = sphericalHarmonicsFromPixels(environment(PixelFormat::RGB32F, {128, 64}, c.radiance));
        for(const Vector3& d: {Vector3{0, 1, 0}, Vector3{0, -1, 0}, Vector3{1, 0, 0}, Vector3{0, 0, -1},
                               glm::normalize(Vector3{1, 1, 1}), glm::normalize(Vector3{-2, 0.5f, 1})}) {
            const Vector3 expected = c.radiance(d), actual = evaluateSphericalHarmonics(sh, d);
            for(int i = 0; i != 3; ++i) EXPECT_NEAR(actual[i], expected[i], c.tolerance) << d.x << " " << d.y << " " << d.z;
        }
    }
}

// A constant radiance L must give L00 = L * 2 sqrt(pi), what the shaders' ambient expects.
TEST(SphericalHarmonicsTest, FormatsAndFactor) {
    struct Case { const char* name; PixelFormat format; float stored, linear; };
    for(const Case& c: {Case{"float", PixelFormat::RGB32F, 0.5f, 0.5f}, Case{"8-bit is sRGB", PixelFormat::RGBA8, 188.0f/255.0f, 0.5029f}}) {
        SCOPED_TRACE(c.name);
        const auto sh = sphericalHarmonicsFromPixels(environment(c.format, {64, 32}, [&](const Vector3&) { return Vector3{c.stored}; }),
                                                     Vector3{1.0f, 2.0f, 0.0f});
        EXPECT_NEAR(sh.coefficients[0].r, c.linear*3.5449077f, 5e-3f);
        EXPECT_NEAR(sh.coefficients[0].g, 2.0f*c.linear*3.5449077f, 1e-2f);
        EXPECT_EQ(sh.coefficients[0].b, 0.0f);
    }
    Log::Capture errors{Log::Channel::Error};
    const auto none = sphericalHarmonicsFromPixels(Image{PixelFormat::RG8, {4, 2}});
    EXPECT_EQ(none.coefficients[0], Vector3{0.0f});
    EXPECT_TRUE(errors.contains("cannot project a RG8 image")) << errors.text();
}
