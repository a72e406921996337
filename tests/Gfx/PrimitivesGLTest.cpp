#include <functional>

#include "GLTestFixture.h"

#include "Gfx/MeshTools.h"
#include "Gfx/Primitives/Primitives.h"
#include "Gfx/Shaders/FlatGL.h"

namespace ArdentisEngine::Test {
namespace {

using Test::PrintTo;

constexpr Vector2i Size{64, 64};
// The view spans -1.25..1.25, so a unit length is 25.6 pixels and the origin sits on the corner
// between pixels 31 and 32.
constexpr float PixelsPerUnit = 25.6f;
const Rgba8 Black{0, 0, 0, 255};
const Rgba8 White{255, 255, 255, 255};

// Orthographic, looking down -Z, with +Z nearest.
Matrix4 projection() { return glm::ortho(-1.25f, 1.25f, -1.25f, 1.25f, -1.25f, 1.25f); }

// Enables what a case asks for and puts the defaults back, so one case can't leak into the next.
struct RasterState {
    RasterState(bool depth, bool cull) {
        if(depth) glEnable(GL_DEPTH_TEST);
        if(cull) {
            glEnable(GL_CULL_FACE);
            glCullFace(GL_BACK);
            glFrontFace(GL_CCW);
        }
    }
    ~RasterState() {
        glDisable(GL_DEPTH_TEST);
        glDisable(GL_CULL_FACE);
    }
};

Image draw(const MeshData& data, const Matrix4& transformation, bool vertexColors = false, bool depth = false, bool cull = false) {
    RenderTarget target{Size};
    target.clear();
    Shaders::FlatGL shader{vertexColors ? Shaders::FlatGL::Flags(Shaders::FlatGL::VertexColor) : 0};
    EXPECT_TRUE(shader.isValid());
    GL::Mesh mesh = MeshTools::compile(data);
    RasterState state{depth, cull};
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

struct CoverageCase {
    const char* name;
    std::function<MeshData()> make;
    Matrix4 transformation;
    // Projected area in pixels.
    float area;
    // Tolerance relative to the area: polygonal outlines and edge pixels.
    float tolerance;
    std::vector<Vector2i> inside, outside;
};

const Matrix4 Identity{1.0f};

const CoverageCase CoverageCases[]{
    // Seen from a pole the outline is the equator, a 32-gon of area 0.9936·πr².
    {"SphereFromThePole", [] { return Primitives::uvSphereSolid(16, 32); },
     glm::rotate(Identity, 0.5f * Pi, Vector3{1.0f, 0.0f, 0.0f}), 0.9936f * Pi * 25.6f * 25.6f, 0.02f,
     {pixelAt(0.0f, 0.0f), pixelAt(0.95f, 0.0f), pixelAt(0.0f, -0.95f)}, {pixelAt(0.72f, 0.72f), pixelAt(1.1f, 0.0f)}},
    {"Cube", [] { return Primitives::cubeSolid(); }, Identity, 51.2f * 51.2f, 0.04f,
     {pixelAt(-0.95f, -0.95f), pixelAt(0.95f, 0.95f)}, {pixelAt(1.05f, 0.0f), pixelAt(0.0f, -1.05f)}},
    // Side on, a cylinder is its 2 × 2·halfLength rectangle and a cone its triangle.
    {"CylinderSideOn", [] { return Primitives::cylinderSolid(1, 24, 0.5f, Primitives::CylinderFlag::CapEnds); },
     Identity, 51.2f * 25.6f, 0.04f, {pixelAt(0.95f, 0.45f), pixelAt(-0.95f, -0.45f)}, {pixelAt(0.0f, 0.55f)}},
    {"ConeSideOn", [] { return Primitives::coneSolid(2, 24, 1.0f, Primitives::ConeFlag::CapEnd); }, Identity,
     0.5f * 51.2f * 51.2f, 0.04f, {pixelAt(0.0f, 0.9f), pixelAt(-0.9f, -0.95f), pixelAt(0.9f, -0.95f)},
     {pixelAt(0.5f, 0.5f), pixelAt(-0.5f, 0.5f), pixelAt(0.0f, -1.05f)}},
    {"Plane", [] { return Primitives::planeSolid(); }, glm::scale(Identity, Vector3{0.5f}), 25.6f * 25.6f, 0.05f,
     {pixelAt(0.45f, 0.45f)}, {pixelAt(0.55f, 0.0f)}},
};

class PrimitivesCoverageGLTest: public GLTestFixtureWithParam<CoverageCase> {};

TEST_P(PrimitivesCoverageGLTest, CoversItsProjectedArea) {
    const CoverageCase& c = GetParam();
    const Image image = draw(c.make(), c.transformation);
    const int covered = countPixels(image, White);
    EXPECT_NEAR(float(covered), c.area, c.area * c.tolerance);
    // Nothing but the colour and the background.
    EXPECT_EQ(covered + countPixels(image, Black), Size.x * Size.y);
    for(const Vector2i& at: c.inside) EXPECT_TRUE(pixelNear(image, at, White, 2));
    for(const Vector2i& at: c.outside) EXPECT_TRUE(pixelNear(image, at, Black, 2));
}

INSTANTIATE_TEST_SUITE_P(Cases, PrimitivesCoverageGLTest, ::testing::ValuesIn(CoverageCases),
    [](const auto& info) { return std::string{info.param.name}; });

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

TEST_F(PrimitivesGLTest, WireframesTraceOutlinesAndLeaveInsidesEmpty) {
    const Image cube = draw(Primitives::cubeWireframe(), Identity);
    for(float t: {-0.5f, 0.3f}) {
        EXPECT_TRUE(litNear(cube, pixelAt(1.0f, t), White));
        EXPECT_TRUE(litNear(cube, pixelAt(t, -1.0f), White));
    }
    EXPECT_TRUE(pixelNear(cube, pixelAt(0.0f, 0.0f), Black, 0));

    // Four rings: latitude lines at y = 0 and ±sin 45°, a meridian down the middle, the outline.
    const Image sphere = draw(Primitives::uvSphereWireframe(4, 16), Identity);
    EXPECT_TRUE(litNear(sphere, pixelAt(0.3f, 0.0f), White));
    EXPECT_TRUE(litNear(sphere, pixelAt(0.3f, 0.7071f), White));
    EXPECT_TRUE(litNear(sphere, pixelAt(0.0f, 0.4f), White));
    EXPECT_TRUE(litNear(sphere, pixelAt(0.0f, -0.99f), White));
    EXPECT_TRUE(pixelNear(sphere, pixelAt(0.4f, 0.35f), Black, 0));
    EXPECT_TRUE(pixelNear(sphere, pixelAt(-0.4f, -0.35f), Black, 0));
}

}
}
