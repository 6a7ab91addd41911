#include "geometry/QMMatrixCode.h"

#include "FloatBits.h"
#include "QMMatrixCodeTestUtil.h"

#include <cmath>

TEST(QMMatrixCodeRoots, TableEntry64IsForcedTo255) {
    QMMatrixCode::initInvSqrtTable();
    EXPECT_EQ(255, QMMatrixCode::m_invSqrtTable[64]);
    // Entry 0 is 1/sqrt(0.5) = 1.4142135: mantissa 0x3504f3, bits 15..22 of
    // (bits + 8192) = 0x6a.
    EXPECT_EQ(0x6a, QMMatrixCode::m_invSqrtTable[0]);
}

TEST(QMMatrixCodeRoots, InvSqrtOfFourWithinOneNewtonStep) {
    const float table = QMMatrixCode::invSqrt(4.0f, 0);
    EXPECT_EQ(0.25f * (1.0f + 255.0f / 256.0f), table);
    const float y = QMMatrixCode::invSqrt(4.0f);
    EXPECT_NEAR(0.5f, y, 2e-5f);
    EXPECT_LT(std::fabs(y - 0.5f), std::fabs(table - 0.5f));
    EXPECT_NEAR(2.0f, QMMatrixCode::msqrt(4.0f), 1e-4f);
}

TEST(QMMatrixCodeRoots, MoreStepsConverge) {
    EXPECT_EQ(0.5f, QMMatrixCode::invSqrt(4.0f, 4));
    EXPECT_EQ(3.0f, QMMatrixCode::msqrt(9.0f, 4));
}

TEST(QMMatrixCodeRoots, InvSqrtRelativeErrorOverManyInputs) {
    TestRng rng(31337);
    // The table estimate comes from the first 6 mantissa bits of x, so its
    // relative error stays near 1/128; one Newton step leaves about
    // 1.5 e^2, below 1e-4.
    double worst = 0.0;
    for (int n = 0; n < 100000; ++n) {
        // Positive normal floats over a wide range of exponents.
        const float x = std::ldexp((float)rng.uniform(1.0, 2.0), (int)(rng.next() % 120) - 60);
        const double exact = 1.0 / std::sqrt((double)x);
        const double err = std::fabs(QMMatrixCode::invSqrt(x) - exact) / exact;
        if (err > worst) worst = err;
        const double err0 = std::fabs(QMMatrixCode::invSqrt(x, 0) - exact) / exact;
        EXPECT_LT(err0, 1.0 / 120) << x;
        const double serr = std::fabs(QMMatrixCode::msqrt(x) - std::sqrt((double)x)) / std::sqrt((double)x);
        EXPECT_LT(serr, 1e-4) << x;
    }
    EXPECT_LT(worst, 1e-4);
}
