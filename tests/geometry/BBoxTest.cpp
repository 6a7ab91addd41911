#include "geometry/BBox.h"

#include "FloatBits.h"

#include <cmath>
#include <cstring>
#include <limits>

#define EXPECT_BOX_BITS(box, nx, ny, nz, xx, xy, xz) \
    do {                                             \
        EXPECT_VEC3_BITS((box).m_min, nx, ny, nz);   \
        EXPECT_VEC3_BITS((box).m_max, xx, xy, xz);   \
    } while (0)

TEST(BBox, IsSixPackedFloatsMinThenMax) {
    EXPECT_EQ(sizeof(BBox), 24u);
    const float record[6] = {-1.0f, -2.0f, -3.0f, 4.0f, 5.0f, 6.0f};
    BBox box;
    std::memcpy(&box, record, sizeof record);
    EXPECT_BOX_BITS(box, -1.0f, -2.0f, -3.0f, 4.0f, 5.0f, 6.0f);
}

TEST(BBox, NewBoxIsEmpty) {
    const BBox box;
    EXPECT_FALSE(box.isInitialized());
    EXPECT_BOX_BITS(box, 0.0f, 0.0f, 0.0f, -1.0f, 0.0f, 0.0f);
}

TEST(BBox, ClearWritesOnlyMinXAndMaxX) {
    BBox box(QMVector3f(1.0f, 2.0f, 3.0f), QMVector3f(4.0f, 5.0f, 6.0f));
    ASSERT_TRUE(box.isInitialized());
    box.clear();
    EXPECT_FALSE(box.isInitialized());
    EXPECT_BOX_BITS(box, 0.0f, 2.0f, 3.0f, -1.0f, 5.0f, 6.0f);
}

TEST(BBox, DegenerateBoxIsInitialized) {
    const BBox box(QMVector3f(2.0f, 0.0f, 0.0f), QMVector3f(2.0f, -5.0f, 0.0f));
    EXPECT_TRUE(box.isInitialized());
}

TEST(BBox, FirstPointIntoNewBoxSetsBothCorners) {
    BBox box;
    box.add(QMVector3f(3.0f, -4.0f, 5.0f));
    EXPECT_TRUE(box.isInitialized());
    EXPECT_BOX_BITS(box, 3.0f, -4.0f, 5.0f, 3.0f, -4.0f, 5.0f);
}

TEST(BBox, FirstPointIntoClearedBoxSetsBothCorners) {
    BBox box(QMVector3f(-10.0f, -10.0f, -10.0f), QMVector3f(10.0f, 10.0f, 10.0f));
    box.clear();
    box.add(QMVector3f(1.0f, 2.0f, 3.0f));
    EXPECT_TRUE(box.isInitialized());
    EXPECT_BOX_BITS(box, 1.0f, 2.0f, 3.0f, 1.0f, 2.0f, 3.0f);
}

TEST(BBox, AddPointGrowsEachAxisIndependently) {
    BBox box;
    box.add(QMVector3f(0.0f, 0.0f, 0.0f));
    box.add(QMVector3f(1.0f, -1.0f, 2.0f));
    EXPECT_BOX_BITS(box, 0.0f, -1.0f, 0.0f, 1.0f, 0.0f, 2.0f);
    box.add(QMVector3f(0.5f, 0.5f, -3.0f));
    EXPECT_BOX_BITS(box, 0.0f, -1.0f, -3.0f, 1.0f, 0.5f, 2.0f);
}

TEST(BBox, AddPointInsideLeavesBoxUnchanged) {
    BBox box(QMVector3f(0.0f, 0.0f, 0.0f), QMVector3f(2.0f, 2.0f, 2.0f));
    box.add(QMVector3f(1.0f, 2.0f, 0.0f));
    EXPECT_BOX_BITS(box, 0.0f, 0.0f, 0.0f, 2.0f, 2.0f, 2.0f);
}

TEST(BBox, AddPointDoesNotRaiseMaxAfterLoweringMin) {
    // On an axis whose min exceeds its max, a value between them lowers the
    // min and does not go on to raise the max.
    BBox box(QMVector3f(0.0f, 5.0f, 0.0f), QMVector3f(10.0f, 1.0f, 0.0f));
    box.add(QMVector3f(1.0f, 3.0f, 0.0f));
    EXPECT_BOX_BITS(box, 0.0f, 3.0f, 0.0f, 10.0f, 1.0f, 0.0f);
}

