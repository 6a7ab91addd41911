#include "engine/ExportRun.h"
#include "engine/SceneMeasure.h"
#include "export/QMSTLExport.h"
#include "plugin/DeclaredVekFiles.h"
#include "plugin/ExportDriverSteps.h"
#include "plugin/ExportSettings.h"
#include "plugin/ScriptCallGuard.h"
#include "plugin/ScriptExportPlan.h"
#include "plugin/ombrel.h"
#include "support/QMLogServer.h"

BBox computeAllVekFilesBBox() { return ombrel::engine::sceneBounds(getDeclaredVekFileNames()); }

// One STL file of every declared Vek file, placed by one matrix: the scene's
// minimum corner at the origin, its height along Y the declared height. Every
// file is read twice, once for the scene bounds and once for writing. The
// host learns nothing of the result: the call returns 0.0 whatever happened.
double ExportSTLAllDeclaredVek(OMBREL_SCRIPT_ARGUMENTS) {
    return runScriptCall(0.0, [&] {
        QMLogServer::printLine(QMString("ExportSTLAllDeclaredVek called : compAllBBox + buildMatrix + writeAllKMesh"));
        QMLogServer::printLine(QMString(" -> %s"), text);

        replaceExporter(s_stlExporter);
        ombrel::ExportResult result;
        ombrel::engine::runExport(
            declaredExportPlan(text, s_binarySTLExport ? ombrel::Format::BinaryStl : ombrel::Format::AsciiStl),
            *s_stlExporter, result);

        delete s_stlExporter;
        s_stlExporter = nullptr;
        return 0.0;
    });
}
