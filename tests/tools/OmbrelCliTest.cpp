#include "ChildProcess.h"
#include "RunCommand.h"
#include "TestFiles.h"
#include "VekTestFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <functional>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using Points = std::vector<vekgen::Point3>;
using Names = std::vector<std::string>;

const std::string kSampleDir = std::string(OMBREL_SOURCE_DIR) + "/samples";
const std::vector<std::string> kSampleFiles = {"base.vek", "head.vek", "torso.vek"};

// The report's lines for the sample scene's files, for any STL export of it.
const char kSampleFileLines[] =
    "  base.vek: 954 points, 1000 faces, 1900 triangles written\n"
    "  head.vek: 1440 points, 1500 faces, 2850 triangles written\n"
    "  torso.vek: 1159 points, 1200 faces, 2280 triangles written\n";

class OmbrelCliTest : public ::testing::Test {
protected:
    CommandResult ombrel(const std::vector<std::string>& arguments, const std::string& cwd = {}) {
        return runCommand(OMBREL_TOOL_PATH, arguments, cwd.empty() ? dir.path() : cwd);
    }
    // Exports the sample scene, named as in samples/, into `output` (in dir).
    CommandResult exportSample(const std::string& output, std::vector<std::string> options = {}) {
        std::vector<std::string> arguments = {"export", "-o", dir.file(output)};
        arguments.insert(arguments.end(), options.begin(), options.end());
        arguments.insert(arguments.end(), kSampleFiles.begin(), kSampleFiles.end());
        return ombrel(arguments, kSampleDir);
    }
    // Runs the tool in dir from a child process that `prepare` sets up first
    // (a file size limit, another user): its exit status and stderr.
    CommandResult ombrelInChild(const std::function<bool()>& prepare, const std::vector<std::string>& arguments) {
        int fds[2];
        if (pipe(fds) != 0) return {};
        CommandResult result;
        result.exitStatus = runInChildProcess([&] {
            close(fds[0]);
            if (!prepare()) return 125;
            const CommandResult child = ombrel(arguments);
            if (write(fds[1], child.err.data(), child.err.size()) != static_cast<ssize_t>(child.err.size())) return 124;
            return child.exitStatus < 0 ? 123 : child.exitStatus;
        });
        close(fds[1]);
        char buffer[4096];
        for (ssize_t n; (n = read(fds[0], buffer, sizeof buffer)) > 0;) result.err.append(buffer, std::size_t(n));
        close(fds[0]);
        return result;
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

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// The lowest and highest coordinate along `axis` of a binary STL's vertices.
std::pair<float, float> stlExtent(const std::vector<unsigned char>& bytes, int axis) {
    float low = 1e30f, high = -1e30f;
    for (std::size_t at = 84; at + 50 <= bytes.size(); at += 50) {
        for (int corner = 1; corner <= 3; ++corner) {
            float value = 0;
            std::memcpy(&value, bytes.data() + at + 12 * corner + 4 * axis, 4);
            low = std::min(low, value);
            high = std::max(high, value);
        }
    }
    return {low, high};
}

}  // namespace

TEST_F(OmbrelCliTest, HelpPrintsUsageAndSucceeds) {
    CommandResult result = ombrel({"--help"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_TRUE(contains(result.out, "Usage: ombrel"));
}

TEST_F(OmbrelCliTest, VersionPrintsTheVersion) {
    CommandResult result = ombrel({"--version"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.out.rfind("ombrel ", 0), 0u);
}

TEST_F(OmbrelCliTest, UnknownCommandIsAUsageError) {
    CommandResult result = ombrel({"explode"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_TRUE(contains(result.err, "unknown command"));
}

// --- what an export prints

TEST_F(OmbrelCliTest, ExportWithoutHeightKeepsTheSceneSize) {
    triangleFile("t.vek", kOffsetTriangle);
    CommandResult result = ombrel({"export", "--ascii", "-o", "out.stl", "t.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(readFileText(dir.file("out.stl")), kOffsetTriangleAtOrigin);
    EXPECT_EQ(result.out, "ASCII STL: " + dir.file("out.stl") +
                              "\n"
                              "  1 triangle, 124 bytes, from 1 Vek file\n"
                              "  scene box (2, 3, 4) to (4, 5, 4)\n"
                              "  written box (0, 0, 0) to (2, 2, 0)\n"
                              "  height 2 along y, scale 1\n"
                              "  size along x, y, z: 2, 2, 0\n"
                              "  t.vek: 3 points, 1 face, 1 triangle written\n");
    EXPECT_EQ(result.err, "");
}

TEST_F(OmbrelCliTest, ExportScalesToTheGivenHeight) {
    const std::string input = triangleFile("t.vek", kOffsetTriangle);
    CommandResult result = ombrel({"export", "-o", "out.stl", "--height", "10", input});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(readFileBytes(dir.file("out.stl")).size(), 134u);
    EXPECT_TRUE(contains(result.out, "  1 triangle, 134 bytes, from 1 Vek file\n")) << result.out;
    EXPECT_TRUE(contains(result.out, "  written box (0, 0, 0) to (10, 10, 0)\n")) << result.out;
    EXPECT_TRUE(contains(result.out, "  height 10 along y, scale 5\n")) << result.out;
    EXPECT_TRUE(contains(result.out, "  size along x, y, z: 10, 10, 0\n")) << result.out;
}

TEST_F(OmbrelCliTest, SampleSceneSummaryAtAnyHeight) {
    for (const std::string height : {"1", "100", "1000"}) {
        CommandResult result = exportSample("out.stl", {"--height", height});
        ASSERT_EQ(result.exitStatus, 0) << result.err;
        EXPECT_EQ(result.out.rfind("Binary STL: " + dir.file("out.stl") +
                                       "\n"
                                       "  7030 triangles, 351584 bytes, from 3 Vek files\n"
                                       "  scene box (-1.34657, 0.00104987, -1.34652) to (1.65, 4.7, 1.31153)\n",
                                   0),
                  0u)
            << result.out;
        EXPECT_TRUE(contains(result.out, "  height " + height + " along y, scale ")) << result.out;
        EXPECT_TRUE(contains(result.out, kSampleFileLines)) << result.out;
    }
}

TEST_F(OmbrelCliTest, SampleSceneSummaryGivesScaleAndSize) {
    CommandResult result = exportSample("out.stl", {"--height", "100"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_TRUE(contains(result.out, "  height 100 along y, scale 21.2814\n"
                                     "  size along x, y, z: 63.7712, 100, 56.5669\n"))
        << result.out;
}

TEST_F(OmbrelCliTest, ZUpPutsTheHeightAlongZ) {
    CommandResult result = exportSample("out.stl", {"--up", "z", "--height", "50"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_TRUE(contains(result.out, " to (31.8856, 28.2834, 50)\n"
                                     "  height 50 along z, scale 10.6407\n"
                                     "  size along x, y, z: 31.8856, 28.2834, 50\n"))
        << result.out;
    EXPECT_TRUE(contains(result.out, kSampleFileLines)) << result.out;
    const auto [low, high] = stlExtent(readFileBytes(dir.file("out.stl")), 2);
    EXPECT_NEAR(high - low, 50.0f, 1e-4f);
}

TEST_F(OmbrelCliTest, UpAxisMustBeYOrZ) {
    const std::string input = triangleFile("t.vek", kOffsetTriangle);
    CommandResult result = ombrel({"export", "-o", "out.stl", "--up", "x", input});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.err, "ombrel: --up needs y or z, not 'x'\n");
}

TEST_F(OmbrelCliTest, AnEmptySceneSaysSo) {
    writeVekFile(dir.file("e.vek"), [](vekgen::VekWriter& w) { w.endBlock(); });
    CommandResult result = ombrel({"export", "-o", "out.stl", "e.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(result.out, "Binary STL: " + dir.file("out.stl") +
                              "\n"
                              "  0 triangles, 84 bytes, from 1 Vek file\n"
                              "  the scene holds no points\n"
                              "  e.vek: 0 points, 0 faces, 0 triangles written\n");
}

TEST_F(OmbrelCliTest, ATruncatedVekFileIsExportedWithAWarning) {
    std::vector<unsigned char> bytes = readFileBytes(kSampleDir + "/head.vek");
    bytes.resize(30000);  // inside the Face4 block, whose body needs 24,000 bytes from offset 17,344
    writeFileBytes(dir.file("cut.vek"), bytes);
    CommandResult result = ombrel({"export", "-o", "out.stl", "cut.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(result.err,
              "ombrel: warning: cut.vek: Face4 block: the block ends early; 709 faces missing, read as zeros\n");
    EXPECT_TRUE(contains(result.out, "  cut.vek: 1440 points, 1500 faces, 2922 triangles written\n")) << result.out;
}

TEST_F(OmbrelCliTest, FacesNamingMissingPointsAreCountedAndWarnedAbout) {
    writeVekFile(dir.file("f.vek"), [](vekgen::VekWriter& w) {
        w.points(kOffsetTriangle);
        w.face4(std::vector<vekgen::Face4>{{0, 1, 2, -1}, {0, 1, 7, -1}});
        w.endBlock();
    });
    CommandResult result = ombrel({"export", "-o", "out.stl", "f.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(result.err, "ombrel: warning: f.vek: Face4 block: 1 face names a point that does not exist; left out\n");
    EXPECT_TRUE(contains(result.out, "  f.vek: 3 points, 2 faces, 1 triangle written, 1 face skipped\n"))
        << result.out;
}

TEST_F(OmbrelCliTest, RelativeOutputLandsWhereTheUserMeant) {
    triangleFile("t.vek", kOffsetTriangle);
    std::filesystem::create_directory(dir.file("sub"));
    CommandResult result = ombrel({"export", "--ascii", "-o", "sub/out.stl", "t.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(readFileText(dir.file("sub/out.stl")), kOffsetTriangleAtOrigin);
    EXPECT_EQ(result.out.rfind("ASCII STL: " + dir.file("sub/out.stl") + "\n", 0), 0u) << result.out;
}

TEST_F(OmbrelCliTest, PathsWithAColonWork) {
    std::filesystem::create_directory(dir.file("a:b"));
    triangleFile("a:b/t.vek", kOffsetTriangle);
    CommandResult result = ombrel({"export", "--ascii", "-o", "a:b/out:1.stl", "a:b/t.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(readFileText(dir.file("a:b/out:1.stl")), kOffsetTriangleAtOrigin);
}

// --- failures: exit 1 with the reason, exit 2 for usage

TEST_F(OmbrelCliTest, MissingInputFailsWithTheSystemsReason) {
    CommandResult result = ombrel({"export", "-o", "out.stl", "missing.vek"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.err, "ombrel: missing.vek: cannot read: No such file or directory\n");
    EXPECT_EQ(result.out, "");
    EXPECT_FALSE(pathExists(dir.file("out.stl")));
}

TEST_F(OmbrelCliTest, NonVekInputFails) {
    writeFileText(dir.file("notes.txt"), "hello, this is not a mesh file at all....");
    CommandResult result = ombrel({"export", "-o", "out.stl", "notes.txt"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.err, "ombrel: notes.txt: not a Vek file: no Vek file header\n");
    EXPECT_FALSE(pathExists(dir.file("out.stl")));
}

TEST_F(OmbrelCliTest, DirectoryInputFails) {
    CommandResult result = ombrel({"export", "-o", "out.stl", "."});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.err, "ombrel: .: cannot read: Is a directory\n");
}

TEST_F(OmbrelCliTest, OutputInMissingDirectoryFails) {
    triangleFile("t.vek", kOffsetTriangle);
    CommandResult result = ombrel({"export", "-o", "nowhere/out.stl", "t.vek"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.err, "ombrel: nowhere/out.stl: cannot write: No such file or directory\n");
}

TEST_F(OmbrelCliTest, DirectoryAsOutputFails) {
    triangleFile("t.vek", kOffsetTriangle);
    std::filesystem::create_directory(dir.file("sub"));
    CommandResult result = ombrel({"export", "-o", "sub", "t.vek"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.err, "ombrel: sub: cannot write: Is a directory\n");
    EXPECT_EQ(directoryEntries(dir.file("sub")), Names{});
}

TEST_F(OmbrelCliTest, UnwritableOutputDirectoryFailsAndKeepsThePreviousFile) {
    triangleFile("t.vek", kOffsetTriangle);
    const std::string folder = dir.file("readonly");
    std::filesystem::create_directory(folder);
    writeFileText(folder + "/out.stl", "previous");
    chmod(dir.path().c_str(), 0755);
    chmod((folder + "/out.stl").c_str(), 0666);
    chmod(folder.c_str(), 0555);
    CommandResult result = ombrelInChild(dropRootPrivileges, {"export", "-o", "readonly/out.stl", "t.vek"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.err, "ombrel: readonly/out.stl: cannot write: Permission denied\n");
    EXPECT_EQ(readFileText(folder + "/out.stl"), "previous");
    EXPECT_EQ(directoryEntries(folder), Names{"out.stl"});
}

// The sample's binary STL (351,584 bytes) cannot fit under a 64 KiB file
// size limit, which fails the write as a full disk does.
TEST_F(OmbrelCliTest, AFullDiskFailsAndKeepsThePreviousFile) {
    for (const std::string& name : kSampleFiles)
        std::filesystem::copy_file(kSampleDir + "/" + name, dir.file(name));
    writeFileText(dir.file("out.stl"), "previous");
    std::vector<std::string> arguments = {"export", "-o", "out.stl"};
    arguments.insert(arguments.end(), kSampleFiles.begin(), kSampleFiles.end());
    CommandResult result = ombrelInChild([] { return limitFileSize(64 * 1024); }, arguments);
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.err, "ombrel: out.stl: write failed: File too large\n");
    EXPECT_EQ(readFileText(dir.file("out.stl")), "previous");
    EXPECT_EQ(directoryEntries(dir.path()), (Names{"base.vek", "head.vek", "out.stl", "torso.vek"}));
}

TEST_F(OmbrelCliTest, AFullDiskFailsAndLeavesNoFile) {
    for (const std::string& name : kSampleFiles)
        std::filesystem::copy_file(kSampleDir + "/" + name, dir.file(name));
    std::vector<std::string> arguments = {"export", "--ascii", "-o", "out.stl"};
    arguments.insert(arguments.end(), kSampleFiles.begin(), kSampleFiles.end());
    CommandResult result = ombrelInChild([] { return limitFileSize(64 * 1024); }, arguments);
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.err, "ombrel: out.stl: write failed: File too large\n");
    EXPECT_EQ(directoryEntries(dir.path()), (Names{"base.vek", "head.vek", "torso.vek"}));
}

TEST_F(OmbrelCliTest, MissingOutputOptionIsAUsageError) {
    const std::string input = triangleFile("t.vek", kOffsetTriangle);
    CommandResult result = ombrel({"export", input});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.err, "ombrel: export needs -o OUTPUT\n");
}

TEST_F(OmbrelCliTest, NoInputIsAUsageError) {
    CommandResult result = ombrel({"export", "-o", "out.stl"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.err, "ombrel: no input file given\n");
}

TEST_F(OmbrelCliTest, BadHeightIsAUsageError) {
    const std::string input = triangleFile("t.vek", kOffsetTriangle);
    CommandResult result = ombrel({"export", "-o", "o.stl", "--height", "tall", input});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.err, "ombrel: --height needs a number, not 'tall'\n");
}

TEST_F(OmbrelCliTest, HeightsThatAreNotPositiveOrTooLargeAreUsageErrors) {
    triangleFile("t.vek", kOffsetTriangle);
    for (const std::string height : {"0", "-5", "nan", "inf", "1e40"}) {
        CommandResult result = ombrel({"export", "-o", "o.stl", "--height", height, "t.vek"});
        EXPECT_EQ(result.exitStatus, 2) << height;
        EXPECT_EQ(result.err, "ombrel: the height must be a positive number no larger than 3.4e38\n") << height;
        EXPECT_FALSE(pathExists(dir.file("o.stl"))) << height;
    }
}

// --- progress

TEST_F(OmbrelCliTest, NoProgressWhenStderrIsNotATerminal) {
    const std::string input = triangleFile("t.vek", kOffsetTriangle);
    CommandResult result = ombrel({"export", "-o", "out.stl", input});
    ASSERT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.err, "");
}

TEST_F(OmbrelCliTest, ProgressOnATerminalShowsBothPhases) {
    const std::string a = triangleFile("a.vek", kOffsetTriangle);
    const std::string b = triangleFile("b.vek", kOffsetTriangle);
    // script(1) runs the tool on a pseudo-terminal and copies what it shows.
    const std::string command = std::string(OMBREL_TOOL_PATH) + " export -o " + dir.file("out.stl") + " " + a + " " + b;
    CommandResult result = runCommand("/usr/bin/script", {"-qec", command, "/dev/null"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_TRUE(contains(result.out, "\r\033[Kombrel: binary STL: measuring the scene (file 1 of 2)"
                                     "\r\033[Kombrel: binary STL: measuring the scene (file 2 of 2)"
                                     "\r\033[Kombrel: binary STL: writing file 1 of 2, 0%"))
        << result.out;
    EXPECT_TRUE(contains(result.out, "\r\033[Kombrel: binary STL: writing file 2 of 2, 100%\r\033[KBinary STL: "))
        << result.out;
}

TEST_F(OmbrelCliTest, ProgressRedrawsOnlyWhenTheTextChanges) {
    const std::string command = std::string(OMBREL_TOOL_PATH) + " export -o " + dir.file("out.stl") + " " +
                                kSampleDir + "/head.vek " + kSampleDir + "/torso.vek";
    CommandResult result = runCommand("/usr/bin/script", {"-qec", command, "/dev/null"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    std::vector<std::string> shown;
    for (std::size_t at = result.out.find("\r\033[K"); at != std::string::npos;) {
        const std::size_t next = result.out.find("\r\033[K", at + 1);
        shown.push_back(result.out.substr(at + 4, next == std::string::npos ? std::string::npos : next - at - 4));
        at = next;
    }
    ASSERT_GE(shown.size(), 4u) << result.out;
    EXPECT_EQ(std::adjacent_find(shown.begin(), shown.end()), shown.end()) << result.out;
}

// --- VRML and format choice

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
    const std::size_t bytes = readFileBytes(dir.file("out.wrl")).size();
    EXPECT_EQ(result.out, "VRML: " + dir.file("out.wrl") + "\n  1 shape, " + std::to_string(bytes) +
                              " bytes, from 1 Vek file, with vertex colours\n"
                              "  scene box (2, 3, 4) to (4, 5, 4)\n"
                              "  written box (0, 0, 0) to (2, 2, 0)\n"
                              "  height 2 along y, scale 1\n"
                              "  size along x, y, z: 2, 2, 0\n"
                              "  c.vek: 3 points, 1 face\n");
}

TEST_F(OmbrelCliTest, TextureIsFoundByTheAbsolutePathToo) {
    triangleFile("t.vek", kOffsetTriangle);
    CommandResult result =
        ombrel({"export", "-o", "out.wrl", "--texture", dir.file("t.vek") + "=skin.png", "./t.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_TRUE(contains(readFileText(dir.file("out.wrl")), "      url \"skin.png\" \n"));
}

TEST_F(OmbrelCliTest, VrmlStaysYUp) {
    triangleFile("t.vek", kOffsetTriangle);
    CommandResult result = ombrel({"export", "-o", "out.wrl", "--up", "z", "--height", "4", "t.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_TRUE(contains(result.out, "  height 4 along y, scale 2\n")) << result.out;
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

// --- info, bbox, demo

TEST_F(OmbrelCliTest, InfoListsTheBlocks) {
    const std::string input = triangleFile("t.vek", kOffsetTriangle);
    CommandResult result = ombrel({"info", input});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_TRUE(contains(result.out, "Points")) << result.out;
    EXPECT_TRUE(contains(result.out, "Face4")) << result.out;
}

TEST_F(OmbrelCliTest, InfoOnNonVekFileFails) {
    writeFileText(dir.file("x.vek"), "nope");
    CommandResult result = ombrel({"info", "x.vek"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.err.rfind("ombrel: x.vek: ", 0), 0u) << result.err;
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

TEST_F(OmbrelCliTest, BBoxSaysWhyAFileCannotBeUsed) {
    triangleFile("a.vek", kOffsetTriangle);
    writeFileText(dir.file("x.vek"), "nope");
    CommandResult result = ombrel({"bbox", "missing.vek", "x.vek", "a.vek"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.err,
              "ombrel: missing.vek: cannot read: No such file or directory\n"
              "ombrel: x.vek: not a Vek file: too short for a Vek file header\n");
    EXPECT_EQ(result.out,
              "a.vek: (2, 3, 4) to (4, 5, 4)\n"
              "union: (2, 3, 4) to (4, 5, 4)\n");
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
    EXPECT_TRUE(contains(result.out, "Binary STL: " + dir.file("demo/sample-binary.stl") +
                                         "\n  7030 triangles, 351584 bytes, from 3 Vek files\n"))
        << result.out;
    EXPECT_TRUE(contains(result.out, "ASCII STL: " + dir.file("demo/sample-ascii.stl") +
                                         "\n  7030 triangles, 1165955 bytes, from 3 Vek files\n"))
        << result.out;
    EXPECT_TRUE(contains(result.out, kSampleFileLines)) << result.out;
}

TEST_F(OmbrelCliTest, DemoAlsoWritesColouredVrml) {
    CommandResult result = ombrel({"demo", "-o", "demo"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    const std::string vrml = readFileText(dir.file("demo/sample-colours.wrl"));
    EXPECT_EQ(vrml.rfind("#VRML V2.0 utf8\n", 0), 0u);
    EXPECT_TRUE(contains(vrml, "    colorPerVertex TRUE \n"));
    EXPECT_TRUE(contains(result.out, "VRML: " + dir.file("demo/sample-colours.wrl") +
                                         "\n  3 shapes, " + std::to_string(vrml.size()) +
                                         " bytes, from 3 Vek files, with vertex colours\n"))
        << result.out;
    EXPECT_TRUE(contains(result.out, "  base.vek: 954 points, 1000 faces\n"
                                     "  head.vek: 1440 points, 1500 faces\n"
                                     "  torso.vek: 1159 points, 1200 faces\n"))
        << result.out;
}
