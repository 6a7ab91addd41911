// A failed export leaves no thread and no lock behind: a child forked after
// it (which has only the forking thread) can export at once. A lock still
// held, or a thread the child would wait for, would hang it.

#include "AllocationFailure.h"
#include "EngineTestSupport.h"

#include "TestFiles.h"

#include <gtest/gtest.h>

#include <chrono>

namespace {

class ForkAfterFailureTest : public ::testing::TestWithParam<Format> {
protected:
    void SetUp() override { scene = writeGeneratedScene(in.path(), vekgen::SceneOptions{60'000, 2, 51}); }
    void TearDown() override { allocation_failure::disarm(); }

    // A quarter into the writing of the scene (the formatting threads and
    // the background writer busy), `stop` ends the export.
    ExportResult failMidWrite(const std::function<ProgressAction(const Progress&)>& stop) {
        ExportOptions options = exportOptions(scene.paths, out.file("failed"), GetParam());
        options.progress = [&stop](const Progress& progress) {
            if (progress.phase == Phase::Writing && progress.facesDone >= progress.facesTotal / 4)
                return stop(progress);
            return ProgressAction::Continue;
        };
        return exportExpectingFailure(options);
    }

    // Forks a child that exports the scene, and checks that it ended in time
    // with the file an export in this process writes.
    void expectChildExports() {
        const ExportOptions options = exportOptions(scene.paths, out.file("child"), GetParam());
        const auto started = std::chrono::steady_clock::now();
        const ChildRun child = runChildWithTimeout([&] { return ombrel::exportScene(options).status.describe(); },
                                                   std::chrono::seconds(10));
        ASSERT_TRUE(child.finished) << "the child's export did not end within 10 seconds";
        EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(5));
        EXPECT_EQ(child.exitCode, 0);
        EXPECT_EQ(child.output, "success");
        ExportOptions here = options;
        here.output = out.file("parent");
        ASSERT_TRUE(ombrel::exportScene(here).ok());
        EXPECT_TRUE(sameFileBytes(out.file("child"), out.file("parent")));
    }

    TempDir in;
    TempDir out;
    GeneratedScene scene;
};

}  // namespace

TEST_P(ForkAfterFailureTest, AfterACancelledExport) {
    const ExportResult result = failMidWrite([](const Progress&) { return ProgressAction::Stop; });
    EXPECT_EQ(result.status.kind, StatusKind::kCancelled);
    expectChildExports();
}

TEST_P(ForkAfterFailureTest, AfterAnExportOutOfMemory) {
    bool armed = false;
    const ExportResult result = failMidWrite([&armed](const Progress&) {
        if (!armed) allocation_failure::failAfter(0);
        armed = true;
        return ProgressAction::Continue;
    });
    allocation_failure::disarm();
    EXPECT_EQ(result.status.kind, StatusKind::kOutOfMemory);
    expectChildExports();
}

TEST_P(ForkAfterFailureTest, AfterACancelledAndAnOutOfMemoryExport) {
    EXPECT_EQ(failMidWrite([](const Progress&) { return ProgressAction::Stop; }).status.kind, StatusKind::kCancelled);
    bool armed = false;
    const ExportResult result = failMidWrite([&armed](const Progress&) {
        if (!armed) allocation_failure::failAfter(0);
        armed = true;
        return ProgressAction::Continue;
    });
    allocation_failure::disarm();
    EXPECT_EQ(result.status.kind, StatusKind::kOutOfMemory);
    expectChildExports();
}

INSTANTIATE_TEST_SUITE_P(Formats, ForkAfterFailureTest, allFormats(), formatTestName);
