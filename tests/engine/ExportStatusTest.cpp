// Each way an export can fail, provoked for real, ends in its own status
// kind with the file concerned, the system's error and its text, and leaves
// the output's previous content (or its absence) and the process as they
// were.

#include "EngineTestSupport.h"

#include "ChildProcess.h"
#include "TestFiles.h"
#include "VekTestFiles.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <future>
#include <limits>
#include <sys/mount.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

// One quad on four points: the smallest scene with something to write.
std::string writeQuadVek(const std::string& path) {
    return writeVekFile(path, [](vekgen::VekWriter& w) {
        const vekgen::Point3 points[] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
        const vekgen::Face4 faces[] = {{0, 1, 2, 3}};
        w.points(points);
        w.face4(faces);
        w.endBlock();
    });
}

class ExportStatusTest : public ::testing::Test {
protected:
    std::string quad() { return writeQuadVek(in.file("quad.vek")); }

    // One quad 1000 wide and 1 high.
    std::string wideScene() {
        return writeVekFile(in.file("wide.vek"), [](vekgen::VekWriter& w) {
            const vekgen::Point3 points[] = {{0, 0, 0}, {1000, 0, 0}, {1000, 1, 0}, {0, 1, 0}};
            const vekgen::Face4 faces[] = {{0, 1, 2, 3}};
            w.points(points);
            w.face4(faces);
            w.endBlock();
        });
    }

    TempDir in;
    TempDir out;
};

class InvalidHeightTest : public ExportStatusTest, public ::testing::WithParamInterface<double> {};

class OutputStatusTest : public ExportStatusTest, public ::testing::WithParamInterface<Format> {
protected:
    // The sample scene: some 350 kB in the smallest format.
    ExportOptions sampleExport(const std::string& output) const {
        return exportOptions(sampleScenePaths(), output, GetParam());
    }
    std::string outputName() const { return sceneFileName(GetParam()); }
};

}  // namespace

// ---------------------------------------------------------------- options

TEST_F(ExportStatusTest, NoInputsAreInvalidOptions) {
    ExportOptions options = exportOptions({}, out.file("scene.stl"));
    const ExportResult result = exportExpectingFailure(options);
    EXPECT_EQ(result.status.kind, StatusKind::kInvalidOptions);
    EXPECT_EQ(result.status.reason, "no input file given");
    EXPECT_EQ(result.status.describe(), "no input file given");
    EXPECT_EQ(directoryEntries(out.path()), Names{});
}

TEST_F(ExportStatusTest, NoOutputIsInvalidOptions) {
    const ExportResult result = exportExpectingFailure(exportOptions({quad()}, ""));
    EXPECT_EQ(result.status.kind, StatusKind::kInvalidOptions);
    EXPECT_EQ(result.status.reason, "no output file given");
    EXPECT_EQ(result.status.path, "");
}

TEST_P(InvalidHeightTest, IsInvalidOptionsAndWritesNothing) {
    const ExportResult result =
        exportExpectingFailure(exportOptions({quad()}, out.file("scene.stl"), Format::BinaryStl, GetParam()));
    EXPECT_EQ(result.status.kind, StatusKind::kInvalidOptions);
    EXPECT_EQ(result.status.reason, "the height must be a positive number no larger than 3.4e38");
    EXPECT_EQ(result.status.systemError, 0);
    EXPECT_EQ(directoryEntries(out.path()), Names{});
}

INSTANTIATE_TEST_SUITE_P(Heights, InvalidHeightTest,
                         ::testing::Values(0.0, -0.0, -1.0, std::numeric_limits<double>::quiet_NaN(),
                                           std::numeric_limits<double>::infinity(),
                                           -std::numeric_limits<double>::infinity(),
                                           // beyond the largest float: the placement computes in floats
                                           1e39, std::numeric_limits<double>::max()));

TEST_F(ExportStatusTest, AHeightThatOverflowsThePlacementIsInvalidOptions) {
    // A scene 1000 wide and 1 high raised to 5e35: 5e38 wide, beyond floats.
    const ExportResult result =
        exportExpectingFailure(exportOptions({wideScene()}, out.file("scene.stl"), Format::BinaryStl, 5e35));
    EXPECT_EQ(result.status.kind, StatusKind::kInvalidOptions);
    EXPECT_EQ(result.status.reason, "the height cannot be reached in single precision from the scene's extent");
    EXPECT_EQ(directoryEntries(out.path()), Names{});
}

// At 1e36 the placement's translation itself overflows: the placed corners
// come out NaN, not infinite.
TEST_F(ExportStatusTest, AHeightThatOverflowsThePlacementsTranslationIsInvalidOptions) {
    const ExportResult result =
        exportExpectingFailure(exportOptions({wideScene()}, out.file("scene.stl"), Format::BinaryStl, 1e36));
    EXPECT_EQ(result.status.kind, StatusKind::kInvalidOptions);
    EXPECT_EQ(result.status.reason, "the height cannot be reached in single precision from the scene's extent");
    EXPECT_EQ(directoryEntries(out.path()), Names{});
}

