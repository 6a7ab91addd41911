// The ombrel tool run as a user runs it: its files, what it prints, and its
// exit status. Figures of the sample scene are computed from its Vek files
// (with the project's own reader), so the tests follow the samples.
#include "ChildProcess.h"
#include "RunCommand.h"
#include "TestFiles.h"
#include "VekTestFiles.h"

#include "engine/OmbrelExport.h"
#include "tools/vekgen/VekMeshReader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <functional>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using Points = std::vector<vekgen::Point3>;
using Names = std::vector<std::string>;

const std::string kSampleDir = std::string(OMBREL_SOURCE_DIR) + "/samples";

// The sample scene's file names, sorted as the demo embeds them.
std::vector<std::string> sampleFileNames() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(kSampleDir))
        if (entry.path().extension() == ".vek") names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

const std::vector<std::string> kSampleFiles = sampleFileNames();

// What the sample scene holds, read from its files.
struct SampleScene {
    std::string fileLines;         // the verbose summary's per-file lines, for STL
    std::string vrmlFileLines;     // the same for VRML (no triangles written)
    std::uint64_t triangles = 0;   // a quad counts two
    std::array<double, 3> extent;  // max - min along x, y, z, as stored (Y up)
};

const SampleScene& sampleScene() {
    static const SampleScene scene = [] {
        SampleScene s;
        std::array<float, 3> low = {1e30f, 1e30f, 1e30f}, high = {-1e30f, -1e30f, -1e30f};
        for (const std::string& name : kSampleFiles) {
            const vekgen::MeshData mesh = vekgen::readVekMesh(kSampleDir + "/" + name);
            std::uint64_t triangles = 0;
            for (const vekgen::Face4& face : mesh.faces) triangles += face[3] == -1 ? 1 : 2;
            for (const vekgen::Point3& point : mesh.points)
                for (int axis = 0; axis < 3; ++axis) {
                    low[axis] = std::min(low[axis], point[axis]);
                    high[axis] = std::max(high[axis], point[axis]);
                }
            const std::string counts = "  " + name + ": " + std::to_string(mesh.points.size()) + " points, " +
                                       std::to_string(mesh.faces.size()) + " faces";
            s.fileLines += counts + ", " + std::to_string(triangles) + " triangles written\n";
            s.vrmlFileLines += counts + "\n";
            s.triangles += triangles;
        }
        for (int axis = 0; axis < 3; ++axis) s.extent[axis] = double(high[axis]) - double(low[axis]);
        return s;
    }();
    return scene;
}

// The size along x, y and z the sample scene has in a Z-up file of that height.
std::array<double, 3> sampleSizeZUp(double height) {
    const std::array<double, 3>& e = sampleScene().extent;
    const double scale = height / e[1];
    return {e[0] * scale, e[2] * scale, height};
}

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// The numbers of the summary's "  size X x Y x Z mm (x, y, z)" line (the
// first one when several exports printed), or NaNs.
std::array<double, 3> summarySize(const std::string& summary) {
    std::array<double, 3> size = {std::nan(""), std::nan(""), std::nan("")};
    const std::size_t at = summary.find("\n  size ");
    if (at != std::string::npos)
        std::sscanf(summary.c_str() + at, "\n  size %lf x %lf x %lf mm", &size[0], &size[1], &size[2]);
    return size;
}

void expectSize(const std::string& summary, const std::array<double, 3>& expected) {
    const std::array<double, 3> size = summarySize(summary);
    for (int axis = 0; axis < 3; ++axis)
        EXPECT_NEAR(size[axis], expected[axis], 1e-4 * std::max(1.0, expected[axis])) << "axis " << axis << "\n"
                                                                                      << summary;
}

// The engine's report on a scene, with no file written.
ombrel::ExportReport checkedScene(const std::vector<std::string>& paths, ombrel::UpAxis up,
                                  std::optional<double> height = {}) {
    ombrel::ExportOptions options;
    for (const std::string& path : paths) options.inputs.push_back({path, {}});
    options.up = up;
    options.height = height;
    const ombrel::ExportResult result = ombrel::checkScene(options);
    EXPECT_TRUE(result.ok()) << result.status.describe();
    return result.report;
}

