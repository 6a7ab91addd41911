#pragma once

#include "engine/OmbrelExport.h"

#include <cstdio>
#include <string>

struct SummaryOptions {
    std::FILE* stream = stdout;
    std::string outputName;  // as the title shows it: an absolute path, or "standard output"
    bool standardOutput = false;  // the file went to standard output, which is never "replaced"
    bool verbose = false;
};

// Prints what a successful export wrote, from the engine's report (3MF is
// counted in triangles, as STL). The compact form (four lines):
//
//   Binary STL: /home/ana/figure.stl, 351584 bytes
//     7030 triangles from 3 Vek files, Z up
//     size 63.7712 x 56.5669 x 100 mm (x, y, z)
//     check: not watertight: 50 open edges
//
// Verbose adds the scene's box as read and as written, the height and
// scale, the print-readiness check's figures, and a line per Vek file with
// that file's own verdict.
void printExportSummary(const SummaryOptions& summary, const ombrel::ExportOptions& options,
                        const ombrel::ExportReport& report);

// Prints what `ombrel check` found, from the engine's report of a check
// without writing: the size as it would be written, the scene's verdict and
// figures, then each file's figures and verdict.
void printCheckReport(std::FILE* stream, const ombrel::ExportOptions& options, const ombrel::ExportReport& report);
