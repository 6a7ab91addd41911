#pragma once

#include "geometry/QMVector.h"

#include <cstddef>

// The facet normal of the STL writer: (p1 - p0) x (p2 - p1) in float, then
// normalised (a zero normal stays zero). The operand order fixes the signs of
// zero components, which are part of the output.
inline QMVector3f stlFacetNormal(const QMVector3f& p0, const QMVector3f& p1, const QMVector3f& p2) {
    QMVector3f u, w, n;
    QMVector3f::sub(u, p1, p0);
    QMVector3f::sub(w, p2, p1);
    n.x = u.y * w.z - u.z * w.y;
    n.y = u.z * w.x - u.x * w.z;
    n.z = u.x * w.y - u.y * w.x;
    n.normalize();
    return n;
}

// The corners of one triangle, as indices into a point array.
struct TriangleCorners {
    int i0, i1, i2;
};

// stlFacetNormal of `count` triangles of `points` (numPoints of them), four
// at a time in SIMD lanes where the processor has them, with the same bits as
// stlFacetNormal's. Every corner must name one of the points.
void stlFacetNormals(const QMVector3f* points, std::size_t numPoints, const TriangleCorners* triangles,
                     std::size_t count, QMVector3f* normals);
