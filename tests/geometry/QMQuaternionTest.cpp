#include "geometry/QMQuaternion.h"

#include "geometry/QMMatrix4f.h"

#include "FloatBits.h"
#include "QMMatrixCodeTestUtil.h"

#include <cmath>

TEST(QMQuaternion, DefaultIsIdentity) {
    const QMQuaternion q;
    EXPECT_EQ(1.0f, q.w);
    EXPECT_EQ(0.0f, q.x);
}

TEST(QMQuaternion, FromIdentityMatrixKeepsSqrtTwo) {
    const QMQuaternion q(QMMatrix4f::m_identity);
    EXPECT_EQ(1.4142135f, q.w);
    EXPECT_EQ(0.0f, q.x);
    EXPECT_EQ(0.0f, q.y);
    EXPECT_EQ(0.0f, q.z);
}

TEST(QMQuaternion, FromOppositeVectorsIsIdentity) {
    const QMQuaternion q(QMVector3f(1, 0, 0), QMVector3f(-1, 0, 0));
    EXPECT_EQ(1.0f, q.w);
    EXPECT_EQ(0.0f, q.x);
    EXPECT_EQ(0.0f, q.y);
    EXPECT_EQ(0.0f, q.z);
    const QMQuaternion p(QMVector3f(0, 2, 0), QMVector3f(0, 5, 0));
    EXPECT_EQ(1.0f, p.w);
}

TEST(QMQuaternion, FromTwoVectorsTakesFirstOntoSecond) {
    const QMVector3f from(1, 0, 0), to(0, 0, 3);
    const QMQuaternion q(from, to);
    const QMVector3f r = q.apply(from);
    EXPECT_NEAR(0.0f, r.x, 1e-7f);
    EXPECT_NEAR(0.0f, r.y, 1e-7f);
    EXPECT_NEAR(1.0f, r.z, 1e-7f);
}

TEST(QMQuaternion, NormalizeReturnsLengthWithoutZeroTest) {
    QMQuaternion q(0, 3, 0, 4);
    EXPECT_EQ(5.0f, q.normalize());
    EXPECT_EQ(0.6f, q.x);
    EXPECT_EQ(0.8f, q.z);
    QMQuaternion zero(0, 0, 0, 0);
    EXPECT_EQ(0.0f, zero.normalize());
    EXPECT_TRUE(std::isnan(zero.w));
}

TEST(QMQuaternion, ProductsAndOperators) {
    const QMQuaternion i(0, 1, 0, 0), j(0, 0, 1, 0);
    const QMQuaternion k = i * j;
    EXPECT_EQ(1.0f, k.z);
    QMQuaternion a = i;
    a.multRightBy(j);
    EXPECT_EQ(1.0f, a.z);
    QMQuaternion b = i;
    b.multLeftBy(j);  // j i = -k
    EXPECT_EQ(-1.0f, b.z);
    QMQuaternion c = i;
    c *= j;
    EXPECT_EQ(1.0f, c.z);
    c /= j;
    EXPECT_NEAR(1.0f, c.x, 1e-7f);
    const QMQuaternion s = i + j;
    EXPECT_EQ(1.0f, s.x);
    EXPECT_EQ(1.0f, s.y);
    const QMQuaternion d = i - j;
    EXPECT_EQ(-1.0f, d.y);
    QMQuaternion e(1, 2, 3, 4);
    e.div(e);
    EXPECT_NEAR(1.0f, e.w, 1e-6f);
    const QMQuaternion q = QMQuaternion(2, 0, 0, 0) / QMQuaternion(4, 0, 0, 0);
    EXPECT_EQ(0.5f, q.w);
    EXPECT_EQ(-2.0f, QMQuaternion(1, 2, 3, 4).conjugate().x);
    EXPECT_EQ(30.0f, QMQuaternion(1, 2, 3, 4).dot(QMQuaternion(1, 2, 3, 4)));
    EXPECT_NEAR(1.0f / 30.0f, QMQuaternion(1, 2, 3, 4).inverse().w, 1e-8f);
}

TEST(QMQuaternion, SlerpOfItselfIsZero) {
    const QMQuaternion a(0.5f, 0.5f, 0.5f, 0.5f);
    const QMQuaternion q = QMQuaternion::slerp(a, a, 0.5f);
    EXPECT_EQ(0.0f, q.w);
    EXPECT_EQ(0.0f, q.x);
    EXPECT_EQ(0.0f, q.y);
    EXPECT_EQ(0.0f, q.z);
    const QMQuaternion l = QMQuaternion::lerp(a, a, 0.5f);
    EXPECT_EQ(0.5f, l.w);
}

TEST(QMQuaternion, MatrixRoundTripAllowsForSqrtTwo) {
    TestRng rng(11);
    for (int n = 0; n < 300; ++n) {
        const QMVector3f axis((float)rng.uniform(-1, 1), (float)rng.uniform(-1, 1), (float)rng.uniform(-1, 1));
        const float angle = (float)rng.uniform(-3, 3);
        const QMQuaternion q(axis, angle);
        QMMatrix4f m;
        q.getMatrix(m);
        EXPECT_EQ(QMMatrix4f::TYPE_ROTATION, m.m_type);
        QMQuaternion back(m);
        const float sign = q.w < 0 ? -1.0f : 1.0f;
        EXPECT_NEAR(sign * q.w * 1.41421356f, back.w, 1e-5f);
        EXPECT_NEAR(sign * q.x * 1.41421356f, back.x, 1e-5f);
        EXPECT_NEAR(sign * q.y * 1.41421356f, back.y, 1e-5f);
        EXPECT_NEAR(sign * q.z * 1.41421356f, back.z, 1e-5f);
        QMMatrix4f m2;
        back.getMatrix(m2);  // the length does not change the rotation
        EXPECT_TRUE(m.equalsEps(m2, 2e-6f));
    }
}

TEST(QMQuaternion, EulerAndAxisAngleAccessors) {
    const QMQuaternion q(0.2f, -0.3f, 0.4f);
    float ax, ay, az;
    q.getEuler(ax, ay, az);
    EXPECT_NEAR(0.2f, ax, 1e-6f);
    EXPECT_NEAR(-0.3f, ay, 1e-6f);
    EXPECT_NEAR(0.4f, az, 1e-6f);
    QMVector3f axis;
    float angle;
    QMQuaternion(QMVector3f(0, 0, 2), 1.0f).getAxisAngle(axis, angle);
    EXPECT_NEAR(1.0f, angle, 1e-6f);
    EXPECT_EQ(1.0f, axis.z);
}
