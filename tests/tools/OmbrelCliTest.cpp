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
