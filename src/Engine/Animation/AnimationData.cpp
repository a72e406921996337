#include "Engine/Animation/AnimationData.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

namespace ArdentisEngine::Data {

const char* trackPropertyName(TrackProperty property) {
    switch(property) {
        case TrackProperty::Translation: return "translation";
        case TrackProperty::Rotation: return "rotation";
        case TrackProperty::Scaling: return "scaling";
        case TrackProperty::MorphWeights: return "morph weights";
    }
    return "unknown";
}

std::string KeyTrack::validate() const {
    if(components == 0)
        return "keys have no components";
    if(values.size() != times.size()*components)
        return fmt::format("{} keys need {} values, got {}", times.size(), times.size()*components, values.size());
    for(std::size_t i = 0; i != times.size(); ++i) {
        if(!std::isfinite(times[i]))
            return fmt::format("key {} has a non-finite time", i);
        if(i && times[i] < times[i - 1])
            return fmt::format("key {} at {}s comes before the previous key at {}s", i, times[i], times[i - 1]);
    }
    return {};
}

std::size_t KeyTrack::keyBefore(float time) const {
    // The last key whose time is <= time; several keys at one time resolve to the last of them.
    const auto it = std::upper_bound(times.begin(), times.end(), time);
    return it == times.begin() ? 0 : std::size_t(it - times.begin()) - 1;
}

namespace {

// Key pair and blend factor for `time`; b == a when clamped or stepping.
struct Span { std::size_t a, b; float t; };

Span locate(const KeyTrack& track, float time) {
    const std::size_t last = track.keyCount() - 1;
    if(!(time > track.times.front()))  // also catches NaN
        return {0, 0, 0.0f};
    if(time >= track.times[last])
        return {last, last, 0.0f};
    const std::size_t a = track.keyBefore(time);
    if(track.interpolation == Interpolation::Step)
        return {a, a, 0.0f};
    const float length = track.times[a + 1] - track.times[a];
    return {a, a + 1, length > 0.0f ? (time - track.times[a])/length : 0.0f};
}

}

Quaternion slerpShortest(const Quaternion& a, const Quaternion& b0, float t) {
    Quaternion b = b0;
    float cosAngle = glm::dot(a, b);
    // q and -q are the same rotation; flipping one makes the arc the short one.
    if(cosAngle < 0.0f) {
        b = -b;
        cosAngle = -cosAngle;
    }
    // Nearly parallel: the sine below vanishes, a normalized lerp is exact enough.
    if(cosAngle > 0.9995f)
        return glm::normalize(a*(1.0f - t) + b*t);
    const float angle = std::acos(cosAngle);
    const float sinAngle = std::sin(angle);
    return glm::normalize(a*(std::sin((1.0f - t)*angle)/sinAngle) + b*(std::sin(t*angle)/sinAngle));
}

std::optional<Vector3> sampleVector3(const KeyTrack& track, float time) {
    if(track.isEmpty() || track.components < 3) return std::nullopt;
    const Span s = locate(track, time);
    const Vector3 a = track.vector3(s.a);
    if(s.a == s.b) return a;
    return glm::mix(a, track.vector3(s.b), s.t);
}

std::optional<Quaternion> sampleQuaternion(const KeyTrack& track, float time) {
    if(track.isEmpty() || track.components < 4) return std::nullopt;
    const Span s = locate(track, time);
    const Quaternion a = track.quaternion(s.a);
    if(s.a == s.b) return glm::normalize(a);
    return slerpShortest(glm::normalize(a), glm::normalize(track.quaternion(s.b)), s.t);
}

bool sampleWeights(const KeyTrack& track, float time, std::span<float> out) {
    if(track.isEmpty()) return false;
    const Span s = locate(track, time);
    const auto a = track.value(s.a);
    const auto b = track.value(s.b);
    const std::size_t count = std::min<std::size_t>(track.components, out.size());
    for(std::size_t i = 0; i != count; ++i)
        out[i] = a[i] + (b[i] - a[i])*s.t;
    return true;
}

float AnimationData::computeDuration() const {
    float end = 0.0f;
    for(const AnimationTrack& track: tracks)
        end = std::max(end, track.keys.lastTime());
    return end;
}

namespace {

AnimationTrack vector3Track(std::uint32_t target, TrackProperty property, std::vector<float> times,
    const std::vector<Vector3>& values, Interpolation interpolation)
{
    AnimationTrack track{target, property, {interpolation, 3, std::move(times), {}}};
    track.keys.values.reserve(values.size()*3);
    for(const Vector3& v: values)
        track.keys.values.insert(track.keys.values.end(), {v.x, v.y, v.z});
    return track;
}

}

AnimationTrack translationTrack(std::uint32_t target, std::vector<float> times,
    const std::vector<Vector3>& values, Interpolation interpolation)
{
    return vector3Track(target, TrackProperty::Translation, std::move(times), values, interpolation);
}

AnimationTrack scalingTrack(std::uint32_t target, std::vector<float> times,
    const std::vector<Vector3>& values, Interpolation interpolation)
{
    return vector3Track(target, TrackProperty::Scaling, std::move(times), values, interpolation);
}

AnimationTrack rotationTrack(std::uint32_t target, std::vector<float> times,
    const std::vector<Quaternion>& values, Interpolation interpolation)
{
    AnimationTrack track{target, TrackProperty::Rotation, {interpolation, 4, std::move(times), {}}};
    track.keys.values.reserve(values.size()*4);
    for(const Quaternion& q: values)
        track.keys.values.insert(track.keys.values.end(), {q.x, q.y, q.z, q.w});
    return track;
}

AnimationTrack weightsTrack(std::uint32_t target, std::vector<float> times, std::uint32_t weightCount,
    std::vector<float> values, Interpolation interpolation)
{
    return {target, TrackProperty::MorphWeights, {interpolation, weightCount, std::move(times), std::move(values)}};
}

}
