#include <gtest/gtest.h>

#include "Gfx/GLTestFixture.h"
#include "Gfx/Log.h"
#include "Renderer/GLTools/IBLSpecularBaker.h"
#include "Renderer/InternalShaders.h"
#include "Renderer/RendererState.h"

using namespace ArdentisEngine;

namespace {

class IBLSpecularBakerGLTest: public ArdentisEngine::Test::GLTestFixture {};

// A stand-in filter that shows what the baker feeds it: the source at the texel's own direction
// times the tint, the level's roughness and the source texel count.
const char* const ProbeFilter =
    "#define SHADER_TYPE_SCREENSPACE_QUAD\n"
    "layout(std140) uniform PerBake { vec3 tint; float texelCount; float roughness; };\n"
    "uniform sampler2D environment;\n"
    "in vec2 screenPosition;\n"
    "layout(location = 0) out vec4 result;\n"
    "void main() { result = vec4(textureLod(environment, screenPosition, 0.0).r*tint.r, tint.g, roughness, texelCount); }\n";

}

TEST_F(IBLSpecularBakerGLTest, LevelsHalveAndCarryTheirRoughness) {
    RendererState state;
    GLTools::IBLSpecularBaker baker{state, {"Probe filter", *Shaders::internalShaderFile("FullScreenTriangle.vert"),
                                            ProbeFilter, "FullScreenTriangle.vert", "ProbeFilter.frag"}};
    // Left half 1, right half 3, so that the level's u coordinate shows.
    Image source{PixelFormat::RGB32F, {16, 8}};
    for(int y = 0; y != 8; ++y)
        for(int x = 0; x != 16; ++x) source.setPixel<Vector3>(x, y, Vector3{x < 8 ? 1.0f : 3.0f});
    const RendererState::State before = RendererState::query();

    const std::vector<Image> levels = baker.bake(source, 5, {0.5f, 2.0f, 1.0f});
    ASSERT_EQ(levels.size(), 5u);
    struct Expected { Vector2i size; float roughness; };
    const Expected expected[]{{{16, 8}, 0.0f}, {{8, 4}, 0.25f}, {{4, 2}, 0.5f}, {{2, 1}, 0.75f}, {{1, 1}, 1.0f}};
    for(std::size_t i = 0; i != levels.size(); ++i) {
        SCOPED_TRACE(i);
        ASSERT_EQ(levels[i].size(), expected[i].size);
        const Vector4 first = levels[i].pixel<Vector4>(0, 0);
        EXPECT_EQ(first.y, 2.0f);
        EXPECT_EQ(first.z, expected[i].roughness);
        EXPECT_EQ(first.w, 128.0f);
        if(expected[i].size.x >= 2) {
            EXPECT_NEAR(first.x, 0.5f, 1e-5f);
            EXPECT_NEAR(levels[i].pixel<Vector4>(expected[i].size.x - 1, 0).x, 1.5f, 1e-5f);
        }
    }
    // The baker's own textures, framebuffers and bindings are gone from GL and from the cache.
    EXPECT_EQ(RendererState::query(), before);
    EXPECT_EQ(state.state(), before);

    Log::Capture errors{Log::Channel::Error};
    EXPECT_TRUE(baker.bake(source, 0, Vector3{1.0f}).empty());
    EXPECT_TRUE(errors.contains("nothing to bake from a 16x8 image into 0 levels")) << errors.text();
}

TEST_F(IBLSpecularBakerGLTest, BrokenFilterBakesNothing) {
    RendererState state;
    Log::Capture errors{Log::Channel::Error};
    GLTools::IBLSpecularBaker baker{state, {"Broken filter", *Shaders::internalShaderFile("FullScreenTriangle.vert"),
                                            "void main() { undefined; }\n", "FullScreenTriangle.vert", "Broken.frag"}};
    EXPECT_TRUE(baker.bake(Image{PixelFormat::RGBA32F, {4, 2}}, 2, Vector3{1.0f}).empty());
    EXPECT_TRUE(errors.contains("the filter shader Broken filter is not usable")) << errors.text();
}
