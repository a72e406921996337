#include "GLTestFixture.h"

#include "Gfx/MeshTools.h"
#include "Gfx/Primitives/Primitives.h"
#include "Gfx/Shaders/FlatGL.h"

namespace ArdentisEngine::Test {
namespace {

constexpr Vector2i Size{64, 64};
// The view spans -1.25..1.25, so a unit length is 25.6 pixels and the origin sits on the corner
// between pixels 31 and 32.
constexpr float PixelsPerUnit = 25.6f;
const Rgba8 Black{0, 0, 0, 255};
const Rgba8 White{255, 255, 255, 255};

// Orthographic, looking down -Z, with +Z nearest.
Matrix4 projection() { return glm::ortho(-1.25f, 1.25f, -1.25f, 1.25f, -1.25f, 1.25f); }

Image draw(const MeshData& data, const Matrix4& transformation, bool vertexColors = false) {
    RenderTarget target{Size};
    target.clear();
    Shaders::FlatGL shader{vertexColors ? Shaders::FlatGL::Flags(Shaders::FlatGL::VertexColor) : 0};
    EXPECT_TRUE(shader.isValid());
    GL::Mesh mesh = MeshTools::compile(data);
    shader.setTransformationProjectionMatrix(projection() * transformation).setColor(Color4{1.0f});
    shader.draw(mesh);
    return target.read();
}

// Lit anywhere within one pixel of `at`: where a line exactly on a pixel edge lands is up to the
// rasteriser (llvmpipe and NVIDIA pick different sides).
bool litNear(const Image& image, Vector2i at, Rgba8 color, int tolerance = 8) {
    for(int dy = -1; dy <= 1; ++dy)
        for(int dx = -1; dx <= 1; ++dx)
            if(pixelNear(image, at + Vector2i{dx, dy}, color, tolerance)) return true;
    return false;
}

Vector2i pixelAt(float x, float y) {
    return {int(std::floor(32.0f + x * PixelsPerUnit)), int(std::floor(32.0f + y * PixelsPerUnit))};
}

const Matrix4 Identity{1.0f};

class PrimitivesGLTest: public GLTestFixture {};

TEST_F(PrimitivesGLTest, AxisLinesPointAlongTheirColours) {
    const Image front = draw(Primitives::axis3D(), Identity, true);
    const Rgba8 Red{255, 0, 0, 255}, Green{0, 255, 0, 255}, Blue{0, 0, 255, 255};
    for(float t: {0.25f, 0.5f, 0.9f}) {
        EXPECT_TRUE(litNear(front, pixelAt(t, 0.0f), Red)) << t;
        EXPECT_TRUE(litNear(front, pixelAt(0.0f, t), Green)) << t;
        EXPECT_TRUE(pixelNear(front, pixelAt(-t, -t), Black, 0)) << t;
    }
    EXPECT_TRUE(pixelNear(front, pixelAt(1.1f, 0.0f), Black, 0));
    // A quarter turn about Y brings +Z to +X.
    const Image turned = draw(Primitives::axis3D(), glm::rotate(Identity, 0.5f * Pi, Vector3{0.0f, 1.0f, 0.0f}), true);
    EXPECT_TRUE(litNear(turned, pixelAt(0.5f, 0.0f), Blue));
    EXPECT_TRUE(litNear(turned, pixelAt(0.0f, 0.5f), Green));
}

TEST_F(PrimitivesGLTest, GridLinesLandOnTheirCells) {
    // 3 interior lines: 4 cells of half a unit each way.
    const Image image = draw(Primitives::grid3DWireframe({3, 3}), Identity);
    for(float line: {-1.0f, -0.5f, 0.0f, 0.5f, 1.0f})
        for(float along: {-0.75f, 0.25f}) {
            EXPECT_TRUE(litNear(image, pixelAt(line, along), White)) << line << " " << along;
            EXPECT_TRUE(litNear(image, pixelAt(along, line), White)) << line << " " << along;
        }
    // Cell centres stay dark.
    for(float a: {-0.75f, -0.25f, 0.25f, 0.75f})
        EXPECT_TRUE(pixelNear(image, pixelAt(a, -a), Black, 0)) << a;
    EXPECT_TRUE(pixelNear(image, pixelAt(1.15f, 0.25f), Black, 0));
}

}
}
