#include "engine/ExportRun.h"

#include "check/MeshCheck.h"
#include "check/SceneCheck.h"
#include "engine/InputMesh.h"
#include "engine/ProgressReporter.h"
#include "export/ArrayMeshSource.h"
#include "engine/SceneMeasure.h"
#include "engine/SideBySide.h"
#include "engine/ScenePlacement.h"
#include "export/QMSTLExport.h"
#include "export/QMVRMLExport.h"
#include "geometry/PointArrayTransform.h"
#include "support/AtomicOutputFile.h"
#include "support/QMDiskServer.h"
#include "vekio/QMVekIO.h"
#include "vekio/VekDamage.h"

#include <cerrno>
#include <cmath>
#include <cstring>
#include <optional>

namespace ombrel::engine {

namespace {

const char* blockName(std::uint32_t tag) {
    switch (tag) {
        case QMVekIO::kTagPoints:
            return "Points";
        case QMVekIO::kTagFace4:
            return "Face4";
        case QMVekIO::kTagUV4:
            return "UV4";
        case QMVekIO::kTagMask:
            return "Mask";
        case QMVekIO::kTagMRGB:
            return "MRGB";
        default:
            return "unknown";
    }
}

Box toBox(const BBox& box) {
    Box out;
    out.empty = !box.isInitialized();
    if (out.empty) return out;
    const float* min = &box.m_min.x;
    const float* max = &box.m_max.x;
    for (int k = 0; k < 3; ++k) {
        out.min[k] = min[k];
        out.max[k] = max[k];
    }
    return out;
}

// Whether the matrix is finite and takes the box's corners to finite points
// (a scale that overflowed makes them infinite or NaN, and NaN corners make
// no box at all, so the placed box cannot tell).
bool placesFinitely(const QMMatrix4f& matrix, const BBox& box) {
    for (float value : matrix.m_data)
        if (!std::isfinite(value)) return false;
    if (!box.isInitialized()) return true;
    for (const QMVector3f& corner : {box.m_min, box.m_max}) {
        const QMVector3f placed = matrix.multVec3f(corner);
        if (!std::isfinite(placed.x) || !std::isfinite(placed.y) || !std::isfinite(placed.z)) return false;
    }
    return true;
}


// Discards the exporter's file and ends its thread when an exception leaves
// the export, so that nothing outlives the call.
template <class Exporter>
class AbandonOnUnwind {
public:
    explicit AbandonOnUnwind(Exporter& exporter) : m_exporter(exporter) {}
    ~AbandonOnUnwind() {
        m_exporter.setProgress(nullptr);
        if (m_armed) m_exporter.abandon();
    }
    void disarm() { m_armed = false; }

private:
    Exporter& m_exporter;
    bool m_armed = true;
};

// The steps both formats share: measure, place, then read and write every
// file, then finish the result from what the exporter says.
class ExportSession {
public:
    ExportSession(const ExportPlan& plan, ExportResult& result)
        : m_plan(plan), m_result(result), m_progress(plan.progress, plan.inputs.size()) {}

    // Measures the scene and returns the placement of its points; `up` is
    // the axis the file's height goes along. None (and the status says why)
    // when the plan refuses a placement whose numbers overflow.
    std::optional<ScenePlacement> measureAndPlace(UpAxis up) {
        std::vector<QMString> paths;
        for (const PlannedInput& input : m_plan.inputs) paths.push_back(input.readerPath);
        m_scene = measureScene(paths, m_progress, !m_plan.acceptAnyPlacement);
        const BBox upright = turnUpright(m_scene.bounds, up);
        const ScenePlacement placement = placeScene(upright, m_plan.height, up);
        ExportReport& report = m_result.report;
        report.sceneBox = toBox(m_scene.bounds);
        report.scale = placement.scale;
        report.placedBox = toBox(placedBox(upright, placement.matrix));
        for (int k = 0; k < 3; ++k)
            report.size[k] = report.placedBox.empty ? 0.0 : report.placedBox.max[k] - report.placedBox.min[k];
        m_progress.startWriting(m_scene.facesTotal);
        if (!m_plan.acceptAnyPlacement && !placesFinitely(placement.matrix, upright)) {
            m_result.status = Status{StatusKind::kInvalidOptions, {}, 0,
                                     "the height cannot be reached in single precision from the scene's extent"};
            return std::nullopt;
        }
        return placement;
    }

    ProgressReporter* progress() { return &m_progress; }

    // Opens file `i` for writing: progress, a reader with a damage report.
    FileReport& startFile(std::size_t i, QMVekIO& reader) {
        m_progress.startFile(i);
        m_damage.clear();
        reader.setDamageReport(&m_damage);
        FileReport file;
        file.path = m_plan.inputs[i].displayPath;
        m_result.report.files.push_back(file);
        return m_result.report.files.back();
    }

