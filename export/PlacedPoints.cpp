#include "export/PlacedPoints.h"

#include "geometry/PointArrayTransform.h"

PlacedPoints::PlacedPoints(const MeshSource& mesh, const QMMatrix4f* matrix) : m_size(mesh.numPoints()) {
    if (!matrix && mesh.pointArray()) {
        m_points = mesh.pointArray();
        return;
    }
    m_placed.resize(m_size);
    mesh.readPoints(0, m_size, m_placed.data());
    if (matrix) multVec3fInPlace(*matrix, m_placed.data(), m_size);
    m_points = m_placed.data();
}
