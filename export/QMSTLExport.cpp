#include "export/QMSTLExport.h"

#include "export/AppendText.h"
#include "export/OrderedChunks.h"
#include "export/PlacedPoints.h"
#include "export/PointTextCache.h"
#include "export/STLFacetNormal.h"
#include "support/NumberText.h"
#include "support/QMDiskServer.h"

#include <algorithm>
#include <cstring>
#include <vector>
#include <sys/types.h>

namespace {

constexpr std::size_t kHeaderBytes = 80;
constexpr std::size_t kRecordBytes = 50;
// A facet is 12 numbers and 54 bytes of fixed text.
constexpr std::size_t kMaxFacetText = 4 * PointTextCache::kMaxPointText + 64;

const char kSolidStart[] = "solid object0 \n";
const char kSolidEnd[] = "endsolid object0 \n";

char* appendFloats(char* out, const QMVector3f& v) {
    std::memcpy(out, &v.x, 4);
    std::memcpy(out + 4, &v.y, 4);
    std::memcpy(out + 8, &v.z, 4);
    return out + 12;
}

// Faces per chunk formatted apart: about a megabyte or two of output.
constexpr std::size_t kFacesPerBinaryChunk = 16384;
constexpr std::size_t kFacesPerTextChunk = 4096;

// One 50-byte record: normal, three corners, the attribute word.
char* formatTriangleBIN(char* out, const QMVector3f& p0, const QMVector3f& p1, const QMVector3f& p2) {
    out = appendFloats(out, stlFacetNormal(p0, p1, p2));
    out = appendFloats(out, p0);
    out = appendFloats(out, p1);
    out = appendFloats(out, p2);
    *out++ = ' ';  // the attribute word is two spaces, 0x2020
    *out++ = ' ';
    return out;
}

// A corner of an ASCII facet: the placed point and its index (the key of
// its cached text).
struct TextCorner {
    QMVector3f point;
    int index;
};

// One facet, at most kMaxFacetText bytes.
char* formatTriangleASCII(char* out, PointTextCache& texts, const TextCorner& c0, const TextCorner& c1,
                          const TextCorner& c2) {
    out = appendLiteral(out, "facet normal ");
    out = PointTextCache::format(out, stlFacetNormal(c0.point, c1.point, c2.point));
    out = appendLiteral(out, "\nouter loop\nvertex ");
    out = texts.append(out, c0.index, c0.point);
    out = appendLiteral(out, "\nvertex ");
    out = texts.append(out, c1.index, c1.point);
    out = appendLiteral(out, "\nvertex ");
    out = texts.append(out, c2.index, c2.point);
    return appendLiteral(out, "\nendloop\nendfacet\n");
}

}  // namespace

// A new exporter holds the identity matrix (type 0) and does not use it.
QMSTLExport::QMSTLExport() : m_file(QMDiskServer::s_invalidFile) {}

// An export left half way (by an exception) releases its stream and leaves
// no file behind: m_output discards it, and m_out never writes on its own.
QMSTLExport::~QMSTLExport() = default;

