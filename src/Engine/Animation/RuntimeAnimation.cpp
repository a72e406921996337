#include "Engine/Animation/RuntimeAnimation.h"

#include <unordered_map>

#include "Gfx/Log.h"

namespace ArdentisEngine::Data {

DualQuaternion TargetPose::transformation(const DualQuaternion& rest) const {
    if(!translation && !rotation) return rest;
    return DualQuaternion::fromRotationTranslation(rotation ? *rotation : rest.rotation(),
        translation ? *translation : rest.translation());
}

TargetPose RuntimeAnimation::sample(std::size_t target, float time) const {
    TargetPose pose;
    if(target >= targets.size()) {
        Log::error("Animation target {} out of range, the animation has {}", target, targets.size());
        return pose;
    }
    const TargetTracks& tracks = targets[target];
    pose.translation = sampleVector3(tracks.translation, time);
    pose.rotation = sampleQuaternion(tracks.rotation, time);
    pose.scaling = sampleVector3(tracks.scaling, time);
    if(!tracks.weights.isEmpty()) {
        pose.weights.resize(tracks.weights.components);
        sampleWeights(tracks.weights, time, pose.weights);
    }
    return pose;
}

namespace {

KeyTrack& slot(TargetTracks& tracks, TrackProperty property) {
    switch(property) {
        case TrackProperty::Translation: return tracks.translation;
        case TrackProperty::Rotation: return tracks.rotation;
        case TrackProperty::Scaling: return tracks.scaling;
        case TrackProperty::MorphWeights: break;
    }
    return tracks.weights;
}

std::uint32_t expectedComponents(TrackProperty property) {
    switch(property) {
        case TrackProperty::Translation:
        case TrackProperty::Scaling: return 3;
        case TrackProperty::Rotation: return 4;
        case TrackProperty::MorphWeights: break;
    }
    return 0;  // any count
}

}

std::pair<RuntimeAnimation, std::vector<Id>> convertToRuntimeAnimation(
    const AnimationData& animation, std::span<const std::uint16_t> trackObjects)
{
    std::pair<RuntimeAnimation, std::vector<Id>> out;
    RuntimeAnimation& runtime = out.first;
    std::vector<Id>& ids = out.second;
    runtime.duration = animation.duration > 0.0f ? animation.duration : animation.computeDuration();

    if(trackObjects.size() != animation.trackCount())
        Log::error("Animation {}: {} track objects given for {} tracks, the rest stay unmapped",
            animation.name, trackObjects.size(), animation.trackCount());

    std::unordered_map<Id, std::size_t> targetOf;
    const std::size_t count = std::min(trackObjects.size(), animation.trackCount());
    for(std::size_t i = 0; i != count; ++i) {
        const std::uint16_t object = trackObjects[i];
        if(object == UnmappedTrack) continue;

        const AnimationTrack& track = animation.tracks[i];
        if(const std::string problem = track.keys.validate(); !problem.empty()) {
            Log::error("Animation {}: track {} skipped: {}", animation.name, i, problem);
            continue;
        }
        const std::uint32_t expected = expectedComponents(track.property);
        if(expected && track.keys.components != expected) {
            Log::error("Animation {}: track {} skipped: {} keys need {} components, not {}", animation.name, i,
                trackPropertyName(track.property), expected, track.keys.components);
            continue;
        }

        auto [found, inserted] = targetOf.try_emplace(object, runtime.targets.size());
        if(inserted) {
            runtime.targets.emplace_back();
            ids.push_back(object);
        }
        KeyTrack& keys = slot(runtime.targets[found->second], track.property);
        if(!keys.isEmpty()) {
            Log::error("Animation {}: track {} skipped: object {} already has {} keys", animation.name, i,
                object, trackPropertyName(track.property));
            continue;
        }
        keys = track.keys;
    }
    return out;
}

}
