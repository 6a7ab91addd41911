#include "tools/ombrel/ExportRunner.h"

#include "tools/ombrel/ExportProgress.h"
#include "tools/ombrel/ExportSummary.h"
#include "tools/ombrel/FormatNames.h"

#include <cstdio>

namespace {

int exitStatusFor(const ombrel::Status& status) {
    if (status.ok()) return 0;
    return status.kind == ombrel::StatusKind::kInvalidOptions ? 2 : 1;
}

}  // namespace

int runExport(ombrel::ExportOptions options) {
    ombrel::ExportResult result;
    {
        // The progress line is cleared before warnings or the summary show.
        ExportProgress progress(formatName(options.format));
        options.progress = progress.callback();
        result = ombrel::exportScene(options);
        options.progress = nullptr;
    }
    for (const ombrel::Warning& warning : result.warnings)
        std::fprintf(stderr, "ombrel: warning: %s\n", warning.describe().c_str());
    if (!result.ok()) {
        std::fprintf(stderr, "ombrel: %s\n", result.status.describe().c_str());
        return exitStatusFor(result.status);
    }
    printExportSummary(options, result.report);
    return 0;
}
