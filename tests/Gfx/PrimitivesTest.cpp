#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>

#include "Gfx/Primitives/Primitives.h"

using namespace ArdentisEngine;
using namespace ArdentisEngine::Primitives;

namespace {

// Failures name the case instead of dumping its bytes.
template<class T> requires requires(const T& t) { t.name; }
void PrintTo(const T& value, std::ostream* out) { *out << value.name; }

enum class Surface { Sphere, Cylinder, Cone, Cube, Plane };

struct SolidCase {
    const char* name;
    std::function<MeshData()> make;
    std::size_t vertices, indices;
    Surface surface;
    float halfLength;
    bool textureCoordinates, tangents;
};

const SolidCase SolidCases[]{
    {"SphereMinimal", [] { return uvSphereSolid(2, 3); }, 5, 18, Surface::Sphere, 1.0f, false, false},
    {"SphereTextured", [] { return uvSphereSolid(16, 32, UVSphereFlag::TextureCoordinates | UVSphereFlag::Tangents); },
     2 + 15 * 33, 6 * 32 * 15, Surface::Sphere, 1.0f, true, true},
    {"CylinderCappedTextured", [] { return cylinderSolid(3, 12, 2.0f,
         CylinderFlag::CapEnds | CylinderFlag::TextureCoordinates | CylinderFlag::Tangents); },
     4 * 13 + 26, 6 * 3 * 12 + 72, Surface::Cylinder, 2.0f, true, true},
    {"ConeCappedTextured", [] { return coneSolid(2, 10, 1.25f, ConeFlag::CapEnd | ConeFlag::TextureCoordinates | ConeFlag::Tangents); },
     22 + 10 + 11, 60 + 30 + 30, Surface::Cone, 1.25f, true, true},
    {"Cube", [] { return cubeSolid(); }, 24, 36, Surface::Cube, 1.0f, false, false},
    {"PlaneTextured", [] { return planeSolid(PlaneFlag::TextureCoordinates | PlaneFlag::Tangents); }, 4, 6,
     Surface::Plane, 0.0f, true, true},
};

class SolidTest: public testing::TestWithParam<SolidCase> {};

constexpr float Epsilon = 1.0e-5f;

bool onAxis(const Vector3& p) { return p.x * p.x + p.z * p.z < 1.0e-8f; }

// Counts, attributes, every position on the analytic surface, unit outward normals, and every
// triangle non-degenerate and wound counter-clockwise around its normals.
TEST_P(SolidTest, GeometryFitsTheSurface) {
    const SolidCase& c = GetParam();
    const MeshData mesh = c.make();
    std::string why;
    ASSERT_TRUE(mesh.isValid(&why)) << why;
    EXPECT_EQ(mesh.primitive, MeshPrimitive::Triangles);
    EXPECT_EQ(mesh.vertexCount(), c.vertices);
    EXPECT_EQ(mesh.indices.size(), c.indices);
    ASSERT_TRUE(mesh.hasNormals());
    EXPECT_EQ(mesh.hasTextureCoordinates(), c.textureCoordinates);
    EXPECT_EQ(mesh.hasTangents(), c.tangents);
    float minY = 1e9f, maxY = -1e9f;
    for(std::size_t i = 0; i != mesh.vertexCount(); ++i) {
        const Vector3 p = mesh.positions[i], n = mesh.normals[i];
        const float radius = std::sqrt(p.x * p.x + p.z * p.z);
        minY = std::min(minY, p.y);
        maxY = std::max(maxY, p.y);
        SCOPED_TRACE(testing::Message{} << "vertex " << i << " at " << p.x << " " << p.y << " " << p.z);
        EXPECT_NEAR(glm::length(n), 1.0f, Epsilon);
        // Every shape but the plane is convex around the origin.
        if(c.surface == Surface::Plane) { EXPECT_EQ(n, (Vector3{0.0f, 0.0f, 1.0f})); }
        else { EXPECT_GT(glm::dot(n, p), 0.0f); }
        switch(c.surface) {
            case Surface::Sphere:
                EXPECT_NEAR(glm::length(p), 1.0f, Epsilon);
                EXPECT_NEAR(glm::length(n - p), 0.0f, Epsilon);
                break;
            case Surface::Cylinder:
                // On the side, or on a cap disc whose normal is ±Y.
                if(std::abs(n.y) < Epsilon) { EXPECT_NEAR(radius, 1.0f, Epsilon); }
                else { EXPECT_NEAR(std::abs(p.y), c.halfLength, Epsilon); }
                EXPECT_LE(radius, 1.0f + Epsilon);
                break;
            case Surface::Cone:
                if(n.y > -0.5f) {
                    EXPECT_NEAR(radius, (c.halfLength - p.y) / (2.0f * c.halfLength), Epsilon);
                    // Perpendicular to the slant line from the base to the apex.
                    const Vector3 outward = onAxis(p) ? glm::normalize(Vector3{n.x, 0.0f, n.z}) : glm::normalize(Vector3{p.x, 0.0f, p.z});
                    const Vector3 slant = Vector3{0.0f, c.halfLength, 0.0f} - (outward + Vector3{0.0f, -c.halfLength, 0.0f});
                    EXPECT_NEAR(glm::dot(n, glm::normalize(slant)), 0.0f, 1.0e-4f);
                } else { EXPECT_NEAR(p.y, -c.halfLength, Epsilon); }
                break;
            case Surface::Cube:
                EXPECT_NEAR(std::max({std::abs(p.x), std::abs(p.y), std::abs(p.z)}), 1.0f, Epsilon);
                break;
            case Surface::Plane:
                EXPECT_EQ(p.z, 0.0f);
                EXPECT_EQ(std::max(std::abs(p.x), std::abs(p.y)), 1.0f);
                break;
        }
    }
    if(c.surface != Surface::Plane) {
        EXPECT_NEAR(minY, -c.halfLength, Epsilon);
        EXPECT_NEAR(maxY, c.halfLength, Epsilon);
    }
    if(c.surface == Surface::Cone) {
        EXPECT_TRUE(std::ranges::any_of(mesh.positions, [&](const Vector3& p) {
            return glm::length(p - Vector3{0.0f, c.halfLength, 0.0f}) < Epsilon; })) << "no apex on +Y";
    }
    for(std::size_t t = 0; t + 2 < mesh.indices.size(); t += 3) {
        const UnsignedInt a = mesh.indices[t], b = mesh.indices[t + 1], d = mesh.indices[t + 2];
        const Vector3 face = glm::cross(mesh.positions[b] - mesh.positions[a], mesh.positions[d] - mesh.positions[a]);
        ASSERT_GT(glm::length(face), 1.0e-6f) << "triangle " << t / 3 << " is degenerate";
        EXPECT_GT(glm::dot(face, mesh.normals[a] + mesh.normals[b] + mesh.normals[d]), 0.0f) << "triangle " << t / 3;
    }
    if(!c.tangents) return;
    // Texture coordinates and tangents agree.
    for(std::size_t i = 0; i != mesh.vertexCount(); ++i) {
        const Vector4 t = mesh.tangents[i];
        const Vector2 uv = mesh.textureCoordinates[i];
        EXPECT_NEAR(glm::length(Vector3{t}), 1.0f, Epsilon);
        EXPECT_NEAR(glm::dot(Vector3{t}, mesh.normals[i]), 0.0f, Epsilon);
        EXPECT_EQ(std::abs(t.w), 1.0f);
        EXPECT_TRUE(uv.x >= 0.0f && uv.x <= 1.0f && uv.y >= 0.0f && uv.y <= 1.0f) << uv.x << " " << uv.y;
    }
    // The tangent frame of each vertex follows the direction in which u and v grow across its triangle.
    for(std::size_t t = 0; t + 2 < mesh.indices.size(); t += 3) {
        const UnsignedInt idx[]{mesh.indices[t], mesh.indices[t + 1], mesh.indices[t + 2]};
        const Vector3 e1 = mesh.positions[idx[1]] - mesh.positions[idx[0]], e2 = mesh.positions[idx[2]] - mesh.positions[idx[0]];
        const Vector2 d1 = mesh.textureCoordinates[idx[1]] - mesh.textureCoordinates[idx[0]];
        const Vector2 d2 = mesh.textureCoordinates[idx[2]] - mesh.textureCoordinates[idx[0]];
        const float det = d1.x * d2.y - d2.x * d1.y;
        ASSERT_NE(det, 0.0f) << "triangle " << t / 3 << " has no texture area";
        const Vector3 uDirection = (e1 * d2.y - e2 * d1.y) / det, vDirection = (e2 * d1.x - e1 * d2.x) / det;
        for(UnsignedInt i: idx) {
            if(onAxis(mesh.positions[i]) && c.surface != Surface::Plane && std::abs(mesh.normals[i].y) < 0.999f) continue;
            if(c.surface == Surface::Sphere && onAxis(mesh.positions[i])) continue;  // poles have no u direction
            const Vector4 tangent = mesh.tangents[i];
            const Vector3 bitangent = glm::cross(mesh.normals[i], Vector3{tangent}) * tangent.w;
            EXPECT_GT(glm::dot(Vector3{tangent}, uDirection), 0.0f) << "triangle " << t / 3 << " vertex " << i;
            EXPECT_GT(glm::dot(bitangent, vDirection), 0.0f) << "triangle " << t / 3 << " vertex " << i;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, SolidTest, testing::ValuesIn(SolidCases),
    [](const testing::TestParamInfo<SolidCase>& info) { return std::string{info.param.name}; });

struct WireframeCase {
    const char* name;
    std::function<MeshData()> make;
    std::size_t vertices, lines;
    // Checks one vertex; empty for none.
    std::function<void(const Vector3&)> vertexCheck;
};

const WireframeCase WireframeCases[]{
    {"SphereMinimal", [] { return uvSphereWireframe(2, 4); }, 6, 4 + 8,
     [](const Vector3& p) { EXPECT_NEAR(glm::length(p), 1.0f, Epsilon); }},
    {"Cylinder", [] { return cylinderWireframe(2, 12, 0.5f); }, 36, 36 + 8,
     [](const Vector3& p) { EXPECT_NEAR(p.x * p.x + p.z * p.z, 1.0f, Epsilon); EXPECT_LE(std::abs(p.y), 0.5f + Epsilon); }},
    {"Cone", [] { return coneWireframe(16, 2.0f); }, 17, 16 + 4,
     [](const Vector3& p) { EXPECT_NEAR(std::sqrt(p.x * p.x + p.z * p.z), (2.0f - p.y) / 4.0f, Epsilon); }},
    {"Cube", [] { return cubeWireframe(); }, 8, 12,
     [](const Vector3& p) { EXPECT_EQ(std::abs(p.x) + std::abs(p.y) + std::abs(p.z), 3.0f); }},
    {"Plane", [] { return planeWireframe(); }, 4, 4,
     [](const Vector3& p) { EXPECT_EQ(p.z, 0.0f); EXPECT_EQ(std::abs(p.x) + std::abs(p.y), 2.0f); }},
    // The scene view's grid: 99 interior lines give 100 cells per side.
    {"GridOfTheSceneView", [] { return grid3DWireframe({99, 99}); }, 404, 202,
     [](const Vector3& p) { EXPECT_EQ(p.z, 0.0f); EXPECT_LE(std::max(std::abs(p.x), std::abs(p.y)), 1.0f); }},
    {"GridUneven", [] { return grid3DWireframe({0, 3}); }, 14, 7, {}},
};

class WireframeTest: public testing::TestWithParam<WireframeCase> {};

TEST_P(WireframeTest, CountsAndGeometry) {
    const WireframeCase& c = GetParam();
    const MeshData mesh = c.make();
    std::string why;
    ASSERT_TRUE(mesh.isValid(&why)) << why;
    EXPECT_EQ(mesh.primitive, MeshPrimitive::Lines);
    EXPECT_EQ(mesh.vertexCount(), c.vertices);
    EXPECT_EQ(mesh.indices.size(), 2 * c.lines);
    EXPECT_FALSE(mesh.hasNormals());
    for(std::size_t i = 0; i + 1 < mesh.indices.size(); i += 2)
        EXPECT_GT(glm::length(mesh.positions[mesh.indices[i]] - mesh.positions[mesh.indices[i + 1]]), 1.0e-4f)
            << "line " << i / 2 << " has no length";
    if(c.vertexCheck)
        for(const Vector3& p: mesh.positions) c.vertexCheck(p);
}

INSTANTIATE_TEST_SUITE_P(Cases, WireframeTest, testing::ValuesIn(WireframeCases),
    [](const testing::TestParamInfo<WireframeCase>& info) { return std::string{info.param.name}; });

TEST(PrimitivesDeathTest, ImpossibleSubdivisionsAreFaultsOfTheCaller) {
    EXPECT_DEATH(uvSphereSolid(1, 8), "Assertion");
    EXPECT_DEATH(uvSphereWireframe(4, 6), "Assertion");
    EXPECT_DEATH(coneSolid(1, 2, 1.0f), "Assertion");
    EXPECT_DEATH(cylinderSolid(0, 8, 1.0f), "Assertion");
}

}
