#include "geometry/QMVector.h"

#include "FloatBits.h"

#include <cstring>

TEST(QMVector4f, IsFourPackedFloats) {
    EXPECT_EQ(sizeof(QMVector4f), 16u);
    const float raw[4] = {1.0f, -2.0f, 3.0f, 0.5f};
    QMVector4f v;
    std::memcpy(&v, raw, sizeof raw);
    EXPECT_FLOAT_BITS(1.0f, v.x);
    EXPECT_FLOAT_BITS(-2.0f, v.y);
    EXPECT_FLOAT_BITS(3.0f, v.z);
    EXPECT_FLOAT_BITS(0.5f, v.w);
}

TEST(QMVector4f, DefaultIsZero) {
    const QMVector4f v;
    EXPECT_FLOAT_BITS(0.0f, v.x);
    EXPECT_FLOAT_BITS(0.0f, v.y);
    EXPECT_FLOAT_BITS(0.0f, v.z);
    EXPECT_FLOAT_BITS(0.0f, v.w);
}

TEST(QMVector4f, NormalizeScalesAllFourComponentsAndReturnsItself) {
    QMVector4f v(1.0f, 2.0f, 2.0f, 4.0f);  // length 5
    QMVector4f& r = v.normalize();
    EXPECT_EQ(&r, &v);
    EXPECT_FLOAT_BITS(0.2f, v.x);
    EXPECT_FLOAT_BITS(0.4f, v.y);
    EXPECT_FLOAT_BITS(0.4f, v.z);
    EXPECT_FLOAT_BITS(0.8f, v.w);
}

TEST(QMVector4f, NormalizeLeavesZeroVectorUnchanged) {
    QMVector4f v(0.0f, -0.0f, 0.0f, -0.0f);
    v.normalize();
    EXPECT_FLOAT_BITS(0.0f, v.x);
    EXPECT_FLOAT_BITS(-0.0f, v.y);
    EXPECT_FLOAT_BITS(0.0f, v.z);
    EXPECT_FLOAT_BITS(-0.0f, v.w);
}

TEST(QMVector4f, NormalizeScalesTinyButNonZeroVector) {
    QMVector4f v(0.0f, 0.0f, 0.0f, -1e-15f);
    v.normalize();
    EXPECT_FLOAT_BITS(0.0f, v.x);
    EXPECT_FLOAT_BITS(0.0f, v.y);
    EXPECT_FLOAT_BITS(0.0f, v.z);
    EXPECT_FLOAT_EQ(-1.0f, v.w);
}
