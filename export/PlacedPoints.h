#pragma once

#include "geometry/QMMatrix4f.h"
#include "geometry/QMVector.h"
#include "support/QMArray.h"

#include <cstddef>
#include <vector>

// The points of one mesh after an exporter's placement matrix. A point is
// shared by about six triangle corners, so each is transformed once, up
// front, instead of at every corner; the transform is the same float
// arithmetic either way, so the written bytes are the same. Without a matrix
// the points are used as they are, with no copy. (The straightforward
// reference build transforms at every corner instead.)
class PlacedPoints {
public:
    // `matrix` null: no placement. The arrays must outlive this object.
    PlacedPoints(const QMArray<QMVector3f>& points, const QMMatrix4f* matrix);

    std::size_t size() const { return m_points.size(); }

    QMVector3f operator[](std::size_t i) const {
#if OMBREL_PLAIN_FORMATTING
        return m_matrix ? m_matrix->multVec3f(m_points[i]) : m_points[i];
#else
        return m_placed.empty() ? m_points[i] : m_placed[i];
#endif
    }

private:
    const QMArray<QMVector3f>& m_points;
    [[maybe_unused]] const QMMatrix4f* m_matrix;  // read at every corner only in the reference build
    std::vector<QMVector3f> m_placed;
};