bool QMSTLExport::startExportKMeshes(const QMString& path, bool binary) {
    m_binary = binary;
    // An unfinished earlier file is dropped (its pending bytes go to it first).
    m_out.attach(nullptr);
    m_file = m_output.open(path, binary ? "wb" : "w");
    if (m_file == QMDiskServer::s_invalidFile) return false;
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

bool QMSTLExport::endExportKMeshes() {
    if (m_file == QMDiskServer::s_invalidFile) return true;
    if (m_binary) {
        m_out.flush();
        // A failed seek must not let the count land at the end of the file.
        if (fseeko(m_file, static_cast<off_t>(kHeaderBytes), SEEK_SET) != 0 ||
            std::fwrite(&m_numTriangles, 1, 4, m_file) != 4) {
            m_out.attach(nullptr);
            m_output.discard();
            m_file = QMDiskServer::s_invalidFile;
            return true;
        }
    } else {
        m_out.append(kSolidEnd);
        m_out.flush();
    }
    m_out.attach(nullptr);
    m_output.commit();
    m_file = QMDiskServer::s_invalidFile;
    return true;
}

QMVector3f QMSTLExport::placed(const QMVector3f& point) const {
    return m_useMatrix ? m_matrix.multVec3f(point) : point;
}

void QMSTLExport::writeFaces(const FaceSource& source, WriteTriangle write) {
    m_pointTexts.clear();
    const std::size_t numFaces = source.numFaces();
    for (std::size_t f = 0; f < numFaces; ++f) {
        int face[4];
        if (!source.face(f, face)) continue;
        const Corner c0{placed(source.point(face[0])), face[0]};
        const Corner c1{placed(source.point(face[1])), face[1]};
        const Corner c2{placed(source.point(face[2])), face[2]};
        (this->*write)(c0, c1, c2);
        if (face[3] != -1) (this->*write)(c0, c2, Corner{placed(source.point(face[3])), face[3]});
    }
}

// The array form: every point placed once, then the faces in chunks, each
// formatted on a worker thread and written in order. A face using a missing
// point is skipped.
void QMSTLExport::writeArrayFaces(const QMArray<QMVector3f>& points, const QMArray<int>& faces) {
    const std::size_t numFaces = faces.size() / 4;
    if (numFaces == 0) return;
    const PlacedPoints placedPoints(points, m_useMatrix ? &m_matrix : nullptr);
    const std::size_t numPoints = points.size();
    const auto inRange = [numPoints](int index) { return index >= 0 && std::size_t(index) < numPoints; };
    const int* allFaces = &faces[0];
    const bool binary = m_binary;
    const unsigned workers = exportWorkerCount();
    std::vector<PointTextCache> pointTexts(binary ? 0 : workers);  // one per worker
    const std::size_t facesPerChunk = binary ? kFacesPerBinaryChunk : kFacesPerTextChunk;
    const std::size_t chunkCapacity = 2 * facesPerChunk * (binary ? kRecordBytes : kMaxFacetText);

    const auto formatChunk = [&](unsigned worker, std::size_t chunk, ChunkBytes& bytes) {
        const std::size_t first = chunk * facesPerChunk;
        const std::size_t end = std::min(numFaces, first + facesPerChunk);
        char* out = bytes.data.get();
        std::size_t triangles = 0;
        for (std::size_t f = first; f < end; ++f) {
            const int* face = allFaces + 4 * f;
            const bool isQuad = face[3] != -1;
            if (!inRange(face[0]) || !inRange(face[1]) || !inRange(face[2]) || (isQuad && !inRange(face[3]))) continue;
            const QMVector3f p0 = placedPoints[std::size_t(face[0])];
            const QMVector3f p1 = placedPoints[std::size_t(face[1])];
            const QMVector3f p2 = placedPoints[std::size_t(face[2])];
            if (binary) {
                out = formatTriangleBIN(out, p0, p1, p2);
            } else {
                out = formatTriangleASCII(out, pointTexts[worker], {p0, face[0]}, {p1, face[1]}, {p2, face[2]});
            }
            ++triangles;
            if (!isQuad) continue;
            const QMVector3f p3 = placedPoints[std::size_t(face[3])];
            if (binary) {
                out = formatTriangleBIN(out, p0, p2, p3);
            } else {
                out = formatTriangleASCII(out, pointTexts[worker], {p0, face[0]}, {p2, face[2]}, {p3, face[3]});
            }
            ++triangles;
        }
        bytes.size = static_cast<std::size_t>(out - bytes.data.get());
        bytes.count = triangles;
    };
    const auto writeChunk = [&](const ChunkBytes& bytes) {
        m_out.append(bytes.data.get(), bytes.size);
        if (binary) m_numTriangles += static_cast<std::uint32_t>(bytes.count);
    };
    const std::size_t numChunks = (numFaces + facesPerChunk - 1) / facesPerChunk;
    runOrderedChunks(numChunks, chunkCapacity, workers, formatChunk, writeChunk);
}

bool QMSTLExport::writeKMesh_BIN(QMArray<QMVector3f>& points, QMArray<int>& faces) {
    writeArrayFaces(points, faces);
    return true;
}

bool QMSTLExport::writeKMesh_ASCII(QMArray<QMVector3f>& points, QMArray<int>& faces) {
    writeArrayFaces(points, faces);
    return true;
}

void QMSTLExport::writeTriangleBIN(const Corner& c0, const Corner& c1, const Corner& c2) {
    m_out.commit(formatTriangleBIN(m_out.reserve(kRecordBytes), c0.point, c1.point, c2.point));
    ++m_numTriangles;
}

void QMSTLExport::writeTriangleASCII(const Corner& c0, const Corner& c1, const Corner& c2) {
    m_out.commit(formatTriangleASCII(m_out.reserve(kMaxFacetText), m_pointTexts, {c0.point, c0.index},
                                     {c1.point, c1.index}, {c2.point, c2.index}));
}
