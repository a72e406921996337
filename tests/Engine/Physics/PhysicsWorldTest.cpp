#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>

#include "Engine/Physics/PhysicsWorld.h"
#include "Gfx/Log.h"

using namespace ArdentisEngine;
using namespace ArdentisEngine::Data;

namespace {

// Failures name the case instead of dumping its bytes.
template<class T> requires requires(const T& t) { t.name; }
void PrintTo(const T& value, std::ostream* out) { *out << value.name; }

DualQuaternion at(const Vector3& t, const Quaternion& r = Quaternion{1, 0, 0, 0}) {
    return DualQuaternion::fromRotationTranslation(r, t);
}

RigidBody body(BodyType type, CollisionShape shape, float mass = 1.0f) {
    RigidBody b;
    b.type = type;
    b.shape = std::move(shape);
    b.mass = mass;
    return b;
}

std::vector<Vector3> cubePoints(float h) {
    std::vector<Vector3> p;
    for(int i = 0; i != 8; ++i)
        p.push_back({i & 1 ? h : -h, i & 2 ? h : -h, i & 4 ? h : -h});
    return p;
}

// A 20x20 floor of two triangles at y = 0, facing up.
CollisionShape floorMesh() {
    return CollisionShape::triangleMesh({{-10, 0, -10}, {10, 0, -10}, {10, 0, 10}, {-10, 0, 10}}, {0, 2, 1, 0, 3, 2});
}

void simulate(PhysicsWorld& world, float seconds) {
    for(float t = 0.0f; t < seconds; t += 1.0f/60.0f) world.step(1.0f/60.0f);
}

struct DropCase {
    const char* name;
    CollisionShape floor;
    DualQuaternion floorPose;
    CollisionShape falling;
    Vector3 fallingScaling;
    float restHeight;  // of the falling body's origin
};

const DropCase DropCases[] = {
    {"ScaledBoxOnBox", CollisionShape::box({5, 0.5f, 5}), at({0, -0.5f, 0}), CollisionShape::box(Vector3{0.5f}), Vector3{2}, 1.0f},
    {"SphereOnRaisedMesh", floorMesh(), at({0, 2, 0}), CollisionShape::sphere(0.5f), Vector3{1}, 2.5f},
};

class PhysicsDrop: public testing::TestWithParam<DropCase> {};

TEST_P(PhysicsDrop, ComesToRestOnFloor) {
    const DropCase& data = GetParam();
    PhysicsWorld world;
    const auto floor = world.addBody(body(BodyType::Static, data.floor), data.floorPose);
    const auto falling = world.addBody(body(BodyType::Dynamic, data.falling), at({0.1f, data.restHeight + 3.0f, -0.2f}),
        data.fallingScaling);
    ASSERT_TRUE(floor && falling);

    simulate(world, 4.0f);

    const DualQuaternion pose = world.pose(*falling);
    EXPECT_NEAR(pose.translation().y, data.restHeight, 0.03f);
    EXPECT_NEAR(pose.translation().x, 0.1f, 0.05f);
    EXPECT_NEAR(pose.translation().z, -0.2f, 0.05f);
    EXPECT_LT(glm::length(world.linearVelocity(*falling)), 0.05f);
    // The floor does not move.
    EXPECT_NEAR(glm::distance(world.pose(*floor).translation(), data.floorPose.translation()), 0.0f, 1e-6f);
}

INSTANTIATE_TEST_SUITE_P(PhysicsWorld, PhysicsDrop, testing::ValuesIn(DropCases),
    [](const auto& info) { return std::string{info.param.name}; });

TEST(PhysicsWorld, StepsOnlyWhatTimeAllows) {
    PhysicsWorld world;
    const auto b = world.addBody(body(BodyType::Dynamic, CollisionShape::sphere(0.5f)), at({0, 10, 0}));
    for(float dt: {0.0f, -1.0f, NAN, INFINITY})
        EXPECT_EQ(world.step(dt), 0) << dt;
    EXPECT_EQ(world.pose(*b).translation(), Vector3(0, 10, 0));
    // A hitch must not make the next frame simulate for ever; the lost time is dropped.
    EXPECT_EQ(world.step(2.0f), PhysicsWorld::MaxSubSteps);
    EXPECT_NEAR(world.simulatedTime(), PhysicsWorld::MaxSubSteps*PhysicsWorld::FixedStep, 1e-6);
    EXPECT_NEAR(world.linearVelocity(*b).y, -9.81f*PhysicsWorld::MaxSubSteps*PhysicsWorld::FixedStep, 1e-3f);
}

TEST(PhysicsWorld, SetPoseRescalesAndKeepsMotionOnlyWhenAsked) {
    PhysicsWorld world;
    const auto floor = world.addBody(body(BodyType::Static, CollisionShape::box({5, 0.5f, 5})), at({0, -0.5f, 0}));
    const auto a = world.addBody(body(BodyType::Dynamic, CollisionShape::box(Vector3{0.5f})), at({-2, 5, 0}));
    const auto b = world.addBody(body(BodyType::Dynamic, CollisionShape::box(Vector3{0.5f})), at({2, 5, 0}));
    world.step(0.25f);
    const Vector3 bVelocity = world.linearVelocity(*b);
    world.setPose(*a, at({-3, 7, 1}, glm::angleAxis(0.5f, Vector3{0, 1, 0})), Vector3{1}, true);
    world.setPose(*b, at({2, 9, 0}), Vector3{1}, false);
    world.setPose(*floor, at({0, -1, 0}), Vector3{2, 1, 2}, true);
    EXPECT_EQ(world.linearVelocity(*a), Vector3(0));
    EXPECT_EQ(world.linearVelocity(*b), bVelocity);
    EXPECT_EQ(world.scaling(*floor), Vector3(2, 1, 2));
    // A scaling that collapses the shape is refused; the pose still applies.
    Log::Capture errors{Log::Channel::Error};
    world.setPose(*b, at({2, 5, 0}), {NAN, 1, 1}, true);
    EXPECT_TRUE(errors.contains("scaling (nan, 1, 1) collapses its shape, keeping (1, 1, 1)")) << errors.text();
    EXPECT_EQ(world.scaling(*b), Vector3(1));
    EXPECT_NEAR(world.pose(*b).translation().y, 5.0f, 1e-6f);
    // A placed body falls again from its new place; the rescaled floor (top at y = -0.5) catches it.
    simulate(world, 4.0f);
    EXPECT_NEAR(world.pose(*a).translation().y, 0.0f, 0.03f);
}

TEST(PhysicsWorld, DynamicTriangleMeshStaysStatic) {
    PhysicsWorld world;
    Log::Capture errors{Log::Channel::Error};
    const auto mesh = world.addBody(body(BodyType::Dynamic, floorMesh()), at({0, 3, 0}), Vector3{1}, "Terrain");
    ASSERT_TRUE(mesh);
    EXPECT_TRUE(errors.contains("Physics body Terrain: a triangle mesh cannot be simulated as dynamic, it stays static"));
    EXPECT_EQ(world.description(*mesh).type, BodyType::Dynamic);
    EXPECT_EQ(world.simulatedType(*mesh), BodyType::Static);
}

struct InvalidCase {
    const char* name;
    RigidBody body;
    const char* message;
};

class PhysicsInvalidBody: public testing::TestWithParam<InvalidCase> {};

TEST_P(PhysicsInvalidBody, IsRejectedWithOneLine) {
    const InvalidCase& data = GetParam();
    PhysicsWorld world;
    Log::Capture errors{Log::Channel::Error};
    EXPECT_FALSE(world.addBody(data.body, at({0, 0, 0}), Vector3{1}, "Thing"));
    EXPECT_EQ(errors.text().rfind("Physics body Thing: ", 0), 0u) << errors.text();
    EXPECT_TRUE(errors.contains(data.message)) << errors.text();
    EXPECT_EQ(std::count(errors.text().begin(), errors.text().end(), '\n'), 1);
    EXPECT_EQ(world.bodyCount(), 0u);
}

INSTANTIATE_TEST_SUITE_P(PhysicsWorld, PhysicsInvalidBody, testing::Values(
    InvalidCase{"FlatBox", body(BodyType::Static, CollisionShape::box({1, 0, 1})), "box half extents (1, 0, 1) must be positive"},
    InvalidCase{"HullOfThree", body(BodyType::Static, CollisionShape::convexHull({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}})), "convex hull needs at least 4 points, has 3"},
    InvalidCase{"MasslessDynamic", body(BodyType::Dynamic, CollisionShape::sphere(1), 0.0f), "dynamic body mass 0 must be positive"},
    InvalidCase{"NonFiniteHullPoint", body(BodyType::Static, CollisionShape::convexHull({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, NAN}})), "non-finite point"}),
    [](const auto& info) { return std::string{info.param.name}; });

