#pragma once

#include "geometry/QMVector.h"

#include <cstddef>

// The facet normal of the STL writer: (p1 - p0) x (p2 - p1) in float, then
// normalised (a zero normal stays zero). The operand order fixes the signs of
// zero components, which are part of the output. It is compiled in one place
// only: which NaN comes out of a NaN input depends on the operand order of a
// product or sum, which the compiler picks anew wherever code is inlined, so
// every writer takes a NaN normal from this one definition.
QMVector3f stlFacetNormal(const QMVector3f& p0, const QMVector3f& p1, const QMVector3f& p2);

// The corners of one triangle, as indices into a point array.
struct TriangleCorners {
    int i0, i1, i2;
};

// stlFacetNormal of `count` triangles of `points` (numPoints of them), four
// at a time in SIMD lanes where the processor has them, with the same bits as
// stlFacetNormal's. Every corner must name one of the points.
void stlFacetNormals(const QMVector3f* points, std::size_t numPoints, const TriangleCorners* triangles,
                     std::size_t count, QMVector3f* normals);
