#include "geometry/QMMatrixCode.h"

#include "FloatBits.h"
#include "QMMatrixCodeTestUtil.h"

#include <cmath>

TEST(QMMatrixCodeQuaternion, AxisToQuaternionUWithZeroAxisIsIdentity) {
    const float axis[3] = {0, 0, 0};
    for (float angle : {0.0f, 1.0f, 3.0f, -2.0f}) {
        float q[4] = {9, 9, 9, 9};
        QMMatrixCode::axisToQuaternionU(q, axis, angle);
        EXPECT_EQ(1.0f, q[0]);
        EXPECT_EQ(0.0f, q[1]);
        EXPECT_EQ(0.0f, q[2]);
        EXPECT_EQ(0.0f, q[3]);
    }
}

TEST(QMMatrixCodeQuaternion, AxisToQuaternionUNormalisesTheAxis) {
    const double axis[3] = {0, 0, 5};
    double q[4];
    QMMatrixCode::axisToQuaternionU(q, axis, M_PI / 2);
    EXPECT_NEAR(std::sqrt(0.5), q[0], 1e-15);
    EXPECT_NEAR(std::sqrt(0.5), q[3], 1e-15);
    EXPECT_EQ(0.0, q[1]);
}

TEST(QMMatrixCodeQuaternion, RotMatrixOfIdentityKeepsSqrtTwo) {
    float m[16];
    QMMatrixCode::setIdentity(m);
    float q[4];
    QMMatrixCode::RotMatrixToQuaternion(q, m);
    EXPECT_EQ(1.4142135f, q[0]);
    EXPECT_EQ(0.0f, q[1]);
    EXPECT_EQ(0.0f, q[2]);
    EXPECT_EQ(0.0f, q[3]);
}

