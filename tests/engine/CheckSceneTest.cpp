#include "engine/OmbrelExport.h"

#include "TestFiles.h"

#include <gtest/gtest.h>

// checkScene: the report and its check, without writing anything.

namespace {

ombrel::ExportOptions sampleOptions(const std::string& output) {
    ombrel::ExportOptions options;
    for (const char* name : {"base.vek", "head.vek", "torso.vek"})
        options.inputs.emplace_back(std::string(OMBREL_SOURCE_DIR) + "/samples/" + name);
    options.output = output;
    options.height = 100.0;
    options.up = ombrel::UpAxis::Z;
    return options;
}

void expectSameCheck(const ombrel::PrintCheck& a, const ombrel::PrintCheck& b) {
    EXPECT_EQ(a.triangles, b.triangles);
    EXPECT_EQ(a.shells, b.shells);
    EXPECT_EQ(a.openEdges, b.openEdges);
    EXPECT_EQ(a.flippedEdges, b.flippedEdges);
    EXPECT_EQ(a.nonManifoldEdges, b.nonManifoldEdges);
    EXPECT_EQ(a.floatingShells, b.floatingShells);
    EXPECT_EQ(a.volume, b.volume);
    EXPECT_EQ(a.surfaceArea, b.surfaceArea);
}

}  // namespace

TEST(CheckScene, WritesNothingAndReportsWhatTheExportWould) {
    TempDir dir;
    const ombrel::ExportResult checked = ombrel::checkScene(sampleOptions(dir.file("never.stl")));
    ASSERT_TRUE(checked.ok()) << checked.status.describe();
    EXPECT_EQ(directoryEntries(dir.path()), std::vector<std::string>{});
    EXPECT_EQ(checked.report.bytesWritten, 0u);

    const ombrel::ExportResult exported = ombrel::exportScene(sampleOptions(dir.file("scene.stl")));
    ASSERT_TRUE(exported.ok());
    expectSameCheck(checked.report.check, exported.report.check);
    ASSERT_EQ(checked.report.files.size(), 3u);
    for (std::size_t i = 0; i < 3; ++i) expectSameCheck(checked.report.files[i].check, exported.report.files[i].check);
    EXPECT_EQ(checked.report.check.triangles, exported.report.trianglesWritten);
    EXPECT_EQ(checked.report.size[2], exported.report.size[2]);
}

TEST(CheckScene, NeedsNoOutput) {
    ombrel::ExportOptions options = sampleOptions("");
    EXPECT_TRUE(ombrel::checkScene(options).ok());
    EXPECT_EQ(ombrel::exportScene(options).status.kind, ombrel::StatusKind::kInvalidOptions);
}

TEST(CheckScene, ChecksInputsAsTheExportDoes) {
    ombrel::ExportOptions options;
    options.inputs.emplace_back("/nonexistent/scene.vek");
    const ombrel::ExportResult result = ombrel::checkScene(options);
    EXPECT_EQ(result.status.kind, ombrel::StatusKind::kInputMissing);
    EXPECT_EQ(result.status.describe(), "/nonexistent/scene.vek: cannot read: No such file or directory");
}

TEST(CheckScene, TheCheckCanBeLeftOut) {
    TempDir dir;
    ombrel::ExportOptions options = sampleOptions(dir.file("scene.stl"));
    options.check = false;
    const ombrel::ExportResult result = ombrel::exportScene(options);
    ASSERT_TRUE(result.ok());
    EXPECT_EQ(result.report.check.triangles, 0u);
    EXPECT_GT(result.report.trianglesWritten, 0u);
}
