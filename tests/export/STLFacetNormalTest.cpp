#include "export/STLFacetNormal.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

// The batched normals have the bits of the one-at-a-time normal, whatever the
// batch size and the triangle's place in it.

namespace {

bool sameBits(const QMVector3f& a, const QMVector3f& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

// Points with the awkward values: zeros of both signs, tiny, huge, subnormal,
// infinite, NaN, and ordinary ones.
std::vector<QMVector3f> awkwardPoints() {
    const float inf = std::numeric_limits<float>::infinity();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float values[] = {0.0f, -0.0f, 1.0f, -1.0f, 1e-13f, -3e-13f, 1e-30f, 1e-40f, 3e38f, -3e38f,
                            inf, -inf, nan, 0.5f, 123.456f, -7.25f, 1e-7f, 2.0f};
    std::vector<QMVector3f> points;
    std::mt19937 random(7);
    std::uniform_int_distribution<std::size_t> pick(0, std::size(values) - 1);
    std::uniform_real_distribution<float> ordinary(-100.0f, 100.0f);
    for (int i = 0; i < 400; ++i) {
        if (i % 3 == 0)
            points.emplace_back(ordinary(random), ordinary(random), ordinary(random));
        else
            points.emplace_back(values[pick(random)], values[pick(random)], values[pick(random)]);
    }
    return points;
}

}  // namespace

TEST(STLFacetNormalTest, BatchedNormalsHaveTheBitsOfSingleOnes) {
    const std::vector<QMVector3f> points = awkwardPoints();
    std::mt19937 random(11);
    std::uniform_int_distribution<int> index(0, int(points.size()) - 1);
    std::vector<TriangleCorners> triangles;
    for (int t = 0; t < 5000; ++t) triangles.push_back({index(random), index(random), index(random)});
    triangles.push_back({0, 0, 0});  // a degenerate triangle: the zero normal stays
    for (std::size_t count : {std::size_t(1), std::size_t(3), std::size_t(4), std::size_t(7), triangles.size()}) {
        std::vector<QMVector3f> normals(count);
        stlFacetNormals(points.data(), points.size(), triangles.data() + triangles.size() - count, count, normals.data());
        std::size_t different = 0;
        for (std::size_t k = 0; k < count; ++k) {
            const TriangleCorners& t = triangles[triangles.size() - count + k];
            if (!sameBits(normals[k], stlFacetNormal(points[t.i0], points[t.i1], points[t.i2]))) ++different;
        }
        EXPECT_EQ(different, 0u) << count << " triangles";
    }
}

TEST(STLFacetNormalTest, KnownNormals) {
    const std::vector<QMVector3f> points = {{0, 0, 0}, {2, 0, 0}, {0, 2, 0}, {0, 0, 0}, {0, 0, 3}};
    const std::vector<TriangleCorners> triangles = {{0, 1, 2}, {0, 2, 1}, {0, 1, 3}, {0, 0, 4}};
    std::vector<QMVector3f> normals(4);
    stlFacetNormals(points.data(), points.size(), triangles.data(), 4, normals.data());
    EXPECT_EQ(normals[0].z, 1.0f);
    EXPECT_EQ(normals[1].z, -1.0f);
    // A zero normal keeps its signs: (2,0,0) x (-2,0,0) is (0, -0, 0).
    EXPECT_EQ(normals[2].x, 0.0f);
    EXPECT_TRUE(std::signbit(normals[2].y));
    EXPECT_FALSE(std::signbit(normals[2].z));
    EXPECT_EQ(normals[3].x, 0.0f);
}
