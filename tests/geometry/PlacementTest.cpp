#include "geometry/QMMatrix4f.h"

#include "FloatBits.h"

#include <cstring>

namespace {

void expectDataBits(const float (&expected)[16], const QMMatrix4f& m) {
    for (int i = 0; i < 16; ++i) EXPECT_FLOAT_BITS(expected[i], m.m_data[i]) << "element " << i;
}

// A matrix that is neither the identity nor affine, to show that
// buildMatrix overwrites everything.
QMMatrix4f scribbled() {
    QMMatrix4f m;
    for (int i = 0; i < 16; ++i) m.m_data[i] = (float)(i + 1) * 0.5f;
    m.m_type = 6;
    return m;
}

const float kIdentity[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

}  // namespace

TEST(Placement, ScalesYExtentToHeightAndMovesMinimumToOrigin) {
    const BBox box(QMVector3f(0.0f, 0.0f, 0.0f), QMVector3f(10.0f, 20.0f, 5.0f));
    QMMatrix4f m = scribbled();
    buildMatrix(m, 100.0f, box);
    const float expected[16] = {5, 0, 0, 0, 0, 5, 0, 0, 0, 0, 5, 0, 0, 0, 0, 1};
    expectDataBits(expected, m);
    EXPECT_EQ(4, m.m_type);
    EXPECT_VEC3_BITS(m * QMVector3f(10.0f, 20.0f, 5.0f), 50.0f, 100.0f, 25.0f);
    EXPECT_VEC3_BITS(m * QMVector3f(0.0f, 0.0f, 0.0f), 0.0f, 0.0f, 0.0f);
    EXPECT_VEC3_BITS(m.multVec3f(QMVector3f(10.0f, 20.0f, 5.0f)), 50.0f, 100.0f, 25.0f);
}

TEST(Placement, BoxOffOriginWithHeightOne) {
    const BBox box(QMVector3f(-1.0f, 2.0f, -3.0f), QMVector3f(1.0f, 4.0f, 3.0f));
    QMMatrix4f m;
    buildMatrix(m, 1.0f, box);
    const float expected[16] = {0.5f, 0, 0, 0, 0, 0.5f, 0, 0, 0, 0, 0.5f, 0, 0.5f, -1.0f, 1.5f, 1};
    expectDataBits(expected, m);
    EXPECT_EQ(4, m.m_type);
    EXPECT_VEC3_BITS(m * QMVector3f(-1.0f, 2.0f, -3.0f), 0.0f, 0.0f, 0.0f);
    EXPECT_VEC3_BITS(m * QMVector3f(1.0f, 4.0f, 3.0f), 1.0f, 1.0f, 3.0f);
}

TEST(Placement, FollowsTheDocumentedFloatSteps) {
    // Uneven box: the translation is ((-c * s) + c) + (s * 0.5 * d - c), each
    // operation rounded to float in that order.
    const BBox box(QMVector3f(0.1f, 0.3f, -0.7f), QMVector3f(1.3f, 2.9f, 5.1f));
    const float height = 7.5f;
    QMMatrix4f m;
    buildMatrix(m, height, box);

    const float dx = 1.3f - 0.1f;
    const float dy = 2.9f - 0.3f;
    const float dz = 5.1f - -0.7f;
    const QMVector3f c = box.getCenter();
    const float s = height / dy;
    const float h = s * 0.5f;
    const float expected[16] = {s,
                                0,
                                0,
                                0,
                                0,
                                s,
                                0,
                                0,
                                0,
                                0,
                                s,
                                0,
                                (-c.x * s + c.x) + (h * dx - c.x),
                                (-c.y * s + c.y) + (h * dy - c.y),
                                (-c.z * s + c.z) + (h * dz - c.z),
                                1};
    expectDataBits(expected, m);

    // Close to s (p - min) at both corners.
    const QMVector3f lo = m * box.m_min;
    const QMVector3f hi = m * box.m_max;
    EXPECT_NEAR(0.0f, lo.x, 1e-6f);
    EXPECT_NEAR(0.0f, lo.y, 1e-6f);
    EXPECT_NEAR(0.0f, lo.z, 1e-6f);
    EXPECT_NEAR(height, hi.y, 1e-5f);
}

TEST(Placement, UsesTheYExtentNotTheLargest) {
    const BBox box(QMVector3f(0.0f, 0.0f, 0.0f), QMVector3f(100.0f, 2.0f, 50.0f));
    QMMatrix4f m;
    buildMatrix(m, 10.0f, box);
    EXPECT_VEC3_BITS(m * box.m_max, 500.0f, 10.0f, 250.0f);
}

TEST(Placement, FlatBoxGivesIdentity) {
    const BBox box(QMVector3f(0.0f, 0.0f, 0.0f), QMVector3f(10.0f, 0.000009f, 5.0f));
    for (float height : {100.0f, 1.0f, -3.0f, 0.0f}) {
        QMMatrix4f m = scribbled();
        buildMatrix(m, height, box);
        expectDataBits(kIdentity, m);
        EXPECT_EQ(0, m.m_type) << "height " << height;
    }
}

TEST(Placement, BoxJustTallerThanThresholdIsScaled) {
    const BBox box(QMVector3f(0.0f, 0.0f, 0.0f), QMVector3f(1.0f, 0.00002f, 1.0f));
    QMMatrix4f m;
    buildMatrix(m, 1.0f, box);
    EXPECT_EQ(4, m.m_type);
    EXPECT_FLOAT_BITS(1.0f / 0.00002f, m.m_data[5]);
    EXPECT_FLOAT_EQ(1.0f, (m * box.m_max).y);
}

TEST(Placement, ThresholdIsComparedAsDouble) {
    // 1e-5f is slightly below the double 1e-5, so a Y extent of exactly
    // 1e-5f still counts as flat, in either direction.
    QMMatrix4f m;
    buildMatrix(m, 10.0f, BBox(QMVector3f(0.0f, 0.0f, 0.0f), QMVector3f(1.0f, 1e-5f, 1.0f)));
    EXPECT_TRUE(m.equals(QMMatrix4f::m_identity));
    EXPECT_EQ(0, m.m_type);
    buildMatrix(m, 10.0f, BBox(QMVector3f(0.0f, 1e-5f, 0.0f), QMVector3f(1.0f, 0.0f, 1.0f)));
    EXPECT_TRUE(m.equals(QMMatrix4f::m_identity));
    EXPECT_EQ(0, m.m_type);
}

TEST(Placement, EmptyBoxGivesIdentity) {
    QMMatrix4f m = scribbled();
    buildMatrix(m, 100.0f, BBox());
    expectDataBits(kIdentity, m);
    EXPECT_EQ(0, m.m_type);
}

TEST(Placement, NegativeHeightMirrors) {
    const BBox box(QMVector3f(0.0f, 0.0f, 0.0f), QMVector3f(10.0f, 20.0f, 5.0f));
    QMMatrix4f m;
    buildMatrix(m, -100.0f, box);
    const float expected[16] = {-5, -0.0f, -0.0f, 0, -0.0f, -5, -0.0f, 0, -0.0f, -0.0f, -5, 0, 0, 0, 0, 1};
    expectDataBits(expected, m);
    EXPECT_EQ(4, m.m_type);
    EXPECT_VEC3_BITS(m * QMVector3f(10.0f, 20.0f, 5.0f), -50.0f, -100.0f, -25.0f);
    EXPECT_VEC3_BITS(m * QMVector3f(0.0f, 0.0f, 0.0f), 0.0f, 0.0f, 0.0f);
}

TEST(Placement, ZeroHeightCollapsesSceneToOrigin) {
    const BBox box(QMVector3f(1.0f, 2.0f, 3.0f), QMVector3f(4.0f, 6.0f, 8.0f));
    QMMatrix4f m;
    buildMatrix(m, 0.0f, box);
    EXPECT_EQ(4, m.m_type);
    EXPECT_VEC3_BITS(m * QMVector3f(4.0f, 6.0f, 8.0f), 0.0f, 0.0f, 0.0f);
    EXPECT_VEC3_BITS(m * QMVector3f(1.0f, 2.0f, 3.0f), 0.0f, 0.0f, 0.0f);
}

TEST(Placement, FlagFormIgnoresTheFlags) {
    const BBox box(QMVector3f(0.1f, -2.0f, 3.0f), QMVector3f(4.0f, 5.3f, 6.0f));
    QMMatrix4f reference;
    buildMatrix(reference, 12.5f, box);
    for (int bits = 0; bits < 16; ++bits) {
        QMMatrix4f m = scribbled();
        buildMatrix(m, 12.5f, (bits & 1) != 0, (bits & 2) != 0, (bits & 4) != 0, (bits & 8) != 0, box);
        EXPECT_EQ(0, std::memcmp(&reference, &m, sizeof m)) << "flags " << bits;
    }
}

TEST(Placement, CodeFormGivesTheSameMatrixForEveryCode) {
    const BBox box(QMVector3f(0.1f, -2.0f, 3.0f), QMVector3f(4.0f, 5.3f, 6.0f));
    QMMatrix4f reference;
    buildMatrix(reference, 12.5f, box);
    for (int code : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 255, -1}) {
        QMMatrix4f m = scribbled();
        buildMatrix(m, 12.5f, code, box);
        EXPECT_EQ(0, std::memcmp(&reference, &m, sizeof m)) << "code " << code;
    }
}

TEST(Placement, CodeFormOnFlatBoxGivesIdentity) {
    const BBox box(QMVector3f(0.0f, 1.0f, 0.0f), QMVector3f(10.0f, 1.0f, 5.0f));
    for (int code = 0; code < 16; ++code) {
        QMMatrix4f m = scribbled();
        buildMatrix(m, 100.0f, code, box);
        expectDataBits(kIdentity, m);
        EXPECT_EQ(0, m.m_type) << "code " << code;
    }
}
