#include <gtest/gtest.h>

#include "Engine/Animation/AnimationManager.h"
#include "Engine/MeshManager.h"
#include "Engine/SceneGraph.h"
#include "Gfx/Log.h"

using namespace ArdentisEngine;
using namespace ArdentisEngine::Data;

namespace {

// Target 0 moves along x from 0 to 4 over 2 s; target 1 turns 90 degrees about z and scales.
std::shared_ptr<RuntimeAnimation> twoTargets() {
    AnimationData data;
    data.tracks.push_back(translationTrack(0, {0.0f, 2.0f}, {{0, 0, 0}, {4, 0, 0}}));
    data.tracks.push_back(rotationTrack(1, {0.0f, 2.0f}, {Quaternion{1, 0, 0, 0}, glm::angleAxis(Pi/2, Vector3{0, 0, 1})}));
    data.tracks.push_back(scalingTrack(1, {0.0f, 2.0f}, {{1, 1, 1}, {3, 3, 3}}));
    data.tracks.push_back(weightsTrack(1, {0.0f, 2.0f}, 2, {0, 1, 1, 0}));
    auto [runtime, ids] = convertToRuntimeAnimation(data, std::vector<std::uint16_t>{0, 1, 1, 1});
    return std::make_shared<RuntimeAnimation>(std::move(runtime));
}

struct Fixture {
    SceneGraph graph{16};
    AnimationManager manager{4};
    Id parent, child, component;

