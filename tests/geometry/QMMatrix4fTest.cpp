#include "geometry/QMMatrix4f.h"

#include "FloatBits.h"

#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>

namespace {

const float kOnePlus = 1.0f + std::ldexp(1.0f, -12);
const float kOnePlusSquaredInFloat = 1.0f + std::ldexp(1.0f, -11);
const float kTiny = std::ldexp(1.0f, -24);

void expectDataBits(const float (&expected)[16], const QMMatrix4f& m) {
    for (int i = 0; i < 16; ++i) EXPECT_FLOAT_BITS(expected[i], m.m_data[i]) << "element " << i;
}

QMMatrix4f matrixOf(const float (&data)[16], int type) {
    QMMatrix4f m;
    std::memcpy(m.m_data, data, sizeof data);
    m.m_type = type;
    return m;
}

const float kIdentity[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

}  // namespace

TEST(QMMatrix4f, LayoutIsSixteenFloatsThenTheType) {
    EXPECT_EQ(sizeof(QMMatrix4f), 68u);
    EXPECT_EQ(offsetof(QMMatrix4f, m_data), 0u);
    EXPECT_EQ(offsetof(QMMatrix4f, m_type), 64u);
}

TEST(QMMatrix4f, NewMatrixIsIdentityOfTypeZero) {
    const QMMatrix4f m;
    expectDataBits(kIdentity, m);
    EXPECT_EQ(0, m.m_type);
}

TEST(QMMatrix4f, StaticIdentityAndInversibleFlag) {
    expectDataBits(kIdentity, QMMatrix4f::m_identity);
    EXPECT_EQ(0, QMMatrix4f::m_identity.m_type);
    EXPECT_EQ(0, QMMatrix4f::s_inversibleFlag);
}

TEST(QMMatrix4f, CopyCopiesDataAndType) {
    const float data[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    const QMMatrix4f a = matrixOf(data, 6);
    QMMatrix4f b;
    b = a;
    expectDataBits(data, b);
    EXPECT_EQ(6, b.m_type);
    const QMMatrix4f c(a);
    EXPECT_EQ(0, std::memcmp(&a, &c, sizeof a));
}

TEST(QMMatrix4f, SetIdentityResetsDataAndType) {
    const float data[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    QMMatrix4f m = matrixOf(data, 6);
    m.setIdentity();
    expectDataBits(kIdentity, m);
    EXPECT_EQ(0, m.m_type);
}

TEST(QMMatrix4f, SetTranslationIsTypeOne) {
    QMMatrix4f m;
    m.m_type = 6;
    m.setTranslation(QMVector3f(1.0f, -2.0f, 3.5f));
    const float expected[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1.0f, -2.0f, 3.5f, 1};
    expectDataBits(expected, m);
    EXPECT_EQ(1, m.m_type);
}

TEST(QMMatrix4f, SetScaleIsDiagonalOfTypeFour) {
    QMMatrix4f m;
    m.m_type = 6;
    m.setScale(QMVector3f(2.0f, 3.0f, 4.0f));
    const float expected[16] = {2, 0, 0, 0, 0, 3, 0, 0, 0, 0, 4, 0, 0, 0, 0, 1};
    expectDataBits(expected, m);
    EXPECT_EQ(4, m.m_type);
}

TEST(QMMatrix4f, SetScaleWithNegativeFactorLeavesNegativeZerosInItsRow) {
    QMMatrix4f m;
    m.setScale(QMVector3f(1.0f, -2.0f, 1.0f));
    const float expected[16] = {1, -0.0f, 0, 0, 0, -2, 0, 0, 0, -0.0f, 1, 0, 0, -0.0f, 0, 1};
    expectDataBits(expected, m);
}

TEST(QMMatrix4f, SetScaleAboutCentreKeepsCentreFixed) {
    QMMatrix4f m;
    m.setScale(QMVector3f(2.0f, 2.0f, 2.0f), QMVector3f(1.0f, 1.0f, 1.0f));
    const float expected[16] = {2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, -1, -1, -1, 1};
    expectDataBits(expected, m);
    EXPECT_EQ(4, m.m_type);
    EXPECT_VEC3_BITS(m * QMVector3f(1.0f, 1.0f, 1.0f), 1.0f, 1.0f, 1.0f);
    EXPECT_VEC3_BITS(m * QMVector3f(2.0f, 1.0f, 0.0f), 3.0f, 1.0f, -1.0f);
}

TEST(QMMatrix4f, SetScaleAboutCentreTranslatesInThreeFloatSteps) {
    // Translation = (-c * s) + c, each step rounded to float.
    const QMVector3f c(0.1f, 0.3f, 0.7f);
    const QMVector3f s(3.0f, 0.7f, 1.1f);
    QMMatrix4f m;
    m.setScale(s, c);
    EXPECT_FLOAT_BITS(-c.x * s.x + c.x, m.m_data[12]);
    EXPECT_FLOAT_BITS(-c.y * s.y + c.y, m.m_data[13]);
    EXPECT_FLOAT_BITS(-c.z * s.z + c.z, m.m_data[14]);
}

TEST(QMMatrix4f, SetScaleAboutZeroCentreHasPositiveZeroTranslation) {
    // -0 from the negated centre, scaled, then +0 added: +0.
    QMMatrix4f m;
    m.setScale(QMVector3f(2.0f, 2.0f, 2.0f), QMVector3f(0.0f, 0.0f, 0.0f));
    EXPECT_FLOAT_BITS(0.0f, m.m_data[12]);
    EXPECT_FLOAT_BITS(0.0f, m.m_data[13]);
    EXPECT_FLOAT_BITS(0.0f, m.m_data[14]);
}

TEST(QMMatrix4f, MultLeftByTranslateAddsToTranslation) {
    QMMatrix4f m;
    m.setScale(QMVector3f(2.0f, 3.0f, 4.0f));
    m.multLeftByTranslate(QMVector3f(1.0f, 2.0f, 3.0f));
    const float expected[16] = {2, 0, 0, 0, 0, 3, 0, 0, 0, 0, 4, 0, 1, 2, 3, 1};
    expectDataBits(expected, m);
    EXPECT_VEC3_BITS(m * QMVector3f(1.0f, 1.0f, 1.0f), 3.0f, 5.0f, 7.0f);
}

TEST(QMMatrix4f, MultRightByTranslateTranslatesBeforeTheMatrix) {
    QMMatrix4f m;
    m.setScale(QMVector3f(2.0f, 3.0f, 4.0f));
    m.multRightByTranslate(QMVector3f(1.0f, 2.0f, 3.0f));
    const float expected[16] = {2, 0, 0, 0, 0, 3, 0, 0, 0, 0, 4, 0, 2, 6, 12, 1};
    expectDataBits(expected, m);
    EXPECT_EQ(4, m.m_type);
}

TEST(QMMatrix4f, MultRightByTranslateRoundsTheBlockProductBeforeAdding) {
    QMMatrix4f m;
    m.m_data[0] = kOnePlus;
    m.m_data[12] = -kOnePlusSquaredInFloat;
    m.multRightByTranslate(QMVector3f(kOnePlus, 0.0f, 0.0f));
    EXPECT_FLOAT_BITS(0.0f, m.m_data[12]);
}

TEST(QMMatrix4f, MultLeftByScaleScalesTheTranslationToo) {
    QMMatrix4f m;
    m.setTranslation(QMVector3f(1.0f, 2.0f, 3.0f));
    m.multLeftByScale(QMVector3f(2.0f, -1.0f, 0.5f));
    const float expected[16] = {2, -0.0f, 0, 0, 0, -1, 0, 0, 0, -0.0f, 0.5f, 0, 2, -2, 1.5f, 1};
    expectDataBits(expected, m);
    EXPECT_EQ(4, m.m_type);
}

TEST(QMMatrix4f, AffineModifiersSetTypeFourFromLowerTypes) {
    for (int type : {0, 1, 2, 3, 4}) {
        QMMatrix4f a;
        a.m_type = type;
        a.multLeftByTranslate(QMVector3f(1.0f, 0.0f, 0.0f));
        EXPECT_EQ(4, a.m_type) << "from " << type;
        QMMatrix4f b;
        b.m_type = type;
        b.multRightByTranslate(QMVector3f(1.0f, 0.0f, 0.0f));
        EXPECT_EQ(4, b.m_type) << "from " << type;
        QMMatrix4f c;
        c.m_type = type;
        c.multLeftByScale(QMVector3f(2.0f, 2.0f, 2.0f));
        EXPECT_EQ(4, c.m_type) << "from " << type;
    }
}

TEST(QMMatrix4f, AffineModifiersKeepProjectiveTypes) {
    for (int type : {5, 6}) {
        QMMatrix4f a;
        a.m_type = type;
        a.multLeftByTranslate(QMVector3f(1.0f, 0.0f, 0.0f));
        EXPECT_EQ(type, a.m_type);
        QMMatrix4f b;
        b.m_type = type;
        b.multRightByTranslate(QMVector3f(1.0f, 0.0f, 0.0f));
        EXPECT_EQ(type, b.m_type);
        QMMatrix4f c;
        c.m_type = type;
        c.multLeftByScale(QMVector3f(2.0f, 2.0f, 2.0f));
        EXPECT_EQ(type, c.m_type);
    }
}

TEST(QMMatrix4f, MultVec3fOfAffineMatrixMatchesOperator) {
    const float data[16] = {0.5f, 1, 0, 0, 0, 2, 0.25f, 0, 3, 0, 1, 0, 1, -1, 2, 1};
    const QMMatrix4f m = matrixOf(data, 4);
    const QMVector3f p(1.0f, 2.0f, -1.0f);
    const QMVector3f a = m.multVec3f(p);
    const QMVector3f b = m * p;
    // x: 0.5 + 0 - 3 + 1; y: 1 + 4 + 0 - 1; z: 0 + 0.5 - 1 + 2.
    EXPECT_VEC3_BITS(a, -1.5f, 4.0f, 1.5f);
    EXPECT_VEC3_BITS(b, -1.5f, 4.0f, 1.5f);
}

TEST(QMMatrix4f, MultVec3fDividesByW) {
    QMMatrix4f m;
    m.m_data[15] = 4.0f;
    m.m_type = 4;  // multVec3f ignores the type
    EXPECT_VEC3_BITS(m.multVec3f(QMVector3f(2.0f, 4.0f, 6.0f)), 0.5f, 1.0f, 1.5f);
}

TEST(QMMatrix4f, MultVec3fWithZeroWIsOrigin) {
    QMMatrix4f m;
    m.m_data[7] = 1.0f;  // w = y + 1
    m.m_data[15] = 1.0f;
    m.updateMatrixType();
    EXPECT_VEC3_BITS(m.multVec3f(QMVector3f(3.0f, -1.0f, 2.0f)), 0.0f, 0.0f, 0.0f);
}

TEST(QMMatrix4f, MultVec3fNegativeWGivesNegativeZero) {
    QMMatrix4f m;
    m.m_data[15] = -1.0f;
    m.updateMatrixType();
    EXPECT_VEC3_BITS(m.multVec3f(QMVector3f(0.0f, 0.0f, 0.0f)), -0.0f, -0.0f, -0.0f);
    EXPECT_VEC3_BITS(m * QMVector3f(0.0f, 0.0f, 0.0f), -0.0f, -0.0f, -0.0f);
}

TEST(QMMatrix4f, OperatorUsesAffineProductUpToTypeFour) {
    QMMatrix4f m;
    m.m_data[15] = 2.0f;
    for (int type : {0, 1, 2, 3, 4}) {
        m.m_type = type;
        SCOPED_TRACE(type);
        EXPECT_VEC3_BITS(m * QMVector3f(2.0f, 4.0f, 6.0f), 2.0f, 4.0f, 6.0f);
    }
}

TEST(QMMatrix4f, OperatorUsesProjectiveProductAboveTypeFour) {
    QMMatrix4f m;
    m.m_data[15] = 2.0f;
    for (int type : {5, 6}) {
        m.m_type = type;
        SCOPED_TRACE(type);
        EXPECT_VEC3_BITS(m * QMVector3f(2.0f, 4.0f, 6.0f), 1.0f, 2.0f, 3.0f);
    }
}

TEST(QMMatrix4f, PointProductsSumInDouble) {
    QMMatrix4f m;
    m.m_data[0] = kOnePlus;
    m.m_data[12] = -kOnePlusSquaredInFloat;
    m.m_type = 4;
    const QMVector3f p(kOnePlus, 0.0f, 0.0f);
    EXPECT_FLOAT_BITS(kTiny, (m * p).x);
    EXPECT_FLOAT_BITS(kTiny, m.multVec3f(p).x);
}

TEST(QMMatrix4f, IdentityProductTurnsNegativeZerosPositive) {
    const QMMatrix4f m;
    EXPECT_VEC3_BITS(m * QMVector3f(-0.0f, -0.0f, -0.0f), 0.0f, 0.0f, 0.0f);
    EXPECT_VEC3_BITS(m.multVec3f(QMVector3f(-0.0f, -0.0f, -0.0f)), 0.0f, 0.0f, 0.0f);
}

TEST(QMMatrix4f, DirectionProductIgnoresTranslation) {
    QMMatrix4f m;
    m.setScale(QMVector3f(2.0f, 3.0f, 4.0f));
    m.multLeftByTranslate(QMVector3f(10.0f, 20.0f, 30.0f));
    EXPECT_VEC3_BITS(m.multVec3fAsDir(QMVector3f(1.0f, -1.0f, 0.5f)), 2.0f, -3.0f, 2.0f);
    // No +0 translation is added, so negative zeros survive.
    EXPECT_VEC3_BITS(QMMatrix4f().multVec3fAsDir(QMVector3f(-0.0f, -1.0f, -0.0f)), -0.0f, -1.0f, -0.0f);
}

TEST(QMMatrix4f, FourComponentProduct) {
    const float data[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    const QMMatrix4f m = matrixOf(data, 6);
    QMVector4f r;
    m.multVec4f(r, QMVector4f(1.0f, 0.0f, -1.0f, 2.0f));
    EXPECT_FLOAT_BITS(18.0f, r.x);
    EXPECT_FLOAT_BITS(20.0f, r.y);
    EXPECT_FLOAT_BITS(22.0f, r.z);
    EXPECT_FLOAT_BITS(24.0f, r.w);
}

TEST(QMMatrix4f, EqualsComparesTheSixteenFloatsOnly) {
    QMMatrix4f a;
    QMMatrix4f b;
    b.m_type = 6;
    EXPECT_TRUE(a.equals(b));
    EXPECT_TRUE(a.equals(QMMatrix4f::m_identity));
    b.m_data[9] = 1e-30f;
    EXPECT_FALSE(a.equals(b));
}

TEST(QMMatrix4f, EqualsTreatsSignedZerosAsEqual) {
    QMMatrix4f a;
    QMMatrix4f b;
    b.m_data[4] = -0.0f;
    EXPECT_TRUE(a.equals(b));
}

TEST(QMMatrix4f, EqualsIsFalseWithNaN) {
    QMMatrix4f a;
    a.m_data[14] = std::numeric_limits<float>::quiet_NaN();
    const QMMatrix4f b = a;
    EXPECT_FALSE(a.equals(b));
}

TEST(QMMatrix4f, EqualsEpsAllowsDifferencesUpToEps) {
    QMMatrix4f a;
    QMMatrix4f b;
    b.m_data[0] = 1.25f;
    b.m_data[13] = -0.25f;
    EXPECT_TRUE(a.equalsEps(b, 0.25f));
    EXPECT_TRUE(a.equalsEps(b, 0.5f));
    EXPECT_FALSE(a.equalsEps(b, 0.125f));
    EXPECT_FALSE(a.equalsEps(b, 0.0f));
}

TEST(QMMatrix4f, UpdateMatrixTypeRecognisesAffine) {
    const float data[16] = {2, 3, 4, -0.0f, 5, 6, 7, 0, 8, 9, 10, 0, 11, 12, 13, 1};
    QMMatrix4f m = matrixOf(data, 0);
    m.updateMatrixType();
    EXPECT_EQ(4, m.m_type);
}

TEST(QMMatrix4f, UpdateMatrixTypeFindsProjectiveRow) {
    for (int i : {3, 7, 11}) {
        QMMatrix4f m;
        m.m_data[i] = 0.5f;
        m.updateMatrixType();
        EXPECT_EQ(6, m.m_type) << "element " << i;
    }
    QMMatrix4f m;
    m.m_data[15] = 2.0f;
    m.updateMatrixType();
    EXPECT_EQ(6, m.m_type);
}

TEST(QMMatrix4f, UpdateMatrixTypeTreatsNaNAsProjective) {
    QMMatrix4f m;
    m.m_data[11] = std::numeric_limits<float>::quiet_NaN();
    m.updateMatrixType();
    EXPECT_EQ(6, m.m_type);
    QMMatrix4f n;
    n.m_data[15] = std::numeric_limits<float>::quiet_NaN();
    n.updateMatrixType();
    EXPECT_EQ(6, n.m_type);
}

TEST(QMMatrix4f, IsAlwaysValid) {
    QMMatrix4f m;
    m.m_data[0] = std::numeric_limits<float>::quiet_NaN();
    EXPECT_TRUE(m.isValid());
}
