#pragma once

#include "support/QMString.h"

#include <cstdint>

// The element counts of a Vek file's mesh blocks, from a walk over its block
// headers alone (no body is read): a cheap look at what a file holds before
// it is read, for progress totals and reports. Each count is that of the
// first block of its kind, cut down to the elements its block's size has
// room for.
// Untrusted input: the walk is the readers' own, so it ends where theirs end.
struct VekBlockCounts {
    bool readable = false;  // opened, with a valid file header
    std::uint64_t points = 0;
    std::uint64_t faces = 0;
    std::uint64_t uvEntries = 0;  // four a face
    std::uint64_t colours = 0;    // MRGB words
};

struct VekMeshLayout;

VekBlockCounts readVekBlockCounts(const QMString& name);
// The same counts from blocks already located.
VekBlockCounts blockCountsOf(const VekMeshLayout& layout);
