#include "engine/SceneMeasure.h"

#include "vekio/QMVekIO.h"

namespace ombrel::engine {

BBox sceneBounds(const std::vector<QMString>& readerPaths, ProgressReporter* progress) {
    BBox bounds;
    QMArray<QMVector3f> points;
    for (std::size_t i = 0; i < readerPaths.size(); ++i) {
        if (progress) progress->startMeasuring(i);
        QMVekIO reader;
        reader.readVertexBloc(readerPaths[i], points);
        addVerticesToBBox(bounds, points);
    }
    return bounds;
}

SceneMeasure measureScene(const std::vector<QMString>& readerPaths, ProgressReporter& progress) {
    SceneMeasure scene;
    scene.bounds = sceneBounds(readerPaths, &progress);
    for (const QMString& path : readerPaths) {
        scene.counts.push_back(readVekBlockCounts(path));
        scene.facesTotal += scene.counts.back().faces;
    }
    return scene;
}

}  // namespace ombrel::engine
