#pragma once

#include "export/MeshSource.h"
#include "geometry/QMMatrix4f.h"
#include "geometry/QMVector.h"

#include <cstddef>
#include <vector>

// The points of one mesh after an exporter's placement matrix, for random
// access by face index. A point is shared by about six triangle corners, so
// each is transformed once, up front, instead of at every corner; the
// transform is the same float arithmetic either way, so the written bytes are
// the same. A mesh that holds its points as an array and needs no placement
// is used as it is, with no copy.
class PlacedPoints {
public:
    // `matrix` null: no placement. The mesh must outlive this object.
    PlacedPoints(const MeshSource& mesh, const QMMatrix4f* matrix);

    std::size_t size() const { return m_size; }
    const QMVector3f& operator[](std::size_t i) const { return m_points[i]; }
    const QMVector3f* data() const { return m_points; }

private:
    std::vector<QMVector3f> m_placed;
    const QMVector3f* m_points = nullptr;
    std::size_t m_size = 0;
};
