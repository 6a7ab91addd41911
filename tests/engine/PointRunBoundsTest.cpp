#include "engine/PointRunBounds.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

using ombrel::engine::addPointRun;
using ombrel::engine::foldPointRun;

// Runs folded apart and added in order give the box of adding every point in
// turn, to the bit, NaN, infinities and signed zeros included.

namespace {

bool sameBits(const BBox& a, const BBox& b) { return std::memcmp(&a, &b, sizeof(BBox)) == 0; }

std::vector<QMVector3f> awkwardPoints(std::mt19937& random, std::size_t n) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float inf = std::numeric_limits<float>::infinity();
    const float values[] = {0.0f, -0.0f, 1.0f, -1.0f, nan, -nan, inf, -inf, 2.5f, -2.5f, 1e-40f};
    std::uniform_int_distribution<std::size_t> pick(0, std::size(values) - 1);
    std::vector<QMVector3f> points;
    for (std::size_t i = 0; i < n; ++i) points.emplace_back(values[pick(random)], values[pick(random)], values[pick(random)]);
    return points;
}

BBox addedInTurn(const BBox& start, const std::vector<QMVector3f>& points, bool finiteOnly) {
    BBox box = start;
    for (const QMVector3f& p : points)
        if (!finiteOnly || (std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z))) box.add(p);
    return box;
}

}  // namespace

TEST(PointRunBoundsTest, RunsAddedInOrderGiveTheBoxOfEveryPointInTurn) {
    std::mt19937 random(5);
    std::size_t different = 0;
    for (int trial = 0; trial < 3000; ++trial) {
        const std::vector<QMVector3f> points = awkwardPoints(random, 1 + trial % 9);
        const bool finiteOnly = trial % 2 == 1;
        // Start empty, or from a box holding a point (itself possibly NaN).
        BBox start;
        if (trial % 3 == 1) start.add(QMVector3f(0.5f, -0.0f, 3.0f));
        if (trial % 3 == 2) start.add(awkwardPoints(random, 1)[0]);
        std::uniform_int_distribution<std::size_t> cut(0, points.size());
        std::size_t a = cut(random), b = cut(random);
        if (a > b) std::swap(a, b);
        BBox folded = start;
        addPointRun(folded, foldPointRun(points.data(), a, finiteOnly));
        addPointRun(folded, foldPointRun(points.data() + a, b - a, finiteOnly));
        addPointRun(folded, foldPointRun(points.data() + b, points.size() - b, finiteOnly));
        if (!sameBits(folded, addedInTurn(start, points, finiteOnly))) ++different;
    }
    EXPECT_EQ(different, 0u);
}

TEST(PointRunBoundsTest, AKnownScene) {
    const std::vector<QMVector3f> points = {{1, 2, 3}, {-1, 5, 0}, {4, -2, -0.0f}, {0, 0, 9}};
    BBox box;
    addPointRun(box, foldPointRun(points.data(), 2, false));
    addPointRun(box, foldPointRun(points.data() + 2, 2, false));
    EXPECT_EQ(box.m_min.x, -1.0f);
    EXPECT_EQ(box.m_min.y, -2.0f);
    EXPECT_EQ(box.m_min.z, 0.0f);
    EXPECT_FALSE(std::signbit(box.m_min.z));  // the first zero stays
    EXPECT_EQ(box.m_max.x, 4.0f);
    EXPECT_EQ(box.m_max.y, 5.0f);
    EXPECT_EQ(box.m_max.z, 9.0f);
}

TEST(PointRunBoundsTest, AnEmptyRunChangesNothing) {
    BBox box;
    addPointRun(box, foldPointRun(nullptr, 0, false));
    EXPECT_FALSE(box.isInitialized());
    const std::vector<QMVector3f> infinite = {{std::numeric_limits<float>::infinity(), 0, 0}};
    addPointRun(box, foldPointRun(infinite.data(), 1, true));
    EXPECT_FALSE(box.isInitialized());
}
