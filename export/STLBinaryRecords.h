#pragma once

#include "export/STLFacetNormal.h"

#include <cstddef>

// The size of one binary STL record: normal, three corners (twelve floats)
// and the attribute word.
constexpr std::size_t kSTLRecordBytes = 50;

// Writes the binary STL records of `count` triangles of `points` (numPoints
// of them) at `out` and returns their end (out + 50 x count); nothing is
// written past it. A record is the facet normal (stlFacetNormal), the three
// corners as they are, and the attribute word two spaces (0x2020), floats in
// the machine's byte order. Every corner must name one of the points.
char* formatSTLBinaryRecords(const QMVector3f* points, std::size_t numPoints, const TriangleCorners* triangles,
                             std::size_t count, char* out);
