#include "export/QMSTLExport.h"

#include "TestFiles.h"
#include "VekTestFiles.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

QMArray<QMVector3f> unitSquare() { return {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}; }

void append(Bytes& bytes, const Bytes& more) { bytes.insert(bytes.end(), more.begin(), more.end()); }

Bytes floats(std::initializer_list<float> values) {
    Bytes bytes;
    for (float v : values) append(bytes, le32f(v));
    return bytes;
}

Bytes binaryHeader(std::uint32_t count) {
    Bytes bytes(80, ' ');
    append(bytes, le32(count));
    return bytes;
}

Bytes record(std::initializer_list<float> twelveFloats) {
    Bytes bytes = floats(twelveFloats);
    bytes.push_back(0x20);
    bytes.push_back(0x20);
    return bytes;
}

class STLExportTest : public ::testing::Test {
protected:
    // Writes the meshes between one start and one end and returns the file.
    std::string exportMeshes(bool binary, std::vector<std::pair<QMArray<QMVector3f>, QMArray<int>>> meshes,
                             const QMMatrix4f* matrix = nullptr) {
        QMSTLExport exporter;
        if (matrix) {
            exporter.m_matrix = *matrix;
            exporter.m_useMatrix = true;
        }
        const std::string path = dir.file(binary ? "out.stl" : "out.txt");
        EXPECT_TRUE(exporter.startExportKMeshes(QMString(path.c_str()), binary));
        for (auto& mesh : meshes) EXPECT_TRUE(exporter.writeKMesh(mesh.first, mesh.second));
        EXPECT_TRUE(exporter.endExportKMeshes());
        return path;
    }
    TempDir dir;
};

const char kFacetOfExample[] =
    "facet normal 0 -0 1 \nouter loop\nvertex 0 0 0 \nvertex 1 0 0 \nvertex 0 1 0 \nendloop\nendfacet\n";

}  // namespace

TEST_F(STLExportTest, EmptyBinaryFileIsHeaderAndZeroCount) {
    EXPECT_EQ(readFileBytes(exportMeshes(true, {})), binaryHeader(0));
}

TEST_F(STLExportTest, MeshWithoutFacesWritesNothing) {
    EXPECT_EQ(readFileBytes(exportMeshes(true, {{unitSquare(), {}}})), binaryHeader(0));
}

TEST_F(STLExportTest, QuadIsTwoTrianglesInBinary) {
    Bytes expected = binaryHeader(2);
    append(expected, record({0, 0, 1, 0, 0, 0, 1, 0, 0, 1, 1, 0}));
    append(expected, record({0, -0.0f, 1, 0, 0, 0, 1, 1, 0, 0, 1, 0}));
    const Bytes written = readFileBytes(exportMeshes(true, {{unitSquare(), {0, 1, 2, 3}}}));
    ASSERT_EQ(written.size(), 184u);
    EXPECT_EQ(written, expected);
}

TEST_F(STLExportTest, SecondTriangleOfQuadStoresNegativeZeroNormalY) {
    const Bytes written = readFileBytes(exportMeshes(true, {{unitSquare(), {0, 1, 2, 3}}}));
    ASSERT_EQ(written.size(), 184u);
    EXPECT_EQ(Bytes(written.begin() + 134 + 4, written.begin() + 134 + 8), (Bytes{0x00, 0x00, 0x00, 0x80}));
}

TEST_F(STLExportTest, FourthIndexMinusOneIsOneTriangle) {
    Bytes expected = binaryHeader(1);
    append(expected, record({0, 0, 1, 0, 0, 0, 1, 0, 0, 1, 1, 0}));
    EXPECT_EQ(readFileBytes(exportMeshes(true, {{unitSquare(), {0, 1, 2, -1}}})), expected);
}

TEST_F(STLExportTest, DegenerateTriangleHasZeroNormal) {
    Bytes expected = binaryHeader(1);
    append(expected, record({0, 0, 0, 2, 3, 4, 2, 3, 4, 2, 3, 4}));
    EXPECT_EQ(readFileBytes(exportMeshes(true, {{{{2, 3, 4}}, {0, 0, 0, -1}}})), expected);
}

TEST_F(STLExportTest, EveryRecordCarriesSpaceAttributeBytes) {
    const Bytes written = readFileBytes(exportMeshes(true, {{unitSquare(), {0, 1, 2, 3, 3, 2, 1, 0, 0, 2, 3, -1}}}));
    ASSERT_EQ(written.size(), 84u + 5 * 50);
    for (std::size_t r = 0; r < 5; ++r) {
        EXPECT_EQ(written[84 + r * 50 + 48], 0x20);
        EXPECT_EQ(written[84 + r * 50 + 49], 0x20);
    }
}

