#pragma once
// Yaw (about world up) and pitch (about the camera's right axis) of a camera rotation; roll is
// dropped. Shared by the camera controllers.
#include <algorithm>
#include <cmath>

#include "Math/Types.h"

namespace ArdentisEngine::Implementation {

inline void yawPitch(const Quaternion& rotation, float& yaw, float& pitch) {
    const Quaternion q = glm::normalize(rotation);
    const Vector3 right = q*Vector3{1.0f, 0.0f, 0.0f};
    const Vector3 forward = q*Vector3{0.0f, 0.0f, -1.0f};
    const Vector3 up = q*Vector3{0.0f, 1.0f, 0.0f};
    pitch = std::asin(std::clamp(forward.y, -1.0f, 1.0f));
    // Without roll the right axis is horizontal and gives the heading. An upside-down input reads
    // it reversed; straight up or down (up.y about 0) is not upside down, whatever rounding says.
    yaw = up.y >= -1.0e-4f ? std::atan2(-right.z, right.x) : std::atan2(right.z, -right.x);
}

inline Quaternion fromYawPitch(float yaw, float pitch) {
    return glm::angleAxis(yaw, Vector3{0.0f, 1.0f, 0.0f})*glm::angleAxis(pitch, Vector3{1.0f, 0.0f, 0.0f});
}

}
