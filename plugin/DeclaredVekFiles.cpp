#include "plugin/DeclaredVekFiles.h"

#include "plugin/ScriptCallGuard.h"
#include "plugin/ombrel.h"
#include "support/QMDiskServer.h"
#include "support/QMLogServer.h"

namespace {
QMArray<QMString> m_VekFileNames;
QMArray<QMString> m_textureFileNames;
QMArray<char> m_VekFileVisibility;
}  // namespace

QMArray<QMString>& getDeclaredVekFileNames() { return m_VekFileNames; }
QMArray<QMString>& getDeclaredTextureFileNames() { return m_textureFileNames; }
QMArray<char>& getDeclaredVekFileVisibility() { return m_VekFileVisibility; }

double StartDeclareVekFiles(OMBREL_SCRIPT_ARGUMENTS) {
    return runScriptCall(0.0, [&] {
        QMLogServer::printLine(QMString("StartDeclareVekFiles called."));
        m_VekFileNames.clear();
        m_textureFileNames.clear();
        m_VekFileVisibility.clear();
        return 0.0;
    });
}

double AddOneVekFile(OMBREL_SCRIPT_ARGUMENTS) {
    return runScriptCall(0.0, [&] {
        QMLogServer::printLine(QMString("AddOneVekFile called : %s"), text);
        // Reserve first so that the three lists grow together or not at all.
        m_VekFileNames.reserve(m_VekFileNames.size() + 1);
        m_textureFileNames.reserve(m_textureFileNames.size() + 1);
        m_VekFileVisibility.reserve(m_VekFileVisibility.size() + 1);
        QMString name(text);
        QMString texture(text);
        m_VekFileNames.push_back(std::move(name));
        m_textureFileNames.push_back(std::move(texture));
        m_VekFileVisibility.push_back(1);
        return 0.0;
    });
}

// The two calls that address the last file ignore an empty list.
double SetTextureFileNameForLastVek(OMBREL_SCRIPT_ARGUMENTS) {
    return runScriptCall(0.0, [&] {
        QMLogServer::printLine(QMString("SetTextureFileNameForLastVek called : %s"), text);
        if (!m_textureFileNames.empty()) m_textureFileNames.back() = QMString(text);
        return 0.0;
    });
}

double DeclareLastVekInvisible(OMBREL_SCRIPT_ARGUMENTS) {
    return runScriptCall(0.0, [&] {
        QMLogServer::printLine(QMString("DeclareLastVekInvisible called"));
        if (!m_VekFileVisibility.empty()) m_VekFileVisibility.back() = 0;
        return 0.0;
    });
}

double EndDeclareVekFiles(OMBREL_SCRIPT_ARGUMENTS) {
    return runScriptCall(0.0, [&] {
        QMLogServer::printLine(QMString("EndDeclareVekFiles called."));
        return 0.0;
    });
}

double DeleteDeclaredVekFiles(OMBREL_SCRIPT_ARGUMENTS) {
    return runScriptCall(0.0, [&] {
        QMLogServer::printLine(QMString("DeleteDeclaredVekFiles called."));
        for (std::size_t i = 0; i < m_VekFileNames.size(); ++i) QMDiskServer::deleteFile(m_VekFileNames[i]);
        return 0.0;
    });
}
