#include "export/QMSTLExport.h"

#include "export/AppendText.h"
#include "export/ArrayMeshSource.h"
#include "export/CurrentHostMesh.h"
#include "export/OrderedChunks.h"
#include "export/PlacedPoints.h"
#include "export/PointTextCache.h"
#include "export/STLBinaryRecords.h"
#include "export/STLFacetNormal.h"
#include "support/QMDiskServer.h"

#include <cerrno>
#include <cstring>
#include <memory>
#include <sys/types.h>

namespace {

constexpr std::size_t kHeaderBytes = 80;
// A facet is 12 numbers and 54 bytes of fixed text.
constexpr std::size_t kMaxFacetText = 4 * PointTextCache::kMaxPointText + 64;

const char kSolidStart[] = "solid object0 \n";
const char kSolidEnd[] = "endsolid object0 \n";

// Faces per range formatted apart: about 400 KB of binary records (2,048 to
// 16,384 faces measured; this was fastest) and about 1.3 MB of text.
constexpr std::size_t kFacesPerBinaryRange = 4096;
constexpr std::size_t kFacesPerTextRange = 4096;

// One facet, at most kMaxFacetText bytes. A point's text is cached under its
// index.
char* formatTriangleASCII(char* out, PointTextCache& texts, const QMVector3f& normal, const QMVector3f* points,
                          const TriangleCorners& t) {
    out = appendLiteral(out, "facet normal ");
    out = PointTextCache::format(out, normal);
    out = appendLiteral(out, "\nouter loop\nvertex ");
    out = texts.append(out, t.i0, points[t.i0]);
    out = appendLiteral(out, "\nvertex ");
    out = texts.append(out, t.i1, points[t.i1]);
    out = appendLiteral(out, "\nvertex ");
    out = texts.append(out, t.i2, points[t.i2]);
    return appendLiteral(out, "\nendloop\nendfacet\n");
}

// Triangles whose normals are computed together before their records are
// formatted.
constexpr std::size_t kTrianglesPerBatch = 256;

// What one formatting worker keeps across its ranges: the texts of recent
// points (ASCII) and room for faces the mesh does not hold as an array.
struct FacetScratch {
    std::unique_ptr<PointTextCache> pointTexts;
    std::unique_ptr<std::int32_t[]> faces;
};

// The faces [first, end) of `mesh`, from its array or copied into `scratch`.
const std::int32_t* faceRange(const MeshSource& mesh, std::size_t first, std::size_t end, FacetScratch& scratch,
                              std::size_t facesPerRange) {
    if (const std::int32_t* all = mesh.faceArray()) return all + 4 * first;
    if (!scratch.faces) scratch.faces.reset(new std::int32_t[4 * facesPerRange]);
    mesh.readFaces(first, end - first, scratch.faces.get());
    return scratch.faces.get();
}

}  // namespace

// A new exporter holds the identity matrix (type 0) and does not use it.
QMSTLExport::QMSTLExport() : m_file(QMDiskServer::s_invalidFile) {}

// An export left half way (by an exception) releases its stream and leaves
// no file behind: m_output discards it, and m_out never writes on its own.
QMSTLExport::~QMSTLExport() = default;

bool QMSTLExport::startExportKMeshes(const QMString& path, bool binary) {
    m_binary = binary;
    abandon();  // an unfinished earlier file is dropped
    m_outputError = 0;
    m_bytesWritten = 0;
    m_trianglesWritten = 0;
    m_facesSkipped = 0;
    m_file = m_output.open(path, binary ? "wb" : "w");
    if (m_file == QMDiskServer::s_invalidFile) {
        m_outputError = m_output.error();
        return false;
    }
    m_outputInPlace = m_output.inPlace();
    m_out.attach(m_file);
    if (m_binary) {
        char header[kHeaderBytes + 4];
        std::memset(header, ' ', kHeaderBytes);
        m_numTriangles = 0;
        std::memset(header + kHeaderBytes, 0, 4);
        m_out.append(header, sizeof header);
    } else {
        m_out.append(kSolidStart);
    }
    return true;
}

bool QMSTLExport::writeKMesh(QMArray<QMVector3f>& points, QMArray<int>& faces) {
    if (m_file == QMDiskServer::s_invalidFile) return true;
    return m_binary ? writeKMesh_BIN(points, faces) : writeKMesh_ASCII(points, faces);
}

bool QMSTLExport::writeKMesh_BIN(QMArray<QMVector3f>& points, QMArray<int>& faces) {
    writeMesh(ArrayMeshSource(points, faces));
    return true;
}

bool QMSTLExport::writeKMesh_ASCII(QMArray<QMVector3f>& points, QMArray<int>& faces) {
    writeMesh(ArrayMeshSource(points, faces));
    return true;
}

bool QMSTLExport::writeCurrentKMesh() {
    if (m_file == QMDiskServer::s_invalidFile) return true;
    return m_binary ? writeCurrentKMesh_BIN() : writeCurrentKMesh_ASCII();
}

