#include "vekio/QMVekIO.h"

#include "TestFiles.h"
#include "VekTestFiles.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace {

// Opens a file made of `bytes` for reading.
class StreamOver {
public:
    explicit StreamOver(const std::vector<unsigned char>& bytes) {
        writeFileBytes(m_dir.file("f.vek"), bytes);
        m_file = std::fopen(m_dir.file("f.vek").c_str(), "rb");
    }
    ~StreamOver() { std::fclose(m_file); }
    std::FILE* get() const { return m_file; }

private:
    TempDir m_dir;
    std::FILE* m_file;
};

std::vector<unsigned char> headerWithTail(const char magic[4], unsigned char tailByte) {
    std::vector<unsigned char> bytes(magic, magic + 4);
    bytes.resize(32, tailByte);
    return bytes;
}

}  // namespace

TEST(VekContainer, FileHeaderWithArbitraryTailIsAccepted) {
    StreamOver stream(headerWithTail("Vekb", 0xA5));
    QMVekIO io;
    EXPECT_TRUE(io.readFileHeader(stream.get()));
}

TEST(VekContainer, FileShorterThanHeaderIsRejected) {
    std::vector<unsigned char> bytes = headerWithTail("Vekb", 0);
    bytes.resize(31);
    StreamOver stream(bytes);
    QMVekIO io;
    EXPECT_FALSE(io.readFileHeader(stream.get()));
}

TEST(VekContainer, MagicInOtherLetterCaseIsRejected) {
    StreamOver stream(headerWithTail("VEKB", 0));
    QMVekIO io;
    EXPECT_FALSE(io.readFileHeader(stream.get()));
}

TEST(VekContainer, InvalidStreamIsRejectedWithoutReading) {
    QMVekIO io;
    EXPECT_FALSE(io.readFileHeader(nullptr));
    EXPECT_FALSE(io.writeFileHeader(nullptr));
}

TEST(VekContainer, WrittenFileHeaderIsMagicAndZeros) {
    TempDir dir;
    std::FILE* file = std::fopen(dir.file("h.vek").c_str(), "wb");
    QMVekIO io;
    EXPECT_TRUE(io.writeFileHeader(file));
    std::fclose(file);
    std::vector<unsigned char> expected = {'V', 'e', 'k', 'b'};
    expected.resize(32, 0);
    EXPECT_EQ(readFileBytes(dir.file("h.vek")), expected);
}

TEST(VekContainer, WrittenEndBlockIsSixteenBytes) {
    TempDir dir;
    std::FILE* file = std::fopen(dir.file("e.vek").c_str(), "wb");
    QMVekIO io;
    EXPECT_TRUE(io.writeBlockHeader(file, Vek_Header{0, 16, 0, 0}));
    std::fclose(file);
    const std::vector<unsigned char> expected = {0, 0, 0, 0, 0x10, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(readFileBytes(dir.file("e.vek")), expected);
}

TEST(VekContainer, BlockHeaderReadsFourLittleEndianWords) {
    std::vector<unsigned char> bytes;
    for (std::uint32_t word : {10001u, 40u, 2u, 7u}) {
        std::vector<unsigned char> le = le32(word);
        bytes.insert(bytes.end(), le.begin(), le.end());
    }
    StreamOver stream(bytes);
    QMVekIO io;
    Vek_Header header{};
    ASSERT_TRUE(io.readBlockHeader(stream.get(), header));
    EXPECT_EQ(header.tag, 10001u);
    EXPECT_EQ(header.size, 40u);
    EXPECT_EQ(header.count, 2u);
    EXPECT_EQ(header.reserved, 7u);
}

TEST(VekContainer, TruncatedBlockHeaderFails) {
    StreamOver stream(std::vector<unsigned char>(15, 1));
    QMVekIO io;
    Vek_Header header{};
    EXPECT_FALSE(io.readBlockHeader(stream.get(), header));
}

TEST(VekContainer, SkipBlockSeeksOverTheBody) {
    std::vector<unsigned char> bytes(40, 0);
    bytes[36] = 0x77;
    StreamOver stream(bytes);
    QMVekIO io;
    ASSERT_EQ(std::fseek(stream.get(), 16, SEEK_SET), 0);
    EXPECT_EQ(io.skipBlock(stream.get(), Vek_Header{99, 36, 0, 0}), 0);
    EXPECT_EQ(std::fgetc(stream.get()), 0x77);
}

TEST(VekContainer, SkipBlockWithSizeBelowSixteenGoesBackwards) {
    StreamOver stream(std::vector<unsigned char>{1, 2, 3, 4, 5, 6, 7, 8});
    QMVekIO io;
    ASSERT_EQ(std::fseek(stream.get(), 6, SEEK_SET), 0);
    EXPECT_EQ(io.skipBlock(stream.get(), Vek_Header{99, 12, 0, 0}), 0);
    EXPECT_EQ(std::fgetc(stream.get()), 3);
}
