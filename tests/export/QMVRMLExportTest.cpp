#include "export/QMVRMLExport.h"

#include "TestFiles.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace {

const char kFileStart[] = "#VRML V2.0 utf8\n\n#Created by Kelvra VRML exporter\n\n\n";

// One writeKMesh call. `mrgb` absent means a null colour pointer.
struct Mesh {
    QMArray<QMVector3f> points = {};
    QMArray<int> faces = {};
    QMArray<QMVector2f> uvs = {};
    std::string texture = {};
    std::optional<QMArray<std::uint32_t>> mrgb = {};
};

// The text of one Shape around the pieces between its geometry opener and closer.
std::string shape(const std::string& geometry, const std::string& appearance = "") {
    return "\nShape { \n" + appearance + "\n  geometry IndexedFaceSet { \n" + geometry + "  } \n} \n";
}

std::string appearanceOf(const std::string& name) {
    return "\n  appearance Appearance { \n    texture ImageTexture { \n      url \"" + name +
           "\" \n      repeatS TRUE \n      repeatT TRUE \n    } \n  } \n";
}

const char kTrianglePoints[] =
    "    coord Coordinate { \n"
    "      point [ 0.000000 0.000000 0.000000,\n"
    "         1.000000 0.000000 0.000000,\n"
    "         0.000000 1.000000 0.000000]\n"
    "    }\n";

QMArray<QMVector3f> trianglePoints() { return {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}; }

class VRMLExportTest : public ::testing::Test {
protected:
    // Writes the meshes between one start and one end and returns the text.
    std::string exportMeshes(const std::vector<Mesh>& meshes, const QMMatrix4f* matrix = nullptr) {
        QMVRMLExport exporter;
        if (matrix) {
            exporter.m_matrix = *matrix;
            exporter.m_useMatrix = true;
        }
        const std::string path = dir.file("out.wrl");
        EXPECT_TRUE(exporter.startExportKMeshes(QMString(path.c_str())));
        for (const Mesh& mesh : meshes) {
            exporter.writeKMesh(mesh.points, mesh.faces, mesh.uvs, QMString(mesh.texture.c_str()),
                                mesh.mrgb ? &*mesh.mrgb : nullptr);
        }
        EXPECT_TRUE(exporter.endExportKMeshes());
        return readFileText(path);
    }
    std::string exportMesh(const Mesh& mesh, const QMMatrix4f* matrix = nullptr) {
        return exportMeshes({mesh}, matrix);
    }

    TempDir dir;
};

}  // namespace

// ------------------------------------------------------------------ header

TEST_F(VRMLExportTest, FileWithoutMeshesIsTheHeaderOnly) {
    const std::string text = exportMeshes({});
    EXPECT_EQ(text.size(), 16u + 35u + 1u);
    EXPECT_EQ(text, kFileStart);
}

TEST_F(VRMLExportTest, MeshWithNothingIsAnEmptyShape) { EXPECT_EQ(exportMesh({}), kFileStart + shape("")); }

// ------------------------------------------------------------------ points

TEST_F(VRMLExportTest, OnePointIsASingleLineWithSpaceBeforeBracket) {
    EXPECT_EQ(exportMesh({.points = {{1, 2, 3}}}), kFileStart + shape("    coord Coordinate { \n"
                                                                      "      point [ 1.000000 2.000000 3.000000 ]\n"
                                                                      "    }\n"));
}

TEST_F(VRMLExportTest, TwoPointsHaveFirstAndLastForms) {
    EXPECT_EQ(exportMesh({.points = {{1, 2, 3}, {-4, 5.5f, 0.25f}}}),
              kFileStart + shape("    coord Coordinate { \n"
                                 "      point [ 1.000000 2.000000 3.000000,\n"
                                 "         -4.000000 5.500000 0.250000]\n"
                                 "    }\n"));
}

TEST_F(VRMLExportTest, MiddlePointsAreIndentedByNineSpaces) {
    EXPECT_EQ(exportMesh({.points = trianglePoints()}), kFileStart + shape(kTrianglePoints));
}

