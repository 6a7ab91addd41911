#include "ScriptTestFixture.h"

#include "plugin/DeclaredVekFiles.h"

using Strings = std::vector<std::string>;

namespace {

using Points = std::vector<vekgen::Point3>;
using Faces = std::vector<vekgen::Face4>;
using UVs = std::vector<vekgen::UV4>;

const char kHeader[] = "#VRML V2.0 utf8\n\n#Created by Kelvra VRML exporter\n\n\n";

std::string appearance(const std::string& texture) {
    return "\n  appearance Appearance { \n    texture ImageTexture { \n      url \"" + texture +
           "\" \n      repeatS TRUE \n      repeatT TRUE \n    } \n  } \n";
}

// A triangle (1, 4, 2) then a quad (0, 1, 2, 3) over five points spanning
// (0, 0, 0) to (2, 1, 0): at height 1 the placement leaves them where they are.
const Points kFivePoints = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {2, 0, 0}};
const Faces kTriangleThenQuad = {{1, 4, 2, -1}, {0, 1, 2, 3}};
const UVs kTriangleThenQuadUVs = {{0, 0, 1, 0, 1, 1, 9, 9}, {0, 0, 0.5f, 0, 0.5f, 1, 0, 1}};

const char kFivePointsText[] =
    "    coord Coordinate { \n"
    "      point [ 0.000000 0.000000 0.000000,\n"
    "         1.000000 0.000000 0.000000,\n"
    "         1.000000 1.000000 0.000000,\n"
    "         0.000000 1.000000 0.000000,\n"
    "         2.000000 0.000000 0.000000]\n"
    "    }\n"
    "    coordIndex [ 1, 4, 2, -1,\n"
    "      0, 1, 2, 3]\n";

// The UVs of kTriangleThenQuadUVs: the triangle's unused fourth corner is
// dropped, every value is printed as 1 - value.
const char kTriangleThenQuadUVText[] =
    "\n    texCoord TextureCoordinate { \n"
    "      point [ 1.000000 1.000000,\n"
    "         0.000000 1.000000,\n"
    "         0.000000 0.000000,\n"
    "         1.000000 1.000000,\n"
    "         0.500000 1.000000,\n"
    "         0.500000 0.000000,\n"
    "         1.000000 0.000000]\n"
    "    } \n"
    "\n"
    "      texCoordIndex [ 0, 1, 2, -1,\n"
    "        3, 4, 5, 6]\n";

const char kShapeEnd[] = "  } \n} \n";

std::string shape(const std::string& texture, const std::string& body) {
    return "\nShape { \n" + (texture.empty() ? std::string() : appearance(texture)) +
           "\n  geometry IndexedFaceSet { \n" + body + kShapeEnd;
}

class VRMLScriptTest : public ScriptTest {
protected:
    std::string mesh(const std::string& name, const Points& points, const Faces& faces, const UVs& uvs = {},
                     const std::vector<std::uint32_t>& mrgb = {}) {
        return vek(name, [&](vekgen::VekWriter& w) {
            w.points(points);
            if (!faces.empty()) w.face4(faces);
            if (!uvs.empty()) w.uv4(uvs);
            if (!mrgb.empty()) w.mrgb(mrgb);
            w.endBlock();
        });
    }
    std::string exportVRML(double height) {
        host.call("DeclareHeight", nullptr, height);
        const std::string out = dir.file("out.wrl");
        EXPECT_EQ(host.call("ExportVRMLAllDeclaredVek", out), 0.0);
        return readFileText(out);
    }
};

}  // namespace

TEST_F(VRMLScriptTest, EmptyRegistryWritesHeaderOnly) {
    declare({});
    EXPECT_EQ(exportVRML(1.0), kHeader);
}

TEST_F(VRMLScriptTest, TriangleThenQuadWithUVsAndDefaultTexture) {
    declare({mesh("tq.vek", kFivePoints, kTriangleThenQuad, kTriangleThenQuadUVs)});
    EXPECT_EQ(exportVRML(1.0), kHeader + shape("tq.vek", std::string(kFivePointsText) + kTriangleThenQuadUVText));
}