// The verdict the engine gives a scene, as the summary must show it.
std::string verdictOf(const std::vector<std::string>& paths, ombrel::UpAxis up, std::optional<double> height = {}) {
    return checkedScene(paths, up, height).check.verdict();
}

std::vector<std::string> samplePaths() {
    std::vector<std::string> paths;
    for (const std::string& name : kSampleFiles) paths.push_back(kSampleDir + "/" + name);
    return paths;
}

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

// The ASCII text of kOffsetTriangle moved to the origin at its own size, as
// the host has it (Y up): what its script calls write.
const char kOffsetTriangleAtOrigin[] =
    "solid object0 \nfacet normal 0 -0 1 \nouter loop\nvertex 0 0 0 \nvertex 2 0 0 \nvertex 0 2 0 \n"
    "endloop\nendfacet\nendsolid object0 \n";

// The same turned Z-up, (x, y, z) -> (x, -z, y): the triangle stands in the
// x-z plane, facing -y.
const char kOffsetTriangleUpright[] =
    "solid object0 \nfacet normal 0 -1 0 \nouter loop\nvertex 0 0 0 \nvertex 2 0 0 \nvertex 0 0 2 \n"
    "endloop\nendfacet\nendsolid object0 \n";

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
    EXPECT_EQ(result.out.rfind("Usage: ombrel COMMAND", 0), 0u) << result.out;
    for (const char* command : {"export", "demo", "info", "bbox"})
        EXPECT_TRUE(contains(result.out, std::string("\n  ") + command + " ")) << command;
    EXPECT_EQ(result.err, "");
}

TEST_F(OmbrelCliTest, NoArgumentsShowTheOverviewOnStderr) {
    CommandResult result = ombrel({});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, ombrel({"--help"}).out);
}

