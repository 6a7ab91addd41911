#pragma once

#include "export/MeshSource.h"

#include <memory>

// The mesh currently open in the host, as the host bridge (host/) sees it:
// its face table, its points, its texture-coordinate links (every corner of
// every face, numbered 4 x face + corner) and its vertex colours (each byte
// divided by 255 in double precision). With no mesh bound every count is 0.
// Defined by the host bridge, the only layer that knows the host's records.
enum class HostPoints {
    kAsStored,         // the mesh's own coordinates
    kHostTransformed,  // with the host's placement of the mesh applied
};
std::unique_ptr<MeshSource> makeCurrentHostMesh(HostPoints points);