TEST_F(VRMLScriptTest, TwoQuadsWithUVsCountTheirCorners) {
    declare({mesh("qq.vek", kFivePoints, {{0, 1, 2, 3}, {1, 4, 2, 3}},
                  {{0, 0, 1, 0, 1, 1, 0, 1}, {0.25f, 1, 0.25f, 1, 0.25f, 1, 0.25f, 1}})});
    const std::string text = exportVRML(1.0);
    EXPECT_NE(text.find("    coordIndex [ 0, 1, 2, 3, -1,\n      1, 4, 2, 3]\n"), std::string::npos) << text;
    EXPECT_NE(text.find("      texCoordIndex [ 0, 1, 2, 3, -1,\n        4, 5, 6, 7]\n"), std::string::npos) << text;
    EXPECT_NE(text.find("         0.750000 0.000000]\n"), std::string::npos) << text;
}

TEST_F(VRMLScriptTest, TextureNameLosesItsDirectory) {
    mesh("a.vek", kFivePoints, kTriangleThenQuad);
    mesh("b.vek", kFivePoints, kTriangleThenQuad);
    host.call("StartDeclareVekFiles");
    host.call("AddOneVekFile", dir.file("a.vek"));
    host.call("SetTextureFileNameForLastVek", "/textures/skin tone.png");
    host.call("AddOneVekFile", dir.file("b.vek"));
    host.call("SetTextureFileNameForLastVek", "C:\\textures\\eyes.jpg");
    const std::string text = exportVRML(1.0);
    EXPECT_NE(text.find("      url \"skin tone.png\" \n"), std::string::npos) << text;
    EXPECT_NE(text.find("      url \"eyes.jpg\" \n"), std::string::npos) << text;
}

TEST_F(VRMLScriptTest, EmptyTextureNameLeavesOutTheAppearance) {
    declare({mesh("tq.vek", kFivePoints, kTriangleThenQuad, kTriangleThenQuadUVs)});
    host.call("SetTextureFileNameForLastVek", "");
    EXPECT_EQ(exportVRML(1.0), kHeader + shape("", std::string(kFivePointsText) + kTriangleThenQuadUVText));
}

TEST_F(VRMLScriptTest, FileWithoutUVsKeepsTheUVsOfTheFileBefore) {
    declare({mesh("a.vek", kFivePoints, kTriangleThenQuad, kTriangleThenQuadUVs),
             mesh("b.vek", kFivePoints, kTriangleThenQuad)});
    EXPECT_EQ(exportVRML(1.0), kHeader + shape("a.vek", std::string(kFivePointsText) + kTriangleThenQuadUVText) +
                                   shape("b.vek", std::string(kFivePointsText) + kTriangleThenQuadUVText));
}

TEST_F(VRMLScriptTest, ColoursAreWrittenOnlyWhenTurnedOn) {
    const std::vector<std::uint32_t> colours = {0x12FF8000u, 0x00000000u, 0xFFFFFFFFu, 0x00FF0000u, 0x000000FFu};
    declare({mesh("c.vek", kFivePoints, kTriangleThenQuad, {}, colours)});
    const std::string plain = exportVRML(1.0);
    EXPECT_EQ(plain, kHeader + shape("c.vek", kFivePointsText));
    host.call("DeclareExportVertexColors", "yEs");
    EXPECT_EQ(exportVRML(1.0),
              kHeader + shape("c.vek", std::string(kFivePointsText) + "\n    colorPerVertex TRUE \n    color Color {\n"
                                                                      "      color [\n"
                                                                      "        1.000000 0.501961 0.000000, \n"
                                                                      "        0.000000 0.000000 0.000000, \n"
                                                                      "        1.000000 1.000000 1.000000, \n"
                                                                      "        1.000000 0.000000 0.000000, \n"
                                                                      "        0.000000 0.000000 1.000000] \n"
                                                                      "    }\n"));
    for (const char* word : {"Y", "TRUE", "1", "YES "}) {
        host.call("DeclareExportVertexColors", word);
        EXPECT_EQ(exportVRML(1.0), plain) << word;
    }
}

