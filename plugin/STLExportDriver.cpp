#include "export/QMSTLExport.h"
#include "geometry/QMMatrix4f.h"
#include "plugin/DeclaredVekFiles.h"
#include "plugin/ExportDriverSteps.h"
#include "plugin/ExportSettings.h"
#include "plugin/ScriptCallGuard.h"
#include "plugin/ombrel.h"
#include "support/QMLogServer.h"
#include "vekio/QMVekIO.h"

BBox computeAllVekFilesBBox() {
    BBox bounds;
    QMArray<QMVector3f> vertices;
    const QMArray<QMString>& names = getDeclaredVekFileNames();
    for (std::size_t i = 0; i < names.size(); ++i) {
        QMVekIO reader;
        reader.readVertexBloc(names[i], vertices);
        addVerticesToBBox(bounds, vertices);
    }
    return bounds;
}

QMMatrix4f computeScenePlacement() {
    const BBox bounds = computeAllVekFilesBBox();
    QMMatrix4f matrix;  // the identity, type 0
    buildMatrix(matrix, static_cast<float>(s_declaredHeight), bounds);
    return matrix;
}

// One STL file of every declared Vek file, placed by one matrix: the scene's
// minimum corner at the origin, its height along Y the declared height. Every
// file is read twice, once for the scene bounds and once for writing.
double ExportSTLAllDeclaredVek(OMBREL_SCRIPT_ARGUMENTS) {
    return runScriptCall(0.0, [&] {
        QMLogServer::printLine(QMString("ExportSTLAllDeclaredVek called : compAllBBox + buildMatrix + writeAllKMesh"));
        QMLogServer::printLine(QMString(" -> %s"), text);

        placeExporter(*replaceExporter(s_stlExporter));
        s_stlExporter->startExportKMeshes(QMString(text), s_binarySTLExport);
        QMArray<QMVector3f> vertices;
        QMArray<int> faces;
        const QMArray<QMString>& names = getDeclaredVekFileNames();
        for (std::size_t i = 0; i < names.size(); ++i) {
            QMVekIO reader;
            reader.readVertexAndFace4Blocs(names[i], vertices, faces);
            if (!faces.empty()) s_stlExporter->writeKMesh(vertices, faces);
        }
        s_stlExporter->endExportKMeshes();

        delete s_stlExporter;
        s_stlExporter = nullptr;
        return 0.0;
    });
}
