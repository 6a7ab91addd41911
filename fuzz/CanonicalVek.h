#pragma once

// The canonical Vek file of a set of arrays, written with vekgen's VekWriter
// (which shares no code with the library): the file header, one well-formed
// block per array given, in the order Points, Face4, UV4, Mask, MRGB, then the
// end block. Reading it back must give the same arrays.

#include "geometry/QMVector.h"
#include "support/QMArray.h"

#include <cstdint>
#include <string>
#include <vector>

struct VekArrays {
    const QMArray<QMVector3f>* points = nullptr;
    const QMArray<int>* faces = nullptr;
    const QMArray<QMVector2f>* uvs = nullptr;  // four per face
    const QMArray<unsigned char>* mask = nullptr;
    const QMArray<std::uint32_t>* mrgb = nullptr;
};

// The bytes of all the arrays' elements together.
std::uint64_t arrayBytes(const VekArrays& arrays);

// Whether the arrays fit blocks: face indices and UVs come in whole faces.
bool representable(const VekArrays& arrays);

// The file's bytes. The arrays must be representable.
std::vector<unsigned char> canonicalVekBytes(const VekArrays& arrays);
// Writes the file (replacing it). The arrays must be representable.
void writeCanonicalVek(const std::string& path, const VekArrays& arrays);
