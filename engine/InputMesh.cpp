#include "engine/InputMesh.h"

#include <algorithm>
#include <vector>

namespace ombrel::engine {

VekFileMeshSource::Body InputMesh::body(const VekMeshLayout& layout, std::uint32_t tag) const {
    const VekBlockExtent* block = layout.find(tag);
    if (!block) return {};
    return {m_file.get(), block->bodyOffset, layout.elements(tag)};
}

// A file without UVs after one whose UVs the readers filled into their array
// keeps that array, so it is read into arrays too.
bool InputMesh::canStream(const VekMeshLayout& layout) const {
    if (!layout.simple) return false;
    if (m_blocks == Blocks::kPointsAndFaces) return true;
    return layout.find(QMVekIO::kTagUV4) || m_uvs.empty();
}

bool InputMesh::read(const QMString& path, const VekMeshLayout& layout, ReadyPoints* ready, QMVekIO& reader) {
    m_streamed.reset();
    m_arrays.reset();
    m_usedReadyPoints = false;
    if (canStream(layout)) {
        m_file = std::make_shared<VekRandomAccess>(path);
        if (m_file->opened()) return readStreamed(layout, ready, reader);
    }
    return readArrays(path, reader);
}

bool InputMesh::readStreamed(const VekMeshLayout& layout, ReadyPoints* ready, QMVekIO& reader) {
    m_faces = QMArray<int>();
    m_colours = QMArray<std::uint32_t>();
    if (ready && ready->present) {
        std::swap(m_points, ready->points);
        m_usedReadyPoints = true;
    } else {
        const VekFileMeshSource::Body points = body(layout, QMVekIO::kTagPoints);
        m_points.resize(static_cast<std::size_t>(points.elements));
        m_file->readAt(points.offset, m_points.data(), 12 * m_points.size());
    }
    VekFileMeshSource::Body uvs, colours;
    if (m_blocks == Blocks::kWithUVsAndColours) {
        reader.logVtxFace4UV4AndMRGBReads(layout);
        if (layout.find(QMVekIO::kTagUV4)) {
            m_uvFile = m_file;
            m_uvBody = body(layout, QMVekIO::kTagUV4);
        }
        if (m_uvFile) uvs = m_uvBody;
        if (m_withColours) colours = body(layout, QMVekIO::kTagMRGB);
    } else {
        reader.logVertexAndFace4Reads(layout);
    }
    m_streamed.emplace(m_points, body(layout, QMVekIO::kTagFace4), uvs, colours);
    return true;
}

bool InputMesh::readArrays(const QMString& path, QMVekIO& reader) {
    m_file.reset();
    if (m_blocks == Blocks::kPointsAndFaces) {
        const bool readable = reader.readVertexAndFace4Blocs(path, m_points, m_faces);
        m_arrays.emplace(m_points, m_faces);
        return readable;
    }
    // UVs carried from a file read in ranges go into the array the reader
    // keeps when this file has none.
    if (m_uvFile) {
        m_uvs.resize(static_cast<std::size_t>(m_uvBody.elements));
        m_uvFile->readAt(m_uvBody.offset, m_uvs.data(), 8 * m_uvs.size());
        m_uvFile.reset();
    }
    const bool readable = reader.readVtxFace4UV4AndMRGBBlocs(path, m_points, m_faces, m_uvs, m_colours);
    if (!m_withColours) m_colours.clear();
    m_arrays.emplace(m_points, m_faces, &m_uvs, &m_colours);
    return readable;
}

void InputMesh::forgetUVs() {
    m_uvFile.reset();
    m_uvs.clear();
}

const MeshSource& InputMesh::mesh() const {
    if (m_streamed) return *m_streamed;
    return *m_arrays;
}

std::uint64_t facesWithMissingPoints(const MeshSource& mesh) {
    constexpr std::size_t kBlock = 16384;
    const std::size_t numFaces = mesh.numFaces();
    const std::size_t numPoints = mesh.numPoints();
    std::vector<std::int32_t> block(4 * std::min(kBlock, numFaces));
    std::uint64_t count = 0;
    for (std::size_t first = 0; first < numFaces; first += kBlock) {
        const std::size_t faces = std::min(kBlock, numFaces - first);
        mesh.readFaces(first, faces, block.data());
        for (std::size_t f = 0; f < faces; ++f) {
            const std::int32_t* face = &block[4 * f];
            const int corners = face[3] == -1 ? 3 : 4;
            for (int j = 0; j < corners; ++j)
                if (face[j] < 0 || std::size_t(face[j]) >= numPoints) {
                    ++count;
                    break;
                }
        }
    }
    return count;
}

}  // namespace ombrel::engine
