#include "geometry/QMMatrixCode.h"

#include "QMMatrixCodeTestUtil.h"

#include <gtest/gtest.h>

#include <cmath>

TEST(QMMatrixCodeEuler, IdentityGivesZeroAngles) {
    float m[16], e[3];
    QMMatrixCode::setIdentity(m);
    QMMatrixCode::matrixToEuler(e, m);
    EXPECT_EQ(0.0f, e[0]);
    EXPECT_EQ(0.0f, e[1]);
    EXPECT_EQ(0.0f, e[2]);
}

TEST(QMMatrixCodeEuler, SecondAngleIsMinusAsinOfElementTwo) {
    double m[16], e[3];
    QMMatrixCode::setRotate(m, 0.0, 0.4, 0.0);
    QMMatrixCode::matrixToEuler(e, m);
    EXPECT_NEAR(0.4, e[1], 1e-15);
    EXPECT_NEAR(0.0, e[0], 1e-15);
    EXPECT_NEAR(0.0, e[2], 1e-15);
}

TEST(QMMatrixCodeEuler, RoundTripAwayFromGimbalLock) {
    TestRng rng(77);
    for (int n = 0; n < 1000; ++n) {
        const double in[3] = {rng.uniform(-1.5, 1.5), rng.uniform(-1.4, 1.4), rng.uniform(-1.5, 1.5)};
        double m[16], e[3], m2[16];
        QMMatrixCode::eulerToMatrix(m, in);
        QMMatrixCode::matrixToEuler(e, m);
        for (int i = 0; i < 3; ++i) EXPECT_NEAR(in[i], e[i], 1e-12) << n;
        QMMatrixCode::eulerToMatrix(m2, e);
        for (int i = 0; i < 16; ++i) EXPECT_NEAR(m[i], m2[i], 1e-12);
    }
}

TEST(QMMatrixCodeEuler, AnyAnglesGiveTheSameMatrixBack) {
    TestRng rng(78);
    for (int n = 0; n < 500; ++n) {
        const double in[3] = {rng.uniform(-3.1, 3.1), rng.uniform(-3.1, 3.1), rng.uniform(-3.1, 3.1)};
        double m[16], e[3], m2[16];
        QMMatrixCode::eulerToMatrix(m, in);
        if (std::fabs(m[2]) > 0.9999) continue;  // too close to gimbal lock
        QMMatrixCode::matrixToEuler(e, m);
        QMMatrixCode::eulerToMatrix(m2, e);
        for (int i = 0; i < 16; ++i) EXPECT_NEAR(m[i], m2[i], 1e-12);
    }
}

TEST(QMMatrixCodeEuler, GimbalLockPutsTheTurnIntoX) {
    for (double ay : {M_PI / 2, -M_PI / 2}) {
        double m[16], e[3], m2[16];
        QMMatrixCode::setRotate(m, 0.3, ay, 0.5);
        m[2] = ay > 0 ? -1.0 : 1.0;  // exactly at the pole
        QMMatrixCode::matrixToEuler(e, m);
        EXPECT_EQ(0.0, e[2]);
        EXPECT_NEAR(ay, e[1], 1e-15);
        QMMatrixCode::eulerToMatrix(m2, e);
        for (int i = 0; i < 16; ++i) EXPECT_NEAR(m[i], m2[i], 1e-12) << i;
    }
}

TEST(QMMatrixCodeEuler, QuaternionToEulerRoundTrip) {
    TestRng rng(79);
    for (int n = 0; n < 300; ++n) {
        const double in[3] = {rng.uniform(-1.5, 1.5), rng.uniform(-1.4, 1.4), rng.uniform(-1.5, 1.5)};
        double q[4], e[3];
        QMMatrixCode::eulerToQuaternion(q, in);
        // Any length: the sqrt(2) factor of matrix quaternions included.
        for (double& c : q) c *= std::sqrt(2.0);
        QMMatrixCode::quaternionToEuler(e, q);
        for (int i = 0; i < 3; ++i) EXPECT_NEAR(in[i], e[i], 1e-12);
    }
}
