#pragma once
// Root motion taken out of imported animations, so that a clip plays in place and the motion can
// be driven by whatever moves the object (a character controller, a physics body).
//
// The target is the track target of that name. On each chosen translation axis, every key of its
// translation tracks keeps the first key's value: the object stays where the clip starts. For each
// chosen rotation axis (x, then y, then z, in the object's parent space), the twist about that
// axis of each key's rotation relative to the first key is removed, leaving the first key's
// heading and the remaining swing. Other tracks are untouched.
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "Engine/Animation/AnimationData.h"

namespace ArdentisEngine {

// Bits of the axes sets.
constexpr std::uint32_t RootMotionX = 1u << 0, RootMotionY = 1u << 1, RootMotionZ = 1u << 2;

// `objectNames` by the file's object index. Returns false, changing nothing, when no track animates
// an object of that name; an empty target or empty axes change nothing and succeed.
bool removeRootMotion(Data::AnimationData& animation, std::span<const std::string> objectNames,
                      std::string_view target, std::uint32_t translationAxes, std::uint32_t rotationAxes);

}
