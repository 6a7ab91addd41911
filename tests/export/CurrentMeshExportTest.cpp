#include "export/CurrentMeshExport.h"
#include "export/QMSTLExport.h"
#include "export/QMVRMLExport.h"
#include "host/KelvraHelper.h"

#include "TestFiles.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

const char kVRMLStart[] = "#VRML V2.0 utf8\n\n#Created by Kelvra VRML exporter\n\n\n";

std::string shape(const std::string& geometry, const std::string& appearance = "") {
    return std::string(kVRMLStart) + "\nShape { \n" + appearance + "\n  geometry IndexedFaceSet { \n" + geometry +
           "  } \n} \n";
}

// The host bridge's current mesh, set straight into KelvraHelper's state.
class CurrentMeshExportTest : public ::testing::Test {
protected:
    void SetUp() override { KelvraHelper::clear(); }
    void TearDown() override { KelvraHelper::clear(); }

    void bindFloatVertices(std::vector<float> xyz) {
        m_floatVertices = std::move(xyz);
        KelvraHelper::s_verticesFlt32 = m_floatVertices.data();
        KelvraHelper::s_numVertices = int(m_floatVertices.size() / 3);
        bindImportTransform();
    }
    void bindFixedVertices(std::vector<std::int32_t> xyz) {
        m_fixedVertices = std::move(xyz);
        KelvraHelper::s_verticesFix32 = m_fixedVertices.data();
        KelvraHelper::s_numVertices = int(m_fixedVertices.size() / 3);
        bindImportTransform();
    }
    void bindImportTransform() {
        KelvraHelper::s_importedScaleFactor = m_scale;
        KelvraHelper::s_importedOffset = m_offset;
        KelvraHelper::s_meshIsValid = true;
    }
    void bindFaces(std::vector<std::int32_t> indices) {
        m_faces = std::move(indices);
        KelvraHelper::s_faces = m_faces.data();
        KelvraHelper::s_numFaces = int(m_faces.size() / 4);
    }
    void bindFloatUVLinks(std::vector<float> st) {
        m_floatUVs = std::move(st);
        KelvraHelper::s_uvLinksFlt32 = m_floatUVs.data();
        KelvraHelper::s_numUVLinks = int(m_floatUVs.size() / 8);
    }
    void bindFixedUVLinks(std::vector<std::int32_t> st) {
        m_fixedUVs = std::move(st);
        KelvraHelper::s_uvLinksFix32 = m_fixedUVs.data();
        KelvraHelper::s_numUVLinks = int(m_fixedUVs.size() / 8);
    }
    // One 8-byte record a vertex; the colour word in bytes 4 to 7.
    void bindColours(const std::vector<std::uint32_t>& colours) {
        m_attribs.clear();
        for (std::uint32_t colour : colours) {
            m_attribs.push_back(0xEEEEEEEEu);
            m_attribs.push_back(colour);
        }
        KelvraHelper::s_vertexAttribs = reinterpret_cast<unsigned char*>(m_attribs.data());
        KelvraHelper::s_numVertexAttribs = int(colours.size());
    }
    void bindTwoTriangles() {
        bindFloatVertices({0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0});
        bindFaces({0, 1, 2, -1, 1, 3, 2, -1});
    }

    // The array writer's STL of `points` and `faces`, for comparison.
    Bytes arraySTL(QMArray<QMVector3f> points, QMArray<int> faces, bool binary, const QMMatrix4f* matrix = nullptr) {
        const std::string path = m_dir.file("arrays.stl");
        QMSTLExport exporter;
        if (matrix) {
            exporter.m_matrix = *matrix;
            exporter.m_useMatrix = true;
        }
        EXPECT_TRUE(exporter.startExportKMeshes(QMString(path.c_str()), binary));
        exporter.writeKMesh(points, faces);
        exporter.endExportKMeshes();
        return readFileBytes(path);
    }
    Bytes currentSTL(bool binary) {
        const std::string path = m_dir.file("current.stl");
        EXPECT_TRUE(exportKMeshToSTL(path.c_str(), binary));
        return readFileBytes(path);
    }
    Bytes currentSTL(const QMMatrix4f& matrix, bool binary) {
        const std::string path = m_dir.file("current-matrix.stl");
        EXPECT_TRUE(exportKMeshToSTL(path.c_str(), matrix, binary));
        return readFileBytes(path);
    }
    std::string currentVRML(const char* texture, bool withColours, const QMMatrix4f& matrix = QMMatrix4f::m_identity) {
        const std::string path = m_dir.file("current.wrl");
        EXPECT_TRUE(exportKMeshToVRML(path.c_str(), matrix, texture, withColours));
        return readFileText(path);
    }