TEST(PhysicsWorld, CollapsingScalingIsRefused) {
    PhysicsWorld world;
    Log::Capture errors{Log::Channel::Error};
    EXPECT_FALSE(world.addBody(body(BodyType::Dynamic, CollisionShape::box(Vector3{1})), at({0, 0, 0}), {1, 0, 1}, "Flat"));
    EXPECT_TRUE(errors.contains("Physics body Flat: scaling (1, 0, 1) collapses its shape"));
}

// Distance of a local-space point from the surface of each shape.
float boxDistance(const Vector3& p, const Vector3& h) {
    const Vector3 d = glm::abs(p) - h;
    const float outside = glm::length(glm::max(d, Vector3{0}));
    return outside > 0 ? outside : -std::max({d.x, d.y, d.z});
}

float segmentDistance(const Vector3& p, const Vector3& a, const Vector3& b) {
    const float t = std::clamp(glm::dot(p - a, b - a)/glm::dot(b - a, b - a), 0.0f, 1.0f);
    return glm::distance(p, a + (b - a)*t);
}

struct LinesCase {
    const char* name;
    BodyType type;
    CollisionShape shape;
    Vector3 scaling;
    // Distance of a point in the shape's unscaled local space from its surface.
    std::function<float(const Vector3&)> distance;
    Color4 color;
};

