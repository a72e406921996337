#pragma once
// First-person camera moved by held keys. Velocity eases towards the target velocity with a fixed
// time constant and the position integrates that exactly, so the path does not depend on how the
// time is cut into frames.
#include <functional>
#include <optional>

#include "Math/DualQuaternion.h"
#include "Math/Types.h"

namespace ArdentisEngine {

class FlyController {
public:
    // Movement bits, combined in startMovement / stopMovement.
    enum Move: int {
        Forward = 1,
        Backward = 2,
        Right = 4,
        Left = 8,
        Up = 16,
        Down = 32,
    };

    static constexpr float MinSpeed = 0.1f;
    static constexpr float MaxSpeed = 100.0f;
    // Seconds for the velocity to close about 63% of the gap to the target velocity.
    static constexpr float Smoothing = 0.08f;

    // Where the pointer is while the user looks around (window pixels), or nothing when not
    // looking. Polled by update; pointer motion turns the camera.
    using LookSource = std::function<std::optional<Vector2>()>;

    FlyController();

    // Takes over from a camera pose, at rest.
    void reset(const DualQuaternion& camera);

    void startMovement(int moves);
    void stopMovement(int moves);
    int movement() const { return _moves; }

    // World units per second, kept within [MinSpeed, MaxSpeed].
    float speed() const { return _speed; }
    void setSpeed(float speed);
    // Applied on top of the speed (the view doubles it while Shift is held).
    float speedMultiplier() const { return _multiplier; }
    void setSpeedMultiplier(float multiplier);

    // Turns the camera: yaw about world up, pitch about its right axis, radians; positive pitch
    // looks up, stopping at straight up and down.
    void rotate(float yaw, float pitch);

    void setLookSource(LookSource source) { _look = std::move(source); }
    // For controllers that have no source of their own; set once by the application.
    static void setDefaultLookSource(LookSource source);
    // Radians per pixel of pointer motion.
    void setLookSensitivity(float radiansPerPixel) { _lookSensitivity = radiansPerPixel; }

    const Vector3& position() const { return _position; }
    const Vector3& velocity() const { return _velocity; }
    Quaternion rotation() const;

    // Advances by `dt` seconds and returns the camera pose. Non-positive or non-finite steps only
    // return the pose.
    DualQuaternion update(float dt);

private:
    Vector3 targetVelocity() const;
    void look();

    Vector3 _position{0.0f}, _velocity{0.0f};
    float _yaw{}, _pitch{};
    float _speed{1.0f}, _multiplier{1.0f};
    float _lookSensitivity{0.003f};
    int _moves{};
    LookSource _look;
    std::optional<Vector2> _lastPointer;
};

}
