#include "CheckMeshes.h"

#include "VekTestFiles.h"

#include <cmath>

TestMesh cube(const QMVector3f& o, float s) {
    TestMesh mesh;
    for (int i = 0; i < 8; ++i)
        mesh.points.push_back(QMVector3f(o.x + (i & 1 ? s : 0), o.y + (i & 2 ? s : 0), o.z + (i & 4 ? s : 0)));
    // Corners numbered by bits x=1, y=2, z=4; each quad counter-clockwise
    // seen from outside.
    mesh.faces = {0, 2, 3, 1,  4, 5, 7, 6,  0, 1, 5, 4,  2, 6, 7, 3,  0, 4, 6, 2,  1, 3, 7, 5};
    return mesh;
}

TestMesh torus(int around, int across, float R, float r, const QMVector3f& c) {
    TestMesh mesh;
    const double pi = 3.14159265358979323846;
    for (int i = 0; i < around; ++i)
        for (int j = 0; j < across; ++j) {
            const double u = 2 * pi * i / around, v = 2 * pi * j / across;
            const double ring = R + r * std::cos(v);
            mesh.points.push_back(QMVector3f(float(c.x + ring * std::cos(u)), float(c.y + r * std::sin(v)),
                                             float(c.z + ring * std::sin(u))));
        }
    const auto at = [&](int i, int j) { return ((i + around) % around) * across + (j + across) % across; };
    for (int i = 0; i < around; ++i)
        for (int j = 0; j < across; ++j) {
            const int quad[4] = {at(i, j), at(i, j + 1), at(i + 1, j + 1), at(i + 1, j)};
            mesh.faces.insert(mesh.faces.end(), quad, quad + 4);
        }
    return mesh;
}

TestMesh withoutFace(const TestMesh& mesh, std::size_t face) {
    TestMesh out = mesh;
    out.faces.erase(out.faces.begin() + long(4 * face), out.faces.begin() + long(4 * face + 4));
    return out;
}

TestMesh withFaceFlipped(const TestMesh& mesh, std::size_t face) {
    TestMesh out = mesh;
    int* f = &out.faces[4 * face];
    if (f[3] == -1) {
        std::swap(f[1], f[2]);
    } else {
        std::swap(f[1], f[3]);
    }
    return out;
}

TestMesh merged(const TestMesh& a, const TestMesh& b) {
    TestMesh out = a;
    out.points.insert(out.points.end(), b.points.begin(), b.points.end());
    for (int index : b.faces) out.faces.push_back(index == -1 ? -1 : index + int(a.points.size()));
    return out;
}

std::string writeMeshFile(const std::string& path, const TestMesh& mesh) {
    return writeVekFile(path, [&](vekgen::VekWriter& w) {
        w.points(&mesh.points[0].x, mesh.points.size());
        w.face4(mesh.faces.data(), mesh.faces.size() / 4);
        w.endBlock();
    });
}
