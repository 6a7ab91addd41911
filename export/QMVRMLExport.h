#pragma once

#include "geometry/QMMatrix4f.h"
#include "geometry/QMVector.h"
#include "support/QMArray.h"
#include "support/QMOutputBuffer.h"
#include "support/QMString.h"

#include <cstdint>
#include <cstdio>

// Writes meshes as one VRML 2.0 text file: a header, then one Shape per mesh
// (optional image texture, an IndexedFaceSet of triangles and quads, optional
// texture coordinates and per-vertex colours), between startExportKMeshes and
// endExportKMeshes. Points go through m_matrix first when m_useMatrix is set.
//
// Faces come four indices each (a fourth index of -1 marks a triangle) and are
// printed as they are, unchecked; UVs come four per face. The writer never
// reads outside `points`, `faces`, `uvs` or the colour words: UV entries beyond
// the face list are not written. Numbers are formatted without stdio into a
// fixed buffer that reaches the file in large blocks.
class QMVRMLExport {
public:
    QMVRMLExport();
    ~QMVRMLExport();
    QMVRMLExport(const QMVRMLExport&) = delete;
    QMVRMLExport& operator=(const QMVRMLExport&) = delete;

    // Opens the file (unchecked: a file that cannot be opened leaves every
    // later write a no-op) and writes the header. Always true.
    bool startExportKMeshes(const QMString& path);
    // Appends one Shape. `mrgb` may be null; a null or empty colour list
    // writes no colours. Inputs beyond what the format describes:
    //  - only UV entries k < faces.size() are considered, since entry k belongs
    //    to corner faces[k]; longer UV lists have their tail ignored;
    //  - when no UV entry is kept (empty faces, or only -1 corners among the
    //    entries considered) the texture-coordinate piece is left out whole,
    //    its indices included, as it would have no point list to open;
    //  - a face list whose size is not a multiple of four prints its complete
    //    faces only (none when it is shorter than four).
    void writeKMesh(const QMArray<QMVector3f>& points, const QMArray<int>& faces, const QMArray<QMVector2f>& uvs,
                    const QMString& textureName, const QMArray<std::uint32_t>* mrgb);
    // Closes the file. Always true.
    bool endExportKMeshes();

    bool m_useMatrix = false;
    QMMatrix4f m_matrix;
    std::FILE* m_file;

private:
    void writeAppearance(const QMString& textureName);
    void writeCoordinates(const QMArray<QMVector3f>& points);
    void writeCoordIndices(const QMArray<int>& faces);
    void writeTextureCoordinates(const QMArray<int>& faces, const QMArray<QMVector2f>& uvs);
    void writeColours(const QMArray<std::uint32_t>& mrgb);
    template <class Value>
    void writeFaceLines(const QMArray<int>& faces, const char* firstPrefix, const char* restPrefix, Value value);

    QMOutputBuffer m_out;
};
