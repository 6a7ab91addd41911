// A 3MF export that fails or is cancelled leaves the previous file as it was
// and nothing else; progress reaches every face.
#include "ThreeMFTestSupport.h"

#include "ChildProcess.h"

#include <cerrno>
#include <stdexcept>

namespace {

class ThreeMFOutputSafetyTest : public ::testing::Test {
protected:
    std::string output() const { return dir.file("scene.3mf"); }
    ombrel::ExportOptions largeExport() const { return threeMFOptions(generatedScene(200'000, 2), output(), true); }

    TempDir dir;
};

}  // namespace

TEST_F(ThreeMFOutputSafetyTest, AFailedWriteKeepsThePreviousFile) {
    writeFileText(output(), "previous");
    const ombrel::ExportOptions options = largeExport();
    // The package outgrows the file size limit on its way.
    const int code = runInChildProcess([&] {
        if (!limitFileSize(256 * 1024)) return 100;
        const ombrel::ExportResult result = ombrel::export3MF(options);
        if (result.status.kind != ombrel::StatusKind::kWriteFailed) return 101;
        if (result.status.systemError != EFBIG) return 102;
        if (result.status.path != options.output) return 103;
        return 0;
    });
    EXPECT_EQ(code, 0);
    EXPECT_EQ(readFileText(output()), "previous");
    EXPECT_EQ(directoryEntries(dir.path()), std::vector<std::string>{"scene.3mf"});
}

TEST_F(ThreeMFOutputSafetyTest, AFailedWriteWithoutAPreviousFileLeavesNothing) {
    const ombrel::ExportOptions options = largeExport();
    const int code = runInChildProcess([&] {
        if (!limitFileSize(64 * 1024)) return 100;
        return ombrel::export3MF(options).status.kind == ombrel::StatusKind::kWriteFailed ? 0 : 101;
    });
    EXPECT_EQ(code, 0);
    EXPECT_EQ(directoryEntries(dir.path()), std::vector<std::string>{});
}

TEST_F(ThreeMFOutputSafetyTest, ACancelKeepsThePreviousFileAndLeavesNothingElse) {
    writeFileText(output(), "previous");
    ombrel::ExportOptions options = largeExport();
    std::uint64_t stoppedAt = 0;
    int callsAfterStop = 0;
    options.progress = [&](const ombrel::Progress& progress) {
        if (stoppedAt != 0) {
            ++callsAfterStop;
            return ombrel::ProgressAction::Stop;
        }
        if (progress.phase != ombrel::Phase::Writing || progress.facesDone < progress.facesTotal / 3)
            return ombrel::ProgressAction::Continue;
        stoppedAt = progress.facesDone;
        return ombrel::ProgressAction::Stop;
    };
    const ombrel::ExportResult result = ombrel::export3MF(options);
    EXPECT_EQ(result.status.kind, ombrel::StatusKind::kCancelled);
    EXPECT_GT(stoppedAt, 0u);
    EXPECT_EQ(callsAfterStop, 0);
    EXPECT_EQ(readFileText(output()), "previous");
    EXPECT_EQ(directoryEntries(dir.path()), std::vector<std::string>{"scene.3mf"});
}

TEST_F(ThreeMFOutputSafetyTest, ACancelWhileTheVerticesAreWrittenLeavesNothing) {
    ombrel::ExportOptions options = largeExport();
    // The first report of the writing phase after the first file's start
    // comes while its vertices are written (a chance to cancel every 65,536).
    int writingReports = 0;
    options.progress = [&](const ombrel::Progress& progress) {
        if (progress.phase == ombrel::Phase::Writing && ++writingReports == 2) {
            EXPECT_EQ(progress.facesDone, 0u);
            throw std::runtime_error("stop");
        }
        return ombrel::ProgressAction::Continue;
    };
    const ombrel::ExportResult result = ombrel::export3MF(options);
    EXPECT_EQ(result.status.kind, ombrel::StatusKind::kCancelled);
    EXPECT_EQ(directoryEntries(dir.path()), std::vector<std::string>{});
}

TEST_F(ThreeMFOutputSafetyTest, ProgressReachesEveryFaceOfEveryFile) {
    ombrel::ExportOptions options = largeExport();
    ombrel::Progress last;
    std::uint64_t reports = 0;
    options.progress = [&](const ombrel::Progress& progress) {
        if (progress.phase == ombrel::Phase::Writing) {
            EXPECT_GE(progress.facesDone, last.facesDone);
            last = progress;
            ++reports;
        }
        return ombrel::ProgressAction::Continue;
    };
    const ombrel::ExportResult result = ombrel::export3MF(options);
    ASSERT_TRUE(result.ok()) << result.status.describe();
    EXPECT_EQ(last.facesDone, 200'000u);
    EXPECT_EQ(last.facesTotal, 200'000u);
    EXPECT_EQ(last.fileIndex, 1u);
    // Far more often than every 65,536 faces.
    EXPECT_GT(reports, 200'000u / 4096);
}

TEST_F(ThreeMFOutputSafetyTest, AnOutputThatCannotBeCreatedIsSaidSo) {
    ombrel::ExportOptions options = threeMFOptions(sampleFiles(), dir.file("missing/scene.3mf"));
    const ombrel::ExportResult result = ombrel::export3MF(options);
    EXPECT_EQ(result.status.kind, ombrel::StatusKind::kOutputNotWritable);
    EXPECT_EQ(result.status.systemError, ENOENT);
}
