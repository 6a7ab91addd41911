#include "export/CurrentMeshExport.h"

#include "export/QMSTLExport.h"
#include "export/QMVRMLExport.h"
#include "support/QMDiskServer.h"

namespace {

// Carries `matrix` into an exporter; an identity matrix is not applied at all.
template <class Exporter>
void useMatrix(Exporter& exporter, const QMMatrix4f& matrix) {
    exporter.m_matrix = matrix;
    exporter.m_useMatrix = !matrix.equals(QMMatrix4f::m_identity);
}

}  // namespace

bool exportKMeshToSTL(const char* path, bool binary) {
    QMSTLExport exporter;
    return exporter.exportKMesh(QMString(path), binary);
}

bool exportKMeshToSTL(const char* path, const QMMatrix4f& matrix, bool binary) {
    QMSTLExport exporter;
    useMatrix(exporter, matrix);
    return exporter.exportKMesh(QMString(path), binary);
}

bool exportKMeshToVRML(const char* path, const QMMatrix4f& matrix, const char* textureName, bool withColours) {
    QMString texture(textureName);
    QMDiskServer::removePathFromFilename(texture);
    QMVRMLExport exporter;
    useMatrix(exporter, matrix);
    return exporter.exportKMesh(QMString(path), texture, withColours);
}
