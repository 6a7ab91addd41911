#pragma once

// writePly: Vek meshes as one binary little-endian PLY file, the input that
// general mesh tools (assimp, VTK, numpy-based readers) read, so that they can
// be compared with the library on the very same geometry.
//
// Two shapes of file:
//   - polygons (the default): the faces as they are, triangles with three
//     indices and quads with four; each vertex carries u v (when every mesh
//     has UVs) and red green blue (when every mesh has colours);
//   - triangles: positions only, and every quad (a, b, c, d) split along its
//     a-c diagonal into (a, b, c) and (a, c, d), the triangles an STL export
//     of the same faces holds.
// Meshes follow one another: the indices of a mesh are shifted by the number
// of vertices before it.

#include "tools/vekgen/SceneGenerator.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vekgen {

struct PlyOptions {
    bool triangles = false;
    // When set, the scene is placed like an export: its minimum corner at the
    // origin and its extent along Y scaled (uniformly) to this height.
    std::optional<double> height;
};

struct PlyStats {
    std::uint64_t vertices = 0;
    std::uint64_t faces = 0;
    std::uint64_t bytes = 0;
};

// Writes the file; throws std::runtime_error when it cannot be written or a
// face names a point its mesh does not have.
PlyStats writePly(const std::string& path, const std::vector<MeshData>& meshes, const PlyOptions& options);

}  // namespace vekgen
