#include "geometry/IndexedSort.h"

#include "FloatBits.h"

#include <algorithm>
#include <vector>

namespace {

QMArray<QMVector3f> pointsOf(std::initializer_list<QMVector3f> list) {
    QMArray<QMVector3f> points;
    for (const QMVector3f& p : list) points.push_back(p);
    return points;
}

std::vector<int> asVector(const QMArray<int>& indices) { return std::vector<int>(indices.begin(), indices.end()); }

}  // namespace

TEST(IndexedSort, SortsIndicesByX) {
    const QMArray<QMVector3f> points =
        pointsOf({QMVector3f(3.0f, 0.0f, 0.0f), QMVector3f(1.0f, 0.0f, 0.0f), QMVector3f(2.0f, 0.0f, 0.0f)});
    QMArray<int> indices;
    indexedSort(indices, points, QMVector3fComp(0.0f));
    EXPECT_EQ((std::vector<int>{1, 2, 0}), asVector(indices));
}

TEST(IndexedSort, SortsLexicographicallyXThenYThenZ) {
    const QMArray<QMVector3f> points = pointsOf({
        QMVector3f(1.0f, 2.0f, 1.0f),  // 0
        QMVector3f(1.0f, 1.0f, 5.0f),  // 1
        QMVector3f(0.0f, 9.0f, 9.0f),  // 2
        QMVector3f(1.0f, 2.0f, 0.0f),  // 3
    });
    QMArray<int> indices;
    indexedSort(indices, points, QMVector3fComp(0.0f));
    EXPECT_EQ((std::vector<int>{2, 1, 3, 0}), asVector(indices));
}

TEST(IndexedSort, EqualPointsKeepIndexOrder) {
    const QMArray<QMVector3f> points = pointsOf({
        QMVector3f(1.0f, 1.0f, 1.0f),
        QMVector3f(0.0f, 0.0f, 0.0f),
        QMVector3f(1.0f, 1.0f, 1.0f),
        QMVector3f(0.0f, 0.0f, 0.0f),
    });
    QMArray<int> indices;
    indexedSort(indices, points, QMVector3fComp(0.0f));
    EXPECT_EQ((std::vector<int>{1, 3, 0, 2}), asVector(indices));
}

TEST(IndexedSort, ToleranceMakesCloseCoordinatesEqual) {
    const QMArray<QMVector3f> points = pointsOf({QMVector3f(1.0f, 5.0f, 0.0f), QMVector3f(1.05f, 1.0f, 0.0f)});
    QMArray<int> indices;
    indexedSort(indices, points, QMVector3fComp(0.0f));
    EXPECT_EQ((std::vector<int>{0, 1}), asVector(indices));  // x decides
    indexedSort(indices, points, QMVector3fComp(0.1f));
    EXPECT_EQ((std::vector<int>{1, 0}), asVector(indices));  // x equal, y decides
}

TEST(IndexedSort, PointsEqualWithinToleranceKeepIndexOrder) {
    const QMArray<QMVector3f> points = pointsOf({QMVector3f(1.05f, 2.0f, 3.0f), QMVector3f(1.0f, 2.05f, 2.95f)});
    QMArray<int> indices;
    indexedSort(indices, points, QMVector3fComp(0.1f));
    EXPECT_EQ((std::vector<int>{0, 1}), asVector(indices));
}

TEST(IndexedSort, ResizesTheIndexList) {
    const QMArray<QMVector3f> points = pointsOf({QMVector3f(2.0f, 0.0f, 0.0f), QMVector3f(1.0f, 0.0f, 0.0f)});
    QMArray<int> indices(5, 42);
    indexedSort(indices, points, QMVector3fComp(0.0f));
    EXPECT_EQ((std::vector<int>{1, 0}), asVector(indices));
}

TEST(IndexedSort, EmptyInputGivesEmptyIndices) {
    QMArray<int> indices(3, 7);
    indexedSort(indices, QMArray<QMVector3f>(), QMVector3fComp(0.0f));
    EXPECT_TRUE(indices.empty());
}

