// Small services the host's script language lacks: a two-step file copy,
// deleting a file, running a shell command, the processor count and a line of
// script text in the plug-in's log. Only `text` is read.
#include "plugin/ScriptCallGuard.h"
#include "plugin/ombrel.h"
#include "support/QMDiskServer.h"
#include "support/QMLogServer.h"
#include "support/QMString.h"

#include <cstdlib>

#include <unistd.h>

namespace {
// The source of the next DoCopyTo: null until SetCopySrc, and kept after a
// copy so that one source can go to several destinations.
QMString s_fileCopySrc;
}  // namespace

double SetCopySrc(OMBREL_SCRIPT_ARGUMENTS) {
    return runScriptCall(0.0, [&] {
        s_fileCopySrc = text;  // a null text leaves the source empty
        return 0.0;
    });
}

// The outcome is reported only through the log: the result is 0.0 either way.
double DoCopyTo(OMBREL_SCRIPT_ARGUMENTS) {
    return runScriptCall(0.0, [&] {
        const bool copied = QMDiskServer::copyFile(s_fileCopySrc, QMString(text));
        if (copied) {
            QMLogServer::printLine(QMString("Copy done : %s"), s_fileCopySrc);
            QMLogServer::printLine(QMString("  -> %s"), text);
        } else {
            QMLogServer::printLine(QMString("*** Copy ERROR *** : %s"), s_fileCopySrc);
            QMLogServer::printLine(QMString("   -> %s"), text);
        }
        return 0.0;
    });
}

double FileDelete(OMBREL_SCRIPT_ARGUMENTS) {
    return runScriptCall(-1.0, [&] {
        if (!text) return -1.0;
        return QMDiskServer::deleteFile(QMString(text)) ? 0.0 : -1.0;
    });
}

// Blocks the host until the command ends; its exit status is not reported. A
// null text runs nothing (std::system(nullptr) would only ask for a shell).
double System(OMBREL_SCRIPT_ARGUMENTS) {
    return runScriptCall(0.0, [&] {
        if (text) {
            [[maybe_unused]] const int status = std::system(text);
        }
        return 0.0;
    });
}

// The processors the system has online; 1 when it cannot tell.
double GetNumProcs(OMBREL_SCRIPT_ARGUMENTS) {
    return runScriptCall(0.0, [&] {
        const long count = sysconf(_SC_NPROCESSORS_ONLN);
        return count > 0 ? static_cast<double>(count) : 1.0;
    });
}

// The script's text becomes part of the line's format, with no arguments: a
// conversion in it has nothing to print and is copied as it stands.
double PrintInLog(OMBREL_SCRIPT_ARGUMENTS) {
    return runScriptCall(0.0, [&] {
        QMLogServer::printLine(QMString("Script: ") + text);
        return 0.0;
    });
}
