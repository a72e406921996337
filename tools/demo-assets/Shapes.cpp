#include "Shapes.h"

#include <cmath>
#include <numbers>

#include <glm/gtc/matrix_transform.hpp>

#include "Gfx/MeshTools.h"
#include "Gfx/Primitives/Primitives.h"

namespace ArdentisEngine::DemoAssets {

using namespace MeshTools;

namespace {

struct ProfilePoint {
    float y, radius;
    // Normal in the (radial, y) plane.
    float normalRadial, normalY;
};

// Sweeps a profile around Y; u runs around, v along the profile. The seam repeats its first column
// so that u can reach 1.
MeshData revolve(const std::vector<ProfilePoint>& profile, unsigned segments) {
    MeshData mesh{MeshPrimitive::Triangles};
    for(std::size_t r = 0; r != profile.size(); ++r) {
        const ProfilePoint& p = profile[r];
        for(unsigned s = 0; s <= segments; ++s) {
            const double angle = 2.0*std::numbers::pi*s/segments;
            const float sine = float(std::sin(angle)), cosine = float(std::cos(angle));
            mesh.positions.emplace_back(p.radius*sine, p.y, p.radius*cosine);
            mesh.normals.push_back(glm::normalize(Vector3{p.normalRadial*sine, p.normalY, p.normalRadial*cosine}));
            mesh.textureCoordinates.emplace_back(float(s)/float(segments), float(r)/float(profile.size() - 1));
        }
    }
    const unsigned row = segments + 1;
    for(unsigned r = 0; r + 1 < profile.size(); ++r)
        for(unsigned s = 0; s != segments; ++s) {
            const unsigned a = r*row + s, b = a + 1, c = a + row, d = c + 1;
            mesh.indices.insert(mesh.indices.end(), {a, b, d, a, d, c});
        }
    return mesh;
}

}

MeshData capsule(float radius, float halfLength, unsigned hemisphereRings, unsigned cylinderRings, unsigned segments) {
    // Step i of a cap, from its pole (0) to its equator (hemisphereRings); side is +1 on top.
    auto capPoint = [&](float side, unsigned i) {
        const double angle = 0.5*std::numbers::pi*i/hemisphereRings;
        const float up = float(std::cos(angle)), out = float(std::sin(angle));
        return ProfilePoint{side*(halfLength + radius*up), radius*out, out, side*up};
    };
    std::vector<ProfilePoint> profile;
    for(unsigned i = 0; i <= hemisphereRings; ++i) profile.push_back(capPoint(-1.0f, i));
    for(unsigned i = 1; i < cylinderRings; ++i)
        profile.push_back({-halfLength + 2.0f*halfLength*float(i)/float(cylinderRings), radius, 1.0f, 0.0f});
    for(unsigned i = hemisphereRings + 1; i-- > 0;) profile.push_back(capPoint(1.0f, i));
    return revolve(profile, segments);
}

MeshData box(const Vector3& halfExtents) {
    const MeshData face = Primitives::planeSolid(Primitives::PlaneFlag::TextureCoordinates);
    const float quarter = 0.5f*std::numbers::pi_v<float>;
    // Rotations that turn the +Z facing plane towards each side.
    const std::pair<Vector3, Matrix4> sides[]{
        {{0, 0, 1}, Matrix4{1.0f}},
        {{0, 0, -1}, glm::rotate(Matrix4{1.0f}, 2.0f*quarter, Vector3{0, 1, 0})},
        {{1, 0, 0}, glm::rotate(Matrix4{1.0f}, quarter, Vector3{0, 1, 0})},
        {{-1, 0, 0}, glm::rotate(Matrix4{1.0f}, -quarter, Vector3{0, 1, 0})},
        {{0, 1, 0}, glm::rotate(Matrix4{1.0f}, -quarter, Vector3{1, 0, 0})},
        {{0, -1, 0}, glm::rotate(Matrix4{1.0f}, quarter, Vector3{1, 0, 0})},
    };
    std::vector<MeshData> faces;
    for(const auto& [normal, rotation]: sides)
        faces.push_back(transform3D(face, glm::scale(Matrix4{1.0f}, halfExtents)*glm::translate(Matrix4{1.0f}, normal)*rotation));
    return concatenate(faces);
}

MeshData ground(float halfSize, float tiles) {
    MeshData mesh = transform3D(Primitives::planeSolid(Primitives::PlaneFlag::TextureCoordinates),
        glm::scale(Matrix4{1.0f}, Vector3{halfSize})*glm::rotate(Matrix4{1.0f}, -0.5f*std::numbers::pi_v<float>, Vector3{1, 0, 0}));
    for(Vector2& uv: mesh.textureCoordinates) uv *= tiles;
    // The rotation leaves rounding noise in y; the ground is meant to be exactly level.
    for(Vector3& p: mesh.positions) p.y = 0.0f;
    for(Vector3& n: mesh.normals) n = Vector3{0.0f, 1.0f, 0.0f};
    return mesh;
}

MeshData sphere(float radius) {
    return transform3D(Primitives::uvSphereSolid(12, 24, Primitives::UVSphereFlag::TextureCoordinates),
        glm::scale(Matrix4{1.0f}, Vector3{radius}));
}

MeshData pillar(float radius, float height) {
    return transform3D(Primitives::cylinderSolid(4, 24, 0.5f*height,
            Primitives::CylinderFlag::TextureCoordinates | Primitives::CylinderFlag::CapEnds),
        glm::translate(Matrix4{1.0f}, Vector3{0.0f, 0.5f*height, 0.0f})*glm::scale(Matrix4{1.0f}, Vector3{radius, 1.0f, radius}));
}

}