TEST(BBox, AddBoxIntoEmptyBoxCopiesSourceEvenIfEmpty) {
    const BBox source(QMVector3f(1.0f, 2.0f, 3.0f), QMVector3f(0.0f, 5.0f, 6.0f));
    ASSERT_FALSE(source.isInitialized());
    BBox box;
    box.add(source);
    EXPECT_BOX_BITS(box, 1.0f, 2.0f, 3.0f, 0.0f, 5.0f, 6.0f);
}

TEST(BBox, AddBoxIntoInitialisedBoxAddsBothCorners) {
    BBox box(QMVector3f(0.0f, 0.0f, 0.0f), QMVector3f(1.0f, 1.0f, 1.0f));
    box.add(BBox(QMVector3f(-1.0f, 0.5f, 0.5f), QMVector3f(0.5f, 2.0f, 3.0f)));
    EXPECT_BOX_BITS(box, -1.0f, 0.0f, 0.0f, 1.0f, 2.0f, 3.0f);
}

TEST(BBox, AddBoxDoesNotTestSourceEmptiness) {
    // The new box's corners (0, 0, 0) and (-1, 0, 0) are added as points.
    BBox box(QMVector3f(0.0f, 0.0f, 0.0f), QMVector3f(1.0f, 1.0f, 1.0f));
    box.add(BBox());
    EXPECT_BOX_BITS(box, -1.0f, 0.0f, 0.0f, 1.0f, 1.0f, 1.0f);
}

TEST(BBox, AddBoxToItself) {
    BBox box(QMVector3f(-1.0f, 0.0f, 1.0f), QMVector3f(2.0f, 3.0f, 4.0f));
    box.add(box);
    EXPECT_BOX_BITS(box, -1.0f, 0.0f, 1.0f, 2.0f, 3.0f, 4.0f);
}

TEST(BBox, AddArrayAddsEveryPoint) {
    QMArray<QMVector3f> points;
    points.push_back(QMVector3f(1.0f, 1.0f, 1.0f));
    points.push_back(QMVector3f(-2.0f, 4.0f, 0.0f));
    points.push_back(QMVector3f(0.0f, -1.0f, 7.0f));
    BBox box;
    box.add(points);
    EXPECT_BOX_BITS(box, -2.0f, -1.0f, 0.0f, 1.0f, 4.0f, 7.0f);
}

TEST(BBox, AddVerticesOnEmptyListLeavesBoxAsItWas) {
    BBox box(QMVector3f(1.0f, 2.0f, 3.0f), QMVector3f(4.0f, 5.0f, 6.0f));
    addVerticesToBBox(box, QMArray<QMVector3f>());
    EXPECT_BOX_BITS(box, 1.0f, 2.0f, 3.0f, 4.0f, 5.0f, 6.0f);

    BBox empty;
    addVerticesToBBox(empty, QMArray<QMVector3f>());
    EXPECT_FALSE(empty.isInitialized());
}

TEST(BBox, AddVerticesAccumulatesWithoutClearing) {
    BBox box(QMVector3f(0.0f, 0.0f, 0.0f), QMVector3f(1.0f, 1.0f, 1.0f));
    QMArray<QMVector3f> points;
    points.push_back(QMVector3f(5.0f, 0.5f, 0.5f));
    points.push_back(QMVector3f(0.5f, -5.0f, 0.5f));
    addVerticesToBBox(box, points);
    EXPECT_BOX_BITS(box, 0.0f, -5.0f, 0.0f, 5.0f, 1.0f, 1.0f);
}

TEST(BBox, GetVerticesBBoxClearsFirst) {
    BBox box(QMVector3f(-10.0f, -10.0f, -10.0f), QMVector3f(10.0f, 10.0f, 10.0f));
    QMArray<QMVector3f> points;
    points.push_back(QMVector3f(1.0f, 2.0f, 3.0f));
    points.push_back(QMVector3f(0.0f, 4.0f, -1.0f));
    getVerticesBBox(box, points);
    EXPECT_BOX_BITS(box, 0.0f, 2.0f, -1.0f, 1.0f, 4.0f, 3.0f);
}

TEST(BBox, GetVerticesBBoxOfEmptyListIsEmpty) {
    BBox box(QMVector3f(-10.0f, -10.0f, -10.0f), QMVector3f(10.0f, 10.0f, 10.0f));
    getVerticesBBox(box, QMArray<QMVector3f>());
    EXPECT_FALSE(box.isInitialized());
    EXPECT_BOX_BITS(box, 0.0f, -10.0f, -10.0f, -1.0f, 10.0f, 10.0f);
}

