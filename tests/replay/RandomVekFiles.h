#pragma once

#include "ReplayRandom.h"

#include <string>

// Random Vek input files for the replay, written with vekgen's VekWriter.
//
// A file holds 0 to 120 points and 0 to 200 faces (triangles and quads) in
// blocks of random order, with UV4 and MRGB blocks by chance, sometimes a
// Mask block, blocks of unknown tags, a repeated block, or no end block. A
// damaged file is cut at a random byte, has a body shorter than its count, a
// huge count, a wrong size field, a wrong magic, is missing, or is not a Vek
// file at all (random bytes, text, an empty file, a directory).
struct VekFileOdds {
    double damaged = 0.03;     // the file is damaged in one of the ways above
    double uvBlock = 0.4;      // it has a UV4 block
    double colourBlock = 0.3;  // it has an MRGB block
    double badIndices = 0.2;   // some of its faces name points that are not there
};

// Writes one random file at `path` (for some damage: something else, or
// nothing at all).
void writeRandomVekFile(ReplayRandom& random, const std::string& path, const VekFileOdds& odds);
