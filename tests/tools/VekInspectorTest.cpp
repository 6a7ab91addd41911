#include "tools/vekgen/VekInspector.h"
#include "tools/vekgen/VekWriter.h"

#include "TestFiles.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <sys/stat.h>
#include <string>
#include <vector>

using namespace vekgen;

namespace {

using Bytes = std::vector<unsigned char>;

// Points (2), Face4 (1), unknown 40001 (3 bytes), MRGB (2), end.
Bytes smallFile() {
    VekWriter w = VekWriter::inMemory();
    const std::vector<Point3> pts = {{0, 0, 0}, {1, 2, 3}};
    const std::vector<Face4> faces = {{0, 1, 1, -1}};
    const std::vector<std::uint32_t> colours = {0xFF0000u, 0x00FF00u};
    w.points(pts);
    w.face4(faces);
    w.rawBlock(40001, 3, Bytes{1, 2, 3});
    w.mrgb(colours);
    w.endBlock();
    return w.bytes();
}

void putU32(Bytes& b, std::size_t offset, std::uint32_t v) { storeU32(b.data() + offset, v); }

}  // namespace

TEST(VekInspector, ListsTheBlocksOfAGoodFile) {
    const VekInspection r = VekInspector::inspectBytes(smallFile());
    EXPECT_EQ(r.status, VekStatus::Ok);
    EXPECT_TRUE(r.ok());
    EXPECT_TRUE(r.endBlockFound);
    EXPECT_EQ(r.fileSize, 32u + 40u + 32u + 19u + 24u + 16u);
    ASSERT_EQ(r.blocks.size(), 5u);
    const std::uint64_t offsets[] = {32, 72, 104, 123, 147};
    const std::uint32_t tags[] = {10001, 20001, 40001, 35001, 0};
    const char* names[] = {"Points", "Face4", "unknown", "MRGB", "end"};
    const std::uint32_t counts[] = {2, 1, 3, 2, 0};
    const std::uint32_t sizes[] = {40, 32, 19, 24, 16};
    for (std::size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(r.blocks[i].offset, offsets[i]) << i;
        EXPECT_EQ(r.blocks[i].tag, tags[i]) << i;
        EXPECT_EQ(r.blocks[i].name, names[i]) << i;
        EXPECT_EQ(r.blocks[i].count, counts[i]) << i;
        EXPECT_EQ(r.blocks[i].size, sizes[i]) << i;
        EXPECT_TRUE(r.blocks[i].sizeMatchesCount) << i;
    }
    EXPECT_TRUE(r.warnings.empty());
    EXPECT_FALSE(r.badBlock.has_value());
    EXPECT_EQ(r.message, "ok: 4 blocks before the end block at offset 147");
}

TEST(VekInspector, EveryTruncatedPrefixReportsTheBlocksFullyPresent) {
    const Bytes full = smallFile();
    const VekInspection whole = VekInspector::inspectBytes(full);
    for (std::size_t len = 0; len < full.size(); ++len) {
        const Bytes prefix(full.begin(), full.begin() + static_cast<std::ptrdiff_t>(len));
        const VekInspection r = VekInspector::inspectBytes(prefix);
        EXPECT_EQ(r.fileSize, len);
        if (len < 32) {
            EXPECT_EQ(r.status, VekStatus::NotVek) << len;
            EXPECT_TRUE(r.blocks.empty()) << len;
            continue;
        }
        EXPECT_EQ(r.status, VekStatus::Truncated) << len;
        EXPECT_FALSE(r.endBlockFound) << len;
        std::size_t present = 0;
        for (const VekBlockInfo& b : whole.blocks)
            if (b.offset + b.size <= len) ++present;
        ASSERT_EQ(r.blocks.size(), present) << len;
        for (std::size_t i = 0; i < present; ++i) {
            EXPECT_EQ(r.blocks[i].offset, whole.blocks[i].offset) << len;
            EXPECT_EQ(r.blocks[i].tag, whole.blocks[i].tag) << len;
        }
    }
}

TEST(VekInspector, PrefixEndingInsideABodyNamesTheIncompleteBlock) {
    const Bytes full = smallFile();
    const Bytes prefix(full.begin(), full.begin() + 92);  // 4 bytes into the Face4 body
    const VekInspection r = VekInspector::inspectBytes(prefix);
    EXPECT_EQ(r.status, VekStatus::Truncated);
    ASSERT_TRUE(r.badBlock.has_value());
    EXPECT_EQ(r.badBlock->offset, 72u);
    EXPECT_EQ(r.badBlock->name, "Face4");
    EXPECT_EQ(r.message,
              "truncated: block Face4 (tag 20001) at offset 72 has size 32 but only 20 bytes are "
              "left in the file");
}

TEST(VekInspector, PrefixEndingInsideABlockHeader) {
    const Bytes full = smallFile();
    const Bytes prefix(full.begin(), full.begin() + 78);  // 6 bytes of the Face4 header
    const VekInspection r = VekInspector::inspectBytes(prefix);
    EXPECT_EQ(r.status, VekStatus::Truncated);
    EXPECT_EQ(r.blocks.size(), 1u);
    EXPECT_FALSE(r.badBlock.has_value());
    EXPECT_EQ(r.message, "truncated: the block header at offset 72 has only 6 of its 16 bytes");
}

