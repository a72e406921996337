#pragma once
// Camera that circles a target point: rotate about it, pan it sideways, move nearer or further.
// Changes apply at once, so a caller can set a view direction and read the pose in the same frame.
#include "Math/DualQuaternion.h"
#include "Math/Types.h"

namespace ArdentisEngine {

class OrbitController {
public:
    // Pitch stops at straight up and straight down; beyond them the view would flip over.
    static constexpr float MaxPitch = Pi/2.0f;

    OrbitController() = default;

    // Takes over from a camera pose: keeps its rotation and position and puts the target in front
    // of it, where the view ray meets the ground plane when it does so reasonably near, otherwise
    // at the current orbit distance.
    void reset(const DualQuaternion& camera);

    // Moves the target so that the scene follows the pointer: `delta` is in fractions of the orbit
    // distance along the camera's right and up axes.
    void pan(const Vector2& delta);
    // Positive `amount` moves towards the target, exponentially (equal steps feel equal at any
    // distance). The distance stays within the planes, so the target is never clipped.
    void zoom(float amount, float near, float far);
    // Yaw about the world up axis, pitch about the camera's right axis, both in radians; positive
    // pitch looks up.
    void rotate2d(float yaw, float pitch);

    // Sets the orientation (roll is dropped) keeping the target and distance.
    void setRotation(const Quaternion& rotation);
    Quaternion rotation() const;
    float yaw() const { return _yaw; }
    float pitch() const { return _pitch; }

    const Vector3& target() const { return _target; }
    void setTarget(const Vector3& target) { _target = target; }
    float distance() const { return _distance; }
    void setDistance(float distance);

    // The camera pose: looking down its -Z axis at the target.
    DualQuaternion update() const;

private:
    Vector3 _target{0.0f};
    float _distance{10.0f};
    float _yaw{0.0f}, _pitch{0.0f};
};

}
