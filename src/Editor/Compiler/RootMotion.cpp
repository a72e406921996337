#include "Editor/Compiler/RootMotion.h"

#include <cmath>

namespace ArdentisEngine {

namespace {

// The rotation of `q` about `axis` (unit): the twist of its swing-twist decomposition.
Quaternion twistAbout(const Quaternion& q, const Vector3& axis) {
    const Vector3 along = glm::dot(Vector3{q.x, q.y, q.z}, axis)*axis;
    const Quaternion twist{q.w, along.x, along.y, along.z};
    const float length = glm::length(twist);
    // A half-turn swing perpendicular to the axis leaves no twist to speak of.
    return length < 1e-6f ? Quaternion{1.0f, 0.0f, 0.0f, 0.0f} : twist/length;
}

}

bool removeRootMotion(Data::AnimationData& animation, std::span<const std::string> objectNames,
                      std::string_view target, std::uint32_t translationAxes, std::uint32_t rotationAxes) {
    if(target.empty() || !((translationAxes | rotationAxes) & 7u)) return true;
    std::vector<Data::AnimationTrack*> tracks;
    for(Data::AnimationTrack& track: animation.tracks)
        if(track.target < objectNames.size() && objectNames[track.target] == target) tracks.push_back(&track);
    if(tracks.empty()) return false;

    for(Data::AnimationTrack* track: tracks) {
        Data::KeyTrack& keys = track->keys;
        if(keys.isEmpty()) continue;
        if(track->property == Data::TrackProperty::Translation && keys.components >= 3) {
            for(std::uint32_t axis = 0; axis != 3; ++axis) {
                if(!(translationAxes & (1u << axis))) continue;
                for(std::size_t k = 1; k < keys.keyCount(); ++k)
                    keys.values[k*keys.components + axis] = keys.values[axis];
            }
        } else if(track->property == Data::TrackProperty::Rotation && keys.components == 4 && (rotationAxes & 7u)) {
            const Quaternion first = glm::normalize(keys.quaternion(0));
            for(std::size_t k = 1; k < keys.keyCount(); ++k) {
                Quaternion delta = glm::normalize(keys.quaternion(k))*glm::inverse(first);
                for(std::uint32_t axis = 0; axis != 3; ++axis) {
                    if(!(rotationAxes & (1u << axis))) continue;
                    Vector3 unit{0.0f};
                    unit[int(axis)] = 1.0f;
                    delta = delta*glm::inverse(twistAbout(delta, unit));
                }
                const Quaternion q = glm::normalize(delta*first);
                float* v = keys.values.data() + k*4;
                v[0] = q.x; v[1] = q.y; v[2] = q.z; v[3] = q.w;
            }
        }
    }
    return true;
}

}
