#pragma once

// readVekMesh: the blocks of an intact Vek file, in memory.
//
// The counterpart of SceneGenerator::generate for files on disk: benchmarks
// and converters load a scene with it before they start working on it.

#include "tools/vekgen/SceneGenerator.h"

#include <string>

namespace vekgen {

// Reads the first Points, Face4, UV4, MRGB and Mask blocks of a Vek file
// (other blocks are skipped; a missing block leaves its array empty). Throws
// std::runtime_error naming the path when the file cannot be read, is not an
// intact Vek file, or a known block's size disagrees with its count.
MeshData readVekMesh(const std::string& path);

}  // namespace vekgen
