#include "threemf/Ombrel3MF.h"

#include "threemf/ThreeMFWriter.h"

#include <cerrno>
#include <new>

namespace ombrel {

namespace {

// Out of memory before or after the engine ran (copying the options, the
// report); when even the status's texts cannot be had, at least its kind.
ExportResult outOfMemory(const ExportOptions& options) noexcept {
    ExportResult result;
    result.status.kind = StatusKind::kOutOfMemory;
    result.status.systemError = ENOMEM;
    try {
        result.status.path = options.output;
        result.status.reason = "not enough memory for the export";
    } catch (...) {
    }
    return result;
}

// The writer saw the meshes of the files with faces, in order.
void fillReport(const ExportReport& exported, const std::vector<threemf::MeshOutcome>& outcomes,
                ThreeMFReport& report) {
    report.files.resize(exported.files.size());
    std::size_t next = 0;
    for (std::size_t i = 0; i < exported.files.size() && next < outcomes.size(); ++i) {
        if (exported.files[i].faces == 0) continue;
        const threemf::MeshOutcome& outcome = outcomes[next++];
        report.files[i].objectWritten = outcome.objectWritten;
        report.files[i].repeatedCornerTriangles = outcome.repeatedCornerTriangles;
        report.files[i].nonFiniteTriangles = outcome.nonFiniteTriangles;
    }
}

}  // namespace

ExportResult export3MF(const ExportOptions& options, ThreeMFReport& report) noexcept {
    report.files.clear();
    threemf::ThreeMFWriter writer(options.vertexColors);
    ExportResult result;
    try {
        ExportOptions threeMF = options;
        threeMF.format = Format::ThreeMF;
        result = exportScene(threeMF, writer);
    } catch (...) {
        // Only the copy of the options can throw: the engine catches all.
        return outOfMemory(options);
    }
    try {
        fillReport(result.report, writer.outcomes(), report);
    } catch (...) {
        report.files.clear();  // the export itself stands
    }
    return result;
}

ExportResult export3MF(const ExportOptions& options) noexcept {
    ThreeMFReport report;
    return export3MF(options, report);
}

}  // namespace ombrel
