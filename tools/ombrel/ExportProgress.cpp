#include "tools/ombrel/ExportProgress.h"

#include "support/QMLogServer.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

ExportProgress::ExportProgress(const char* what, std::size_t fileCount)
    : m_what(what), m_fileCount(fileCount), m_active(isatty(STDERR_FILENO) == 1) {
    if (!m_active) return;
    std::fprintf(stderr, "\rombrel: %s: measuring the scene...", m_what);
    QMLogServer::setObserver([this](const char* line) { onLogLine(line); });
}

ExportProgress::~ExportProgress() {
    if (!m_active) return;
    QMLogServer::setObserver({});
    std::fprintf(stderr, "\r\033[K");
}

void ExportProgress::onLogLine(const char* line) {
    // Every file being written is read once more, faces included.
    static const char kFaceLine[] = "Vek Reading [Face4] (";
    const char* faces = std::strstr(line, kFaceLine);
    if (!faces) return;
    ++m_filesStarted;
    const long count = std::strtol(faces + sizeof kFaceLine - 1, nullptr, 10);
    std::fprintf(stderr, "\r\033[Kombrel: %s: file %zu of %zu (%ld faces)", m_what, m_filesStarted, m_fileCount, count);
    std::fflush(stderr);
}
