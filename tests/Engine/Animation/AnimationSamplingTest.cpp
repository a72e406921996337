#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "Engine/Animation/AnimationData.h"

using namespace ArdentisEngine;
using namespace ArdentisEngine::Data;

namespace {

// Keys at 1 s (0,0,0), 2 s (10,0,0) and 4 s (10,20,0).
KeyTrack threeKeys(Interpolation interpolation) {
    return translationTrack(0, {1.0f, 2.0f, 4.0f},
        {{0, 0, 0}, {10, 0, 0}, {10, 20, 0}}, interpolation).keys;
}

struct Vector3Case {
    const char* name;
    Interpolation interpolation;
    float time;
    Vector3 expected;
};
// Failures name the case instead of dumping its bytes.
template<class T> requires requires(const T& t) { t.name; }
void PrintTo(const T& value, std::ostream* out) { *out << value.name; }

const Vector3Case Vector3Cases[] = {
    {"BeforeFirstKey", Interpolation::Linear, -3.0f, {0, 0, 0}},
    {"OnLastKey", Interpolation::Linear, 4.0f, {10, 20, 0}},
    {"BetweenFirstKeys", Interpolation::Linear, 1.25f, {2.5f, 0, 0}},
    {"NotANumberClampsToFirst", Interpolation::Linear, std::numeric_limits<float>::quiet_NaN(), {0, 0, 0}},
    {"StepHoldsPreviousKey", Interpolation::Step, 1.99f, {0, 0, 0}},
    {"StepOnKeyTakesIt", Interpolation::Step, 2.0f, {10, 0, 0}},
};

class Vector3Sampling: public testing::TestWithParam<Vector3Case> {};

TEST_P(Vector3Sampling, MatchesExpected) {
    const Vector3Case& data = GetParam();
    const auto v = sampleVector3(threeKeys(data.interpolation), data.time);
    ASSERT_TRUE(v);
    EXPECT_NEAR(v->x, data.expected.x, 1e-5f);
    EXPECT_NEAR(v->y, data.expected.y, 1e-5f);
    EXPECT_NEAR(v->z, data.expected.z, 1e-5f);
}

INSTANTIATE_TEST_SUITE_P(AnimationSampling, Vector3Sampling, testing::ValuesIn(Vector3Cases),
    [](const auto& info) { return std::string{info.param.name}; });

TEST(AnimationSampling, EmptyOrMismatchedTrackYieldsNothing) {
    EXPECT_FALSE(sampleVector3(translationTrack(0, {}, {}).keys, 0.0f));
    EXPECT_FALSE(sampleQuaternion(rotationTrack(0, {}, {}).keys, 1.0f));
    float w[2] = {7.0f, 7.0f};
    EXPECT_FALSE(sampleWeights(weightsTrack(0, {}, 2, {}).keys, 0.5f, w));
    EXPECT_EQ(w[0], 7.0f);
    // Three components can't be a rotation.
    EXPECT_FALSE(sampleQuaternion(translationTrack(0, {0.0f}, {{1, 2, 3}}).keys, 0.0f));
}

TEST(AnimationSampling, SingleOrCoincidentKeysHoldWithoutDividingByZero) {
    const KeyTrack one = scalingTrack(0, {2.0f}, {{1, 2, 3}}).keys;
    for(float time: {-1.0f, 2.0f, 9.0f}) EXPECT_EQ(sampleVector3(one, time), Vector3(1, 2, 3)) << time;
    // Two keys at one time describe a discontinuity: after it the second value holds.
    const KeyTrack jump = translationTrack(0, {0.0f, 1.0f, 1.0f, 2.0f},
        {{0, 0, 0}, {1, 0, 0}, {5, 0, 0}, {6, 0, 0}}).keys;
    EXPECT_NEAR(sampleVector3(jump, 0.5f)->x, 0.5f, 1e-6f);
    EXPECT_NEAR(sampleVector3(jump, 1.0f)->x, 5.0f, 1e-6f);
    EXPECT_NEAR(sampleVector3(jump, 1.5f)->x, 5.5f, 1e-6f);
}

float angleBetween(const Quaternion& a, const Quaternion& b) {
    return 2.0f*std::acos(std::min(1.0f, std::abs(glm::dot(a, b))));
}

TEST(AnimationSampling, RotationTakesShortPath) {
    // 170 degrees about Y, then 190 degrees stored as -q: the short arc is 20 degrees (via 180),
    // interpolating the stored components as they are would sweep the other 340.
    const Vector3 axis{0, 1, 0};
    const Quaternion a = glm::angleAxis(toRadians(170.0f), axis);
    const Quaternion b = -glm::angleAxis(toRadians(190.0f), axis);
    ASSERT_LT(glm::dot(a, b), 0.0f);  // the stored pair really lies in opposite hemispheres
    const KeyTrack track = rotationTrack(0, {0.0f, 1.0f}, {a, b}).keys;

    const auto half = sampleQuaternion(track, 0.5f);
    ASSERT_TRUE(half);
    EXPECT_NEAR(toDegrees(angleBetween(*half, glm::angleAxis(Pi, axis))), 0.0f, 0.05f);
    // Every sample stays within the 20 degree arc.
    for(float t = 0.0f; t <= 1.0f; t += 0.125f)
        EXPECT_LE(toDegrees(angleBetween(*sampleQuaternion(track, t), a)), 20.05f) << t;
    EXPECT_NEAR(glm::length(*half), 1.0f, 1e-5f);
}

struct ValidateCase {
    const char* name;
    KeyTrack keys;
    const char* problem;  // nullptr: valid
};

class KeyValidation: public testing::TestWithParam<ValidateCase> {};

TEST_P(KeyValidation, ReportsProblem) {
    const ValidateCase& data = GetParam();
    const std::string problem = data.keys.validate();
    if(!data.problem) EXPECT_EQ(problem, "");
    else EXPECT_NE(problem.find(data.problem), std::string::npos) << problem;
}

INSTANTIATE_TEST_SUITE_P(AnimationSampling, KeyValidation, testing::Values(
    ValidateCase{"EmptyIsValid", {Interpolation::Linear, 3, {}, {}}, nullptr},
    ValidateCase{"Decreasing", {Interpolation::Linear, 1, {0, 2, 1}, {0, 0, 0}}, "key 2 at 1s comes before"},
    ValidateCase{"Infinite", {Interpolation::Linear, 1, {0, INFINITY}, {0, 0}}, "non-finite"},
    ValidateCase{"NoComponents", {Interpolation::Linear, 0, {0}, {}}, "no components"}),
    [](const auto& info) { return std::string{info.param.name}; });

}
