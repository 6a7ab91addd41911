// bench_check: the cost of the print-readiness check, through the export
// engine as a linked program uses it.
//
//   bench_check export|export-checked|check OUT FILE.vek...
//
// export: a binary STL export Z-up at height 100 without the check;
// export-checked: the same export with its check; check: the check alone
// (checkScene, nothing written). Prints "seconds S" and the check's verdict;
// run it under bench_rusage for its peak memory.

#include "bench/Stopwatch.h"
#include "engine/OmbrelExport.h"

#include <cstdio>
#include <string>

int main(int argc, char** argv) {
    if (argc < 4) {
        std::fputs("usage: bench_check export|export-checked|check OUT FILE.vek...\n", stderr);
        return 2;
    }
    const std::string mode = argv[1];
    ombrel::ExportOptions options;
    options.output = argv[2];
    options.height = 100.0;
    options.up = ombrel::UpAxis::Z;
    options.check = mode != "export";
    for (int i = 3; i < argc; ++i) options.inputs.emplace_back(argv[i]);
    const Stopwatch clock;
    const ombrel::ExportResult result = mode == "check" ? ombrel::checkScene(options) : ombrel::exportScene(options);
    const double seconds = clock.seconds();
    if (!result.ok()) {
        std::fprintf(stderr, "bench_check: %s\n", result.status.describe().c_str());
        return 1;
    }
    std::printf("seconds %.6f\n%s\n", seconds, options.check ? result.report.check.verdict().c_str() : "");
    return 0;
}
