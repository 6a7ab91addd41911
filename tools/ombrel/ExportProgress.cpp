#include "tools/ombrel/ExportProgress.h"

#include <cstdio>
#include <unistd.h>

ExportProgress::ExportProgress(const char* what, const char* work, bool shown)
    : m_what(what), m_work(work), m_enabled(shown) {}

ExportProgress::~ExportProgress() {
    if (!m_shown.empty()) std::fputs("\r\033[K", stderr);
}

ombrel::ProgressCallback ExportProgress::callback() {
    if (!m_enabled || isatty(STDERR_FILENO) != 1) return {};
    return [this](const ombrel::Progress& progress) {
        show(progress);
        return ombrel::ProgressAction::Continue;
    };
}

void ExportProgress::show(const ombrel::Progress& progress) {
    char text[160];
    if (progress.phase == ombrel::Phase::MeasuringScene) {
        std::snprintf(text, sizeof text, "ombrel: %s: measuring the scene (file %zu of %zu)", m_what,
                      progress.fileIndex + 1, progress.fileCount);
    } else {
        const unsigned percent =
            progress.facesTotal == 0 ? 0u : static_cast<unsigned>(100 * progress.facesDone / progress.facesTotal);
        std::snprintf(text, sizeof text, "ombrel: %s: %s file %zu of %zu, %u%%", m_what, m_work, progress.fileIndex + 1,
                      progress.fileCount, percent);
    }
    // The callback comes every few thousand faces; the terminal needs only
    // the changes.
    if (m_shown == text) return;
    m_shown = text;
    std::fprintf(stderr, "\r\033[K%s", text);
}
