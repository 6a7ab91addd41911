#include "tools/vekgen/BlockScript.h"

#include "TestFiles.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace vekgen;

namespace {

using Bytes = std::vector<unsigned char>;

Bytes header() {
    Bytes h(32, 0);
    h[0] = 'V', h[1] = 'e', h[2] = 'k', h[3] = 'b';
    return h;
}

Bytes concat(Bytes a, const Bytes& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

std::string errorOf(const std::string& text) {
    try {
        parseBlockScript(text);
    } catch (const BlockScriptError& e) {
        return e.what();
    }
    return "no error";
}

}  // namespace

TEST(BlockScript, PointsAndEndGiveTheGoldenTinyFile) {
    const Bytes b = blockScriptBytes("points 1 -2 0.5\nend\n");
    const Bytes expected =
        concat(header(), {0x11, 0x27, 0, 0, 28, 0,    0, 0, 1, 0, 0,  0, 0, 0, 0, 0, 0, 0, 0x80, 0x3F, 0, 0,
                          0,    0xC0, 0, 0, 0,  0x3F, 0, 0, 0, 0, 16, 0, 0, 0, 0, 0, 0, 0, 0,    0,    0, 0});
    EXPECT_EQ(b, expected);
}

TEST(BlockScript, EmptyDescriptionIsTheHeaderOnly) { EXPECT_EQ(blockScriptBytes("# nothing\n\n"), header()); }

TEST(BlockScript, TypedBlocksEqualTheWriterBlocks) {
    const Bytes b = blockScriptBytes(
        "points 0 0 0  1 0 0  0 1 0\n"
        "face4 0 1 2 -1\n"
        "uv4 0 0 1 0 0 1 0 0\n"
        "mask 0 255 7\n"
        "mrgb 0x12FF8000 1 2\n"
        "end\n");
    VekWriter w = VekWriter::inMemory();
    w.points(std::vector<Point3>{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});
    w.face4(std::vector<Face4>{{0, 1, 2, -1}});
    w.uv4(std::vector<UV4>{{0, 0, 1, 0, 0, 1, 0, 0}});
    w.mask(Bytes{0, 255, 7});
    w.mrgb(std::vector<std::uint32_t>{0x12FF8000u, 1, 2});
    w.endBlock();
    EXPECT_EQ(b, w.bytes());
}

TEST(BlockScript, RawBlockWithExplicitSizeAndReserved) {
    const Bytes b = blockScriptBytes("block 40001 3 size=99 reserved=0x10 0a0b 0c\n");
    EXPECT_EQ(b, concat(header(), {0x41, 0x9C, 0, 0, 99, 0, 0, 0, 3, 0, 0, 0, 0x10, 0, 0, 0, 0x0A, 0x0B, 0x0C}));
}

TEST(BlockScript, RawBlockDefaultSizeCountsTheBody) {
    const Bytes b = blockScriptBytes("block 7 0 ffff\n");
    EXPECT_EQ(b, concat(header(), {7, 0, 0, 0, 18, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF}));
}

TEST(BlockScript, BytesAreAppendedVerbatim) {
    EXPECT_EQ(blockScriptBytes("bytes 11 27 0x00\n"), concat(header(), {0x11, 0x27, 0x00}));
}

TEST(BlockScript, CustomHeaderMagicAndTail) {
    const Bytes b = blockScriptBytes("header magic=VEKB tail=0102\n");
    Bytes expected(32, 0);
    expected[0] = 'V', expected[1] = 'E', expected[2] = 'K', expected[3] = 'B';
    expected[4] = 1, expected[5] = 2;
    EXPECT_EQ(b, expected);
}

TEST(BlockScript, NoHeaderWritesOnlyTheItems) {
    EXPECT_EQ(blockScriptBytes("noheader\nbytes 56656b\n"), (Bytes{'V', 'e', 'k'}));
}

TEST(BlockScript, CommentsAndBlankLinesAreIgnored) {
    EXPECT_EQ(blockScriptBytes("  # a comment\n\nend # the end\n"), blockScriptBytes("end"));
}

TEST(BlockScript, ErrorsNameTheLine) {
    EXPECT_EQ(errorOf("end\npoints 1 2\n"), "line 2: points needs a multiple of 3 numbers, got 2");
    EXPECT_EQ(errorOf("mask 256"), "line 1: a byte out of range: 256");
    EXPECT_EQ(errorOf("face4 0 1 2 x"), "line 1: expected a vertex index, got \"x\"");
    EXPECT_EQ(errorOf("points 1 2 zz"), "line 1: expected a number, got \"zz\"");
    EXPECT_EQ(errorOf("bytes abc"), "line 1: expected pairs of hex digits, got \"abc\"");
    EXPECT_EQ(errorOf("end\nheader"), "line 2: header must be the first item");
    EXPECT_EQ(errorOf("header magic=Vek"), "line 1: magic must be 4 characters, got \"Vek\"");
    EXPECT_EQ(errorOf("block 1"), "line 1: block needs TAG and COUNT");
    EXPECT_EQ(errorOf("triangle 1 2 3"), "line 1: unknown item \"triangle\"");
    EXPECT_EQ(errorOf("mrgb 0x100000000"), "line 1: a colour word out of range: 0x100000000");
}

TEST(BlockScript, InvalidDescriptionCreatesNoFile) {
    TempDir dir;
    EXPECT_THROW(writeBlockScriptFile("points 1\n", dir.file("x.vek")), BlockScriptError);
    EXPECT_FALSE(pathExists(dir.file("x.vek")));
}

TEST(BlockScript, WritesTheFile) {
    TempDir dir;
    writeBlockScriptFile("mrgb 0xFF000000\nend\n", dir.file("c.vek"));
    EXPECT_EQ(readFileBytes(dir.file("c.vek")), blockScriptBytes("mrgb 0xFF000000\nend\n"));
    EXPECT_EQ(readFileBytes(dir.file("c.vek")).size(), 32u + 20u + 16u);
}
