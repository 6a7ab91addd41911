// Meshes large enough to be written in many chunks on several threads give
// exactly the bytes of the plainest way to write them: every corner placed
// on its own and every number printed with printf.

#include "export/QMSTLExport.h"
#include "export/STLFacetNormal.h"

#include "TestFiles.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <random>
#include <string>

namespace {

// A random mesh: points in a box, faces mostly quads, some triangles, and a
// few faces naming points that do not exist (which the writers skip).
struct RandomMesh {
    RandomMesh(std::size_t numPoints, std::size_t numFaces, unsigned seed) {
        std::mt19937 random(seed);
        std::uniform_real_distribution<float> coordinate(-50.0f, 50.0f);
        std::uniform_int_distribution<int> index(0, int(numPoints) - 1);
        for (std::size_t i = 0; i < numPoints; ++i)
            points.push_back({coordinate(random), coordinate(random), coordinate(random)});
        for (std::size_t f = 0; f < numFaces; ++f) {
            int corners[4] = {index(random), index(random), index(random), index(random)};
            if (random() % 10 == 0) corners[3] = -1;
            if (random() % 100 == 0) corners[random() % 3] = int(numPoints) + int(random() % 5);
            for (int corner : corners) faces.push_back(corner);
        }
    }
    QMArray<QMVector3f> points;
    QMArray<int> faces;
};

QMMatrix4f placement() {
    QMMatrix4f matrix;
    matrix.setScale(QMVector3f(0.37f, 0.37f, 0.37f));
    matrix.multLeftByTranslate(QMVector3f(12.5f, -3.25f, 7.0f));
    return matrix;
}

std::string printed(const char* format, float value) {
    char text[400];
    std::snprintf(text, sizeof text, format, static_cast<double>(value));
    return text;
}

std::string generalTriple(const QMVector3f& v) {
    return printed("%g ", v.x) + printed("%g ", v.y) + printed("%g ", v.z);
}

void appendFloats(std::string& bytes, const QMVector3f& v) {
    for (float f : {v.x, v.y, v.z}) bytes.append(reinterpret_cast<const char*>(&f), 4);
}

// The STL file written the plain way.
std::string plainSTL(const RandomMesh& mesh, const QMMatrix4f& matrix, bool binary) {
    std::string body;
    std::uint32_t count = 0;
    const auto exists = [&](int i) { return i >= 0 && std::size_t(i) < mesh.points.size(); };
    for (std::size_t f = 0; f + 4 <= mesh.faces.size(); f += 4) {
        const int* face = &mesh.faces[f];
        if (!exists(face[0]) || !exists(face[1]) || !exists(face[2]) || (face[3] != -1 && !exists(face[3]))) continue;
        const auto corner = [&](int j) { return matrix.multVec3f(mesh.points[std::size_t(face[j])]); };
        const int triangles[2][3] = {{0, 1, 2}, {0, 2, 3}};
        for (int t = 0; t < (face[3] == -1 ? 1 : 2); ++t) {
            const QMVector3f p0 = corner(triangles[t][0]), p1 = corner(triangles[t][1]), p2 = corner(triangles[t][2]);
            const QMVector3f n = stlFacetNormal(p0, p1, p2);
            if (binary) {
                for (const QMVector3f& v : {n, p0, p1, p2}) appendFloats(body, v);
                body += "  ";
                ++count;
            } else {
                body += "facet normal " + generalTriple(n) + "\nouter loop\nvertex " + generalTriple(p0) + "\nvertex " +
                        generalTriple(p1) + "\nvertex " + generalTriple(p2) + "\nendloop\nendfacet\n";
            }
        }
    }
    if (!binary) return "solid object0 \n" + body + "endsolid object0 \n";
    std::string file(80, ' ');
    file.append(reinterpret_cast<const char*>(&count), 4);
    return file + body;
}

class LargeMeshExportTest : public ::testing::TestWithParam<bool> {
protected:
    std::string exportSTL(RandomMesh& mesh, bool binary) {
        QMSTLExport exporter;
        exporter.m_matrix = placement();
        exporter.m_useMatrix = true;
        const std::string path = dir.file("large.stl");
        EXPECT_TRUE(exporter.startExportKMeshes(QMString(path.c_str()), binary));
        EXPECT_TRUE(exporter.writeKMesh(mesh.points, mesh.faces));
        EXPECT_TRUE(exporter.endExportKMeshes());
        return readFileText(path);
    }
    TempDir dir;
};

}  // namespace

TEST_P(LargeMeshExportTest, ManyChunksGiveThePlainBytes) {
    RandomMesh mesh(30000, 70000, 7);  // several chunks in both modes
    EXPECT_EQ(exportSTL(mesh, GetParam()), plainSTL(mesh, placement(), GetParam()));
}

TEST_P(LargeMeshExportTest, TwoMeshesInOneFileGiveThePlainBytesOfEach) {
    RandomMesh first(5000, 20000, 1), second(3000, 20000, 2);
    QMSTLExport exporter;
    exporter.m_matrix = placement();
    exporter.m_useMatrix = true;
    const std::string path = dir.file("two.stl");
    ASSERT_TRUE(exporter.startExportKMeshes(QMString(path.c_str()), GetParam()));
    exporter.writeKMesh(first.points, first.faces);
    exporter.writeKMesh(second.points, second.faces);
    exporter.endExportKMeshes();
    const std::string a = plainSTL(first, placement(), GetParam());
    const std::string b = plainSTL(second, placement(), GetParam());
    if (GetParam()) {
        // One header, the counts added up, the records one after the other.
        std::uint32_t countA, countB;
        std::memcpy(&countA, a.data() + 80, 4);
        std::memcpy(&countB, b.data() + 80, 4);
        std::string expected(80, ' ');
        const std::uint32_t total = countA + countB;
        expected.append(reinterpret_cast<const char*>(&total), 4);
        expected += a.substr(84) + b.substr(84);
        EXPECT_EQ(readFileText(path), expected);
    } else {
        const std::string start = "solid object0 \n", end = "endsolid object0 \n";
        EXPECT_EQ(readFileText(path), start + a.substr(start.size(), a.size() - start.size() - end.size()) +
                                          b.substr(start.size(), b.size() - start.size() - end.size()) + end);
    }
}

INSTANTIATE_TEST_SUITE_P(BinaryAndAscii, LargeMeshExportTest, ::testing::Bool(),
                         [](const ::testing::TestParamInfo<bool>& info) { return info.param ? "Binary" : "Ascii"; });
