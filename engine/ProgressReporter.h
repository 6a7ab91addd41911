#pragma once

#include "engine/OmbrelExport.h"
#include "export/WriteProgress.h"

namespace ombrel::engine {

// Thrown through the writers when the progress callback asks to stop (or
// throws itself); the engine turns it into a cancelled result.
struct ExportCancelled {};

// Keeps the figures of an export's progress and passes them to the user's
// callback: at each file's start in both phases, and after each range of
// faces the writers report. Without a callback it only counts.
class ProgressReporter final : public WriteProgress {
public:
    ProgressReporter(const ProgressCallback& callback, std::size_t fileCount);

    void startMeasuring(std::size_t fileIndex);
    // Starts the writing phase, with the faces of the whole scene.
    void startWriting(std::uint64_t facesTotal);
    void startFile(std::size_t fileIndex);
    // The faces of the file just read, when they differ from what was
    // expected of it (a damaged count), so the total stays true.
    void correctTotal(std::uint64_t expected, std::uint64_t actual);
    void facesWritten(std::uint64_t faces) override;

private:
    void report();

    const ProgressCallback& m_callback;
    Progress m_progress;
};

}  // namespace ombrel::engine
