#include <gtest/gtest.h>

#include "Engine/LightManager.h"
#include "Engine/SceneGraph.h"
#include "Engine/ViewManager.h"

using namespace ArdentisEngine;
using namespace ArdentisEngine::Data;

namespace {

Vector3 project(const Matrix4& m, const Vector3& p) {
    const Vector4 c = m*Vector4{p, 1.0f};
    return Vector3{c}/c.w;
}

bool insideClipVolume(const Vector3& p, bool zeroToOne, float epsilon = 1e-3f) {
    const float zMin = zeroToOne ? 0.0f : -1.0f;
    return std::abs(p.x) <= 1 + epsilon && std::abs(p.y) <= 1 + epsilon && p.z >= zMin - epsilon && p.z <= 1 + epsilon;
}

// A scene with a camera (its own graph, as the canvas has it) and one shadowed sun.
struct Fixture {
    SceneGraph cameraGraph{4};
    ViewManager views{1};
    Id view;
    SceneGraph graph{8};
    LightManager lights{4};
    Id lightObject, light;

    Fixture() {
        cameraGraph.setComponentManager(views);
        const Id camera = cameraGraph.addObject(0);
        view = views.addComponent(camera);
        views.activate(view);
        views.viewport(view) = Range2Di{{0, 0}, {160, 90}};
        views.near(view) = 0.1f;
        views.far(view) = 200.0f;
        views.fov(view) = 70.0f;
        cameraGraph.setLocalTransformation(camera, DualQuaternion::fromRotationTranslation(
            glm::angleAxis(0.3f, glm::normalize(Vector3{1, 2, 0})), {3, 2, 1}));
        cameraGraph.computeAbsoluteTransformations();
        views.generateProjectionMatrix(view);

        graph.setComponentManager(lights);
        lightObject = graph.addObject(0);
        light = lights.addComponent(lightObject);
        lights.activate(light);
        lights.lightType(light) = LightType::Sun;
        lights.castsShadows(light) = true;
        // Tilted down and to the side.
        graph.setLocalTransformation(lightObject, DualQuaternion::fromRotationTranslation(
            glm::angleAxis(-0.9f, Vector3{1, 0, 0})*glm::angleAxis(0.4f, Vector3{0, 1, 0}), {0, 10, 0}));
        graph.computeAbsoluteTransformations();
        lights.update(0.0);
    }
};

struct CascadeCase {
    const char* name;
    std::uint32_t setting;
    std::uint32_t expectedCascades;
    bool zeroToOne;
};

const CascadeCase CascadeCases[]{
    {"SettingAboveMaximum", 9, LightManager::MaxCascades, false},
    {"FourCascadesZeroToOne", 4, 4, true},
};

class SunCascades: public testing::TestWithParam<CascadeCase> {};

}

// Every corner of a cascade's slice of the camera frustum must fall inside that cascade's volume,
// and the slices must tile the camera's depth range without gaps.
TEST_P(SunCascades, CoverTheirSliceOfTheCameraFrustum) {
    const CascadeCase& c = GetParam();
    Fixture f;
    EXPECT_EQ(f.lights.setupShadows(f.views, f.view, c.setting), c.expectedCascades);
    EXPECT_EQ(f.lights.cascadeCount(f.light), c.expectedCascades);
    EXPECT_EQ(f.lights.shadowIndex(f.light), 0u);
    f.lights.updateShadows(f.views, f.view, 1024, c.zeroToOne);

    const auto shadows = f.lights.shadowViews();
    ASSERT_EQ(shadows.size(), c.expectedCascades);
    const Matrix4 cameraWorld = glm::inverse(f.views.viewMatrix(f.view));
    EXPECT_FLOAT_EQ(shadows.front().splitNear, 0.1f);
    EXPECT_FLOAT_EQ(shadows.back().splitFar, 100.0f);  // the sun's default shadow distance
    for(std::size_t i = 0; i != shadows.size(); ++i) {
        const ShadowView& s = shadows[i];
        EXPECT_EQ(s.light, f.light);
        EXPECT_EQ(s.viewProjection, s.projection*s.view);
        if(i) { EXPECT_FLOAT_EQ(s.splitNear, shadows[i - 1].splitFar); }
        EXPECT_LT(s.splitNear, s.splitFar);
        const Matrix4 slice = cameraWorld*glm::inverse(
            ViewManager::perspectiveProjection(70.0f, 160.0f/90.0f, s.splitNear, s.splitFar));
        for(int k = 0; k != 8; ++k) {
            const Vector4 corner = slice*Vector4{k & 1 ? 1.0f : -1.0f, k & 2 ? 1.0f : -1.0f, k & 4 ? 1.0f : -1.0f, 1.0f};
            const Vector3 p = project(s.viewProjection, Vector3{corner}/corner.w);
            EXPECT_TRUE(insideClipVolume(p, c.zeroToOne)) << "cascade " << i << " corner " << k << ": "
                << p.x << " " << p.y << " " << p.z;
        }
        // The light looks along its own -Z: a point further along the light direction is deeper.
        const Vector3 centre = Vector3{cameraWorld*Vector4{0, 0, -(s.splitNear + s.splitFar)/2, 1}};
        const Vector3 dir = f.lights.direction(f.light);
        EXPECT_LT(project(s.viewProjection, centre).z, project(s.viewProjection, centre + dir).z);
    }
}

INSTANTIATE_TEST_SUITE_P(, SunCascades, testing::ValuesIn(CascadeCases),
    [](const testing::TestParamInfo<CascadeCase>& i) { return std::string{i.param.name}; });

TEST(LightShadows, LayoutSkipsLightsWithoutShadows) {
    SceneGraph graph{8};
    LightManager lights{4};
    SceneGraph cameraGraph{2};
    ViewManager views{1};
    graph.setComponentManager(lights);
    cameraGraph.setComponentManager(views);
    const Id view = views.addComponent(cameraGraph.addObject(0));
    const Id a = lights.addComponent(graph.addObject(0)), b = lights.addComponent(graph.addObject(0)),
             c = lights.addComponent(graph.addObject(0));
    graph.activate();
    lights.lightType(a) = LightType::Point;
    lights.lightType(b) = LightType::Spot;
    lights.lightType(c) = LightType::Sun;
    lights.castsShadows(a) = lights.castsShadows(c) = true;
    EXPECT_EQ(lights.setupShadows(views, view, 2), 8u);
    EXPECT_EQ(lights.cascadeCount(b), 0u);
    EXPECT_EQ(lights.shadowIndex(b), LightManager::NoShadow);
    // Ranges do not overlap and cover the list.
    const std::uint32_t ia = lights.shadowIndex(a), ic = lights.shadowIndex(c);
    EXPECT_TRUE((ia == 0 && ic == 6) || (ic == 0 && ia == 2));
}
