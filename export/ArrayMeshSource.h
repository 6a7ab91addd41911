#pragma once

#include "export/MeshSource.h"
#include "support/QMArray.h"

#include <cstdint>

// A mesh held in the arrays a Vek file is read into. Texture-coordinate entry
// k belongs to face corner k, so only entries below the face list's length
// count, and the entry of a triangle's unused fourth corner is not written.
// Colours convert as the Vek colour reader converts them. The arrays must
// outlive the source.
class ArrayMeshSource final : public MeshSource {
public:
    ArrayMeshSource(const QMArray<QMVector3f>& points, const QMArray<int>& faces,
                    const QMArray<QMVector2f>* uvs = nullptr, const QMArray<std::uint32_t>* colours = nullptr);

    std::size_t numPoints() const override { return m_points.size(); }
    void readPoints(std::size_t first, std::size_t count, QMVector3f* out) const override;
    const QMVector3f* pointArray() const override { return m_points.data(); }

    std::size_t numFaces() const override { return m_faces.size() / 4; }
    void readFaces(std::size_t first, std::size_t count, std::int32_t* out) const override;
    const std::int32_t* faceArray() const override { return m_faces.data(); }

    std::size_t numTexCoordEntries() const override;
    void readTexCoords(std::size_t first, std::size_t count, QMVector2f* uvs, bool* written) const override;

    std::size_t numColours() const override { return m_colours ? m_colours->size() : 0; }
    void readColourWords(std::size_t first, std::size_t count, std::uint32_t* out) const override;
    double colourIntensity(int channel, std::uint8_t byte) const override;

private:
    const QMArray<QMVector3f>& m_points;
    const QMArray<int>& m_faces;
    const QMArray<QMVector2f>* m_uvs;
    const QMArray<std::uint32_t>* m_colours;
};
