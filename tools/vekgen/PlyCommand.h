#pragma once

#include <string>
#include <vector>

namespace vekgen {

// vekgen ply [--triangles] [--height H] OUT.ply FILE.vek...
// Converts Vek files into one PLY file (see PlyWriter.h) and prints what it
// wrote. Throws std::invalid_argument on a usage error and
// std::runtime_error when a file cannot be read or written.
int runPly(const std::vector<std::string>& args);

}  // namespace vekgen