TEST(BBox, CenterIsHalfTheCornerSum) {
    const BBox box(QMVector3f(0.0f, 0.0f, 0.0f), QMVector3f(2.0f, 4.0f, 6.0f));
    EXPECT_VEC3_BITS(box.getCenter(), 1.0f, 2.0f, 3.0f);
}

TEST(BBox, CenterAddsCornersInFloat) {
    // 1e8 + 1 is 1e8 in float, so the centre is 5e7 rather than 50000000.5.
    const BBox box(QMVector3f(1.0f, -3.0f, 0.0f), QMVector3f(1e8f, 1.0f, 0.0f));
    EXPECT_VEC3_BITS(box.getCenter(), 5e7f, -1.0f, 0.0f);
}

TEST(BBox, SizesDiameterAndArea) {
    const BBox box(QMVector3f(0.0f, 0.0f, 0.0f), QMVector3f(2.0f, 4.0f, 6.0f));
    EXPECT_FLOAT_BITS(6.0f, box.getMaxSize());
    EXPECT_FLOAT_BITS(2.0f, box.getMinSize());
    EXPECT_FLOAT_BITS(88.0f, box.getArea());
    EXPECT_FLOAT_BITS(std::sqrt(56.0f), box.getDiameter());
}

TEST(BBox, SizesPickTheRightAxis) {
    const BBox box(QMVector3f(1.0f, 1.0f, 1.0f), QMVector3f(4.0f, 2.0f, 6.0f));  // 3, 1, 5
    EXPECT_FLOAT_BITS(5.0f, box.getMaxSize());
    EXPECT_FLOAT_BITS(1.0f, box.getMinSize());
    EXPECT_FLOAT_BITS(46.0f, box.getArea());  // 2 * (3 + 5 + 15)
    EXPECT_FLOAT_BITS(std::sqrt(35.0f), box.getDiameter());
}

TEST(BBox, IntersectOverlappingBoxes) {
    const BBox a(QMVector3f(0.0f, 0.0f, 0.0f), QMVector3f(2.0f, 2.0f, 2.0f));
    const BBox b(QMVector3f(1.0f, 1.0f, 1.0f), QMVector3f(3.0f, 3.0f, 3.0f));
    EXPECT_TRUE(a.intersectBBox(b));
    EXPECT_TRUE(b.intersectBBox(a));
}

TEST(BBox, IntersectContainedBox) {
    const BBox a(QMVector3f(0.0f, 0.0f, 0.0f), QMVector3f(10.0f, 10.0f, 10.0f));
    const BBox b(QMVector3f(1.0f, 2.0f, 3.0f), QMVector3f(4.0f, 5.0f, 6.0f));
    EXPECT_TRUE(a.intersectBBox(b));
    EXPECT_TRUE(b.intersectBBox(a));
}

TEST(BBox, IntersectTouchingFacesCounts) {
    const BBox a(QMVector3f(0.0f, 0.0f, 0.0f), QMVector3f(1.0f, 1.0f, 1.0f));
    const BBox b(QMVector3f(1.0f, 0.0f, 0.0f), QMVector3f(2.0f, 1.0f, 1.0f));
    EXPECT_TRUE(a.intersectBBox(b));
}

TEST(BBox, IntersectFailsWhenSeparatedOnOneAxis) {
    const BBox a(QMVector3f(0.0f, 0.0f, 0.0f), QMVector3f(1.0f, 1.0f, 1.0f));
    const BBox b(QMVector3f(0.0f, 0.0f, 1.5f), QMVector3f(1.0f, 1.0f, 2.0f));
    EXPECT_FALSE(a.intersectBBox(b));
    EXPECT_FALSE(b.intersectBBox(a));
}

TEST(BBox, EmptyBoxIntersectsNothing) {
    const BBox big(QMVector3f(-5.0f, -5.0f, -5.0f), QMVector3f(5.0f, 5.0f, 5.0f));
    const BBox empty;
    EXPECT_FALSE(big.intersectBBox(empty));
    EXPECT_FALSE(empty.intersectBBox(big));
}