TEST(VekInspector, HeaderOnlyFileHasNoBlocksAndNoEnd) {
    VekWriter w = VekWriter::inMemory();
    const VekInspection r = VekInspector::inspectBytes(w.bytes());
    EXPECT_EQ(r.status, VekStatus::Truncated);
    EXPECT_TRUE(r.blocks.empty());
    EXPECT_EQ(r.message, "truncated: no end block, the file ends after 0 blocks at offset 32");
}

TEST(VekInspector, WrongMagicIsNotAVekFile) {
    Bytes b = smallFile();
    b[3] = 'B';
    const VekInspection r = VekInspector::inspectBytes(b);
    EXPECT_EQ(r.status, VekStatus::NotVek);
    EXPECT_TRUE(r.blocks.empty());
    EXPECT_EQ(r.magic, (std::array<unsigned char, 4>{'V', 'e', 'k', 'B'}));
    EXPECT_EQ(r.message, "not a Vek file: the file starts with 56 65 6b 42 (\"VekB\") instead of \"Vekb\"");
}

TEST(VekInspector, ArbitraryHeaderTailIsAccepted) {
    Bytes b = smallFile();
    for (std::size_t i = 4; i < 32; ++i) b[i] = 0xEE;
    EXPECT_EQ(VekInspector::inspectBytes(b).status, VekStatus::Ok);
}

TEST(VekInspector, ShortFileIsNotAVekFile) {
    const VekInspection r = VekInspector::inspectBytes(Bytes{'V', 'e', 'k', 'b', 0, 0});
    EXPECT_EQ(r.status, VekStatus::NotVek);
    EXPECT_EQ(r.message, "not a Vek file: 6 bytes, shorter than the 32-byte file header");
}

TEST(VekInspector, SizeBelow16IsDamaged) {
    Bytes b = smallFile();
    putU32(b, 72 + 4, 15);  // Face4 size
    const VekInspection r = VekInspector::inspectBytes(b);
    EXPECT_EQ(r.status, VekStatus::Damaged);
    ASSERT_EQ(r.blocks.size(), 1u);
    ASSERT_TRUE(r.badBlock.has_value());
    EXPECT_EQ(r.badBlock->offset, 72u);
    EXPECT_EQ(r.badBlock->size, 15u);
    EXPECT_EQ(r.message,
              "damaged: block Face4 (tag 20001) at offset 72 has size 15, smaller than its "
              "16-byte header");
}

TEST(VekInspector, ZeroSizeDoesNotLoop) {
    Bytes b = smallFile();
    putU32(b, 32 + 4, 0);
    const VekInspection r = VekInspector::inspectBytes(b);
    EXPECT_EQ(r.status, VekStatus::Damaged);
    EXPECT_TRUE(r.blocks.empty());
}

TEST(VekInspector, SizePastTheEndIsTruncated) {
    Bytes b = smallFile();
    putU32(b, 32 + 4, 0xFFFFFFF0u);
    const VekInspection r = VekInspector::inspectBytes(b);
    EXPECT_EQ(r.status, VekStatus::Truncated);
    EXPECT_TRUE(r.blocks.empty());
    ASSERT_TRUE(r.badBlock.has_value());
    EXPECT_EQ(r.badBlock->size, 0xFFFFFFF0u);
}

TEST(VekInspector, SizeCountMismatchIsAWarningOnly) {
    VekWriter w = VekWriter::inMemory();
    w.rawBlock(kTagPoints, 5, Bytes(12, 0));  // count 5 but one point of body
    w.endBlock();
    const VekInspection r = VekInspector::inspectBytes(w.bytes());
    EXPECT_EQ(r.status, VekStatus::Ok);
    ASSERT_EQ(r.blocks.size(), 2u);
    EXPECT_FALSE(r.blocks[0].sizeMatchesCount);
    ASSERT_EQ(r.warnings.size(), 1u);
    EXPECT_EQ(r.warnings[0],
              "block Points (tag 10001) at offset 32: size 28 does not match count 5 "
              "(expected 76)");
}

TEST(VekInspector, BytesAfterTheEndBlockAreCounted) {
    Bytes b = smallFile();
    b.insert(b.end(), {1, 2, 3});
    const VekInspection r = VekInspector::inspectBytes(b);
    EXPECT_EQ(r.status, VekStatus::Ok);
    EXPECT_EQ(r.trailingBytes, 3u);
    ASSERT_EQ(r.warnings.size(), 1u);
    EXPECT_EQ(r.warnings[0], "3 bytes follow the end block");
}

TEST(VekInspector, StopsAtTheFirstEndBlock) {
    VekWriter w = VekWriter::inMemory();
    w.endBlock();
    w.points(std::vector<Point3>{{1, 1, 1}});
    w.endBlock();
    const VekInspection r = VekInspector::inspectBytes(w.bytes());
    EXPECT_EQ(r.status, VekStatus::Ok);
    EXPECT_EQ(r.blocks.size(), 1u);
    EXPECT_EQ(r.trailingBytes, 28u + 16u);
}

