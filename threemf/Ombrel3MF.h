#pragma once

// 3MF export for programs that link the ombrel3mf library (pkg-config
// ombrel3mf, or the CMake target Ombrel::ombrel3mf). Installed as
// <threemf/Ombrel3MF.h> beside the engine's header.
//
//   ombrel::ExportOptions options;
//   options.inputs = {{"head.vek"}, {"body.vek"}};
//   options.output = "figure.3mf";
//   options.height = 100.0;            // millimetres along the up axis
//   options.up = ombrel::UpAxis::Z;    // 3MF's build direction
//   options.vertexColors = true;       // the files' MRGB colours, one a vertex
//   const ombrel::ExportResult result = ombrel::export3MF(options);
//
// The file is a 3MF package (a ZIP file) holding one model in millimetres:
// an object a Vek file with faces, named after the file, with the file's
// points placed as the STL export places them and its faces as triangles (a
// quad gives two, split as in STL), and a build item an object. With
// vertexColors on, a file's colours become a colour group of the 3MF
// materials extension and each triangle takes its corners' colours.
//
// Everything else is the engine's (engine/OmbrelExport.h, exportScene): the
// checks of the inputs, the placement, progress and cancel, the report with
// its print check, and the output, which appears only when complete.

#include "engine/OmbrelExport.h"

#include <cstdint>
#include <vector>

namespace ombrel {

// What a 3MF file leaves out that the engine's report does not show.
// 3MF forbids a triangle that names one vertex twice, and has no text for an
// infinite or NaN coordinate: such triangles are left out (STL writes them).
struct ThreeMFFileReport {
    // The file gave an object: it had at least one triangle to write. A file
    // without faces, or whose triangles were all left out, gives none.
    bool objectWritten = false;
    std::uint64_t repeatedCornerTriangles = 0;  // triangles naming one point twice
    std::uint64_t nonFiniteTriangles = 0;       // triangles with a corner whose coordinates are not all finite
};

struct ThreeMFReport {
    std::vector<ThreeMFFileReport> files;  // one a file of ExportReport::files, in the same order
};

// Runs one 3MF export (options.format is ignored: the file is 3MF). No
// exception leaves it.
OMBREL_API ExportResult export3MF(const ExportOptions& options) noexcept;
// The same, with what the file left out.
OMBREL_API ExportResult export3MF(const ExportOptions& options, ThreeMFReport& report) noexcept;

}  // namespace ombrel
