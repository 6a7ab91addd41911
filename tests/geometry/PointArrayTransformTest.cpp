#include "geometry/PointArrayTransform.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

// Transforming an array gives every point the bits of multVec3f, whatever
// the matrix (affine, projective, w reaching zero, NaN among its elements)
// and the point (zeros of both signs, subnormal, huge, infinite, NaN).

namespace {

float awkward(std::mt19937& random) {
    const float values[] = {0.0f,  -0.0f, 1.0f, -1.0f, 0.5f, 3e38f, -3e38f, 1e-40f,
                            1e-30f, std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity(),
                            std::numeric_limits<float>::quiet_NaN(), -std::numeric_limits<float>::quiet_NaN()};
    std::uniform_int_distribution<std::size_t> pick(0, std::size(values) - 1);
    std::uniform_real_distribution<float> ordinary(-100.0f, 100.0f);
    return random() % 3 == 0 ? values[pick(random)] : ordinary(random);
}

QMMatrix4f matrixOfKind(std::mt19937& random, int kind) {
    QMMatrix4f m;
    std::uniform_real_distribution<float> element(-3.0f, 3.0f);
    for (float& e : m.m_data) e = element(random);
    if (kind == 0) {  // affine: the placement matrices of the exports
        m.m_data[3] = m.m_data[7] = m.m_data[11] = 0.0f;
        m.m_data[15] = 1.0f;
    } else if (kind == 1) {  // w exactly 0 for every point
        m.m_data[3] = m.m_data[7] = m.m_data[11] = m.m_data[15] = 0.0f;
    } else if (kind == 2) {  // awkward elements
        for (float& e : m.m_data) e = awkward(random);
    }
    m.updateMatrixType();
    return m;
}

}  // namespace

TEST(PointArrayTransformTest, EveryPointHasTheBitsOfMultVec3f) {
    std::mt19937 random(13);
    std::size_t different = 0;
    for (int trial = 0; trial < 400; ++trial) {
        const QMMatrix4f m = matrixOfKind(random, trial % 4);
        std::vector<QMVector3f> points(trial % 23);
        for (QMVector3f& p : points) p = QMVector3f(awkward(random), awkward(random), awkward(random));
        std::vector<QMVector3f> transformed = points;
        multVec3fInPlace(m, transformed.data(), transformed.size());
        for (std::size_t i = 0; i < points.size(); ++i) {
            const QMVector3f expected = m.multVec3f(points[i]);
            if (std::memcmp(&expected, &transformed[i], sizeof expected) != 0) ++different;
        }
    }
    EXPECT_EQ(different, 0u);
}

TEST(PointArrayTransformTest, APlacementMatrixScalesAndMoves) {
    QMMatrix4f m;
    m.setScale(QMVector3f(2.0f, 2.0f, 2.0f));
    m.multLeftByTranslate(QMVector3f(1.0f, 0.0f, -1.0f));
    std::vector<QMVector3f> points = {{0, 0, 0}, {1, 2, 3}, {-0.5f, 0.25f, 0.5f}};
    multVec3fInPlace(m, points.data(), points.size());
    EXPECT_EQ(points[0].x, 1.0f);
    EXPECT_EQ(points[1].y, 4.0f);
    EXPECT_EQ(points[1].z, 5.0f);
    EXPECT_EQ(points[2].x, 0.0f);
    EXPECT_EQ(points[2].z, 0.0f);
}
