#include "engine/ExportRun.h"
#include "export/QMVRMLExport.h"
#include "plugin/ExportDriverSteps.h"
#include "plugin/ExportSettings.h"
#include "plugin/ScriptCallGuard.h"
#include "plugin/ScriptExportPlan.h"
#include "plugin/ombrel.h"
#include "support/QMLogServer.h"

// One VRML file of every declared Vek file, placed like the STL export, with
// each file's texture name (its directory dropped) and, when vertex colours
// are on, its colours. The UV array is reused from file to file and not
// emptied between them, so a file without UVs carries the UVs of the file
// read before it. The call returns 0.0 whatever happened.
double ExportVRMLAllDeclaredVek(OMBREL_SCRIPT_ARGUMENTS) {
    return runScriptCall(0.0, [&] {
        QMLogServer::printLine(QMString("ExportVRMLAllDeclaredVek called : compAllBBox + buildMatrix + writeAllKMesh"));
        QMLogServer::printLine(QMString(" -> %s"), text);

        replaceExporter(s_vrmlExporter);
        ombrel::ExportResult result;
        ombrel::engine::runExport(declaredExportPlan(text, ombrel::Format::Vrml), *s_vrmlExporter, result);

        delete s_vrmlExporter;
        s_vrmlExporter = nullptr;
        return 0.0;
    });
}
