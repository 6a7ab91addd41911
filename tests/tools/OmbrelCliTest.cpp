#include "RunCommand.h"
#include "TestFiles.h"
#include "VekTestFiles.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

namespace {

using Points = std::vector<vekgen::Point3>;

class OmbrelCliTest : public ::testing::Test {
protected:
    CommandResult ombrel(const std::vector<std::string>& arguments, const std::string& cwd = {}) {
        return runCommand(OMBREL_TOOL_PATH, arguments, cwd.empty() ? dir.path() : cwd);
    }
    std::string triangleFile(const std::string& name, const Points& points) {
        return writeVekFile(dir.file(name), [&](vekgen::VekWriter& w) {
            w.points(points);
            w.face4(std::vector<vekgen::Face4>{{0, 1, 2, -1}});
            w.endBlock();
        });
    }
    TempDir dir;
};

const Points kOffsetTriangle = {{2, 3, 4}, {4, 3, 4}, {2, 5, 4}};

// The ASCII text of kOffsetTriangle moved to the origin at its own size.
const char kOffsetTriangleAtOrigin[] =
    "solid object0 \nfacet normal 0 -0 1 \nouter loop\nvertex 0 0 0 \nvertex 2 0 0 \nvertex 0 2 0 \n"
    "endloop\nendfacet\nendsolid object0 \n";

}  // namespace

