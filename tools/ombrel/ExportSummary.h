#pragma once

#include "engine/OmbrelExport.h"

// Prints on stdout what a successful export wrote, from the engine's report:
// the output, its triangles or shapes and bytes, the scene's box and where
// it was placed, the height and scale, the final size, and one line per
// Vek file.
void printExportSummary(const ombrel::ExportOptions& options, const ombrel::ExportReport& report);
