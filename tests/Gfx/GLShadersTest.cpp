#include <array>
#include <functional>

#include "GLTestFixture.h"

#include "Gfx/GL/Mesh.h"
#include "Gfx/Log.h"
#include "Gfx/MeshTools.h"
#include "Gfx/Shaders/FlatGL.h"
#include "Gfx/Shaders/MeshVisualizerGL3D.h"
#include "Gfx/Shaders/PhongGL.h"
#include "Gfx/Shaders/VertexColorGL.h"

namespace ArdentisEngine::Test {
namespace {

using Test::PrintTo;

constexpr Vector2i Size{32, 32};
const Rgba8 Black{0, 0, 0, 255};

// An indexed square from -half to +half in x and y, facing +Z.
MeshData square(float half) {
    MeshData m{MeshPrimitive::Triangles};
    m.positions = {{-half, -half, 0.0f}, {half, -half, 0.0f}, {half, half, 0.0f}, {-half, half, 0.0f}};
    m.normals.assign(4, Vector3{0.0f, 0.0f, 1.0f});
    m.textureCoordinates = {{0.0f, 0.0f}, {1.0f, 0.0f}, {1.0f, 1.0f}, {0.0f, 1.0f}};
    m.indices = {0, 1, 2, 0, 2, 3};
    return m;
}

// [FlatGL]

// A nearest-filtered texture of `size` texels, given row by row from the bottom.
void bindTexels(Shaders::FlatGL& shader, GL::Texture2D& texture, Vector2i size, std::initializer_list<Rgba8> texels) {
    Image image{PixelFormat::RGBA8, size};
    int i = 0;
    for(const Rgba8& texel: texels) { image.setPixel(i % size.x, i/size.x, texel); ++i; }
    texture.setStorage(1, GL::TextureFormat::RGBA8, size).setSubImage(0, {0, 0}, image)
        .setMinificationFilter(GL::SamplerFilter::Nearest).setMagnificationFilter(GL::SamplerFilter::Nearest);
    shader.bindTexture(texture);
}

struct FlatProbe {
    Vector2i at;
    Rgba8 expected;
};

struct FlatCase {
    const char* name;
    Shaders::FlatGL::Flags flags;
    // Fills the mesh and sets up the shader; the probes are checked after one draw.
    std::function<GL::Mesh(Shaders::FlatGL&, GL::Texture2D&)> setup;
    std::vector<FlatProbe> probes;
};

const FlatCase FlatCases[]{
    {"Default", 0, [](Shaders::FlatGL& shader, GL::Texture2D&) {
            shader.setColor(Color4{1.0f, 0.5f, 0.25f, 1.0f});
            return MeshTools::compile(square(0.5f));
        }, {{{16, 16}, {255, 128, 64, 255}}, {{9, 9}, {255, 128, 64, 255}}, {{2, 2}, Black}, {{29, 16}, Black}}},
    {"VertexColor", Shaders::FlatGL::VertexColor, [](Shaders::FlatGL& shader, GL::Texture2D&) {
            shader.setColor(Color4{1.0f, 0.5f, 1.0f, 1.0f});
            MeshData m = square(0.5f);
            m.colors.assign(4, Color4{0.0f, 1.0f, 1.0f, 1.0f});
            return MeshTools::compile(m);
        }, {{{16, 16}, {0, 128, 255, 255}}}},
    {"Textured", Shaders::FlatGL::Textured, [](Shaders::FlatGL& shader, GL::Texture2D& texture) {
            bindTexels(shader, texture, {2, 2}, {{255, 0, 0, 255}, {0, 255, 0, 255}, {0, 0, 255, 255}, {255, 255, 255, 255}});
            shader.setColor(Color4{1.0f, 1.0f, 1.0f, 1.0f});
            return MeshTools::compile(square(0.5f));
        }, {{{11, 11}, {255, 0, 0, 255}}, {{20, 11}, {0, 255, 0, 255}}, {{11, 20}, {0, 0, 255, 255}},
            {{20, 20}, {255, 255, 255, 255}}}},
    // Texture coordinates 0..2 across the square over a red|green texture: clamping stretches the
    // green edge texel over the second half where the default repeat would start over.
    {"TexturedClamp", Shaders::FlatGL::Textured, [](Shaders::FlatGL& shader, GL::Texture2D& texture) {
            bindTexels(shader, texture, {2, 1}, {{255, 0, 0, 255}, {0, 255, 0, 255}});
            texture.setWrapping(GL::SamplerWrapping::ClampToEdge);
            MeshData m = square(0.5f);
            for(Vector2& uv: m.textureCoordinates) uv *= 2.0f;
            return MeshTools::compile(m);
        }, {{{10, 16}, {255, 0, 0, 255}}, {{14, 16}, {0, 255, 0, 255}}, {{18, 16}, {0, 255, 0, 255}},
            {{22, 16}, {0, 255, 0, 255}}}},
    {"Instanced", Shaders::FlatGL::InstancedTransformation | Shaders::FlatGL::InstancedColor,
        [](Shaders::FlatGL& shader, GL::Texture2D&) {
            struct Instance { Matrix4 transformation; Color4 color; };
            static_assert(sizeof(Instance) == 80, "instance layout is two attributes packed tightly");
            const std::array<Instance, 2> instances{{
                {glm::translate(Matrix4{1.0f}, Vector3{-0.5f, 0.0f, 0.0f}), {1.0f, 0.0f, 0.0f, 1.0f}},
                {glm::translate(Matrix4{1.0f}, Vector3{0.5f, 0.0f, 0.0f}), {0.0f, 0.0f, 1.0f, 1.0f}}}};
            shader.setColor(Color4{1.0f, 1.0f, 1.0f, 1.0f});
            GL::Mesh mesh = MeshTools::compile(square(0.25f));
            GL::Buffer buffer;
            buffer.setData(std::span<const Instance>{instances});
            namespace L = MeshTools::AttributeLocation;
            mesh.addVertexBuffer(std::move(buffer), 0, 0, {
                GL::VertexAttribute{L::InstanceTransformation, 4, GL::VertexType::Float, 4},
                GL::VertexAttribute{L::InstanceColor, 4}}, 1);
            mesh.setInstanceCount(2);
            return mesh;
        }, {{{8, 16}, {255, 0, 0, 255}}, {{24, 16}, {0, 0, 255, 255}}, {{16, 16}, Black}}},
};

class FlatGLTest: public GLTestFixtureWithParam<FlatCase> {};

TEST_P(FlatGLTest, CoversTheExpectedPixels) {
    const FlatCase& data = GetParam();
    RenderTarget target{Size};
    target.clear();
    Shaders::FlatGL shader{data.flags};
    ASSERT_TRUE(shader.isValid());
    GL::Texture2D texture;
    GL::Mesh mesh = data.setup(shader, texture);
    shader.draw(mesh);
    const Image image = target.read();
    for(const FlatProbe& probe: data.probes)
        EXPECT_TRUE(pixelNear(image, probe.at, probe.expected, 1));
}

INSTANTIATE_TEST_SUITE_P(, FlatGLTest, ::testing::ValuesIn(FlatCases), caseName);

// [MeshVisualizerGL3D]

struct VisualizerCase {
    const char* name;
    Shaders::MeshVisualizerGL3D::Flags flags;
    bool deindex;
};

const VisualizerCase VisualizerCases[]{
    {"GeometryShader", Shaders::MeshVisualizerGL3D::Wireframe, false},
    {"NoGeometryShaderSmooth", 0x203, true},
};

class MeshVisualizerGLTest: public GLTestFixtureWithParam<VisualizerCase> {};

TEST_P(MeshVisualizerGLTest, EdgesOverSolidColor) {
    const VisualizerCase& data = GetParam();
    constexpr Vector2i Big{64, 64};
    RenderTarget target{Big};
    target.clear();
    Shaders::MeshVisualizerGL3D shader{data.flags};
    ASSERT_TRUE(shader.isValid());
    const Color4 solid{0.18431373f, 0.5137255f, 0.8f, 1.0f}, wire{0.8627451f, 0.8627451f, 0.8627451f, 1.0f};
    shader.setColor(solid).setWireframeColor(wire).setWireframeWidth(1.0f)
        .setViewportSize(Vector2{Big});
    MeshData mesh = square(0.75f);
    if(data.deindex) mesh = MeshTools::deindex(mesh);
    GL::Mesh gpu = MeshTools::compile(mesh);
    shader.draw(gpu);
    const Image image = target.read();

    // Square spans pixels 8..56; its diagonal runs from (8, 8) to (56, 56).
    EXPECT_TRUE(pixelNear(image, {40, 20}, toRgba8(solid), 2)) << "inside the lower triangle";
    EXPECT_TRUE(pixelNear(image, {20, 40}, toRgba8(solid), 2)) << "inside the upper triangle";
    EXPECT_TRUE(pixelNear(image, {2, 2}, Black, 0)) << "outside";
    // The pixel whose centre lies nearest the diagonal and the left edge is the wire colour.
    EXPECT_TRUE(pixelNear(image, {32, 32}, toRgba8(wire), 40));
    EXPECT_TRUE(pixelNear(image, {8, 30}, toRgba8(wire), 40));
    // Along a row crossing the left border and the diagonal, the wire stays a thin line
    // (the diagonal, at 45 degrees and shared by two triangles, spans a few pixels), and only the
    // smooth variant has blended pixels between wire and solid.
    int wireOnRow = 0, blended = 0;
    for(int x = 8; x != 56; ++x) {
        const Rgba8 p = image.pixel<Rgba8>(x, 30);
        if(channelDifference(p, toRgba8(wire)) <= 40) ++wireOnRow;
        else if(channelDifference(p, toRgba8(solid)) > 40) ++blended;
    }
    EXPECT_GE(wireOnRow, 2);
    EXPECT_LE(wireOnRow, 12);
    EXPECT_EQ(blended > 0, bool(data.flags & Shaders::MeshVisualizerGL3D::SmoothWireframe)) << blended;
}

INSTANTIATE_TEST_SUITE_P(, MeshVisualizerGLTest, ::testing::ValuesIn(VisualizerCases), caseName);

class MeshVisualizerRulesGLTest: public GLTestFixture {};

TEST_F(MeshVisualizerRulesGLTest, VariantWithoutGeometryShaderRejectsIndexedMeshes) {
    RenderTarget target{Size};
    target.clear();
    Shaders::MeshVisualizerGL3D shader{0x203};
    GL::Mesh mesh = MeshTools::compile(square(0.5f));
    mesh.setLabel("indexed square");
    Log::Capture errors{Log::Channel::Error};
    shader.draw(mesh);
    EXPECT_TRUE(errors.contains("non-indexed")) << errors.text();
    EXPECT_TRUE(errors.contains("indexed square")) << errors.text();
    EXPECT_EQ(countPixels(target.read(), Black, 0), Size.x*Size.y) << "nothing was drawn";
}

// [PhongGL]

struct PhongCase {
    const char* name;
    Vector4 light;
    Color4 specular;
    float shininess;
    // Colour at the centre of the square facing the camera.
    Color4 expected;
};

const PhongCase PhongCases[]{
    {"HeadOnDirectional", {0.0f, 0.0f, 1.0f, 0.0f}, {0.0f, 0.0f, 0.0f, 1.0f}, 80.0f,
        {0.1f + 0.8f, 0.1f + 0.4f, 0.1f, 1.0f}},
    {"FromBehindIsAmbientOnly", {0.0f, 0.0f, -1.0f, 0.0f}, {1.0f, 1.0f, 1.0f, 1.0f}, 80.0f,
        {0.1f, 0.1f, 0.1f, 1.0f}},
    // Point light at the camera: the reflection points back at the viewer. The probed pixel
    // centre is half a pixel off the axis, a 5-degree reflection angle, so a low shininess
    // keeps the highlight near full strength (cos^2 = 0.992).
    {"SpecularHighlight", {0.0f, 0.0f, 0.0f, 1.0f}, {0.0f, 0.0f, 0.5f, 1.0f}, 2.0f,
        {0.1f + 0.8f, 0.1f + 0.4f, 0.1f + 0.5f, 1.0f}},
};

class PhongGLTest: public GLTestFixtureWithParam<PhongCase> {};

TEST_P(PhongGLTest, LightsAFacingSquare) {
    const PhongCase& data = GetParam();
    RenderTarget target{Size};
    target.clear();
    Shaders::PhongGL shader{1};
    ASSERT_TRUE(shader.isValid());
    // The square sits 2 units in front of the camera, filling most of a 90-degree view.
    shader.setProjectionMatrix(glm::perspective(toRadians(90.0f), 1.0f, 0.1f, 10.0f))
        .setTransformationMatrix(glm::translate(Matrix4{1.0f}, Vector3{0.0f, 0.0f, -2.0f}))
        .setAmbientColor(Color4{0.1f, 0.1f, 0.1f, 1.0f})
        .setDiffuseColor(Color4{0.8f, 0.4f, 0.0f, 1.0f})
        .setSpecularColor(data.specular)
        .setShininess(data.shininess)
        .setLightPositions({data.light});
    GL::Mesh mesh = MeshTools::compile(square(1.5f));
    shader.draw(mesh);
    EXPECT_TRUE(pixelNear(target.read(), {16, 16}, toRgba8(data.expected), 3));
}

INSTANTIATE_TEST_SUITE_P(, PhongGLTest, ::testing::ValuesIn(PhongCases), caseName);

class PhongRulesGLTest: public GLTestFixture {};

TEST_F(PhongRulesGLTest, LightsAddUpAndExtraOnesAreReported) {
    RenderTarget target{Size};
    target.clear();
    Shaders::PhongGL shader{2};
    ASSERT_TRUE(shader.isValid());
    shader.setAmbientColor(Color4{0.0f, 0.0f, 0.0f, 1.0f})
        .setDiffuseColor(Color4{1.0f})
        .setSpecularColor(Color4{0.0f})
        .setLightColors({Color3{0.25f, 0.0f, 0.0f}, Color3{0.0f, 0.5f, 0.0f}});
    Log::Capture errors{Log::Channel::Error};
    shader.setLightPositions({Vector4{0.0f, 0.0f, 1.0f, 0.0f}, Vector4{0.0f, 0.0f, 1.0f, 0.0f},
        Vector4{0.0f, 0.0f, -1.0f, 0.0f}});
    EXPECT_TRUE(errors.contains("3 light positions for 2 lights")) << errors.text();
    GL::Mesh mesh = MeshTools::compile(square(0.5f));
    shader.draw(mesh);
    EXPECT_TRUE(pixelNear(target.read(), {16, 16}, Rgba8{64, 128, 0, 255}, 2));
}

TEST_F(PhongRulesGLTest, NormalMatrixFollowsNonUniformScale) {
    RenderTarget target{Size};
    target.clear();
    Shaders::PhongGL shader{1};
    // A square tilted 45 degrees about Y, then squashed along X: the inverse-transpose normal
    // turns further towards +X than the plain matrix would, so a light along +X gets brighter.
    const Matrix4 tilt = glm::rotate(Matrix4{1.0f}, toRadians(45.0f), Vector3{0.0f, 1.0f, 0.0f});
    const Matrix4 transformation = glm::scale(Matrix4{1.0f}, Vector3{0.5f, 1.0f, 1.0f})*tilt;
    shader.setAmbientColor(Color4{0.0f, 0.0f, 0.0f, 1.0f}).setSpecularColor(Color4{0.0f})
        .setTransformationMatrix(transformation)
        .setLightPositions({Vector4{1.0f, 0.0f, 0.0f, 0.0f}});
    GL::Mesh mesh = MeshTools::compile(square(0.5f));
    shader.draw(mesh);
    // Normal (0.707, 0, 0.707) through diag(2, 1, 1) and normalised: x = 2/sqrt(5).
    const float lambert = 2.0f/std::sqrt(5.0f);
    EXPECT_TRUE(pixelNear(target.read(), {16, 16}, toRgba8(Color4{Color3{lambert}, 1.0f}), 2));
}

}
}
