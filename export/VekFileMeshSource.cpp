#include "export/VekFileMeshSource.h"

#include "export/VekColourIntensity.h"

#include <algorithm>
#include <memory>

static_assert(sizeof(QMVector2f) == 8 && sizeof(QMVector3f) == 12);

VekFileMeshSource::VekFileMeshSource(const QMArray<QMVector3f>& points, const Body& faces, const Body& uvEntries,
                                     const Body& colours)
    : m_points(points), m_faces(faces), m_uvs(uvEntries), m_colours(colours) {}

void VekFileMeshSource::readPoints(std::size_t first, std::size_t count, QMVector3f* out) const {
    std::copy_n(m_points.data() + first, count, out);
}

void VekFileMeshSource::readFaces(std::size_t first, std::size_t count, std::int32_t* out) const {
    m_faces.file->readAt(m_faces.offset + 16 * std::uint64_t(first), out, 16 * count);
}

// Entry k belongs to face corner k: only entries below the face list's length
// count, and an entry is written unless its corner's index is -1.
std::size_t VekFileMeshSource::numTexCoordEntries() const {
    if (!m_uvs.file) return 0;
    return static_cast<std::size_t>(std::min(m_uvs.elements, 4 * m_faces.elements));
}

void VekFileMeshSource::readTexCoords(std::size_t first, std::size_t count, QMVector2f* uvs, bool* written) const {
    m_uvs.file->readAt(m_uvs.offset + 8 * std::uint64_t(first), uvs, 8 * count);
    if (count == 0) return;
    const std::size_t firstFace = first / 4;
    const std::size_t endFace = (first + count + 3) / 4;
    std::unique_ptr<std::int32_t[]> corners(new std::int32_t[4 * (endFace - firstFace)]);
    readFaces(firstFace, endFace - firstFace, corners.get());
    for (std::size_t k = 0; k < count; ++k) written[k] = corners[first - 4 * firstFace + k] != -1;
}

void VekFileMeshSource::readColourWords(std::size_t first, std::size_t count, std::uint32_t* out) const {
    m_colours.file->readAt(m_colours.offset + 4 * std::uint64_t(first), out, 4 * count);
}

double VekFileMeshSource::colourIntensity(int channel, std::uint8_t byte) const {
    return vekColourIntensity(channel, byte);
}