const LinesCase LinesCases[] = {
    {"ScaledBox", BodyType::Dynamic, CollisionShape::box({1, 2, 3}), Vector3{2, 1, 0.5f},
        [](const Vector3& p) { return boxDistance(p, {2, 2, 1.5f}); }, PhysicsWorld::DynamicColor},
    {"Sphere", BodyType::Kinematic, CollisionShape::sphere(1.5f), Vector3{1},
        [](const Vector3& p) { return std::abs(glm::length(p) - 1.5f); }, PhysicsWorld::KinematicColor},
    {"Capsule", BodyType::Dynamic, CollisionShape::capsule(0.5f, 2.0f), Vector3{1},
        [](const Vector3& p) { return std::abs(segmentDistance(p, {0, -1, 0}, {0, 1, 0}) - 0.5f); }, PhysicsWorld::DynamicColor},
    // A cube hull scaled to half extents 1; the floor mesh scaled to a 10x10 square.
    {"ScaledConvexHull", BodyType::Dynamic, CollisionShape::convexHull(cubePoints(0.5f)), Vector3{2},
        [](const Vector3& p) { return boxDistance(p, Vector3{1}); }, PhysicsWorld::DynamicColor},
    {"ScaledTriangleMesh", BodyType::Static, floorMesh(), Vector3{0.5f, 1, 0.5f},
        [](const Vector3& p) { return std::abs(p.y) + std::max(0.0f, std::max(std::abs(p.x), std::abs(p.z)) - 5.0f); },
        PhysicsWorld::StaticColor},
};

class PhysicsDebugLines: public testing::TestWithParam<LinesCase> {};

TEST_P(PhysicsDebugLines, LieOnTheShape) {
    const LinesCase& data = GetParam();
    PhysicsWorld world;
    const DualQuaternion pose = at({3, -2, 5}, glm::angleAxis(0.7f, glm::normalize(Vector3{1, 1, 0})));
    const auto b = world.addBody(body(data.type, data.shape), pose, data.scaling);
    ASSERT_TRUE(b);

    DebugLines lines;
    world.debugLines(lines);
    ASSERT_GE(lines.segmentCount(), 4u);
    ASSERT_EQ(lines.colors.size(), lines.positions.size());
    const DualQuaternion toLocal = pose.inverted();
    float worst = 0.0f;
    Vector3 low{INFINITY}, high{-INFINITY};
    for(std::size_t i = 0; i != lines.positions.size(); ++i) {
        const Vector3 local = toLocal.transformPoint(lines.positions[i]);
        worst = std::max(worst, data.distance(local));
        low = glm::min(low, local);
        high = glm::max(high, local);
        EXPECT_EQ(lines.colors[i], data.color);
    }
    // Bullet draws convex hulls with their (small) margin ignored; 1e-3 covers float round-off.
    EXPECT_LT(worst, 1e-3f);
    // And the lines cover the shape, not one corner of it.
    EXPECT_GT(glm::length(high - low), 1.0f);
}

INSTANTIATE_TEST_SUITE_P(PhysicsWorld, PhysicsDebugLines, testing::ValuesIn(LinesCases),
    [](const auto& info) { return std::string{info.param.name}; });

}
