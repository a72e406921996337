#pragma once
// Frustum culling of bounding spheres. Planes are taken from a (projection x view) matrix with
// OpenGL's [-1, 1] depth; each plane is normalised, so the signed distance of a point is in world
// units and a sphere is outside when it lies wholly behind any one plane.
#include <array>
#include <cstdint>
#include <span>

#include "Math/BoundingSphere.h"
#include "Math/Types.h"

namespace ArdentisEngine {

class Frustum {
public:
    explicit Frustum(const Matrix4& viewProjection);

    // Empty spheres count as visible: an object without bounds must not vanish.
    bool intersects(const BoundingSphere& sphere) const {
        if(sphere.isEmpty()) return true;
        for(const Vector4& p: _planes)
            if(glm::dot(Vector3{p}, sphere.center) + p.w < -sphere.radius) return false;
        return true;
    }
    const std::array<Vector4, 6>& planes() const { return _planes; }

private:
    std::array<Vector4, 6> _planes;
};

// Sets bit i of `visibleWords` for every sphere i that intersects the frustum and whose bit in
// `activeWords` is set (an empty span: all are candidates); clears the others. Returns the number
// of visible spheres.
std::size_t cullSpheres(const Frustum& frustum, std::span<const BoundingSphere> spheres,
                        std::span<const std::uint64_t> candidateWords, std::span<std::uint64_t> visibleWords);

}
