// An allocation that fails during an export ends it as out of memory: the
// output keeps its previous content (or stays absent), no temporary file
// remains, and no thread or descriptor is left behind.

#include "AllocationFailure.h"
#include "EngineTestSupport.h"

#include "Sanitizers.h"
#include "TestFiles.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>

namespace {

class OutOfMemoryTest : public ::testing::TestWithParam<Format> {
protected:
    void TearDown() override { allocation_failure::disarm(); }

    std::string outputName() const { return sceneFileName(GetParam()); }

    // The sample scene's export, whose next allocation fails once the second
    // file's writing has started. The callback itself allocates nothing once
    // it has armed the failure.
    ExportOptions exportFailingAtSecondFile(const std::string& output) {
        ExportOptions options = exportOptions(sampleScenePaths(), output, GetParam());
        options.progress = [this](const Progress& progress) {
            if (progress.phase == Phase::Writing && progress.fileIndex == 1 && !armed) {
                armed = true;
                allocation_failure::failAfter(0);
            }
            return ProgressAction::Continue;
        };
        return options;
    }

    TempDir out;
    bool armed = false;
};

}  // namespace

TEST_P(OutOfMemoryTest, AFailedAllocationMidExportKeepsThePreviousFile) {
    const std::string output = out.file(outputName());
    writeFileBytes(output, previousOutputBytes());
    const ExportResult result = exportExpectingFailure(exportFailingAtSecondFile(output));
    allocation_failure::disarm();
    EXPECT_TRUE(allocation_failure::fired());
    EXPECT_EQ(result.status.kind, StatusKind::kOutOfMemory);
    EXPECT_EQ(result.status.path, output);
    EXPECT_EQ(result.status.systemError, ENOMEM);
    EXPECT_EQ(result.status.describe(), output + ": out of memory: not enough memory for the export");
    EXPECT_EQ(readFileBytes(output), previousOutputBytes());
    EXPECT_EQ(directoryEntries(out.path()), Names{outputName()});
}

TEST_P(OutOfMemoryTest, AFailedAllocationMidExportLeavesNoFile) {
    const ExportResult result = exportExpectingFailure(exportFailingAtSecondFile(out.file(outputName())));
    allocation_failure::disarm();
    EXPECT_EQ(result.status.kind, StatusKind::kOutOfMemory);
    EXPECT_EQ(directoryEntries(out.path()), Names{});
}

// Every allocation an export makes fails in turn, in a scene large enough
// for the formatting threads (two ranges a file in every format) and the
// background writer: each run either recovers (the same file as without the
// failure) or ends as out of memory with the previous file in place and
// nothing left behind. Each run is made in a child process, so that one that
// ends the process is reported as such.
TEST_P(OutOfMemoryTest, EachAllocationOfAnExportFailingInTurn) {
    TempDir in;
    const GeneratedScene scene = writeGeneratedScene(in.path(), vekgen::SceneOptions{34'000, 2, 5});
    const std::string reference = out.file("reference");
    const ExportOptions referenceOptions = exportOptions(scene.paths, reference, GetParam());
    const std::uint64_t first = allocation_failure::count();
    ASSERT_TRUE(ombrel::exportScene(referenceOptions).ok());
    const std::uint64_t allocations = allocation_failure::count() - first;
    ASSERT_GT(allocations, 10u);
    const std::vector<unsigned char> expected = readFileBytes(reference);

    const std::string output = out.file(outputName());
    const ExportOptions options = exportOptions(scene.paths, output, GetParam());
    int failures = 0;
    // Under AddressSanitizer every run costs several times as much: every
    // third allocation fails there, an offset apart in each format, so the
    // three formats still cover them all between them.
    const std::uint64_t step = kAddressSanitizer ? 3 : 1;
    for (std::uint64_t n = kAddressSanitizer ? std::uint64_t(GetParam()) % step : 0; n < allocations + 5; n += step) {
        writeFileBytes(output, previousOutputBytes());
        const ChildRun run = runChildWithTimeout([&]() -> std::string {
            const ProcessResources before = processResources();
            allocation_failure::failAfter(n);
            const ExportResult result = ombrel::exportScene(options);
            allocation_failure::disarm();
            std::string problems;
            if (!resourcesBack(before)) problems += " threads or descriptors left;";
            if (result.ok() && readFileBytes(output) != expected) problems += " a different file written;";
            if (!result.ok() && result.status.kind != StatusKind::kOutOfMemory)
                problems += " " + result.status.describe() + ";";
            if (!result.ok() && readFileBytes(output) != previousOutputBytes())
                problems += " the previous file changed;";
            if (directoryEntries(out.path()) != Names{"reference", outputName()}) problems += " other files left;";
            return (result.ok() ? "ok" : "failed") + problems;
        });
        if (!run.finished || run.exitCode != 0) {
            ADD_FAILURE() << "allocation " << n << " of " << allocations << ": the export ended the process";
        } else if (run.output == "failed") {
            ++failures;
        } else {
            EXPECT_EQ(run.output, "ok") << "allocation " << n << " of " << allocations;
        }
        // A file the run left behind would fail every later run as well.
        for (const std::string& name : directoryEntries(out.path()))
            if (name != "reference" && name != outputName()) std::remove(out.file(name).c_str());
    }
    // Most allocations are needed: their failure ends the export.
    EXPECT_GT(failures, 0);
}

INSTANTIATE_TEST_SUITE_P(Formats, OutOfMemoryTest, allFormats(), formatTestName);
