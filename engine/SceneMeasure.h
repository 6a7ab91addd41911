#pragma once

#include "engine/NextPoints.h"
#include "engine/ProgressReporter.h"
#include "geometry/BBox.h"
#include "support/QMArray.h"
#include "support/QMString.h"
#include "vekio/VekBlockCounts.h"
#include "vekio/VekMeshLayout.h"

#include <vector>

namespace ombrel::engine {

// The union box of the points of every file (the first Points block of each,
// as the host's export measures it), as the files hold them. With
// `finiteOnly`, points with an infinite or NaN coordinate are left out (the
// host's export takes them in, whatever that makes of the box).
BBox sceneBounds(const std::vector<QMString>& readerPaths, ProgressReporter* progress = nullptr,
                 bool finiteOnly = false);

// The first pass of an export: the scene's box, where each file's blocks lie
// and what they hold, and the points of the first file, kept for its export
// so that it does not read them again. The other files' points pass through
// small buffers, on two threads.
struct SceneMeasure {
    BBox bounds;
    std::vector<VekMeshLayout> layouts;
    std::vector<VekBlockCounts> counts;
    std::uint64_t facesTotal = 0;
    // The first file's points as its Points block holds them, when its
    // layout is simple (not yet counted or prepared).
    ReadyPoints firstPoints;
};

SceneMeasure measureScene(const std::vector<QMString>& readerPaths, ProgressReporter& progress, bool finiteOnly);

}  // namespace ombrel::engine