TEST_F(VRMLExportTest, WithoutMatrixPointsArePrintedAsStoredFloats) {
    QMMatrix4f unused;
    unused.setTranslation({100, 100, 100});
    QMVRMLExport exporter;
    exporter.m_matrix = unused;  // present but not in use
    const std::string path = dir.file("out.wrl");
    exporter.startExportKMeshes(QMString(path.c_str()));
    exporter.writeKMesh({{1234567.1f, 0.1f, -2.25f}}, {}, {}, QMString(), nullptr);
    exporter.endExportKMeshes();
    // 1234567.1f is 1234567.125 and 0.1f is 0.100000001490116...: the float's
    // own value, widened.
    EXPECT_EQ(readFileText(path), kFileStart + shape("    coord Coordinate { \n"
                                                     "      point [ 1234567.125000 0.100000 -2.250000 ]\n"
                                                     "    }\n"));
}

TEST_F(VRMLExportTest, MatrixPlacesEveryPoint) {
    QMMatrix4f matrix;
    buildMatrix(matrix, 10.0f, BBox{{1, 1, 1}, {2, 6, 3}});  // p' = 2 (p - (1, 1, 1))
    EXPECT_EQ(exportMesh({.points = {{1, 1, 1}, {2, 6, 3}, {1.5f, 2, 3}}}, &matrix),
              kFileStart + shape("    coord Coordinate { \n"
                                 "      point [ 0.000000 0.000000 0.000000,\n"
                                 "         2.000000 10.000000 4.000000,\n"
                                 "         1.000000 2.000000 4.000000]\n"
                                 "    }\n"));
}

TEST_F(VRMLExportTest, ProjectiveMatrixDividesByW) {
    QMMatrix4f matrix;
    matrix.m_data[15] = 2.0f;
    matrix.m_type = QMMatrix4f::TYPE_GENERAL;
    EXPECT_EQ(exportMesh({.points = {{2, 4, 6}}}, &matrix),
              kFileStart + shape("    coord Coordinate { \n"
                                 "      point [ 1.000000 2.000000 3.000000 ]\n"
                                 "    }\n"));
}

// ------------------------------------------------------------------ faces

TEST_F(VRMLExportTest, SingleTriangleHasNoMinusOne) {
    EXPECT_EQ(exportMesh({.faces = {0, 1, 2, -1}}), kFileStart + shape("    coordIndex [ 0, 1, 2]\n"));
}

TEST_F(VRMLExportTest, SingleQuadHasNoMinusOne) {
    EXPECT_EQ(exportMesh({.faces = {3, 2, 1, 0}}), kFileStart + shape("    coordIndex [ 3, 2, 1, 0]\n"));
}

TEST_F(VRMLExportTest, TwoFacesEndFirstWithMinusOneAndLastWithBracket) {
    EXPECT_EQ(exportMesh({.faces = {0, 1, 2, -1, 0, 2, 3, -1}}), kFileStart + shape("    coordIndex [ 0, 1, 2, -1,\n"
                                                                                    "      0, 2, 3]\n"));
}

TEST_F(VRMLExportTest, MixedFacesUseThreeOrFourIndicesEach) {
    EXPECT_EQ(exportMesh({.faces = {0, 1, 2, 3, 4, 5, 6, -1, 7, 8, 9, 10, 11, 12, 13, -1}}),
              kFileStart + shape("    coordIndex [ 0, 1, 2, 3, -1,\n"
                                 "      4, 5, 6, -1,\n"
                                 "      7, 8, 9, 10, -1,\n"
                                 "      11, 12, 13]\n"));
}

TEST_F(VRMLExportTest, IndicesArePrintedUncheckedAndSigned) {
    EXPECT_EQ(exportMesh({.points = {{1, 2, 3}}, .faces = {7, -5, 2147483647, -2147483647 - 1}}),
              kFileStart + shape("    coord Coordinate { \n"
                                 "      point [ 1.000000 2.000000 3.000000 ]\n"
                                 "    }\n"
                                 "    coordIndex [ 7, -5, 2147483647, -2147483648]\n"));
}

TEST_F(VRMLExportTest, IncompleteTrailingFaceIsNotPrinted) {
    EXPECT_EQ(exportMesh({.faces = {0, 1, 2, -1, 3, 4}}), kFileStart + shape("    coordIndex [ 0, 1, 2]\n"));
}

TEST_F(VRMLExportTest, FaceListShorterThanOneFacePrintsNoIndices) {
    EXPECT_EQ(exportMesh({.faces = {0, 1, 2}}), kFileStart + shape(""));
}

