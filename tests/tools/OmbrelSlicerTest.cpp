// The tool's STL as a slicer sees it (Z up, at the height asked for), and
// its --up y files as the host's own script calls write them.
#include "RunCommand.h"
#include "TestFiles.h"

#include "plugin/ombrel.h"
#include "support/LibraryPath.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <sstream>

namespace {

const std::string kSampleDir = std::string(OMBREL_SOURCE_DIR) + "/samples";

std::vector<std::string> samplePaths() {
    std::vector<std::string> paths;
    for (const auto& entry : std::filesystem::directory_iterator(kSampleDir))
        if (entry.path().extension() == ".vek") paths.push_back(entry.path().string());
    std::sort(paths.begin(), paths.end());
    return paths;
}

// PrusaSlicer's command line, where installed.
std::string findPrusaSlicer() {
    const char* path = std::getenv("PATH");
    std::stringstream directories(path ? path : "/usr/bin");
    for (std::string directory; std::getline(directories, directory, ':');) {
        const std::string candidate = directory + "/prusa-slicer";
        if (!directory.empty() && access(candidate.c_str(), X_OK) == 0) return candidate;
    }
    return {};
}

// The "name = value" lines of `prusa-slicer --info FILE`.
std::map<std::string, double> slicerInfo(const std::string& slicer, const std::string& file) {
    const CommandResult result = runCommand(slicer, {"--info", file});
    EXPECT_EQ(result.exitStatus, 0) << result.err;
    std::map<std::string, double> info;
    std::istringstream lines(result.out);
    for (std::string line; std::getline(lines, line);) {
        const std::size_t equals = line.find(" = ");
        if (equals == std::string::npos) continue;
        std::string name = line.substr(0, equals);
        name.erase(name.find_last_not_of(' ') + 1);
        char* end = nullptr;
        const double value = std::strtod(line.c_str() + equals + 3, &end);
        if (end != line.c_str() + equals + 3) info[name] = value;
    }
    return info;
}

void scriptCall(OmbrelScriptFunction function, const char* text, double number = 0.0) {
    function(text, number, nullptr, 0, nullptr, 0, nullptr);
}

class OmbrelSlicerTest : public ::testing::Test {
protected:
    CommandResult ombrel(const std::vector<std::string>& arguments) {
        return runCommand(OMBREL_TOOL_PATH, arguments, dir.path());
    }
    // The file the host's script calls write for the sample scene.
    std::string scriptExport(const std::string& name, const char* kind, bool vrml, bool colours, double height) {
        const std::string output = dir.file(name);
        scriptCall(DeclareHeight, nullptr, height);
        scriptCall(DeclareBinaryOrASCII, kind);
        scriptCall(DeclareExportVertexColors, colours ? "YES" : "NO");
        scriptCall(StartDeclareVekFiles, nullptr);
        for (const std::string& path : samplePaths()) scriptCall(AddOneVekFile, toLibraryPath(path).c_str());
        scriptCall(EndDeclareVekFiles, nullptr);
        scriptCall(vrml ? ExportVRMLAllDeclaredVek : ExportSTLAllDeclaredVek, toLibraryPath(output).c_str());
        return readFileText(output);
    }
    std::string toolExport(const std::string& name, std::vector<std::string> options) {
        std::vector<std::string> arguments = {"export", "-q", "-o", name};
        arguments.insert(arguments.end(), options.begin(), options.end());
        for (const std::string& path : samplePaths()) arguments.push_back(path);
        const CommandResult result = ombrel(arguments);
        EXPECT_EQ(result.exitStatus, 0) << result.err;
        return readFileText(dir.file(name));
    }
    TempDir dir;
};

}  // namespace

