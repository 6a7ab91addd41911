#include "geometry/QMVector.h"

#include "FloatBits.h"

#include <cmath>
#include <cstring>
#include <limits>

TEST(QMVector3f, IsThreePackedFloatsReadableFromRawBytes) {
    EXPECT_EQ(sizeof(QMVector3f), 12u);
    const float raw[6] = {1.0f, 2.0f, 3.0f, -4.0f, 5.5f, -0.0f};
    QMArray<QMVector3f> points(2);
    std::memcpy(points.data(), raw, sizeof raw);
    EXPECT_VEC3_BITS(points[0], 1.0f, 2.0f, 3.0f);
    EXPECT_VEC3_BITS(points[1], -4.0f, 5.5f, -0.0f);
}

TEST(QMVector3f, NewElementsOfAnArrayAreZero) {
    QMArray<QMVector3f> points;
    points.resize(3);
    for (const QMVector3f& p : points) EXPECT_VEC3_BITS(p, 0.0f, 0.0f, 0.0f);
}

TEST(QMVector3f, StaticZeroAndAxes) {
    EXPECT_VEC3_BITS(QMVector3f::m_zero, 0.0f, 0.0f, 0.0f);
    EXPECT_VEC3_BITS(QMVector3f::m_axis[0], 1.0f, 0.0f, 0.0f);
    EXPECT_VEC3_BITS(QMVector3f::m_axis[1], 0.0f, 1.0f, 0.0f);
    EXPECT_VEC3_BITS(QMVector3f::m_axis[2], 0.0f, 0.0f, 1.0f);
}

TEST(QMVector3f, ConstructsFromVector2fInTheZeroPlane) {
    const QMVector3f v(QMVector2f(2.5f, -1.0f));
    EXPECT_VEC3_BITS(v, 2.5f, -1.0f, 0.0f);
}

TEST(QMVector3f, NormalizeOfZeroLeavesItAndReturnsOne) {
    QMVector3f v(0.0f, 0.0f, 0.0f);
    EXPECT_FLOAT_BITS(1.0f, v.normalize());
    EXPECT_VEC3_BITS(v, 0.0f, 0.0f, 0.0f);
}

TEST(QMVector3f, NormalizeOfZeroKeepsSignedZeros) {
    QMVector3f v(-0.0f, 0.0f, -0.0f);
    EXPECT_FLOAT_BITS(1.0f, v.normalize());
    EXPECT_VEC3_BITS(v, -0.0f, 0.0f, -0.0f);
}

TEST(QMVector3f, NormalizeReturnsLengthAndScalesToUnit) {
    QMVector3f v(3.0f, 4.0f, 0.0f);
    EXPECT_FLOAT_BITS(5.0f, v.normalize());
    EXPECT_VEC3_BITS(v, 0.6f, 0.8f, 0.0f);
}

TEST(QMVector3f, NormalizeOfNegativeAxisVector) {
    QMVector3f v(0.0f, -2.0f, 0.0f);
    EXPECT_FLOAT_BITS(2.0f, v.normalize());
    EXPECT_VEC3_BITS(v, 0.0f, -1.0f, 0.0f);
}

TEST(QMVector3f, NormalizeScalesVectorsFarBelowTheTwoFloatThreshold) {
    // 1e-15 is well above the 1e-24 cut-off of this form.
    QMVector3f v(1e-15f, 0.0f, 0.0f);
    const float len = v.normalize();
    EXPECT_FLOAT_EQ(1e-15f, len);
    EXPECT_FLOAT_EQ(1.0f, v.x);
    EXPECT_FLOAT_BITS(0.0f, v.y);
    EXPECT_FLOAT_BITS(0.0f, v.z);
}

TEST(QMVector3f, NormalizeOfUnderflowingLengthLeavesVector) {
    // x*x underflows to 0 in float, so the length is 0.
    QMVector3f v(1e-30f, 0.0f, 0.0f);
    EXPECT_FLOAT_BITS(1.0f, v.normalize());
    EXPECT_VEC3_BITS(v, 1e-30f, 0.0f, 0.0f);
}

