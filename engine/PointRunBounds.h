#pragma once

#include "geometry/BBox.h"
#include "geometry/QMVector.h"

#include <cstddef>

namespace ombrel::engine {

// What adding a run of points in turn does to a box, found apart from the
// box, so that the runs of a scene can be folded on several threads and then
// added in order with exactly the box that adding every point in turn gives
// (BBox::add, quirks included: the first point of an empty box sets it, NaN
// included, and later NaN coordinates change nothing).
//
// Once a box holds a point, each coordinate moves independently: its minimum
// to the first strictly smaller value, its maximum to the first strictly
// larger one, NaN values never. So a run is its first point and, per
// coordinate, the first smallest and first largest of the other points'
// values that are not NaN.
struct PointRunBounds {
    bool any = false;
    QMVector3f first;
    bool has[3] = {false, false, false};
    float lo[3] = {0, 0, 0};
    float hi[3] = {0, 0, 0};
};

// The run of points [points, points + count); with `finiteOnly` points with
// an infinite or NaN coordinate are left out.
PointRunBounds foldPointRun(const QMVector3f* points, std::size_t count, bool finiteOnly);

// Adds the run to the box as adding its points in turn would.
void addPointRun(BBox& box, const PointRunBounds& run);

}  // namespace ombrel::engine
