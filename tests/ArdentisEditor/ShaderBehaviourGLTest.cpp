#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include <epoxy/gl.h>
#include <glm/gtx/string_cast.hpp>

#include "ArdentisEditor/Shaders/EditorShaders.h"
#include "Gfx/GLTestFixture.h"
#include "Gfx/Resource.h"
#include "Renderer/InternalShaders.h"
#include "Renderer/RendererState.h"
#include "Renderer/ShaderBindings.h"
#include "Renderer/ShaderProgram.h"

using namespace ArdentisEngine;
namespace AT = ArdentisEngine::Test;

namespace {

using AT::PrintTo;
using AT::Rgba8;

class ShaderBehaviourGLTest: public AT::GLTestFixture {
protected:
    void SetUp() override {
        GLTestFixture::SetUp();
        if(HasFatalFailure()) return;
        state = std::make_unique<RendererState>();
    }
    void TearDown() override {
        if(state) {
            state->useProgram(0);
            state->bindVertexArray(0);
            state->bindFramebuffer(0);
            for(UnsignedInt unit: {0u, UnsignedInt(Shaders::SkinDataUnit)}) {
                state->bindTexture(unit, RendererState::TextureTarget::Texture2D, 0);
                state->bindTexture(unit, RendererState::TextureTarget::Texture2DArray, 0);
            }
            state->bindUniformBuffer(Shaders::PerPassBlockBinding, 0);
        }
        state.reset();
        GLTestFixture::TearDown();
    }
    std::unique_ptr<RendererState> state;
};

// [specular baker]

struct PerBake {
    Vector3 tint;
    float texelCount;
    float roughness;
    float padding[3];
};
static_assert(sizeof(PerBake) == 32, "std140 layout of the PerBake block");

constexpr Vector2i EnvironmentSize{64, 32};
constexpr Vector2i BakeSize{32, 16};

// Bakes one level from an environment given per texel, into RGBA32F.
Image bake(RendererState& state, const std::function<Vector4(Vector2)>& environment, float roughness,
           const Vector3& tint) {
    std::vector<Vector4> texels(std::size_t(EnvironmentSize.x*EnvironmentSize.y));
    for(int y = 0; y != EnvironmentSize.y; ++y)
        for(int x = 0; x != EnvironmentSize.x; ++x)
            texels[std::size_t(y*EnvironmentSize.x + x)] = environment((Vector2{x, y} + 0.5f)/Vector2{EnvironmentSize});
    GLuint source = 0;
    glGenTextures(1, &source);
    glBindTexture(GL_TEXTURE_2D, source);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA32F, EnvironmentSize.x, EnvironmentSize.y, 0, GL_RGBA, GL_FLOAT, texels.data());
    glGenerateMipmap(GL_TEXTURE_2D);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glBindTexture(GL_TEXTURE_2D, 0);

    const PerBake block{tint, float(EnvironmentSize.x*EnvironmentSize.y), roughness, {}};
    GLuint buffer = 0;
    glGenBuffers(1, &buffer);
    glBindBuffer(GL_UNIFORM_BUFFER, buffer);
    glBufferData(GL_UNIFORM_BUFFER, sizeof(block), &block, GL_STATIC_DRAW);
    glBindBuffer(GL_UNIFORM_BUFFER, 0);

    GL::Texture2D color;
    color.setStorage(1, GL::TextureFormat::RGBA32F, BakeSize);
    GL::Framebuffer framebuffer{Range2Di{{0, 0}, BakeSize}};
    framebuffer.attachTexture(GL::Framebuffer::Attachment::color(0), color).mapForDraw({0}).mapForRead(0);

    auto shaderSource = Shaders::loadEditorShader("SpecularIBLBaker.frag");
    EXPECT_TRUE(shaderSource);
    Shaders::FullScreenShaderProgram shader{*shaderSource};
    EXPECT_TRUE(shader.compile());
    shader.program().setUniform(shader.uniformLocation("environment"), 0);
    shader.setViewport(BakeSize);

    Data::Pipeline overwrite;
    overwrite.depthTest = false;
    state.apply(overwrite);
    state.bindFramebuffer(framebuffer.id());
    state.setViewport({{0, 0}, BakeSize});
    state.bindTexture(0, RendererState::TextureTarget::Texture2D, source);
    state.bindUniformBuffer(Shaders::PerPassBlockBinding, buffer);
    shader.draw(state);
    Image result = framebuffer.read({{0, 0}, BakeSize}, PixelFormat::RGBA32F);

    state.bindUniformBuffer(Shaders::PerPassBlockBinding, 0);
    state.bindTexture(0, RendererState::TextureTarget::Texture2D, 0);
    state.bindFramebuffer(0);
    glDeleteBuffers(1, &buffer);
    glDeleteTextures(1, &source);
    return result;
}

