#include "export/CurrentMeshExport.h"
#include "export/QMVRMLExport.h"
#include "host/HostMemory.h"
#include "host/KelvraHelper.h"
#include "support/QMDiskServer.h"

#include <cstdint>

namespace {

constexpr std::size_t kFaceBytes = 16;
constexpr std::size_t kUVLinkBytes = 32;
constexpr std::size_t kVertexAttribBytes = 8;
// The unit of the fixed-point UV links of the 3.1 layout (24 fraction bits).
constexpr float kFixed24Unit = 5.9604645e-08f;

std::size_t countOf(int count, const void* data) { return data != nullptr && count > 0 ? std::size_t(count) : 0; }

// The four indices of face `face` of the host's face table.
void readFace(std::size_t face, int indices[4]) {
    const unsigned char* record = reinterpret_cast<const unsigned char*>(KelvraHelper::s_faces) + kFaceBytes * face;
    for (std::size_t j = 0; j < 4; ++j) indices[j] = readHostField<std::int32_t>(record, 4 * j);
}

// Corner `corner` of UV link `link`: floats, or fixed point scaled to floats.
QMVector2f readUV(std::size_t link, std::size_t corner) {
    const std::size_t offset = kUVLinkBytes * link + 8 * corner;
    if (KelvraHelper::s_uvLinksFlt32 != nullptr) {
        const void* links = KelvraHelper::s_uvLinksFlt32;
        return {readHostField<float>(links, offset), readHostField<float>(links, offset + 4)};
    }
    const void* links = KelvraHelper::s_uvLinksFix32;
    return {static_cast<float>(readHostField<std::int32_t>(links, offset)) * kFixed24Unit,
            static_cast<float>(readHostField<std::int32_t>(links, offset + 4)) * kFixed24Unit};
}

}  // namespace

void QMVRMLExport::writeCurrentKMesh(const QMString& textureName, bool withColours) {
    if (m_file == QMDiskServer::s_invalidFile) return;
    const std::size_t numVertices = std::size_t(KelvraHelper::s_numVertices > 0 ? KelvraHelper::s_numVertices : 0);
    const std::size_t numFaces = countOf(KelvraHelper::s_numFaces, KelvraHelper::s_faces);
    beginShape(textureName);
    if (numVertices != 0) writeCurrentCoordinates(numVertices);
    if (numFaces != 0) writeCurrentFaceLines(numFaces, false);
    if (KelvraHelper::s_numUVLinks > 0 && (KelvraHelper::s_uvLinksFlt32 || KelvraHelper::s_uvLinksFix32))
        writeCurrentTextureCoordinates(numFaces);
    if (withColours && countOf(KelvraHelper::s_numVertexAttribs, KelvraHelper::s_vertexAttribs) != 0)
        writeCurrentColours();
    endShape();
}

void QMVRMLExport::writeCurrentCoordinates(std::size_t numVertices) {
    m_out.append("    coord Coordinate { \n");
    for (std::size_t i = 0; i < numVertices; ++i) {
        float p[3] = {0.0f, 0.0f, 0.0f};
        KelvraHelper::getVertex(static_cast<int>(i), p);
        writeCoordinateLine(i, numVertices, QMVector3f(p[0], p[1], p[2]));
    }
    m_out.append("    }\n");
}

// The coordinate indices as the face table holds them (unchecked), or the
// texture-coordinate indices 4i to 4i+3 of face i; three corners for a face
// whose fourth index is -1.
void QMVRMLExport::writeCurrentFaceLines(std::size_t numFaces, bool textureIndices) {
    const char* firstPrefix = textureIndices ? kTexCoordIndexFirst : kCoordIndexFirst;
    const char* restPrefix = textureIndices ? kTexCoordIndexRest : kCoordIndexRest;
    for (std::size_t i = 0; i < numFaces; ++i) {
        int values[4];
        readFace(i, values);
        const int corners = values[3] == -1 ? 3 : 4;
        if (textureIndices) {
            // Counted modulo 2^32, so it wraps like the printed int.
            const std::uint32_t base = static_cast<std::uint32_t>(4 * i);
            for (int j = 0; j < 4; ++j) values[j] = static_cast<int>(base + static_cast<std::uint32_t>(j));
        }
        writeFaceLine(i, numFaces, firstPrefix, restPrefix, values, corners);
    }
}

// All four corners of every UV link, the unused fourth corner of a triangle
// included.
void QMVRMLExport::writeCurrentTextureCoordinates(std::size_t numFaces) {
    const std::size_t entries = 4 * std::size_t(KelvraHelper::s_numUVLinks);
    beginTextureCoordinates();
    for (std::size_t k = 0; k < entries; ++k) writeTexCoordLine(k == 0, k + 1 == entries, readUV(k / 4, k % 4));
    endTextureCoordinates();
    writeCurrentFaceLines(numFaces, true);
}

// One colour a vertex attribute record: the word in its bytes 4 to 7, red
// from byte 2 of that word, green from byte 1, blue from byte 0.
void QMVRMLExport::writeCurrentColours() {
    const std::size_t count = std::size_t(KelvraHelper::s_numVertexAttribs);
    beginColours();
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint32_t word =
            readHostField<std::uint32_t>(KelvraHelper::s_vertexAttribs, kVertexAttribBytes * i + 4);
        const double red = static_cast<double>((word >> 16) & 0xFFu) / 255.0;
        const double green = static_cast<double>((word >> 8) & 0xFFu) / 255.0;
        const double blue = static_cast<double>(word & 0xFFu) / 255.0;
        writeColourLine(i + 1 == count, red, green, blue);
    }
    endColours();
}

bool QMVRMLExport::exportKMesh(const QMString& path, const QMString& textureName, bool withColours) {
    if (!startExportKMeshes(path)) return false;
    writeCurrentKMesh(textureName, withColours);
    endExportKMeshes();
    return true;
}

bool exportKMeshToVRML(const char* path, const QMMatrix4f& matrix, const char* textureName, bool withColours) {
    QMString texture(textureName);
    QMDiskServer::removePathFromFilename(texture);
    QMVRMLExport exporter;
    exporter.m_matrix = matrix;
    exporter.m_useMatrix = !matrix.equals(QMMatrix4f::m_identity);
    return exporter.exportKMesh(QMString(path), texture, withColours);
}
