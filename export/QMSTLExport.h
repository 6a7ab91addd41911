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

class ExportWorkers;

// Writes one STL file, binary or ASCII, from any number of meshes handed over
// one after another between startExportKMeshes and endExportKMeshes. Every
// quad is cut into two triangles along its first-to-third-corner diagonal;
// points go through m_matrix first when m_useMatrix is set.
//
// Faces come four indices each (a fourth index of -1 marks a triangle). A face
// with an index outside the points it is given is skipped whole (and counted).
// When the file could not be opened, nothing is written and the calls still
// succeed.
//
// The file is written under a temporary name and takes its own name only when
// endExportKMeshes has written all of it: an export that fails half way (a
// full disk, an exception) leaves the previous file at the path untouched.
// Whether it did is in outputError() after the end; abandon() ends an export
// at once, for a caller that gives up on it.
class QMSTLExport {
public:
    QMSTLExport();
    ~QMSTLExport();
    QMSTLExport(const QMSTLExport&) = delete;
    QMSTLExport& operator=(const QMSTLExport&) = delete;

    // Opens the file and writes the start; false when it cannot be opened
    // (outputError() says why).
    bool startExportKMeshes(const QMString& path, bool binary);
    // Appends one mesh in the mode chosen at the start.
    bool writeKMesh(QMArray<QMVector3f>& points, QMArray<int>& faces);
    // Writes the end (the binary triangle count), closes the file and puts it
    // in place; always true, even when a write failed (nothing is replaced
    // then, and outputError() says why).
    bool endExportKMeshes();

    // Appends the host's current mesh (export/CurrentHostMesh.h) in the mode
    // chosen at the start: its points as the host places them, then m_matrix.
    bool writeCurrentKMesh();
    // The one-call form: start, the current mesh, end. False when the file
    // cannot be opened (nothing is written then).
    bool exportKMesh(const QMString& path, bool binary);

    // Appends any mesh in the mode chosen at the start.
    void writeMesh(const MeshSource& mesh);

    // Closes and removes the file of an export in progress and ends the
    // writer's thread; the previous file at the path stays as it was.
    void abandon();

    // The errno of the failure of the last export (opening, a write, the
    // seek, the close or putting the file in place), or 0.
    int outputError() const { return m_outputError; }
    // Whether the last export wrote straight to its destination (a device, a
    // pipe, a file with several names) instead of replacing it whole.
    bool outputInPlace() const { return m_outputInPlace; }
    // Bytes of the file written by the last export.
    std::uint64_t bytesWritten() const { return m_bytesWritten; }
    // Triangles written and faces skipped since the start, in either mode.
    std::uint64_t trianglesWritten() const { return m_trianglesWritten; }
    std::uint64_t facesSkipped() const { return m_facesSkipped; }

    // Told after every range of faces written (null: nobody). Not owned.
    void setProgress(WriteProgress* progress) { m_progress = progress; }

    bool m_useMatrix = false;
    QMMatrix4f m_matrix;
    std::FILE* m_file;
    std::uint32_t m_numTriangles = 0;
    bool m_binary = true;

private:
    bool writeKMesh_BIN(QMArray<QMVector3f>& points, QMArray<int>& faces);
    bool writeKMesh_ASCII(QMArray<QMVector3f>& points, QMArray<int>& faces);
    bool writeCurrentKMesh_BIN();
    bool writeCurrentKMesh_ASCII();

    // Ends the export: the file is closed, and put in place when `complete`.
    void finish(bool complete);

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
    std::uint64_t m_trianglesWritten = 0;
    std::uint64_t m_facesSkipped = 0;
};
