#include "engine/OmbrelExport.h"

#include "TestFiles.h"
#include "VekTestFiles.h"

#include <gtest/gtest.h>

// A height that the single-precision placement cannot reach from the
// scene's extent is refused before anything is written.
TEST(UnreachableHeight, AScaleThatOverflowsIsInvalidOptionsAndWritesNothing) {
    TempDir dir;
    const std::string input = writeVekFile(dir.file("thin.vek"), [](vekgen::VekWriter& w) {
        // 0.001 tall: a height of 3e38 needs a scale of 3e41.
        w.points(std::vector<vekgen::Point3>{{0, 0, 0}, {1, 0.001f, 0}, {0, 0, 1}});
        w.face4(std::vector<vekgen::Face4>{{0, 1, 2, -1}});
        w.endBlock();
    });
    ombrel::ExportOptions options;
    options.inputs = {{input}};
    options.output = dir.file("out.stl");
    options.height = 3e38;
    const ombrel::ExportResult result = ombrel::exportScene(options);
    EXPECT_EQ(result.status.kind, ombrel::StatusKind::kInvalidOptions);
    EXPECT_EQ(result.status.describe(), "the height cannot be reached in single precision from the scene's extent");
    EXPECT_FALSE(pathExists(dir.file("out.stl")));
}

TEST(UnreachableHeight, TheLargestReachableHeightIsExported) {
    TempDir dir;
    const std::string input = writeVekFile(dir.file("unit.vek"), [](vekgen::VekWriter& w) {
        w.points(std::vector<vekgen::Point3>{{0, 0, 0}, {1, 1, 0}, {0, 0, 1}});
        w.face4(std::vector<vekgen::Face4>{{0, 1, 2, -1}});
        w.endBlock();
    });
    ombrel::ExportOptions options;
    options.inputs = {{input}};
    options.output = dir.file("out.stl");
    options.height = 1e38;
    const ombrel::ExportResult result = ombrel::exportScene(options);
    ASSERT_TRUE(result.ok()) << result.status.describe();
    EXPECT_EQ(result.report.size[1], double(1e38f));
}