    Fixture() {
        graph.setComponentManager(manager);
        parent = graph.addObject();
        child = graph.addObject(parent);
        // The child rests 1 up from its parent; the animation only turns and scales it.
        graph.setLocalTransformation(child, DualQuaternion::translation({0, 1, 0}));
        component = manager.addComponent(parent);
        manager.activate(component);
        EXPECT_TRUE(manager.setAnimation(component, twoTargets(), {parent, child}));
    }
};

struct PlaybackCase {
    const char* name;
    bool loop;
    float speed;
    std::vector<double> steps;
    float expectedTime;
    bool expectedPlaying;
};
void PrintTo(const PlaybackCase& c, std::ostream* os) { *os << c.name; }

const PlaybackCase PlaybackCases[] = {
    {"LoopWrapsBackwards", true, -1.0f, {0.5}, 1.5f, true},
    {"LoopWrapsAtHalfSpeed", true, 0.5f, {3.0, 2.0}, 0.5f, true},
    {"OnceReachingEndExactlyStops", false, 1.0f, {2.0}, 2.0f, false},
    {"OnceBackwardsStopsAtStart", false, -2.0f, {0.25}, 0.0f, false},
    {"ZeroSpeedStays", false, 0.0f, {1.0}, 0.0f, true},
};

class AnimationPlayback: public testing::TestWithParam<PlaybackCase> {};

TEST_P(AnimationPlayback, TimeAndPlayingFlag) {
    const PlaybackCase& data = GetParam();
    Fixture f;
    f.manager.setLoop(f.component, data.loop);
    f.manager.setSpeed(f.component, data.speed);
    f.manager.play(f.component);
    for(double dt: data.steps) f.manager.update(dt);
    EXPECT_NEAR(f.manager.time(f.component), data.expectedTime, 1e-5f);
    EXPECT_EQ(f.manager.isPlaying(f.component), data.expectedPlaying);
    // The graph shows the pose of that time.
    EXPECT_NEAR(f.graph.localTransformation(f.parent).translation().x, 2.0f*data.expectedTime, 1e-4f);
}

INSTANTIATE_TEST_SUITE_P(AnimationManager, AnimationPlayback, testing::ValuesIn(PlaybackCases),
    [](const auto& info) { return std::string{info.param.name}; });

TEST(AnimationManager, UpdateWritesPoseAndDirtiesTargets) {
    Fixture f;
    f.graph.computeAbsoluteTransformations();
    f.manager.play(f.component);
    f.manager.update(1.0);
    EXPECT_TRUE(f.graph.isDirty(f.parent));
    EXPECT_TRUE(f.graph.isDirty(f.child));
    f.graph.computeAbsoluteTransformations();

    // Child: its rest translation is kept, rotation is half way (45 degrees), scaling 2.
    const DualQuaternion local = f.graph.localTransformation(f.child);
    EXPECT_NEAR(glm::distance(local.translation(), Vector3(0, 1, 0)), 0.0f, 1e-5f);
    EXPECT_NEAR(std::abs(glm::dot(local.rotation(), glm::angleAxis(Pi/4, Vector3{0, 0, 1}))), 1.0f, 1e-5f);
    EXPECT_EQ(f.graph.localScaling(f.child), Vector3(2));
    // The parent moved 2 along x, so the child's absolute position follows.
    EXPECT_NEAR(glm::distance(f.graph.absoluteTransformation(f.child).translation(), Vector3(2, 1, 0)), 0.0f, 1e-5f);

    ASSERT_EQ(f.manager.sampledWeights(f.component).size(), 1u);
    EXPECT_EQ(f.manager.sampledWeights(f.component)[0].object, f.child);
    EXPECT_NEAR(f.manager.sampledWeights(f.component)[0].weights[0], 0.5f, 1e-6f);
}

TEST(AnimationManager, WeightsReachMeshComponents) {
    Fixture f;
    MeshManager meshes{4};
    f.graph.setComponentManager(meshes);
    const Id two = meshes.addComponent(f.child), one = meshes.addComponent(f.child);
    const Id elsewhere = meshes.addComponent(f.parent);
    meshes.setMorphTargetCount(two, 2);
    meshes.setMorphTargetCount(one, 1);
    meshes.setMorphTargetCount(elsewhere, 2);
    // A mesh with more targets than the animation keeps the weights of the extra ones.
    const Id three = meshes.addComponent(f.child);
    meshes.setMorphTargetCount(three, 3);
    meshes.morphTargetWeights(three)[2] = 0.7f;
    f.manager.setTime(f.component, 0.5f);  // weights (0.25, 0.75)
    EXPECT_NEAR(meshes.morphTargetWeights(two)[0], 0.25f, 1e-6f);
    EXPECT_NEAR(meshes.morphTargetWeights(two)[1], 0.75f, 1e-6f);
    EXPECT_NEAR(meshes.morphTargetWeights(one)[0], 0.25f, 1e-6f);
    EXPECT_EQ(meshes.morphTargetWeights(three)[2], 0.7f);
    EXPECT_EQ(meshes.morphTargetWeights(elsewhere)[0], 0.0f);
}

TEST(AnimationManager, PausedOrInactiveComponentsLeaveGraphAlone) {
    Fixture f;
    f.graph.setLocalTransformation(f.parent, DualQuaternion::translation({7, 7, 7}));
    f.manager.update(0.5);  // not playing
    EXPECT_EQ(f.graph.localTransformation(f.parent).translation(), Vector3(7, 7, 7));
    EXPECT_EQ(f.manager.time(f.component), 0.0f);

    f.manager.play(f.component);
    f.manager.deactivate(f.component);
    f.manager.update(0.5);
    EXPECT_EQ(f.graph.localTransformation(f.parent).translation(), Vector3(7, 7, 7));
    EXPECT_EQ(f.manager.time(f.component), 0.0f);
}

TEST(AnimationManager, BadTargetsAreRefusedOrSkipped) {
    Fixture f;
    Log::Capture errors{Log::Channel::Error};
    EXPECT_FALSE(f.manager.setAnimation(f.component, twoTargets(), {f.parent}));
    EXPECT_TRUE(errors.contains("1 target objects for an animation of 2 targets"));
    // The earlier animation stays, and a target removed from the scene is skipped.
    EXPECT_EQ(f.manager.targets(f.component).size(), 2u);
    f.graph.removeObject(f.child);
    f.manager.play(f.component);
    f.manager.update(1.0);
    EXPECT_NEAR(f.graph.localTransformation(f.parent).translation().x, 2.0f, 1e-5f);
    EXPECT_TRUE(f.manager.sampledWeights(f.component).empty());
    // An animation without targets is harmless and has no length to advance through.
    EXPECT_TRUE(f.manager.setAnimation(f.component, std::make_shared<RuntimeAnimation>(), {}));
    f.manager.play(f.component);
    f.manager.update(1.0);
    EXPECT_EQ(f.manager.time(f.component), 0.0f);
}

// A three-joint arm: root at (1, 0, 0) turned about y, then two joints 1 up each.
struct SkinFixture {
    SceneGraph graph{16};
    AnimationManager manager{1};
    Id joints[3];