// ------------------------------------------------------------------ texture coordinates

TEST_F(VRMLExportTest, TwoQuadsNumberTheirCornersStraightThrough) {
    const QMArray<QMVector2f> uvs = {{0, 0},       {1, 0},        {1, 1},     {0, 1},
                                     {0.5f, 0.5f}, {0.75f, 0.5f}, {0.75f, 1}, {0, 0.25f}};
    EXPECT_EQ(exportMesh({.faces = {0, 1, 2, 3, 2, 3, 4, 5}, .uvs = uvs}),
              kFileStart + shape("    coordIndex [ 0, 1, 2, 3, -1,\n"
                                 "      2, 3, 4, 5]\n"
                                 "\n"
                                 "    texCoord TextureCoordinate { \n"
                                 "      point [ 1.000000 1.000000,\n"
                                 "         0.000000 1.000000,\n"
                                 "         0.000000 0.000000,\n"
                                 "         1.000000 0.000000,\n"
                                 "         0.500000 0.500000,\n"
                                 "         0.250000 0.500000,\n"
                                 "         0.250000 0.000000,\n"
                                 "         1.000000 0.750000]\n"
                                 "    } \n"
                                 "\n"
                                 "      texCoordIndex [ 0, 1, 2, 3, -1,\n"
                                 "        4, 5, 6, 7]\n"));
}

TEST_F(VRMLExportTest, TriangleThenQuadDropsTheUnusedCornerEntry) {
    // Entry 3 belongs to the triangle's -1 corner and is not written: seven entries remain.
    const QMArray<QMVector2f> uvs = {{0, 0},    {0.25f, 0},    {0.5f, 0},    {0.125f, 0.125f},
                                     {0, 0.5f}, {0.25f, 0.5f}, {0.5f, 0.5f}, {0.75f, 0.5f}};
    EXPECT_EQ(exportMesh({.faces = {0, 1, 2, -1, 3, 4, 5, 6}, .uvs = uvs}),
              kFileStart + shape("    coordIndex [ 0, 1, 2, -1,\n"
                                 "      3, 4, 5, 6]\n"
                                 "\n"
                                 "    texCoord TextureCoordinate { \n"
                                 "      point [ 1.000000 1.000000,\n"
                                 "         0.750000 1.000000,\n"
                                 "         0.500000 1.000000,\n"
                                 "         1.000000 0.500000,\n"
                                 "         0.750000 0.500000,\n"
                                 "         0.500000 0.500000,\n"
                                 "         0.250000 0.500000]\n"
                                 "    } \n"
                                 "\n"
                                 "      texCoordIndex [ 0, 1, 2, -1,\n"
                                 "        3, 4, 5, 6]\n"));
}

TEST_F(VRMLExportTest, MiddleFacesOfTextureIndicesContinueTheCounter) {
    // Triangle, quad, triangle: ten of the twelve entries are kept.
    const QMArray<QMVector2f> uvs(12, QMVector2f(0.5f, 0.5f));
    std::string entries = "      point [ 0.500000 0.500000,\n";
    for (int k = 1; k < 9; ++k) entries += "         0.500000 0.500000,\n";
    entries += "         0.500000 0.500000]\n";
    EXPECT_EQ(exportMesh({.faces = {0, 1, 2, -1, 0, 2, 3, 4, 4, 5, 6, -1}, .uvs = uvs}),
              kFileStart + shape("    coordIndex [ 0, 1, 2, -1,\n"
                                 "      0, 2, 3, 4, -1,\n"
                                 "      4, 5, 6]\n"
                                 "\n"
                                 "    texCoord TextureCoordinate { \n" +
                                 entries +
                                 "    } \n"
                                 "\n"
                                 "      texCoordIndex [ 0, 1, 2, -1,\n"
                                 "        3, 4, 5, 6, -1,\n"
                                 "        7, 8, 9]\n"));
}

TEST_F(VRMLExportTest, SingleTriangleTextureIndicesHaveNoMinusOne) {
    EXPECT_EQ(exportMesh({.faces = {0, 1, 2, -1}, .uvs = {{0, 0}, {1, 0}, {0, 1}, {0, 0}}}),
              kFileStart + shape("    coordIndex [ 0, 1, 2]\n"
                                 "\n"
                                 "    texCoord TextureCoordinate { \n"
                                 "      point [ 1.000000 1.000000,\n"
                                 "         0.000000 1.000000,\n"
                                 "         1.000000 0.000000]\n"
                                 "    } \n"
                                 "\n"
                                 "      texCoordIndex [ 0, 1, 2]\n"));
}