TEST_F(VRMLScriptTest, SinglePointAndSingleFaceForms) {
    declare({mesh("one.vek", {{0, 0, 0}, {0, 2, 0}, {3, 2, 0}}, {{0, 1, 2, -1}}),
             mesh("dot.vek", {{1, 1, 0}}, {{0, 0, 0, 0}})});
    const std::string text = exportVRML(2.0);
    EXPECT_NE(text.find("    coordIndex [ 0, 1, 2]\n"), std::string::npos) << text;
    EXPECT_NE(text.find("      point [ 1.000000 1.000000 0.000000 ]\n"), std::string::npos) << text;
    EXPECT_NE(text.find("    coordIndex [ 0, 0, 0, 0]\n"), std::string::npos) << text;
}

TEST_F(VRMLScriptTest, PlacementScalesToTheHeight) {
    declare({mesh("a.vek", {{-1, 2, -3}, {1, 4, 3}, {1, 2, -3}}, {{0, 1, 2, -1}})});
    EXPECT_NE(exportVRML(1.0).find("      point [ 0.000000 0.000000 0.000000,\n         1.000000 1.000000 3.000000,\n"
                                   "         1.000000 0.000000 0.000000]\n"),
              std::string::npos);
}

TEST_F(VRMLScriptTest, FileWithoutFacesCountsInTheBoundsOnly) {
    declare({mesh("a.vek", kFivePoints, kTriangleThenQuad), mesh("b.vek", {{0, -1, 0}}, {})});
    const std::string text = exportVRML(2.0);
    EXPECT_EQ(text.find("Shape"), text.rfind("Shape"));
    EXPECT_NE(text.find("      point [ 0.000000 1.000000 0.000000,\n"), std::string::npos) << text;
}

TEST_F(VRMLScriptTest, InvisibleFileIsWrittenToo) {
    declare({mesh("a.vek", kFivePoints, kTriangleThenQuad)});
    host.call("DeclareLastVekInvisible");
    EXPECT_EQ(exportVRML(1.0), kHeader + shape("a.vek", kFivePointsText));
}

TEST_F(VRMLScriptTest, ExportWritesItsLogLines) {
    declare({mesh("a.vek", kFivePoints, kTriangleThenQuad, kTriangleThenQuadUVs, {1, 2, 3, 4, 5})});
    logLines.clear();
    const std::string out = dir.file("x.wrl");
    host.call("ExportVRMLAllDeclaredVek", out);
    EXPECT_EQ(logLines, (Strings{"ExportVRMLAllDeclaredVek called : compAllBBox + buildMatrix + writeAllKMesh",
                                 " -> " + out, "  Vek Reading [Points] (5)", "  Vek Reading [Face4] (2 fac)",
                                 "  Vek Reading [UV4] (2)", "  Vek Reading [MRGB]"}));
}

TEST_F(VRMLScriptTest, MissingOutputDirectoryAndNullPathReturnZero) {
    declare({mesh("a.vek", kFivePoints, kTriangleThenQuad)});
    EXPECT_EQ(host.call("ExportVRMLAllDeclaredVek", dir.file("none/x.wrl")), 0.0);
    EXPECT_FALSE(pathExists(dir.file("none")));
    EXPECT_EQ(host.call("ExportVRMLAllDeclaredVek", nullptr), 0.0);
}

TEST_F(VRMLScriptTest, DamagedFilesWriteWhatIsValid) {
    // More UVs than faces, and a colour block shorter than the points.
    const std::string damaged = vek("d.vek", [](vekgen::VekWriter& w) {
        w.points(kFivePoints);
        w.face4(Faces{{0, 1, 2, -1}});
        w.uv4(kTriangleThenQuadUVs);
        w.mrgb(std::vector<std::uint32_t>{0x00FF0000u});
        w.endBlock();
    });
    declare({damaged});
    host.call("DeclareExportVertexColors", "YES");
    const std::string text = exportVRML(1.0);
    EXPECT_NE(text.find("      point [ 1.000000 1.000000,\n         0.000000 1.000000,\n         0.000000 0.000000]\n"),
              std::string::npos)
        << text;
    EXPECT_NE(text.find("      color [\n        1.000000 0.000000 0.000000] \n"), std::string::npos) << text;
}
