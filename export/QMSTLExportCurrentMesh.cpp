#include "export/CurrentMeshExport.h"
#include "export/QMSTLExport.h"
#include "host/HostMemory.h"
#include "host/KelvraHelper.h"
#include "support/QMDiskServer.h"

// The host's current mesh: the host bridge's face table (four 32-bit indices a
// face, -1 in the fourth for a triangle) and its points in the mesh's
// pre-import coordinates. A face with an index outside the vertices is
// skipped, as for arrays.
class QMSTLExport::CurrentMeshFaces final : public QMSTLExport::FaceSource {
public:
    std::size_t numFaces() const override {
        if (KelvraHelper::s_faces == nullptr || KelvraHelper::s_numFaces <= 0) return 0;
        return std::size_t(KelvraHelper::s_numFaces);
    }
    bool face(std::size_t face, int indices[4]) const override {
        const unsigned char* record = reinterpret_cast<const unsigned char*>(KelvraHelper::s_faces) + 16 * face;
        for (int j = 0; j < 4; ++j) indices[j] = readHostField<std::int32_t>(record, 4 * std::size_t(j));
        const bool isQuad = indices[3] != -1;
        return inRange(indices[0]) && inRange(indices[1]) && inRange(indices[2]) && (!isQuad || inRange(indices[3]));
    }
    QMVector3f point(int index) const override {
        float p[3] = {0.0f, 0.0f, 0.0f};
        KelvraHelper::getTransformedVertex(index, p);
        return {p[0], p[1], p[2]};
    }

private:
    static bool inRange(int index) { return index >= 0 && index < KelvraHelper::s_numVertices; }
};

bool QMSTLExport::writeCurrentKMesh() {
    if (m_file == QMDiskServer::s_invalidFile) return true;
    return m_binary ? writeCurrentKMesh_BIN() : writeCurrentKMesh_ASCII();
}

bool QMSTLExport::writeCurrentKMesh_BIN() {
    writeFaces(CurrentMeshFaces(), &QMSTLExport::writeTriangleBIN);
    return true;
}

bool QMSTLExport::writeCurrentKMesh_ASCII() {
    writeFaces(CurrentMeshFaces(), &QMSTLExport::writeTriangleASCII);
    return true;
}

bool QMSTLExport::exportKMesh(const QMString& path, bool binary) {
    if (!startExportKMeshes(path, binary)) return false;
    writeCurrentKMesh();
    return endExportKMeshes();
}

bool exportKMeshToSTL(const char* path, bool binary) {
    QMSTLExport exporter;
    return exporter.exportKMesh(QMString(path), binary);
}

bool exportKMeshToSTL(const char* path, const QMMatrix4f& matrix, bool binary) {
    QMSTLExport exporter;
    exporter.m_matrix = matrix;
    exporter.m_useMatrix = !matrix.equals(QMMatrix4f::m_identity);
    return exporter.exportKMesh(QMString(path), binary);
}
