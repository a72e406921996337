// Spheres, cylinders and cones.
#include <cmath>

#include "Gfx/Assert.h"
#include "Gfx/Primitives/Primitives.h"

namespace ArdentisEngine::Primitives {

namespace {

// Collects vertices with the attributes a shape asked for and indices in one place, so that every
// shape writes each vertex once with all its attributes.
struct Builder {
    MeshData mesh;
    bool textureCoordinates, tangents;

    Builder(MeshPrimitive primitive, bool textureCoordinates_, bool tangents_):
        mesh{primitive}, textureCoordinates{textureCoordinates_}, tangents{tangents_} {}

    UnsignedInt vertex(const Vector3& position, const Vector3& normal, const Vector2& uv, const Vector4& tangent) {
        mesh.positions.push_back(position);
        mesh.normals.push_back(normal);
        if(textureCoordinates) mesh.textureCoordinates.push_back(uv);
        if(tangents) mesh.tangents.push_back(tangent);
        return UnsignedInt(mesh.positions.size() - 1);
    }
    UnsignedInt point(const Vector3& position) {
        mesh.positions.push_back(position);
        return UnsignedInt(mesh.positions.size() - 1);
    }
    void triangle(UnsignedInt a, UnsignedInt b, UnsignedInt c) { mesh.indices.insert(mesh.indices.end(), {a, b, c}); }
    void line(UnsignedInt a, UnsignedInt b) { mesh.indices.insert(mesh.indices.end(), {a, b}); }
};

float angle(UnsignedInt j, UnsignedInt segments) { return float(j) * 2.0f * Pi / float(segments); }
// Unit direction in the XZ plane: +Z at angle 0, +X at a quarter turn.
Vector3 around(float phi) { return {std::sin(phi), 0.0f, std::cos(phi)}; }
// Along +u, the direction in which the angle grows.
Vector4 tangentAt(float phi) { return {std::cos(phi), 0.0f, -std::sin(phi), 1.0f}; }

// Rings of `segments` vertices (one more when textured, repeating the first at u = 1) laid out one
// after the other from `first`.
struct RingLayout {
    UnsignedInt first, segments, size;
    bool seam;

