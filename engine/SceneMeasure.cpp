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
// reads it) into `points` and folds them into a run; the two halves are read
// and folded side by side. True when they were read straight from a file of
// simple layout.
bool readAndFold(const QMString& path, const VekMeshLayout& layout, QMArray<QMVector3f>& points, bool finiteOnly,
                 PointRunBounds runs[2]) {
    const VekBlockExtent* block = layout.simple ? layout.find(QMVekIO::kTagPoints) : nullptr;
    std::unique_ptr<VekRandomAccess> file;
    if (block) file = std::make_unique<VekRandomAccess>(path);
    const bool direct = file && file->opened();
    if (direct) {
        points.clear();
        points.resize(block->count);
    } else {
        QMVekIO().readVertexBloc(path, points);
    }
    // The first half's run, then the second's (empty when not split).
    runs[0] = runs[1] = PointRunBounds();
    splitInTwo(points.size(), [&](std::size_t first, std::size_t end) {
        if (direct && end > first)
            file->readAt(block->bodyOffset + 12 * std::uint64_t(first), &points[first], 12 * (end - first));
        runs[first == 0 ? 0 : 1] = foldPointRun(points.data() + first, end - first, finiteOnly);
    });
    return direct;
}

}  // namespace

BBox sceneBounds(const std::vector<QMString>& readerPaths, ProgressReporter* progress, bool finiteOnly) {
    BBox bounds;
    QMArray<QMVector3f> points;
    for (std::size_t i = 0; i < readerPaths.size(); ++i) {
        if (progress) progress->startMeasuring(i);
        PointRunBounds runs[2];
        readAndFold(readerPaths[i], locateMeshBlocks(readerPaths[i]), points, finiteOnly, runs);
        addPointRun(bounds, runs[0]);
        addPointRun(bounds, runs[1]);
    }
    return bounds;
}

// The first file is measured in an array of its own, kept for its export;
// the others one after the other in a second array, whose storage the export
// reuses.
SceneMeasure measureScene(const std::vector<QMString>& readerPaths, ProgressReporter& progress, bool finiteOnly) {
    SceneMeasure scene;
    for (const QMString& path : readerPaths) {
        scene.layouts.push_back(locateMeshBlocks(path));
        scene.counts.push_back(blockCountsOf(scene.layouts.back()));
        scene.facesTotal += scene.counts.back().faces;
    }
    for (std::size_t i = 0; i < readerPaths.size(); ++i) {
        progress.startMeasuring(i);
        QMArray<QMVector3f>& points = i == 0 ? scene.firstPoints.points : scene.spare;
        PointRunBounds runs[2];
        const bool direct = readAndFold(readerPaths[i], scene.layouts[i], points, finiteOnly, runs);
        addPointRun(scene.bounds, runs[0]);
        addPointRun(scene.bounds, runs[1]);
        if (i == 0) scene.firstPoints.present = direct;
    }
    if (!scene.firstPoints.present) scene.firstPoints.points = QMArray<QMVector3f>();
    return scene;
}

}  // namespace ombrel::engine
