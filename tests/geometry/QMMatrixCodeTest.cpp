#include "geometry/QMMatrixCode.h"

#include "FloatBits.h"

#include <cmath>
#include <cstring>

namespace {

// 1 + 2^-12: its square, 1 + 2^-11 + 2^-24, needs more than float precision.
const float kOnePlus = 1.0f + std::ldexp(1.0f, -12);
const float kOnePlusSquaredInFloat = 1.0f + std::ldexp(1.0f, -11);
const float kTiny = std::ldexp(1.0f, -24);

void expectArrayBits(const float* expected, const float* actual, int n) {
    for (int i = 0; i < n; ++i) EXPECT_FLOAT_BITS(expected[i], actual[i]) << "element " << i;
}

}  // namespace

TEST(QMMatrixCode, SetIdentityWritesAllSixteenFloats) {
    float m[16];
    for (float& f : m) f = 9.0f;
    QMMatrixCode::setIdentity(m);
    const float expected[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    expectArrayBits(expected, m, 16);
}

TEST(QMMatrixCode, SetTranslateIsIdentityWithTranslationColumn) {
    float m[16];
    for (float& f : m) f = 9.0f;
    const float t[3] = {1.5f, -2.0f, 3.0f};
    QMMatrixCode::setTranslate(m, t);
    const float expected[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1.5f, -2.0f, 3.0f, 1};
    expectArrayBits(expected, m, 16);
}

TEST(QMMatrixCode, MultLeftByTranslateAddsToTranslationOnly) {
    float m[16] = {2, 0, 0, 0.5f, 0, 3, 0, 0.25f, 0, 0, 4, 0.125f, 1, 1, 1, 2};
    const float t[3] = {10.0f, -20.0f, 0.5f};
    QMMatrixCode::multLeftByTranslate(m, t);
    const float expected[16] = {2, 0, 0, 0.5f, 0, 3, 0, 0.25f, 0, 0, 4, 0.125f, 11, -19, 1.5f, 2};
    expectArrayBits(expected, m, 16);
}

TEST(QMMatrixCode, MultLeftByTranslateAddsInFloat) {
    float m[16];
    QMMatrixCode::setIdentity(m);
    m[12] = 1e8f;
    const float t[3] = {1.0f, 0.0f, 0.0f};
    QMMatrixCode::multLeftByTranslate(m, t);
    EXPECT_FLOAT_BITS(1e8f, m[12]);
}

TEST(QMMatrixCode, MultRightByTranslateAddsUpperBlockTimesT) {
    // Columns: (1, 4, 7), (2, 5, 8), (3, 6, 9); translation (1, 1, 1).
    float m[16] = {1, 4, 7, 0, 2, 5, 8, 0, 3, 6, 9, 0, 1, 1, 1, 1};
    const float t[3] = {1.0f, 0.0f, -1.0f};
    QMMatrixCode::multRightByTranslate(m, t);
    // Row r of the block times t: (1 - 3, 4 - 6, 7 - 9) = (-2, -2, -2).
    const float expected[16] = {1, 4, 7, 0, 2, 5, 8, 0, 3, 6, 9, 0, -1, -1, -1, 1};
    expectArrayBits(expected, m, 16);
}

TEST(QMMatrixCode, MultRightByTranslateLeavesProjectiveRowAlone) {
    float m[16] = {1, 0, 0, 2, 0, 1, 0, 3, 0, 0, 1, 4, 0, 0, 0, 5};
    const float t[3] = {1.0f, 1.0f, 1.0f};
    QMMatrixCode::multRightByTranslate(m, t);
    const float expected[16] = {1, 0, 0, 2, 0, 1, 0, 3, 0, 0, 1, 4, 1, 1, 1, 5};
    expectArrayBits(expected, m, 16);
}

TEST(QMMatrixCode, MultRightByTranslateRoundsProductSumBeforeAdding) {
    // The product sum 1 + 2^-11 + 2^-24 rounds to 1 + 2^-11 before it meets
    // the translation, so the 2^-24 is lost.
    float m[16];
    QMMatrixCode::setIdentity(m);
    m[0] = kOnePlus;
    m[12] = -kOnePlusSquaredInFloat;
    const float t[3] = {kOnePlus, 0.0f, 0.0f};
    QMMatrixCode::multRightByTranslate(m, t);
    EXPECT_FLOAT_BITS(0.0f, m[12]);
}

TEST(QMMatrixCode, MultRightByTranslateSumsProductsInDouble) {
    // 2^-24 survives the sum of the three products only in double.
    float m[16];
    QMMatrixCode::setIdentity(m);
    m[0] = kOnePlus;
    m[4] = -kOnePlusSquaredInFloat;
    m[8] = 0.0f;
    m[12] = 0.0f;
    const float t[3] = {kOnePlus, 1.0f, 0.0f};
    QMMatrixCode::multRightByTranslate(m, t);
    EXPECT_FLOAT_BITS(kTiny, m[12]);
}

TEST(QMMatrixCode, MultLeftByScaleScalesRowsIncludingTranslation) {
    float m[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    const float s[3] = {2.0f, -1.0f, 0.5f};
    QMMatrixCode::multLeftByScale(m, s);
    const float expected[16] = {2, -2, 1.5f, 4, 10, -6, 3.5f, 8, 18, -10, 5.5f, 12, 26, -14, 7.5f, 16};
    expectArrayBits(expected, m, 16);
}

TEST(QMMatrixCode, MultLeftByNegativeScaleGivesNegativeZeros) {
    float m[16];
    QMMatrixCode::setIdentity(m);
    const float s[3] = {-2.0f, 1.0f, 1.0f};
    QMMatrixCode::multLeftByScale(m, s);
    EXPECT_FLOAT_BITS(-2.0f, m[0]);
    EXPECT_FLOAT_BITS(-0.0f, m[4]);
    EXPECT_FLOAT_BITS(-0.0f, m[8]);
    EXPECT_FLOAT_BITS(-0.0f, m[12]);
    EXPECT_FLOAT_BITS(0.0f, m[1]);
}

TEST(QMMatrixCode, ProjectiveProductDividesByW) {
    float m[16];
    QMMatrixCode::setIdentity(m);
    m[15] = 2.0f;
    m[12] = 2.0f;
    const float v[3] = {2.0f, 4.0f, 6.0f};
    float r[3];
    QMMatrixCode::multMatrixVec3f(r, m, v);
    const float expected[3] = {2.0f, 2.0f, 3.0f};
    expectArrayBits(expected, r, 3);
}

TEST(QMMatrixCode, ProjectiveProductWithZeroWIsOrigin) {
    // w = x - 1 is zero at x = 1.
    float m[16];
    QMMatrixCode::setIdentity(m);
    m[3] = 1.0f;
    m[15] = -1.0f;
    m[12] = 5.0f;
    const float v[3] = {1.0f, 5.0f, 7.0f};
    float r[3] = {9.0f, 9.0f, 9.0f};
    QMMatrixCode::multMatrixVec3f(r, m, v);
    const float expected[3] = {0.0f, 0.0f, 0.0f};
    expectArrayBits(expected, r, 3);
}

TEST(QMMatrixCode, ProjectiveProductKeepsSignOfDivision) {
    float m[16];
    QMMatrixCode::setIdentity(m);
    m[15] = -1.0f;
    const float v[3] = {0.0f, 2.0f, 0.0f};
    float r[3];
    QMMatrixCode::multMatrixVec3f(r, m, v);
    const float expected[3] = {-0.0f, -2.0f, -0.0f};
    expectArrayBits(expected, r, 3);
}

TEST(QMMatrixCode, ProjectiveProductDividesInDouble) {
    // The affine sum 2^-24 (exact only in double) divided by w = 1.
    float m[16];
    QMMatrixCode::setIdentity(m);
    m[0] = kOnePlus;
    m[12] = -kOnePlusSquaredInFloat;
    const float v[3] = {kOnePlus, 0.0f, 0.0f};
    float r[3];
    QMMatrixCode::multMatrixVec3f(r, m, v);
    EXPECT_FLOAT_BITS(kTiny, r[0]);
}

TEST(QMMatrixCode, AffineProductSumsInDoubleAndRoundsOnce) {
    float m[16];
    QMMatrixCode::setIdentity(m);
    m[0] = kOnePlus;
    m[12] = -kOnePlusSquaredInFloat;
    const float v[3] = {kOnePlus, 3.0f, 4.0f};
    float r[3];
    QMMatrixCode::multAffineMatrixVec3f(r, m, v);
    const float expected[3] = {kTiny, 3.0f, 4.0f};
    expectArrayBits(expected, r, 3);
}

TEST(QMMatrixCode, AffineProductIgnoresProjectiveRow) {
    float m[16];
    QMMatrixCode::setIdentity(m);
    m[3] = 1.0f;
    m[15] = 0.0f;
    m[13] = 1.0f;
    const float v[3] = {2.0f, 4.0f, 6.0f};
    float r[3];
    QMMatrixCode::multAffineMatrixVec3f(r, m, v);
    const float expected[3] = {2.0f, 5.0f, 6.0f};
    expectArrayBits(expected, r, 3);
}

TEST(QMMatrixCode, AffineProductAlwaysAddsTranslation) {
    // Adding the +0 translation turns -0 into +0.
    float m[16];
    QMMatrixCode::setIdentity(m);
    const float v[3] = {-0.0f, -0.0f, -0.0f};
    float r[3];
    QMMatrixCode::multAffineMatrixVec3f(r, m, v);
    const float expected[3] = {0.0f, 0.0f, 0.0f};
    expectArrayBits(expected, r, 3);
}

TEST(QMMatrixCode, DirectionProductSkipsTranslation) {
    float m[16] = {1, 4, 7, 0, 2, 5, 8, 0, 3, 6, 9, 0, 100, 200, 300, 1};
    const float v[3] = {1.0f, 1.0f, -1.0f};
    float r[3];
    QMMatrixCode::multAffineMatrixVec3fAsDir(r, m, v);
    const float expected[3] = {0.0f, 3.0f, 6.0f};
    expectArrayBits(expected, r, 3);
}

TEST(QMMatrixCode, DirectionProductKeepsNegativeZero) {
    float m[16];
    QMMatrixCode::setIdentity(m);
    const float v[3] = {-0.0f, -0.0f, -0.0f};
    float r[3];
    QMMatrixCode::multAffineMatrixVec3fAsDir(r, m, v);
    const float expected[3] = {-0.0f, -0.0f, -0.0f};
    expectArrayBits(expected, r, 3);
}

TEST(QMMatrixCode, FourComponentProduct) {
    float m[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    const float v[4] = {1.0f, 0.0f, -1.0f, 2.0f};
    float r[4];
    QMMatrixCode::multMatrixVec4f(r, m, v);
    // Column 0 - column 2 + 2 * column 3.
    const float expected[4] = {18.0f, 20.0f, 22.0f, 24.0f};
    expectArrayBits(expected, r, 4);
}

TEST(QMMatrixCode, ProductsMayWriteOverTheirInput) {
    // Swaps x and y: column 0 is (0, 1, 0, 0), column 1 is (1, 0, 0, 0).
    float m[16];
    QMMatrixCode::setIdentity(m);
    m[0] = 0.0f;
    m[1] = 1.0f;
    m[4] = 1.0f;
    m[5] = 0.0f;
    float v[4] = {1.0f, 2.0f, 3.0f, 1.0f};
    QMMatrixCode::multAffineMatrixVec3f(v, m, v);
    EXPECT_FLOAT_BITS(2.0f, v[0]);
    EXPECT_FLOAT_BITS(1.0f, v[1]);
    QMMatrixCode::multMatrixVec3f(v, m, v);
    EXPECT_FLOAT_BITS(1.0f, v[0]);
    EXPECT_FLOAT_BITS(2.0f, v[1]);
    QMMatrixCode::multAffineMatrixVec3fAsDir(v, m, v);
    EXPECT_FLOAT_BITS(2.0f, v[0]);
    EXPECT_FLOAT_BITS(1.0f, v[1]);
    QMMatrixCode::multMatrixVec4f(v, m, v);
    EXPECT_FLOAT_BITS(1.0f, v[0]);
    EXPECT_FLOAT_BITS(2.0f, v[1]);
    EXPECT_FLOAT_BITS(3.0f, v[2]);
    EXPECT_FLOAT_BITS(1.0f, v[3]);
}
