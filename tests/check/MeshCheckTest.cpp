#include "check/MeshCheck.h"
#include "check/SceneCheck.h"
#include "export/ArrayMeshSource.h"

#include "CheckMeshes.h"

#include <gtest/gtest.h>

using ombrel::PrintCheck;
using ombrel::check::checkAlone;
using ombrel::check::MeshCheck;

namespace {

constexpr int kUpY = 1;

PrintCheck checkOf(const TestMesh& mesh, int up = kUpY) {
    const MeshCheck check(ArrayMeshSource(mesh.points, mesh.faces), nullptr);
    return checkAlone(check, up);
}

}  // namespace

TEST(MeshCheck, AClosedCubeIsWatertight) {
    const PrintCheck check = checkOf(cube());
    EXPECT_EQ(check.triangles, 12u);
    EXPECT_EQ(check.shells, 1u);
    EXPECT_EQ(check.closedShells, 1u);
    EXPECT_EQ(check.openEdges, 0u);
    EXPECT_EQ(check.nonManifoldEdges, 0u);
    EXPECT_EQ(check.flippedEdges, 0u);
    EXPECT_EQ(check.degenerateTriangles, 0u);
    EXPECT_EQ(check.floatingShells, 0u);
    EXPECT_DOUBLE_EQ(check.surfaceArea, 6.0);
    EXPECT_DOUBLE_EQ(check.volume, 1.0);
    EXPECT_EQ(check.size[0], 1.0);
    EXPECT_TRUE(check.watertight());
    EXPECT_EQ(check.verdict(), "watertight and manifold");
}

TEST(MeshCheck, AMissingFaceLeavesFourOpenEdgesAndNoVolume) {
    const PrintCheck check = checkOf(withoutFace(cube(), 1));
    EXPECT_EQ(check.triangles, 10u);
    EXPECT_EQ(check.openEdges, 4u);
    EXPECT_EQ(check.closedShells, 0u);
    EXPECT_EQ(check.volume, 0.0);
    EXPECT_EQ(check.verdict(), "not watertight: 4 open edges (0 of 1 shell closed)");
}

TEST(MeshCheck, AFlippedFaceDisagreesWithItsFourNeighbours) {
    const PrintCheck check = checkOf(withFaceFlipped(cube(), 2));
    EXPECT_EQ(check.openEdges, 0u);
    EXPECT_EQ(check.flippedEdges, 4u);
    EXPECT_DOUBLE_EQ(check.volume, 1.0);  // the flipped face turned back, as a repair would
    EXPECT_FALSE(check.watertight());
    EXPECT_EQ(check.verdict(), "not watertight: 4 flipped edges (1 of 1 shell closed)");
}

TEST(MeshCheck, OverlappingCubesAreTwoShellsWhoseVolumesAdd) {
    const PrintCheck check = checkOf(merged(cube(), cube(QMVector3f(0.5f, 0, 0.5f))));
    EXPECT_EQ(check.shells, 2u);
    EXPECT_EQ(check.closedShells, 2u);
    EXPECT_DOUBLE_EQ(check.volume, 2.0);
    EXPECT_EQ(check.floatingShells, 0u);
}

TEST(MeshCheck, ACubeAboveThePlateTouchingNothingFloats) {
    const PrintCheck check = checkOf(merged(cube(), cube(QMVector3f(3, 2, 0))));
    EXPECT_EQ(check.floatingShells, 1u);
    EXPECT_EQ(check.verdict(), "watertight and manifold; 1 shell floats above the build plate");
}

TEST(MeshCheck, ACubeStandingOnAnotherDoesNotFloat) {
    EXPECT_EQ(checkOf(merged(cube(), cube(QMVector3f(0.2f, 1, 0.2f)))).floatingShells, 0u);
}

