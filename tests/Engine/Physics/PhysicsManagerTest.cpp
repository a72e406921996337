#include <gtest/gtest.h>

#include <random>

#include "Engine/Physics/PhysicsManager.h"
#include "Engine/SceneGraph.h"
#include "Gfx/Log.h"

using namespace ArdentisEngine;
using namespace ArdentisEngine::Data;

namespace {

RigidBody body(BodyType type, CollisionShape shape) {
    RigidBody b;
    b.type = type;
    b.shape = std::move(shape);
    return b;
}

// A floor whose top is at y = 0 and two unit boxes above it, one of them under a moved and scaled
// parent.
struct Scene {
    SceneGraph graph{16};
    PhysicsManager physics{8};
    Id floor, box, holder, held;
    Id floorBody, boxBody, heldBody;

    Scene() {
        graph.setComponentManager(physics);
        floor = graph.addObject();
        graph.setLocalTransformation(floor, DualQuaternion::translation({0, -0.5f, 0}));
        box = graph.addObject();
        graph.setLocalTransformation(box, DualQuaternion::translation({-2, 3, 0}));
        holder = graph.addObject();
        graph.setLocalTransformation(holder, DualQuaternion::fromRotationTranslation(
            glm::angleAxis(0.5f, Vector3{0, 1, 0}), {3, 1, 0}));
        graph.setLocalScaling(holder, Vector3{2});
        held = graph.addObject(holder);
        graph.setLocalTransformation(held, DualQuaternion::translation({0, 1, 0}));
        graph.setLocalScaling(held, Vector3{0.5f});

        floorBody = physics.addComponent(floor);
        boxBody = physics.addComponent(box);
        heldBody = physics.addComponent(held);
        EXPECT_TRUE(physics.setBody(floorBody, body(BodyType::Static, CollisionShape::box({10, 0.5f, 10}))));
        EXPECT_TRUE(physics.setBody(boxBody, body(BodyType::Dynamic, CollisionShape::box(Vector3{0.5f}))));
        EXPECT_TRUE(physics.setBody(heldBody, body(BodyType::Dynamic, CollisionShape::box(Vector3{0.5f}))));
        graph.computeAbsoluteTransformations();
        physics.activateInScene();
    }