TEST_F(OmbrelCliTest, VersionPrintsTheVersion) {
    CommandResult result = ombrel({"--version"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.out.rfind("ombrel ", 0), 0u);
}

TEST_F(OmbrelCliTest, UnknownCommandIsAUsageError) {
    CommandResult result = ombrel({"explode"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.err, "ombrel: unknown command 'explode' (try ombrel --help)\n");
}

// --- what an export writes and prints

TEST_F(OmbrelCliTest, StlIsZUpByDefault) {
    triangleFile("t.vek", kOffsetTriangle);
    CommandResult result = ombrel({"export", "--ascii", "-o", "out.stl", "t.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(readFileText(dir.file("out.stl")), kOffsetTriangleUpright);
    EXPECT_EQ(result.out, "ASCII STL: " + dir.file("out.stl") +
                              ", 124 bytes\n"
                              "  1 triangle from 1 Vek file, Z up\n"
                              "  size 2 x 0 x 2 mm (x, y, z)\n"
                              "  check: " +
                              verdictOf({dir.file("t.vek")}, ombrel::UpAxis::Z) + "\n");
    EXPECT_EQ(result.err, "");
}

TEST_F(OmbrelCliTest, UpYKeepsTheHostsOrientation) {
    triangleFile("t.vek", kOffsetTriangle);
    CommandResult result = ombrel({"export", "--ascii", "--up", "y", "-o", "out.stl", "t.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(readFileText(dir.file("out.stl")), kOffsetTriangleAtOrigin);
    EXPECT_TRUE(contains(result.out, "  1 triangle from 1 Vek file, Y up\n  size 2 x 2 x 0 mm (x, y, z)\n"))
        << result.out;
}

TEST_F(OmbrelCliTest, VerboseAddsPlacementCheckFiguresAndFiles) {
    triangleFile("t.vek", kOffsetTriangle);
    CommandResult result = ombrel({"export", "-v", "--ascii", "-o", "out.stl", "t.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    // One triangle of area 2 standing on the build plate: one open shell.
    EXPECT_EQ(result.out, "ASCII STL: " + dir.file("out.stl") +
                              ", 124 bytes\n"
                              "  1 triangle from 1 Vek file, Z up\n"
                              "  size 2 x 0 x 2 mm (x, y, z)\n"
                              "  check: " +
                              verdictOf({dir.file("t.vek")}, ombrel::UpAxis::Z) +
                              "\n"
                              "  scene box (2, 3, 4) to (4, 5, 4)\n"
                              "  written box (0, 0, 0) to (2, 0, 2)\n"
                              "  height 2 along z, scale 1\n"
                              "  triangles 1, 0 degenerate\n"
                              "  shells 1, 0 closed, 0 floating\n"
                              "  edges 3 open, 0 non-manifold, 0 flipped\n"
                              "  volume 0 mm^3, surface area 2 mm^2\n"
                              "  t.vek: 3 points, 1 face, 1 triangle written\n"
                              "    check: " +
                              verdictOf({dir.file("t.vek")}, ombrel::UpAxis::Z) + "\n");
}

TEST_F(OmbrelCliTest, QuietPrintsNoSummary) {
    triangleFile("t.vek", kOffsetTriangle);
    CommandResult result = ombrel({"export", "-q", "--ascii", "-o", "out.stl", "t.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(readFileText(dir.file("out.stl")), kOffsetTriangleUpright);
}

TEST_F(OmbrelCliTest, QuietStillWarns) {
    std::vector<unsigned char> bytes = readFileBytes(kSampleDir + "/head.vek");
    bytes.resize(30000);  // inside the Face4 block
    writeFileBytes(dir.file("cut.vek"), bytes);
    CommandResult result = ombrel({"export", "--quiet", "-o", "out.stl", "cut.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err.rfind("ombrel: warning: cut.vek: ", 0), 0u) << result.err;
}

TEST_F(OmbrelCliTest, ExportScalesToTheGivenHeight) {
    const std::string input = triangleFile("t.vek", kOffsetTriangle);
    CommandResult result = ombrel({"export", "-v", "-o", "out.stl", "--height", "10", input});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(readFileBytes(dir.file("out.stl")).size(), 134u);
    EXPECT_TRUE(contains(result.out, ", 134 bytes\n  1 triangle from 1 Vek file, Z up\n")) << result.out;
    EXPECT_TRUE(contains(result.out, "  size 10 x 0 x 10 mm (x, y, z)\n")) << result.out;
    EXPECT_TRUE(contains(result.out, "  written box (0, 0, 0) to (10, 0, 10)\n")) << result.out;
    EXPECT_TRUE(contains(result.out, "  height 10 along z, scale 5\n")) << result.out;
}

TEST_F(OmbrelCliTest, SampleSceneSummaryAtAnyHeight) {
    const SampleScene& scene = sampleScene();
    for (const double height : {1.0, 100.0, 1000.0}) {
        char text[32];
        std::snprintf(text, sizeof text, "%g", height);
        CommandResult result = exportSample("out.stl", {"--height", text});
        ASSERT_EQ(result.exitStatus, 0) << result.err;
        const std::uint64_t bytes = 84 + 50 * scene.triangles;
        EXPECT_EQ(readFileBytes(dir.file("out.stl")).size(), bytes);
        EXPECT_EQ(result.out.rfind("Binary STL: " + dir.file("out.stl") + ", " + std::to_string(bytes) +
                                       " bytes\n"
                                       "  " +
                                       std::to_string(scene.triangles) + " triangles from " +
                                       std::to_string(kSampleFiles.size()) + " Vek files, Z up\n",
                                   0),
                  0u)
            << result.out;
        expectSize(result.out, sampleSizeZUp(height));
        EXPECT_TRUE(contains(result.out, "\n  check: " + verdictOf(samplePaths(), ombrel::UpAxis::Z, height) + "\n"))
            << result.out;
        EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 4) << result.out;
    }
}

TEST_F(OmbrelCliTest, SampleSceneVerboseSummaryListsTheFiles) {
    CommandResult result = exportSample("out.stl", {"--height", "100", "--verbose"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_TRUE(contains(result.out, "  height 100 along z, scale ")) << result.out;
    // Each file's verdict is the file's own check within the scene (its
    // floating shells are judged against the scene's build plate).
    const ombrel::ExportReport report = checkedScene(samplePaths(), ombrel::UpAxis::Z, 100.0);
    ASSERT_EQ(report.files.size(), kSampleFiles.size());
    for (std::size_t i = 0; i < kSampleFiles.size(); ++i) {
        const std::size_t at = result.out.find("  " + kSampleFiles[i] + ": ");
        ASSERT_NE(at, std::string::npos) << result.out;
        const std::size_t next = result.out.find('\n', at);
        EXPECT_EQ(result.out.substr(next, result.out.find('\n', next + 1) - next + 1),
                  "\n    check: " + report.files[i].check.verdict() + "\n")
            << kSampleFiles[i];
    }
    std::string fileLines;  // the per-file lines without their check lines
    for (std::size_t at = 0, end; (end = result.out.find('\n', at)) != std::string::npos; at = end + 1) {
        const std::string line = result.out.substr(at, end - at + 1);
        for (const std::string& name : kSampleFiles)
            if (line.rfind("  " + name + ": ", 0) == 0) fileLines += line;
    }
    EXPECT_EQ(fileLines, sampleScene().fileLines);
}

TEST_F(OmbrelCliTest, ZUpPutsTheHeightAlongZ) {
    CommandResult result = exportSample("out.stl", {"--height", "50"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    expectSize(result.out, sampleSizeZUp(50));
    const std::vector<unsigned char> bytes = readFileBytes(dir.file("out.stl"));
    const auto [low, high] = stlExtent(bytes, 2);
    EXPECT_NEAR(low, 0.0f, 1e-4f);
    EXPECT_NEAR(high, 50.0f, 1e-4f);
}

TEST_F(OmbrelCliTest, UpYPutsTheHeightAlongY) {
    CommandResult result = exportSample("out.stl", {"--up=y", "--height", "50"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    const std::array<double, 3> zUp = sampleSizeZUp(50);
    expectSize(result.out, {zUp[0], 50, zUp[1]});
    const auto [low, high] = stlExtent(readFileBytes(dir.file("out.stl")), 1);
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
                              ", 84 bytes\n"
                              "  0 triangles from 1 Vek file, Z up\n"
                              "  the scene holds no points\n"
                              "  check: " +
                              verdictOf({dir.file("e.vek")}, ombrel::UpAxis::Z) + "\n");
}

TEST_F(OmbrelCliTest, AFlatSceneSaysItIsLeftAsItIs) {
    triangleFile("flat.vek", {{0, 1, 0}, {3, 1, 0}, {0, 1, 3}});  // no extent along Y, the host's up
    CommandResult result = ombrel({"export", "-o", "out.stl", "--height", "40", "flat.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_TRUE(contains(result.out, "  a flat scene (no extent along the up axis): left unscaled and unmoved\n"))
        << result.out;
}

TEST_F(OmbrelCliTest, ATruncatedVekFileIsExportedWithAWarning) {
    std::vector<unsigned char> bytes = readFileBytes(kSampleDir + "/head.vek");
    bytes.resize(30000);  // inside the Face4 block
    writeFileBytes(dir.file("cut.vek"), bytes);
    CommandResult result = ombrel({"export", "-v", "-o", "out.stl", "cut.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_TRUE(contains(result.err, "ombrel: warning: cut.vek: Face4 block: the block ends early; ")) << result.err;
    EXPECT_TRUE(contains(result.err, " faces missing, read as zeros\n")) << result.err;
    EXPECT_TRUE(contains(result.out, "  cut.vek: ")) << result.out;
}

TEST_F(OmbrelCliTest, FacesNamingMissingPointsAreCountedAndWarnedAbout) {
    writeVekFile(dir.file("f.vek"), [](vekgen::VekWriter& w) {
        w.points(kOffsetTriangle);
        w.face4(std::vector<vekgen::Face4>{{0, 1, 2, -1}, {0, 1, 7, -1}});
        w.endBlock();
    });
    CommandResult result = ombrel({"export", "-v", "-o", "out.stl", "f.vek"});
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
    EXPECT_EQ(readFileText(dir.file("sub/out.stl")), kOffsetTriangleUpright);
    EXPECT_EQ(result.out.rfind("ASCII STL: " + dir.file("sub/out.stl") + ", 124 bytes\n", 0), 0u) << result.out;
}

TEST_F(OmbrelCliTest, PathsWithAColonWork) {
    std::filesystem::create_directory(dir.file("a:b"));
    triangleFile("a:b/t.vek", kOffsetTriangle);
    CommandResult result = ombrel({"export", "--ascii", "-o", "a:b/out:1.stl", "a:b/t.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(readFileText(dir.file("a:b/out:1.stl")), kOffsetTriangleUpright);
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
    std::filesystem::create_directory(dir.file("sub.stl"));
    CommandResult result = ombrel({"export", "-o", "sub.stl", "t.vek"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.err, "ombrel: sub.stl: cannot write: Is a directory\n");
    EXPECT_EQ(directoryEntries(dir.file("sub.stl")), Names{});
}

TEST_F(OmbrelCliTest, UnwritableOutputFailsAndKeepsThePreviousFile) {
    triangleFile("t.vek", kOffsetTriangle);
    const std::string folder = dir.file("readonly");
    std::filesystem::create_directory(folder);
    writeFileText(folder + "/out.stl", "previous");
    chmod(dir.path().c_str(), 0755);
    chmod((folder + "/out.stl").c_str(), 0444);
    chmod(folder.c_str(), 0555);
    CommandResult result = ombrelInChild(dropRootPrivileges, {"export", "-o", "readonly/out.stl", "t.vek"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.err, "ombrel: readonly/out.stl: cannot write: Permission denied\n");
    EXPECT_EQ(readFileText(folder + "/out.stl"), "previous");
    EXPECT_EQ(directoryEntries(folder), Names{"out.stl"});
}

// The sample's binary STL (several hundred kilobytes) cannot fit under a
// 64 KiB file size limit, which fails the write as a full disk does.
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
    Names expected = kSampleFiles;
    expected.push_back("out.stl");
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(directoryEntries(dir.path()), expected);
}

TEST_F(OmbrelCliTest, AFullDiskFailsAndLeavesNoFile) {
    for (const std::string& name : kSampleFiles)
        std::filesystem::copy_file(kSampleDir + "/" + name, dir.file(name));
    std::vector<std::string> arguments = {"export", "--ascii", "-o", "out.stl"};
    arguments.insert(arguments.end(), kSampleFiles.begin(), kSampleFiles.end());
    CommandResult result = ombrelInChild([] { return limitFileSize(64 * 1024); }, arguments);
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.err, "ombrel: out.stl: write failed: File too large\n");
    EXPECT_EQ(directoryEntries(dir.path()), kSampleFiles);
}

TEST_F(OmbrelCliTest, MissingOutputOptionIsAUsageError) {
    const std::string input = triangleFile("t.vek", kOffsetTriangle);
    CommandResult result = ombrel({"export", input});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.err,
              "ombrel: export needs an output: -o FILE (or -o - for standard output)\n"
              "Try 'ombrel export --help' for more information.\n");
}

TEST_F(OmbrelCliTest, NoInputIsAUsageError) {
    CommandResult result = ombrel({"export", "-o", "out.stl"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.err,
              "ombrel: export needs at least one Vek file\n"
              "Try 'ombrel export --help' for more information.\n");
}

TEST_F(OmbrelCliTest, BadHeightIsAUsageError) {
    const std::string input = triangleFile("t.vek", kOffsetTriangle);
    CommandResult result = ombrel({"export", "-o", "o.stl", "--height", "tall", input});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.err, "ombrel: --height needs a number, not 'tall'\n");
}

TEST_F(OmbrelCliTest, HeightsThatAreNotPositiveFiniteNumbersAreUsageErrors) {
    triangleFile("t.vek", kOffsetTriangle);
    writeFileText(dir.file("o.stl"), "previous");
    for (const std::string height : {"0", "-5", "-0", "nan", "inf", "-inf", "1e40", "1e-400"}) {
        CommandResult result = ombrel({"export", "-o", "o.stl", "--height", height, "t.vek"});
        EXPECT_EQ(result.exitStatus, 2) << height;
        EXPECT_EQ(result.err, "ombrel: --height must be a positive number of millimetres no larger than 3.4e38, not '" +
                                  height + "'\n")
            << height;
        EXPECT_EQ(result.out, "") << height;
        EXPECT_EQ(readFileText(dir.file("o.stl")), "previous") << height;
    }
}

TEST_F(OmbrelCliTest, TinyAndLargeHeightsAreTaken) {
    triangleFile("t.vek", kOffsetTriangle);
    for (const std::string height : {"1e-3", "0.5", "1e30"}) {
        CommandResult result = ombrel({"export", "-o", "o.stl", "--height", height, "t.vek"});
        EXPECT_EQ(result.exitStatus, 0) << height << result.err;
    }
}

// --- progress

TEST_F(OmbrelCliTest, NoProgressWhenStderrIsNotATerminal) {
    const std::string input = triangleFile("t.vek", kOffsetTriangle);
    CommandResult result = ombrel({"export", "-o", "out.stl", input});
    ASSERT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.err, "");
}

TEST_F(OmbrelCliTest, ProgressOnATerminalShowsBothPhasesWithAPercentage) {
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

TEST_F(OmbrelCliTest, QuietShowsNoProgressOnATerminal) {
    const std::string a = triangleFile("a.vek", kOffsetTriangle);
    const std::string command = std::string(OMBREL_TOOL_PATH) + " export -q -o " + dir.file("out.stl") + " " + a;
    CommandResult result = runCommand("/usr/bin/script", {"-qec", command, "/dev/null"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(result.out, "");
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

// --- VRML

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
    EXPECT_EQ(result.out, "VRML: " + dir.file("out.wrl") + ", " + std::to_string(bytes) +
                              " bytes\n"
                              "  1 shape from 1 Vek file, Y up, with vertex colours\n"
                              "  size 2 x 2 x 0 mm (x, y, z)\n"
                              "  check: " +
                              verdictOf({dir.file("c.vek")}, ombrel::UpAxis::Y) + "\n");
    EXPECT_EQ(result.err, "");
}

TEST_F(OmbrelCliTest, TextureIsFoundByTheAbsolutePathToo) {
    triangleFile("t.vek", kOffsetTriangle);
    CommandResult result =
        ombrel({"export", "-o", "out.wrl", "--texture", dir.file("t.vek") + "=skin.png", "./t.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_TRUE(contains(readFileText(dir.file("out.wrl")), "      url \"skin.png\" \n"));
    EXPECT_EQ(result.err, "");
}

TEST_F(OmbrelCliTest, VrmlStaysYUpWithoutAWord) {
    triangleFile("t.vek", kOffsetTriangle);
    CommandResult result = ombrel({"export", "-v", "-o", "out.wrl", "--height", "4", "t.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_TRUE(contains(result.out, "  height 4 along y, scale 2\n")) << result.out;
    EXPECT_EQ(result.err, "");
}

TEST_F(OmbrelCliTest, UpZWithVrmlIsNotedAndChangesNothing) {
    triangleFile("t.vek", kOffsetTriangle);
    CommandResult plain = ombrel({"export", "-q", "-o", "plain.wrl", "t.vek"});
    CommandResult result = ombrel({"export", "-o", "out.wrl", "--up", "z", "t.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(result.err, "ombrel: warning: --up z applies to STL and 3MF only; VRML is always Y up\n");
    EXPECT_EQ(readFileText(dir.file("out.wrl")), readFileText(dir.file("plain.wrl")));
}

TEST_F(OmbrelCliTest, ColorsWithStlIsAWarningOnly) {
    triangleFile("t.vek", kOffsetTriangle);
    CommandResult result = ombrel({"export", "--colors", "--ascii", "-o", "out.stl", "t.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(result.err, "ombrel: warning: --colors applies to VRML and 3MF only; STL has no colours\n");
    EXPECT_EQ(readFileText(dir.file("out.stl")), kOffsetTriangleUpright);
}

TEST_F(OmbrelCliTest, ColorsWithFilesWithoutColoursIsAWarningOnly) {
    triangleFile("plain.vek", kOffsetTriangle);
    writeVekFile(dir.file("c.vek"), [](vekgen::VekWriter& w) {
        w.points(kOffsetTriangle);
        w.face4(std::vector<vekgen::Face4>{{0, 1, 2, -1}});
        w.mrgb(std::vector<std::uint32_t>{0x00FF0000u, 0x0000FF00u, 0x000000FFu});
        w.endBlock();
    });
    CommandResult result = ombrel({"export", "--colors", "-o", "out.wrl", "plain.vek", "c.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(result.err,
              "ombrel: warning: plain.vek: --colors: the file has no vertex colours (no MRGB block); its shape has "
              "none\n");
    EXPECT_TRUE(contains(result.out, ", with vertex colours\n")) << result.out;
}

TEST_F(OmbrelCliTest, TextureOfAFileThatIsNotAnInputIsNoted) {
    triangleFile("t.vek", kOffsetTriangle);
    CommandResult result = ombrel({"export", "-q", "-o", "out.wrl", "--texture", "other.vek=skin.png", "t.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(result.err, "ombrel: warning: --texture names other.vek, which is not an input; ignored\n");
}

TEST_F(OmbrelCliTest, StlFlagWinsOverTheWrlExtension) {
    const std::string input = triangleFile("t.vek", kOffsetTriangle);
    CommandResult result = ombrel({"export", "--stl", "--ascii", "-o", "out.wrl", input});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(readFileText(dir.file("out.wrl")), kOffsetTriangleUpright);
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

TEST_F(OmbrelCliTest, DemoWritesBinaryAndAsciiFilesZUp) {
    CommandResult result = ombrel({"demo", "-o", "demo"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    const SampleScene& scene = sampleScene();
    const std::vector<unsigned char> binary = readFileBytes(dir.file("demo/sample-binary.stl"));
    ASSERT_EQ(binary.size(), 84u + 50u * scene.triangles);
    std::uint32_t count = 0;
    std::memcpy(&count, binary.data() + 80, 4);
    EXPECT_EQ(count, scene.triangles);
    const auto [low, high] = stlExtent(binary, 2);
    EXPECT_NEAR(low, 0.0f, 1e-4f);
    EXPECT_NEAR(high, 100.0f, 1e-4f);
    const std::vector<unsigned char> ascii = readFileBytes(dir.file("demo/sample-ascii.stl"));
    EXPECT_EQ(std::string(ascii.begin(), ascii.begin() + 15), "solid object0 \n");
    const std::string triangles = std::to_string(scene.triangles) + " triangles from " +
                                  std::to_string(kSampleFiles.size()) + " Vek files, Z up\n";
    EXPECT_TRUE(contains(result.out, "Binary STL: " + dir.file("demo/sample-binary.stl") + ", " +
                                         std::to_string(binary.size()) + " bytes\n  " + triangles))
        << result.out;
    EXPECT_TRUE(contains(result.out, "ASCII STL: " + dir.file("demo/sample-ascii.stl") + ", " +
                                         std::to_string(ascii.size()) + " bytes\n  " + triangles))
        << result.out;
    expectSize(result.out, sampleSizeZUp(100));
}

TEST_F(OmbrelCliTest, DemoAlsoWritesColouredVrml) {
    CommandResult result = ombrel({"demo", "-v", "-o", "demo"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    const std::string vrml = readFileText(dir.file("demo/sample-colours.wrl"));
    EXPECT_EQ(vrml.rfind("#VRML V2.0 utf8\n", 0), 0u);
    EXPECT_TRUE(contains(vrml, "    colorPerVertex TRUE \n"));
    EXPECT_TRUE(contains(result.out, "VRML: " + dir.file("demo/sample-colours.wrl") + ", " +
                                         std::to_string(vrml.size()) + " bytes\n  " +
                                         std::to_string(kSampleFiles.size()) + " shapes from " +
                                         std::to_string(kSampleFiles.size()) +
                                         " Vek files, Y up, with vertex colours\n"))
        << result.out;
    // The VRML export's summary, up to the blank line after it.
    const std::size_t vrmlAt = result.out.find("VRML: ");
    const std::string vrmlPart = result.out.substr(vrmlAt, result.out.find("\n\n", vrmlAt) + 1 - vrmlAt);
    std::string fileLines;
    for (std::size_t at = 0, end; (end = vrmlPart.find('\n', at)) != std::string::npos; at = end + 1) {
        const std::string line = vrmlPart.substr(at, end - at + 1);
        for (const std::string& name : kSampleFiles)
            if (line.rfind("  " + name + ": ", 0) == 0) fileLines += line;
    }
    EXPECT_EQ(fileLines, sampleScene().vrmlFileLines);
}

TEST_F(OmbrelCliTest, DemoQuietPrintsNothing) {
    CommandResult result = ombrel({"demo", "-q", "-o", "demo", "--height=20"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
    const auto [low, high] = stlExtent(readFileBytes(dir.file("demo/sample-binary.stl")), 2);
    EXPECT_NEAR(high - low, 20.0f, 1e-5f);
}

TEST_F(OmbrelCliTest, DemoRefusesABadHeightBeforeWriting) {
    CommandResult result = ombrel({"demo", "-o", "demo", "--height", "-1"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.err, "ombrel: --height must be a positive number of millimetres no larger than 3.4e38, not '-1'\n");
    EXPECT_EQ(result.out, "");
    EXPECT_FALSE(pathExists(dir.file("demo")));
}
