#include "engine/SceneMeasure.h"

#include "engine/PointRunBounds.h"
#include "engine/SideBySide.h"
#include "vekio/QMVekIO.h"
#include "vekio/VekRandomAccess.h"

#include <algorithm>
#include <atomic>
#include <memory>

namespace ombrel::engine {

namespace {

// Points read and folded as one piece: 192 KB, so that a thread's buffer
// stays in its processor's cache.
constexpr std::size_t kPointsPerPiece = 16384;

// A run of one file's points, read from the file and folded as a unit.
struct Piece {
    std::size_t file;
    std::size_t first, count;  // points of the file's Points block
    bool kept;                 // read into the first file's array, kept for the export
};

// The files whose Points block is read straight from the file (simple
// layout), each cut into pieces, measured on this thread and another one
// side by side. The first file's points, when an array is given for them,
// are read into it and kept; its pieces come last, so that the other thread
// measures the other files while this one makes room for them. Each file's
// start is reported, in file order, as this thread reaches it.
class PiecewiseMeasure {
public:
    PiecewiseMeasure(const std::vector<QMString>& paths, const std::vector<VekMeshLayout>& layouts,
                     ProgressReporter* progress, bool finiteOnly)
        : m_progress(progress), m_finiteOnly(finiteOnly), m_files(paths.size()) {
        for (std::size_t i = 0; i < paths.size(); ++i) {
            const VekBlockExtent* block = layouts[i].simple ? layouts[i].find(QMVekIO::kTagPoints) : nullptr;
            if (!block) continue;
            auto file = std::make_unique<VekRandomAccess>(paths[i]);
            if (!file->opened()) continue;
            m_files[i] = File{std::move(file), block->bodyOffset, std::size_t(block->count)};
        }
    }

    // Whether file i is measured here (its points read straight from it).
    bool measuresFile(std::size_t i) const { return m_files[i].access != nullptr; }

    // Measures every such file; the first one's points go to `first`, when
    // given. Reports every file's start, measured here or not.
    void run(QMArray<QMVector3f>* first) {
        const bool keepFirst = first && !m_files.empty() && measuresFile(0);
        for (std::size_t i = keepFirst ? 1 : 0; i < m_files.size(); ++i) addPieces(i, false);
        if (keepFirst) addPieces(0, true);
        m_runs.resize(m_pieces.size());
        const auto here = [&] {
            try {
                if (keepFirst) {
                    first->clear();
                    first->resize(m_files[0].count);
                    m_kept = first->data();
                }
            } catch (...) {
                m_stop.store(true);
                announceRoom();
                throw;
            }
            announceRoom();
            measurePieces(true);
        };
        std::size_t points = 0;
        for (const File& file : m_files) points += file.count;
        if (points < kItemsWorthASecondThread)
            here();
        else
            runSideBySide(here, [&] { measurePieces(false); });
        reportFilesUpTo(m_files.size());
    }

    // Adds file i's runs, in order, to `box`.
    void addFileTo(std::size_t i, BBox& box) const {
        const File& file = m_files[i];
        for (std::size_t p = file.firstPiece; p < file.firstPiece + file.pieces; ++p) addPointRun(box, m_runs[p]);
    }

private:
    struct File {
        std::unique_ptr<VekRandomAccess> access;
        std::uint64_t bodyOffset = 0;
        std::size_t count = 0;
        std::size_t firstPiece = 0, pieces = 0;  // its pieces, in order, in m_pieces
    };

    void addPieces(std::size_t i, bool kept) {
        File& file = m_files[i];
        file.firstPiece = m_pieces.size();
        for (std::size_t first = 0; first < file.count; first += kPointsPerPiece)
            m_pieces.push_back(Piece{i, first, std::min(kPointsPerPiece, file.count - first), kept});
        file.pieces = m_pieces.size() - file.firstPiece;
    }

    void announceRoom() {
        m_roomMade.store(true);
        m_roomMade.notify_all();
    }

