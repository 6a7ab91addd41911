#pragma once

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
// and what they hold, and the points of the first files, kept for the export
// so that it does not read them again.
struct SceneMeasure {
    BBox bounds;
    std::vector<VekMeshLayout> layouts;
    std::vector<VekBlockCounts> counts;
    std::uint64_t facesTotal = 0;
    // keptPoints[i]: the points of file i as the bounds pass read them, for
    // the first files of simple layout, as many as the allowance holds
    // (kKeptPointsAllowance beyond the largest file's points), so that the
    // pass and the export together hold at most twice the largest file's
    // points plus the allowance.
    std::vector<QMArray<QMVector3f>> keptPoints;
};

constexpr std::uint64_t kKeptPointsAllowance = std::uint64_t(32) << 20;

SceneMeasure measureScene(const std::vector<QMString>& readerPaths, ProgressReporter& progress, bool finiteOnly);

}  // namespace ombrel::engine
