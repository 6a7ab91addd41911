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

// Long runs go through the four-at-a-time fold: every length and start
// around its blocks of four, with zeros of both signs among the extremes.
TEST(PointRunBoundsTest, LongRunsGiveTheBoxOfEveryPointInTurn) {
    std::mt19937 random(9);
    std::size_t different = 0, checked = 0;
    for (int trial = 0; trial < 4000; ++trial) {
        std::vector<QMVector3f> points = awkwardPoints(random, 1 + trial % 70);
        // Some runs of ordinary values only, whose extremes are zeros.
        if (trial % 4 == 0)
            for (QMVector3f& p : points) p = QMVector3f(std::fabs(p.x) == 0.0f ? p.x : 1.0f, p.y == p.y ? 0.0f : -0.0f,
                                                        std::isfinite(p.z) ? p.z : 2.0f);
        const bool finiteOnly = trial % 2 == 1;
        std::uniform_int_distribution<std::size_t> cut(0, points.size());
        const std::size_t start = trial % 5 == 0 ? 0 : cut(random);
        const std::vector<QMVector3f> run(points.begin() + start, points.end());
        BBox folded;
        addPointRun(folded, foldPointRun(points.data() + start, run.size(), finiteOnly));
        if (!sameBits(folded, addedInTurn(BBox(), run, finiteOnly))) ++different;
        ++checked;
    }
    EXPECT_EQ(different, 0u) << "of " << checked;
}

// The first zero of a coordinate decides the sign of a zero bound, wherever
// it lies among the blocks of four.
TEST(PointRunBoundsTest, AZeroBoundKeepsTheSignOfTheFirstZero) {
    for (std::size_t at = 1; at < 13; ++at) {
        std::vector<QMVector3f> points(13, QMVector3f(1.0f, 1.0f, -1.0f));
        points[at] = QMVector3f(-0.0f, -0.0f, -0.0f);
        if (at != 12) points[12] = QMVector3f(0.0f, 0.0f, 0.0f);
        BBox box;
        addPointRun(box, foldPointRun(points.data(), points.size(), false));
        EXPECT_TRUE(std::signbit(box.m_min.x)) << at;
        EXPECT_EQ(box.m_max.z, 0.0f) << at;
        EXPECT_TRUE(std::signbit(box.m_max.z)) << at;
        EXPECT_EQ(box.m_min.z, -1.0f) << at;
    }
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
