#include "Editor/Camera/OrbitController.h"

#include "Editor/Camera/YawPitch.h"

#include <algorithm>
#include <cmath>

namespace ArdentisEngine {

Quaternion OrbitController::rotation() const {
    return Implementation::fromYawPitch(_yaw, _pitch);
}

void OrbitController::setRotation(const Quaternion& rotation) {
    Implementation::yawPitch(rotation, _yaw, _pitch);
}

void OrbitController::setDistance(float distance) {
    if(std::isfinite(distance) && distance > 0.0f) _distance = distance;
}

void OrbitController::reset(const DualQuaternion& camera) {
    const Vector3 position = camera.translation();
    setRotation(camera.rotation());
    const Vector3 forward = rotation()*Vector3{0.0f, 0.0f, -1.0f};
    // Ground hits further than this are too flat to orbit about usefully.
    constexpr float MaxGroundDistance = 1000.0f;
    if(forward.y < -0.05f) {
        const float t = -position.y/forward.y;
        if(t > 0.01f && t < MaxGroundDistance) _distance = t;
    }
    _target = position + forward*_distance;
}

void OrbitController::pan(const Vector2& delta) {
    const Quaternion q = rotation();
    const Vector3 right = q*Vector3{1.0f, 0.0f, 0.0f};
    const Vector3 up = q*Vector3{0.0f, 1.0f, 0.0f};
    _target -= (right*delta.x + up*delta.y)*_distance;
}

void OrbitController::zoom(float amount, float near, float far) {
    if(!std::isfinite(amount)) return;
    float lo = std::max(near, 1.0e-4f)*2.0f;
    float hi = far > 0.0f ? far*0.5f : 1.0e6f;
    if(lo > hi) lo = hi;
    _distance = std::clamp(_distance*std::exp(-amount), lo, hi);
}

void OrbitController::rotate2d(float yaw, float pitch) {
    if(!std::isfinite(yaw) || !std::isfinite(pitch)) return;
    _yaw = std::remainder(_yaw + yaw, 2.0f*Pi);
    _pitch = std::clamp(_pitch + pitch, -MaxPitch, MaxPitch);
}

DualQuaternion OrbitController::update() const {
    const Quaternion q = rotation();
    return DualQuaternion::fromRotationTranslation(q, _target + q*Vector3{0.0f, 0.0f, _distance});
}

}
