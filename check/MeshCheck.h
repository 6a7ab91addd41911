#pragma once

#include "check/PrintCheck.h"
#include "export/MeshSource.h"
#include "geometry/QMMatrix4f.h"
#include "geometry/QMVector.h"

#include <cstdint>
#include <vector>

namespace ombrel::check {

// A connected piece of one mesh: what the scene's check needs of it.
struct Shell {
    double signedVolume = 0.0;  // positive when its triangles face outwards
    std::uint64_t openEdges = 0;
    std::uint64_t flippedEdges = 0;
    bool nonManifold = false;
    QMVector3f min, max;  // its box
};

// An edge of one triangle only, by its placed coordinates, in the direction
// its triangle runs it.
struct OpenEdge {
    QMVector3f from, to;
    std::uint32_t shell;  // index into the mesh's shells
};

// The print-readiness check of one mesh: its triangles as the STL writer cuts
// them (a face naming a missing point skipped, a quad split along its first
// to third corner), its points placed by the matrix the writer uses. Points
// are matched by exactly equal placed coordinates (0 and -0 are equal).
// Once made, it holds only its figures, shells and open edges: the work
// arrays are gone.
//
// Connectivity: shells are the pieces connected through shared points. The
// diagonal of a quad is shared by its own two triangles only; it is not
// looked up among the other edges. The volume of a closed shell with flipped
// triangles is that of the shell with its triangles turned to agree with
// its first one (as a repair would turn them), not their signed sum.
class MeshCheck {
public:
    MeshCheck(const MeshSource& mesh, const QMMatrix4f* matrix);

    // Figures of the mesh alone; floatingShells is left to SceneCheck.
    const PrintCheck& figures() const { return m_figures; }
    const std::vector<Shell>& shells() const { return m_shells; }
    const std::vector<OpenEdge>& openEdges() const { return m_openEdges; }

private:
    PrintCheck m_figures;
    std::vector<Shell> m_shells;
    std::vector<OpenEdge> m_openEdges;
};

}  // namespace ombrel::check
