#pragma once

// The print-readiness figures of a mesh, as the export engine reports them
// (engine/OmbrelExport.h). Installed as <check/PrintCheck.h>.

#include "support/OmbrelApi.h"

#include <cstdint>
#include <string>

namespace ombrel {

// Whether a mesh will print: its figures after placement, in file units (a
// unit is 1 mm, as slicers read STL). Edges are matched by exactly equal
// placed coordinates, as slicers match them; a quad counts as its two
// triangles.
struct OMBREL_API PrintCheck {
    std::uint64_t triangles = 0;
    std::uint64_t degenerateTriangles = 0;  // zero area (or a corner repeated)
    std::uint64_t shells = 0;               // connected pieces
    std::uint64_t closedShells = 0;         // shells without an open or a non-manifold edge
    std::uint64_t openEdges = 0;            // edges of one triangle only (the border of a hole)
    std::uint64_t nonManifoldEdges = 0;     // edges of three or more triangles
    std::uint64_t flippedEdges = 0;         // edges whose two triangles disagree in orientation
    std::uint64_t floatingShells = 0;       // above the build plate, touching no other shell's box (in the scene)
    double surfaceArea = 0.0;               // mm^2
    double volume = 0.0;                    // mm^3 enclosed by the closed shells
    double size[3] = {0, 0, 0};             // mm along x, y, z

    // Watertight and manifold: no open, non-manifold or flipped edge.
    bool watertight() const { return openEdges == 0 && nonManifoldEdges == 0 && flippedEdges == 0; }
    // One line: "watertight and manifold", or "not watertight: 50 open edges, ...",
    // then what else keeps it from printing well (floating shells, degenerate
    // triangles).
    std::string verdict() const;
};

}  // namespace ombrel
