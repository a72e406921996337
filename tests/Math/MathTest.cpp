#include <gtest/gtest.h>

#include "Math/BoundingSphere.h"
#include "Math/Range.h"

using namespace ArdentisEngine;

namespace {

void expectNear(const Vector3& a, const Vector3& b, float eps = 1e-5f) {
    EXPECT_NEAR(a.x, b.x, eps);
    EXPECT_NEAR(a.y, b.y, eps);
    EXPECT_NEAR(a.z, b.z, eps);
}

Quaternion axisAngle(float degrees, Vector3 axis) { return glm::angleAxis(toRadians(degrees), glm::normalize(axis)); }

}

TEST(DualQuaternionTest, RoundTripsRotationAndTranslation) {
    const Quaternion r = axisAngle(73.0f, {1, 2, 3});
    const DualQuaternion t = DualQuaternion::fromRotationTranslation(r, {4, -5, 6});
    expectNear(t.translation(), {4, -5, 6});
    EXPECT_NEAR(glm::dot(t.rotation(), r), 1.0f, 1e-6f);
}

TEST(DualQuaternionTest, CompositionMatchesMatrices) {
    // Random-ish chains: the product of dual quaternions must equal the product of their matrices.
    const DualQuaternion a = DualQuaternion::fromRotationTranslation(axisAngle(30, {0, 1, 0}), {1, 2, 3});
    const DualQuaternion b = DualQuaternion::fromRotationTranslation(axisAngle(-120, {1, 1, 0}), {-3, 0.5f, 2});
    const DualQuaternion c = DualQuaternion::fromRotationTranslation(axisAngle(200, {0, 0, 1}), {0, 0, -7});
    const Matrix4 m = a.toMatrix()*b.toMatrix()*c.toMatrix();
    const DualQuaternion abc = a*b*c;
    const Vector3 p{0.3f, -2.0f, 5.0f};
    expectNear(abc.transformPoint(p), Vector3{m*Vector4{p, 1.0f}}, 1e-4f);
    const Matrix4 am = abc.toMatrix();
    for(int i = 0; i != 4; ++i) for(int j = 0; j != 4; ++j)
        EXPECT_NEAR(am[i][j], m[i][j], 1e-4f);
}

TEST(DualQuaternionTest, InverseAndMatrixConversion) {
    const DualQuaternion a = DualQuaternion::fromRotationTranslation(axisAngle(45, {1, 0, 1}), {2, -1, 9});
    const DualQuaternion id = a*a.inverted();
    expectNear(id.translation(), Vector3{0.0f});
    EXPECT_NEAR(std::abs(id.rotation().w), 1.0f, 1e-6f);
    const DualQuaternion back = DualQuaternion::fromMatrix(a.toMatrix());
    expectNear(back.transformPoint({1, 2, 3}), a.transformPoint({1, 2, 3}), 1e-4f);
}

TEST(RangeTest, MaxIsExclusive) {
    const Range2Di r = Range2Di::fromSize({10, 20}, {3, 4});
    EXPECT_EQ(r.size(), Vector2i(3, 4));
    EXPECT_TRUE(r.contains({10, 20}));
    EXPECT_TRUE(r.contains({12, 23}));
    EXPECT_FALSE(r.contains({13, 23}));
    EXPECT_FALSE(r.contains({12, 24}));
    EXPECT_TRUE(r.intersected(Range2Di{{13, 0}, {20, 30}}).isEmpty());
}

TEST(BoundingSphereTest, EmptyIsNeutralForJoin) {
    const BoundingSphere empty;
    const BoundingSphere s{{1, 2, 3}, 2.0f};
    EXPECT_TRUE(empty.isEmpty());
    EXPECT_TRUE(empty.transformed(DualQuaternion::translation({5, 5, 5})).isEmpty());
    EXPECT_EQ(join(empty, s).center, s.center);
    EXPECT_EQ(join(s, empty).radius, s.radius);
}

TEST(BoundingSphereTest, JoinEnclosesBoth) {
    const BoundingSphere a{{0, 0, 0}, 1.0f}, b{{4, 0, 0}, 1.0f};
    const BoundingSphere j = join(a, b);
    expectNear(j.center, {2, 0, 0});
    EXPECT_FLOAT_EQ(j.radius, 3.0f);
    // One inside the other returns the outer one.
    const BoundingSphere big{{0, 0, 0}, 10.0f};
    EXPECT_FLOAT_EQ(join(big, a).radius, 10.0f);
    EXPECT_FLOAT_EQ(join(a, big).radius, 10.0f);
}

TEST(BoundingSphereTest, TransformAndScale) {
    const BoundingSphere s{{1, 0, 0}, 1.0f};
    const BoundingSphere t = s.transformed(DualQuaternion::fromRotationTranslation(axisAngle(90, {0, 0, 1}), {0, 0, 5}));
    expectNear(t.center, {0, 1, 5});
    const BoundingSphere sc = s.scaled({2, -3, 1});
    expectNear(sc.center, {2, 0, 0});
    EXPECT_FLOAT_EQ(sc.radius, 3.0f);
}
