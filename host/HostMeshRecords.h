#pragma once

#include <cstdint>

// The sizes of the records of the host's mesh arrays, the same in every
// supported host build.
namespace hostmesh {
constexpr std::int32_t kVertexBytes = 12;        // three floats, or three 16.16 fixed-point words
constexpr std::int32_t kFaceBytes = 16;          // four 32-bit indices, -1 fourth for a triangle
constexpr std::int32_t kUVLinkBytes = 32;        // four corners of (u, v), floats or 8.24 fixed point
constexpr std::int32_t kVertexAttribBytes = 8;   // the colour word in bytes 4 to 7
constexpr std::int32_t kSymmetryEntryBytes = 4;  // one 32-bit vertex index
}  // namespace hostmesh
