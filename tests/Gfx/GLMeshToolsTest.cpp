// CPU mesh tools; the one GL case checks that compile() places every attribute where the
// built-in shaders expect it.
#include <random>

#include "GLTestFixture.h"

#include "Gfx/GL/Mesh.h"
#include "Gfx/Log.h"
#include "Gfx/MeshTools.h"
#include "Gfx/Shaders/VertexColorGL.h"

namespace ArdentisEngine::Test {
namespace {

using Test::PrintTo;

MeshData triangle(Vector3 offset, bool indexed) {
    MeshData m{MeshPrimitive::Triangles};
    m.positions = {offset + Vector3{0, 0, 0}, offset + Vector3{1, 0, 0}, offset + Vector3{0, 1, 0}};
    if(indexed) m.indices = {0, 1, 2};
    return m;
}

// [MeshData validity]

TEST(MeshDataTest, ValidityNamesTheProblem) {
    MeshData shortNormals = triangle({}, false), badIndex = triangle({}, true);
    shortNormals.normals.resize(2);
    badIndex.indices[1] = 3;
    std::string why;
    EXPECT_TRUE(MeshData{}.isValid(&why));
    EXPECT_FALSE(shortNormals.isValid(&why));
    EXPECT_EQ(why, "Normal has 2 entries for 3 vertices");
    EXPECT_FALSE(badIndex.isValid(&why));
    EXPECT_EQ(why, "index 3 at 1 is out of range for 3 vertices");
}

// [concatenate]

struct ConcatenateCase {
    const char* name;
    std::vector<MeshData>(*inputs)();
    std::vector<UnsignedInt> indices;
    std::size_t vertexCount;
    const char* error; // nullptr when the join must succeed
};

const ConcatenateCase ConcatenateCases[]{
    {"IndexedAfterPlain", [] { return std::vector{triangle({}, false), triangle({5, 0, 0}, true)}; },
        {0, 1, 2, 3, 4, 5}, 6, nullptr},
    {"SharedVerticesKeepTheirIndices", [] {
            MeshData quad{MeshPrimitive::Triangles};
            quad.positions = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
            quad.indices = {0, 1, 2, 0, 2, 3};
            return std::vector{triangle({}, true), quad};
        }, {0, 1, 2, 3, 4, 5, 3, 5, 6}, 7, nullptr},
    {"MixedPrimitives", [] {
            MeshData lines{MeshPrimitive::Lines};
            lines.positions = {{0, 0, 0}, {1, 0, 0}};
            return std::vector{triangle({}, false), lines};
        }, {}, 0, "mixed primitives Triangles and Lines"},
    {"InvalidInput", [] {
            MeshData bad = triangle({}, true);
            bad.indices[0] = 7;
            return std::vector{triangle({}, false), bad};
        }, {}, 0, "invalid input mesh"},
};

class ConcatenateTest: public ::testing::TestWithParam<ConcatenateCase> {};

TEST_P(ConcatenateTest, JoinsOrReports) {
    const ConcatenateCase& data = GetParam();
    const std::vector<MeshData> inputs = data.inputs();
    Log::Capture errors{Log::Channel::Error};
    const MeshData joined = MeshTools::concatenate(inputs);
    if(data.error) {
        EXPECT_TRUE(errors.contains(data.error)) << errors.text();
        EXPECT_EQ(joined.vertexCount(), 0u);
        return;
    }
    EXPECT_TRUE(errors.text().empty()) << errors.text();
    EXPECT_EQ(joined.indices, data.indices);
    ASSERT_EQ(joined.vertexCount(), data.vertexCount);
    EXPECT_TRUE(joined.isValid());
    // Positions are appended in input order.
    std::size_t at = 0;
    for(const MeshData& m: inputs)
        for(const Vector3& p: m.positions) EXPECT_EQ(joined.positions[at++], p);
}

INSTANTIATE_TEST_SUITE_P(, ConcatenateTest, ::testing::ValuesIn(ConcatenateCases), caseName);

TEST(MeshToolsTest, ConcatenateFillsAttributesMissingFromSomeInputs) {
    MeshData colored = triangle({}, false);
    colored.colors.assign(3, Color4{1.0f, 0.0f, 0.0f, 1.0f});
    MeshData normal = triangle({2, 0, 0}, false);
    normal.normals.assign(3, Vector3{0, 0, 1});
    normal.tangents.assign(3, Vector4{0, 1, 0, -1});
    const MeshData joined = MeshTools::concatenate({colored, normal});
    ASSERT_TRUE(joined.isValid());
    ASSERT_EQ(joined.colors.size(), 6u);
    EXPECT_EQ(joined.colors[0], Color4(1.0f, 0.0f, 0.0f, 1.0f));
    EXPECT_EQ(joined.colors[4], Color4(1.0f)) << "white for the mesh without colours";
    EXPECT_EQ(joined.normals[1], Vector3(0.0f));
    EXPECT_EQ(joined.normals[5], Vector3(0, 0, 1));
    EXPECT_EQ(joined.tangents[0], Vector4(1, 0, 0, 1));
    EXPECT_FALSE(joined.hasTextureCoordinates());
}

// [transform3DInPlace]

struct TransformCase {
    const char* name;
    Matrix4 matrix;
};

const TransformCase TransformCases[]{
    {"SkewedComposite", glm::rotate(glm::scale(Matrix4{1.0f}, Vector3{3, 0.5f, 1}), 0.9f, Vector3{0, 0, 1})},
    {"Mirror", glm::scale(Matrix4{1.0f}, Vector3{-1, 1, 1})},
};

class TransformTest: public ::testing::TestWithParam<TransformCase> {};

// A tilted triangle with its true normal and a tangent along one edge: after the transform the
// normal must still be perpendicular to the (transformed) edges and the bitangent sign must keep
// matching the texture orientation.
TEST_P(TransformTest, KeepsNormalsPerpendicularAndTangentsAlongEdges) {
    const TransformCase& data = GetParam();
    MeshData m{MeshPrimitive::Triangles};
    m.positions = {{0, 0, 0}, {1, 0, 0.5f}, {0, 1, 0.25f}};
    const Vector3 e1 = m.positions[1] - m.positions[0], e2 = m.positions[2] - m.positions[0];
    const Vector3 n = glm::normalize(glm::cross(e1, e2));
    m.normals.assign(3, n);
    m.tangents.assign(3, Vector4{glm::normalize(e1), 1.0f});
    const float bitangentSign = glm::dot(glm::cross(n, glm::normalize(e1)), e2) > 0 ? 1.0f : -1.0f;

    const MeshData t = MeshTools::transform3D(m, data.matrix);
    for(int i = 0; i != 3; ++i)
        EXPECT_NEAR(glm::length(Vector3{data.matrix*Vector4{m.positions[i], 1}} - t.positions[i]), 0.0f, 1e-5f);
    const Vector3 f1 = t.positions[1] - t.positions[0], f2 = t.positions[2] - t.positions[0];
    const Vector3 tn = t.normals[0], tt = Vector3{t.tangents[0]};
    EXPECT_NEAR(glm::length(tn), 1.0f, 1e-5f);
    EXPECT_NEAR(glm::dot(tn, f1), 0.0f, 1e-5f);
    EXPECT_NEAR(glm::dot(tn, f2), 0.0f, 1e-5f);
    EXPECT_NEAR(glm::length(glm::cross(tt, glm::normalize(f1))), 0.0f, 1e-5f) << "tangent follows the edge";
    // The bitangent built from the transformed frame still points to the same side as the
    // second edge, mirrored or not.
    const Vector3 bitangent = glm::cross(tn, tt)*t.tangents[0].w;
    EXPECT_GT(glm::dot(bitangent, f2)*bitangentSign, 0.0f);
}

INSTANTIATE_TEST_SUITE_P(, TransformTest, ::testing::ValuesIn(TransformCases), caseName);

// [boundingSphere]

TEST(MeshToolsTest, BoundingSphereEnclosesRandomClouds) {
    EXPECT_TRUE(MeshTools::boundingSphere(MeshData{}).isEmpty());
    // A box off the origin: enclosing and touching alone would also pass for a sphere around the origin.
    MeshData box{MeshPrimitive::Points};
    for(int i = 0; i != 8; ++i)
        box.positions.emplace_back(i & 1 ? 3.0f : 1.0f, i & 2 ? 1.0f : -1.0f, i & 4 ? 1.0f : -1.0f);
    EXPECT_EQ(MeshTools::boundingSphere(box).center, Vector3(2, 0, 0));
    EXPECT_NEAR(MeshTools::boundingSphere(box).radius, std::sqrt(3.0f), 1e-6f);
    std::mt19937 random{1234};
    std::uniform_real_distribution<float> coordinate{-10.0f, 10.0f};
    for(int round = 0; round != 50; ++round) {
        MeshData m{MeshPrimitive::Points};
        const int count = 1 + round*3;
        for(int i = 0; i != count; ++i)
            m.positions.emplace_back(coordinate(random), coordinate(random)*0.1f, coordinate(random));
        const BoundingSphere s = MeshTools::boundingSphere(m);
        float farthest = 0.0f;
        for(const Vector3& p: m.positions) farthest = std::max(farthest, glm::distance(p, s.center));
        EXPECT_LE(farthest, s.radius*(1.0f + 1e-6f)) << "round " << round;
        // Some point touches the sphere: it is not larger than it must be around that centre.
        EXPECT_NEAR(farthest, s.radius, 1e-4f) << "round " << round;
    }
}

// [deindex, flat normals]

TEST(MeshToolsTest, FlatNormalsPerFace) {
    MeshData tetra{MeshPrimitive::Triangles};
    tetra.positions = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    tetra.colors = {{1, 0, 0, 1}, {0, 1, 0, 1}, {0, 0, 1, 1}, {1, 1, 1, 1}};
    // Counter-clockwise seen from outside; plus one degenerate face.
    tetra.indices = {0, 2, 1, 0, 1, 3, 0, 3, 2, 1, 2, 3, 0, 0, 1};
    ASSERT_TRUE(MeshTools::generateFlatNormalsInPlace(tetra));
    EXPECT_FALSE(tetra.isIndexed());
    ASSERT_EQ(tetra.vertexCount(), 15u);
    EXPECT_EQ(tetra.colors[1], Color4(0, 0, 1, 1)) << "attributes follow the de-indexing";
    const Vector3 expected[]{{0, 0, -1}, {0, -1, 0}, {-1, 0, 0}, glm::normalize(Vector3{1, 1, 1}), {0, 0, 0}};
    for(int face = 0; face != 5; ++face)
        for(int corner = 0; corner != 3; ++corner)
            EXPECT_NEAR(glm::distance(tetra.normals[std::size_t(3*face + corner)], expected[face]), 0.0f, 1e-6f)
                << "face " << face;

    MeshData lines{MeshPrimitive::Lines};
    lines.positions = {{0, 0, 0}, {1, 0, 0}};
    Log::Capture errors{Log::Channel::Error};
    EXPECT_FALSE(MeshTools::generateFlatNormalsInPlace(lines));
    EXPECT_TRUE(errors.contains("needs triangles, got Lines")) << errors.text();
}

class MeshToolsGLTest: public GLTestFixture {};

// Every attribute filled: if compile() mislaid one, the colour would land at the wrong location.
TEST_F(MeshToolsGLTest, CompiledAttributesMatchShaderLocations) {
    MeshData m{MeshPrimitive::Triangles};
    m.positions = {{-1, -1, 0}, {3, -1, 0}, {-1, 3, 0}};
    m.normals.assign(3, Vector3{9, 9, 9});
    m.tangents.assign(3, Vector4{9});
    m.textureCoordinates.assign(3, Vector2{9});
    m.colors.assign(3, Color4{0.25f, 0.5f, 0.75f, 1.0f});
    m.jointIds.assign(3, JointIds{9});
    m.weights.assign(3, Vector4{9});
    m.objectIds.assign(3, 9);
    GL::Mesh mesh = MeshTools::compile(m);
    EXPECT_EQ(mesh.count(), 3);
    EXPECT_FALSE(mesh.isIndexed());
    RenderTarget target{{8, 8}};
    target.clear();
    Shaders::VertexColorGL shader;
    shader.draw(mesh);
    EXPECT_EQ(countPixels(target.read(), Rgba8{64, 128, 191, 255}, 1), 64);
}

}
}