TEST(IndexedSort, PointerFormSortsTheFirstCountPoints) {
    const QMVector3f raw[4] = {QMVector3f(3.0f, 0.0f, 0.0f), QMVector3f(2.0f, 0.0f, 0.0f), QMVector3f(1.0f, 0.0f, 0.0f),
                               QMVector3f(0.0f, 0.0f, 0.0f)};
    QMArray<int> indices;
    indexedSort(indices, 3, raw, QMVector3fComp(0.0f));
    EXPECT_EQ((std::vector<int>{2, 1, 0}), asVector(indices));
}

TEST(IndexedSort, PointerFormWithNonPositiveCountIsEmpty) {
    const QMVector3f raw[1] = {QMVector3f(1.0f, 0.0f, 0.0f)};
    QMArray<int> indices(2, 9);
    indexedSort(indices, 0, raw, QMVector3fComp(0.0f));
    EXPECT_TRUE(indices.empty());
    indices.assign(2, 9);
    indexedSort(indices, -4, raw, QMVector3fComp(0.0f));
    EXPECT_TRUE(indices.empty());
}

TEST(IndexedSort, VectorStaticFormUsesTheTolerance) {
    const QMArray<QMVector3f> points = pointsOf({QMVector3f(1.0f, 5.0f, 0.0f), QMVector3f(1.05f, 1.0f, 0.0f)});
    QMArray<int> indices;
    QMVector3f::indexedSort(indices, points, 0.0f);
    EXPECT_EQ((std::vector<int>{0, 1}), asVector(indices));
    QMVector3f::indexedSort(indices, points, 0.1f);
    EXPECT_EQ((std::vector<int>{1, 0}), asVector(indices));
}

TEST(IndexedSort, ComparatorBreaksTiesOnIndex) {
    const QMVector3f raw[3] = {QMVector3f(1.0f, 1.0f, 1.0f), QMVector3f(1.0f, 1.0f, 1.0f),
                               QMVector3f(0.0f, 0.0f, 0.0f)};
    const QMIndexedComparator before(raw, QMVector3fComp(0.0f));
    EXPECT_TRUE(before(0, 1));
    EXPECT_FALSE(before(1, 0));
    EXPECT_FALSE(before(1, 1));
    EXPECT_TRUE(before(2, 0));
    EXPECT_FALSE(before(0, 2));
}

TEST(IndexedSort, ComparisonHolderReportsThreeWayResult) {
    const QMVector3fComp comp(0.5f);
    EXPECT_EQ(0, comp.compare(QMVector3f(1.0f, 0.0f, 0.0f), QMVector3f(1.4f, 0.0f, 0.0f)));
    EXPECT_EQ(-1, comp.compare(QMVector3f(1.0f, 0.0f, 0.0f), QMVector3f(1.6f, 0.0f, 0.0f)));
    EXPECT_EQ(1, comp.compare(QMVector3f(1.6f, 0.0f, 0.0f), QMVector3f(1.0f, 0.0f, 0.0f)));
    EXPECT_FLOAT_BITS(0.5f, comp.m_eps);
}

TEST(IndexedSort, LargeInputWithDuplicatesMatchesStableOrder) {
    // Enough points for the sort to partition; many exact duplicates.
    QMArray<QMVector3f> points;
    for (int i = 0; i < 500; ++i)
        points.push_back(QMVector3f((float)((i * 37) % 11), (float)((i * 13) % 5), (float)(i % 3)));
    QMArray<int> indices;
    indexedSort(indices, points, QMVector3fComp(0.0f));

    std::vector<int> expected(points.size());
    for (size_t i = 0; i < expected.size(); ++i) expected[i] = (int)i;
    std::stable_sort(expected.begin(), expected.end(),
                     [&](int a, int b) { return points[(size_t)a].compareEps(points[(size_t)b], 0.0f) < 0; });
    EXPECT_EQ(expected, asVector(indices));
}

TEST(IndexedSort, LargeInputWithToleranceStaysAPermutation) {
    // With a tolerance, "equal" is not transitive; the result must still be
    // a permutation of all indices.
    QMArray<QMVector3f> points;
    for (int i = 0; i < 300; ++i) points.push_back(QMVector3f((float)(i % 17) * 0.06f, (float)(i % 7) * 0.06f, 0.0f));
    QMArray<int> indices;
    indexedSort(indices, points, QMVector3fComp(0.1f));
    std::vector<int> sorted = asVector(indices);
    std::sort(sorted.begin(), sorted.end());
    for (int i = 0; i < 300; ++i) EXPECT_EQ(i, sorted[(size_t)i]);
}
