#include "vekio/QMVekIO.h"

#include "ChildProcess.h"
#include "TestFiles.h"
#include "VekTestFiles.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <sys/resource.h>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

void append(Bytes& bytes, const Bytes& more) { bytes.insert(bytes.end(), more.begin(), more.end()); }

Bytes fileHeader() {
    Bytes bytes = {'V', 'e', 'k', 'b'};
    bytes.resize(32, 0);
    return bytes;
}

Bytes blockHeader(std::uint32_t tag, std::uint32_t size, std::uint32_t count) {
    Bytes bytes = le32(tag);
    append(bytes, le32(size));
    append(bytes, le32(count));
    append(bytes, le32(0));
    return bytes;
}

class VekMRGBTest : public ::testing::Test {
protected:
    QMString path(const std::string& name) const { return QMString(dir.file(name).c_str()); }

    TempDir dir;
    QMVekIO io;
};

// Runs writeMRGBBloc in a child process whose files may not grow beyond
// `limit` bytes, and returns its result there.
bool writeUnderFileSizeLimit(const QMString& name, QMArray<std::uint32_t> words, rlim_t limit) {
    const int result = runInChildProcess([&] {
        if (!limitFileSize(limit)) return 2;
        QMVekIO io;
        return io.writeMRGBBloc(name, words) ? 1 : 0;
    });
    EXPECT_NE(result, 2) << "the file size limit could not be set";
    EXPECT_NE(result, -1) << "the child process did not exit normally";
    return result == 1;
}

}  // namespace

// ------------------------------------------------------------------ conversion

TEST_F(VekMRGBTest, WordFromFileBytesConvertsToRedGreenBlue) {
    // Bytes 00 80 FF 12 in file order: blue 0, green 0x80, red 0xFF, M byte 0x12.
    const QMString name = path("one.vek");
    writeVekFile(dir.file("one.vek"), [](vekgen::VekWriter& w) {
        const unsigned char body[] = {0x00, 0x80, 0xFF, 0x12};
        w.rawBlock(QMVekIO::kTagMRGB, 1, body);
        w.endBlock();
    });
    QMArray<std::uint32_t> words;
    ASSERT_TRUE(io.readMRGBBloc(name, words));
    ASSERT_EQ(words.size(), 1u);
    QMVector3f colour(-1, -1, -1);
    io.convertOneMRGBToColor3f(colour, words, 0);
    EXPECT_EQ(colour.x, 1.0f);
    EXPECT_EQ(colour.y, 128.0f / 255.0f);
    EXPECT_EQ(colour.y, 0.5019608f);
    EXPECT_EQ(colour.z, 0.0f);
}

TEST_F(VekMRGBTest, EachByteGoesToItsChannel) {
    QMVector3f colour;
    io.convertOneMRGBToColor3f(colour, {0x00030201u}, 0);
    EXPECT_EQ(colour.x, 3.0f / 255.0f);
    EXPECT_EQ(colour.y, 2.0f / 255.0f);
    EXPECT_EQ(colour.z, 1.0f / 255.0f);
}

TEST_F(VekMRGBTest, MaskByteHasNoEffect) {
    QMVector3f without, with;
    io.convertOneMRGBToColor3f(without, {0x00FF8000u}, 0);
    io.convertOneMRGBToColor3f(with, {0xFFFF8000u}, 0);
    EXPECT_EQ(with.x, without.x);
    EXPECT_EQ(with.y, without.y);
    EXPECT_EQ(with.z, without.z);
}

TEST_F(VekMRGBTest, EntryIsChosenByIndex) {
    QMVector3f colour;
    io.convertOneMRGBToColor3f(colour, {0x00000000u, 0x00FFFFFFu, 0x00000000u}, 1);
    EXPECT_EQ(colour.x, 1.0f);
    EXPECT_EQ(colour.y, 1.0f);
    EXPECT_EQ(colour.z, 1.0f);
}

TEST_F(VekMRGBTest, WholeArrayConvertsEveryEntry) {
    QMArray<QMVector3f> colours;
    io.convertMRGBBlocToColors3f(colours, {0x00FF0000u, 0x1200FF00u, 0x000000FFu});
    ASSERT_EQ(colours.size(), 3u);
    EXPECT_EQ(colours[0].x, 1.0f);
    EXPECT_EQ(colours[0].y, 0.0f);
    EXPECT_EQ(colours[0].z, 0.0f);
    EXPECT_EQ(colours[1].x, 0.0f);
    EXPECT_EQ(colours[1].y, 1.0f);
    EXPECT_EQ(colours[1].z, 0.0f);
    EXPECT_EQ(colours[2].x, 0.0f);
    EXPECT_EQ(colours[2].y, 0.0f);
    EXPECT_EQ(colours[2].z, 1.0f);
}

TEST_F(VekMRGBTest, EmptyWordsLeaveColoursEmpty) {
    QMArray<QMVector3f> colours;
    io.convertMRGBBlocToColors3f(colours, {});
    EXPECT_TRUE(colours.empty());
}

TEST_F(VekMRGBTest, LongerColourListIsCutToTheWords) {
    QMArray<QMVector3f> colours(4, QMVector3f(7, 7, 7));
    io.convertMRGBBlocToColors3f(colours, {0x00FFFFFFu, 0x00000000u});
    ASSERT_EQ(colours.size(), 2u);
    EXPECT_EQ(colours[0].x, 1.0f);
    EXPECT_EQ(colours[0].z, 1.0f);
    EXPECT_EQ(colours[1].x, 0.0f);
    EXPECT_EQ(colours[1].z, 0.0f);
}

