#pragma once

#include "tools/ombrel/ExportJob.h"

#include <cstdint>
#include <string>

// What an exported file holds, read back from disk after the export.
struct OutputSummary {
    bool readable = false;
    std::uint64_t bytes = 0;
    // Triangles (STL: the header count, or the ASCII facets) or shapes (VRML).
    std::uint64_t items = 0;
};

OutputSummary summarizeOutput(const std::string& path, ExportFormat format);