    void run(float seconds) {
        for(float t = 0.0f; t < seconds; t += 1.0f/60.0f) {
            physics.update(1.0/60.0);
            graph.computeAbsoluteTransformations();
        }
    }
};

TEST(PhysicsManager, DroppedBoxesComeToRestOnFloor) {
    Scene s;
    EXPECT_EQ(s.physics.world().bodyCount(), 3u);
    s.run(4.0f);
    // The graph carries the simulated poses, the held box relative to its scaled, turned parent.
    EXPECT_NEAR(s.graph.localTransformation(s.box).translation().y, 0.5f, 0.03f);
    EXPECT_NEAR(s.graph.localTransformation(s.box).translation().x, -2.0f, 0.03f);
    EXPECT_LT(glm::length(s.physics.world().linearVelocity(*s.physics.worldHandle(s.boxBody))), 0.05f);

    const DualQuaternion held = s.graph.absoluteTransformation(s.held);
    // Held box: parent scaling 2 x own 0.5 makes it a unit cube again, resting at y = 0.5.
    EXPECT_NEAR(held.translation().y, 0.5f, 0.03f);
    // Its local translation is in the parent's scaled space: 0.5 below the parent's origin at y = 1
    // is -0.25 in parent units.
    EXPECT_NEAR(s.graph.localTransformation(s.held).translation().y, -0.25f, 0.02f);
    // The floor stays.
    EXPECT_EQ(s.graph.localTransformation(s.floor).translation(), Vector3(0, -0.5f, 0));

    // Once everything sleeps, a step changes nothing in the graph.
    s.run(2.0f);
    s.graph.resetChanged();
    s.physics.update(1.0/60.0);
    s.graph.computeAbsoluteTransformations();
    EXPECT_FALSE(s.graph.isChanged(s.box));
    EXPECT_FALSE(s.graph.isChanged(s.held));
}

TEST(PhysicsManager, DynamicChildOfDynamicParentMatchesItsBody) {
    Scene s;
    // The holder gets a body after its child: component order is not graph order.
    const Id holderBody = s.physics.addComponent(s.holder);
    s.physics.setBody(holderBody, body(BodyType::Dynamic, CollisionShape::box(Vector3{0.5f})));
    s.physics.activate(holderBody);
    for(int i = 0; i != 90; ++i) {
        s.run(1.0f/60.0f);
        for(Id c: {holderBody, s.heldBody}) {
            const DualQuaternion expected = s.physics.world().pose(*s.physics.worldHandle(c));
            const DualQuaternion actual = s.graph.absoluteTransformation(s.physics.objectOf(c));
            ASSERT_NEAR(glm::distance(actual.translation(), expected.translation()), 0.0f, 1e-4f) << i;
            ASSERT_NEAR(std::abs(glm::dot(actual.rotation(), expected.rotation())), 1.0f, 1e-5f) << i;
        }
    }
}

TEST(PhysicsManager, SimulatedObjectsAreThoseWithActiveDynamicBodies) {
    Scene s;
    EXPECT_TRUE(s.physics.isSimulated(s.box));
    EXPECT_TRUE(s.physics.isSimulated(s.held));
    EXPECT_FALSE(s.physics.isSimulated(s.floor));
    EXPECT_FALSE(s.physics.isSimulated(s.holder));  // no body
    EXPECT_FALSE(s.physics.isSimulated(200));        // no object
    s.physics.deactivate(s.heldBody);
    EXPECT_FALSE(s.physics.isSimulated(s.held));
    EXPECT_NE(s.physics.body(s.heldBody), nullptr) << "the description outlives the body";
    // A refused body leaves the old one in place.
    Log::Capture errors{Log::Channel::Error};
    EXPECT_FALSE(s.physics.setBody(s.boxBody, body(BodyType::Dynamic, CollisionShape::sphere(0.0f))));
    EXPECT_TRUE(errors.contains("Physics body of object 2: sphere radius 0 must be positive")) << errors.text();
    EXPECT_EQ(s.physics.body(s.boxBody)->shape.type, ShapeType::Box);
    // A kinematic body is not simulated: it follows the graph.
    EXPECT_TRUE(s.physics.setBody(s.boxBody, body(BodyType::Kinematic, CollisionShape::box(Vector3{0.5f}))));
    EXPECT_FALSE(s.physics.isSimulated(s.box));
    s.graph.setLocalTransformation(s.box, DualQuaternion::translation({1, 2, 3}));
    s.run(0.1f);
    EXPECT_NEAR(glm::distance(s.physics.world().pose(*s.physics.worldHandle(s.boxBody)).translation(), Vector3(1, 2, 3)), 0.0f, 1e-5f);
    EXPECT_EQ(s.graph.localTransformation(s.box).translation(), Vector3(1, 2, 3));
}

TEST(PhysicsManager, FalseUpdatePlacesMovedBodiesWithoutTime) {
    Scene s;
    s.run(0.5f);  // both boxes in mid-fall
    const std::uint32_t boxHandle = *s.physics.worldHandle(s.boxBody);
    const std::uint32_t heldHandle = *s.physics.worldHandle(s.heldBody);
    const DualQuaternion heldBefore = s.physics.world().pose(heldHandle);
    const Vector3 heldVelocity = s.physics.world().linearVelocity(heldHandle);
    ASSERT_LT(heldVelocity.y, -1.0f);
    const double time = s.physics.world().simulatedTime();

    s.graph.setLocalTransformation(s.box, DualQuaternion::translation({5, 8, -1}));
    s.graph.setLocalTransformation(s.floor, DualQuaternion::translation({0, -2.5f, 0}));
    s.physics.doFalseUpdate();

    EXPECT_EQ(s.physics.world().simulatedTime(), time);
    EXPECT_NEAR(glm::distance(s.physics.world().pose(boxHandle).translation(), Vector3(5, 8, -1)), 0.0f, 1e-5f);
    EXPECT_EQ(s.physics.world().linearVelocity(boxHandle), Vector3(0));
    EXPECT_NEAR(s.physics.world().pose(*s.physics.worldHandle(s.floorBody)).translation().y, -2.5f, 1e-5f);
    // The untouched box neither moved nor lost its speed.
    EXPECT_EQ(s.physics.world().pose(heldHandle), heldBefore);
    EXPECT_EQ(s.physics.world().linearVelocity(heldHandle), heldVelocity);

}

TEST(PhysicsManager, ResetReturnsToAuthoredPoses) {
    Scene s;
    const DualQuaternion boxAuthored = s.graph.localTransformation(s.box);
    const DualQuaternion heldAuthored = s.graph.localTransformation(s.held);
    s.run(2.0f);
    ASSERT_LT(s.graph.localTransformation(s.box).translation().y, 1.0f);

    s.physics.resetToAuthoredPoses();
    EXPECT_EQ(s.graph.localTransformation(s.box), boxAuthored);
    EXPECT_EQ(s.graph.localTransformation(s.held), heldAuthored);
    const std::uint32_t boxHandle = *s.physics.worldHandle(s.boxBody);
    EXPECT_NEAR(glm::distance(s.physics.world().pose(boxHandle).translation(), Vector3(-2, 3, 0)), 0.0f, 1e-5f);
    EXPECT_EQ(s.physics.world().linearVelocity(boxHandle), Vector3(0));

    // What the host does when simulation stops: put the objects back, activate, false update.
    // The poses it activates with are the authored ones from then on.
    s.graph.setLocalTransformation(s.box, DualQuaternion::translation({0, 6, 0}));
    s.physics.activateInScene();
    s.physics.doFalseUpdate();
    s.run(0.5f);
    s.physics.resetToAuthoredPoses();
    EXPECT_NEAR(glm::distance(s.graph.localTransformation(s.box).translation(), Vector3(0, 6, 0)), 0.0f, 1e-6f);
}

TEST(PhysicsManager, RandomEditsKeepOneBodyPerActiveDescribedComponent) {
    // Oracle: a body exists exactly for active components with a description, at the object's pose.
    std::mt19937 random{7};
    SceneGraph graph{64};
    PhysicsManager physics{64};
    graph.setComponentManager(physics);
    std::vector<Id> objects;
    std::size_t most = 0;  // bodies at once, to show the sequence is not trivially empty
    const auto pick = [&](auto& list) { return list[std::uniform_int_distribution<std::size_t>{0, list.size() - 1}(random)]; };

    for(int step = 0; step != 600; ++step) {
        std::vector<Id> components;
        for(std::size_t i = 0; i != physics.size(); ++i) components.push_back(physics.component(i));
        // Growing operations more often than shrinking ones, so the scene fills up.
        switch(std::discrete_distribution<int>{3, 3, 3, 3, 1, 1, 1, 1}(random)) {
            case 0: {
                const Id parent = objects.empty() || random() % 3 == 0 ? SceneGraph::Root : pick(objects);
                const Id o = graph.addObject(parent);
                if(o != InvalidId) {
                    graph.setLocalTransformation(o, DualQuaternion::translation({float(random() % 7), float(random() % 5), 0}));
                    objects.push_back(o);
                }
                break;
            }
            case 1:
                if(!objects.empty()) physics.addComponent(pick(objects));
                break;
            case 2:
                if(!components.empty()) physics.setBody(pick(components), body(random() % 2 ? BodyType::Dynamic : BodyType::Static,
                    random() % 2 ? CollisionShape::sphere(0.5f) : CollisionShape::box(Vector3{0.5f})));
                break;
            case 3:
                if(!components.empty()) physics.activate(pick(components));
                break;
            case 4:
                if(!components.empty()) physics.deactivate(pick(components));
                break;
            case 5:
                if(!components.empty()) physics.removeComponent(pick(components));
                break;
            case 6:
                if(!objects.empty()) {
                    graph.removeObject(pick(objects));
                    std::erase_if(objects, [&](Id o) { return !graph.isValid(o); });
                }
                break;
            case 7:
                if(!objects.empty()) graph.setLocalTransformation(pick(objects), DualQuaternion::translation({0, 9, float(step)}));
                physics.doFalseUpdate();
                break;
        }

        std::size_t expected = 0;
        for(std::size_t i = 0; i != physics.size(); ++i) {
            const Id c = physics.component(i);
            const bool shouldExist = physics.isActive(c) && physics.body(c);
            ASSERT_EQ(bool(physics.worldHandle(c)), shouldExist) << "step " << step << " component " << c;
            expected += shouldExist;
        }
        ASSERT_EQ(physics.world().bodyCount(), expected) << "step " << step;
        most = std::max(most, expected);
    }
    EXPECT_GE(most, 10u);

}

}
