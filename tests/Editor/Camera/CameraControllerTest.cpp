#include <gtest/gtest.h>

#include <cmath>
#include <optional>

#include "Editor/Camera/FlyController.h"
#include "Editor/Camera/OrbitController.h"

using namespace ArdentisEngine;

namespace {

// Two rotations are the same when q and -q, which describe one rotation, are allowed.
float rotationDifference(const Quaternion& a, const Quaternion& b) {
    return 1.0f - std::abs(glm::dot(glm::normalize(a), glm::normalize(b)));
}

Quaternion yawPitch(float yawDegrees, float pitchDegrees) {
    return glm::angleAxis(toRadians(yawDegrees), Vector3{0, 1, 0})*glm::angleAxis(toRadians(pitchDegrees), Vector3{1, 0, 0});
}

// Looking down, the target is where the view meets the ground; from below it, in front.
TEST(OrbitControllerTest, ResetKeepsTheCameraWhereItIs) {
    const struct { float yaw, pitch; Vector3 position; std::optional<Vector3> target; } poses[]{
        {0.0f, -45.0f, {0.0f, 4.0f, 4.0f}, Vector3{0.0f}},
        {0.0f, -90.0f, {0.0f, 10.0f, 0.0f}, Vector3{0.0f}},  // straight down
        {45.0f, -20.0f, {0.0f, -3.0f, 0.0f}, std::nullopt},  // below the ground looking down
    };
    for(const auto& c: poses) {
        SCOPED_TRACE(c.pitch);
        const DualQuaternion camera = DualQuaternion::fromRotationTranslation(yawPitch(c.yaw, c.pitch), c.position);
        OrbitController orbit;
        orbit.reset(camera);
        const DualQuaternion result = orbit.update();
        EXPECT_LT(rotationDifference(result.rotation(), camera.rotation()), 1e-5f);
        EXPECT_LT(glm::length(result.translation() - c.position), 1e-3f);
        EXPECT_GT(glm::dot(orbit.target() - c.position, camera.rotation()*Vector3{0, 0, -1}), 0.0f);
        EXPECT_LT(glm::distance(orbit.target(), c.target.value_or(orbit.target())), 1e-4f);
    }
}

TEST(OrbitControllerTest, ViewDirections) {
    // yaw, pitch in degrees, and where the camera then looks.
    const struct { const char* name; float yaw, pitch; Vector3 forward; } cases[]{
        {"right", 90, 0, {-1, 0, 0}},
        {"up", 0, 90, {0, 1, 0}},
    };
    for(const auto& c: cases) {
        OrbitController orbit;
        orbit.setTarget({1.0f, 2.0f, 3.0f});
        orbit.setDistance(5.0f);
        orbit.setRotation(yawPitch(c.yaw, c.pitch));
        const DualQuaternion pose = orbit.update();
        const Vector3 forward = pose.rotation()*Vector3{0, 0, -1};
        EXPECT_LT(glm::length(forward - c.forward), 1e-5f) << c.name;
        // The camera still looks at the target from the same distance.
        EXPECT_LT(glm::length(pose.translation() + forward*5.0f - Vector3{1, 2, 3}), 1e-4f) << c.name;
        EXPECT_LT(rotationDifference(pose.rotation(), yawPitch(c.yaw, c.pitch)), 1e-5f) << c.name;
    }
}

TEST(OrbitControllerTest, RotateStopsAtTheZenith) {
    OrbitController orbit;
    orbit.rotate2d(0.0f, 3.0f);
    EXPECT_FLOAT_EQ(orbit.pitch(), OrbitController::MaxPitch);
    orbit.rotate2d(0.0f, -10.0f);
    EXPECT_FLOAT_EQ(orbit.pitch(), -OrbitController::MaxPitch);
    // Full turns of yaw come back to the start.
    orbit.rotate2d(4.0f*Pi + 0.5f, 0.0f);
    EXPECT_NEAR(orbit.yaw(), 0.5f, 1e-4f);
    // Garbage in changes nothing.
    orbit.rotate2d(NAN, 0.0f);
    EXPECT_NEAR(orbit.yaw(), 0.5f, 1e-4f);
}

TEST(OrbitControllerTest, ZoomStaysBetweenThePlanes) {
    OrbitController orbit;
    orbit.setDistance(10.0f);
    orbit.zoom(0.1f, 0.01f, 1000.0f);
    EXPECT_NEAR(orbit.distance(), 10.0f*std::exp(-0.1f), 1e-4f);
    for(int i = 0; i != 1000; ++i) orbit.zoom(1.0f, 0.5f, 100.0f);
    EXPECT_FLOAT_EQ(orbit.distance(), 1.0f);
    for(int i = 0; i != 1000; ++i) orbit.zoom(-1.0f, 0.5f, 100.0f);
    EXPECT_FLOAT_EQ(orbit.distance(), 50.0f);
    // The camera stays on the ray through the target while zooming.
    const Vector3 before = orbit.update().translation() - orbit.target();
    orbit.zoom(0.3f, 0.5f, 100.0f);
    const Vector3 after = orbit.update().translation() - orbit.target();
    EXPECT_LT(glm::length(glm::normalize(before) - glm::normalize(after)), 1e-5f);
}

TEST(OrbitControllerTest, PanMovesAcrossTheView) {
    OrbitController orbit;
    orbit.setDistance(4.0f);
    orbit.setRotation(yawPitch(90.0f, 0.0f));
    const Vector3 right = orbit.rotation()*Vector3{1, 0, 0};
    orbit.pan({0.25f, 0.0f});
    // The scene follows the pointer, so the target moves against the pointer direction.
    EXPECT_LT(glm::length(orbit.target() + right*1.0f), 1e-5f);
    orbit.pan({0.0f, -0.5f});
    EXPECT_NEAR(orbit.target().y, 2.0f, 1e-5f);
}

DualQuaternion flyFor(int moves, float firstDuration, float secondDuration, int steps, int stopAfter) {
    FlyController fly;
    fly.reset(DualQuaternion::fromRotationTranslation(yawPitch(30.0f, -20.0f), {1.0f, 2.0f, 3.0f}));
    fly.setSpeed(5.0f);
    fly.startMovement(moves);
    DualQuaternion pose;
    for(int i = 0; i != steps; ++i) pose = fly.update(firstDuration/float(steps));
    fly.stopMovement(stopAfter);
    for(int i = 0; i != steps; ++i) pose = fly.update(secondDuration/float(steps));
    return pose;
}

TEST(FlyControllerTest, OneLongStepEqualsFourShortOnes) {
    // Backward and left, then left stops: one step against four, and a long flight in 5 against 60 frames.
    const int moves = FlyController::Backward | FlyController::Left, stop = FlyController::Left;
    const DualQuaternion slow = flyFor(moves, 1.0f/30.0f, 1.0f/30.0f, 1, stop), fast = flyFor(moves, 1.0f/30.0f, 1.0f/30.0f, 4, stop);
    EXPECT_LT(glm::length(slow.translation() - fast.translation()), 1e-5f);
    const DualQuaternion coarse = flyFor(moves, 0.5f, 0.3f, 5, stop), fine = flyFor(moves, 0.5f, 0.3f, 60, stop);
    EXPECT_LT(glm::length(coarse.translation() - fine.translation()), 1e-4f);
    EXPECT_GT(glm::length(coarse.translation() - Vector3{1, 2, 3}), 0.5f) << "it did move";
}

TEST(FlyControllerTest, ReachesItsSpeedAndStopsSmoothly) {
    FlyController fly;
    fly.setSpeed(4.0f);
    fly.startMovement(FlyController::Forward);
    fly.update(0.001f);
    // Starts gently rather than jumping to full speed.
    EXPECT_LT(glm::length(fly.velocity()), 1.0f);
    for(int i = 0; i != 120; ++i) fly.update(1.0f/60.0f);
    EXPECT_NEAR(glm::length(fly.velocity()), 4.0f, 1e-3f);
    EXPECT_LT(fly.position().z, -6.0f);

    fly.setSpeedMultiplier(2.0f);
    for(int i = 0; i != 120; ++i) fly.update(1.0f/60.0f);
    EXPECT_NEAR(glm::length(fly.velocity()), 8.0f, 1e-3f);

    fly.stopMovement(FlyController::Forward);
    fly.update(1.0f/60.0f);
    EXPECT_GT(glm::length(fly.velocity()), 0.5f);
    for(int i = 0; i != 240; ++i) fly.update(1.0f/60.0f);
    EXPECT_EQ(fly.velocity(), Vector3{0.0f}) << "comes to rest exactly";
}

TEST(FlyControllerTest, DirectionsCombine) {
    // Directions at yaw 0, pitch 0; single keys are the scene view's to check.
    const struct { const char* name; int moves; Vector3 direction; } cases[]{
        {"opposites cancel", FlyController::Forward | FlyController::Backward, {0, 0, 0}},
        {"diagonal is not faster", FlyController::Forward | FlyController::Right, glm::normalize(Vector3{1, 0, -1})},
    };
    for(const auto& c: cases) {
        FlyController fly;
        fly.setSpeed(2.0f);
        fly.startMovement(c.moves);
        for(int i = 0; i != 100; ++i) fly.update(0.05f);
        EXPECT_LT(glm::length(fly.velocity() - c.direction*2.0f), 1e-3f) << c.name;
    }
}

TEST(FlyControllerTest, SpeedBounds) {
    FlyController fly;
    // A NaN keeps the speed before it.
    const std::pair<float, float> cases[]{{-5.0f, 0.1f}, {1000.0f, 100.0f}, {3.0f, 3.0f}, {NAN, 3.0f}};
    for(const auto& [requested, expected]: cases) {
        fly.setSpeed(requested);
        EXPECT_FLOAT_EQ(fly.speed(), expected) << requested;
    }
}

TEST(FlyControllerTest, ResetTakesThePoseAndStops) {
    FlyController fly;
    fly.startMovement(FlyController::Forward);
    fly.update(0.5f);
    const DualQuaternion camera = DualQuaternion::fromRotationTranslation(yawPitch(-70.0f, 25.0f), {7, 8, 9});
    fly.reset(camera);
    EXPECT_EQ(fly.movement(), 0);
    const DualQuaternion pose = fly.update(0.2f);
    EXPECT_LT(glm::length(pose.translation() - Vector3{7, 8, 9}), 1e-5f);
    EXPECT_LT(rotationDifference(pose.rotation(), camera.rotation()), 1e-6f);
}

TEST(FlyControllerTest, LookSourceTurnsTheCamera) {
    FlyController fly;
    std::optional<Vector2> pointer;
    fly.setLookSource([&] { return pointer; });
    fly.setLookSensitivity(0.01f);
    pointer = Vector2{100.0f, 100.0f};
    fly.update(0.01f);
    const Quaternion start = fly.rotation();
    EXPECT_LT(rotationDifference(start, Quaternion{1, 0, 0, 0}), 1e-6f) << "the first sample only anchors";
    pointer = Vector2{110.0f, 100.0f};
    fly.update(0.01f);
    // Pointer to the right turns right: yaw decreases.
    EXPECT_LT(rotationDifference(fly.rotation(), yawPitch(toDegrees(-0.1f), 0.0f)), 1e-6f);
    // Releasing the look and pressing again elsewhere does not jump.
    pointer.reset();
    fly.update(0.01f);
    pointer = Vector2{500.0f, 500.0f};
    fly.update(0.01f);
    EXPECT_LT(rotationDifference(fly.rotation(), yawPitch(toDegrees(-0.1f), 0.0f)), 1e-6f);
}

}