TEST(VekInspector, RandomBytesNeverCrashOrLoop) {
    std::uint64_t state = 12345;
    auto next = [&] {
        state = state * 6364136223846793005ULL + 1442695040888963407ULL;
        return static_cast<std::uint32_t>(state >> 33);
    };
    for (int round = 0; round < 2000; ++round) {
        Bytes b(32 + next() % 200);
        for (auto& c : b) c = static_cast<unsigned char>(next());
        if (round % 2 == 0) std::copy(kMagic, kMagic + 4, b.begin());
        // Small sizes in some headers so that walks get past the first block.
        for (std::size_t off = 32; off + 8 <= b.size(); off += 16)
            if (next() % 2) storeU32(b.data() + off + 4, 16 + next() % 40);
        const VekInspection r = VekInspector::inspectBytes(b);
        std::uint64_t last = 0;
        for (const VekBlockInfo& info : r.blocks) {
            EXPECT_GE(info.offset, 32u);
            EXPECT_GT(info.offset + 1, last);
            EXPECT_LE(info.offset + (info.tag == 0 ? 16 : info.size), b.size());
            last = info.offset + 1;
        }
        EXPECT_FALSE(r.message.empty());
    }
}

TEST(VekInspector, FileAndBytesGiveTheSameResult) {
    TempDir dir;
    const Bytes b = smallFile();
    writeFileBytes(dir.file("s.vek"), b);
    const VekInspection a = VekInspector::inspectFile(dir.file("s.vek"));
    const VekInspection m = VekInspector::inspectBytes(b);
    EXPECT_EQ(a.status, m.status);
    EXPECT_EQ(a.message, m.message);
    EXPECT_EQ(a.fileSize, m.fileSize);
    ASSERT_EQ(a.blocks.size(), m.blocks.size());
    for (std::size_t i = 0; i < a.blocks.size(); ++i) EXPECT_EQ(a.blocks[i].offset, m.blocks[i].offset);
}

TEST(VekInspector, MissingFileCannotBeOpened) {
    TempDir dir;
    const VekInspection r = VekInspector::inspectFile(dir.file("nope.vek"));
    EXPECT_EQ(r.status, VekStatus::CannotOpen);
    EXPECT_EQ(r.message.rfind("cannot open " + dir.file("nope.vek") + ": ", 0), 0u) << r.message;
}

TEST(VekInspector, DirectoryCannotBeOpened) {
    TempDir dir;
    const VekInspection r = VekInspector::inspectFile(dir.path());
    EXPECT_EQ(r.status, VekStatus::CannotOpen);
    EXPECT_EQ(r.message, "cannot open " + dir.path() + ": it is a directory");
}

TEST(VekInspector, FormatListsEveryBlockAndTheMessage) {
    const std::string text = VekInspector::format(VekInspector::inspectBytes(smallFile()), "s.vek");
    EXPECT_EQ(text,
              "s.vek: 163 bytes\n"
              "        offset        tag  name          count         size\n"
              "            32      10001  Points            2           40\n"
              "            72      20001  Face4             1           32\n"
              "           104      40001  unknown           3           19\n"
              "           123      35001  MRGB              2           24\n"
              "           147          0  end               0           16\n"
              "  ok: 4 blocks before the end block at offset 147\n");
}

TEST(VekInspector, FormatMarksTheBlockThatStoppedTheWalk) {
    Bytes b = smallFile();
    b.resize(92);
    EXPECT_EQ(VekInspector::format(VekInspector::inspectBytes(b)),
              "92 bytes\n"
              "        offset        tag  name          count         size\n"
              "            32      10001  Points            2           40\n"
              "            72      20001  Face4             1           32  (incomplete)\n"
              "  truncated: block Face4 (tag 20001) at offset 72 has size 32 but only 20 bytes "
              "are left in the file\n");
}

TEST(VekInspector, FormatOfAnUnopenableFileIsTheMessage) {
    TempDir dir;
    const std::string path = dir.file("nope.vek");
    EXPECT_EQ(VekInspector::format(VekInspector::inspectFile(path), path),
              path + "\n  cannot open " + path + ": No such file or directory\n");
}

TEST(VekInspector, StatusNames) {
    EXPECT_STREQ(statusName(VekStatus::Ok), "ok");
    EXPECT_STREQ(statusName(VekStatus::CannotOpen), "cannot open");
    EXPECT_STREQ(statusName(VekStatus::NotVek), "not a Vek file");
    EXPECT_STREQ(statusName(VekStatus::Truncated), "truncated");
    EXPECT_STREQ(statusName(VekStatus::Damaged), "damaged");
}

TEST(VekInspectorNonRegular, APipeIsNotOpenedAndCannotBlock) {
    TempDir dir;
    const std::string pipe = dir.file("pipe.vek");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const vekgen::VekInspection r = vekgen::VekInspector::inspectFile(pipe);
    EXPECT_EQ(r.status, vekgen::VekStatus::CannotOpen);
    EXPECT_EQ(r.message, "cannot open " + pipe + ": not a regular file");
}
