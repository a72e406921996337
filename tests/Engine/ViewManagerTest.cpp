#include <gtest/gtest.h>

#include "Engine/SceneGraph.h"
#include "Engine/ViewManager.h"

using namespace ArdentisEngine;
using namespace ArdentisEngine::Data;

namespace {

Vector3 project(const Matrix4& m, const Vector3& p) {
    const Vector4 c = m*Vector4{p, 1.0f};
    return Vector3{c}/c.w;
}

// A camera at the origin looking down -Z; each point is given in view space with where it must land
// in normalised device coordinates.
struct ProjectionCase {
    const char* name;
    ProjectionType type;
    float fov, extent;
    Vector2i viewport;
    bool zeroToOne;
    Vector3 point;
    Vector3 expected;
};

constexpr float Near = 0.5f, Far = 100.0f;

const ProjectionCase ProjectionCases[]{
    {"PerspectiveFarZeroToOne", ProjectionType::Perspective, 90.0f, 0, {100, 100}, true, {0, 0, -Far}, {0, 0, 1}},
    // Horizontal fov of 90 degrees: at depth 10 the right edge is x = 10 whatever the aspect.
    {"PerspectiveRightEdgeWide", ProjectionType::Perspective, 90.0f, 0, {200, 100}, false, {10, 0, -10}, {1, 0, 0.9095f}},
    // ... and the top edge of a 2:1 viewport sits at half that.
    {"PerspectiveTopEdgeWide", ProjectionType::Perspective, 90.0f, 0, {200, 100}, false, {0, 5, -10}, {0, 1, 0.9095f}},
    {"OrthographicCorner", ProjectionType::Orthographic, 0, 8.0f, {200, 100}, false, {4, 2, -Near}, {1, 1, -1}},
    {"OrthographicMiddleZeroToOne", ProjectionType::Orthographic, 0, 8.0f, {100, 100}, true, {0, 0, -(Near + Far)/2}, {0, 0, 0.5f}},
    // Before the first resize the viewport is empty; the aspect falls back to 1.
    {"EmptyViewportIsSquare", ProjectionType::Perspective, 90.0f, 0, {0, 0}, false, {0, 10, -10}, {0, 1, 0.9095f}},
};

class ViewProjection: public testing::TestWithParam<ProjectionCase> {};

}

TEST_P(ViewProjection, MapsKnownPoints) {
    const ProjectionCase& c = GetParam();
    SceneGraph graph{4};
    ViewManager views{2};
    graph.setComponentManager(views);
    const Id view = views.addComponent(graph.addObject(0));
    views.projectionType(view) = c.type;
    views.fov(view) = c.fov;
    views.extent(view) = c.extent;
    views.near(view) = Near;
    views.far(view) = Far;
    views.viewport(view) = Range2Di{{0, 0}, c.viewport};
    views.setZeroToOneDepth(c.zeroToOne);
    const Matrix4& m = views.generateProjectionMatrix(view);
    EXPECT_EQ(views.projectionMatrix(view), m);
    const Vector3 p = project(m, c.point);
    EXPECT_NEAR(p.x, c.expected.x, 1e-3f);
    EXPECT_NEAR(p.y, c.expected.y, 1e-3f);
    EXPECT_NEAR(p.z, c.expected.z, 1e-3f);
    // Remapped to [-1, 1] depth, a zero-to-one matrix agrees with the plain one.
    if(c.zeroToOne) {
        const Vector3 r = project(views.remapProjectionMatrix(m), c.point);
        EXPECT_NEAR(r.z, 2.0f*c.expected.z - 1.0f, 1e-3f);
    }
}

INSTANTIATE_TEST_SUITE_P(, ViewProjection, testing::ValuesIn(ProjectionCases),
    [](const testing::TestParamInfo<ProjectionCase>& i) { return std::string{i.param.name}; });