TEST(BBox, MinMaxDistanceSumsPerFaceNearAndFar) {
    const BBox box(QMVector3f(0.0f, 0.0f, 0.0f), QMVector3f(2.0f, 4.0f, 6.0f));
    float min2 = -1.0f, max2 = -1.0f;
    ASSERT_TRUE(box.getMinMaxDistance2(QMVector3f(-1.0f, 5.0f, 3.0f), min2, max2));
    EXPECT_FLOAT_BITS(11.0f, min2);  // 1 + 1 + 9
    EXPECT_FLOAT_BITS(43.0f, max2);  // 9 + 25 + 9
}

TEST(BBox, MinMaxDistanceOfInsidePointIsNotZero) {
    const BBox box(QMVector3f(0.0f, 0.0f, 0.0f), QMVector3f(2.0f, 4.0f, 6.0f));
    float min2 = -1.0f, max2 = -1.0f;
    ASSERT_TRUE(box.getMinMaxDistance2(QMVector3f(1.0f, 1.0f, 1.0f), min2, max2));
    EXPECT_FLOAT_BITS(3.0f, min2);   // 1 + 1 + 1
    EXPECT_FLOAT_BITS(35.0f, max2);  // 1 + 9 + 25
}

TEST(BBox, MinMaxDistanceFailsOnEmptyBox) {
    const BBox box;
    float min2 = 7.0f, max2 = 8.0f;
    EXPECT_FALSE(box.getMinMaxDistance2(QMVector3f(1.0f, 1.0f, 1.0f), min2, max2));
    EXPECT_FLOAT_BITS(7.0f, min2);
    EXPECT_FLOAT_BITS(8.0f, max2);
}

TEST(BBox, NearestPointDistanceIsZeroInside) {
    const BBox box(QMVector3f(0.0f, 0.0f, 0.0f), QMVector3f(2.0f, 4.0f, 6.0f));
    float min2 = -1.0f, max2 = -1.0f;
    ASSERT_TRUE(box.getNearestPointInBBoxMinMaxDistance2(QMVector3f(1.0f, 1.0f, 1.0f), min2, max2));
    EXPECT_FLOAT_BITS(0.0f, min2);
    EXPECT_FLOAT_BITS(35.0f, max2);  // farthest corner (2, 4, 6)
}

TEST(BBox, NearestPointDistanceOutside) {
    const BBox box(QMVector3f(0.0f, 0.0f, 0.0f), QMVector3f(2.0f, 4.0f, 6.0f));
    float min2 = -1.0f, max2 = -1.0f;
    ASSERT_TRUE(box.getNearestPointInBBoxMinMaxDistance2(QMVector3f(-1.0f, 5.0f, 3.0f), min2, max2));
    EXPECT_FLOAT_BITS(2.0f, min2);   // nearest point (0, 4, 3)
    EXPECT_FLOAT_BITS(43.0f, max2);  // farthest corner (2, 0, 0) or (2, 0, 6)
}

TEST(BBox, NearestPointDistanceFailsOnEmptyBox) {
    BBox box(QMVector3f(0.0f, 0.0f, 0.0f), QMVector3f(2.0f, 4.0f, 6.0f));
    box.clear();
    float min2 = 7.0f, max2 = 8.0f;
    EXPECT_FALSE(box.getNearestPointInBBoxMinMaxDistance2(QMVector3f(1.0f, 1.0f, 1.0f), min2, max2));
    EXPECT_FLOAT_BITS(7.0f, min2);
    EXPECT_FLOAT_BITS(8.0f, max2);
}

TEST(BBox, SegmentCrossingTheBoxReportsEntryParameter) {
    const BBox box(QMVector3f(0.0f, 0.0f, 0.0f), QMVector3f(2.0f, 2.0f, 2.0f));
    float t = -1.0f;
    ASSERT_TRUE(box.intersectSegment(QMVector3f(-1.0f, 1.0f, 1.0f), QMVector3f(3.0f, 1.0f, 1.0f), t));
    EXPECT_FLOAT_BITS(0.25f, t);
}

TEST(BBox, SegmentEnteringDiagonally) {
    // Enters through x = 0 at t = 0.5 (y is already inside by then).
    const BBox box(QMVector3f(0.0f, 0.0f, 0.0f), QMVector3f(2.0f, 2.0f, 2.0f));
    float t = -1.0f;
    ASSERT_TRUE(box.intersectSegment(QMVector3f(-2.0f, -1.0f, 1.0f), QMVector3f(2.0f, 3.0f, 1.0f), t));
    EXPECT_FLOAT_BITS(0.5f, t);
}