    float m_scale[3] = {1, 1, 1};
    float m_offset[3] = {0, 0, 0};
    std::vector<float> m_floatVertices;
    std::vector<std::int32_t> m_fixedVertices;
    std::vector<std::int32_t> m_faces;
    std::vector<float> m_floatUVs;
    std::vector<std::int32_t> m_fixedUVs;
    std::vector<std::uint32_t> m_attribs;
    TempDir m_dir;
};

QMMatrix4f translation(float x, float y, float z) {
    QMMatrix4f m;
    m.setTranslation({x, y, z});
    return m;
}

// ------------------------------------------------------------------- STL

TEST_F(CurrentMeshExportTest, StlBinaryOfAQuadMatchesTheArrayWriter) {
    // Import scale 2 and offset (1, 0, 0): the host's points (1,0,0) ...
    // (1,2,0) are the unit square before the import.
    m_scale[0] = m_scale[1] = m_scale[2] = 2;
    m_offset[0] = 1;
    bindFloatVertices({1, 0, 0, 3, 0, 0, 3, 2, 0, 1, 2, 0});
    bindFaces({0, 1, 2, 3});
    const Bytes written = currentSTL(true);
    ASSERT_EQ(written.size(), 184u);
    EXPECT_EQ(Bytes(written.begin() + 80, written.begin() + 84), (Bytes{2, 0, 0, 0}));
    EXPECT_EQ(written, arraySTL({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}, {0, 1, 2, 3}, true));
}

TEST_F(CurrentMeshExportTest, StlAsciiOfATriangle) {
    bindFloatVertices({0, 0, 0, 1, 0, 0, 0, 1, 0});
    bindFaces({0, 1, 2, -1});
    const Bytes written = currentSTL(false);
    EXPECT_EQ(std::string(written.begin(), written.end()),
              "solid object0 \nfacet normal 0 -0 1 \nouter loop\nvertex 0 0 0 \nvertex 1 0 0 \nvertex 0 1 0 "
              "\nendloop\nendfacet\nendsolid object0 \n");
}

TEST_F(CurrentMeshExportTest, StlFixedPointVerticesAreScaled) {
    bindFixedVertices({0, 0, 0, 1 << 16, 0, 0, 1 << 16, 1 << 16, 0, 0, 1 << 16, 0});
    bindFaces({0, 1, 2, 3});
    EXPECT_EQ(currentSTL(false), arraySTL({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}, {0, 1, 2, 3}, false));
}

TEST_F(CurrentMeshExportTest, StlMatrixIsAppliedAfterTheImportTransform) {
    m_scale[0] = m_scale[1] = m_scale[2] = 2;
    bindFloatVertices({0, 0, 0, 2, 0, 0, 0, 2, 0});
    bindFaces({0, 1, 2, -1});
    const QMMatrix4f move = translation(10, 0, 0);
    const Bytes written = currentSTL(move, false);
    EXPECT_EQ(written, arraySTL({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2, -1}, false, &move));
    const std::string text(written.begin(), written.end());
    EXPECT_NE(text.find("vertex 11 0 0 \n"), std::string::npos);
}

TEST_F(CurrentMeshExportTest, StlWithIdentityMatrixWritesTheBytesOfTheFormWithoutMatrix) {
    // -0.0 would become +0.0 if the identity were applied.
    bindFloatVertices({-0.0f, 0, 0, 1, 0, 0, 0, 1, -0.0f});
    bindFaces({0, 1, 2, -1});
    const Bytes plain = currentSTL(true);
    const Bytes withIdentity = currentSTL(QMMatrix4f::m_identity, true);
    EXPECT_EQ(withIdentity, plain);
    ASSERT_EQ(plain.size(), 134u);
    EXPECT_EQ(plain[84 + 12 + 3], 0x80);  // first vertex x keeps its sign
    const QMMatrix4f identity;
    EXPECT_NE(arraySTL({{-0.0f, 0, 0}, {1, 0, 0}, {0, 1, -0.0f}}, {0, 1, 2, -1}, true, &identity), plain);
}

TEST_F(CurrentMeshExportTest, StlSkipsFacesWithIndicesOutsideTheVertices) {
    bindFloatVertices({0, 0, 0, 1, 0, 0, 0, 1, 0});
    bindFaces({0, 1, 7, -1, -2, 0, 1, -1, 0, 1, 2, 3, 0, 1, 2, -1});
    EXPECT_EQ(currentSTL(true), arraySTL({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2, -1}, true));
}

TEST_F(CurrentMeshExportTest, StlWithoutMeshIsHeaderOnly) {
    Bytes expected(80, ' ');
    expected.insert(expected.end(), 4, 0);
    EXPECT_EQ(currentSTL(true), expected);
    const Bytes ascii = currentSTL(false);
    EXPECT_EQ(std::string(ascii.begin(), ascii.end()), "solid object0 \nendsolid object0 \n");
}