    RingLayout(UnsignedInt first_, UnsignedInt segments_, bool seam_):
        first{first_}, segments{segments_}, size{segments_ + (seam_ ? 1u : 0u)}, seam{seam_} {}
    UnsignedInt at(UnsignedInt ring, UnsignedInt j) const { return first + ring * size + j; }
    UnsignedInt next(UnsignedInt ring, UnsignedInt j) const { return at(ring, seam ? j + 1 : (j + 1) % segments); }
};

// Two counter-clockwise triangles between a lower and an upper ring, seen from outside.
void band(Builder& b, const RingLayout& rings, UnsignedInt lower, UnsignedInt upper) {
    for(UnsignedInt j = 0; j != rings.segments; ++j) {
        b.triangle(rings.at(lower, j), rings.next(lower, j), rings.next(upper, j));
        b.triangle(rings.at(lower, j), rings.next(upper, j), rings.at(upper, j));
    }
}

// A disc closing a round shape at height y, facing +Y or -Y.
void cap(Builder& b, UnsignedInt segments, float y, bool up) {
    const float side = up ? 1.0f : -1.0f;
    const Vector3 normal{0.0f, side, 0.0f};
    const Vector4 tangent{1.0f, 0.0f, 0.0f, 1.0f};
    // Seen from outside, +X is to the right on both ends; up is -Z on the top disc and +Z on the bottom one.
    const UnsignedInt center = b.vertex({0.0f, y, 0.0f}, normal, {0.5f, 0.5f}, tangent);
    for(UnsignedInt j = 0; j != segments; ++j) {
        const Vector3 d = around(angle(j, segments));
        b.vertex({d.x, y, d.z}, normal, {0.5f + 0.5f * d.x, 0.5f - side * 0.5f * d.z}, tangent);
    }
    for(UnsignedInt j = 0; j != segments; ++j) {
        const UnsignedInt a = center + 1 + j, c = center + 1 + (j + 1) % segments;
        if(up) b.triangle(center, a, c);
        else b.triangle(center, c, a);
    }
}

}

MeshData uvSphereSolid(UnsignedInt rings, UnsignedInt segments, UVSphereFlags flags) {
    AE_ASSERT(rings >= 2 && segments >= 3);
    Builder b{MeshPrimitive::Triangles, flags & UVSphereFlag::TextureCoordinates, flags & UVSphereFlag::Tangents};
    const UnsignedInt bottom = b.vertex({0.0f, -1.0f, 0.0f}, {0.0f, -1.0f, 0.0f}, {0.5f, 0.0f}, {1.0f, 0.0f, 0.0f, 1.0f});
    const RingLayout layout{bottom + 1, segments, b.textureCoordinates};
    for(UnsignedInt i = 1; i != rings; ++i) {
        const float theta = -0.5f * Pi + float(i) * Pi / float(rings);
        const float y = std::sin(theta), r = std::cos(theta);
        for(UnsignedInt j = 0; j != layout.size; ++j) {
            const float phi = angle(j, segments);
            const Vector3 p = around(phi) * r + Vector3{0.0f, y, 0.0f};
            b.vertex(p, p, {float(j) / float(segments), float(i) / float(rings)}, tangentAt(phi));
        }
    }
    const UnsignedInt top = b.vertex({0.0f, 1.0f, 0.0f}, {0.0f, 1.0f, 0.0f}, {0.5f, 1.0f}, {1.0f, 0.0f, 0.0f, 1.0f});

    // Ring r of the layout is sphere ring r + 1.
    for(UnsignedInt j = 0; j != segments; ++j) b.triangle(bottom, layout.next(0, j), layout.at(0, j));
    for(UnsignedInt i = 0; i + 2 < rings; ++i) band(b, layout, i, i + 1);
    for(UnsignedInt j = 0; j != segments; ++j) b.triangle(layout.at(rings - 2, j), layout.next(rings - 2, j), top);
    return std::move(b.mesh);
}

MeshData uvSphereWireframe(UnsignedInt rings, UnsignedInt segments) {
    AE_ASSERT(rings >= 2 && segments >= 4 && segments % 4 == 0);
    Builder b{MeshPrimitive::Lines, false, false};
    const UnsignedInt bottom = b.point({0.0f, -1.0f, 0.0f});
    const RingLayout layout{bottom + 1, segments, false};
    for(UnsignedInt i = 1; i != rings; ++i) {
        const float theta = -0.5f * Pi + float(i) * Pi / float(rings);
        for(UnsignedInt j = 0; j != segments; ++j)
            b.point(around(angle(j, segments)) * std::cos(theta) + Vector3{0.0f, std::sin(theta), 0.0f});
    }
    const UnsignedInt top = b.point({0.0f, 1.0f, 0.0f});

    for(UnsignedInt i = 0; i + 1 < rings; ++i)
        for(UnsignedInt j = 0; j != segments; ++j) b.line(layout.at(i, j), layout.next(i, j));
    for(UnsignedInt quarter = 0; quarter != 4; ++quarter) {
        const UnsignedInt j = quarter * segments / 4;
        b.line(bottom, layout.at(0, j));
        for(UnsignedInt i = 0; i + 2 < rings; ++i) b.line(layout.at(i, j), layout.at(i + 1, j));
        b.line(layout.at(rings - 2, j), top);
    }
    return std::move(b.mesh);
}

MeshData cylinderSolid(UnsignedInt rings, UnsignedInt segments, Float halfLength, CylinderFlags flags) {
    AE_ASSERT(rings >= 1 && segments >= 3 && halfLength > 0.0f);
    Builder b{MeshPrimitive::Triangles, flags & CylinderFlag::TextureCoordinates, flags & CylinderFlag::Tangents};
    const RingLayout layout{0, segments, b.textureCoordinates};
    for(UnsignedInt i = 0; i <= rings; ++i) {
        const float v = float(i) / float(rings);
        const float y = -halfLength + 2.0f * halfLength * v;
        for(UnsignedInt j = 0; j != layout.size; ++j) {
            const float phi = angle(j, segments);
            const Vector3 d = around(phi);
            b.vertex(d + Vector3{0.0f, y, 0.0f}, d, {float(j) / float(segments), v}, tangentAt(phi));
        }
    }
    for(UnsignedInt i = 0; i != rings; ++i) band(b, layout, i, i + 1);
    if(flags & CylinderFlag::CapEnds) {
        cap(b, segments, -halfLength, false);
        cap(b, segments, halfLength, true);
    }
    return std::move(b.mesh);
}

MeshData cylinderWireframe(UnsignedInt rings, UnsignedInt segments, Float halfLength) {
    AE_ASSERT(rings >= 1 && segments >= 4 && segments % 4 == 0 && halfLength > 0.0f);
    Builder b{MeshPrimitive::Lines, false, false};
    const RingLayout layout{0, segments, false};
    for(UnsignedInt i = 0; i <= rings; ++i) {
        const float y = -halfLength + 2.0f * halfLength * float(i) / float(rings);
        for(UnsignedInt j = 0; j != segments; ++j) b.point(around(angle(j, segments)) + Vector3{0.0f, y, 0.0f});
    }
    for(UnsignedInt i = 0; i <= rings; ++i)
        for(UnsignedInt j = 0; j != segments; ++j) b.line(layout.at(i, j), layout.next(i, j));
    for(UnsignedInt quarter = 0; quarter != 4; ++quarter)
        for(UnsignedInt i = 0; i != rings; ++i)
            b.line(layout.at(i, quarter * segments / 4), layout.at(i + 1, quarter * segments / 4));
    return std::move(b.mesh);
}

MeshData coneSolid(UnsignedInt rings, UnsignedInt segments, Float halfLength, ConeFlags flags) {
    AE_ASSERT(rings >= 1 && segments >= 3 && halfLength > 0.0f);
    Builder b{MeshPrimitive::Triangles, flags & ConeFlag::TextureCoordinates, flags & ConeFlag::Tangents};
    const float length = 2.0f * halfLength;
    // The gradient of sqrt(x² + z²) + (y + halfLength)/length, scaled by length.
    const auto normalAt = [&](float phi) { return glm::normalize(around(phi) * length + Vector3{0.0f, 1.0f, 0.0f}); };
    const RingLayout layout{0, segments, b.textureCoordinates};
    for(UnsignedInt i = 0; i != rings; ++i) {
        const float v = float(i) / float(rings);
        for(UnsignedInt j = 0; j != layout.size; ++j) {
            const float phi = angle(j, segments);
            b.vertex(around(phi) * (1.0f - v) + Vector3{0.0f, -halfLength + length * v, 0.0f}, normalAt(phi),
                     {float(j) / float(segments), v}, tangentAt(phi));
        }
    }
    // One apex vertex per face, with the normal of the face's middle.
    const UnsignedInt apex = UnsignedInt(b.mesh.positions.size());
    for(UnsignedInt j = 0; j != segments; ++j) {
        const float phi = (float(j) + 0.5f) * 2.0f * Pi / float(segments);
        b.vertex({0.0f, halfLength, 0.0f}, normalAt(phi), {(float(j) + 0.5f) / float(segments), 1.0f}, tangentAt(phi));
    }
    for(UnsignedInt i = 0; i + 1 < rings; ++i) band(b, layout, i, i + 1);
    for(UnsignedInt j = 0; j != segments; ++j)
        b.triangle(layout.at(rings - 1, j), layout.next(rings - 1, j), apex + j);
    if(flags & ConeFlag::CapEnd) cap(b, segments, -halfLength, false);
    return std::move(b.mesh);
}

MeshData coneWireframe(UnsignedInt segments, Float halfLength) {
    AE_ASSERT(segments >= 4 && segments % 4 == 0 && halfLength > 0.0f);
    Builder b{MeshPrimitive::Lines, false, false};
    for(UnsignedInt j = 0; j != segments; ++j) b.point(around(angle(j, segments)) + Vector3{0.0f, -halfLength, 0.0f});
    const UnsignedInt apex = b.point({0.0f, halfLength, 0.0f});
    for(UnsignedInt j = 0; j != segments; ++j) b.line(j, (j + 1) % segments);
    for(UnsignedInt quarter = 0; quarter != 4; ++quarter) b.line(quarter * segments / 4, apex);
    return std::move(b.mesh);
}

}
