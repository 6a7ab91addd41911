#include "geometry/QMVector.h"

#include "FloatBits.h"

#include <cstring>

TEST(QMVector2f, IsTwoPackedFloats) {
    EXPECT_EQ(sizeof(QMVector2f), 8u);
    const float raw[4] = {1.5f, -2.0f, 3.25f, 4.0f};
    QMArray<QMVector2f> uvs(2);
    std::memcpy(uvs.data(), raw, sizeof raw);
    EXPECT_FLOAT_BITS(1.5f, uvs[0].x);
    EXPECT_FLOAT_BITS(-2.0f, uvs[0].y);
    EXPECT_FLOAT_BITS(3.25f, uvs[1].x);
    EXPECT_FLOAT_BITS(4.0f, uvs[1].y);
}

TEST(QMVector2f, DefaultAndZeroAreZero) {
    const QMVector2f v;
    EXPECT_FLOAT_BITS(0.0f, v.x);
    EXPECT_FLOAT_BITS(0.0f, v.y);
    EXPECT_FLOAT_BITS(0.0f, QMVector2f::m_zero.x);
    EXPECT_FLOAT_BITS(0.0f, QMVector2f::m_zero.y);
}

TEST(QMVector2f, NormalizeScalesToUnitLengthAndReturnsItself) {
    QMVector2f v(3.0f, 4.0f);
    QMVector2f& r = v.normalize();
    EXPECT_EQ(&r, &v);
    EXPECT_FLOAT_BITS(0.6f, v.x);
    EXPECT_FLOAT_BITS(0.8f, v.y);
}

TEST(QMVector2f, NormalizeLeavesTinyVectorUnchanged) {
    QMVector2f v(1e-7f, 0.0f);
    v.normalize();
    EXPECT_FLOAT_BITS(1e-7f, v.x);
    EXPECT_FLOAT_BITS(0.0f, v.y);
}

TEST(QMVector2f, NormalizeThresholdIncludesOneMillionth) {
    // A length of exactly 1e-6 still counts as zero.
    QMVector2f v(0.0f, -1e-6f);
    v.normalize();
    EXPECT_FLOAT_BITS(0.0f, v.x);
    EXPECT_FLOAT_BITS(-1e-6f, v.y);
}

TEST(QMVector2f, NormalizeJustAboveThresholdScales) {
    QMVector2f v(0.0f, -1.1e-6f);
    v.normalize();
    EXPECT_FLOAT_BITS(0.0f, v.x);
    EXPECT_FLOAT_BITS(-1.0f, v.y);
}

TEST(QMVector2f, NormalizeZeroVectorStaysZero) {
    QMVector2f v(0.0f, -0.0f);
    v.normalize();
    EXPECT_FLOAT_BITS(0.0f, v.x);
    EXPECT_FLOAT_BITS(-0.0f, v.y);
}

TEST(QMVector2f, NormalizeToLengthScalesByWantedOverActual) {
    QMVector2f v(3.0f, -4.0f);
    QMVector2f& r = v.normalize(10.0f);
    EXPECT_EQ(&r, &v);
    EXPECT_FLOAT_BITS(6.0f, v.x);
    EXPECT_FLOAT_BITS(-8.0f, v.y);
}

TEST(QMVector2f, NormalizeToLengthLeavesTinyVectorUnchanged) {
    QMVector2f v(5e-7f, 5e-7f);
    v.normalize(3.0f);
    EXPECT_FLOAT_BITS(5e-7f, v.x);
    EXPECT_FLOAT_BITS(5e-7f, v.y);
}

TEST(QMVector2f, SnapMovesComponentsCloseToTheirIntegerPart) {
    QMVector2f v(2.004f, -7.003f);
    v.snapToIntegerValues(0.01f);
    EXPECT_FLOAT_BITS(2.0f, v.x);
    EXPECT_FLOAT_BITS(-7.0f, v.y);
}

TEST(QMVector2f, SnapIgnoresTheIntegerAwayFromZero) {
    // 2.9999 is near 3, but only the truncated 2 is a candidate.
    QMVector2f v(2.9999f, -3.996f);
    v.snapToIntegerValues(0.01f);
    EXPECT_FLOAT_BITS(2.9999f, v.x);
    EXPECT_FLOAT_BITS(-3.996f, v.y);
}

TEST(QMVector2f, SnapToleranceIsExclusive) {
    QMVector2f v(4.5f, 1.25f);
    v.snapToIntegerValues(0.5f);
    EXPECT_FLOAT_BITS(4.5f, v.x);
    EXPECT_FLOAT_BITS(1.0f, v.y);
}

TEST(QMVector2f, SnapOfSmallNegativeGivesNegativeZero) {
    QMVector2f v(-0.001f, 0.001f);
    v.snapToIntegerValues(0.01f);
    EXPECT_FLOAT_BITS(-0.0f, v.x);
    EXPECT_FLOAT_BITS(0.0f, v.y);
}