TEST(QMVector3f, NormalizeDividesEachComponentByTheFloatLength) {
    QMVector3f v(1.0f, 2.0f, 2.0f);
    EXPECT_FLOAT_BITS(3.0f, v.normalize());
    EXPECT_VEC3_BITS(v, (float)(1.0 / 3.0), (float)(2.0 / 3.0), (float)(2.0 / 3.0));
}

TEST(QMVector3f, DivisionByFloat) {
    const QMVector3f v(2.0f, 4.0f, -6.0f);
    const QMVector3f r = v / 2.0f;
    EXPECT_VEC3_BITS(r, 1.0f, 2.0f, -3.0f);
    EXPECT_VEC3_BITS(v, 2.0f, 4.0f, -6.0f);
}

TEST(QMVector3f, DivideAssign) {
    QMVector3f v(2.0f, 4.0f, 6.0f);
    QMVector3f& r = (v /= 4.0f);
    EXPECT_EQ(&r, &v);
    EXPECT_VEC3_BITS(v, 0.5f, 1.0f, 1.5f);
}

TEST(QMVector3f, DivisionByZeroFollowsFloatRules) {
    const QMVector3f r = QMVector3f(1.0f, -1.0f, 0.0f) / 0.0f;
    EXPECT_EQ(std::numeric_limits<float>::infinity(), r.x);
    EXPECT_EQ(-std::numeric_limits<float>::infinity(), r.y);
    EXPECT_TRUE(std::isnan(r.z));
}

TEST(QMVector3f, ArithmeticOperators) {
    const QMVector3f a(1.0f, 2.0f, 3.0f);
    const QMVector3f b(0.5f, -2.0f, 4.0f);
    EXPECT_VEC3_BITS(a + b, 1.5f, 0.0f, 7.0f);
    EXPECT_VEC3_BITS(a - b, 0.5f, 4.0f, -1.0f);
    EXPECT_VEC3_BITS(-a, -1.0f, -2.0f, -3.0f);
    EXPECT_VEC3_BITS(a * 2.0f, 2.0f, 4.0f, 6.0f);
    EXPECT_FLOAT_BITS(8.5f, a.dot(b));
    EXPECT_FLOAT_BITS(3.0f, QMVector3f(1.0f, 2.0f, 2.0f).length());
}

TEST(QMVector3f, NegationOfZeroGivesNegativeZero) {
    EXPECT_VEC3_BITS(-QMVector3f(0.0f, 0.0f, 0.0f), -0.0f, -0.0f, -0.0f);
}

TEST(QMVector3f, CrossOfAxesAndGeneralVectors) {
    QMVector3f r;
    QMVector3f::cross(r, QMVector3f(1.0f, 0.0f, 0.0f), QMVector3f(0.0f, 1.0f, 0.0f));
    EXPECT_VEC3_BITS(r, 0.0f, 0.0f, 1.0f);
    QMVector3f::cross(r, QMVector3f(1.0f, 2.0f, 3.0f), QMVector3f(4.0f, 5.0f, 6.0f));
    EXPECT_VEC3_BITS(r, -3.0f, 6.0f, -3.0f);
}

TEST(QMVector3f, CrossResultMayBeAnOperand) {
    QMVector3f a(1.0f, 2.0f, 3.0f);
    const QMVector3f b(4.0f, 5.0f, 6.0f);
    QMVector3f::cross(a, a, b);
    EXPECT_VEC3_BITS(a, -3.0f, 6.0f, -3.0f);
}

TEST(QMVector3f, SubIsComponentWiseDifference) {
    QMVector3f r;
    QMVector3f::sub(r, QMVector3f(5.0f, 7.0f, 9.0f), QMVector3f(1.0f, 2.0f, 10.0f));
    EXPECT_VEC3_BITS(r, 4.0f, 5.0f, -1.0f);
    QMVector3f::sub(r, r, r);
    EXPECT_VEC3_BITS(r, 0.0f, 0.0f, 0.0f);
}