TEST(QMMatrixCodeQuaternion, RotMatrixHalfTurnGivesUnitQuaternionAboutAxis) {
    const double axes[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    for (const auto& axis : axes) {
        double m[16], q[4];
        QMMatrixCode::setIdentity(m);
        // Exact half turn: 2 n n^T - I.
        for (int c = 0; c < 3; ++c)
            for (int k = 0; k < 3; ++k) m[4 * c + k] = 2 * axis[k] * axis[c] - (c == k ? 1.0 : 0.0);
        QMMatrixCode::RotMatrixToQuaternion(q, m);
        EXPECT_EQ(0.0, q[0]);
        for (int i = 0; i < 3; ++i) EXPECT_NEAR(axis[i], q[1 + i], 1e-15);
    }
    // A half turn about (0, 0.6, 0.8).
    const double n[3] = {0, 0.6, 0.8};
    double m[16], q[4];
    QMMatrixCode::setIdentity(m);
    for (int c = 0; c < 3; ++c)
        for (int k = 0; k < 3; ++k) m[4 * c + k] = 2 * n[k] * n[c] - (c == k ? 1.0 : 0.0);
    m[10] = -1.0 - m[0] - m[5];  // a trace of exactly -1 despite rounding
    QMMatrixCode::RotMatrixToQuaternion(q, m);
    EXPECT_EQ(0.0, q[0]);
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(n[i], q[1 + i], 1e-8);
}

TEST(QMMatrixCodeQuaternion, MatrixQuaternionMatrixRoundTrip) {
    TestRng rng(2024);
    for (int n = 0; n < 500; ++n) {
        double axis[3] = {rng.uniform(-1, 1), rng.uniform(-1, 1), rng.uniform(-1, 1)};
        const double angle = rng.uniform(-3.0, 3.0);
        double q[4], m[16], q2[4], m2[16];
        QMMatrixCode::axisToQuaternionU(q, axis, angle);
        QMMatrixCode::quaternionToMatrix(m, q);
        QMMatrixCode::RotMatrixToQuaternion(q2, m);
        // The sqrt(2) factor, and the sign freedom (w >= 0 in the result).
        const double sign = q[0] < 0 ? -1.0 : 1.0;
        for (int i = 0; i < 4; ++i) EXPECT_NEAR(sign * q[i] * std::sqrt(2.0), q2[i], 1e-12);
        QMMatrixCode::quaternionToMatrix(m2, q2);
        for (int i = 0; i < 16; ++i) EXPECT_NEAR(m[i], m2[i], 1e-12);
    }
}

TEST(QMMatrixCodeQuaternion, QuaternionMatrixAgreesWithAxisRotation) {
    const float axis[3] = {0.267261f, 0.534522f, 0.801784f};
    float q[4], mq[16], mr[16];
    QMMatrixCode::axisToQuaternion(q, axis, 1.1f);
    QMMatrixCode::quaternionToMatrix(mq, q);
    QMMatrixCode::setRotate(mr, axis, 1.1f);
    for (int i = 0; i < 16; ++i) EXPECT_NEAR(mr[i], mq[i], 2e-7f);
}

TEST(QMMatrixCodeQuaternion, HamiltonProductRules) {
    const double i[4] = {0, 1, 0, 0}, j[4] = {0, 0, 1, 0};
    double r[4];
    QMMatrixCode::multQuaternions(r, i, j);  // ij = k
    EXPECT_EQ(0.0, r[0]);
    EXPECT_EQ(1.0, r[3]);
    QMMatrixCode::multQuaternions(r, j, i);  // ji = -k
    EXPECT_EQ(-1.0, r[3]);
    QMMatrixCode::multQuaternions(r, i, i);  // ii = -1
    EXPECT_EQ(-1.0, r[0]);
}

TEST(QMMatrixCodeQuaternion, ArithmeticAndInverses) {
    const float a[4] = {1, 2, 3, 4}, b[4] = {0.5f, -1, 0, 2};
    float r[4], p[4];
    QMMatrixCode::addQuaternions(r, a, b);
    EXPECT_EQ(6.0f, r[3]);
    QMMatrixCode::subQuaternions(r, a, b);
    EXPECT_EQ(3.0f, r[1]);
    EXPECT_EQ(0.5f + -2 + 0 + 8, QMMatrixCode::dotQuaternions(a, b));
    QMMatrixCode::conjugateQuaternion(r, a);
    EXPECT_EQ(1.0f, r[0]);
    EXPECT_EQ(-4.0f, r[3]);
    QMMatrixCode::inverseQuaternionU(r, a);
    QMMatrixCode::multQuaternions(p, a, r);
    EXPECT_NEAR(1.0f, p[0], 1e-6f);
    for (int k = 1; k < 4; ++k) EXPECT_NEAR(0.0f, p[k], 1e-6f);
    QMMatrixCode::divQuaternionsU(r, a, a);
    EXPECT_NEAR(1.0f, r[0], 1e-6f);
    const float u[4] = {0.5f, 0.5f, 0.5f, 0.5f};
    QMMatrixCode::inverseQuaternion(r, u);
    EXPECT_EQ(-0.5f, r[2]);
}

TEST(QMMatrixCodeQuaternion, ApplyQuatOnRotatesVector) {
    const double axis[3] = {0, 0, 1};
    double q[4];
    QMMatrixCode::axisToQuaternion(q, axis, M_PI / 2);
    const double v[3] = {1, 0, 0};
    double r[3];
    QMMatrixCode::applyQuatOn(r, q, v);
    EXPECT_NEAR(0.0, r[0], 1e-15);
    EXPECT_NEAR(1.0, r[1], 1e-15);
    EXPECT_NEAR(0.0, r[2], 1e-15);
}

TEST(QMMatrixCodeQuaternion, QuaternionToAxisRecoversAxisAndAngle) {
    const double axis[3] = {0, 0.6, 0.8};
    double q[4], back[3], angle;
    QMMatrixCode::axisToQuaternion(q, axis, 2.0);
    QMMatrixCode::quaternionToAxis(back, angle, q);
    EXPECT_NEAR(2.0, angle, 1e-15);
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(axis[i], back[i], 1e-15);
    const double id[4] = {1, 0, 0, 0};
    QMMatrixCode::quaternionToAxis(back, angle, id);
    EXPECT_EQ(0.0, angle);
    EXPECT_EQ(1.0, back[0]);
}

TEST(QMMatrixCodeQuaternion, LerpFollowsTheSignOfTheDot) {
    const float a[4] = {1, 0, 0, 0}, b[4] = {0, 1, 0, 0}, c[4] = {-1, 0, 0, 0};
    float q[4];
    QMMatrixCode::quaternionLERP(q, a, b, 0.25f);
    EXPECT_EQ(0.75f, q[0]);
    EXPECT_EQ(0.25f, q[1]);
    QMMatrixCode::quaternionLERP(q, a, c, 0.25f);
    EXPECT_EQ(1.0f, q[0]);  // 0.75 a - 0.25 c
}

TEST(QMMatrixCodeQuaternion, SlerpOfAQuaternionWithItselfIsZero) {
    const float a[4] = {0.5f, 0.5f, 0.5f, 0.5f};
    float q[4];
    QMMatrixCode::quaternionSLERP(q, a, a, 0.5f);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(0.0f, q[i]);
    const float id[4] = {1, 0, 0, 0};
    QMMatrixCode::quaternionSLERP(q, id, id, 0.5f);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(0.0f, q[i]);
}

TEST(QMMatrixCodeQuaternion, SlerpIsUnnormalisedSinWeights) {
    // a . b = 0: theta = pi/2, weights sin(pi/4) each.
    const double a[4] = {1, 0, 0, 0}, b[4] = {0, 0, 0, 1};
    double q[4];
    QMMatrixCode::quaternionSLERP(q, a, b, 0.5);
    EXPECT_NEAR(std::sqrt(0.5), q[0], 1e-15);
    EXPECT_NEAR(std::sqrt(0.5), q[3], 1e-15);
}

TEST(QMMatrixCodeQuaternion, SlerpNegativeBranchKeepsPlusOnLastComponent) {
    // a . b = -0.5: theta = acos(0.5) = pi/3; at t = 0.5 both weights are
    // sin(pi/6) = 0.5.
    const double a[4] = {0.5, 0.5, 0.5, 0.5}, b[4] = {-0.5, -0.5, 0.5, -0.5};
    ASSERT_EQ(-0.5, QMMatrixCode::dotQuaternions(a, b));
    double q[4];
    QMMatrixCode::quaternionSLERP(q, a, b, 0.5);
    EXPECT_NEAR(0.5 * 0.5 - 0.5 * -0.5, q[0], 1e-15);
    EXPECT_NEAR(0.5 * 0.5 - 0.5 * -0.5, q[1], 1e-15);
    EXPECT_NEAR(0.5 * 0.5 - 0.5 * 0.5, q[2], 1e-15);
    EXPECT_NEAR(0.5 * 0.5 + 0.5 * -0.5, q[3], 1e-15);  // plus sign
}

TEST(QMMatrixCodeQuaternion, EulerToQuaternionMatchesEulerMatrix) {
    TestRng rng(5);
    for (int n = 0; n < 300; ++n) {
        const double e[3] = {rng.uniform(-3, 3), rng.uniform(-1.5, 1.5), rng.uniform(-3, 3)};
        double q[4], mq[16], me[16];
        QMMatrixCode::eulerToQuaternion(q, e);
        QMMatrixCode::quaternionToMatrix(mq, q);
        QMMatrixCode::eulerToMatrix(me, e);
        for (int i = 0; i < 16; ++i) EXPECT_NEAR(me[i], mq[i], 1e-14);
    }
}
