#include "engine/OmbrelExport.h"

#include "CheckMeshes.h"
#include "RunCommand.h"
#include "TestFiles.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <map>
#include <sstream>
#include <unistd.h>

// The check's figures agree with those a real slicer gives for the same STL
// file: PrusaSlicer's `--info` (open edges, parts, volume), on scenes with
// known defects and on the sample scene.

namespace {

const char kSlicer[] = "/usr/bin/prusa-slicer";

// The "name = value" lines of `prusa-slicer --info FILE`.
std::map<std::string, std::string> slicerInfo(const std::string& stl) {
    const CommandResult result = runCommand(kSlicer, {"--info", stl});
    EXPECT_EQ(result.exitStatus, 0) << result.err;
    std::map<std::string, std::string> info;
    std::istringstream lines(result.out);
    for (std::string line; std::getline(lines, line);) {
        const std::size_t equals = line.find(" = ");
        if (equals == std::string::npos) continue;
        std::string value = line.substr(equals + 3);
        value.erase(0, value.find_first_not_of(' '));
        info[line.substr(0, equals)] = value;
    }
    return info;
}

class SlicerAgreementTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (access(kSlicer, X_OK) != 0) GTEST_SKIP() << "prusa-slicer is not installed (scripts/install-deps.sh)";
    }

    // Exports the meshes (one Vek file each) Z-up at height 40 and compares
    // the check with the slicer's figures for the file written.
    ombrel::PrintCheck exportAndCompare(const std::vector<TestMesh>& meshes) {
        ombrel::ExportOptions options;
        for (std::size_t i = 0; i < meshes.size(); ++i)
            options.inputs.emplace_back(writeMeshFile(dir.file("part" + std::to_string(i) + ".vek"), meshes[i]));
        return exportAndCompare(options);
    }

    ombrel::PrintCheck exportAndCompare(ombrel::ExportOptions options) {
        options.output = dir.file("scene.stl");
        options.height = 40.0;
        options.up = ombrel::UpAxis::Z;
        const ombrel::ExportResult result = ombrel::exportScene(options);
        EXPECT_TRUE(result.ok()) << result.status.describe();
        const ombrel::PrintCheck& check = result.report.check;
        std::map<std::string, std::string> info = slicerInfo(options.output);
        EXPECT_EQ(info["manifold"], check.openEdges == 0 ? "yes" : "no");
        EXPECT_EQ(check.openEdges, std::stoull(info.count("open_edges") ? info["open_edges"] : "0"));
        EXPECT_EQ(check.shells, std::stoull(info["number_of_parts"]));
        EXPECT_EQ(check.triangles, std::stoull(info["number_of_facets"]));
        EXPECT_NEAR(check.size[2], std::stod(info["size_z"]), 1e-3);
        // The slicer fills holes before it measures; only closed shells have
        // a volume of their own.
        if (check.openEdges == 0) {
            EXPECT_NEAR(check.volume, std::stod(info["volume"]), 1e-3 * std::stod(info["volume"]));
        }
        return check;
    }

    TempDir dir;
};

}  // namespace

TEST_F(SlicerAgreementTest, AClosedTorus) {
    const ombrel::PrintCheck check = exportAndCompare({torus(64, 32, 10.0f, 3.0f, QMVector3f(0, 3, 0))});
    EXPECT_TRUE(check.watertight());
}

TEST_F(SlicerAgreementTest, ATorusWithAHoleOfTwoQuads) {
    const TestMesh holed = withoutFace(withoutFace(torus(64, 32, 10.0f, 3.0f, QMVector3f(0, 3, 0)), 100), 100);
    const ombrel::PrintCheck check = exportAndCompare({holed});
    EXPECT_EQ(check.openEdges, 6u);
}

TEST_F(SlicerAgreementTest, TwoOverlappingClosedShells) {
    const ombrel::PrintCheck check = exportAndCompare(
        {torus(64, 32, 10.0f, 3.0f, QMVector3f(0, 3, 0)), torus(64, 32, 10.0f, 3.0f, QMVector3f(8, 3, 0))});
    EXPECT_EQ(check.shells, 2u);
}

TEST_F(SlicerAgreementTest, OneFaceFlipped) {
    const ombrel::PrintCheck check =
        exportAndCompare({withFaceFlipped(torus(64, 32, 10.0f, 3.0f, QMVector3f(0, 3, 0)), 200)});
    EXPECT_EQ(check.flippedEdges, 4u);
}

TEST_F(SlicerAgreementTest, AFloatingPart) {
    const ombrel::PrintCheck check = exportAndCompare(
        {torus(64, 32, 10.0f, 3.0f, QMVector3f(0, 3, 0)), cube(QMVector3f(-2, 12, -2), 4.0f)});
    EXPECT_EQ(check.floatingShells, 1u);
}

TEST_F(SlicerAgreementTest, TheSampleScene) {
    ombrel::ExportOptions options;
    for (const char* name : {"base.vek", "head.vek", "torso.vek"})
        options.inputs.emplace_back(std::string(OMBREL_SOURCE_DIR) + "/samples/" + name);
    exportAndCompare(options);
}
