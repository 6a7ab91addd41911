#include "engine/ScenePlacement.h"

#include <utility>

namespace ombrel::engine {

namespace {

QMVector3f turned(const QMVector3f& p) { return QMVector3f(p.x, -p.z, p.y); }

// The same box or matrix with the roles of Y and Z exchanged.
BBox swapYZ(const BBox& box) {
    return BBox(QMVector3f(box.m_min.x, box.m_min.z, box.m_min.y), QMVector3f(box.m_max.x, box.m_max.z, box.m_max.y));
}

QMMatrix4f swapYZ(const QMMatrix4f& matrix) {
    static constexpr int kSwapped[4] = {0, 2, 1, 3};
    QMMatrix4f swapped = matrix;
    for (int column = 0; column < 4; ++column)
        for (int row = 0; row < 4; ++row)
            swapped.m_data[4 * column + row] = matrix.m_data[4 * kSwapped[column] + kSwapped[row]];
    return swapped;
}

}  // namespace

void turnUpright(QMArray<QMVector3f>& points, UpAxis up) {
    if (up != UpAxis::Z) return;
    for (QMVector3f& p : points) p = turned(p);
}

BBox turnUpright(const BBox& box, UpAxis up) {
    if (up != UpAxis::Z || !box.isInitialized()) return box;
    return BBox(QMVector3f(box.m_min.x, -box.m_max.z, box.m_min.y), QMVector3f(box.m_max.x, -box.m_min.z, box.m_max.y));
}

ScenePlacement placeScene(const BBox& box, std::optional<double> height, UpAxis up) {
    // The placement measures the height along Y: a Z-up scene is placed with
    // Y and Z exchanged, and the matrix exchanged back.
    const BBox measured = up == UpAxis::Z ? swapYZ(box) : box;
    // The scene's own extent, in the float arithmetic of the placement, so
    // that its scale comes out exactly 1.
    const float ownHeight = measured.m_max.y - measured.m_min.y;
    ScenePlacement placement;
    buildMatrix(placement.matrix, height ? static_cast<float>(*height) : ownHeight, measured);
    if (up == UpAxis::Z) placement.matrix = swapYZ(placement.matrix);
    placement.scale = placement.matrix.m_data[0];
    return placement;
}

BBox placedBox(const BBox& box, const QMMatrix4f& matrix) {
    BBox placed;
    if (!box.isInitialized()) return placed;
    placed.add(matrix.multVec3f(box.m_min));
    placed.add(matrix.multVec3f(box.m_max));
    return placed;
}

}  // namespace ombrel::engine
