#pragma once

#include "engine/ProgressReporter.h"
#include "geometry/BBox.h"
#include "support/QMString.h"
#include "vekio/VekBlockCounts.h"

#include <vector>

namespace ombrel::engine {

// The union box of the points of every file (the first Points block of each,
// as the host's export measures it), as the files hold them. With
// `finiteOnly`, points with an infinite or NaN coordinate are left out (the
// host's export takes them in, whatever that makes of the box).
BBox sceneBounds(const std::vector<QMString>& readerPaths, ProgressReporter* progress = nullptr,
                 bool finiteOnly = false);

// The first pass of an export: the scene's box and what each file holds,
// from its block headers.
struct SceneMeasure {
    BBox bounds;
    std::vector<VekBlockCounts> counts;
    std::uint64_t facesTotal = 0;
};

SceneMeasure measureScene(const std::vector<QMString>& readerPaths, ProgressReporter& progress, bool finiteOnly);

}  // namespace ombrel::engine
