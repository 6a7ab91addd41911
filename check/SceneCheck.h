#pragma once

#include "check/MeshCheck.h"
#include "check/PrintCheck.h"

#include <vector>

namespace ombrel::check {

// The check of several meshes taken as one (the file an export writes):
// meshes whose open edges meet exactly are joined there, so that a shell
// split over two files counts once, and closed once joined. Then the shells
// that float: lowest point above the build plate (0 along the up axis) and a
// box that touches no other shell's box, both within a tolerance of
// kContactTolerance millimetres.
class SceneCheck {
public:
    static constexpr double kContactTolerance = 1e-3;

    // upAxis: 1 for Y, 2 for Z.
    explicit SceneCheck(int upAxis) : m_upAxis(upAxis) {}

    void add(const MeshCheck& mesh);
    // The scene's figures; `floatingPerMesh`, when given, receives for each
    // mesh added the number of its shells that float in the scene.
    PrintCheck figures(std::vector<std::uint64_t>* floatingPerMesh = nullptr) const;

private:
    int m_upAxis;
    std::vector<const MeshCheck*> m_meshes;
};

// The figures of one mesh alone, its floating shells counted against its own
// shells only.
PrintCheck checkAlone(const MeshCheck& mesh, int upAxis);

}  // namespace ombrel::check
