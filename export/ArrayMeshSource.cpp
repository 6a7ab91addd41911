#include "export/ArrayMeshSource.h"

#include "export/VekColourIntensity.h"
#include "vekio/QMVekIO.h"

#include <algorithm>
#include <cstring>

static_assert(sizeof(int) == sizeof(std::int32_t));

ArrayMeshSource::ArrayMeshSource(const QMArray<QMVector3f>& points, const QMArray<int>& faces,
                                 const QMArray<QMVector2f>* uvs, const QMArray<std::uint32_t>* colours)
    : m_points(points), m_faces(faces), m_uvs(uvs), m_colours(colours) {}

void ArrayMeshSource::readPoints(std::size_t first, std::size_t count, QMVector3f* out) const {
    std::copy_n(m_points.data() + first, count, out);
}

void ArrayMeshSource::readFaces(std::size_t first, std::size_t count, std::int32_t* out) const {
    std::memcpy(out, m_faces.data() + 4 * first, 16 * count);
}

std::size_t ArrayMeshSource::numTexCoordEntries() const {
    return m_uvs ? std::min(m_uvs->size(), m_faces.size()) : 0;
}

void ArrayMeshSource::readTexCoords(std::size_t first, std::size_t count, QMVector2f* uvs, bool* written) const {
    std::copy_n(m_uvs->data() + first, count, uvs);
    for (std::size_t k = 0; k < count; ++k) written[k] = m_faces[first + k] != -1;
}

void ArrayMeshSource::readColourWords(std::size_t first, std::size_t count, std::uint32_t* out) const {
    std::copy_n(m_colours->data() + first, count, out);
}

double ArrayMeshSource::colourIntensity(int channel, std::uint8_t byte) const {
    return vekColourIntensity(channel, byte);
}

double vekColourIntensity(int channel, std::uint8_t byte) {
    // Channel c of a word is its byte 2 - c.
    const QMArray<std::uint32_t> word = {std::uint32_t(byte) << (8 * (2 - channel))};
    QMVector3f colour;
    QMVekIO().convertOneMRGBToColor3f(colour, word, 0);
    const float values[3] = {colour.x, colour.y, colour.z};
    return static_cast<double>(values[channel]);
}