::testing::AssertionResult near(const Vector4& actual, const Vector4& expected, float tolerance) {
    if(glm::all(glm::lessThanEqual(glm::abs(actual - expected), Vector4{tolerance}))) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << glm::to_string(actual) << " is not within " << tolerance << " of " << glm::to_string(expected);
}

// Even with the widest lobe, a constant environment comes out as itself times the tint, with alpha 1.
TEST_F(ShaderBehaviourGLTest, SpecularBakerKeepsAConstantEnvironment) {
    const Image image = bake(*state, [](Vector2) { return Vector4{0.6f, 0.3f, 0.1f, 0.0f}; }, 1.0f, {2.0f, 1.0f, 0.5f});
    for(const Vector2i p: {Vector2i{0, 0}, Vector2i{7, 12}, BakeSize - 1})
        EXPECT_TRUE(near(image.pixel<Vector4>(p.x, p.y), Vector4{1.2f, 0.3f, 0.05f, 1.0f}, 0.002f))
            << "pixel " << p.x << ", " << p.y;
}

TEST_F(ShaderBehaviourGLTest, SpecularBakerMirrorReadsItsOwnDirection) {
    // A smooth environment away from the poles and the seam: each pixel of a mirror level is the
    // environment in its own direction.
    auto environment = [](Vector2 uv) { return Vector4{uv.x, uv.y, 0.5f, 0.0f}; };
    const Image image = bake(*state, environment, 0.0f, Vector3{1.0f});
    for(int y = 4; y != BakeSize.y - 4; ++y)
        for(int x = 2; x != BakeSize.x - 2; ++x) {
            const Vector2 uv = (Vector2{x, y} + 0.5f)/Vector2{BakeSize};
            ASSERT_TRUE(near(image.pixel<Vector4>(x, y), Vector4{uv, 0.5f, 1.0f}, 0.01f)) << x << ", " << y;
        }
}

TEST_F(ShaderBehaviourGLTest, SpecularBakerBlursWithRoughness) {
    // Bright upper hemisphere, dark lower one: the mirror keeps the step at the horizon, a rough
    // level mixes across it.
    auto environment = [](Vector2 uv) { return uv.y > 0.5f ? Vector4{1.0f} : Vector4{0.0f}; };
    const Image mirror = bake(*state, environment, 0.0f, Vector3{1.0f});
    const Image rough = bake(*state, environment, 0.8f, Vector3{1.0f});
    // Rows just above and below the horizon.
    const int above = BakeSize.y/2 + 1, below = BakeSize.y/2 - 2;
    EXPECT_GT(mirror.pixel<Vector4>(5, above).r, 0.95f);
    EXPECT_LT(mirror.pixel<Vector4>(5, below).r, 0.05f);
    EXPECT_LT(rough.pixel<Vector4>(5, above).r, 0.9f);
    EXPECT_GT(rough.pixel<Vector4>(5, below).r, 0.1f);
    // Still brighter towards the bright side.
    EXPECT_GT(rough.pixel<Vector4>(5, above).r, rough.pixel<Vector4>(5, below).r);
}

// [skinning]

// The skinning stage drawn as points: gl_Position is the skinned position, so the lit pixel tells
// where a vertex went. The target is 16 x 16 and the vertex sits at a pixel centre.
constexpr float HalfPixel = 1.0f/16.0f;

struct SkinCase {
    const char* name;
    UnsignedInt drawId;
    glm::uvec4 joints;
    Vector4 weights;
    Vector2i pixel;
};

// skinList: draw 0 -> skin 1, 1 -> 2, 2 -> 0 (unskinned), 3 -> 64, 4 -> 65, 5 -> 66.
// Skin rows: 1 moves +x by 4 pixels, 2 moves +y by 4 pixels; 64 (second layer) moves by -4, -4;
// 65 scales by 3; 66 has joint 0 moving +x and joint 1 moving +y.
const SkinCase SkinCases[]{
    {"even draw reads the low half", 0, {0, 0, 0, 0}, {1, 0, 0, 0}, {12, 8}},
    {"odd draw reads the high half", 1, {0, 0, 0, 0}, {1, 0, 0, 0}, {8, 12}},
    {"skin 0 is not skinned", 2, {0, 0, 0, 0}, {1, 0, 0, 0}, {8, 8}},
    {"high skins use the next layer", 3, {0, 0, 0, 0}, {1, 0, 0, 0}, {4, 4}},
    {"joint scaling", 4, {0, 0, 0, 0}, {1, 0, 0, 0}, {9, 9}},
    {"weights are normalised", 5, {0, 1, 0, 0}, {1.0f, 1.0f, 0, 0}, {10, 10}},
};

