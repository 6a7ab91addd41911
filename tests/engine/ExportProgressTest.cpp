// The progress callback sees the export as it happens: every file measured,
// then every file written, with the faces written so far out of the scene's
// faces, often enough for a progress bar.

#include "EngineTestSupport.h"

#include "TestFiles.h"
#include "VekTestFiles.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

// A scene of 210,000 faces in three files, written once per test program:
// each file holds more faces than the longest allowed gap between calls.
const GeneratedScene& progressScene() {
    static TempDir directory;
    static const GeneratedScene scene = writeGeneratedScene(directory.path(), vekgen::SceneOptions{210'000, 3, 11});
    return scene;
}

class ExportProgressTest : public ::testing::TestWithParam<Format> {
protected:
    // Exports `paths` and returns every call the callback received.
    std::vector<Progress> recordProgress(const std::vector<std::string>& paths) {
        std::vector<Progress> calls;
        ExportOptions options = exportOptions(paths, out.file("scene"), GetParam());
        options.progress = [&calls](const Progress& progress) {
            calls.push_back(progress);
            return ProgressAction::Continue;
        };
        const ExportResult result = ombrel::exportScene(options);
        EXPECT_TRUE(result.ok()) << result.status.describe();
        return calls;
    }

    // The calls of one phase, in order.
    static std::vector<Progress> callsOf(const std::vector<Progress>& calls, Phase phase) {
        std::vector<Progress> selected;
        std::copy_if(calls.begin(), calls.end(), std::back_inserter(selected),
                     [phase](const Progress& p) { return p.phase == phase; });
        return selected;
    }

    TempDir out;
};

}  // namespace

TEST_P(ExportProgressTest, EveryFileIsMeasuredBeforeAnyIsWritten) {
    const std::vector<Progress> calls = recordProgress(progressScene().paths);
    ASSERT_GE(calls.size(), 6u);
    for (std::size_t i = 0; i < 3; ++i) {
        SCOPED_TRACE("call " + std::to_string(i));
        EXPECT_EQ(calls[i].phase, Phase::MeasuringScene);
        EXPECT_EQ(calls[i].fileIndex, i);
        EXPECT_EQ(calls[i].fileCount, 3u);
        EXPECT_EQ(calls[i].facesDone, 0u);
    }
    for (std::size_t i = 3; i < calls.size(); ++i) EXPECT_EQ(calls[i].phase, Phase::Writing) << "call " << i;
}

TEST_P(ExportProgressTest, EachFileIsAnnouncedBeforeItsFacesInOrder) {
    const std::vector<Progress> writing = callsOf(recordProgress(progressScene().paths), Phase::Writing);
    ASSERT_FALSE(writing.empty());
    // The first call of each file comes with the faces of the files before it.
    std::uint64_t facesBefore = 0;
    std::size_t call = 0;
    for (std::size_t file = 0; file < 3; ++file) {
        while (call < writing.size() && writing[call].fileIndex < file) ++call;
        ASSERT_LT(call, writing.size()) << "no call for file " << file;
        EXPECT_EQ(writing[call].fileIndex, file);
        EXPECT_EQ(writing[call].facesDone, facesBefore) << "file " << file;
        facesBefore += 70'000;
    }
    for (const Progress& p : writing) EXPECT_EQ(p.fileCount, 3u);
    EXPECT_EQ(writing.back().fileIndex, 2u);
}

TEST_P(ExportProgressTest, FacesDoneGrowsToTheScenesFaceCount) {
    const std::vector<Progress> writing = callsOf(recordProgress(progressScene().paths), Phase::Writing);
    ASSERT_FALSE(writing.empty());
    for (std::size_t i = 0; i < writing.size(); ++i) {
        EXPECT_EQ(writing[i].facesTotal, progressScene().faces) << "call " << i;
        if (i > 0) {
            EXPECT_GE(writing[i].facesDone, writing[i - 1].facesDone) << "call " << i;
        }
    }
    EXPECT_EQ(writing.back().facesDone, 210'000u);
    EXPECT_EQ(progressScene().faces, 210'000u);
}

TEST_P(ExportProgressTest, NoMoreThan65536FacesPassBetweenCalls) {
    const std::vector<Progress> writing = callsOf(recordProgress(progressScene().paths), Phase::Writing);
    ASSERT_FALSE(writing.empty());
    std::uint64_t largestGap = writing.front().facesDone;
    for (std::size_t i = 1; i < writing.size(); ++i)
        largestGap = std::max(largestGap, writing[i].facesDone - writing[i - 1].facesDone);
    EXPECT_LE(largestGap, 65'536u);
    EXPECT_GT(largestGap, 0u);
}

TEST_P(ExportProgressTest, TheCallbackSeesTheFacesOfAClampedCount) {
    // A Face4 block whose header claims twenty million faces (and as many
    // bytes) where the file holds two: the measure expects the count, the
    // reading finds two, and the total follows what was read.
    TempDir in;
    const std::string clamped = writeVekFile(in.file("clamped.vek"), [](vekgen::VekWriter& w) {
        const vekgen::Point3 points[] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
        w.points(points);
        w.blockHeader({20001, 16 + 16 * 20'000'000u, 20'000'000u, 0});
        for (int index : {0, 1, 2, 3, 0, 2, 3, -1}) w.rawBytes(le32(std::uint32_t(index)));
    });
    const std::vector<Progress> writing = callsOf(recordProgress({clamped}), Phase::Writing);
    ASSERT_FALSE(writing.empty());
    EXPECT_EQ(writing.back().facesDone, 2u);
    EXPECT_EQ(writing.back().facesTotal, 2u);
}

INSTANTIATE_TEST_SUITE_P(Formats, ExportProgressTest, allFormats(), formatTestName);
