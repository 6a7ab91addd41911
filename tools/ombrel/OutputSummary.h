#pragma once

#include <cstdint>
#include <string>

// What an STL file holds, read back from disk after an export.
struct StlSummary {
    bool readable = false;
    std::uint64_t bytes = 0;
    std::uint64_t triangles = 0;  // the header count (binary) or the facets (ASCII)
};

StlSummary summarizeStl(const std::string& path, bool binary);