TEST_F(VRMLExportTest, SingleQuadTextureIndicesHaveFourCorners) {
    EXPECT_EQ(exportMesh({.faces = {0, 1, 2, 3}, .uvs = {{0, 0}, {1, 0}, {1, 1}, {0, 1}}}),
              kFileStart + shape("    coordIndex [ 0, 1, 2, 3]\n"
                                 "\n"
                                 "    texCoord TextureCoordinate { \n"
                                 "      point [ 1.000000 1.000000,\n"
                                 "         0.000000 1.000000,\n"
                                 "         0.000000 0.000000,\n"
                                 "         1.000000 0.000000]\n"
                                 "    } \n"
                                 "\n"
                                 "      texCoordIndex [ 0, 1, 2, 3]\n"));
}

TEST_F(VRMLExportTest, UVIsFlippedInBothCoordinates) {
    // (0.25, 1) becomes (0.75, 0); a lone entry uses the one-line form without a space.
    EXPECT_EQ(exportMesh({.faces = {0, 1, 2, -1}, .uvs = {{0.25f, 1}}}),
              kFileStart + shape("    coordIndex [ 0, 1, 2]\n"
                                 "\n"
                                 "    texCoord TextureCoordinate { \n"
                                 "      point [ 0.750000 0.000000]\n"
                                 "    } \n"
                                 "\n"
                                 "      texCoordIndex [ 0, 1, 2]\n"));
}

TEST_F(VRMLExportTest, UVFlipIsComputedInFloat) {
    // 1 - 5.03e-7 is 0.999999497 in double ("0.999999") but rounds to
    // 0.999999523 in float ("1.000000").
    const std::string text = exportMesh({.faces = {0, 1, 2, -1}, .uvs = {{5.03e-7f, 0.5f}}});
    EXPECT_NE(text.find("      point [ 1.000000 0.500000]\n"), std::string::npos) << text;
}

TEST_F(VRMLExportTest, UVsWithoutTextureNameAreStillWritten) {
    const std::string text = exportMesh({.faces = {0, 1, 2, -1}, .uvs = {{0.25f, 1}}, .texture = ""});
    EXPECT_EQ(text.find("appearance"), std::string::npos);
    EXPECT_NE(text.find("    texCoord TextureCoordinate { \n      point [ 0.750000 0.000000]\n"), std::string::npos);
}

// ------------------------------------------------------------------ appearance

TEST_F(VRMLExportTest, TextureNameWritesAppearanceBlock) {
    EXPECT_EQ(exportMesh({.texture = "skin.png"}), std::string(kFileStart) +
                                                       "\nShape { \n"
                                                       "\n"
                                                       "  appearance Appearance { \n"
                                                       "    texture ImageTexture { \n"
                                                       "      url \"skin.png\" \n"
                                                       "      repeatS TRUE \n"
                                                       "      repeatT TRUE \n"
                                                       "    } \n"
                                                       "  } \n"
                                                       "\n"
                                                       "  geometry IndexedFaceSet { \n"
                                                       "  } \n"
                                                       "} \n");
}

TEST_F(VRMLExportTest, QuotesAndBackslashesInATextureNameAreEscaped) {
    EXPECT_EQ(exportMesh({.texture = "a\"b\\c.png"}), kFileStart + shape("", appearanceOf("a\\\"b\\\\c.png")));
}

TEST_F(VRMLExportTest, ATextureNameCannotEndItsStringAndAddNodes) {
    const std::string hostile = "x.png\" } } Script { url \"javascript:alert(1)";
    const std::string text = exportMesh({.texture = hostile});
    EXPECT_EQ(text, kFileStart + shape("", appearanceOf("x.png\\\" } } Script { url \\\"javascript:alert(1)")));
    // Every quote in the url line but its two own is escaped.
    const std::size_t line = text.find("      url ");
    const std::string url = text.substr(line, text.find('\n', line) - line);
    std::size_t unescaped = 0;
    for (std::size_t k = 0; k < url.size(); ++k)
        if (url[k] == '"' && url[k - 1] != '\\') ++unescaped;
    EXPECT_EQ(unescaped, 2u);
}

