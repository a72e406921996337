#include <gtest/gtest.h>

#include "Engine/Animation/RuntimeAnimation.h"
#include "Gfx/Log.h"

using namespace ArdentisEngine;
using namespace ArdentisEngine::Data;

namespace {

// Source file objects 0..3; tracks: 0 T(obj 2), 1 R(obj 2), 2 T(obj 0), 3 S(obj 3), 4 W(obj 2)
AnimationData fiveTracks() {
    AnimationData a;
    a.name = "walk";
    a.tracks.push_back(translationTrack(2, {0.0f, 1.0f}, {{0, 0, 0}, {2, 0, 0}}));
    a.tracks.push_back(rotationTrack(2, {0.0f, 1.0f},
        {Quaternion{1, 0, 0, 0}, glm::angleAxis(Pi/2, Vector3{0, 0, 1})}));
    a.tracks.push_back(translationTrack(0, {0.0f, 3.0f}, {{0, 0, 0}, {0, 3, 0}}));
    a.tracks.push_back(scalingTrack(3, {0.0f}, {{2, 2, 2}}));
    a.tracks.push_back(weightsTrack(2, {0.0f, 1.0f}, 2, {0, 0, 1, 1}));
    return a;
}

struct ConversionCase {
    const char* name;
    std::vector<std::uint16_t> trackObjects;
    std::vector<Id> expectedIds;
    // per expected target: which of translation, rotation, scaling, weights have keys
    std::vector<const char*> expectedProperties;
    bool expectError;
};
// Names the case in failure output instead of dumping its bytes.
void PrintTo(const ConversionCase& c, std::ostream* os) { *os << c.name; }

const ConversionCase ConversionCases[] = {
    {"AllMapped", {7, 7, 5, 9, 7}, {7, 5, 9}, {"TRW", "T", "S"}, false},
    {"UnmappedSkipped", {7, UnmappedTrack, UnmappedTrack, 9, 7}, {7, 9}, {"TW", "S"}, false},
    {"AllUnmapped", {UnmappedTrack, UnmappedTrack, UnmappedTrack, UnmappedTrack, UnmappedTrack}, {}, {}, false},
    {"TooFewTrackObjects", {7, 7}, {7}, {"TR"}, true},
};

class Conversion: public testing::TestWithParam<ConversionCase> {};

TEST_P(Conversion, GroupsTracksPerObject) {
    const ConversionCase& data = GetParam();
    Log::Capture errors{Log::Channel::Error};
    const auto [runtime, ids] = convertToRuntimeAnimation(fiveTracks(), data.trackObjects);
    EXPECT_EQ(ids, data.expectedIds);
    ASSERT_EQ(runtime.targetCount(), data.expectedProperties.size());
    for(std::size_t i = 0; i != runtime.targetCount(); ++i) {
        const TargetTracks& t = runtime.targets[i];
        std::string have;
        if(!t.translation.isEmpty()) have += 'T';
        if(!t.rotation.isEmpty()) have += 'R';
        if(!t.scaling.isEmpty()) have += 'S';
        if(!t.weights.isEmpty()) have += 'W';
        EXPECT_EQ(have, data.expectedProperties[i]) << "target " << i;
    }
    EXPECT_EQ(!errors.text().empty(), data.expectError) << errors.text();
    EXPECT_EQ(runtime.duration, 3.0f);
}

INSTANTIATE_TEST_SUITE_P(RuntimeAnimation, Conversion, testing::ValuesIn(ConversionCases),
    [](const auto& info) { return std::string{info.param.name}; });

TEST(RuntimeAnimation, DuplicatePropertyKeepsFirstAndSaysSo) {
    Log::Capture errors{Log::Channel::Error};
    const auto [runtime, ids] = convertToRuntimeAnimation(fiveTracks(), std::vector<std::uint16_t>{1, 1, 1, 1, 1});
    ASSERT_EQ(runtime.targetCount(), 1u);
    // Track 0 (x to 2) wins over track 2 (y to 3).
    EXPECT_EQ(*sampleVector3(runtime.targets[0].translation, 1.0f), Vector3(2, 0, 0));
    EXPECT_TRUE(errors.contains("Animation walk: track 2 skipped: object 1 already has translation keys"));
}

TEST(RuntimeAnimation, InvalidTracksAreSkippedWithMessage) {
    AnimationData a = fiveTracks();
    a.tracks[1].keys.values.pop_back();
    a.tracks[3].keys.components = 4;
    Log::Capture errors{Log::Channel::Error};
    const auto [runtime, ids] = convertToRuntimeAnimation(a, std::vector<std::uint16_t>{7, 7, 5, 9, 7});
    EXPECT_EQ(ids, (std::vector<Id>{7, 5}));
    EXPECT_TRUE(runtime.targets[0].rotation.isEmpty());
    EXPECT_TRUE(errors.contains("track 1 skipped: 2 keys need 8 values, got 7"));
    EXPECT_TRUE(errors.contains("track 3 skipped"));
}

TEST(RuntimeAnimation, ExplicitDurationWins) {
    AnimationData a = fiveTracks();
    a.duration = 10.0f;
    EXPECT_EQ(convertToRuntimeAnimation(a, std::vector<std::uint16_t>{1, 1, 2, 3, 1}).first.duration, 10.0f);
}

}