TEST_F(ExportStatusTest, OptionsAreCheckedBeforeTheInputs) {
    // A missing input and a zero height: the options are what is reported.
    const ExportResult result =
        exportExpectingFailure(exportOptions({in.file("absent.vek")}, out.file("scene.stl"), Format::BinaryStl, 0.0));
    EXPECT_EQ(result.status.kind, StatusKind::kInvalidOptions);
}

// ---------------------------------------------------------------- inputs

TEST_F(ExportStatusTest, AMissingInputIsNamedWithTheSystemsReason) {
    const std::string missing = in.file("absent.vek");
    const ExportResult result = exportExpectingFailure(exportOptions({quad(), missing}, out.file("scene.stl")));
    EXPECT_EQ(result.status.kind, StatusKind::kInputMissing);
    EXPECT_EQ(result.status.path, missing);
    EXPECT_EQ(result.status.systemError, ENOENT);
    EXPECT_EQ(result.status.reason, "No such file or directory");
    EXPECT_EQ(result.status.describe(), missing + ": cannot read: No such file or directory");
    EXPECT_EQ(directoryEntries(out.path()), Names{});
}

TEST_F(ExportStatusTest, ADirectoryAsInputIsMissing) {
    const std::string folder = in.file("folder.vek");
    std::filesystem::create_directory(folder);
    const ExportResult result = exportExpectingFailure(exportOptions({folder}, out.file("scene.stl")));
    EXPECT_EQ(result.status.kind, StatusKind::kInputMissing);
    EXPECT_EQ(result.status.path, folder);
    EXPECT_EQ(result.status.systemError, EISDIR);
    EXPECT_EQ(result.status.reason, "Is a directory");
}

TEST_F(ExportStatusTest, APipeAsInputIsRefusedWithoutWaitingForAWriter) {
    const std::string fifo = in.file("pipe.vek");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0644), 0) << std::strerror(errno);
    const ProcessResources before = processResources();
    // Opening a pipe for reading blocks until a writer comes: the export runs
    // on a thread of its own so that a blocked one can be freed and reported.
    std::packaged_task<ExportResult()> task(
        [&] { return ombrel::exportScene(exportOptions({fifo}, out.file("scene.stl"))); });
    std::future<ExportResult> pending = task.get_future();
    std::thread exporter(std::move(task));
    const bool ended = pending.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
    if (!ended) {
        const int writer = ::open(fifo.c_str(), O_WRONLY | O_NONBLOCK);
        if (writer >= 0) ::close(writer);
    }
    exporter.join();
    ASSERT_TRUE(ended) << "the export waited for a writer of the pipe";
    const ExportResult result = pending.get();
    EXPECT_EQ(result.status.kind, StatusKind::kInputMissing);
    EXPECT_EQ(result.status.path, fifo);
    EXPECT_EQ(result.status.systemError, 0);
    EXPECT_EQ(result.status.reason, "not a regular file");
    expectResourcesBack(before);
}

TEST_F(ExportStatusTest, AnUnreadableInputIsMissingWithPermissionDenied) {
    // Root reads any file: the export runs as an ordinary user.
    const std::string locked = quad();
    chmod(locked.c_str(), 0);
    chmod(in.path().c_str(), 0755);
    const ChildExport child = exportInChild(dropRootPrivileges, exportOptions({locked}, out.file("scene.stl")));
    ASSERT_TRUE(child.ran);
    EXPECT_EQ(child.status.kind, StatusKind::kInputMissing);
    EXPECT_EQ(child.status.path, locked);
    EXPECT_EQ(child.status.systemError, EACCES);
    EXPECT_EQ(child.status.reason, "Permission denied");
    EXPECT_EQ(directoryEntries(out.path()), Names{});
}

