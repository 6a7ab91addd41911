#pragma once

#include "export/MeshSource.h"
#include "export/WriteProgress.h"
#include "geometry/QMMatrix4f.h"
#include "geometry/QMVector.h"
#include "support/AtomicOutputFile.h"
#include "support/QMArray.h"
#include "support/QMOutputBuffer.h"
#include "support/QMString.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <vector>

class ExportWorkers;

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
// Whether it did is in outputError() after the end; abandon() ends an export
// at once, for a caller that gives up on it.
class QMVRMLExport {
public:
    QMVRMLExport();
    ~QMVRMLExport();
    QMVRMLExport(const QMVRMLExport&) = delete;
    QMVRMLExport& operator=(const QMVRMLExport&) = delete;

    // Opens the file (unchecked: a file that cannot be opened leaves every
    // later write a no-op, and outputError() says why) and writes the header.
    // Always true.
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

    // Appends the host's current mesh (export/CurrentHostMesh.h) as one Shape,
    // with the texts of writeKMesh. Its texture coordinates keep all four
    // corners of every face (face i uses entries 4i to 4i+3); its colours come
    // from the host's vertex attributes, when `withColours`.
    void writeCurrentKMesh(const QMString& textureName, bool withColours);
    // The one-call form: start, the current mesh, close. Always true.
    bool exportKMesh(const QMString& path, const QMString& textureName, bool withColours);

    // Appends any mesh as one Shape; its colours only when `withColours`.
    void writeMesh(const MeshSource& mesh, const QMString& textureName, bool withColours);

    // Closes and removes the file of an export in progress and ends the
    // writer's thread; the previous file at the path stays as it was.
    void abandon();

    // The errno of the failure of the last export (opening, a write, the
    // close or putting the file in place), or 0.
    int outputError() const { return m_outputError; }
    // Whether the last export wrote straight to its destination (a device, a
    // pipe, a file with several names) instead of replacing it whole.
    bool outputInPlace() const { return m_outputInPlace; }
    // Bytes of the file written by the last export.
    std::uint64_t bytesWritten() const { return m_bytesWritten; }
    // Shapes written since the start.
    std::uint64_t shapesWritten() const { return m_shapesWritten; }

    // Told after every range of lines written (null: nobody). Not owned.
    void setProgress(WriteProgress* progress) { m_progress = progress; }

    bool m_useMatrix = false;
    QMMatrix4f m_matrix;
    std::FILE* m_file;

private:
    struct LineScratch;
    enum class FaceValues { kPointIndices, kTexCoordIndices };

    struct LineList;
    void writeAppearance(const QMString& textureName);
    LineList coordinateList(const MeshSource& mesh);
    LineList faceList(const MeshSource& mesh, FaceValues values, std::vector<std::uint32_t>& rangeCounters);
    LineList texCoordList(const MeshSource& mesh, std::size_t firstEntry, std::size_t lastEntry);
    LineList colourList(const MeshSource& mesh);
    // The lists of one shape, in order, formatted in ranges on the export
    // workers and written in order.
    void writeLists(const std::vector<LineList>& lists);

    // Declared in this order so that m_out, destroyed first, has finished any
    // write in progress before m_output closes the stream.
    AtomicOutputFile m_output;  // owns m_file while it is open
    QMOutputBuffer m_out;
    // The formatting threads of the export in progress (none between
    // exports): started by its first mesh, ended with the export.
    std::unique_ptr<ExportWorkers> m_workers;
    WriteProgress* m_progress = nullptr;
    int m_outputError = 0;
    bool m_outputInPlace = false;
    std::uint64_t m_bytesWritten = 0;
    std::uint64_t m_shapesWritten = 0;
};
