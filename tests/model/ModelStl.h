#pragma once

#include "ModelGeometry.h"

#include <cstdint>
#include <cstdio>
#include <vector>

namespace scriptmodel {

// One STL file of any number of meshes, written with plain stdio calls.
//
// Binary: 80 spaces, the triangle count (patched at the end), then per
// triangle the normal and three corners as little-endian floats and the two
// attribute bytes "  ". ASCII: "solid object0 \n", per triangle the seven
// lines of a facet with every number printed "%g " from the float widened
// to double, then "endsolid object0 \n".
class StlWriter {
public:
    // Takes over `file` (already open for writing) and writes the start.
    StlWriter(std::FILE* file, bool binary);
    StlWriter(const StlWriter&) = delete;
    StlWriter& operator=(const StlWriter&) = delete;

    // Every face (four indices, a fourth of -1 for a triangle) whose corners
    // all name a point is written as one triangle, or a quad as two: (p0, p1,
    // p2) then (p0, p2, p3). Points go through the projective product first.
    // Any other face is left out whole.
    void mesh(const std::vector<Vec3>& points, const std::vector<std::int32_t>& faces, const Placement& placement);

    // Writes the end and closes the file.
    void finish();

private:
    void triangle(const Vec3& a, const Vec3& b, const Vec3& c);
    void numbers(const Vec3& v);

    std::FILE* m_file;
    bool m_binary;
    std::uint32_t m_triangles = 0;
};

}  // namespace scriptmodel
