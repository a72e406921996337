// The gizmo's geometry without a UI: line and angle helpers, which handle a screen point grabs, and
// what dragging a handle does to the matrix, against values worked out by hand.
#include <cmath>

#include <gtest/gtest.h>

#include "Gizmo/GizmoMath.h"

using namespace ArdentisEngine;
using namespace ArdentisEngine::Gizmo;

namespace {

// Camera on +Z looking at the origin, 800x600 pixels; handles 72 pixels long.
Frame frameFor(const Matrix4& matrix, int mode = World) {
    const Matrix4 view = glm::lookAt(Vector3{0.0f, 0.0f, 10.0f}, Vector3{0.0f}, Vector3{0.0f, 1.0f, 0.0f});
    const Matrix4 projection = glm::perspective(glm::radians(60.0f), 800.0f/600.0f, 0.1f, 100.0f);
    return makeFrame(view, projection, matrix, mode, Rect{{0.0f, 0.0f}, {800.0f, 600.0f}}, false, 72.0f);
}

Ray rayAt(const Frame& f, const Vector3& world) { return pointerRay(f, toScreen(f, world)); }

// The drags below go through these helpers; here only their degenerate inputs.
TEST(GizmoMathTest, HelpersAtTheirEdges) {
    const Vector3 x{1.0f, 0.0f, 0.0f}, y{0.0f, 1.0f, 0.0f}, z{0.0f, 0.0f, 1.0f};
    EXPECT_NEAR(closestOnLine(Vector3{0.0f}, 2.0f*x, {{4.0f, 1.0f, 1.0f}, -z}), 2.0f, 1e-5f) << "longer direction";
    EXPECT_NEAR(closestOnLine(Vector3{0.0f}, x, {{0.0f, 1.0f, 0.0f}, x}), 0.0f, 1e-5f) << "parallel ray";
    EXPECT_NEAR(glm::degrees(signedAngle(y, x, z)), -90.0f, 1e-4f);
    EXPECT_NEAR(std::abs(glm::degrees(signedAngle(x, -x, z))), 180.0f, 1e-4f);
    struct Snap { float value, step, expected; };
    for(const Snap& c: {Snap{0.74f, 0.5f, 0.5f}, Snap{-0.26f, 0.5f, -0.5f}, Snap{0.3f, 0.0f, 0.3f}})
        EXPECT_FLOAT_EQ(snapped(c.value, c.step), c.expected) << c.value << " by " << c.step;
    EXPECT_FLOAT_EQ(distanceToSegment({14.0f, 3.0f}, {0.0f, 0.0f}, {10.0f, 0.0f}), 5.0f) << "past the end";
}

TEST(GizmoMathTest, HitTestPicksTheHandleUnderThePointer) {
    const Frame world = frameFor(Matrix4{1.0f});
    ASSERT_TRUE(world.visible);
    const float l = world.length;
    const float d = std::sqrt(0.5f);
    // Rotated a quarter turn about Z: the local X axis is the world Y axis.
    const Frame local = frameFor(glm::rotate(Matrix4{1.0f}, glm::radians(90.0f), Vector3{0.0f, 0.0f, 1.0f}), Local);
    struct Case { const char* name; const Frame& frame; Vector2 pointer; int operation; Handle expected; };
    const Vector2 off{0.0f, 5.0f};
    for(const Case& c: {
        Case{"on the X arrow", world, toScreen(world, {0.6f*l, 0.0f, 0.0f}), Translate, {Kind::Translate, 0}},
        Case{"beside the X arrow", world, toScreen(world, {0.6f*l, 0.0f, 0.0f}) + off, Translate, {Kind::Translate, 0}},
        Case{"far from the arrows", world, toScreen(world, {0.6f*l, 0.0f, 0.0f}) + 4.0f*off, Translate, {}},
        Case{"Z points at the camera", world, world.screenOrigin, Translate, {}},
        Case{"Y arrow not offered", world, toScreen(world, {0.0f, 0.6f*l, 0.0f}), TranslateX|TranslateZ, {}},
        Case{"local X is world Y", local, toScreen(local, {0.0f, 0.6f*l, 0.0f}), Translate, {Kind::Translate, 0}},
        Case{"XY square", world, toScreen(world, {0.3f*l, 0.3f*l, 0.0f}), Translate, {Kind::TranslatePlane, 2}},
        Case{"XY square needs both bits", world, toScreen(world, {0.3f*l, 0.3f*l, 0.0f}), TranslateX|TranslateZ, {}},
        Case{"Z ring", world, toScreen(world, {d*l, d*l, 0.0f}), Rotate, {Kind::Rotate, 2}},
        Case{"screen ring", world, world.screenOrigin + Vector2{world.screenRadius, 0.0f}, Rotate, {Kind::Rotate, 3}},
        Case{"Y scale box", world, toScreen(world, {0.0f, 0.85f*l, 0.0f}), Scale, {Kind::Scale, 1}}})
        EXPECT_EQ(hitTest(c.frame, c.pointer, c.operation), c.expected) << c.name;
}

TEST(GizmoMathTest, DraggingAHandleGivesTheSnappedMatrix) {
    const Vector3 pivot{1.0f, 0.0f, 0.0f};
    const Matrix4 start = glm::translate(Matrix4{1.0f}, pivot);
    const Frame f = frameFor(start);
    const float l = f.length;
    const float a = glm::radians(100.0f);
    const float translate05[]{0.5f, 0.5f, 0.5f}, rotate30[]{30.0f}, scale03[]{0.3f, 0.3f, 0.3f};
    struct Case {
        const char* name; Handle handle; Vector3 grab, to; const float* snap;
        Vector3 translation, xColumn;
    };
    for(const Case& c: {
        Case{"translate X", {Kind::Translate, 0}, {0.6f*l, 0, 0}, {0.6f*l + 1.3f, 0, 0}, nullptr, {2.3f, 0, 0}, {1, 0, 0}},
        Case{"translate X snapped up", {Kind::Translate, 0}, {0.6f*l, 0, 0}, {0.6f*l + 1.3f, 0, 0}, translate05, {2.5f, 0, 0}, {1, 0, 0}},
        Case{"translate XY plane", {Kind::TranslatePlane, 2}, {0.3f*l, 0.3f*l, 0}, {0.3f*l + 1.2f, 0.3f*l - 0.7f, 0}, nullptr, {2.2f, -0.7f, 0}, {1, 0, 0}},
        Case{"translate XY plane snapped", {Kind::TranslatePlane, 2}, {0.3f*l, 0.3f*l, 0}, {0.3f*l + 1.2f, 0.3f*l - 0.7f, 0}, translate05, {2.0f, -0.5f, 0}, {1, 0, 0}},
        Case{"rotate Z a quarter", {Kind::Rotate, 2}, {l, 0, 0}, {0, l, 0}, nullptr, pivot, {0, 1, 0}},
        Case{"rotate Z 100 snapped to 90", {Kind::Rotate, 2}, {l, 0, 0}, {std::cos(a)*l, std::sin(a)*l, 0}, rotate30, pivot, {0, 1, 0}},
        Case{"scale X twice", {Kind::Scale, 0}, {0.85f*l, 0, 0}, {1.7f*l, 0, 0}, nullptr, pivot, {2, 0, 0}},
        Case{"scale X snapped", {Kind::Scale, 0}, {0.85f*l, 0, 0}, {1.7f*l, 0, 0}, scale03, pivot, {1.9f, 0, 0}}}) {
        const std::optional<Drag> drag = beginDrag(f, c.handle, start, rayAt(f, pivot + c.grab));
        ASSERT_TRUE(drag) << c.name;
        const Matrix4 result = dragMatrix(*drag, rayAt(f, pivot + c.to), c.snap);
        for(int i = 0; i != 3; ++i) {
            EXPECT_NEAR(result[3][i], c.translation[i], 1e-3f) << c.name << " translation " << i;
            EXPECT_NEAR(result[0][i], c.xColumn[i], 1e-3f) << c.name << " X column " << i;
        }
    }

    EXPECT_FALSE(beginDrag(f, {Kind::Scale, 0}, start, rayAt(f, pivot))) << "no distance to scale by";
}

}