bool QMSTLExport::writeCurrentKMesh_BIN() {
    writeMesh(*makeCurrentHostMesh(HostPoints::kHostTransformed));
    return true;
}

bool QMSTLExport::writeCurrentKMesh_ASCII() {
    writeMesh(*makeCurrentHostMesh(HostPoints::kHostTransformed));
    return true;
}

bool QMSTLExport::exportKMesh(const QMString& path, bool binary) {
    if (!startExportKMeshes(path, binary)) return false;
    writeCurrentKMesh();
    return endExportKMeshes();
}

// Every point placed once, then the faces in ranges formatted on the export
// workers and written in order. A face using a missing point is skipped.
void QMSTLExport::writeMesh(const MeshSource& mesh) {
    if (m_file == QMDiskServer::s_invalidFile) return;
    const std::size_t numFaces = mesh.numFaces();
    if (numFaces == 0) return;
    const PlacedPoints points(mesh, m_useMatrix ? &m_matrix : nullptr);
    const std::size_t numPoints = points.size();
    const QMVector3f* placed = points.data();
    const auto inRange = [numPoints](int index) { return index >= 0 && std::size_t(index) < numPoints; };
    const bool binary = m_binary;
    const std::size_t facesPerRange = binary ? kFacesPerBinaryRange : kFacesPerTextRange;
    const std::size_t maxFaceBytes = 2 * (binary ? kSTLRecordBytes : kMaxFacetText);

    const auto formatFaces = [&](FacetScratch& scratch, std::size_t first, std::size_t end, char* out,
                                 RangeCounts& counts) {
        if (!binary && !scratch.pointTexts) scratch.pointTexts = std::make_unique<PointTextCache>();
        const std::int32_t* faces = faceRange(mesh, first, end, scratch, facesPerRange);
        const std::size_t numFacesInRange = end - first;
        TriangleCorners triangles[kTrianglesPerBatch];
        QMVector3f normals[kTrianglesPerBatch];
        for (std::size_t f = 0; f < numFacesInRange;) {
            // A face gives one triangle, or two (0 1 2 and 0 2 3) for a quad.
            std::size_t batch = 0;
            for (; f < numFacesInRange && batch + 2 <= kTrianglesPerBatch; ++f) {
                const std::int32_t* face = faces + 4 * f;
                const bool isQuad = face[3] != -1;
                if (!inRange(face[0]) || !inRange(face[1]) || !inRange(face[2]) || (isQuad && !inRange(face[3]))) {
                    ++counts.skipped;
                    continue;
                }
                triangles[batch++] = {face[0], face[1], face[2]};
                if (isQuad) triangles[batch++] = {face[0], face[2], face[3]};
            }
            if (binary) {
                out = formatSTLBinaryRecords(placed, numPoints, triangles, batch, out);
            } else {
                stlFacetNormals(placed, numPoints, triangles, batch, normals);
                for (std::size_t t = 0; t < batch; ++t)
                    out = formatTriangleASCII(out, *scratch.pointTexts, normals[t], placed, triangles[t]);
            }
            counts.written += batch;
        }
        return out;
    };
    // The point texts are kept per worker for this mesh only: the next mesh's
    // indices name other points.
    const auto writeRange = [&](const FormattedRange& range) {
        m_out.append(range.bytes, range.size);
        m_trianglesWritten += range.counts.written;
        m_facesSkipped += range.counts.skipped;
        if (binary) m_numTriangles += static_cast<std::uint32_t>(range.counts.written);
        if (m_progress) m_progress->facesWritten(range.end - range.first);
    };
    if (!m_workers) m_workers = std::make_unique<ExportWorkers>(exportWorkerCount());
    formatRangesInOrder<FacetScratch>(*m_workers, numFaces, facesPerRange, maxFaceBytes, formatFaces, writeRange);
}

bool QMSTLExport::endExportKMeshes() {
    if (m_file == QMDiskServer::s_invalidFile) return true;
    bool complete = true;
    if (m_binary) {
        m_out.flush();
        // A failed seek must not let the count land at the end of the file.
        errno = 0;
        if (m_out.error() == 0 && (fseeko(m_file, static_cast<off_t>(kHeaderBytes), SEEK_SET) != 0 ||
                                   std::fwrite(&m_numTriangles, 1, 4, m_file) != 4)) {
            m_outputError = errno != 0 ? errno : EIO;
            complete = false;
        }
    } else {
        m_out.append(kSolidEnd);
        m_out.flush();
    }
    finish(complete);
    return true;
}

void QMSTLExport::finish(bool complete) {
    if (m_out.error() != 0) {
        if (m_outputError == 0) m_outputError = m_out.error();
        complete = false;
    }
    m_bytesWritten = m_out.bytesAppended();
    m_out.release();
    m_workers.reset();
    if (complete) {
        if (!m_output.commit()) m_outputError = m_output.error();
    } else {
        m_output.discard();
    }
    m_file = QMDiskServer::s_invalidFile;
}

void QMSTLExport::abandon() {
    m_out.release();
    m_workers.reset();
    m_output.discard();
    m_file = QMDiskServer::s_invalidFile;
}
