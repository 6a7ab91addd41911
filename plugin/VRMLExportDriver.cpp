#include "export/QMVRMLExport.h"
#include "geometry/QMMatrix4f.h"
#include "plugin/DeclaredVekFiles.h"
#include "plugin/ExportDriverSteps.h"
#include "plugin/ExportSettings.h"
#include "plugin/ScriptCallGuard.h"
#include "plugin/ombrel.h"
#include "support/QMDiskServer.h"
#include "support/QMLogServer.h"
#include "vekio/QMVekIO.h"

// One VRML file of every declared Vek file, placed like the STL export, with
// each file's texture name (its directory dropped) and, when vertex colours
// are on, its colours. The four arrays are reused from file to file; the UV
// array is not emptied between files, so a file without UVs carries the UVs
// of the file read before it.
double ExportVRMLAllDeclaredVek(OMBREL_SCRIPT_ARGUMENTS) {
    return runScriptCall(0.0, [&] {
        QMLogServer::printLine(QMString("ExportVRMLAllDeclaredVek called : compAllBBox + buildMatrix + writeAllKMesh"));
        QMLogServer::printLine(QMString(" -> %s"), text);

        placeExporter(*replaceExporter(s_vrmlExporter));

        QMArray<QMVector3f> vertices;
        QMArray<int> faces;
        QMArray<QMVector2f> uvs;
        QMArray<std::uint32_t> colours;
        s_vrmlExporter->startExportKMeshes(QMString(text));
        const QMArray<QMString>& names = getDeclaredVekFileNames();
        const QMArray<QMString>& textures = getDeclaredTextureFileNames();
        for (std::size_t i = 0; i < names.size(); ++i) {
            QMVekIO reader;
            reader.readVtxFace4UV4AndMRGBBlocs(names[i], vertices, faces, uvs, colours);
            if (!s_exportVertexColors) colours.clear();
            QMString textureName = i < textures.size() ? textures[i] : QMString();
            QMDiskServer::removePathFromFilename(textureName);
            if (!faces.empty()) s_vrmlExporter->writeKMesh(vertices, faces, uvs, textureName, &colours);
        }
        s_vrmlExporter->endExportKMeshes();

        delete s_vrmlExporter;
        s_vrmlExporter = nullptr;
        return 0.0;
    });
}
