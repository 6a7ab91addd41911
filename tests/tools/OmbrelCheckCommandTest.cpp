// `ombrel check`: what a printing user learns before exporting.
#include "RunCommand.h"
#include "TestFiles.h"
#include "VekTestFiles.h"

#include <gtest/gtest.h>

namespace {

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// A unit cube of six quads at height `y` (the host's up axis), faces outwards;
// without its top when `open`.
void cubeFile(const std::string& path, float y, bool open = false) {
    writeVekFile(path, [&](vekgen::VekWriter& w) {
        std::vector<vekgen::Point3> points;
        for (int i = 0; i < 8; ++i) points.push_back({float(i & 1), y + float((i >> 1) & 1), float((i >> 2) & 1)});
        std::vector<vekgen::Face4> faces = {{0, 1, 5, 4}, {0, 2, 3, 1}, {4, 5, 7, 6},
                                            {0, 4, 6, 2}, {1, 3, 7, 5}, {2, 6, 7, 3}};
        if (open) faces.pop_back();
        w.points(points);
        w.face4(faces);
        w.endBlock();
    });
}

class OmbrelCheckCommandTest : public ::testing::Test {
protected:
    CommandResult ombrel(const std::vector<std::string>& arguments) {
        return runCommand(OMBREL_TOOL_PATH, arguments, dir.path());
    }
    TempDir dir;
};

}  // namespace

TEST_F(OmbrelCheckCommandTest, AClosedCubeIsWatertightAndWritesNothing) {
    cubeFile(dir.file("cube.vek"), 0.0f);
    const CommandResult result = ombrel({"check", "--height", "10", "cube.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out,
              "Print check: 1 Vek file, 12 triangles, Z up\n"
              "  size 10 x 10 x 10 mm (x, y, z)\n"
              "  verdict: watertight and manifold\n"
              "  triangles 12, 0 degenerate\n"
              "  shells 1, 1 closed, 0 floating\n"
              "  edges 0 open, 0 non-manifold, 0 flipped\n"
              "  volume 1000 mm^3, surface area 600 mm^2\n"
              "  cube.vek: watertight and manifold\n"
              "    1 shell, 0 open edges, 0 non-manifold edges, 0 flipped edges, volume 1000 mm^3\n");
    EXPECT_EQ(directoryEntries(dir.path()), std::vector<std::string>{"cube.vek"});
}

TEST_F(OmbrelCheckCommandTest, AHoleAndAFloatingPartAreNamed) {
    cubeFile(dir.file("open.vek"), 0.0f, true);
    cubeFile(dir.file("high.vek"), 5.0f);
    const CommandResult result = ombrel({"check", "open.vek", "high.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_TRUE(contains(result.out,
                         "  verdict: not watertight: 4 open edges (1 of 2 shells closed); 1 shell floats above the "
                         "build plate\n"))
        << result.out;
    EXPECT_TRUE(contains(result.out, "  high.vek: watertight and manifold; 1 shell floats above the build plate\n"));
}

TEST_F(OmbrelCheckCommandTest, StrictFailsUnlessItWillPrint) {
    cubeFile(dir.file("open.vek"), 0.0f, true);
    cubeFile(dir.file("cube.vek"), 0.0f);
    EXPECT_EQ(ombrel({"check", "--strict", "open.vek"}).exitStatus, 1);
    EXPECT_EQ(ombrel({"check", "--strict", "cube.vek"}).exitStatus, 0);
}

TEST_F(OmbrelCheckCommandTest, TheUpAxisDecidesWhatFloats) {
    cubeFile(dir.file("high.vek"), 5.0f);  // raised along Y
    cubeFile(dir.file("cube.vek"), 0.0f);
    EXPECT_TRUE(contains(ombrel({"check", "--up", "y", "cube.vek", "high.vek"}).out, "1 shell floats"));
    EXPECT_TRUE(contains(ombrel({"check", "cube.vek", "high.vek"}).out, "1 shell floats"));
    EXPECT_FALSE(contains(ombrel({"check", "--up=z", "high.vek"}).out, "floats"));
}

TEST_F(OmbrelCheckCommandTest, InputErrorsAndUsageErrors) {
    CommandResult result = ombrel({"check", "missing.vek"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.err, "ombrel: missing.vek: cannot read: No such file or directory\n");
    result = ombrel({"check"});
    EXPECT_EQ(result.exitStatus, 2);
    cubeFile(dir.file("cube.vek"), 0.0f);
    EXPECT_EQ(ombrel({"check", "--height", "0", "cube.vek"}).exitStatus, 2);
    EXPECT_EQ(ombrel({"check", "--up", "x", "cube.vek"}).exitStatus, 2);
}

TEST_F(OmbrelCheckCommandTest, TheSampleSceneWillPrint) {
    std::vector<std::string> arguments = {"check", "--strict", "--height", "100"};
    for (const char* name : {"base.vek", "head.vek", "torso.vek"})
        arguments.push_back(std::string(OMBREL_SOURCE_DIR) + "/samples/" + name);
    const CommandResult result = ombrel(arguments);
    EXPECT_EQ(result.exitStatus, 0) << result.out << result.err;
    EXPECT_TRUE(contains(result.out, "  verdict: watertight and manifold\n")) << result.out;
}
