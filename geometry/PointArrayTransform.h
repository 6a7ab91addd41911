#pragma once

#include "geometry/QMMatrix4f.h"
#include "geometry/QMVector.h"

#include <cstddef>

// points[i] = m.multVec3f(points[i]) for every point of the array, with the
// bits multVec3f gives: two points at a time in SSE2 lanes where the
// processor has them, each lane doing the same IEEE operations in the same
// order (double products and sums, the division by w, the rounding to
// float); a point whose result holds a NaN is redone alone, since which NaN
// comes out depends on operand order.
void multVec3fInPlace(const QMMatrix4f& m, QMVector3f* points, std::size_t count);
