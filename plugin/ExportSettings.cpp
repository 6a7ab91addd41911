#include "plugin/ExportSettings.h"

#include "plugin/ScriptCallGuard.h"
#include "plugin/ombrel.h"
#include "support/QMLogServer.h"
#include "support/QMString.h"

double s_declaredHeight = 0.0;
bool s_binarySTLExport = true;
double s_declaredFlipAndSwitchCode = 0.0;
bool s_exportVertexColors = false;
QMSTLExport* s_stlExporter = nullptr;
QMVRMLExport* s_vrmlExporter = nullptr;

namespace {

// Whole-text, case-insensitive compare of an option word; a null text is the
// empty text and so never matches.
bool isOptionWord(const char* text, const char* keyword) { return QMString::cmpNoCase(text, keyword, -1) == 0; }

}  // namespace

double DeclareFlipAndSwitch(OMBREL_SCRIPT_ARGUMENTS) {
    return runScriptCall(0.0, [&] {
        QMLogServer::printLine(QMString("------------------------------------"));
        QMLogServer::printLine(QMString("DeclareFlipAndSwitch called : %f"), number);
        s_declaredFlipAndSwitchCode = number;
        return 0.0;
    });
}

double DeclareHeight(OMBREL_SCRIPT_ARGUMENTS) {
    return runScriptCall(0.0, [&] {
        QMLogServer::printLine(QMString("DeclareHeight called : %f"), number);
        s_declaredHeight = number;
        return 0.0;
    });
}

double DeclareBinaryOrASCII(OMBREL_SCRIPT_ARGUMENTS) {
    return runScriptCall(0.0, [&] {
        QMLogServer::printLine(QMString("DeclareBinaryOrASCII called => %s"), text);
        s_binarySTLExport = isOptionWord(text, "BINARY");
        return 0.0;
    });
}

double DeclareExportVertexColors(OMBREL_SCRIPT_ARGUMENTS) {
    return runScriptCall(0.0, [&] {
        QMLogServer::printLine(QMString("DeclareExportVertexColors called: %s"), text);
        s_exportVertexColors = isOptionWord(text, "YES");
        return 0.0;
    });
}