    // Reads file `i` for the export (streamed where its layout allows, with
    // its points read ahead when `ready` holds them), brings its points to
    // `prepare`d form unless they were read ahead so, and notes what it
    // found. Returns what the reader returns.
    bool readInput(std::size_t i, InputMesh& input, QMVekIO& reader, ReadyPoints* ready,
                   const NextPoints::Prepare& prepare) {
        const bool readAheadPrepared = ready && ready->prepared;
        const std::uint64_t nonFiniteReadAhead = ready ? ready->nonFinite : 0;
        const bool readable = input.read(m_plan.inputs[i].readerPath, m_scene.layouts[i], ready, reader);
        QMArray<QMVector3f>& points = input.points();
        const bool prepared = readAheadPrepared && input.usedReadyPoints();
        const std::uint64_t nonFinite = prepared ? nonFiniteReadAhead : countNonFinite(points);
        if (!prepared) prepare(points);
        fileRead(i, readable, points, input.numFaces(), nonFinite);
        return readable;
    }

    // The first file's points, as the measuring pass left them.
    ReadyPoints takeFirstPoints() { return std::move(m_scene.firstPoints); }

    // Starts reading file `i`'s points ahead, when there is such a file,
    // into the storage of `memory`.
    void readAhead(NextPoints& next, std::size_t i, QMArray<QMVector3f>&& memory) {
        if (i >= m_plan.inputs.size()) return;
        next.start(m_plan.inputs[i].readerPath, m_scene.layouts[i], std::move(memory));
    }

    // Notes what reading file `i` found: its counts, the damage it met and
    // the points with an infinite or NaN coordinate.
    void fileRead(std::size_t i, bool readable, const QMArray<QMVector3f>& points, std::size_t numFaces,
                  std::uint64_t nonFinite) {
        FileReport& file = m_result.report.files.back();
        file.points = points.size();
        file.faces = numFaces;
        const VekBlockCounts& counts = m_scene.counts[i];
        file.hasUVs = counts.uvEntries != 0;
        file.hasColours = counts.colours != 0;
        m_progress.correctTotal(counts.faces, file.faces);
        if (!readable) warn(WarningKind::kInputSkipped, "", 0);
        for (const VekDamage& damage : m_damage.entries()) {
            const WarningKind kind = damage.kind == VekDamage::Kind::kCountClamped     ? WarningKind::kCountClamped
                                     : damage.kind == VekDamage::Kind::kBlockSizeInvalid ? WarningKind::kBlockSizeInvalid
                                                                                         : WarningKind::kBodyShorterThanCount;
            warn(kind, damage.kind == VekDamage::Kind::kBlockSizeInvalid ? "" : blockName(damage.tag), damage.elements);
        }
        if (nonFinite != 0) warn(WarningKind::kNonFiniteCoordinates, "Points", nonFinite);
    }

    void warn(WarningKind kind, const char* block, std::uint64_t count) {
        m_result.warnings.push_back(Warning{kind, m_result.report.files.back().path, block, count});
    }

    // Checks the mesh just read, placed as it is written, when the plan
    // asks for the check.
    // `matrix` null: the points are placed already.
    void checkFile(const MeshSource& mesh, const QMMatrix4f* matrix, UpAxis up) {
        if (!m_plan.check || mesh.numFaces() == 0) return;
        m_meshChecks.push_back(std::make_unique<check::MeshCheck>(mesh, matrix));
        m_checkedFiles.push_back(m_result.report.files.size() - 1);
        m_result.report.files.back().check = check::checkAlone(*m_meshChecks.back(), upIndex(up));
    }

    // The check of the whole scene, once every file is read.
    void checkScene(UpAxis up) {
        if (!m_plan.check) return;
        check::SceneCheck scene(upIndex(up));
        for (const auto& mesh : m_meshChecks) scene.add(*mesh);
        // A file's shell floats when it floats in the scene: a head resting
        // on a torso of another file does not.
        std::vector<std::uint64_t> floating;
        m_result.report.check = scene.figures(&floating);
        for (std::size_t m = 0; m < floating.size(); ++m)
            m_result.report.files[m_checkedFiles[m]].check.floatingShells = floating[m];
    }

    // The output could not be opened.
    void outputNotWritable(int error) {
        m_result.status = Status{StatusKind::kOutputNotWritable, m_plan.outputDisplay, error, std::strerror(error)};
    }

    // The export has ended: its status from the exporter's output error
    // (unless the output could not even be opened).
    void finished(int error, std::uint64_t bytes, bool inPlace) {
        if (!m_result.status.ok()) return;
        m_result.report.bytesWritten = bytes;
        m_result.report.replacedAtomically = !inPlace;
        if (error != 0)
            m_result.status = Status{StatusKind::kWriteFailed, m_plan.outputDisplay, error, std::strerror(error)};
    }

private:
    const ExportPlan& m_plan;
    ExportResult& m_result;
    ProgressReporter m_progress;
    static int upIndex(UpAxis up) { return up == UpAxis::Z ? 2 : 1; }

