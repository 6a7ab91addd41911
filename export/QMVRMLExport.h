#pragma once

#include "geometry/QMMatrix4f.h"
#include "geometry/QMVector.h"
#include "support/AtomicOutputFile.h"
#include "support/QMArray.h"
#include "support/QMOutputBuffer.h"
#include "support/QMString.h"

#include <cstddef>
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
//
// The file is written under a temporary name and takes its own name only when
// endExportKMeshes has written all of it: an export that fails half way (a
// full disk, an exception) leaves the previous file at the path untouched.
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
    // Closes the file and puts it in place (nothing is replaced when a write
    // failed). Always true.
    bool endExportKMeshes();

    // Appends the host's current mesh (host/KelvraHelper.h) as one Shape, with
    // the texts of writeKMesh. Its texture coordinates keep all four corners
    // of every face (face i uses entries 4i to 4i+3); its colours come from the
    // host's vertex attributes, when `withColours`.
    void writeCurrentKMesh(const QMString& textureName, bool withColours);
    // The one-call form: start, the current mesh, close. Always true.
    bool exportKMesh(const QMString& path, const QMString& textureName, bool withColours);

    bool m_useMatrix = false;
    QMMatrix4f m_matrix;
    std::FILE* m_file;

private:
    void writeAppearance(const QMString& textureName);
    void writeCoordinates(const QMArray<QMVector3f>& points);
    void writeCoordIndices(const QMArray<int>& faces);
    void writeTextureCoordinates(const QMArray<int>& faces, const QMArray<QMVector2f>& uvs);
    void writeColours(const QMArray<std::uint32_t>& mrgb);
    // The pieces of a Shape, shared by both mesh sources.
    void beginShape(const QMString& textureName);
    void endShape();
    // Point `i` of `n` (after m_matrix when m_useMatrix).
    void writeCoordinateLine(std::size_t i, std::size_t n, const QMVector3f& point);
    // The line of face `face` of `numFaces`: `corners` values after the
    // face's prefix, closed by -1 except on the last face.
    void writeFaceLine(std::size_t face, std::size_t numFaces, const char* firstPrefix, const char* restPrefix,
                       const int* values, int corners);
    void beginTextureCoordinates();
    void endTextureCoordinates();
    // One texture-coordinate entry, flipped (1 - s, 1 - t).
    void writeTexCoordLine(bool first, bool last, const QMVector2f& uv);
    void beginColours();
    void endColours();
    void writeColourLine(bool last, double red, double green, double blue);
    void writeCurrentCoordinates(std::size_t numVertices);
    void writeCurrentFaceLines(std::size_t numFaces, bool textureIndices);
    void writeCurrentTextureCoordinates(std::size_t numFaces);
    void writeCurrentColours();

    static constexpr char kCoordIndexFirst[] = "    coordIndex [ ";
    static constexpr char kCoordIndexRest[] = "      ";
    static constexpr char kTexCoordIndexFirst[] = "      texCoordIndex [ ";
    static constexpr char kTexCoordIndexRest[] = "        ";

    template <class Value>
    void writeFaceLines(const QMArray<int>& faces, const char* firstPrefix, const char* restPrefix, Value value);
    template <class FormatRange>
    void writeLineRanges(std::size_t numLines, std::size_t maxLineBytes, const FormatRange& formatRange);

    // Declared in this order so that m_out, destroyed first, has finished any
    // write in progress before m_output closes the stream.
    AtomicOutputFile m_output;  // owns m_file while it is open
    QMOutputBuffer m_out;
};