TEST_F(VekMRGBTest, ShorterColourListGrowsAndEveryEntryIsOverwritten) {
    QMArray<QMVector3f> colours(1, QMVector3f(7, 7, 7));
    io.convertMRGBBlocToColors3f(colours, {0x00000000u, 0x00FF0000u, 0x000000FFu});
    ASSERT_EQ(colours.size(), 3u);
    EXPECT_EQ(colours[0].x, 0.0f);
    EXPECT_EQ(colours[0].y, 0.0f);
    EXPECT_EQ(colours[0].z, 0.0f);
    EXPECT_EQ(colours[1].x, 1.0f);
    EXPECT_EQ(colours[2].z, 1.0f);
}

TEST_F(VekMRGBTest, EmptyWordsEmptyAnExistingColourList) {
    QMArray<QMVector3f> colours(2, QMVector3f(7, 7, 7));
    io.convertMRGBBlocToColors3f(colours, {});
    EXPECT_TRUE(colours.empty());
}

// ------------------------------------------------------------------ writer

TEST_F(VekMRGBTest, EmptyArrayGivesA64ByteFile) {
    QMArray<std::uint32_t> words;
    ASSERT_TRUE(io.writeMRGBBloc(path("empty.vek"), words));
    Bytes expected = fileHeader();
    append(expected, blockHeader(35001, 16, 0));
    append(expected, blockHeader(0, 16, 0));
    const Bytes written = readFileBytes(dir.file("empty.vek"));
    EXPECT_EQ(written.size(), 64u);
    EXPECT_EQ(written, expected);
}

TEST_F(VekMRGBTest, WordsFollowTheirBlockHeaderInFileOrder) {
    QMArray<std::uint32_t> words = {0x12FF8000u, 0xA1B2C3D4u};
    ASSERT_TRUE(io.writeMRGBBloc(path("two.vek"), words));
    Bytes expected = fileHeader();
    append(expected, blockHeader(35001, 24, 2));
    append(expected, {0x00, 0x80, 0xFF, 0x12, 0xD4, 0xC3, 0xB2, 0xA1});
    append(expected, blockHeader(0, 16, 0));
    const Bytes written = readFileBytes(dir.file("two.vek"));
    EXPECT_EQ(written.size(), 32u + 16u + 8u + 16u);
    EXPECT_EQ(written, expected);
}

TEST_F(VekMRGBTest, WrittenFileMatchesTheIndependentWriter) {
    QMArray<std::uint32_t> words;
    for (std::uint32_t i = 0; i < 1000; ++i) words.push_back(i * 2654435761u);
    ASSERT_TRUE(io.writeMRGBBloc(path("many.vek"), words));
    const std::vector<std::uint32_t> copy(words.begin(), words.end());
    EXPECT_EQ(readFileBytes(dir.file("many.vek")), vekBytes([&copy](vekgen::VekWriter& w) {
                  w.mrgb(copy);
                  w.endBlock();
              }));
}

TEST_F(VekMRGBTest, RoundTripThroughTheReader) {
    QMArray<std::uint32_t> words = {0x12FF8000u, 0x00000000u, 0xFFFFFFFFu, 0x01020304u};
    ASSERT_TRUE(io.writeMRGBBloc(path("round.vek"), words));
    QMArray<std::uint32_t> read = {99u};
    ASSERT_TRUE(io.readMRGBBloc(path("round.vek"), read));
    EXPECT_EQ(read, words);
}

TEST_F(VekMRGBTest, ExistingFileIsReplaced) {
    writeFileBytes(dir.file("old.vek"), Bytes(500, 0xEE));
    QMArray<std::uint32_t> words;
    ASSERT_TRUE(io.writeMRGBBloc(path("old.vek"), words));
    EXPECT_EQ(readFileBytes(dir.file("old.vek")).size(), 64u);
}

TEST_F(VekMRGBTest, MissingDirectoryFailsAndLeavesNothing) {
    QMArray<std::uint32_t> words = {1u, 2u};
    EXPECT_FALSE(io.writeMRGBBloc(path("missing/c.vek"), words));
    EXPECT_FALSE(pathExists(dir.file("missing/c.vek")));
    EXPECT_FALSE(pathExists(dir.file("missing")));
}

TEST_F(VekMRGBTest, FailedWordWriteRemovesThePartialFile) {
    // More words than the stream buffers: the word write itself reaches the limit.
    const QMArray<std::uint32_t> words(100000, 0x00FF8000u);
    EXPECT_FALSE(writeUnderFileSizeLimit(path("cut.vek"), words, 100));
    EXPECT_FALSE(pathExists(dir.file("cut.vek")));
}

TEST_F(VekMRGBTest, FailedFinalFlushRemovesThePartialFile) {
    // Everything fits the stream buffer; the limit is only met when closing.
    const QMArray<std::uint32_t> words(10, 0x00FF8000u);
    EXPECT_FALSE(writeUnderFileSizeLimit(path("late.vek"), words, 40));
    EXPECT_FALSE(pathExists(dir.file("late.vek")));
}

TEST_F(VekMRGBTest, WriteWithinTheFileSizeLimitSucceeds) {
    const QMArray<std::uint32_t> words(10, 0x00FF8000u);
    EXPECT_TRUE(writeUnderFileSizeLimit(path("fits.vek"), words, 104));
    EXPECT_EQ(readFileBytes(dir.file("fits.vek")).size(), 104u);
}