TEST_F(CurrentMeshExportTest, StlToAnUnopenablePathFails) {
    bindTwoTriangles();
    const std::string path = m_dir.file("missing/dir/out.stl");
    EXPECT_FALSE(exportKMeshToSTL(path.c_str(), true));
    EXPECT_FALSE(exportKMeshToSTL(path.c_str(), translation(1, 2, 3), false));
    EXPECT_FALSE(pathExists(path));
}

TEST_F(CurrentMeshExportTest, StlExporterAppendsTheCurrentMeshToOtherMeshes) {
    bindFloatVertices({0, 0, 0, 1, 0, 0, 0, 1, 0});
    bindFaces({0, 1, 2, -1});
    const std::string path = m_dir.file("both.stl");
    QMSTLExport exporter;
    ASSERT_TRUE(exporter.startExportKMeshes(QMString(path.c_str()), true));
    QMArray<QMVector3f> points = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    QMArray<int> faces = {0, 1, 2, -1};
    exporter.writeKMesh(points, faces);
    EXPECT_TRUE(exporter.writeCurrentKMesh());
    exporter.endExportKMeshes();
    const Bytes written = readFileBytes(path);
    ASSERT_EQ(written.size(), 84u + 2 * 50);
    EXPECT_EQ(written[80], 2);
}

// ------------------------------------------------------------------ VRML

TEST_F(CurrentMeshExportTest, VrmlWithoutMeshIsAShapeWithoutGeometry) { EXPECT_EQ(currentVRML("", true), shape("")); }

TEST_F(CurrentMeshExportTest, VrmlTrianglesKeepAllFourTextureCornersOfEveryFace) {
    bindTwoTriangles();
    bindFloatUVLinks({0, 0, 1, 0, 0, 1, 0.25f, 0.5f, 1, 0, 1, 1, 0, 1, 0, 0});
    EXPECT_EQ(currentVRML("", false), shape("    coord Coordinate { \n"
                                            "      point [ 0.000000 0.000000 0.000000,\n"
                                            "         1.000000 0.000000 0.000000,\n"
                                            "         0.000000 1.000000 0.000000,\n"
                                            "         1.000000 1.000000 0.000000]\n"
                                            "    }\n"
                                            "    coordIndex [ 0, 1, 2, -1,\n"
                                            "      1, 3, 2]\n"
                                            "\n    texCoord TextureCoordinate { \n"
                                            "      point [ 1.000000 1.000000,\n"
                                            "         0.000000 1.000000,\n"
                                            "         1.000000 0.000000,\n"
                                            "         0.750000 0.500000,\n"
                                            "         0.000000 1.000000,\n"
                                            "         0.000000 0.000000,\n"
                                            "         1.000000 0.000000,\n"
                                            "         1.000000 1.000000]\n"
                                            "    } \n\n"
                                            "      texCoordIndex [ 0, 1, 2, -1,\n"
                                            "        4, 5, 6]\n"));
}

TEST_F(CurrentMeshExportTest, VrmlSingleQuadUsesTheSingleFaceLines) {
    bindFloatVertices({0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0});
    bindFaces({0, 1, 2, 3});
    bindFloatUVLinks({0, 0, 1, 0, 1, 1, 0, 1});
    const std::string text = currentVRML("", false);
    EXPECT_NE(text.find("    coordIndex [ 0, 1, 2, 3]\n"), std::string::npos);
    EXPECT_NE(text.find("      texCoordIndex [ 0, 1, 2, 3]\n  } \n} \n"), std::string::npos);
}

TEST_F(CurrentMeshExportTest, VrmlTextureIndicesOfThreeFacesAre4iBased) {
    bindFloatVertices({0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0});
    bindFaces({0, 1, 2, 3, 0, 1, 2, -1, 3, 2, 1, 0});
    bindFloatUVLinks(std::vector<float>(24, 0.0f));
    const std::string text = currentVRML("", false);
    EXPECT_NE(text.find("      texCoordIndex [ 0, 1, 2, 3, -1,\n"
                        "        4, 5, 6, -1,\n"
                        "        8, 9, 10, 11]\n"),
              std::string::npos);
}

TEST_F(CurrentMeshExportTest, VrmlFixedPointUVLinksAreScaledBy2ToTheMinus24) {
    bindFloatVertices({0, 0, 0});
    bindFaces({0, 0, 0, -1});
    bindFixedUVLinks({1 << 24, 1 << 22, 0, 1 << 23, -(1 << 24), 3 << 22, 0, 0});
    const std::string text = currentVRML("", false);
    EXPECT_NE(text.find("      point [ 0.000000 0.750000,\n"
                        "         1.000000 0.500000,\n"
                        "         2.000000 0.250000,\n"
                        "         1.000000 1.000000]\n"),
              std::string::npos);
}

