#pragma once
// The form in which animations are played: tracks grouped per animated scene object.
#include <cstdint>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "Engine/Animation/AnimationData.h"
#include "Engine/Id.h"
#include "Math/DualQuaternion.h"

namespace ArdentisEngine::Data {

// Track entries of an imported animation that lead to no scene object.
constexpr std::uint16_t UnmappedTrack = InvalidId;

// Every property animated on one target; a property without keys stays as the scene has it.
struct TargetTracks {
    KeyTrack translation, rotation, scaling, weights;
};

// A sampled pose of one target; properties without keys are empty.
struct TargetPose {
    std::optional<Vector3> translation;
    std::optional<Quaternion> rotation;
    std::optional<Vector3> scaling;
    std::vector<float> weights;

    // Applies the animated properties over the given rest transformation.
    DualQuaternion transformation(const DualQuaternion& rest) const;
};

struct RuntimeAnimation {
    float duration = 0.0f;
    std::vector<TargetTracks> targets;

    std::size_t targetCount() const { return targets.size(); }
    // An out-of-range target is logged and gives an empty pose.
    TargetPose sample(std::size_t target, float time) const;
};

// Groups the tracks of `animation` per scene object: `trackObjects[i]` is the object that track i
// animates, or UnmappedTrack to leave the track out. Returns the runtime animation and, parallel
// to its targets, the object ids in order of first appearance. Invalid tracks are logged and left
// out; so is a second track for the same property of one object.
std::pair<RuntimeAnimation, std::vector<Id>> convertToRuntimeAnimation(
    const AnimationData& animation, std::span<const std::uint16_t> trackObjects);

}