TEST_F(OmbrelSlicerTest, TheDemosStlStandsUprightInPrusaSlicerAtItsHeight) {
    const std::string slicer = findPrusaSlicer();
    if (slicer.empty()) GTEST_SKIP() << "prusa-slicer is not installed (scripts/install-deps.sh installs it)";
    const CommandResult demo = ombrel({"demo", "-q", "-o", "demo", "--height", "100"});
    ASSERT_EQ(demo.exitStatus, 0) << demo.err;
    for (const std::string name : {"sample-binary.stl", "sample-ascii.stl"}) {
        SCOPED_TRACE(name);
        std::map<std::string, double> info = slicerInfo(slicer, dir.file("demo/" + name));
        ASSERT_TRUE(info.count("size_z") && info.count("max_z") && info.count("min_z"));
        EXPECT_NEAR(info["size_z"], 100.0, 1e-3);
        EXPECT_NEAR(info["max_z"], 100.0, 1e-3);
        EXPECT_NEAR(info["min_z"], 0.0, 1e-3);
    }
}

TEST_F(OmbrelSlicerTest, UpYLiesTheFigureOnItsBackInPrusaSlicer) {
    const std::string slicer = findPrusaSlicer();
    if (slicer.empty()) GTEST_SKIP() << "prusa-slicer is not installed (scripts/install-deps.sh installs it)";
    toolExport("lying.stl", {"--up", "y", "--height", "100"});
    std::map<std::string, double> info = slicerInfo(slicer, dir.file("lying.stl"));
    EXPECT_NEAR(info["size_y"], 100.0, 1e-3);
    EXPECT_LT(info["size_z"], 99.0);
}

TEST_F(OmbrelSlicerTest, UpYWritesWhatTheHostsScriptCallsWrite) {
    for (const double height : {100.0, 37.5}) {
        const std::string text = std::to_string(height);
        EXPECT_TRUE(toolExport("tool-binary.stl", {"--up", "y", "--height", text}) ==
                    scriptExport("script-binary.stl", "BINARY", false, false, height))
            << height;
        EXPECT_TRUE(toolExport("tool-ascii.stl", {"--up=y", "--ascii", "--height", text}) ==
                    scriptExport("script-ascii.stl", "ASCII", false, false, height))
            << height;
    }
}

TEST_F(OmbrelSlicerTest, VrmlIsWhatTheHostsScriptCallsWrite) {
    // Every sample file has texture coordinates, where the two may differ.
    EXPECT_TRUE(toolExport("tool.wrl", {"--height", "100"}) == scriptExport("script.wrl", "BINARY", true, false, 100));
    EXPECT_TRUE(toolExport("tool-colours.wrl", {"--colors", "--height", "100"}) ==
                scriptExport("script-colours.wrl", "BINARY", true, true, 100));
}

TEST_F(OmbrelSlicerTest, ZUpIsTheHostsFileTurnedAboutX) {
    // (x, y, z) -> (x, -z, y), then moved back onto the origin: a corner at
    // (x, y, z) of the Y-up file lands at (x, depth - z, y) in the Z-up file,
    // where depth is the Y-up file's extent along z.
    const std::string lying = toolExport("y.stl", {"--up", "y", "--height", "100"});
    const std::string upright = toolExport("z.stl", {"--height", "100"});
    ASSERT_EQ(lying.size(), upright.size());
    ASSERT_GT(lying.size(), 84u);
    float depth = 0;
    for (std::size_t at = 84; at + 50 <= lying.size(); at += 50)
        for (int corner = 1; corner <= 3; ++corner) {
            float z;
            std::memcpy(&z, lying.data() + at + 12 * corner + 8, 4);
            depth = std::max(depth, z);
        }
    float worst = 0;
    for (std::size_t at = 84; at + 50 <= lying.size(); at += 50)
        for (int corner = 1; corner <= 3; ++corner) {
            float y[3], z[3];
            std::memcpy(y, lying.data() + at + 12 * corner, 12);
            std::memcpy(z, upright.data() + at + 12 * corner, 12);
            worst = std::max({worst, std::abs(z[0] - y[0]), std::abs(z[1] - (depth - y[2])), std::abs(z[2] - y[1])});
        }
    EXPECT_LT(worst, 1e-3f);
}