TEST_F(CurrentMeshExportTest, VrmlFloatUVLinksArePreferredToFixedPoint) {
    bindFloatVertices({0, 0, 0});
    bindFaces({0, 0, 0, -1});
    bindFloatUVLinks({0.5f, 0.5f, 0, 0, 0, 0, 0, 0});
    bindFixedUVLinks({0, 0, 0, 0, 0, 0, 0, 0});
    EXPECT_NE(currentVRML("", false).find("      point [ 0.500000 0.500000,\n"), std::string::npos);
}

TEST_F(CurrentMeshExportTest, VrmlWithoutUVLinkCountHasNoTextureCoordinates) {
    bindTwoTriangles();
    bindFloatUVLinks(std::vector<float>(16, 0.0f));
    KelvraHelper::s_numUVLinks = 0;
    EXPECT_EQ(currentVRML("", false).find("texCoord"), std::string::npos);
}

TEST_F(CurrentMeshExportTest, VrmlColoursComeFromTheVertexAttributes) {
    bindFloatVertices({0, 0, 0, 1, 0, 0});
    // Bytes 0x00, 0x80, 0xFF (blue, green, red), and red 80, which prints
    // 0.313725 in double precision (0.313726 in float).
    bindColours({0x12FF8000u, 0x00500000u});
    const std::string text = currentVRML("", true);
    EXPECT_NE(text.find("    }\n"
                        "\n    colorPerVertex TRUE \n"
                        "    color Color {\n"
                        "      color [\n"
                        "        1.000000 0.501961 0.000000, \n"
                        "        0.313725 0.000000 0.000000] \n"
                        "    }\n"
                        "  } \n} \n"),
              std::string::npos);
}

TEST_F(CurrentMeshExportTest, VrmlColoursOnlyWhenAsked) {
    bindFloatVertices({0, 0, 0});
    bindColours({0x00FFFFFFu});
    EXPECT_EQ(currentVRML("", false).find("color"), std::string::npos);
    EXPECT_NE(currentVRML("", true).find("      color [\n        1.000000 1.000000 1.000000] \n"), std::string::npos);
}

TEST_F(CurrentMeshExportTest, VrmlTextureNameLosesItsDirectory) {
    const std::string expectedAppearance =
        "\n  appearance Appearance { \n    texture ImageTexture { \n      url \"skin.png\" \n"
        "      repeatS TRUE \n      repeatT TRUE \n    } \n  } \n";
    EXPECT_EQ(currentVRML("/textures/sculpt/skin.png", false), shape("", expectedAppearance));
}

TEST_F(CurrentMeshExportTest, VrmlPointsAreRawHostUnitsThroughTheMatrix) {
    m_scale[0] = m_scale[1] = m_scale[2] = 4;
    m_offset[0] = 100;
    bindFloatVertices({1, 2, 3});
    EXPECT_EQ(currentVRML("", false, translation(10, 0, 0)),
              shape("    coord Coordinate { \n      point [ 11.000000 2.000000 3.000000 ]\n    }\n"));
}

TEST_F(CurrentMeshExportTest, VrmlIdentityMatrixIsNotApplied) {
    bindFloatVertices({-0.0f, 1, 2});
    EXPECT_EQ(currentVRML("", false),
              shape("    coord Coordinate { \n      point [ -0.000000 1.000000 2.000000 ]\n    }\n"));
}

TEST_F(CurrentMeshExportTest, VrmlFixedPointVertices) {
    bindFixedVertices({65536, -32768, 0});
    EXPECT_EQ(currentVRML("", false),
              shape("    coord Coordinate { \n      point [ 1.000000 -0.500000 0.000000 ]\n    }\n"));
}

TEST_F(CurrentMeshExportTest, VrmlIndicesArePrintedAsTheyAre) {
    bindFloatVertices({0, 0, 0});
    bindFaces({0, 99, -5, -1});
    EXPECT_NE(currentVRML("", false).find("    coordIndex [ 0, 99, -5]\n"), std::string::npos);
}

TEST_F(CurrentMeshExportTest, VrmlExporterWritesOneShapeWithItsOwnSettings) {
    bindFloatVertices({1, 2, 3});
    const std::string path = m_dir.file("member.wrl");
    QMVRMLExport exporter;
    exporter.m_matrix = translation(0, 0, 1);
    exporter.m_useMatrix = true;
    EXPECT_TRUE(exporter.exportKMesh(QMString(path.c_str()), QMString("dir/tex.png"), false));
    const std::string text = readFileText(path);
    EXPECT_NE(text.find("url \"dir/tex.png\""), std::string::npos);
    EXPECT_NE(text.find("      point [ 1.000000 2.000000 4.000000 ]\n"), std::string::npos);
}

}  // namespace
