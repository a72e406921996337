#pragma once
// Rigid transformation (rotation then translation) as a unit dual quaternion.
#include "Math/Types.h"

namespace ArdentisEngine {

struct DualQuaternion {
    Quaternion real{1.0f, 0.0f, 0.0f, 0.0f};  // glm's constructor takes (w, x, y, z)
    Quaternion dual{0.0f, 0.0f, 0.0f, 0.0f};

    constexpr DualQuaternion() = default;
    constexpr DualQuaternion(const Quaternion& r, const Quaternion& d): real{r}, dual{d} {}

    static DualQuaternion rotation(const Quaternion& r) { return {r, Quaternion{0, 0, 0, 0}}; }
    static DualQuaternion translation(const Vector3& t) { return fromRotationTranslation(Quaternion{1, 0, 0, 0}, t); }
    static DualQuaternion fromRotationTranslation(const Quaternion& r, const Vector3& t) {
        return {r, (Quaternion{0.0f, t.x, t.y, t.z}*r)*0.5f};
    }
    // Assumes the upper 3x3 is a pure rotation (scaling is carried separately by the scene graph).
    static DualQuaternion fromMatrix(const Matrix4& m) {
        return fromRotationTranslation(glm::normalize(glm::quat_cast(Matrix3{m})), Vector3{m[3]});
    }

    Quaternion rotation() const { return real; }
    Vector3 translation() const {
        const Quaternion t = (dual*2.0f)*glm::conjugate(real);
        return {t.x, t.y, t.z};
    }

    DualQuaternion operator*(const DualQuaternion& o) const {
        return {real*o.real, real*o.dual + dual*o.real};
    }
    bool operator==(const DualQuaternion& o) const { return real == o.real && dual == o.dual; }

    DualQuaternion inverted() const {
        const Quaternion rc = glm::conjugate(real);
        return fromRotationTranslation(rc, -(rc*translation()));
    }
    DualQuaternion normalized() const {
        const float n = glm::length(real);
        return {real/n, dual/n};
    }

    Vector3 transformVector(const Vector3& v) const { return real*v; }
    Vector3 transformPoint(const Vector3& p) const { return real*p + translation(); }

    Matrix4 toMatrix() const {
        Matrix4 m = glm::mat4_cast(real);
        m[3] = Vector4{translation(), 1.0f};
        return m;
    }
};

// Rotation, translation and scaling as one matrix, in the order scale, rotate, translate.
inline Matrix4 toMatrix(const DualQuaternion& t, const Vector3& scaling) {
    return glm::scale(t.toMatrix(), scaling);
}

}
