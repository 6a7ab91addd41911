#include "engine/SceneMeasure.h"

#include "engine/PointRunBounds.h"
#include "engine/SideBySide.h"
#include "vekio/QMVekIO.h"
#include "vekio/VekRandomAccess.h"

#include <algorithm>
#include <memory>

namespace ombrel::engine {

namespace {

// Reads the points of one file (its first Points block, as readVertexBloc
// reads it) into `points` and adds them to `bounds` as adding them in turn
// would: the two halves are read and folded side by side.
void readAndMeasure(const QMString& path, const VekMeshLayout& layout, QMArray<QMVector3f>& points,
                    bool finiteOnly, BBox& bounds) {
    const VekBlockExtent* block = layout.simple ? layout.find(QMVekIO::kTagPoints) : nullptr;
    std::unique_ptr<VekRandomAccess> file;
    if (block) file = std::make_unique<VekRandomAccess>(path);
    const bool direct = file && file->opened();
    if (direct) {
        points.resize(block->count);
    } else {
        QMVekIO().readVertexBloc(path, points);
    }
    // The first half's run, then the second's (empty when not split).
    PointRunBounds runs[2];
    splitInTwo(points.size(), [&](std::size_t first, std::size_t end) {
        if (direct && end > first)
            file->readAt(block->bodyOffset + 12 * std::uint64_t(first), &points[first], 12 * (end - first));
        runs[first == 0 ? 0 : 1] = foldPointRun(points.data() + first, end - first, finiteOnly);
    });
    addPointRun(bounds, runs[0]);
    addPointRun(bounds, runs[1]);
}

}  // namespace

BBox sceneBounds(const std::vector<QMString>& readerPaths, ProgressReporter* progress, bool finiteOnly) {
    BBox bounds;
    QMArray<QMVector3f> points;
    for (std::size_t i = 0; i < readerPaths.size(); ++i) {
        if (progress) progress->startMeasuring(i);
        readAndMeasure(readerPaths[i], locateMeshBlocks(readerPaths[i]), points, finiteOnly, bounds);
    }
    return bounds;
}

SceneMeasure measureScene(const std::vector<QMString>& readerPaths, ProgressReporter& progress, bool finiteOnly) {
    SceneMeasure scene;
    std::uint64_t largestPoints = 0;
    for (const QMString& path : readerPaths) {
        scene.layouts.push_back(locateMeshBlocks(path));
        scene.counts.push_back(blockCountsOf(scene.layouts.back()));
        scene.facesTotal += scene.counts.back().faces;
        largestPoints = std::max(largestPoints, scene.counts.back().points);
    }
    const std::uint64_t allowance = 12 * largestPoints + kKeptPointsAllowance;
    std::uint64_t keptBytes = 0;
    bool keeping = true;
    QMArray<QMVector3f> points;
    for (std::size_t i = 0; i < readerPaths.size(); ++i) {
        progress.startMeasuring(i);
        readAndMeasure(readerPaths[i], scene.layouts[i], points, finiteOnly, scene.bounds);
        const std::uint64_t bytes = 12 * std::uint64_t(points.size());
        keeping = keeping && scene.layouts[i].simple && keptBytes + bytes <= allowance;
        if (!keeping) continue;
        keptBytes += bytes;
        scene.keptPoints.push_back(std::move(points));
        points = QMArray<QMVector3f>();
    }
    return scene;
}

}  // namespace ombrel::engine