TEST(QMVector3f, CompareEpsLetsYDecideWhenXIsWithinTolerance) {
    EXPECT_EQ(1, QMVector3f(1.0f, 2.0f, 3.0f).compareEps(QMVector3f(1.05f, 0.0f, 0.0f), 0.1f));
}

TEST(QMVector3f, CompareEpsXDecidesBeyondTolerance) {
    EXPECT_EQ(-1, QMVector3f(0.0f, 9.0f, 9.0f).compareEps(QMVector3f(1.0f, 0.0f, 0.0f), 0.1f));
    EXPECT_EQ(1, QMVector3f(1.0f, 0.0f, 0.0f).compareEps(QMVector3f(0.0f, 9.0f, 9.0f), 0.1f));
}

TEST(QMVector3f, CompareEpsZDecidesLast) {
    EXPECT_EQ(-1, QMVector3f(1.0f, 2.0f, 3.0f).compareEps(QMVector3f(1.0f, 2.0f, 4.0f), 0.0f));
    EXPECT_EQ(1, QMVector3f(1.0f, 2.0f, 5.0f).compareEps(QMVector3f(1.0f, 2.0f, 4.0f), 0.0f));
}

TEST(QMVector3f, CompareEpsEqualWithinToleranceOnAllAxes) {
    EXPECT_EQ(0, QMVector3f(1.0f, 2.0f, 3.0f).compareEps(QMVector3f(1.05f, 1.95f, 3.05f), 0.1f));
    EXPECT_EQ(0, QMVector3f(1.0f, 2.0f, 3.0f).compareEps(QMVector3f(1.0f, 2.0f, 3.0f), 0.0f));
}

TEST(QMVector3f, CompareEpsDifferenceOfExactlyEpsIsEqual) {
    EXPECT_EQ(0, QMVector3f(1.0f, 0.0f, 0.0f).compareEps(QMVector3f(1.5f, 0.0f, 0.0f), 0.5f));
    EXPECT_EQ(0, QMVector3f(1.5f, 0.0f, 0.0f).compareEps(QMVector3f(1.0f, 0.0f, 0.0f), 0.5f));
}

TEST(QMVector3f, MakeOrthogonalToRemovesTheNormalComponent) {
    QMVector3f v(1.0f, 2.0f, 3.0f);
    EXPECT_TRUE(v.makeOrthogonalTo(QMVector3f(0.0f, 0.0f, 1.0f)));
    EXPECT_VEC3_BITS(v, 1.0f, 2.0f, 0.0f);
}

TEST(QMVector3f, MakeOrthogonalToDiagonalUnitNormal) {
    // n = (0.6, 0.8, 0): v . n = 0.6 * 3 + 0.8 * 4 = 5 in float, v - 5 n.
    QMVector3f v(3.0f, 4.0f, 7.0f);
    const QMVector3f n(0.6f, 0.8f, 0.0f);
    const float d = 3.0f * 0.6f + 4.0f * 0.8f;
    EXPECT_TRUE(v.makeOrthogonalTo(n));
    EXPECT_VEC3_BITS(v, 3.0f - d * 0.6f, 4.0f - d * 0.8f, 7.0f);
    EXPECT_NEAR(0.0f, v.dot(n), 1e-6f);
}

TEST(QMVector3f, FindOrthogonalUsesZWhenXThenYDominate) {
    QMVector3f r;
    QMVector3f(3.0f, 2.0f, 1.0f).findOrthogonalVector(r);
    EXPECT_VEC3_BITS(r, -2.0f, 3.0f, 0.0f);
}

TEST(QMVector3f, FindOrthogonalUsesYWhenXDominatesAndZBeatsY) {
    QMVector3f r;
    QMVector3f(3.0f, 1.0f, 2.0f).findOrthogonalVector(r);
    EXPECT_VEC3_BITS(r, 2.0f, 0.0f, -3.0f);
}

TEST(QMVector3f, FindOrthogonalUsesZWhenYDominatesAndXBeatsZ) {
    QMVector3f r;
    QMVector3f(2.0f, 3.0f, 1.0f).findOrthogonalVector(r);
    EXPECT_VEC3_BITS(r, -3.0f, 2.0f, 0.0f);
}

