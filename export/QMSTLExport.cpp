#include "export/QMSTLExport.h"

#include "export/AppendText.h"
#include "export/STLFacetNormal.h"
#include "support/NumberText.h"
#include "support/QMDiskServer.h"

#include <cstring>
#include <sys/types.h>

namespace {

constexpr std::size_t kHeaderBytes = 80;
constexpr std::size_t kRecordBytes = 50;
// A facet is 12 numbers and 54 bytes of fixed text.
constexpr std::size_t kMaxFacetText = 12 * (kMaxGeneral6Length + 1) + 64;

const char kSolidStart[] = "solid object0 \n";
const char kSolidEnd[] = "endsolid object0 \n";

// Three coordinates, each as "%g " of the float widened to double.
char* appendCoordinates(char* out, const QMVector3f& v) {
    out = appendGeneral6(out, v.x);
    *out++ = ' ';
    out = appendGeneral6(out, v.y);
    *out++ = ' ';
    out = appendGeneral6(out, v.z);
    *out++ = ' ';
    return out;
}

char* appendFloats(char* out, const QMVector3f& v) {
    std::memcpy(out, &v.x, 4);
    std::memcpy(out + 4, &v.y, 4);
    std::memcpy(out + 8, &v.z, 4);
    return out + 12;
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

// The meshes handed over as arrays; a face with an index outside `points` is
// skipped.
class QMSTLExport::ArrayFaces final : public QMSTLExport::FaceSource {
public:
    ArrayFaces(const QMArray<QMVector3f>& points, const QMArray<int>& faces) : m_points(points), m_faces(faces) {}

    std::size_t numFaces() const override { return m_faces.size() / 4; }
    bool face(std::size_t face, int indices[4]) const override {
        const int* corners = &m_faces[4 * face];
        for (int j = 0; j < 4; ++j) indices[j] = corners[j];
        const bool isQuad = indices[3] != -1;
        return inRange(indices[0]) && inRange(indices[1]) && inRange(indices[2]) && (!isQuad || inRange(indices[3]));
    }
    QMVector3f point(int index) const override { return m_points[std::size_t(index)]; }

private:
    bool inRange(int index) const { return index >= 0 && std::size_t(index) < m_points.size(); }

    const QMArray<QMVector3f>& m_points;
    const QMArray<int>& m_faces;
};

void QMSTLExport::writeFaces(const FaceSource& source, WriteTriangle write) {
    const std::size_t numFaces = source.numFaces();
    for (std::size_t f = 0; f < numFaces; ++f) {
        int face[4];
        if (!source.face(f, face)) continue;
        const QMVector3f p0 = placed(source.point(face[0]));
        const QMVector3f p1 = placed(source.point(face[1]));
        const QMVector3f p2 = placed(source.point(face[2]));
        (this->*write)(p0, p1, p2);
        if (face[3] != -1) (this->*write)(p0, p2, placed(source.point(face[3])));
    }
}

bool QMSTLExport::writeKMesh_BIN(QMArray<QMVector3f>& points, QMArray<int>& faces) {
    writeFaces(ArrayFaces(points, faces), &QMSTLExport::writeTriangleBIN);
    return true;
}

bool QMSTLExport::writeKMesh_ASCII(QMArray<QMVector3f>& points, QMArray<int>& faces) {
    writeFaces(ArrayFaces(points, faces), &QMSTLExport::writeTriangleASCII);
    return true;
}

void QMSTLExport::writeTriangleBIN(const QMVector3f& p0, const QMVector3f& p1, const QMVector3f& p2) {
    const QMVector3f n = stlFacetNormal(p0, p1, p2);
    char* out = m_out.reserve(kRecordBytes);
    out = appendFloats(out, n);
    out = appendFloats(out, p0);
    out = appendFloats(out, p1);
    out = appendFloats(out, p2);
    *out++ = ' ';  // the attribute word is two spaces, 0x2020
    *out++ = ' ';
    m_out.commit(out);
    ++m_numTriangles;
}

void QMSTLExport::writeTriangleASCII(const QMVector3f& p0, const QMVector3f& p1, const QMVector3f& p2) {
    const QMVector3f n = stlFacetNormal(p0, p1, p2);
    char* out = m_out.reserve(kMaxFacetText);
    out = appendLiteral(out, "facet normal ");
    out = appendCoordinates(out, n);
    out = appendLiteral(out, "\nouter loop\nvertex ");
    out = appendCoordinates(out, p0);
    out = appendLiteral(out, "\nvertex ");
    out = appendCoordinates(out, p1);
    out = appendLiteral(out, "\nvertex ");
    out = appendCoordinates(out, p2);
    out = appendLiteral(out, "\nendloop\nendfacet\n");
    m_out.commit(out);
}