    SkinFixture() {
        graph.setComponentManager(manager);
        const DualQuaternion poses[]{
            DualQuaternion::fromRotationTranslation(glm::angleAxis(0.4f, Vector3{0, 1, 0}), {1, 0, 0}),
            DualQuaternion::translation({0, 1, 0}),
            DualQuaternion::fromRotationTranslation(glm::angleAxis(-0.3f, Vector3{1, 0, 0}), {0, 1, 0})};
        for(int j = 0; j != 3; ++j) {
            joints[j] = graph.addObject(j ? joints[j - 1] : SceneGraph::Root);
            graph.setLocalTransformation(joints[j], poses[j]);
        }
        graph.setLocalScaling(joints[0], Vector3{2});
    }

    // Inverse bind matrices taken from the current pose: the bind pose.
    SkinData bindHere() {
        graph.computeAbsoluteTransformations();
        std::vector<Matrix4> inverseBind;
        for(Id j: joints) inverseBind.push_back(glm::inverse(graph.absoluteTransformationAsMatrix(j)));
        return SkinData{{joints[0], joints[1], joints[2]}, inverseBind};
    }
};

void expectIdentity(const Matrix4& m, float tolerance = 1e-5f) {
    for(int c = 0; c != 4; ++c)
        for(int r = 0; r != 4; ++r)
            EXPECT_NEAR(m[c][r], c == r ? 1.0f : 0.0f, tolerance) << c << "," << r;
}

TEST(AnimationManager, JointMatricesFollowMovedJoints) {
    SkinFixture f;
    // A second skin of one joint packs after the first.
    const SkinData skins[] = {f.bindHere(), SkinData{{f.joints[2]}, {glm::inverse(f.graph.absoluteTransformationAsMatrix(f.joints[2]))}}};
    f.manager.updateGraphs(skins);
    ASSERT_EQ(f.manager.jointMatricesData().size(), 4u);
    EXPECT_EQ(f.manager.jointOffset(1), 3u);
    for(const Matrix4& m: f.manager.jointMatricesData()) expectIdentity(m);
    // Move the middle joint; updateGraphs computes absolute transformations itself.
    f.graph.setLocalTransformation(f.joints[1], DualQuaternion::fromRotationTranslation(
        glm::angleAxis(1.0f, Vector3{0, 0, 1}), {0, 1, 0}));
    f.manager.updateGraphs(skins);
    const auto m = f.manager.jointMatrices(0);
    expectIdentity(m[0]);
    for(std::size_t j: {1u, 2u}) {
        const Matrix4 expected = f.graph.absoluteTransformationAsMatrix(f.joints[j])*skins[0].inverseBindMatrices()[j];
        for(int c = 0; c != 4; ++c)
            EXPECT_NEAR(glm::distance(m[j][c], expected[c]), 0.0f, 1e-5f);
    }
}

TEST(AnimationManager, MissingJointStaysUnposedAndIsReportedOnce) {
    SkinFixture f;
    const SkinData skins[] = {f.bindHere()};
    f.graph.removeObject(f.joints[2]);
    Log::Capture errors{Log::Channel::Error};
    f.manager.updateGraphs(skins);
    f.manager.updateGraphs(skins);
    expectIdentity(f.manager.jointMatrices(0)[2]);
    expectIdentity(f.manager.jointMatrices(0)[1]);
    EXPECT_EQ(std::count(errors.text().begin(), errors.text().end(), '\n'), 1) << errors.text();
    EXPECT_TRUE(errors.contains("skin joint 3 is not in the scene"));
}

TEST(AnimationManager, SkinWithMismatchedBindMatricesIsPadded) {
    Log::Capture errors{Log::Channel::Error};
    const SkinData skin{{1, 2, 3}, {Matrix4{2.0f}}, "Arm"};
    EXPECT_TRUE(errors.contains("Skin Arm: 3 joints but 1 inverse bind matrices"));
    ASSERT_EQ(skin.inverseBindMatrices().size(), 3u);
    EXPECT_EQ(skin.inverseBindMatrices()[0], Matrix4{2.0f});
    EXPECT_EQ(skin.inverseBindMatrices()[2], Matrix4{1.0f});
}

}
