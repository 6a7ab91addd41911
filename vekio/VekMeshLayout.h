#pragma once

#include "vekio/QMVekIO.h"

#include <cstdint>
#include <vector>

// Where the mesh blocks of one Vek file lie, found by a walk over the block
// headers alone (no body is read), so that an export can read the faces,
// texture coordinates and colours in bounded ranges straight from the file
// instead of holding them in arrays.
//
// A layout is `simple` when reading it block by block could not differ from
// reading it whole: every Points, Face4, UV4 and MRGB block appears at most
// once and its body holds all the elements its count names, and the walk
// meets no block whose size is below 16. The readers' results for a simple
// file are exactly those bodies, with no damage to report. Any other file
// (damaged, repeated blocks) is for the array readers, which keep their own
// rules for it.
//
// Untrusted input: the walk is the readers' own (bounded by the bytes
// present, always advancing); positions and sizes are 64-bit.
struct VekBlockExtent {
    std::uint32_t tag = 0;
    std::uint32_t size = 0;        // the header's size: the whole block, its header included
    std::uint32_t count = 0;       // the header's count, in the block's unit
    std::uint64_t bodyOffset = 0;  // from the start of the file
};

struct VekMeshLayout {
    bool readable = false;  // opened, with a valid file header
    bool simple = false;
    // The Points, Face4, UV4 and MRGB blocks in file order (for a simple
    // layout, each tag at most once).
    std::vector<VekBlockExtent> meshBlocks;

    // The block with `tag`, or null.
    const VekBlockExtent* find(std::uint32_t tag) const;
    // Elements of the block with `tag` (points, faces, UV entries four a
    // face, colour words); 0 without one.
    std::uint64_t elements(std::uint32_t tag) const;
};

VekMeshLayout locateMeshBlocks(const QMString& name);
VekMeshLayout locateMeshBlocks(const VekBytes& bytes);
