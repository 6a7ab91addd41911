#pragma once

#include "ModelGeometry.h"

#include <cstdint>
#include <string>
#include <vector>

// The three ways the exports read a Vek file (a 32-byte header starting
// "Vekb", then blocks of a 16-byte header: tag, size with the header, count,
// reserved), each given the path text the script declared.
//
// Every reader empties its outputs first (except the UVs of
// readShapeBlocks) and leaves them so when the file cannot be opened or its
// header is wrong. A block is taken over its array as the library's readers
// take it: the array is resized to the block's count (times four for faces
// and UVs) keeping what it held, and the body's bytes are laid over its
// start. A count needing more than the body bytes present in the file plus
// 64 MiB is cut to the whole elements present; a short body leaves the rest
// of the array as it was. The walk ends at an end block (tag 0), at a header
// that is not whole, or at a size below 16.
namespace scriptmodel {

// For the scene bounds: the points of the first Points block.
void readBoundsPoints(const std::string& pathText, std::vector<Vec3>& points);

// For STL: points and faces, to the end of the file or until one of the two
// blocks is read while the other is already non-empty.
void readStlBlocks(const std::string& pathText, std::vector<Vec3>& points, std::vector<std::int32_t>& faces);

// For VRML: points, faces, UVs and colour words, to the end of the file (a
// later block of a kind is laid over the earlier one). `uvs` is not emptied
// first: a file without a UV4 block leaves the caller's UVs as they were.
void readShapeBlocks(const std::string& pathText, std::vector<Vec3>& points, std::vector<std::int32_t>& faces,
                     std::vector<Vec2>& uvs, std::vector<std::uint32_t>& colours);

}  // namespace scriptmodel
