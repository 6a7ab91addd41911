#pragma once

#include "export/PointTextCache.h"
#include "geometry/QMMatrix4f.h"
#include "geometry/QMVector.h"
#include "support/AtomicOutputFile.h"
#include "support/QMArray.h"
#include "support/QMOutputBuffer.h"
#include "support/QMString.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>

// Writes one STL file, binary or ASCII, from any number of meshes handed over
// one after another between startExportKMeshes and endExportKMeshes. Every
// quad is cut into two triangles along its first-to-third-corner diagonal;
// points go through m_matrix first when m_useMatrix is set.
//
// Faces come four indices each (a fourth index of -1 marks a triangle). A face
// with an index outside the points it is given is skipped whole. When the file
// could not be opened, nothing is written and the calls still succeed.
//
// The file is written under a temporary name and takes its own name only when
// endExportKMeshes has written all of it: an export that fails half way (a
// full disk, an exception) leaves the previous file at the path untouched.
class QMSTLExport {
public:
    QMSTLExport();
    ~QMSTLExport();
    QMSTLExport(const QMSTLExport&) = delete;
    QMSTLExport& operator=(const QMSTLExport&) = delete;

    // Opens the file and writes the start; false when it cannot be opened.
    bool startExportKMeshes(const QMString& path, bool binary);
    // Appends one mesh in the mode chosen at the start.
    bool writeKMesh(QMArray<QMVector3f>& points, QMArray<int>& faces);
    // Writes the end (the binary triangle count), closes the file and puts it
    // in place; always true, even when a write failed (nothing is replaced
    // then).
    bool endExportKMeshes();

    // Appends the host's current mesh (host/KelvraHelper.h) in the mode chosen
    // at the start: its points through getTransformedVertex, then m_matrix.
    bool writeCurrentKMesh();
    // The one-call form: start, the current mesh, end. False when the file
    // cannot be opened (nothing is written then).
    bool exportKMesh(const QMString& path, bool binary);

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

    // A mesh seen face by face through its source: the host's current mesh
    // (CurrentMeshFaces). Arrays take the faster writeArrayFaces.
    class FaceSource {
    public:
        virtual std::size_t numFaces() const = 0;
        // The four indices of face `face`; false when one of the corners it
        // uses names no point (the face is then skipped whole).
        virtual bool face(std::size_t face, int indices[4]) const = 0;
        // Point `index`, before m_matrix.
        virtual QMVector3f point(int index) const = 0;

    protected:
        ~FaceSource() = default;
    };
    class CurrentMeshFaces;

    // A triangle corner: its point after m_matrix, and the point's index.
    struct Corner {
        QMVector3f point;
        int index;
    };
    using WriteTriangle = void (QMSTLExport::*)(const Corner&, const Corner&, const Corner&);
    // Calls `write` for every triangle of `source` in face order: the first
    // triangle of a face, then, for a quad, (p0, p2, p3).
    void writeFaces(const FaceSource& source, WriteTriangle write);
    // The same for meshes given as arrays, in the mode chosen at the start,
    // with each point placed only once and the work shared among threads.
    void writeArrayFaces(const QMArray<QMVector3f>& points, const QMArray<int>& faces);

    QMVector3f placed(const QMVector3f& point) const;
    void writeTriangleBIN(const Corner& c0, const Corner& c1, const Corner& c2);
    void writeTriangleASCII(const Corner& c0, const Corner& c1, const Corner& c2);

    // Declared in this order so that m_out, destroyed first, has finished any
    // write in progress before m_output closes the stream.
    AtomicOutputFile m_output;  // owns m_file while it is open
    QMOutputBuffer m_out;
    PointTextCache m_pointTexts;  // ASCII texts of the current mesh's recent points
};