    SceneMeasure m_scene;
    VekDamageReport m_damage;
    std::vector<std::unique_ptr<check::MeshCheck>> m_meshChecks;  // figures, shells and open edges only
    std::vector<std::size_t> m_checkedFiles;                      // the file of each mesh check
};

// Places every point as the STL writer would (its projective product).
void placeInPlace(QMArray<QMVector3f>& points, const QMMatrix4f& matrix) {
    splitInTwo(points.size(), [&](std::size_t first, std::size_t end) {
        multVec3fInPlace(matrix, points.data() + first, end - first);
    });
}

// The points turned upright for `up` (turnUpright), then placed: as an STL
// export and the check take them.
NextPoints::Prepare uprightAndPlaced(UpAxis up, const QMMatrix4f& matrix) {
    return [up, matrix](QMArray<QMVector3f>& points) {
        turnUpright(points, up);
        placeInPlace(points, matrix);
    };
}

}  // namespace

void runExport(const ExportPlan& plan, QMSTLExport& exporter, ExportResult& result) {
    ExportSession session(plan, result);
    const std::optional<ScenePlacement> placement = session.measureAndPlace(plan.up);
    if (!placement) return;
    // Points placed where they are read serve the writer and the check with
    // no copy, so the writer places nothing; the exporter is left holding the
    // placement, in use, as the host has always found it after an export.
    exporter.m_matrix = placement->matrix;
    exporter.m_useMatrix = false;
    struct MatrixInUseAfterwards {
        QMSTLExport& exporter;
        ~MatrixInUseAfterwards() { exporter.m_useMatrix = true; }
    } matrixInUse{exporter};
    AbandonOnUnwind<QMSTLExport> guard(exporter);
    exporter.setProgress(session.progress());
    if (!exporter.startExportKMeshes(plan.outputPath, plan.format == Format::BinaryStl)) {
        session.outputNotWritable(exporter.outputError());
        if (!plan.readInputsWithoutOutput) return;
    }
    InputMesh input(InputMesh::Blocks::kPointsAndFaces, false);
    const NextPoints::Prepare placeUpright = uprightAndPlaced(plan.up, placement->matrix);
    // Each next file's points are read and placed while this one is written.
    NextPoints next(placeUpright);
    ReadyPoints ready = session.takeFirstPoints();
    for (std::size_t i = 0; i < plan.inputs.size(); ++i) {
        QMVekIO reader;
        FileReport& file = session.startFile(i, reader);
        session.readInput(i, input, reader, &ready, placeUpright);
        session.readAhead(next, i + 1, std::move(ready.points));
        const std::uint64_t trianglesBefore = exporter.trianglesWritten();
        const std::uint64_t skippedBefore = exporter.facesSkipped();
        exporter.writeMesh(input.mesh());
        session.checkFile(input.mesh(), nullptr, plan.up);
        file.trianglesWritten = exporter.trianglesWritten() - trianglesBefore;
        file.facesSkipped = exporter.facesSkipped() - skippedBefore;
        if (file.facesSkipped != 0) session.warn(WarningKind::kFacesSkipped, "Face4", file.facesSkipped);
        ready = next.take();
    }
    session.checkScene(plan.up);
    exporter.endExportKMeshes();
    guard.disarm();
    result.report.trianglesWritten = exporter.trianglesWritten();
    session.finished(exporter.outputError(), exporter.bytesWritten(), exporter.outputInPlace());
}

void runExport(const ExportPlan& plan, QMVRMLExport& exporter, ExportResult& result) {
    ExportSession session(plan, result);
    // VRML viewers expect Y up.
    const std::optional<ScenePlacement> placement = session.measureAndPlace(UpAxis::Y);
    if (!placement) return;
    exporter.m_matrix = placement->matrix;
    exporter.m_useMatrix = true;
    AbandonOnUnwind<QMVRMLExport> guard(exporter);
    exporter.setProgress(session.progress());
    exporter.startExportKMeshes(plan.outputPath);
    if (exporter.outputError() != 0) {
        session.outputNotWritable(exporter.outputError());
        if (!plan.readInputsWithoutOutput) return;
    }
    InputMesh input(InputMesh::Blocks::kWithUVsAndColours, plan.vertexColors);
    // Each next file's points are read while this one is written (the writer
    // places them itself).
    const NextPoints::Prepare asRead = [](QMArray<QMVector3f>&) {};
    NextPoints next(asRead);
    ReadyPoints ready = session.takeFirstPoints();
    for (std::size_t i = 0; i < plan.inputs.size(); ++i) {
        QMVekIO reader;
        session.startFile(i, reader);
        if (!plan.carryUVsAcrossFiles) input.forgetUVs();
        session.readInput(i, input, reader, &ready, asRead);
        session.readAhead(next, i + 1, std::move(ready.points));
        QMString textureName = plan.inputs[i].textureName;
        QMDiskServer::removePathFromFilename(textureName);
        if (input.hasFaceIndices()) {
            const MeshSource& mesh = input.mesh();
            exporter.writeMesh(mesh, textureName, true);
            session.checkFile(mesh, &placement->matrix, UpAxis::Y);
            if (const std::uint64_t bad = facesWithMissingPoints(mesh))
                session.warn(WarningKind::kFacesWithMissingPoints, "Face4", bad);
        }
        ready = next.take();
    }
    session.checkScene(UpAxis::Y);
    exporter.endExportKMeshes();
    guard.disarm();
    result.report.shapesWritten = exporter.shapesWritten();
    session.finished(exporter.outputError(), exporter.bytesWritten(), exporter.outputInPlace());
}

void runCheck(const ExportPlan& plan, ExportResult& result) {
    ExportSession session(plan, result);
    const std::optional<ScenePlacement> placement =
        session.measureAndPlace(plan.format == Format::Vrml ? UpAxis::Y : plan.up);
    if (!placement) return;
    const UpAxis up = plan.format == Format::Vrml ? UpAxis::Y : plan.up;
    InputMesh input(InputMesh::Blocks::kPointsAndFaces, false);
    ReadyPoints first = session.takeFirstPoints();
    const NextPoints::Prepare placeUpright = uprightAndPlaced(up, placement->matrix);
    for (std::size_t i = 0; i < plan.inputs.size(); ++i) {
        QMVekIO reader;
        session.startFile(i, reader);
        session.readInput(i, input, reader, i == 0 ? &first : nullptr, placeUpright);
        session.checkFile(input.mesh(), nullptr, up);
        session.progress()->facesWritten(input.numFaces());
    }
    session.checkScene(up);
}

void runExport(const ExportPlan& plan, SceneWriter& writer, ExportResult& result) {
    ExportSession session(plan, result);
    const std::optional<ScenePlacement> placement = session.measureAndPlace(plan.up);
    if (!placement) return;
    AtomicOutputFile output;
    std::FILE* stream = output.open(plan.outputPath, "wb");
    if (!stream) {
        session.outputNotWritable(output.error());
        return;
    }
    writer.begin(stream);
    QMArray<QMVector3f> points;
    QMArray<int> faces;
    QMArray<QMVector2f> uvs;
    QMArray<std::uint32_t> colours;
    const auto facesWritten = [&](std::uint64_t count) { session.progress()->facesWritten(count); };
    for (std::size_t i = 0; i < plan.inputs.size(); ++i) {
        QMVekIO reader;
        FileReport& file = session.startFile(i, reader);
        uvs.clear();
        const bool readable =
            reader.readVtxFace4UV4AndMRGBBlocs(plan.inputs[i].readerPath, points, faces, uvs, colours);
        turnUpright(points, plan.up);
        session.fileRead(i, readable, points, faces.size() / 4, countNonFinite(points));
        if (!plan.vertexColors) colours.clear();
        if (faces.size() < 4) continue;
        placeInPlace(points, placement->matrix);
        SceneMesh mesh;
        mesh.name = QMString(plan.inputs[i].displayPath.c_str()).getFileName().c_str();
        mesh.points = points.empty() ? nullptr : &points[0].x;
        mesh.pointCount = points.size();
        mesh.faces = faces.data();
        mesh.faceCount = faces.size() / 4;
        mesh.colours = colours.empty() ? nullptr : colours.data();
        mesh.colourCount = colours.size();
        file.trianglesWritten = writer.writeMesh(mesh, facesWritten);
        result.report.trianglesWritten += file.trianglesWritten;
        const ArrayMeshSource arrays(points, faces);
        file.facesSkipped = facesWithMissingPoints(arrays);
        if (file.facesSkipped != 0) session.warn(WarningKind::kFacesSkipped, "Face4", file.facesSkipped);
        session.checkFile(arrays, nullptr, plan.up);
    }
    session.checkScene(plan.up);
    writer.end();
    errno = 0;
    const bool flushed = std::fflush(stream) == 0 && !std::ferror(stream);
    const int flushError = errno != 0 ? errno : EIO;
    const off_t bytes = ftello(stream);
    const bool inPlace = output.inPlace();
    if (!flushed) {
        output.discard();
        session.finished(flushError, 0, inPlace);
        return;
    }
    const bool committed = output.commit();
    session.finished(committed ? 0 : output.error(), bytes > 0 ? std::uint64_t(bytes) : 0, inPlace);
}

}  // namespace ombrel::engine