TEST_F(STLExportTest, SeveralMeshesShareOneHeaderAndTotalCount) {
    const Bytes written =
        readFileBytes(exportMeshes(true, {{unitSquare(), {0, 1, 2, 3}}, {unitSquare(), {0, 1, 2, -1}}}));
    ASSERT_EQ(written.size(), 84u + 3 * 50);
    EXPECT_EQ(Bytes(written.begin() + 80, written.begin() + 84), le32(3));
}

TEST_F(STLExportTest, AsciiFacetIsSevenLines) {
    const std::string text = readFileText(exportMeshes(false, {{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2, -1}}}));
    EXPECT_EQ(text, std::string("solid object0 \n") + kFacetOfExample + "endsolid object0 \n");
}

TEST_F(STLExportTest, EmptyAsciiFileIsStartAndEnd) {
    EXPECT_EQ(readFileText(exportMeshes(false, {})), "solid object0 \nendsolid object0 \n");
}

TEST_F(STLExportTest, AsciiNumbersUseShortestGeneralForm) {
    const std::string text = readFileText(exportMeshes(
        false,
        {{{{0.1f, 1234567.0f, 100.0f}, {0.1f, 1234567.0f, 100.0f}, {0.1f, 1234567.0f, 100.0f}}, {0, 1, 2, -1}}}));
    EXPECT_NE(text.find("\nvertex 0.1 1.23457e+06 100 \n"), std::string::npos) << text;
    EXPECT_NE(text.find("facet normal 0 0 0 \n"), std::string::npos);
}

TEST_F(STLExportTest, AsciiSeveralMeshesMakeOneSolid) {
    const std::string text = readFileText(exportMeshes(false, {{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2, -1}},
                                                               {{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2, -1}}}));
    EXPECT_EQ(text, std::string("solid object0 \n") + kFacetOfExample + kFacetOfExample + "endsolid object0 \n");
}

TEST_F(STLExportTest, MatrixPlacesPointsBeforeTheNormal) {
    QMMatrix4f matrix;
    BBox box;
    box.add(QMVector3f(0, 0, 0));
    box.add(QMVector3f(10, 20, 5));
    buildMatrix(matrix, 100.0f, box);
    const std::string text =
        readFileText(exportMeshes(false, {{{{0, 0, 0}, {10, 0, 0}, {0, 20, 5}}, {0, 1, 2, -1}}}, &matrix));
    EXPECT_NE(text.find("vertex 0 0 0 \nvertex 50 0 0 \nvertex 0 100 25 \n"), std::string::npos) << text;
    EXPECT_NE(text.find("facet normal 0 -0.242536 0.970143 \n"), std::string::npos) << text;
}

TEST_F(STLExportTest, TrailingPartialFaceIsIgnored) {
    EXPECT_EQ(readFileBytes(exportMeshes(true, {{unitSquare(), {0, 1, 2, 3, 0, 1}}})).size(), 184u);
}

TEST_F(STLExportTest, FaceWithIndexOutsideThePointsIsSkipped) {
    Bytes expected = binaryHeader(1);
    append(expected, record({0, 0, 1, 0, 0, 0, 1, 0, 0, 1, 1, 0}));
    EXPECT_EQ(readFileBytes(exportMeshes(true, {{unitSquare(), {0, 1, 4, 3, 0, 1, 2, -1, -2, 0, 1, -1, 0, 1, 2, 7}}})),
              expected);
}

TEST_F(STLExportTest, UnopenablePathFailsAndWritesNothing) {
    QMSTLExport exporter;
    const std::string path = dir.file("missing/out.stl");
    EXPECT_FALSE(exporter.startExportKMeshes(QMString(path.c_str()), true));
    QMArray<QMVector3f> points = unitSquare();
    QMArray<int> faces = {0, 1, 2, 3};
    EXPECT_TRUE(exporter.writeKMesh(points, faces));
    EXPECT_TRUE(exporter.endExportKMeshes());
    EXPECT_FALSE(pathExists(path));
}

TEST_F(STLExportTest, LargeMeshCountsEveryTriangle) {
    QMArray<QMVector3f> points;
    QMArray<int> faces;
    for (int i = 0; i < 30000; ++i) {
        points.push_back(QMVector3f(float(i), 0, 0));
        points.push_back(QMVector3f(float(i), 1, 0));
        points.push_back(QMVector3f(float(i), 1, 1));
        faces.insert(faces.end(), {3 * i, 3 * i + 1, 3 * i + 2, i % 2 ? -1 : 3 * i});
    }
    const Bytes written = readFileBytes(exportMeshes(true, {{points, faces}}));
    ASSERT_EQ(written.size(), 84u + 45000u * 50u);
    EXPECT_EQ(Bytes(written.begin() + 80, written.begin() + 84), le32(45000));
}
