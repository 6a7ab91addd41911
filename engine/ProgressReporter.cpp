#include "engine/ProgressReporter.h"

namespace ombrel::engine {

ProgressReporter::ProgressReporter(const ProgressCallback& callback, std::size_t fileCount) : m_callback(callback) {
    m_progress.fileCount = fileCount;
}

void ProgressReporter::startMeasuring(std::size_t fileIndex) {
    m_progress.phase = Phase::MeasuringScene;
    m_progress.fileIndex = fileIndex;
    report();
}

void ProgressReporter::startWriting(std::uint64_t facesTotal) {
    m_progress.phase = Phase::Writing;
    m_progress.facesTotal = facesTotal;
    m_progress.facesDone = 0;
}

void ProgressReporter::startFile(std::size_t fileIndex) {
    m_progress.fileIndex = fileIndex;
    report();
}

void ProgressReporter::correctTotal(std::uint64_t expected, std::uint64_t actual) {
    m_progress.facesTotal = m_progress.facesTotal - expected + actual;
}

void ProgressReporter::facesWritten(std::uint64_t faces) {
    m_progress.facesDone += faces;
    if (m_progress.facesDone > m_progress.facesTotal) m_progress.facesTotal = m_progress.facesDone;
    report();
}

void ProgressReporter::report() {
    if (!m_callback) return;
    ProgressAction action = ProgressAction::Continue;
    try {
        action = m_callback(m_progress);
    } catch (...) {
        throw ExportCancelled();
    }
    if (action == ProgressAction::Stop) throw ExportCancelled();
}

}  // namespace ombrel::engine
