#pragma once

#include "support/QMArray.h"
#include "geometry/QMVector.h"

#include <string>

// Small meshes with known figures, as the arrays a Vek file is read into.
struct TestMesh {
    QMArray<QMVector3f> points;
    QMArray<int> faces;  // four indices a face, -1 fourth for a triangle
};

// The unit cube at `origin` (edge `size`), six quads facing outwards.
TestMesh cube(const QMVector3f& origin = QMVector3f(0, 0, 0), float size = 1.0f);

// A torus about the Y axis: `around` x `across` quads, radii R and r,
// centred at `centre`, faces outwards. Its points are computed once and
// shared, so its edges match exactly.
TestMesh torus(int around, int across, float R, float r, const QMVector3f& centre);

// The mesh without face `face`.
TestMesh withoutFace(const TestMesh& mesh, std::size_t face);
// The mesh with face `face` turned the other way.
TestMesh withFaceFlipped(const TestMesh& mesh, std::size_t face);
// Both meshes in one (the second's indices shifted).
TestMesh merged(const TestMesh& a, const TestMesh& b);

// Writes the mesh as a Vek file (Points, then Face4) and returns its path.
std::string writeMeshFile(const std::string& path, const TestMesh& mesh);
