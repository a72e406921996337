#pragma once
#include "Math/DualQuaternion.h"

namespace ArdentisEngine {

// The default value (centre 0, radius 0) is the empty sphere; joining with it changes nothing.
struct BoundingSphere {
    Vector3 center{0.0f};
    float radius{0.0f};

    bool isEmpty() const { return radius <= 0.0f; }

    BoundingSphere transformed(const DualQuaternion& t) const {
        if(isEmpty()) return *this;
        return {t.transformPoint(center), radius};
    }
    // Non-uniform scaling grows the radius by the largest factor so the sphere still encloses the mesh.
    BoundingSphere scaled(const Vector3& s) const {
        if(isEmpty()) return *this;
        const Vector3 a = glm::abs(s);
        return {center*s, radius*glm::max(a.x, glm::max(a.y, a.z))};
    }

    BoundingSphere joined(const BoundingSphere& o) const {
        if(o.isEmpty()) return *this;
        if(isEmpty()) return o;
        const Vector3 d = o.center - center;
        const float dist = glm::length(d);
        if(dist + o.radius <= radius) return *this;
        if(dist + radius <= o.radius) return o;
        const float r = 0.5f*(dist + radius + o.radius);
        return {center + d*((r - radius)/dist), r};
    }
};

inline BoundingSphere join(const BoundingSphere& a, const BoundingSphere& b) { return a.joined(b); }

}