TEST_F(OmbrelCliTest, HelpPrintsUsageAndSucceeds) {
    CommandResult result = ombrel({"--help"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_NE(result.out.find("Usage: ombrel"), std::string::npos);
}

TEST_F(OmbrelCliTest, VersionPrintsTheVersion) {
    CommandResult result = ombrel({"--version"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.out.rfind("ombrel ", 0), 0u);
}

TEST_F(OmbrelCliTest, UnknownCommandIsAUsageError) {
    CommandResult result = ombrel({"explode"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_NE(result.err.find("unknown command"), std::string::npos);
}

TEST_F(OmbrelCliTest, ExportWithoutHeightKeepsTheSceneSize) {
    const std::string input = triangleFile("t.vek", kOffsetTriangle);
    CommandResult result = ombrel({"export", "--ascii", "-o", "out.stl", input});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(readFileText(dir.file("out.stl")), kOffsetTriangleAtOrigin);
    EXPECT_NE(result.out.find("1 triangles"), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("written box (0, 0, 0) to (2, 2, 0)"), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("scale 1"), std::string::npos) << result.out;
}

TEST_F(OmbrelCliTest, ExportScalesToTheGivenHeight) {
    const std::string input = triangleFile("t.vek", kOffsetTriangle);
    CommandResult result = ombrel({"export", "-o", "out.stl", "--height", "10", input});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    const std::vector<unsigned char> bytes = readFileBytes(dir.file("out.stl"));
    ASSERT_EQ(bytes.size(), 134u);
    EXPECT_NE(result.out.find("written box (0, 0, 0) to (10, 10, 0)"), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("scale 5"), std::string::npos) << result.out;
}

TEST_F(OmbrelCliTest, RelativeOutputLandsWhereTheUserMeant) {
    const std::string input = triangleFile("t.vek", kOffsetTriangle);
    std::filesystem::create_directory(dir.file("sub"));
    CommandResult result = ombrel({"export", "--ascii", "-o", "sub/out.stl", "t.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(readFileText(dir.file("sub/out.stl")), kOffsetTriangleAtOrigin);
}

TEST_F(OmbrelCliTest, PathsWithAColonWork) {
    std::filesystem::create_directory(dir.file("a:b"));
    triangleFile("a:b/t.vek", kOffsetTriangle);
    CommandResult result = ombrel({"export", "--ascii", "-o", "a:b/out:1.stl", "a:b/t.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(readFileText(dir.file("a:b/out:1.stl")), kOffsetTriangleAtOrigin);
}

TEST_F(OmbrelCliTest, MissingInputFailsWithOneLine) {
    CommandResult result = ombrel({"export", "-o", "out.stl", "missing.vek"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.err, "ombrel: missing.vek: no such file\n");
    EXPECT_FALSE(pathExists(dir.file("out.stl")));
}

TEST_F(OmbrelCliTest, NonVekInputFails) {
    writeFileText(dir.file("notes.txt"), "hello, this is not a mesh file at all....");
    CommandResult result = ombrel({"export", "-o", "out.stl", "notes.txt"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.err, "ombrel: notes.txt: not a Vek file\n");
}

TEST_F(OmbrelCliTest, DirectoryInputFails) {
    CommandResult result = ombrel({"export", "-o", "out.stl", "."});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.err, "ombrel: .: not a regular file\n");
}

TEST_F(OmbrelCliTest, OutputInMissingDirectoryFails) {
    const std::string input = triangleFile("t.vek", kOffsetTriangle);
    CommandResult result = ombrel({"export", "-o", "nowhere/out.stl", input});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_NE(result.err.find("no such directory"), std::string::npos) << result.err;
    EXPECT_EQ(result.err.find('\n'), result.err.size() - 1);
}

TEST_F(OmbrelCliTest, MissingOutputOptionIsAUsageError) {
    const std::string input = triangleFile("t.vek", kOffsetTriangle);
    CommandResult result = ombrel({"export", input});
    EXPECT_EQ(result.exitStatus, 2);
}

TEST_F(OmbrelCliTest, BadHeightIsAUsageError) {
    const std::string input = triangleFile("t.vek", kOffsetTriangle);
    CommandResult result = ombrel({"export", "-o", "o.stl", "--height", "tall", input});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.err, "ombrel: --height needs a number, not 'tall'\n");
}

TEST_F(OmbrelCliTest, InfoListsTheBlocks) {
    const std::string input = triangleFile("t.vek", kOffsetTriangle);
    CommandResult result = ombrel({"info", input});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_NE(result.out.find("Points"), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("Face4"), std::string::npos) << result.out;
}

TEST_F(OmbrelCliTest, InfoOnNonVekFileFails) {
    writeFileText(dir.file("x.vek"), "nope");
    CommandResult result = ombrel({"info", "x.vek"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.err.rfind("ombrel: x.vek: ", 0), 0u) << result.err;
}

TEST_F(OmbrelCliTest, DemoWritesBinaryAndAsciiFiles) {
    CommandResult result = ombrel({"demo", "-o", "demo"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    const std::vector<unsigned char> binary = readFileBytes(dir.file("demo/sample-binary.stl"));
    ASSERT_GT(binary.size(), 84u);
    std::uint32_t count = 0;
    std::memcpy(&count, binary.data() + 80, 4);
    EXPECT_EQ(binary.size(), 84u + 50u * count);
    const std::string ascii = readFileText(dir.file("demo/sample-ascii.stl"));
    EXPECT_EQ(ascii.rfind("solid object0 \n", 0), 0u);
    EXPECT_NE(result.out.find("sample-binary.stl"), std::string::npos);
    EXPECT_NE(result.out.find("sample-ascii.stl"), std::string::npos);
}

TEST_F(OmbrelCliTest, NoProgressWhenStderrIsNotATerminal) {
    const std::string input = triangleFile("t.vek", kOffsetTriangle);
    CommandResult result = ombrel({"export", "-o", "out.stl", input});
    ASSERT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.err, "");
}

TEST_F(OmbrelCliTest, ProgressOnATerminalNamesEachFile) {
    const std::string a = triangleFile("a.vek", kOffsetTriangle);
    const std::string b = triangleFile("b.vek", kOffsetTriangle);
    // script(1) runs the tool on a pseudo-terminal and copies what it shows.
    const std::string command = std::string(OMBREL_TOOL_PATH) + " export -o " + dir.file("out.stl") + " " + a + " " + b;
    CommandResult result = runCommand("/usr/bin/script", {"-qec", command, "/dev/null"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_NE(result.out.find("file 1 of 2 (1 faces)"), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("file 2 of 2 (1 faces)"), std::string::npos) << result.out;
}

TEST_F(OmbrelCliTest, WrlOutputIsVrmlWithTextureAndColours) {
    writeVekFile(dir.file("c.vek"), [](vekgen::VekWriter& w) {
        w.points(kOffsetTriangle);
        w.face4(std::vector<vekgen::Face4>{{0, 1, 2, -1}});
        w.mrgb(std::vector<std::uint32_t>{0x00FF0000u, 0x0000FF00u, 0x000000FFu});
        w.endBlock();
    });
    CommandResult result = ombrel({"export", "-o", "out.wrl", "--colors", "--texture", "c.vek=skin.png", "c.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(readFileText(dir.file("out.wrl")),
              "#VRML V2.0 utf8\n\n#Created by Kelvra VRML exporter\n\n\n"
              "\nShape { \n"
              "\n  appearance Appearance { \n    texture ImageTexture { \n      url \"skin.png\" \n"
              "      repeatS TRUE \n      repeatT TRUE \n    } \n  } \n"
              "\n  geometry IndexedFaceSet { \n"
              "    coord Coordinate { \n"
              "      point [ 0.000000 0.000000 0.000000,\n"
              "         2.000000 0.000000 0.000000,\n"
              "         0.000000 2.000000 0.000000]\n"
              "    }\n"
              "    coordIndex [ 0, 1, 2]\n"
              "\n    colorPerVertex TRUE \n    color Color {\n      color [\n"
              "        1.000000 0.000000 0.000000, \n"
              "        0.000000 1.000000 0.000000, \n"
              "        0.000000 0.000000 1.000000] \n"
              "    }\n"
              "  } \n} \n");
    EXPECT_NE(result.out.find("VRML: "), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("1 shapes"), std::string::npos) << result.out;
}

TEST_F(OmbrelCliTest, StlFlagWinsOverTheWrlExtension) {
    const std::string input = triangleFile("t.vek", kOffsetTriangle);
    CommandResult result = ombrel({"export", "--stl", "--ascii", "-o", "out.wrl", input});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(readFileText(dir.file("out.wrl")), kOffsetTriangleAtOrigin);
}

TEST_F(OmbrelCliTest, VrmlFlagWinsOverTheStlExtension) {
    const std::string input = triangleFile("t.vek", kOffsetTriangle);
    CommandResult result = ombrel({"export", "--vrml", "-o", "out.stl", input});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(readFileText(dir.file("out.stl")).rfind("#VRML V2.0 utf8\n", 0), 0u);
}

TEST_F(OmbrelCliTest, MalformedTextureOptionIsAUsageError) {
    const std::string input = triangleFile("t.vek", kOffsetTriangle);
    CommandResult result = ombrel({"export", "-o", "out.wrl", "--texture", "skin.png", input});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.err, "ombrel: --texture needs FILE.vek=NAME, not 'skin.png'\n");
}

TEST_F(OmbrelCliTest, BBoxPrintsEachFileAndTheUnion) {
    triangleFile("a.vek", kOffsetTriangle);
    triangleFile("b.vek", {{-1, 0, 0}, {0, 1, 0}, {0, 0, 9}});
    CommandResult result = ombrel({"bbox", "a.vek", "b.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(result.out,
              "a.vek: (2, 3, 4) to (4, 5, 4)\n"
              "b.vek: (-1, 0, 0) to (0, 1, 9)\n"
              "union: (-1, 0, 0) to (4, 5, 9)\n");
}

TEST_F(OmbrelCliTest, BBoxNeedsPointsFirst) {
    writeVekFile(dir.file("f.vek"), [](vekgen::VekWriter& w) {
        w.face4(std::vector<vekgen::Face4>{{0, 1, 2, -1}});
        w.points(kOffsetTriangle);
        w.endBlock();
    });
    CommandResult result = ombrel({"bbox", "f.vek"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.err, "ombrel: f.vek: no readable Points block at the start of the file\n");
}

TEST_F(OmbrelCliTest, DemoAlsoWritesColouredVrml) {
    CommandResult result = ombrel({"demo", "-o", "demo"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    const std::string vrml = readFileText(dir.file("demo/sample-colours.wrl"));
    EXPECT_EQ(vrml.rfind("#VRML V2.0 utf8\n", 0), 0u);
    EXPECT_NE(vrml.find("    colorPerVertex TRUE \n"), std::string::npos);
    EXPECT_NE(result.out.find("3 shapes"), std::string::npos) << result.out;
}