TEST_F(VRMLExportTest, EmptyTextureNameLeavesOutAppearanceAndItsBlankLine) {
    EXPECT_EQ(
        exportMesh({.faces = {0, 1, 2, -1}, .texture = ""}),
        std::string(kFileStart) + "\nShape { \n\n  geometry IndexedFaceSet { \n    coordIndex [ 0, 1, 2]\n  } \n} \n");
}

TEST_F(VRMLExportTest, NullTextureNameLeavesOutAppearance) {
    QMVRMLExport exporter;
    const std::string path = dir.file("out.wrl");
    exporter.startExportKMeshes(QMString(path.c_str()));
    exporter.writeKMesh({}, {}, {}, QMString(), nullptr);
    exporter.endExportKMeshes();
    EXPECT_EQ(readFileText(path), kFileStart + shape(""));
}

TEST_F(VRMLExportTest, TextureNameKeepsItsSpacesAndEscapesItsQuotes) {
    const std::string name = "my \"best\" skin\\1.png";
    EXPECT_EQ(exportMesh({.texture = name}), kFileStart + shape("", appearanceOf("my \\\"best\\\" skin\\\\1.png")));
}

TEST_F(VRMLExportTest, LongTextureNameIsWrittenWhole) {
    std::string name(5000, 'a');
    name += ".tif";
    EXPECT_EQ(exportMesh({.texture = name}), kFileStart + shape("", appearanceOf(name)));
}

TEST_F(VRMLExportTest, TexturePathIsNotShortened) {
    const std::string name = "/textures/set 1/skin.png";
    EXPECT_EQ(exportMesh({.texture = name}), kFileStart + shape("", appearanceOf(name)));
}

// ------------------------------------------------------------------ colours

TEST_F(VRMLExportTest, NullAndEmptyColourListsWriteNoColourPiece) {
    const std::string withNull = exportMesh({.points = trianglePoints(), .faces = {0, 1, 2, -1}});
    const std::string withEmpty =
        exportMesh({.points = trianglePoints(), .faces = {0, 1, 2, -1}, .mrgb = QMArray<std::uint32_t>{}});
    EXPECT_EQ(withNull, kFileStart + shape(std::string(kTrianglePoints) + "    coordIndex [ 0, 1, 2]\n"));
    EXPECT_EQ(withEmpty, withNull);
}

TEST_F(VRMLExportTest, OneColourUsesTheLastEntryForm) {
    // Bytes 00 80 FF 12 in file order: red FF, green 80, blue 00, M byte 12.
    EXPECT_EQ(exportMesh({.mrgb = QMArray<std::uint32_t>{0x12FF8000u}}),
              kFileStart + shape("\n"
                                 "    colorPerVertex TRUE \n"
                                 "    color Color {\n"
                                 "      color [\n"
                                 "        1.000000 0.501961 0.000000] \n"
                                 "    }\n"));
}

TEST_F(VRMLExportTest, ColourEntriesEndWithCommaSpaceAndLastWithBracketSpace) {
    EXPECT_EQ(exportMesh({.mrgb = QMArray<std::uint32_t>{0x00FF0000u, 0xFF00FF00u, 0x000000FFu}}),
              kFileStart + shape("\n"
                                 "    colorPerVertex TRUE \n"
                                 "    color Color {\n"
                                 "      color [\n"
                                 "        1.000000 0.000000 0.000000, \n"
                                 "        0.000000 1.000000 0.000000, \n"
                                 "        0.000000 0.000000 1.000000] \n"
                                 "    }\n"));
}

TEST_F(VRMLExportTest, ColourIsDividedInFloat) {
    // 80 / 255 is 0.3137254902 in double ("0.313725") and 0.3137255013 in float.
    EXPECT_EQ(exportMesh({.mrgb = QMArray<std::uint32_t>{0x00505050u}}),
              kFileStart + shape("\n"
                                 "    colorPerVertex TRUE \n"
                                 "    color Color {\n"
                                 "      color [\n"
                                 "        0.313726 0.313726 0.313726] \n"
                                 "    }\n"));
}

TEST_F(VRMLExportTest, ColoursAreWrittenWhateverThePointCount) {
    const std::string text = exportMesh({.points = {{1, 2, 3}}, .mrgb = QMArray<std::uint32_t>{0, 0}});
    EXPECT_NE(text.find("      color [\n        0.000000 0.000000 0.000000, \n        0.000000 0.000000 0.000000] \n"),
              std::string::npos);
}

