#include "host/KelvraHelper.h"
#include "plugin/ScriptCallGuard.h"
#include "plugin/ombrel.h"
#include "support/QMLogServer.h"
#include "support/QMString.h"

namespace {
const char kDebugLogPath[] = "/Applications/KelvraOSX32BP25/KStartup/KPlugs/OmbrelData/DebugLog_Ombrel.txt";
}

double InitExporter(OMBREL_SCRIPT_ARGUMENTS) {
    return runScriptCall(0.0, [&] {
        static bool s_alreadyInit = false;
        KelvraHelper::setVersion(number);
        QMLogServer::setLogFile(QMString(kDebugLogPath));
        QMLogServer::init();
        QMLogServer::printLine(QMString("Init LogServer in InitExporter(...)"));
        if (s_alreadyInit) return 0.0;
        s_alreadyInit = true;
        return 1.0;
    });
}
