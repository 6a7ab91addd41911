#include "engine/SceneMeasure.h"

#include "vekio/QMVekIO.h"

#include <algorithm>
#include <cmath>

namespace ombrel::engine {

namespace {

void addToBounds(BBox& bounds, const QMArray<QMVector3f>& points, bool finiteOnly) {
    if (!finiteOnly) {
        addVerticesToBBox(bounds, points);
        return;
    }
    for (const QMVector3f& p : points)
        if (std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z)) bounds.add(p);
}

}  // namespace

BBox sceneBounds(const std::vector<QMString>& readerPaths, ProgressReporter* progress, bool finiteOnly) {
    BBox bounds;
    QMArray<QMVector3f> points;
    for (std::size_t i = 0; i < readerPaths.size(); ++i) {
        if (progress) progress->startMeasuring(i);
        QMVekIO reader;
        reader.readVertexBloc(readerPaths[i], points);
        addToBounds(bounds, points, finiteOnly);
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
        QMVekIO reader;
        reader.readVertexBloc(readerPaths[i], points);
        addToBounds(scene.bounds, points, finiteOnly);
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