TEST_F(ExportStatusTest, AFileWithoutVekHeaderIsNotVek) {
    const std::string text = in.file("scene.obj");
    writeFileText(text, "# not a mesh this library reads\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    const ExportResult result = exportExpectingFailure(exportOptions({quad(), text}, out.file("scene.stl")));
    EXPECT_EQ(result.status.kind, StatusKind::kInputNotVek);
    EXPECT_EQ(result.status.path, text);
    EXPECT_EQ(result.status.systemError, 0);
    EXPECT_EQ(result.status.reason, "no Vek file header");
    EXPECT_EQ(result.status.describe(), text + ": not a Vek file: no Vek file header");
    EXPECT_EQ(directoryEntries(out.path()), Names{});
}

TEST_F(ExportStatusTest, AFileShorterThanTheHeaderIsNotVek) {
    // The right magic, but 31 of the header's 32 bytes.
    std::vector<unsigned char> bytes = vekBytes([](vekgen::VekWriter&) {});
    ASSERT_EQ(bytes.size(), 32u);
    bytes.pop_back();
    const std::string cut = in.file("cut.vek");
    writeFileBytes(cut, bytes);
    const ExportResult result = exportExpectingFailure(exportOptions({cut}, out.file("scene.stl")));
    EXPECT_EQ(result.status.kind, StatusKind::kInputNotVek);
    EXPECT_EQ(result.status.path, cut);
    EXPECT_EQ(result.status.reason, "too short for a Vek file header");
}

TEST_F(ExportStatusTest, AnEmptyFileIsNotVek) {
    const std::string empty = in.file("empty.vek");
    writeFileBytes(empty, {});
    const ExportResult result = exportExpectingFailure(exportOptions({empty}, out.file("scene.stl")));
    EXPECT_EQ(result.status.kind, StatusKind::kInputNotVek);
    EXPECT_EQ(result.status.reason, "too short for a Vek file header");
}

TEST_F(ExportStatusTest, ATruncatedVekFileIsExportedWithAWarning) {
    // Two quads whose second face loses its last two indices with the end of
    // the file: they read as zero, the file is still exported.
    std::vector<unsigned char> bytes = vekBytes([](vekgen::VekWriter& w) {
        const vekgen::Point3 points[] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {2, 0, 0}, {2, 1, 0}};
        const vekgen::Face4 faces[] = {{0, 1, 2, 3}, {1, 4, 5, 2}};
        w.points(points);
        w.face4(faces);
        w.endBlock();
    });
    bytes.resize(bytes.size() - 16 - 8);  // the end block and two indices
    const std::string cut = in.file("cut.vek");
    writeFileBytes(cut, bytes);
    const std::string output = out.file("scene.stl");
    const ExportResult result = ombrel::exportScene(exportOptions({cut}, output));
    ASSERT_TRUE(result.ok()) << result.status.describe();
    ASSERT_EQ(result.warnings.size(), 1u);
    EXPECT_EQ(result.warnings[0].kind, ombrel::WarningKind::kBodyShorterThanCount);
    EXPECT_EQ(result.warnings[0].file, cut);
    EXPECT_EQ(result.warnings[0].block, "Face4");
    EXPECT_EQ(result.warnings[0].count, 1u);  // the face cut in half
    EXPECT_EQ(result.warnings[0].describe(),
              cut + ": Face4 block: the block ends early; 1 face missing, read as zeros");
    // The cut face reads as (1, 4, 0, 0): still a quad of existing points.
    EXPECT_EQ(result.report.files[0].faces, 2u);
    EXPECT_EQ(result.report.trianglesWritten, 4u);
    EXPECT_EQ(readBinaryStl(output).size(), 4u);
}

// ---------------------------------------------------------------- outputs

TEST_P(OutputStatusTest, AMissingDirectoryIsNotWritable) {
    const std::string output = out.file("missing/" + outputName());
    const ExportResult result = exportExpectingFailure(sampleExport(output));
    EXPECT_EQ(result.status.kind, StatusKind::kOutputNotWritable);
    EXPECT_EQ(result.status.path, output);
    EXPECT_EQ(result.status.systemError, ENOENT);
    EXPECT_EQ(result.status.reason, "No such file or directory");
    EXPECT_EQ(directoryEntries(out.path()), Names{});
}

TEST_P(OutputStatusTest, ARelativeOutputIsNamedAsGiven) {
    // Relative to the working directory, into a directory that is not there.
    const std::string output = "no-such-directory-" + std::to_string(getpid()) + "/" + outputName();
    const ExportResult result = exportExpectingFailure(sampleExport(output));
    EXPECT_EQ(result.status.kind, StatusKind::kOutputNotWritable);
    EXPECT_EQ(result.status.describe(), output + ": cannot write: No such file or directory");
}

TEST_P(OutputStatusTest, ADirectoryIsNotWritable) {
    const std::string output = out.file(outputName());
    std::filesystem::create_directory(output);
    const ExportResult result = exportExpectingFailure(sampleExport(output));
    EXPECT_EQ(result.status.kind, StatusKind::kOutputNotWritable);
    EXPECT_EQ(result.status.systemError, EISDIR);
    EXPECT_EQ(result.status.reason, "Is a directory");
    EXPECT_TRUE(std::filesystem::is_directory(output));
}

