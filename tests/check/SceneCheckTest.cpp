#include "check/MeshCheck.h"
#include "check/SceneCheck.h"
#include "export/ArrayMeshSource.h"

#include "CheckMeshes.h"

#include <gtest/gtest.h>

using ombrel::PrintCheck;
using ombrel::check::MeshCheck;
using ombrel::check::SceneCheck;

namespace {

// The cube's faces split between two meshes, each with its own points.
struct HalfCubes {
    TestMesh first, second;
    HalfCubes() {
        const TestMesh whole = cube();
        first.points = second.points = whole.points;
        first.faces.assign(whole.faces.begin(), whole.faces.begin() + 12);
        second.faces.assign(whole.faces.begin() + 12, whole.faces.end());
    }
};

}  // namespace

TEST(SceneCheck, AShellSplitOverTwoMeshesIsOneClosedShell) {
    const HalfCubes halves;
    const MeshCheck a(ArrayMeshSource(halves.first.points, halves.first.faces), nullptr);
    const MeshCheck b(ArrayMeshSource(halves.second.points, halves.second.faces), nullptr);
    EXPECT_EQ(a.figures().openEdges, 8u);  // three faces in a row: 3 + 2 + 3 open edges
    EXPECT_EQ(b.figures().openEdges, 8u);
    SceneCheck scene(1);
    scene.add(a);
    scene.add(b);
    const PrintCheck check = scene.figures();
    EXPECT_EQ(check.openEdges, 0u);
    EXPECT_EQ(check.shells, 1u);
    EXPECT_EQ(check.closedShells, 1u);
    EXPECT_DOUBLE_EQ(check.volume, 1.0);
    EXPECT_EQ(check.triangles, 12u);
    EXPECT_TRUE(check.watertight());
}

TEST(SceneCheck, SeparateMeshesStaySeparateShells) {
    const TestMesh one = cube(), two = cube(QMVector3f(0, 1, 0));
    const MeshCheck a(ArrayMeshSource(one.points, one.faces), nullptr);
    const MeshCheck b(ArrayMeshSource(two.points, two.faces), nullptr);
    SceneCheck scene(1);
    scene.add(a);
    scene.add(b);
    const PrintCheck check = scene.figures();
    EXPECT_EQ(check.shells, 2u);
    EXPECT_EQ(check.floatingShells, 0u);  // the upper one stands on the lower one
    EXPECT_DOUBLE_EQ(check.volume, 2.0);
    EXPECT_EQ(check.size[1], 2.0);
}

TEST(SceneCheck, AnOpenEdgeMetInTheSameDirectionIsFlipped) {
    HalfCubes halves;
    // The second half turned inside out: its edges run as the first's do.
    for (std::size_t f = 0; f < 3; ++f) std::swap(halves.second.faces[4 * f + 1], halves.second.faces[4 * f + 3]);
    const MeshCheck a(ArrayMeshSource(halves.first.points, halves.first.faces), nullptr);
    const MeshCheck b(ArrayMeshSource(halves.second.points, halves.second.faces), nullptr);
    SceneCheck scene(1);
    scene.add(a);
    scene.add(b);
    EXPECT_EQ(scene.figures().flippedEdges, 8u);
    EXPECT_EQ(scene.figures().openEdges, 0u);
}

TEST(SceneCheck, AMeshsShellFloatsOnlyWhenItFloatsInTheScene) {
    const TestMesh base = cube(), resting = cube(QMVector3f(0.2f, 1, 0.2f)), hovering = cube(QMVector3f(5, 3, 5));
    const MeshCheck a(ArrayMeshSource(base.points, base.faces), nullptr);
    const MeshCheck b(ArrayMeshSource(resting.points, resting.faces), nullptr);
    const MeshCheck c(ArrayMeshSource(hovering.points, hovering.faces), nullptr);
    SceneCheck scene(1);
    scene.add(a);
    scene.add(b);
    scene.add(c);
    std::vector<std::uint64_t> floating;
    EXPECT_EQ(scene.figures(&floating).floatingShells, 1u);
    EXPECT_EQ(floating, (std::vector<std::uint64_t>{0, 0, 1}));
    // Alone, the resting cube would float.
    EXPECT_EQ(ombrel::check::checkAlone(b, 1).floatingShells, 1u);
}
