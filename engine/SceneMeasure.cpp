#include "engine/SceneMeasure.h"

#include "engine/PointRunBounds.h"
#include "vekio/QMVekIO.h"
#include "vekio/VekRandomAccess.h"

#include <algorithm>
#include <exception>
#include <system_error>
#include <thread>

namespace ombrel::engine {

namespace {

// Runs `first` here and `second` on another thread at the same time (both
// here, one after the other, when no thread can be had); an exception of
// either reaches the caller once both have ended.
template <class First, class Second>
void runSideBySide(const First& first, const Second& second) {
    std::exception_ptr secondError;
    std::thread other;
    try {
        other = std::thread([&] {
            try {
                second();
            } catch (...) {
                secondError = std::current_exception();
            }
        });
    } catch (const std::system_error&) {
        first();
        second();
        return;
    }
    std::exception_ptr firstError;
    try {
        first();
    } catch (...) {
        firstError = std::current_exception();
    }
    other.join();
    if (firstError) std::rethrow_exception(firstError);
    if (secondError) std::rethrow_exception(secondError);
}

// Below this many points a second thread costs more than it saves.
constexpr std::size_t kPointsWorthASecondThread = 65536;

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
    const std::size_t n = points.size();
    const std::size_t half = n < kPointsWorthASecondThread ? n : n / 2;
    const auto readAndFold = [&](std::size_t from, std::size_t to, PointRunBounds& run) {
        if (direct && to > from) file->readAt(block->bodyOffset + 12 * std::uint64_t(from), &points[from], 12 * (to - from));
        run = foldPointRun(points.data() + from, to - from, finiteOnly);
    };
    PointRunBounds low, high;
    if (half == n) {
        readAndFold(0, n, low);
    } else {
        runSideBySide([&] { readAndFold(0, half, low); }, [&] { readAndFold(half, n, high); });
    }
    addPointRun(bounds, low);
    addPointRun(bounds, high);
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