// ------------------------------------------------------------------ whole files

TEST_F(VRMLExportTest, CompleteShapeHasEveryPieceInOrder) {
    const Mesh mesh{.points = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}},
                    .faces = {0, 1, 2, -1, 0, 2, 3, -1},
                    .uvs = {{0, 0}, {1, 0}, {1, 1}, {0, 0}, {0, 0}, {1, 1}, {0, 1}, {0, 0}},
                    .texture = "t.png",
                    .mrgb = QMArray<std::uint32_t>{0x00FF0000u, 0x0000FF00u, 0x000000FFu, 0x00FFFFFFu}};
    EXPECT_EQ(exportMesh(mesh), std::string(kFileStart) +
                                    "\n"
                                    "Shape { \n"
                                    "\n"
                                    "  appearance Appearance { \n"
                                    "    texture ImageTexture { \n"
                                    "      url \"t.png\" \n"
                                    "      repeatS TRUE \n"
                                    "      repeatT TRUE \n"
                                    "    } \n"
                                    "  } \n"
                                    "\n"
                                    "  geometry IndexedFaceSet { \n"
                                    "    coord Coordinate { \n"
                                    "      point [ 0.000000 0.000000 0.000000,\n"
                                    "         1.000000 0.000000 0.000000,\n"
                                    "         1.000000 1.000000 0.000000,\n"
                                    "         0.000000 1.000000 0.000000]\n"
                                    "    }\n"
                                    "    coordIndex [ 0, 1, 2, -1,\n"
                                    "      0, 2, 3]\n"
                                    "\n"
                                    "    texCoord TextureCoordinate { \n"
                                    "      point [ 1.000000 1.000000,\n"
                                    "         0.000000 1.000000,\n"
                                    "         0.000000 0.000000,\n"
                                    "         1.000000 1.000000,\n"
                                    "         0.000000 0.000000,\n"
                                    "         1.000000 0.000000]\n"
                                    "    } \n"
                                    "\n"
                                    "      texCoordIndex [ 0, 1, 2, -1,\n"
                                    "        3, 4, 5]\n"
                                    "\n"
                                    "    colorPerVertex TRUE \n"
                                    "    color Color {\n"
                                    "      color [\n"
                                    "        1.000000 0.000000 0.000000, \n"
                                    "        0.000000 1.000000 0.000000, \n"
                                    "        0.000000 0.000000 1.000000, \n"
                                    "        1.000000 1.000000 1.000000] \n"
                                    "    }\n"
                                    "  } \n"
                                    "} \n");
}

TEST_F(VRMLExportTest, SeveralMeshesAreSiblingShapes) {
    const std::string text = exportMeshes({{.points = {{1, 2, 3}}, .faces = {0, 0, 0, -1}, .texture = "a.png"},
                                           {.points = {{4, 5, 6}}, .faces = {0, 0, 0, 0}}});
    EXPECT_EQ(text, kFileStart +
                        shape("    coord Coordinate { \n"
                              "      point [ 1.000000 2.000000 3.000000 ]\n"
                              "    }\n"
                              "    coordIndex [ 0, 0, 0]\n",
                              appearanceOf("a.png")) +
                        shape("    coord Coordinate { \n"
                              "      point [ 4.000000 5.000000 6.000000 ]\n"
                              "    }\n"
                              "    coordIndex [ 0, 0, 0, 0]\n"));
}

TEST_F(VRMLExportTest, OutputLargerThanTheStagingBufferIsWrittenWhole) {
    QMArray<QMVector3f> points(60000, QMVector3f(123.5f, -0.25f, 1000000.0f));
    const std::string line = "123.500000 -0.250000 1000000.000000";
    std::string expected = "    coord Coordinate { \n      point [ " + line + ",\n";
    for (std::size_t i = 1; i + 1 < points.size(); ++i) expected += "         " + line + ",\n";
    expected += "         " + line + "]\n    }\n";
    ASSERT_GT(expected.size(), std::size_t(2) << 20);
    EXPECT_EQ(exportMesh({.points = points}), kFileStart + shape(expected));
}

// ------------------------------------------------------------------ inputs beyond the format

