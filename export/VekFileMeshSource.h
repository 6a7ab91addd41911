#pragma once

#include "export/MeshSource.h"
#include "support/QMArray.h"
#include "vekio/VekMeshLayout.h"
#include "vekio/VekRandomAccess.h"

#include <cstdint>

// A mesh whose points are held in an array and whose faces, texture
// coordinates and colours are read in ranges straight from the bodies of a
// Vek file with a simple layout (VekMeshLayout.h), so that memory does not
// grow with the face count. It reads exactly what ArrayMeshSource would give
// for the arrays the readers fill from that file.
//
// The texture coordinates may come from another file (an export that carries
// one file's coordinates to the next file without any); without a UV block
// the mesh has none. The file, the arrays and the blocks' files must outlive
// the source.
class VekFileMeshSource final : public MeshSource {
public:
    // A block of one file: where its body lies and how many elements it has.
    struct Body {
        const VekRandomAccess* file = nullptr;
        std::uint64_t offset = 0;
        std::uint64_t elements = 0;
    };

    VekFileMeshSource(const QMArray<QMVector3f>& points, const Body& faces, const Body& uvEntries,
                      const Body& colours);

    std::size_t numPoints() const override { return m_points.size(); }
    void readPoints(std::size_t first, std::size_t count, QMVector3f* out) const override;
    const QMVector3f* pointArray() const override { return m_points.data(); }

    std::size_t numFaces() const override { return static_cast<std::size_t>(m_faces.elements); }
    void readFaces(std::size_t first, std::size_t count, std::int32_t* out) const override;

    std::size_t numTexCoordEntries() const override;
    void readTexCoords(std::size_t first, std::size_t count, QMVector2f* uvs, bool* written) const override;

    std::size_t numColours() const override { return static_cast<std::size_t>(m_colours.elements); }
    void readColourWords(std::size_t first, std::size_t count, std::uint32_t* out) const override;
    double colourIntensity(int channel, std::uint8_t byte) const override;

private:
    const QMArray<QMVector3f>& m_points;
    Body m_faces, m_uvs, m_colours;
};