class SkinningGLTest: public ShaderBehaviourGLTest, public ::testing::WithParamInterface<SkinCase> {};

TEST_P(SkinningGLTest, MovesTheVertexByItsSkin) {
    const SkinCase& c = GetParam();
    const Resource pack{Shaders::EditorShaderGroup};
    Shaders::ShaderProgram program{
        Shaders::ShaderSource{"Skinning points", std::string{pack.get("Skinning.vert")},
                              "#define SHADER_TYPE_SKINNING\nlayout(location = 0) out vec4 color;\n"
                              "void main() { color = vec4(1.0); }\n",
                              "Skinning.vert", "Points.frag"},
        {{"PRIMARY_JOINTS"}, {}, Shaders::GlslDialect::Glsl330}};
    ASSERT_TRUE(program.compile());

    // Translation t with identity rotation: dual part (t/2, 0).
    auto joint = [](Vector2 translationPixels, float scaling) {
        const Vector2 t = translationPixels*2.0f*HalfPixel;
        return std::array<Vector4, 3>{Vector4{0, 0, 0, 1}, Vector4{t*0.5f, 0, 0}, Vector4{Vector3{scaling}, 0}};
    };
    constexpr int Width = 6, Rows = 64, Layers = 2;
    std::vector<Vector4> texels(std::size_t(Width*Rows*Layers), Vector4{0.0f});
    auto put = [&](UnsignedInt skin, int index, const std::array<Vector4, 3>& j) {
        const int layer = int(skin >> 6), row = int(skin & 63);
        for(int k = 0; k != 3; ++k) texels[std::size_t((layer*Rows + row)*Width + index*3 + k)] = j[k];
    };
    put(1, 0, joint({4, 0}, 1.0f));
    put(2, 0, joint({0, 4}, 1.0f));
    put(64, 0, joint({-4, -4}, 1.0f));
    put(65, 0, joint({0, 0}, 3.0f));
    put(66, 0, joint({4, 0}, 1.0f));
    put(66, 1, joint({0, 4}, 1.0f));
    GLuint skinData = 0;
    glGenTextures(1, &skinData);
    glBindTexture(GL_TEXTURE_2D_ARRAY, skinData);
    glTexImage3D(GL_TEXTURE_2D_ARRAY, 0, GL_RGBA32F, Width, Rows, Layers, 0, GL_RGBA, GL_FLOAT, texels.data());
    glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glBindTexture(GL_TEXTURE_2D_ARRAY, 0);

    const UnsignedInt skinList[]{1u | 2u << 16, 0u | 64u << 16, 65u | 66u << 16};
    program.program().setUniform(program.uniformLocation("idOffset"), 0u);
    glProgramUniform1uiv(program.id(), program.uniformLocation("skinList"), 3, skinList);

    AT::RenderTarget target{{16, 16}};
    target.clear(Color4{0, 0, 0, 1});
    GLuint vao = 0;
    glGenVertexArrays(1, &vao);
    Data::Pipeline points;
    points.depthTest = false;
    state->resync();
    state->apply(points);
    state->bindFramebuffer(target.framebuffer.id());
    state->setViewport({{0, 0}, {16, 16}});
    state->bindTexture(Shaders::SkinDataUnit, RendererState::TextureTarget::Texture2DArray, skinData);
    program.use(*state);
    state->bindVertexArray(vao);
    // No arrays: every attribute is the current constant value.
    glVertexAttrib3f(0, HalfPixel, HalfPixel, 0.0f);
    glVertexAttribI4ui(4, c.drawId, 0, 0, 0);
    glVertexAttribI4ui(6, c.joints.x, c.joints.y, c.joints.z, c.joints.w);
    glVertexAttrib4f(7, c.weights.x, c.weights.y, c.weights.z, c.weights.w);
    glDrawArrays(GL_POINTS, 0, 1);
    const Image image = target.read();

    state->bindVertexArray(0);
    state->bindTexture(Shaders::SkinDataUnit, RendererState::TextureTarget::Texture2DArray, 0);
    glDeleteVertexArrays(1, &vao);
    glDeleteTextures(1, &skinData);
    glVertexAttribI4ui(4, 0, 0, 0, 0);

    EXPECT_EQ(AT::countPixels(image, Rgba8{255, 255, 255, 255}, 0), 1);
    EXPECT_TRUE(AT::pixelNear(image, c.pixel, Rgba8{255, 255, 255, 255}, 0));
}

INSTANTIATE_TEST_SUITE_P(, SkinningGLTest, ::testing::ValuesIn(SkinCases), AT::caseName);

}
