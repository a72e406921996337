#include "Renderer/Culling.h"

#include "Gfx/Assert.h"

namespace ArdentisEngine {

Frustum::Frustum(const Matrix4& m) {
    // Rows of the matrix (glm is column-major: m[column][row]).
    const Vector4 r0{m[0][0], m[1][0], m[2][0], m[3][0]};
    const Vector4 r1{m[0][1], m[1][1], m[2][1], m[3][1]};
    const Vector4 r2{m[0][2], m[1][2], m[2][2], m[3][2]};
    const Vector4 r3{m[0][3], m[1][3], m[2][3], m[3][3]};
    _planes = {r3 + r0, r3 - r0, r3 + r1, r3 - r1, r3 + r2, r3 - r2};
    for(Vector4& p: _planes) {
        const float length = glm::length(Vector3{p});
        if(length > 0.0f) p /= length;
    }
}

std::size_t cullSpheres(const Frustum& frustum, std::span<const BoundingSphere> spheres,
                        std::span<const std::uint64_t> candidates, std::span<std::uint64_t> visible) {
    AE_ASSERT(visible.size()*64 >= spheres.size());
    std::size_t count = 0;
    for(std::size_t w = 0; w*64 < spheres.size(); ++w) {
        std::uint64_t word = 0;
        const std::uint64_t candidate = candidates.empty() ? ~std::uint64_t{0} : (w < candidates.size() ? candidates[w] : 0);
        const std::size_t end = std::min(spheres.size(), w*64 + 64);
        for(std::size_t i = w*64; i != end; ++i) {
            if(!((candidate >> (i%64)) & 1u)) continue;
            if(frustum.intersects(spheres[i])) {
                word |= std::uint64_t{1} << (i%64);
                ++count;
            }
        }
        visible[w] = word;
    }
    return count;
}

}
