// bench_3mf: a 3MF export beside the binary STL export of the same scene,
// through the engine as a linked program uses it.
//
//   bench_3mf 3mf|3mf-colors|stl OUT FILE.vek...
//
// 3mf: ombrel::export3MF, Z up at height 100; 3mf-colors: the same with the
// files' vertex colours; stl: ombrel::exportScene as binary STL with the same
// placement. The print check is off in all three (it costs the same whatever
// the format). Prints "seconds S", "bytes B" and "triangles T"; run it under
// bench_rusage for its peak memory.

#include "bench/Stopwatch.h"
#include "engine/OmbrelExport.h"
#include "threemf/Ombrel3MF.h"

#include <cstdio>
#include <string>

int main(int argc, char** argv) {
    const std::string mode = argc > 1 ? argv[1] : "";
    if (argc < 4 || (mode != "3mf" && mode != "3mf-colors" && mode != "stl")) {
        std::fputs("usage: bench_3mf 3mf|3mf-colors|stl OUT FILE.vek...\n", stderr);
        return 2;
    }
    ombrel::ExportOptions options;
    options.output = argv[2];
    options.height = 100.0;
    options.up = ombrel::UpAxis::Z;
    options.check = false;
    options.vertexColors = mode == "3mf-colors";
    options.format = mode == "stl" ? ombrel::Format::BinaryStl : ombrel::Format::ThreeMF;
    for (int i = 3; i < argc; ++i) options.inputs.emplace_back(argv[i]);
    const Stopwatch clock;
    const ombrel::ExportResult result = mode == "stl" ? ombrel::exportScene(options) : ombrel::export3MF(options);
    const double seconds = clock.seconds();
    if (!result.ok()) {
        std::fprintf(stderr, "bench_3mf: %s\n", result.status.describe().c_str());
        return 1;
    }
    std::printf("seconds %.6f\nbytes %llu\ntriangles %llu\n", seconds,
                static_cast<unsigned long long>(result.report.bytesWritten),
                static_cast<unsigned long long>(result.report.trianglesWritten));
    return 0;
}
