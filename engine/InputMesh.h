#pragma once

#include "engine/NextPoints.h"
#include "export/ArrayMeshSource.h"
#include "export/VekFileMeshSource.h"
#include "support/QMArray.h"
#include "vekio/QMVekIO.h"
#include "vekio/VekMeshLayout.h"
#include "vekio/VekRandomAccess.h"

#include <memory>
#include <optional>

namespace ombrel::engine {

// One input file's mesh as an export reads it, file after file. The points
// are held in an array (taken over when they were read ahead);
// the faces, texture coordinates and colours of a file with a simple layout
// are read in ranges straight from the file while it is written, so memory
// does not grow with the face count. Any other file goes to the array
// readers, whose results (damage and all) it gives unchanged. Either way the
// writers see the same mesh and the log shows the same lines.
class InputMesh {
public:
    // What the export reads: points and faces (STL, the check), or every
    // mesh block (VRML).
    enum class Blocks { kPointsAndFaces, kWithUVsAndColours };

    InputMesh(Blocks blocks, bool withColours) : m_blocks(blocks), m_withColours(withColours) {}

    // Reads file `path`, located as `layout`; `ready` (may be null) may hold
    // its points already read. They are taken (usedReadyPoints()) when the
    // file is read in ranges, and `ready` then holds the storage of the
    // points before, to be reused. Returns what the reader returns: false
    // when the file cannot be opened or is not a Vek file.
    // The texture coordinates of a file without any are those of the last
    // file that had them, as the host's VRML export reuses one array, unless
    // forgetUVs() was called in between.
    bool read(const QMString& path, const VekMeshLayout& layout, ReadyPoints* ready, QMVekIO& reader);
    bool usedReadyPoints() const { return m_usedReadyPoints; }
    void forgetUVs();

    // The points, to be turned and placed in place before the mesh is written.
    QMArray<QMVector3f>& points() { return m_points; }
    const MeshSource& mesh() const;
    std::size_t numFaces() const { return mesh().numFaces(); }
    // Whether the file gave any face index at all (a damaged Face4 block can
    // give fewer than a face's four).
    bool hasFaceIndices() const { return m_streamed ? numFaces() != 0 : !m_faces.empty(); }

private:
    bool readStreamed(const VekMeshLayout& layout, ReadyPoints* ready, QMVekIO& reader);
    bool readArrays(const QMString& path, QMVekIO& reader);
    VekFileMeshSource::Body body(const VekMeshLayout& layout, std::uint32_t tag) const;
    bool canStream(const VekMeshLayout& layout) const;

    const Blocks m_blocks;
    const bool m_withColours;
    QMArray<QMVector3f> m_points;
    bool m_usedReadyPoints = false;

    // A file read in ranges.
    std::shared_ptr<VekRandomAccess> m_file;
    std::optional<VekFileMeshSource> m_streamed;
    // The texture coordinates carried to the next file: a block of an
    // earlier file read in ranges, or the array the readers fill.
    std::shared_ptr<VekRandomAccess> m_uvFile;
    VekFileMeshSource::Body m_uvBody;

    // A file read by the array readers.
    QMArray<int> m_faces;
    QMArray<QMVector2f> m_uvs;
    QMArray<std::uint32_t> m_colours;
    std::optional<ArrayMeshSource> m_arrays;
};

// Faces of `mesh` with a corner that names no point (for a triangle, its
// three corners), read in blocks.
std::uint64_t facesWithMissingPoints(const MeshSource& mesh);

}  // namespace ombrel::engine
