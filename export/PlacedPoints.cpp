#include "export/PlacedPoints.h"

PlacedPoints::PlacedPoints(const MeshSource& mesh, const QMMatrix4f* matrix) : m_size(mesh.numPoints()) {
    if (!matrix && mesh.pointArray()) {
        m_points = mesh.pointArray();
        return;
    }
    m_placed.resize(m_size);
    mesh.readPoints(0, m_size, m_placed.data());
    if (matrix)
        for (QMVector3f& point : m_placed) point = matrix->multVec3f(point);
    m_points = m_placed.data();
}
