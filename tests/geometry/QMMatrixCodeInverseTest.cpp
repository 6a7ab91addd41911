#include "geometry/QMMatrixCode.h"

#include "FloatBits.h"
#include "QMMatrixCodeTestUtil.h"

#include <cmath>

TEST(QMMatrixCodeInverse, ZeroColumnHasNoInverse) {
    float m[16] = {1, 2, 3, 0, 0, 0, 0, 0, 4, 5, 6, 0, 0, 0, 0, 1};
    float r[16];
    EXPECT_FALSE(QMMatrixCode::inverseMatrix(r, m));
}

TEST(QMMatrixCodeInverse, DiagonalInverseIsReciprocals) {
    float m[16] = {2, 0, 0, 0, 0, 4, 0, 0, 0, 0, 8, 0, 0, 0, 0, 1};
    float r[16];
    ASSERT_TRUE(QMMatrixCode::inverseMatrix(r, m));
    const float expected[16] = {0.5f, 0, 0, 0, 0, 0.25f, 0, 0, 0, 0, 0.125f, 0, 0, 0, 0, 1};
    for (int i = 0; i < 16; ++i) EXPECT_EQ(expected[i], r[i]) << i;
}

TEST(QMMatrixCodeInverse, TinyPivotIsStillInverted) {
    // No tolerance: only an exact zero pivot fails.
    double m[16] = {0x1p-1000, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    double r[16];
    ASSERT_TRUE(QMMatrixCode::inverseMatrix(r, m));
    EXPECT_EQ(0x1p1000, r[0]);
}

TEST(QMMatrixCodeInverse, PivotingHandlesZeroLeadingElement) {
    // A permutation matrix needs row swaps.
    float m[16] = {0, 1, 0, 0, 1, 0, 0, 0, 0, 0, 0, 1, 0, 0, 1, 0};
    float r[16];
    ASSERT_TRUE(QMMatrixCode::inverseMatrix(r, m));
    for (int i = 0; i < 16; ++i) EXPECT_EQ(m[i], r[i]) << i;  // its own inverse
}

TEST(QMMatrixCodeInverse, InverseTimesMatrixIsIdentityOverRandomMatrices) {
    TestRng rng(42);
    int inverted = 0;
    for (int n = 0; n < 500; ++n) {
        double m[16], r[16], p[16];
        for (int i = 0; i < 16; ++i) m[i] = rng.uniform(-10, 10);
        for (int i = 0; i < 4; ++i) m[5 * i] += 25.0;  // well conditioned
        ASSERT_TRUE(QMMatrixCode::inverseMatrix(r, m));
        QMMatrixCode::multMatrices(p, r, m);
        for (int c = 0; c < 4; ++c)
            for (int k = 0; k < 4; ++k) EXPECT_NEAR(c == k ? 1.0 : 0.0, p[4 * c + k], 1e-12);
        ++inverted;
        float mf[16], rf[16], pf[16];
        for (int i = 0; i < 16; ++i) mf[i] = (float)m[i];
        ASSERT_TRUE(QMMatrixCode::inverseMatrix(rf, mf));
        QMMatrixCode::multMatrices(pf, rf, mf);
        for (int c = 0; c < 4; ++c)
            for (int k = 0; k < 4; ++k) EXPECT_NEAR(c == k ? 1.0f : 0.0f, pf[4 * c + k], 1e-5f);
    }
    EXPECT_EQ(500, inverted);
}

TEST(QMMatrixCodeInverse, AffineInverseMatchesGeneralInverse) {
    TestRng rng(7);
    for (int n = 0; n < 200; ++n) {
        double m[16] = {0};
        for (int c = 0; c < 4; ++c)
            for (int k = 0; k < 3; ++k) m[4 * c + k] = rng.uniform(-3, 3);
        for (int k = 0; k < 3; ++k) m[5 * k] += 8.0;
        m[15] = 1.0;
        double g[16], a[16];
        ASSERT_TRUE(QMMatrixCode::inverseMatrix(g, m));
        ASSERT_TRUE(QMMatrixCode::inverseAffine(a, m));
        for (int i = 0; i < 16; ++i) EXPECT_NEAR(g[i], a[i], 1e-12);
        double b[16];
        ASSERT_TRUE(QMMatrixCode::inverse3(b, m));
        for (int i = 0; i < 12; ++i) EXPECT_NEAR(g[i], b[i], 1e-12);
        EXPECT_EQ(0.0, b[12]);
    }
}

TEST(QMMatrixCodeInverse, SingularBlockFailsAffineInverse) {
    float m[16] = {1, 2, 3, 0, 2, 4, 6, 0, 0, 0, 1, 0, 5, 5, 5, 1};
    float r[16];
    EXPECT_FALSE(QMMatrixCode::inverseAffine(r, m));
    EXPECT_FALSE(QMMatrixCode::inverse3(r, m));
}

TEST(QMMatrixCodeInverse, RotationTranslationScaleInverses) {
    float m[16];
    const float axis[3] = {0, 0, 1};
    QMMatrixCode::setRotate(m, axis, 0.5f);
    const float t[3] = {1, 2, 3};
    QMMatrixCode::multLeftByTranslate(m, t);
    float r[16], p[16];
    QMMatrixCode::inverseRotateAndTr(r, m);
    QMMatrixCode::multMatrices(p, r, m);
    for (int c = 0; c < 4; ++c)
        for (int k = 0; k < 4; ++k) EXPECT_NEAR(c == k ? 1.0f : 0.0f, p[4 * c + k], 1e-6f);
    QMMatrixCode::inverseRotate(r, m);
    EXPECT_EQ(m[1], r[4]);
    EXPECT_EQ(0.0f, r[12]);

    QMMatrixCode::inverseTranslate(r, m);
    EXPECT_EQ(-1.0f, r[12]);
    EXPECT_EQ(-3.0f, r[14]);
    EXPECT_EQ(1.0f, r[0]);

    const float s[3] = {2, 4, 8};
    QMMatrixCode::setScale(m, s);
    QMMatrixCode::inverseScale(r, m);
    EXPECT_EQ(0.5f, r[0]);
    EXPECT_EQ(0.25f, r[5]);
    EXPECT_EQ(0.125f, r[10]);
}

TEST(QMMatrixCodeInverse, ThreeByThreeInverse) {
    const double m[9] = {2, 0, 0, 0, 4, 0, 1, 0, 8};
    double r[9], p[9];
    ASSERT_TRUE(QMMatrixCode::inverseMatrix3x3(r, m));
    QMMatrixCode::multMatrices3x3(p, m, r);
    for (int c = 0; c < 3; ++c)
        for (int k = 0; k < 3; ++k) EXPECT_NEAR(c == k ? 1.0 : 0.0, p[3 * c + k], 1e-15);
    const double singular[9] = {1, 2, 3, 2, 4, 6, 0, 0, 1};
    EXPECT_FALSE(QMMatrixCode::inverseMatrix3x3(r, singular));
}

TEST(QMMatrixCodeInverse, Det4) {
    float m[16] = {2, 0, 0, 0, 0, 4, 0, 0, 0, 0, 8, 0, 1, 2, 3, 1};
    EXPECT_EQ(64.0f, QMMatrixCode::det4(m));
    double p[16] = {0, 1, 0, 0, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    EXPECT_EQ(-1.0, QMMatrixCode::det4(p));
    TestRng rng(99);
    for (int n = 0; n < 100; ++n) {
        double a[16], b[16], ab[16];
        for (int i = 0; i < 16; ++i) a[i] = rng.uniform(-2, 2), b[i] = rng.uniform(-2, 2);
        QMMatrixCode::multMatrices(ab, a, b);
        EXPECT_NEAR(QMMatrixCode::det4(a) * QMMatrixCode::det4(b), QMMatrixCode::det4(ab), 1e-10);
    }
}
