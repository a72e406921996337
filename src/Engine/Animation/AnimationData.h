#pragma once
// Keyframe animations as imported from a file, and their sampling.
//
// An imported animation is a list of tracks, each animating one property (translation, rotation,
// scaling or morph weights) of one object of the source file. Values are stored flat, `components`
// floats per key: 3 for translation and scaling, 4 (x, y, z, w) for rotation, the morph target
// count for weights.
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "Math/Types.h"

namespace ArdentisEngine::Data {

enum class TrackProperty: std::uint8_t { Translation, Rotation, Scaling, MorphWeights };
enum class Interpolation: std::uint8_t { Step, Linear };

const char* trackPropertyName(TrackProperty property);

// One property's keys. Times are in seconds and must not decrease.
struct KeyTrack {
    Interpolation interpolation = Interpolation::Linear;
    std::uint32_t components = 3;
    std::vector<float> times;
    std::vector<float> values;

    std::size_t keyCount() const { return times.size(); }
    bool isEmpty() const { return times.empty(); }
    float firstTime() const { return times.empty() ? 0.0f : times.front(); }
    float lastTime() const { return times.empty() ? 0.0f : times.back(); }

    // Empty string when the track can be sampled, else why not (one line, for the error log).
    std::string validate() const;

    // Index of the key at or before `time`, clamped to the first key; keyCount() must be non-zero.
    std::size_t keyBefore(float time) const;

    std::span<const float> value(std::size_t key) const {
        return {values.data() + key*components, components};
    }
    // Typed views of one key, for keys of at least three and four components.
    Vector3 vector3(std::size_t key) const {
        const auto v = value(key);
        return {v[0], v[1], v[2]};
    }
    Quaternion quaternion(std::size_t key) const {
        const auto v = value(key);
        return Quaternion{v[3], v[0], v[1], v[2]};
    }
};

// Sampling clamps to the first value before the first key and to the last after the last key.
// Vectors interpolate linearly, quaternions spherically along the shorter arc. An empty track
// yields nothing.
std::optional<Vector3> sampleVector3(const KeyTrack& track, float time);
std::optional<Quaternion> sampleQuaternion(const KeyTrack& track, float time);
// Writes min(components, out.size()) weights; returns false when the track is empty.
bool sampleWeights(const KeyTrack& track, float time, std::span<float> out);

// Shortest-path spherical interpolation of unit quaternions.
Quaternion slerpShortest(const Quaternion& a, const Quaternion& b, float t);

struct AnimationTrack {
    std::uint32_t target = 0;  // object index in the source file
    TrackProperty property = TrackProperty::Translation;
    KeyTrack keys;
};

struct AnimationData {
    std::string name;
    float duration = 0.0f;
    std::vector<AnimationTrack> tracks;

    std::size_t trackCount() const { return tracks.size(); }
    std::uint32_t trackTarget(std::size_t track) const { return tracks[track].target; }

    // The latest key time over all tracks; what `duration` is when the source gives none.
    float computeDuration() const;
};

// Helpers that build tracks from typed values, for importers and tests.
AnimationTrack translationTrack(std::uint32_t target, std::vector<float> times,
    const std::vector<Vector3>& values, Interpolation interpolation = Interpolation::Linear);
AnimationTrack rotationTrack(std::uint32_t target, std::vector<float> times,
    const std::vector<Quaternion>& values, Interpolation interpolation = Interpolation::Linear);
AnimationTrack scalingTrack(std::uint32_t target, std::vector<float> times,
    const std::vector<Vector3>& values, Interpolation interpolation = Interpolation::Linear);
AnimationTrack weightsTrack(std::uint32_t target, std::vector<float> times, std::uint32_t weightCount,
    std::vector<float> values, Interpolation interpolation = Interpolation::Linear);

}
