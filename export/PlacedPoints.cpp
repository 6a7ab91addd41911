#include "export/PlacedPoints.h"

PlacedPoints::PlacedPoints(const QMArray<QMVector3f>& points, const QMMatrix4f* matrix)
    : m_points(points), m_matrix(matrix) {
#if !OMBREL_PLAIN_FORMATTING
    if (!matrix) return;
    m_placed.resize(points.size());
    for (std::size_t i = 0; i < points.size(); ++i) m_placed[i] = matrix->multVec3f(points[i]);
#endif
}
