#include "engine/SceneMeasure.h"

#include "vekio/QMVekIO.h"

#include <cmath>

namespace ombrel::engine {

BBox sceneBounds(const std::vector<QMString>& readerPaths, ProgressReporter* progress, bool finiteOnly) {
    BBox bounds;
    QMArray<QMVector3f> points;
    for (std::size_t i = 0; i < readerPaths.size(); ++i) {
        if (progress) progress->startMeasuring(i);
        QMVekIO reader;
        reader.readVertexBloc(readerPaths[i], points);
        if (!finiteOnly) {
            addVerticesToBBox(bounds, points);
            continue;
        }
        for (const QMVector3f& p : points)
            if (std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z)) bounds.add(p);
    }
    return bounds;
}

SceneMeasure measureScene(const std::vector<QMString>& readerPaths, ProgressReporter& progress, bool finiteOnly) {
    SceneMeasure scene;
    scene.bounds = sceneBounds(readerPaths, &progress, finiteOnly);
    for (const QMString& path : readerPaths) {
        scene.counts.push_back(readVekBlockCounts(path));
        scene.facesTotal += scene.counts.back().faces;
    }
    return scene;
}

}  // namespace ombrel::engine
