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

struct Fixture {
    SceneGraph graph{4};
    ViewManager views{2};
    Id camera, view;
    Fixture() {
        graph.setComponentManager(views);
        camera = graph.addObject(0);
        view = views.addComponent(camera);
        views.activate(view);
    }
};

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
    {"PerspectiveNearCentre", ProjectionType::Perspective, 90.0f, 0, {100, 100}, false, {0, 0, -Near}, {0, 0, -1}},
    {"PerspectiveNearZeroToOne", ProjectionType::Perspective, 90.0f, 0, {100, 100}, true, {0, 0, -Near}, {0, 0, 0}},
    {"PerspectiveFarZeroToOne", ProjectionType::Perspective, 90.0f, 0, {100, 100}, true, {0, 0, -Far}, {0, 0, 1}},
    // Horizontal fov of 90 degrees: at depth 10 the right edge is x = 10 whatever the aspect.
    {"PerspectiveRightEdgeWide", ProjectionType::Perspective, 90.0f, 0, {200, 100}, false, {10, 0, -10}, {1, 0, 0.9095f}},
    // ... and the top edge of a 2:1 viewport sits at half that.
    {"PerspectiveTopEdgeWide", ProjectionType::Perspective, 90.0f, 0, {200, 100}, false, {0, 5, -10}, {0, 1, 0.9095f}},
    {"PerspectiveNarrowFov", ProjectionType::Perspective, 60.0f, 0, {100, 100}, false, {std::tan(Pi/6)*4, 0, -4}, {1, 0, 0.7588f}},
    {"OrthographicCorner", ProjectionType::Orthographic, 0, 8.0f, {200, 100}, false, {4, 2, -Near}, {1, 1, -1}},
    {"OrthographicFar", ProjectionType::Orthographic, 0, 8.0f, {200, 100}, false, {-4, -2, -Far}, {-1, -1, 1}},
    {"OrthographicMiddleZeroToOne", ProjectionType::Orthographic, 0, 8.0f, {100, 100}, true, {0, 0, -(Near + Far)/2}, {0, 0, 0.5f}},
    // Before the first resize the viewport is empty; the aspect falls back to 1.
    {"EmptyViewportIsSquare", ProjectionType::Perspective, 90.0f, 0, {0, 0}, false, {0, 10, -10}, {0, 1, 0.9095f}},
};

class ViewProjection: public testing::TestWithParam<ProjectionCase> {};

}

TEST_P(ViewProjection, MapsKnownPoints) {
    const ProjectionCase& c = GetParam();
    Fixture f;
    f.views.projectionType(f.view) = c.type;
    f.views.fov(f.view) = c.fov;
    f.views.extent(f.view) = c.extent;
    f.views.near(f.view) = Near;
    f.views.far(f.view) = Far;
    f.views.viewport(f.view) = Range2Di{{0, 0}, c.viewport};
    f.views.setZeroToOneDepth(c.zeroToOne);
    const Matrix4& m = f.views.generateProjectionMatrix(f.view);
    EXPECT_EQ(f.views.projectionMatrix(f.view), m);
    const Vector3 p = project(m, c.point);
    EXPECT_NEAR(p.x, c.expected.x, 1e-3f);
    EXPECT_NEAR(p.y, c.expected.y, 1e-3f);
    EXPECT_NEAR(p.z, c.expected.z, 1e-3f);
    // Remapped to [-1, 1] depth, a zero-to-one matrix agrees with the plain one.
    if(c.zeroToOne) {
        const Vector3 r = project(f.views.remapProjectionMatrix(m), c.point);
        EXPECT_NEAR(r.z, 2.0f*c.expected.z - 1.0f, 1e-3f);
    }
}

INSTANTIATE_TEST_SUITE_P(, ViewProjection, testing::ValuesIn(ProjectionCases),
    [](const testing::TestParamInfo<ProjectionCase>& i) { return std::string{i.param.name}; });

TEST(ViewManager, ViewAndCullingMatricesFollowTheCameraObject) {
    Fixture f;
    f.views.viewport(f.view) = Range2Di{{0, 0}, {100, 100}};
    f.views.fov(f.view) = 90.0f;
    // Camera at (10, 0, 0) turned to look down -X (90 degrees about +Y turns -Z into -X).
    f.graph.setLocalTransformation(f.camera, DualQuaternion::fromRotationTranslation(
        glm::angleAxis(Pi/2, Vector3{0, 1, 0}), {10, 0, 0}));
    f.graph.computeAbsoluteTransformations();
    f.views.update(0.0);

    const Vector3 inView = Vector3{f.views.viewMatrix(f.view)*Vector4{0, 0, 0, 1}};
    EXPECT_NEAR(inView.x, 0.0f, 1e-5f);
    EXPECT_NEAR(inView.z, -10.0f, 1e-5f);
    EXPECT_NEAR(glm::distance(f.views.cameraPosition(f.view), Vector3{10, 0, 0}), 0.0f, 1e-5f);

    // The world origin is straight ahead; a point behind the camera lands outside the clip volume.
    const Matrix4 vp = f.views.viewProjectionMatrix(f.view);
    EXPECT_EQ(f.views.cullingMatrix(f.view), vp);
    const Vector3 ahead = project(vp, {0, 0, 0});
    EXPECT_NEAR(ahead.x, 0.0f, 1e-5f);
    EXPECT_NEAR(ahead.y, 0.0f, 1e-5f);
    const Vector4 behind = vp*Vector4{20, 0, 0, 1};
    EXPECT_LT(behind.w, 0.0f);
    // Moving the camera object moves the matrices without any call on the manager.
    f.graph.setLocalTransformation(f.camera, DualQuaternion::translation({0, 0, 5}));
    f.graph.computeAbsoluteTransformations();
    EXPECT_NEAR(project(f.views.viewProjectionMatrix(f.view), {0, 0, 0}).x, 0.0f, 1e-5f);
    EXPECT_NEAR((f.views.viewMatrix(f.view)*Vector4{0, 0, 0, 1}).z, -5.0f, 1e-5f);
}

TEST(ViewManager, UpdateRegeneratesActiveViewsOnly) {
    Fixture f;
    const Id other = f.graph.addObject(0);
    const Id inactive = f.views.addComponent(other);
    for(Id v: {f.view, inactive}) f.views.viewport(v) = Range2Di{{0, 0}, {300, 100}};
    f.views.update(0.0);
    EXPECT_NEAR(f.views.projectionMatrix(f.view)[1][1]/f.views.projectionMatrix(f.view)[0][0], 3.0f, 1e-5f);
    EXPECT_EQ(f.views.projectionMatrix(inactive), Matrix4{1.0f});
}
