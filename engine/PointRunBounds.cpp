#include "engine/PointRunBounds.h"

#include <cmath>

namespace ombrel::engine {

namespace {

bool isFinitePoint(const QMVector3f& p) { return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z); }

// One coordinate of a box that holds a point, moved by one value as BBox::add
// moves it.
void moveCoordinate(float& lo, float& hi, float value) {
    if (lo > value)
        lo = value;
    else if (value > hi)
        hi = value;
}

}  // namespace

PointRunBounds foldPointRun(const QMVector3f* points, std::size_t count, bool finiteOnly) {
    PointRunBounds run;
    std::size_t i = 0;
    for (; i < count && !run.any; ++i) {
        if (finiteOnly && !isFinitePoint(points[i])) continue;
        run.first = points[i];
        run.any = true;
    }
    for (; i < count; ++i) {
        const QMVector3f& p = points[i];
        if (finiteOnly && !isFinitePoint(p)) continue;
        const float values[3] = {p.x, p.y, p.z};
        for (int k = 0; k < 3; ++k) {
            const float v = values[k];
            if (v != v) continue;  // NaN
            if (!run.has[k]) {
                run.lo[k] = run.hi[k] = v;
                run.has[k] = true;
            } else if (v < run.lo[k]) {
                run.lo[k] = v;
            } else if (v > run.hi[k]) {
                run.hi[k] = v;
            }
        }
    }
    return run;
}

void addPointRun(BBox& box, const PointRunBounds& run) {
    if (!run.any) return;
    box.add(run.first);
    float* lo[3] = {&box.m_min.x, &box.m_min.y, &box.m_min.z};
    float* hi[3] = {&box.m_max.x, &box.m_max.y, &box.m_max.z};
    for (int k = 0; k < 3; ++k) {
        if (!run.has[k]) continue;
        moveCoordinate(*lo[k], *hi[k], run.lo[k]);
        moveCoordinate(*lo[k], *hi[k], run.hi[k]);
    }
}

}  // namespace ombrel::engine
