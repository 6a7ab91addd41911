#pragma once

#include "support/OmbrelApi.h"

// The bounding-box calls for programs that link against the library, under
// their C++ names; they behave exactly like the script calls of the same names
// in <ombrel.h>. A translation unit includes one of the two headers, not both
// (a C++ function and an extern "C" one cannot share a name in one unit).
//
// memBlock1 holds consecutive boxes of six floats (minimum x, y, z, maximum x,
// y, z), 24 bytes each; size1, memBlock2, size2 and hostData are not read.

// Empties the record whose index is `number`: minimum x := 0, maximum x := -1.
OMBREL_API double InitBBox3D(const char* text, double number, char* memBlock1, int size1, char* memBlock2, int size2,
                             char** hostData);
// Record 0 := union of records 0 and 1.
OMBREL_API double AddBBox3D(const char* text, double number, char* memBlock1, int size1, char* memBlock2, int size2,
                            char** hostData);
// Reads the box of the Vek file `text` into the record at byte offset `number`.
OMBREL_API double GetBBoxFromVekFile(const char* text, double number, char* memBlock1, int size1, char* memBlock2,
                                     int size2, char** hostData);