TEST(MeshCheck, ThePlateIsAlongTheUpAxis) {
    // Raised along Y: floats when Y is up, rests on the plate when Z is.
    const TestMesh raised = cube(QMVector3f(0, 5, 0));
    EXPECT_EQ(checkOf(raised, 1).floatingShells, 1u);
    EXPECT_EQ(checkOf(raised, 2).floatingShells, 0u);
}

TEST(MeshCheck, ThreeTrianglesOnOneEdgeAreNonManifold) {
    TestMesh fan;
    fan.points = {QMVector3f(0, 0, 0), QMVector3f(1, 0, 0), QMVector3f(0, 1, 0), QMVector3f(0, -1, 0),
                  QMVector3f(0, 0, 1)};
    fan.faces = {0, 1, 2, -1, 1, 0, 3, -1, 0, 1, 4, -1};
    const PrintCheck check = checkOf(fan);
    EXPECT_EQ(check.nonManifoldEdges, 1u);
    EXPECT_EQ(check.openEdges, 6u);
    EXPECT_EQ(check.shells, 1u);
}

TEST(MeshCheck, AZeroAreaTriangleIsDegenerate) {
    TestMesh sliver = cube();
    sliver.points.push_back(QMVector3f(2, 0, 0));
    sliver.faces.insert(sliver.faces.end(), {0, 1, 8, -1});  // three points on one line
    const PrintCheck check = checkOf(sliver);
    EXPECT_EQ(check.degenerateTriangles, 1u);
    EXPECT_EQ(check.triangles, 13u);
}

TEST(MeshCheck, PointsAtEqualCoordinatesAreOneVertex) {
    // Each quad of the cube with points of its own: the edges still match.
    const TestMesh shared = cube();
    TestMesh split;
    for (std::size_t f = 0; f < 6; ++f)
        for (int j = 0; j < 4; ++j) {
            split.points.push_back(shared.points[std::size_t(shared.faces[4 * f + std::size_t(j)])]);
            split.faces.push_back(int(4 * f) + j);
        }
    const PrintCheck check = checkOf(split);
    EXPECT_TRUE(check.watertight());
    EXPECT_EQ(check.shells, 1u);
    EXPECT_DOUBLE_EQ(check.volume, 1.0);
}

TEST(MeshCheck, FacesNamingMissingPointsAreLeftOutAsTheWriterDoes) {
    TestMesh mesh = cube();
    mesh.faces.insert(mesh.faces.end(), {0, 1, 99, -1});
    const PrintCheck check = checkOf(mesh);
    EXPECT_EQ(check.triangles, 12u);
    EXPECT_TRUE(check.watertight());
}

TEST(MeshCheck, TheMatrixPlacesThePointsFirst) {
    QMMatrix4f scale;
    scale.setScale(QMVector3f(2, 2, 2), QMVector3f(0, 0, 0));
    const TestMesh mesh = cube();
    const MeshCheck check(ArrayMeshSource(mesh.points, mesh.faces), &scale);
    EXPECT_DOUBLE_EQ(check.figures().volume, 8.0);
    EXPECT_DOUBLE_EQ(check.figures().surfaceArea, 24.0);
}

TEST(MeshCheck, AClosedTorusHasNoOpenEdgeAndAboutItsVolume) {
    const PrintCheck check = checkOf(torus(48, 24, 10.0f, 3.0f, QMVector3f(0, 3, 0)));
    EXPECT_TRUE(check.watertight());
    EXPECT_EQ(check.triangles, 2u * 48 * 24);
    // 2 pi^2 R r^2, less the flats of 48 x 24 facets.
    EXPECT_NEAR(check.volume, 2 * 3.14159265 * 3.14159265 * 10 * 9, 2 * 3.14159265 * 3.14159265 * 90 * 0.02);
}

TEST(MeshCheck, AnEmptyMeshHasNoFigures) {
    const PrintCheck check = checkOf(TestMesh{});
    EXPECT_EQ(check.triangles, 0u);
    EXPECT_EQ(check.verdict(), "empty: no triangle to print");
}