TEST(BBox, SegmentStartingInsideHasParameterZero) {
    const BBox box(QMVector3f(0.0f, 0.0f, 0.0f), QMVector3f(2.0f, 2.0f, 2.0f));
    float t = -1.0f;
    ASSERT_TRUE(box.intersectSegment(QMVector3f(1.0f, 1.0f, 1.0f), QMVector3f(5.0f, 5.0f, 5.0f), t));
    EXPECT_FLOAT_BITS(0.0f, t);
}

TEST(BBox, SegmentEndingOnTheBoxTouchesIt) {
    const BBox box(QMVector3f(0.0f, 0.0f, 0.0f), QMVector3f(2.0f, 2.0f, 2.0f));
    float t = -1.0f;
    ASSERT_TRUE(box.intersectSegment(QMVector3f(-2.0f, 1.0f, 1.0f), QMVector3f(0.0f, 1.0f, 1.0f), t));
    EXPECT_FLOAT_BITS(1.0f, t);
}

TEST(BBox, SegmentStoppingShortMisses) {
    const BBox box(QMVector3f(0.0f, 0.0f, 0.0f), QMVector3f(2.0f, 2.0f, 2.0f));
    float t = -1.0f;
    EXPECT_FALSE(box.intersectSegment(QMVector3f(-3.0f, 1.0f, 1.0f), QMVector3f(-1.0f, 1.0f, 1.0f), t));
    EXPECT_FLOAT_BITS(-1.0f, t);
}

TEST(BBox, SegmentPassingBesideMisses) {
    const BBox box(QMVector3f(0.0f, 0.0f, 0.0f), QMVector3f(2.0f, 2.0f, 2.0f));
    float t = -1.0f;
    // Crosses the x slab while above the box in y.
    EXPECT_FALSE(box.intersectSegment(QMVector3f(-1.0f, 3.0f, 1.0f), QMVector3f(3.0f, 3.0f, 1.0f), t));
    // Crosses the x and y slabs at different times (passes beyond the
    // corner at (2, 2)).
    EXPECT_FALSE(box.intersectSegment(QMVector3f(1.0f, 4.0f, 1.0f), QMVector3f(4.0f, 1.0f, 1.0f), t));
    EXPECT_FLOAT_BITS(-1.0f, t);
}

TEST(BBox, SegmentAlongAnEdgeTouches) {
    const BBox box(QMVector3f(0.0f, 0.0f, 0.0f), QMVector3f(2.0f, 2.0f, 2.0f));
    float t = -1.0f;
    ASSERT_TRUE(box.intersectSegment(QMVector3f(2.0f, 2.0f, -1.0f), QMVector3f(2.0f, 2.0f, 3.0f), t));
    EXPECT_FLOAT_BITS(0.25f, t);
}

TEST(BBox, DegenerateSegmentIsAPoint) {
    const BBox box(QMVector3f(0.0f, 0.0f, 0.0f), QMVector3f(2.0f, 2.0f, 2.0f));
    float t = -1.0f;
    ASSERT_TRUE(box.intersectSegment(QMVector3f(1.0f, 1.0f, 1.0f), QMVector3f(1.0f, 1.0f, 1.0f), t));
    EXPECT_FLOAT_BITS(0.0f, t);
    t = -1.0f;
    EXPECT_FALSE(box.intersectSegment(QMVector3f(3.0f, 1.0f, 1.0f), QMVector3f(3.0f, 1.0f, 1.0f), t));
    EXPECT_FLOAT_BITS(-1.0f, t);
}

TEST(BBox, SegmentNeverMeetsEmptyBox) {
    BBox box;
    float t = -1.0f;
    EXPECT_FALSE(box.intersectSegment(QMVector3f(-5.0f, 0.0f, 0.0f), QMVector3f(5.0f, 0.0f, 0.0f), t));
    EXPECT_FLOAT_BITS(-1.0f, t);
}

TEST(BBox, SegmentWithNaNMisses) {
    const BBox box(QMVector3f(0.0f, 0.0f, 0.0f), QMVector3f(2.0f, 2.0f, 2.0f));
    const float nan = std::numeric_limits<float>::quiet_NaN();
    float t = -1.0f;
    EXPECT_FALSE(box.intersectSegment(QMVector3f(1.0f, nan, 1.0f), QMVector3f(1.0f, 1.0f, 1.0f), t));
    EXPECT_FLOAT_BITS(-1.0f, t);
}
