#include "geometry/QMMatrixCode.h"

#include "FloatBits.h"
#include "QMMatrixCodeTestUtil.h"

#include <cmath>

namespace {

const float kA[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
const float kB[16] = {2, 0, 1, 0, 0, 3, 0, 1, 1, 0, 4, 0, 5, 6, 7, 1};

void expectNear16(const float* e, const float* a, float tol) {
    for (int i = 0; i < 16; ++i) EXPECT_NEAR(e[i], a[i], tol) << "element " << i;
}

}  // namespace

TEST(QMMatrixCodeArithmetic, AddAndSubAreElementWise) {
    float r[16];
    QMMatrixCode::addMatrices(r, kA, kB);
    EXPECT_EQ(3.0f, r[0]);
    EXPECT_EQ(22.0f, r[14]);
    QMMatrixCode::subMatrices(r, kA, kB);
    EXPECT_EQ(-1.0f, r[0]);
    EXPECT_EQ(8.0f, r[12]);
}

TEST(QMMatrixCodeArithmetic, MultMatricesIsColumnMajorProduct) {
    // (A B)(r, c) = sum_k A(r, k) B(k, c); A(0, k) = 1, 5, 9, 13; B(k, 0) = 2, 0, 1, 0.
    float r[16];
    QMMatrixCode::multMatrices(r, kA, kB);
    EXPECT_EQ(11.0f, r[0]);
    // Column 3 of B is (5, 6, 7, 1): row 1 of A is 2, 6, 10, 14.
    EXPECT_EQ(2.0f * 5 + 6 * 6 + 10 * 7 + 14 * 1, r[13]);
}

TEST(QMMatrixCodeArithmetic, MultMatricesDoubleMatchesFloat) {
    double a[16], b[16], r[16];
    for (int i = 0; i < 16; ++i) a[i] = kA[i], b[i] = kB[i];
    float rf[16];
    QMMatrixCode::multMatrices(r, a, b);
    QMMatrixCode::multMatrices(rf, kA, kB);
    for (int i = 0; i < 16; ++i) EXPECT_EQ((double)rf[i], r[i]);
}

TEST(QMMatrixCodeArithmetic, MultMatricesRoundsOnceFromDouble) {
    // 1 + 2^-12 squared is 1 + 2^-11 + 2^-24: rounded once, the tie rounds to
    // even (1 + 2^-11); the extra 2^-24 term from a second product makes the
    // double sum round up.
    const float e = 1.0f + std::ldexp(1.0f, -12);
    float a[16] = {e, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, std::ldexp(1.0f, -24), 0, 0, 1};
    float b[16] = {e, 0, 0, 1, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    float r[16];
    QMMatrixCode::multMatrices(r, a, b);
    const double exact = (double)e * e + std::ldexp(1.0, -24);
    EXPECT_FLOAT_BITS((float)exact, r[0]);
}

TEST(QMMatrixCodeArithmetic, ScalarNegAbs) {
    float r[16];
    QMMatrixCode::multMatrixScalar(r, kA, 0.5f);
    EXPECT_EQ(8.0f, r[15]);
    QMMatrixCode::neg(r, kA);
    EXPECT_EQ(-16.0f, r[15]);
    QMMatrixCode::abs(r, r);
    EXPECT_EQ(16.0f, r[15]);
}

TEST(QMMatrixCodeArithmetic, MultColRowIsOuterProduct) {
    const float col[4] = {1, 2, 3, 4};
    const float row[4] = {10, 20, 30, 40};
    float r[16];
    QMMatrixCode::multColRow(r, col, row);
    EXPECT_EQ(10.0f, r[0]);  // (0, 0)
    EXPECT_EQ(20.0f, r[1]);  // (1, 0) = col1 row0
    EXPECT_EQ(20.0f, r[4]);  // (0, 1) = col0 row1
    EXPECT_EQ(30.0f, r[2]);  // (2, 0)
    EXPECT_EQ(160.0f, r[15]);
}

TEST(QMMatrixCodeArithmetic, MultAffineMatricesForcesLastRow) {
    float r[16];
    QMMatrixCode::multAffineMatrices(r, kB, kB);
    EXPECT_EQ(0.0f, r[3]);
    EXPECT_EQ(0.0f, r[7]);
    EXPECT_EQ(0.0f, r[11]);
    EXPECT_EQ(1.0f, r[15]);
    // Translation = A t + t with A = upper block of kB.
    EXPECT_EQ(2.0f * 5 + 0 * 6 + 1 * 7 + 5, r[12]);
}

TEST(QMMatrixCodeArithmetic, TransposeAndTransposeAffine) {
    float r[16];
    QMMatrixCode::transpose(r, kA);
    EXPECT_EQ(5.0f, r[1]);
    EXPECT_EQ(4.0f, r[12]);
    QMMatrixCode::transposeAffine(r, kA);
    EXPECT_EQ(5.0f, r[1]);
    EXPECT_EQ(13.0f, r[12]);
    EXPECT_EQ(4.0f, r[3]);
}

TEST(QMMatrixCodeArithmetic, SetScaleAndRightScale) {
    float m[16];
    const float s[3] = {2, 3, 4};
    QMMatrixCode::setScale(m, s);
    EXPECT_EQ(2.0f, m[0]);
    EXPECT_EQ(3.0f, m[5]);
    EXPECT_EQ(4.0f, m[10]);
    EXPECT_EQ(1.0f, m[15]);
    float a[16];
    for (int i = 0; i < 16; ++i) a[i] = kA[i];
    QMMatrixCode::multRightByScale(a, s);
    EXPECT_EQ(2.0f, a[0]);
    EXPECT_EQ(15.0f, a[4]);
    EXPECT_EQ(13.0f, a[12]);
}

TEST(QMMatrixCodeArithmetic, RotateZQuarterTurnTakesXOntoY) {
    float m[16];
    QMMatrixCode::setIdentity(m);
    QMMatrixCode::multLeftByRotateZ(m, (float)(M_PI / 2));
    const float v[3] = {1, 0, 0};
    float r[3];
    QMMatrixCode::multAffineMatrixVec3f(r, m, v);
    EXPECT_NEAR(0.0f, r[0], 1e-7f);
    EXPECT_NEAR(1.0f, r[1], 1e-7f);
    EXPECT_EQ(0.0f, r[2]);
}

TEST(QMMatrixCodeArithmetic, AxisRotateMatchesCoordinateRotate) {
    const float axis[3] = {0, 1, 0};
    float a[16], b[16];
    QMMatrixCode::setIdentity(a);
    QMMatrixCode::setIdentity(b);
    QMMatrixCode::multRightByRotate(a, axis, 0.7f);
    QMMatrixCode::multRightByRotateY(b, 0.7f);
    for (int i = 0; i < 16; ++i) EXPECT_FLOAT_BITS(a[i], b[i]);
    float c[16];
    QMMatrixCode::setRotate(c, axis, 0.7f);
    for (int i = 0; i < 16; ++i) EXPECT_FLOAT_BITS(a[i], c[i]);
}

TEST(QMMatrixCodeArithmetic, LeftAndRightRotateComposeInOrder) {
    // Rx then Rz applied to X: Rz Rx X = Rz X = Y.
    float m[16];
    QMMatrixCode::setIdentity(m);
    QMMatrixCode::multRightByRotateZ(m, (float)(M_PI / 2));
    QMMatrixCode::multRightByRotateX(m, (float)(M_PI / 2));
    const float v[3] = {1, 0, 0};
    float r[3];
    QMMatrixCode::multAffineMatrixVec3f(r, m, v);
    EXPECT_NEAR(1.0f, r[1], 1e-7f);
    QMMatrixCode::setIdentity(m);
    QMMatrixCode::multLeftByRotateX(m, (float)(M_PI / 2));
    QMMatrixCode::multLeftByRotateZ(m, (float)(M_PI / 2));
    QMMatrixCode::multAffineMatrixVec3f(r, m, v);
    EXPECT_NEAR(1.0f, r[1], 1e-7f);
}

TEST(QMMatrixCodeArithmetic, ProjectionMapsNearAndFarPlanes) {
    double m[16];
    QMMatrixCode::setProjection(m, M_PI / 2, 1.0, 1.0, 10.0);
    const double nearPoint[3] = {0, 0, -1};
    const double farPoint[3] = {0, 0, -10};
    double r[3];
    QMMatrixCode::multMatrixVec3d(r, m, nearPoint);
    EXPECT_NEAR(-1.0, r[2], 1e-12);
    QMMatrixCode::multMatrixVec3d(r, m, farPoint);
    EXPECT_NEAR(1.0, r[2], 1e-12);
    EXPECT_NEAR(1.0, m[0], 1e-15);
}

TEST(QMMatrixCodeArithmetic, DoubleVectorProducts) {
    double m[16];
    const double t[3] = {1, 2, 3};
    QMMatrixCode::setTranslate(m, t);
    const double v[3] = {1, 1, 1};
    double r[3];
    QMMatrixCode::multAffineMatrixVec3d(r, m, v);
    EXPECT_EQ(4.0, r[2]);
    QMMatrixCode::multAffineMatrixVec3dAsDir(r, m, v);
    EXPECT_EQ(1.0, r[2]);
    const double v4[4] = {1, 1, 1, 2};
    double r4[4];
    QMMatrixCode::multMatrixVec4d(r4, m, v4);
    EXPECT_EQ(7.0, r4[2]);
    EXPECT_EQ(2.0, r4[3]);
    m[15] = 0.0;
    const double z[3] = {0, 0, 0};
    QMMatrixCode::multMatrixVec3d(r, m, z);
    EXPECT_EQ(0.0, r[0]);
}

TEST(QMMatrixCodeArithmetic, DoubleLeftRightTranslateAndScale) {
    double m[16];
    QMMatrixCode::setIdentity(m);
    const double s[3] = {2, 3, 4};
    QMMatrixCode::multLeftByScale(m, s);
    const double t[3] = {1, 1, 1};
    QMMatrixCode::multRightByTranslate(m, t);
    EXPECT_EQ(2.0, m[12]);
    EXPECT_EQ(4.0, m[14]);
    QMMatrixCode::multLeftByTranslate(m, t);
    EXPECT_EQ(3.0, m[12]);
}

TEST(QMMatrixCodeArithmetic, ThreeByThreeOperations) {
    const double a[9] = {1, 2, 3, 4, 5, 6, 7, 8, 10};
    const double id[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    double r[9];
    QMMatrixCode::multMatrices3x3(r, a, id);
    for (int i = 0; i < 9; ++i) EXPECT_EQ(a[i], r[i]);
    QMMatrixCode::transposeMatrix3x3(r, a);
    EXPECT_EQ(4.0, r[1]);
    EXPECT_EQ(2.0, r[3]);
    const double col[3] = {1, 2, 3};
    const double row[3] = {4, 5, 6};
    QMMatrixCode::multColRow3x3(r, col, row);
    EXPECT_EQ(8.0, r[1]);
    EXPECT_EQ(5.0, r[3]);
}

TEST(QMMatrixCodeArithmetic, CopiesBetweenShapes) {
    const float m3[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    float m4[16];
    QMMatrixCode::copyMat3fToMat4f(m4, m3);
    const float expected[16] = {1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 9, 0, 0, 0, 0, 1};
    for (int i = 0; i < 16; ++i) EXPECT_EQ(expected[i], m4[i]);
    double d3[9];
    QMMatrixCode::copyMat4fToMat3d(d3, m4);
    for (int i = 0; i < 9; ++i) EXPECT_EQ((double)m3[i], d3[i]);
    float f3[9];
    QMMatrixCode::copyMat3dToMat3f(f3, d3);
    QMMatrixCode::copyMat4fToMat3f(f3, m4);
    for (int i = 0; i < 9; ++i) EXPECT_EQ(m3[i], f3[i]);
    double d4[16];
    QMMatrixCode::copyMat3dToMat4d(d4, d3);
    float back[16];
    QMMatrixCode::copyMat4dToMat4f(back, d4);
    for (int i = 0; i < 16; ++i) EXPECT_EQ(expected[i], back[i]);
    QMMatrixCode::copyMat4fToMat4d(d4, back);
    QMMatrixCode::copyMat4dToMat3d(d3, d4);
    QMMatrixCode::copyMat3fToMat3d(d3, m3);
    QMMatrixCode::copyMat3dToMat4f(back, d3);
    for (int i = 0; i < 16; ++i) EXPECT_EQ(expected[i], back[i]);
}

TEST(QMMatrixCodeArithmetic, AssociativityOfProductsOverRandomMatrices) {
    TestRng rng(1234);
    for (int n = 0; n < 200; ++n) {
        double a[16], b[16], c[16], ab[16], bc[16], l[16], r[16];
        for (int i = 0; i < 16; ++i) a[i] = rng.uniform(-2, 2), b[i] = rng.uniform(-2, 2), c[i] = rng.uniform(-2, 2);
        QMMatrixCode::multMatrices(ab, a, b);
        QMMatrixCode::multMatrices(l, ab, c);
        QMMatrixCode::multMatrices(bc, b, c);
        QMMatrixCode::multMatrices(r, a, bc);
        for (int i = 0; i < 16; ++i) EXPECT_NEAR(l[i], r[i], 1e-12);
    }
    (void)expectNear16;
}
