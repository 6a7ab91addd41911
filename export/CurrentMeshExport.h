#pragma once

#include "geometry/QMMatrix4f.h"
#include "support/OmbrelApi.h"

// Exports of the mesh currently open in the host, read through the host
// bridge (KelvraHelper::init must have bound it; with no mesh bound the file
// holds a header and an empty mesh). For callers that link against the
// library; the host script does not call them.

// Writes the current mesh as STL, binary or ASCII; false when the file cannot
// be opened.
OMBREL_API bool exportKMeshToSTL(const char* path, bool binary);
// The same, with every point carried through `matrix` (an identity matrix is
// not applied at all, so it writes the bytes of the form above).
OMBREL_API bool exportKMeshToSTL(const char* path, const QMMatrix4f& matrix, bool binary);

// Writes the current mesh as a one-shape VRML file: textured with
// `textureName` without its directory (none when empty), vertex colours from
// the host's vertex attributes when `withColours`. Always true.
OMBREL_API bool exportKMeshToVRML(const char* path, const QMMatrix4f& matrix, const char* textureName,
                                  bool withColours);
