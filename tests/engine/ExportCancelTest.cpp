// A progress callback that returns Stop, or throws, ends the export: the
// output keeps its previous content (or stays absent), no temporary file
// remains, and the callback is not called again.

#include "EngineTestSupport.h"

#include "TestFiles.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

// A scene of 200,000 faces in two files, written once per test program.
const GeneratedScene& largeScene() {
    static TempDir directory;
    static const GeneratedScene scene = writeGeneratedScene(directory.path(), vekgen::SceneOptions{200'000, 2, 7});
    return scene;
}

// Stops the export once a tenth of the faces are written, and notes what it
// saw.
struct StopAtOneTenth {
    std::uint64_t facesTotal = 0;
    std::uint64_t stoppedAt = 0;
    bool stopped = false;
    int callsAfterStop = 0;

    ProgressAction operator()(const Progress& progress) {
        if (stopped) {
            ++callsAfterStop;
            return ProgressAction::Stop;
        }
        if (progress.phase != Phase::Writing || progress.facesDone < progress.facesTotal / 10)
            return ProgressAction::Continue;
        facesTotal = progress.facesTotal;
        stoppedAt = progress.facesDone;
        stopped = true;
        return ProgressAction::Stop;
    }
};

class ExportCancelTest : public ::testing::TestWithParam<Format> {
protected:
    std::string outputName() const { return sceneFileName(GetParam()); }
    ExportOptions largeExport() const { return exportOptions(largeScene().paths, out.file(outputName()), GetParam()); }

    TempDir out;
};

}  // namespace

TEST_P(ExportCancelTest, StopAtOneTenthKeepsThePreviousFile) {
    const std::string output = out.file(outputName());
    writeFileBytes(output, previousOutputBytes());
    StopAtOneTenth stop;
    ExportOptions options = largeExport();
    options.progress = [&stop](const Progress& progress) { return stop(progress); };
    const ExportResult result = exportExpectingFailure(options);
    EXPECT_EQ(result.status.kind, StatusKind::kCancelled);
    EXPECT_EQ(result.status.path, output);
    EXPECT_EQ(result.status.describe(), "export cancelled");
    EXPECT_EQ(readFileBytes(output), previousOutputBytes());
    EXPECT_EQ(directoryEntries(out.path()), Names{outputName()});
}

TEST_P(ExportCancelTest, StopAtOneTenthEndsTheCallsThere) {
    StopAtOneTenth stop;
    ExportOptions options = largeExport();
    options.progress = [&stop](const Progress& progress) { return stop(progress); };
    const ExportResult result = exportExpectingFailure(options);
    EXPECT_EQ(result.status.kind, StatusKind::kCancelled);
    ASSERT_TRUE(stop.stopped);
    EXPECT_EQ(stop.facesTotal, largeScene().faces);
    // Called at least every 65,536 faces: the stop comes at most that far
    // past a tenth, and nothing is called after it.
    EXPECT_GE(stop.stoppedAt, largeScene().faces / 10);
    EXPECT_LE(stop.stoppedAt, largeScene().faces / 10 + 65'536);
    EXPECT_EQ(stop.callsAfterStop, 0);
    EXPECT_EQ(directoryEntries(out.path()), Names{});
}

TEST_P(ExportCancelTest, StopWhileMeasuringWritesNothing) {
    int calls = 0;
    ExportOptions options = largeExport();
    options.progress = [&calls](const Progress& progress) {
        ++calls;
        EXPECT_EQ(progress.phase, Phase::MeasuringScene);
        return ProgressAction::Stop;
    };
    const ExportResult result = exportExpectingFailure(options);
    EXPECT_EQ(result.status.kind, StatusKind::kCancelled);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(directoryEntries(out.path()), Names{});
}

TEST_P(ExportCancelTest, ACallbackThatThrowsCancels) {
    const std::string output = out.file(outputName());
    writeFileBytes(output, previousOutputBytes());
    int callsAfterThrow = 0;
    bool thrown = false;
    ExportOptions options = largeExport();
    options.progress = [&](const Progress& progress) {
        if (thrown) ++callsAfterThrow;
        if (progress.phase == Phase::Writing && progress.facesDone > 0) {
            thrown = true;
            throw std::runtime_error("the user closed the window");
        }
        return ProgressAction::Continue;
    };
    const ExportResult result = exportExpectingFailure(options);
    EXPECT_EQ(result.status.kind, StatusKind::kCancelled);
    EXPECT_EQ(result.status.reason, "cancelled");
    EXPECT_EQ(callsAfterThrow, 0);
    EXPECT_EQ(readFileBytes(output), previousOutputBytes());
    EXPECT_EQ(directoryEntries(out.path()), Names{outputName()});
}

TEST_P(ExportCancelTest, ACallbackThatThrowsAnythingCancels) {
    ExportOptions options = largeExport();
    options.progress = [](const Progress& progress) {
        if (progress.phase == Phase::Writing) throw 42;
        return ProgressAction::Continue;
    };
    const ExportResult result = exportExpectingFailure(options);
    EXPECT_EQ(result.status.kind, StatusKind::kCancelled);
    EXPECT_EQ(directoryEntries(out.path()), Names{});
}

INSTANTIATE_TEST_SUITE_P(Formats, ExportCancelTest, allFormats(), formatTestName);
