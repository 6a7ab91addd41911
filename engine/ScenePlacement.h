#pragma once

#include "engine/OmbrelExport.h"
#include "geometry/BBox.h"
#include "geometry/QMMatrix4f.h"
#include "support/QMArray.h"

#include <optional>

namespace ombrel::engine {

// Z-up turns the scene +90 degrees about X: (x, y, z) -> (x, -z, y), exact in
// float, so the height along Y becomes the height along Z.
void turnUpright(QMArray<QMVector3f>& points, UpAxis up);
BBox turnUpright(const BBox& box, UpAxis up);

// The placement of a scene whose (already upright) box is `box`: the
// minimum corner at the origin and the extent along the up axis equal to
// `height` (without one, the scene's own extent: it is only moved). Along Y
// this is the host's placement exactly.
struct ScenePlacement {
    QMMatrix4f matrix;
    double scale = 1.0;
};
ScenePlacement placeScene(const BBox& box, std::optional<double> height, UpAxis up);

// Where the box's corners land.
BBox placedBox(const BBox& box, const QMMatrix4f& matrix);

}  // namespace ombrel::engine