    // Takes pieces until none is left (or a thread failed).
    void measurePieces(bool reportsProgress) {
        std::unique_ptr<QMVector3f[]> buffer;
        try {
            for (;;) {
                const std::size_t p = m_next.fetch_add(1);
                if (p >= m_pieces.size() || m_stop.load()) return;
                const Piece& piece = m_pieces[p];
                if (reportsProgress) reportFilesUpTo(piece.file + 1);
                QMVector3f* points;
                if (piece.kept) {
                    m_roomMade.wait(false);
                    if (m_stop.load()) return;
                    points = m_kept + piece.first;
                } else {
                    if (!buffer) buffer.reset(new QMVector3f[kPointsPerPiece]);
                    points = buffer.get();
                }
                const File& file = m_files[piece.file];
                file.access->readAt(file.bodyOffset + 12 * std::uint64_t(piece.first), points, 12 * piece.count);
                m_runs[p] = foldPointRun(points, piece.count, m_finiteOnly);
            }
        } catch (...) {
            m_stop.store(true);
            throw;
        }
    }

    // Reports the start of every file before `end` not reported yet.
    void reportFilesUpTo(std::size_t end) {
        for (; m_reported < end; ++m_reported)
            if (m_progress) m_progress->startMeasuring(m_reported);
    }

    ProgressReporter* m_progress;
    const bool m_finiteOnly;
    std::vector<File> m_files;
    std::vector<Piece> m_pieces;
    std::vector<PointRunBounds> m_runs;  // by piece
    QMVector3f* m_kept = nullptr;        // the first file's array, once made
    std::atomic<std::size_t> m_next{0};
    std::atomic<bool> m_roomMade{false};
    std::atomic<bool> m_stop{false};
    std::size_t m_reported = 0;  // files whose start was reported (by this thread only)
};

// The run of points the readers give for a file not measured piecewise.
void foldReadByTheReaders(const QMString& path, bool finiteOnly, BBox& box) {
    QMArray<QMVector3f> points;
    QMVekIO().readVertexBloc(path, points);
    PointRunBounds runs[2];
    splitInTwo(points.size(), [&](std::size_t first, std::size_t end) {
        runs[first == 0 ? 0 : 1] = foldPointRun(points.data() + first, end - first, finiteOnly);
    });
    addPointRun(box, runs[0]);
    addPointRun(box, runs[1]);
}

// The union box of the files' points (the first Points block of each, as
// the readers read it); the first file's points go to `first` when it is
// given and the file is read straight. Returns whether they did.
bool measure(const std::vector<QMString>& paths, const std::vector<VekMeshLayout>& layouts,
             ProgressReporter* progress, bool finiteOnly, QMArray<QMVector3f>* first, BBox& bounds) {
    PiecewiseMeasure piecewise(paths, layouts, progress, finiteOnly);
    piecewise.run(first);
    for (std::size_t i = 0; i < paths.size(); ++i) {
        if (piecewise.measuresFile(i))
            piecewise.addFileTo(i, bounds);
        else
            foldReadByTheReaders(paths[i], finiteOnly, bounds);
    }
    return first && !paths.empty() && piecewise.measuresFile(0);
}

}  // namespace

BBox sceneBounds(const std::vector<QMString>& readerPaths, ProgressReporter* progress, bool finiteOnly) {
    std::vector<VekMeshLayout> layouts;
    for (const QMString& path : readerPaths) layouts.push_back(locateMeshBlocks(path));
    BBox bounds;
    measure(readerPaths, layouts, progress, finiteOnly, nullptr, bounds);
    return bounds;
}

// The first file's points are kept for its export; the others pass through
// small buffers.
SceneMeasure measureScene(const std::vector<QMString>& readerPaths, ProgressReporter& progress, bool finiteOnly) {
    SceneMeasure scene;
    for (const QMString& path : readerPaths) {
        scene.layouts.push_back(locateMeshBlocks(path));
        scene.counts.push_back(blockCountsOf(scene.layouts.back()));
        scene.facesTotal += scene.counts.back().faces;
    }
    scene.firstPoints.present =
        measure(readerPaths, scene.layouts, &progress, finiteOnly, &scene.firstPoints.points, scene.bounds);
    if (!scene.firstPoints.present) scene.firstPoints.points = QMArray<QMVector3f>();
    return scene;
}

}  // namespace ombrel::engine