TEST_P(OutputStatusTest, AReadOnlyDirectoryIsNotWritableForANewFile) {
    const std::string output = out.file(outputName());
    chmod(out.path().c_str(), 0555);
    const ChildExport child = exportInChild(dropRootPrivileges, sampleExport(output));
    ASSERT_TRUE(child.ran);
    EXPECT_EQ(child.status.kind, StatusKind::kOutputNotWritable);
    EXPECT_EQ(child.status.path, output);
    EXPECT_EQ(child.status.systemError, EACCES);
    EXPECT_EQ(child.status.reason, "Permission denied");
    EXPECT_EQ(directoryEntries(out.path()), Names{});
}

TEST_P(OutputStatusTest, AWritableFileInAReadOnlyDirectoryIsWrittenInPlace) {
    // As fopen would: only the directory refuses a new file.
    const std::string output = out.file(outputName());
    writeFileBytes(output, previousOutputBytes());
    chmod(output.c_str(), 0666);
    chmod(out.path().c_str(), 0555);
    const ChildExport child = exportInChild(dropRootPrivileges, sampleExport(output));
    ASSERT_TRUE(child.ran);
    EXPECT_TRUE(child.status.ok()) << child.status.describe();
    EXPECT_NE(readFileBytes(output), previousOutputBytes());
    EXPECT_EQ(directoryEntries(out.path()), Names{outputName()});
    chmod(out.path().c_str(), 0755);
    ASSERT_TRUE(ombrel::exportScene(sampleExport(out.file("again"))).ok());
    EXPECT_EQ(readFileBytes(output), readFileBytes(out.file("again")));
}

TEST_P(OutputStatusTest, AnOutputWrittenInPlaceIsReportedSo) {
    // A file with a second name cannot be replaced without losing it.
    const std::string output = out.file(outputName());
    writeFileBytes(output, previousOutputBytes());
    ASSERT_EQ(link(output.c_str(), out.file("second name").c_str()), 0);
    const ExportResult result = ombrel::exportScene(sampleExport(output));
    ASSERT_TRUE(result.ok());
    EXPECT_FALSE(result.report.replacedAtomically);
    EXPECT_EQ(readFileBytes(out.file("second name")), readFileBytes(output));
    EXPECT_TRUE(ombrel::exportScene(sampleExport(out.file("plain"))).report.replacedAtomically);
}

TEST_P(OutputStatusTest, AFileSizeLimitFailsTheWriteAndKeepsThePreviousFile) {
    const std::string output = out.file(outputName());
    writeFileBytes(output, previousOutputBytes());
    const ChildExport child = exportInChild([] { return limitFileSize(64 * 1024); }, sampleExport(output));
    ASSERT_TRUE(child.ran);
    EXPECT_EQ(child.status.kind, StatusKind::kWriteFailed);
    EXPECT_EQ(child.status.path, output);
    EXPECT_EQ(child.status.systemError, EFBIG);
    EXPECT_EQ(child.status.reason, std::strerror(EFBIG));
    EXPECT_EQ(readFileBytes(output), previousOutputBytes());
    EXPECT_EQ(directoryEntries(out.path()), Names{outputName()});
}

TEST_P(OutputStatusTest, AFileSizeLimitWithoutPreviousFileLeavesNoFile) {
    const std::string output = out.file(outputName());
    const ChildExport child = exportInChild([] { return limitFileSize(64 * 1024); }, sampleExport(output));
    ASSERT_TRUE(child.ran);
    EXPECT_EQ(child.status.kind, StatusKind::kWriteFailed);
    EXPECT_EQ(child.status.systemError, EFBIG);
    EXPECT_EQ(directoryEntries(out.path()), Names{});
}

TEST_P(OutputStatusTest, AFullFileSystemFailsTheWriteAndKeepsThePreviousFile) {
    if (geteuid() != 0) GTEST_SKIP() << "mounting a small file system needs root";
    const std::string disk = out.file("disk");
    std::filesystem::create_directory(disk);
    if (mount("tmpfs", disk.c_str(), "tmpfs", 0, "size=128k") != 0)
        GTEST_SKIP() << "cannot mount a tmpfs: " << std::strerror(errno);
    struct Unmount {
        const std::string& path;
        ~Unmount() { umount2(path.c_str(), MNT_DETACH); }
    } unmount{disk};
    const std::string output = disk + "/" + outputName();
    writeFileBytes(output, previousOutputBytes());
    const ExportResult result = exportExpectingFailure(sampleExport(output));
    EXPECT_EQ(result.status.kind, StatusKind::kWriteFailed);
    EXPECT_EQ(result.status.path, output);
    EXPECT_EQ(result.status.systemError, ENOSPC);
    EXPECT_EQ(result.status.reason, "No space left on device");
    EXPECT_EQ(result.status.describe(), output + ": write failed: No space left on device");
    EXPECT_EQ(readFileBytes(output), previousOutputBytes());
    EXPECT_EQ(directoryEntries(disk), Names{outputName()});
}

INSTANTIATE_TEST_SUITE_P(Formats, OutputStatusTest, allFormats(), formatTestName);
