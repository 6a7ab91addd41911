#pragma once

#include <cstddef>

// Shows on stderr, while an export runs, which declared file is being
// written, by following the library's log lines. Active only when stderr is a
// terminal; it clears its line when it goes out of scope.
class ExportProgress {
public:
    ExportProgress(const char* what, std::size_t fileCount);
    ~ExportProgress();
    ExportProgress(const ExportProgress&) = delete;
    ExportProgress& operator=(const ExportProgress&) = delete;

private:
    void onLogLine(const char* line);

    const char* m_what;
    std::size_t m_fileCount;
    std::size_t m_filesStarted = 0;
    bool m_active;
};