TEST(QMVector3f, FindOrthogonalUsesXWhenXIsSmallest) {
    QMVector3f r;
    QMVector3f(1.0f, 2.0f, 3.0f).findOrthogonalVector(r);
    EXPECT_VEC3_BITS(r, 0.0f, -3.0f, 2.0f);
}

TEST(QMVector3f, FindOrthogonalComparesMagnitudes) {
    const QMVector3f v(-3.0f, 2.0f, -1.0f);
    QMVector3f r;
    v.findOrthogonalVector(r);
    EXPECT_VEC3_BITS(r, -2.0f, -3.0f, 0.0f);
    EXPECT_FLOAT_BITS(0.0f, r.dot(v));
}

TEST(QMVector3f, FindOrthogonalOnTiesPicksXAxis) {
    // |x| <= |y| and |x| <= |z|: the X axis.
    QMVector3f r;
    QMVector3f(1.0f, 1.0f, 1.0f).findOrthogonalVector(r);
    EXPECT_VEC3_BITS(r, 0.0f, -1.0f, 1.0f);
}

TEST(QMVector3f, AngleOfPerpendicularVectorsIsHalfPi) {
    EXPECT_EQ(doubleBits(1.5707963267948966),
              doubleBits(QMVector3f(1.0f, 0.0f, 0.0f).angleD(QMVector3f(0.0f, 2.0f, 0.0f))));
}

TEST(QMVector3f, AngleOfOppositeVectorsIsPi) {
    EXPECT_EQ(doubleBits(3.141592653589793),
              doubleBits(QMVector3f(1.0f, 0.0f, 0.0f).angleD(QMVector3f(-3.0f, 0.0f, 0.0f))));
}

TEST(QMVector3f, AngleOfParallelVectorsIsZero) {
    EXPECT_EQ(0.0, QMVector3f(3.0f, 4.0f, 0.0f).angleD(QMVector3f(6.0f, 8.0f, 0.0f)));
}

TEST(QMVector3f, AngleWithZeroVectorIsZero) {
    EXPECT_EQ(0.0, QMVector3f(0.0f, 0.0f, 0.0f).angleD(QMVector3f(1.0f, 2.0f, 3.0f)));
    EXPECT_EQ(0.0, QMVector3f(1.0f, 2.0f, 3.0f).angleD(QMVector3f(0.0f, 0.0f, 0.0f)));
}

TEST(QMVector3f, AngleOfDiagonalIsQuarterPi) {
    // The length sqrt(2) is taken in float, so the result is pi/4 only to
    // float precision.
    const double a = QMVector3f(1.0f, 0.0f, 0.0f).angleD(QMVector3f(1.0f, 1.0f, 0.0f));
    EXPECT_NEAR(0.7853981633974483, a, 1e-7);
}

TEST(QMVector3f, AngleOfCosineOneThird) {
    // Lengths 3 and 3, dot 3.
    const double a = QMVector3f(3.0f, 0.0f, 0.0f).angleD(QMVector3f(1.0f, 2.0f, 2.0f));
    EXPECT_NEAR(1.2309594173407747, a, 1e-15);
}

TEST(QMVector3f, AngleOfCosineTwoThirds) {
    const double a = QMVector3f(3.0f, 0.0f, 0.0f).angleD(QMVector3f(2.0f, 1.0f, 2.0f));
    EXPECT_NEAR(0.8410686705679303, a, 1e-15);
}

TEST(QMVector3f, AngleOfCosineMinusTwoThirds) {
    const double a = QMVector3f(3.0f, 0.0f, 0.0f).angleD(QMVector3f(-2.0f, 1.0f, 2.0f));
    EXPECT_NEAR(2.300523983021863, a, 1e-15);
}

TEST(QMVector3f, AngleIsSymmetric) {
    const QMVector3f a(1.0f, -2.0f, 0.5f);
    const QMVector3f b(-0.25f, 3.0f, 4.0f);
    EXPECT_EQ(doubleBits(a.angleD(b)), doubleBits(b.angleD(a)));
}
