#pragma once

#include "geometry/QMVector.h"
#include "support/OmbrelApi.h"
#include "support/QMArray.h"

#include <cstddef>
#include <type_traits>

// Axis-aligned bounding box: the minimum corner, then the maximum corner.
//
// There is no separate "empty" flag: a box holds something exactly when
// m_max.x >= m_min.x. The six floats are also the 24-byte box record that
// scripts keep in their memory blocks, so the layout is fixed.
class OMBREL_API BBox {
public:
    QMVector3f m_min;
    QMVector3f m_max;

    // Empty box: min (0, 0, 0), max (-1, 0, 0).
    constexpr BBox() : m_min(0.0f, 0.0f, 0.0f), m_max(-1.0f, 0.0f, 0.0f) {}
    constexpr BBox(const QMVector3f& min, const QMVector3f& max) : m_min(min), m_max(max) {}

    // Makes the box empty by writing m_min.x = 0 and m_max.x = -1 only; the
    // other four floats keep their values (the next add overwrites them).
    void clear();
    bool isInitialized() const { return m_max.x >= m_min.x; }

    // Grows the box to hold the point. An empty box becomes the point.
    void add(const QMVector3f& point);
    // Grows the box to hold another box. An empty box takes all six floats of
    // the other one, even when that one is empty too; otherwise the other
    // box's corners are added as two points, without testing its emptiness.
    void add(const BBox& box);
    // Adds every point, in order.
    void add(const QMArray<QMVector3f>& points);

    // (m_min + m_max) / 2 in float.
    QMVector3f getCenter() const;
    // Largest / smallest of the three extents (max - min per axis).
    float getMaxSize() const;
    float getMinSize() const;
    // Length of the diagonal, in float.
    float getDiameter() const;
    // Surface area 2 (dx dy + dy dz + dz dx), in float.
    float getArea() const;

    // True when the closed intervals of the two boxes overlap on all three
    // axes. An empty box (max.x < min.x) overlaps nothing.
    bool intersectBBox(const BBox& other) const;

    // Per axis, the squared distances of p to the lower and to the upper face
    // plane; the smaller of each pair is summed into min2, the larger into
    // max2. A point inside the box still gets a non-zero min2. Returns false,
    // leaving min2 and max2 untouched, for an empty box.
    bool getMinMaxDistance2(const QMVector3f& p, float& min2, float& max2) const;

    // min2: squared distance from p to the nearest point of the box (0 when p
    // is inside or on it); max2: squared distance from p to the farthest
    // corner. Returns false, leaving both untouched, for an empty box.
    bool getNearestPointInBBoxMinMaxDistance2(const QMVector3f& p, float& min2, float& max2) const;

    // Whether the segment a + t (b - a), 0 <= t <= 1, meets the closed box.
    // On success t is the smallest such parameter (0 when a is in the box).
    // Returns false, leaving t untouched, for an empty box, a missed box or a
    // NaN coordinate.
    bool intersectSegment(const QMVector3f& a, const QMVector3f& b, float& t) const;
};

static_assert(sizeof(BBox) == 24, "BBox must be six packed floats");
static_assert(std::is_standard_layout_v<BBox> && std::is_trivially_copyable_v<BBox>,
              "BBox must be copyable as raw bytes");
static_assert(offsetof(BBox, m_min) == 0 && offsetof(BBox, m_max) == 12, "BBox field order");

// Adds every point of the array to the box, in array order, without clearing
// the box first.
OMBREL_API void addVerticesToBBox(BBox& box, const QMArray<QMVector3f>& points);

// Clears the box, then adds every point; an empty array leaves it empty.
OMBREL_API void getVerticesBBox(BBox& box, const QMArray<QMVector3f>& points);