TEST_F(VRMLExportTest, UVEntriesBeyondTheFaceListAreIgnored) {
    const QMArray<QMVector2f> uvs = {{0, 0}, {1, 0}, {0, 1}, {0.5f, 0.5f}, {0.25f, 0.25f}, {0.75f, 0.75f}};
    EXPECT_EQ(exportMesh({.faces = {0, 1, 2, -1}, .uvs = uvs}), kFileStart + shape("    coordIndex [ 0, 1, 2]\n"
                                                                                   "\n"
                                                                                   "    texCoord TextureCoordinate { \n"
                                                                                   "      point [ 1.000000 1.000000,\n"
                                                                                   "         0.000000 1.000000,\n"
                                                                                   "         1.000000 0.000000]\n"
                                                                                   "    } \n"
                                                                                   "\n"
                                                                                   "      texCoordIndex [ 0, 1, 2]\n"));
}

TEST_F(VRMLExportTest, UVsWithoutFacesWriteNoTexturePiece) {
    EXPECT_EQ(exportMesh({.points = {{1, 2, 3}}, .uvs = {{0, 0}, {1, 1}}}),
              kFileStart + shape("    coord Coordinate { \n"
                                 "      point [ 1.000000 2.000000 3.000000 ]\n"
                                 "    }\n"));
}

TEST_F(VRMLExportTest, UVsOfUnusedCornersOnlyWriteNoTexturePiece) {
    EXPECT_EQ(exportMesh({.faces = {-1, -1, -1, -1}, .uvs = {{0, 0}, {1, 1}}}),
              kFileStart + shape("    coordIndex [ -1, -1, -1]\n"));
}

TEST_F(VRMLExportTest, UVListShorterThanFacesStillNumbersEveryCorner) {
    // Only the entries present are written; the indices follow the faces.
    EXPECT_EQ(exportMesh({.faces = {0, 1, 2, -1, 0, 2, 3, -1}, .uvs = {{0, 0}, {1, 1}}}),
              kFileStart + shape("    coordIndex [ 0, 1, 2, -1,\n"
                                 "      0, 2, 3]\n"
                                 "\n"
                                 "    texCoord TextureCoordinate { \n"
                                 "      point [ 1.000000 1.000000,\n"
                                 "         0.000000 0.000000]\n"
                                 "    } \n"
                                 "\n"
                                 "      texCoordIndex [ 0, 1, 2, -1,\n"
                                 "        3, 4, 5]\n"));
}

TEST_F(VRMLExportTest, MissingOutputDirectoryWritesNothingAndSucceeds) {
    const std::string path = dir.file("missing/out.wrl");
    QMVRMLExport exporter;
    const QMArray<std::uint32_t> mrgb = {0x00FF8000u};
    EXPECT_TRUE(exporter.startExportKMeshes(QMString(path.c_str())));
    EXPECT_EQ(exporter.m_file, nullptr);
    exporter.writeKMesh(trianglePoints(), {0, 1, 2, -1}, {{0, 0}, {1, 0}, {0, 1}, {0, 0}}, QMString("t.png"), &mrgb);
    EXPECT_TRUE(exporter.endExportKMeshes());
    EXPECT_FALSE(pathExists(path));
    EXPECT_FALSE(pathExists(dir.file("missing")));
}

TEST_F(VRMLExportTest, WritingWithoutStartDoesNothing) {
    QMVRMLExport exporter;
    exporter.writeKMesh(trianglePoints(), {0, 1, 2, -1}, {}, QMString("t.png"), nullptr);
    EXPECT_TRUE(exporter.endExportKMeshes());
    EXPECT_EQ(exporter.m_file, nullptr);
}

TEST_F(VRMLExportTest, NullColourPointerIsAccepted) {
    const std::string text = exportMesh({.points = {{1, 2, 3}}, .mrgb = std::nullopt});
    EXPECT_EQ(text.find("color"), std::string::npos);
}

TEST_F(VRMLExportTest, ExporterLeftOpenLeavesNoFileWhenDestroyed) {
    const std::string path = dir.file("open.wrl");
    {
        QMVRMLExport exporter;
        exporter.startExportKMeshes(QMString(path.c_str()));
        exporter.writeKMesh({}, {0, 1, 2, -1}, {}, QMString(), nullptr);
    }
    EXPECT_FALSE(pathExists(path));
}
