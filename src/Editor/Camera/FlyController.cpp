#include "Editor/Camera/FlyController.h"

#include "Editor/Camera/YawPitch.h"

#include <algorithm>
#include <cmath>

namespace ArdentisEngine {

namespace {
FlyController::LookSource& defaultLookSource() {
    static FlyController::LookSource source;
    return source;
}
}

FlyController::FlyController(): _look{defaultLookSource()} {}

void FlyController::setDefaultLookSource(LookSource source) { defaultLookSource() = std::move(source); }

void FlyController::reset(const DualQuaternion& camera) {
    Implementation::yawPitch(camera.rotation(), _yaw, _pitch);
    _position = camera.translation();
    _velocity = Vector3{0.0f};
    _moves = 0;
    _lastPointer.reset();
}

void FlyController::startMovement(int moves) { _moves |= moves & 63; }
void FlyController::stopMovement(int moves) { _moves &= ~moves; }

void FlyController::setSpeed(float speed) {
    if(std::isfinite(speed)) _speed = std::clamp(speed, MinSpeed, MaxSpeed);
}

void FlyController::setSpeedMultiplier(float multiplier) {
    if(std::isfinite(multiplier) && multiplier > 0.0f) _multiplier = multiplier;
}

void FlyController::rotate(float yaw, float pitch) {
    if(!std::isfinite(yaw) || !std::isfinite(pitch)) return;
    _yaw = std::remainder(_yaw + yaw, 2.0f*Pi);
    _pitch = std::clamp(_pitch + pitch, -Pi/2.0f, Pi/2.0f);
}

Quaternion FlyController::rotation() const {
    return Implementation::fromYawPitch(_yaw, _pitch);
}

Vector3 FlyController::targetVelocity() const {
    const Quaternion q = rotation();
    Vector3 direction{0.0f};
    // Forward follows the view, pitch included; up and down are the world's.
    if(_moves & Forward) direction += q*Vector3{0.0f, 0.0f, -1.0f};
    if(_moves & Backward) direction -= q*Vector3{0.0f, 0.0f, -1.0f};
    if(_moves & Right) direction += q*Vector3{1.0f, 0.0f, 0.0f};
    if(_moves & Left) direction -= q*Vector3{1.0f, 0.0f, 0.0f};
    if(_moves & Up) direction.y += 1.0f;
    if(_moves & Down) direction.y -= 1.0f;
    const float length = glm::length(direction);
    // Opposite keys cancel; diagonals are no faster than straight moves.
    if(length < 1.0e-4f) return Vector3{0.0f};
    return direction*(_speed*_multiplier/length);
}

void FlyController::look() {
    if(!_look) return;
    const std::optional<Vector2> pointer = _look();
    if(pointer && _lastPointer) {
        const Vector2 delta = *pointer - *_lastPointer;
        rotate(-delta.x*_lookSensitivity, -delta.y*_lookSensitivity);
    }
    _lastPointer = pointer;
}

DualQuaternion FlyController::update(float dt) {
    look();
    if(std::isfinite(dt) && dt > 0.0f) {
        // v(t) = target + (v0 - target) e^(-t/T); the position takes the integral of that over dt.
        const Vector3 target = targetVelocity();
        const float decay = std::exp(-dt/Smoothing);
        const Vector3 excess = _velocity - target;
        _position += target*dt + excess*(Smoothing*(1.0f - decay));
        _velocity = target + excess*decay;
        // Below a thousandth of the slowest speed the camera has stopped.
        if(target == Vector3{0.0f} && glm::length(_velocity) < MinSpeed*1.0e-3f) _velocity = Vector3{0.0f};
    }
    return DualQuaternion::fromRotationTranslation(rotation(), _position);
}

}
