#include "tools/vekgen/VekWriter.h"

#include "TestFiles.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

using namespace vekgen;

namespace {

using Bytes = std::vector<unsigned char>;

std::uint32_t u32At(const Bytes& b, std::size_t offset) { return loadU32(b.data() + offset); }

Bytes slice(const Bytes& b, std::size_t offset, std::size_t n) {
    return Bytes(b.begin() + static_cast<std::ptrdiff_t>(offset), b.begin() + static_cast<std::ptrdiff_t>(offset + n));
}

Bytes validHeader() {
    Bytes h(32, 0);
    h[0] = 'V';
    h[1] = 'e';
    h[2] = 'k';
    h[3] = 'b';
    return h;
}

}  // namespace

TEST(VekWriter, TinyFileMatchesGoldenBytes) {
    VekWriter w = VekWriter::inMemory();
    const std::vector<Point3> pts = {{1.0f, -2.0f, 0.5f}};
    w.points(pts);
    w.endBlock();
    w.close();

    Bytes expected = validHeader();
    const Bytes tail = {
        0x11, 0x27, 0x00, 0x00,                          // tag 10001
        0x1C, 0x00, 0x00, 0x00,                          // size 28
        0x01, 0x00, 0x00, 0x00,                          // count 1
        0x00, 0x00, 0x00, 0x00,                          // reserved
        0x00, 0x00, 0x80, 0x3F,                          // 1.0f
        0x00, 0x00, 0x00, 0xC0,                          // -2.0f
        0x00, 0x00, 0x00, 0x3F,                          // 0.5f
        0x00, 0x00, 0x00, 0x00, 0x10, 0x00, 0x00, 0x00,  // end block: tag 0, size 16
        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,  // count 0, reserved 0
    };
    expected.insert(expected.end(), tail.begin(), tail.end());
    EXPECT_EQ(w.bytes(), expected);
    EXPECT_EQ(w.bytes().size(), 76u);
}

TEST(VekWriter, FileWriterWritesTheSameBytesAsMemoryWriter) {
    TempDir dir;
    const std::vector<Point3> pts = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    const std::vector<Face4> faces = {{0, 1, 2, -1}};
    VekWriter mem = VekWriter::inMemory();
    VekWriter file(dir.file("t.vek"));
    for (VekWriter* w : {&mem, &file}) {
        w->points(pts);
        w->face4(faces);
        w->endBlock();
        w->close();
    }
    EXPECT_EQ(readFileBytes(dir.file("t.vek")), mem.bytes());
}

TEST(VekWriter, HeaderOnlyFileIsMagicAnd28ZeroBytes) {
    VekWriter w = VekWriter::inMemory();
    w.close();
    EXPECT_EQ(w.bytes(), validHeader());
    EXPECT_EQ(w.offset(), 32u);
}

TEST(VekWriter, EndBlockIsTagZeroSize16) {
    VekWriter w = VekWriter::inMemory();
    w.endBlock();
    const Bytes expected = {0, 0, 0, 0, 16, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(slice(w.bytes(), 32, 16), expected);
    EXPECT_EQ(w.bytes().size(), 48u);
}

TEST(VekWriter, PointsBlockHeaderFields) {
    VekWriter w = VekWriter::inMemory();
    const float xyz[6] = {1, 2, 3, 4, 5, 6};
    w.points(xyz, 2);
    const Bytes& b = w.bytes();
    EXPECT_EQ(u32At(b, 32), 10001u);
    EXPECT_EQ(u32At(b, 36), 16u + 24u);
    EXPECT_EQ(u32At(b, 40), 2u);
    EXPECT_EQ(u32At(b, 44), 0u);
    EXPECT_EQ(b.size(), 32u + 40u);
    EXPECT_EQ(u32At(b, 48 + 20), 0x40C00000u);  // 6.0f, the last coordinate
}

TEST(VekWriter, Face4BlockHeaderFieldsAndTriangleMarker) {
    VekWriter w = VekWriter::inMemory();
    const std::vector<Face4> faces = {{0, 1, 2, 3}, {4, 5, 6, -1}};
    w.face4(faces);
    const Bytes& b = w.bytes();
    EXPECT_EQ(u32At(b, 32), 20001u);
    EXPECT_EQ(u32At(b, 36), 16u + 32u);
    EXPECT_EQ(u32At(b, 40), 2u);
    EXPECT_EQ(u32At(b, 44), 0u);
    EXPECT_EQ(u32At(b, 48 + 4), 1u);
    EXPECT_EQ(slice(b, 48 + 28, 4), (Bytes{0xFF, 0xFF, 0xFF, 0xFF}));
}

TEST(VekWriter, UV4BlockHeaderFieldsAndCornerOrder) {
    VekWriter w = VekWriter::inMemory();
    const std::vector<UV4> uvs = {{0.0f, 0.25f, 0.5f, 0.75f, 1.0f, 0.0f, 0.0f, 1.0f}};
    w.uv4(uvs);
    const Bytes& b = w.bytes();
    EXPECT_EQ(u32At(b, 32), 25001u);
    EXPECT_EQ(u32At(b, 36), 48u);
    EXPECT_EQ(u32At(b, 40), 1u);
    EXPECT_EQ(u32At(b, 48 + 4), 0x3E800000u);   // v0 = 0.25f
    EXPECT_EQ(u32At(b, 48 + 16), 0x3F800000u);  // u2 = 1.0f
    EXPECT_EQ(b.size(), 32u + 48u);
}

TEST(VekWriter, MaskBlockHeaderFields) {
    VekWriter w = VekWriter::inMemory();
    const Bytes mask = {0, 128, 255};
    w.mask(mask);
    const Bytes& b = w.bytes();
    EXPECT_EQ(u32At(b, 32), 30001u);
    EXPECT_EQ(u32At(b, 36), 19u);
    EXPECT_EQ(u32At(b, 40), 3u);
    EXPECT_EQ(slice(b, 48, 3), mask);
}

TEST(VekWriter, MrgbWordsAreLittleEndianBlueFirst) {
    VekWriter w = VekWriter::inMemory();
    const std::vector<std::uint32_t> words = {0x12FF8000u, 0x00010203u};
    w.mrgb(words);
    const Bytes& b = w.bytes();
    EXPECT_EQ(u32At(b, 32), 35001u);
    EXPECT_EQ(u32At(b, 36), 24u);
    EXPECT_EQ(u32At(b, 40), 2u);
    EXPECT_EQ(slice(b, 48, 8), (Bytes{0x00, 0x80, 0xFF, 0x12, 0x03, 0x02, 0x01, 0x00}));
}

TEST(VekWriter, EmptyBlockHasSize16AndCount0) {
    VekWriter w = VekWriter::inMemory();
    w.mrgb(std::vector<std::uint32_t>{});
    const Bytes& b = w.bytes();
    EXPECT_EQ(u32At(b, 32), 35001u);
    EXPECT_EQ(u32At(b, 36), 16u);
    EXPECT_EQ(u32At(b, 40), 0u);
    EXPECT_EQ(b.size(), 48u);
}

TEST(VekWriter, RawBlockUsesBodySizeByDefault) {
    VekWriter w = VekWriter::inMemory();
    const Bytes body = {1, 2, 3, 4, 5};
    w.rawBlock(40001, 5, body);
    const Bytes& b = w.bytes();
    EXPECT_EQ(u32At(b, 32), 40001u);
    EXPECT_EQ(u32At(b, 36), 21u);
    EXPECT_EQ(u32At(b, 40), 5u);
    EXPECT_EQ(u32At(b, 44), 0u);
    EXPECT_EQ(slice(b, 48, 5), body);
}

TEST(VekWriter, RawBlockWritesAWrongSizeFieldAndTheWholeBody) {
    VekWriter w = VekWriter::inMemory();
    const Bytes body = {0xAA, 0xBB, 0xCC, 0xDD};
    w.rawBlock(kTagPoints, 7, body, 1000u, 0x55u);
    const Bytes& b = w.bytes();
    EXPECT_EQ(u32At(b, 32), 10001u);
    EXPECT_EQ(u32At(b, 36), 1000u);
    EXPECT_EQ(u32At(b, 40), 7u);
    EXPECT_EQ(u32At(b, 44), 0x55u);
    EXPECT_EQ(b.size(), 32u + 16u + 4u);
    EXPECT_EQ(slice(b, 48, 4), body);
}

TEST(VekWriter, BlockHeaderWritesTheFieldsOnly) {
    VekWriter w = VekWriter::inMemory();
    w.blockHeader({kTagFace4, 8, 3, 9});
    const Bytes& b = w.bytes();
    EXPECT_EQ(b.size(), 48u);
    EXPECT_EQ(u32At(b, 32), 20001u);
    EXPECT_EQ(u32At(b, 36), 8u);
    EXPECT_EQ(u32At(b, 40), 3u);
    EXPECT_EQ(u32At(b, 44), 9u);
}

TEST(VekWriter, RawBytesAppendsVerbatim) {
    VekWriter w = VekWriter::inMemory();
    w.rawBytes(Bytes{0x11, 0x27, 0x00});
    Bytes expected = validHeader();
    expected.insert(expected.end(), {0x11, 0x27, 0x00});
    EXPECT_EQ(w.bytes(), expected);
}

TEST(VekWriter, CustomMagicAndHeaderTail) {
    VekFileHeader h;
    h.magic = {'V', 'E', 'K', 'B'};
    for (std::size_t i = 0; i < h.tail.size(); ++i) h.tail[i] = static_cast<unsigned char>(i + 1);
    VekWriter w = VekWriter::inMemory(h);
    const Bytes& b = w.bytes();
    ASSERT_EQ(b.size(), 32u);
    EXPECT_EQ(slice(b, 0, 4), (Bytes{'V', 'E', 'K', 'B'}));
    EXPECT_EQ(b[4], 1);
    EXPECT_EQ(b[31], 28);
}

TEST(VekWriter, HeaderCanBeLeftOut) {
    VekFileHeader h;
    h.present = false;
    VekWriter w = VekWriter::inMemory(h);
    w.rawBytes(Bytes{'V', 'e'});
    EXPECT_EQ(w.bytes(), (Bytes{'V', 'e'}));
}

TEST(VekWriter, UnopenableFileThrowsRuntimeErrorNamingThePath) {
    TempDir dir;
    const std::string path = dir.file("missing-dir/x.vek");
    try {
        VekWriter w(path);
        FAIL() << "no exception";
    } catch (const std::runtime_error& e) {
        EXPECT_NE(std::string(e.what()).find(path), std::string::npos) << e.what();
    }
}

TEST(VekWriter, StreamedBlockMustBeCompleteBeforeTheNextBlock) {
    VekWriter w = VekWriter::inMemory();
    w.beginBlock(kTagMRGB, 2, 8);
    w.putU32(1);
    EXPECT_THROW(w.endBlock(), std::logic_error);
}

TEST(VekWriter, StreamedBlockEqualsTypedBlock) {
    const std::vector<std::uint32_t> words = {7, 8, 9};
    VekWriter typed = VekWriter::inMemory();
    typed.mrgb(words);
    VekWriter streamed = VekWriter::inMemory();
    streamed.beginBlock(kTagMRGB, 3, 12);
    for (std::uint32_t v : words) streamed.putU32(v);
    streamed.close();
    EXPECT_EQ(streamed.bytes(), typed.bytes());
}

TEST(VekWriter, BodyBeyondThe32BitSizeFieldIsRejected) {
    VekWriter w = VekWriter::inMemory();
    EXPECT_THROW(w.beginBlock(kTagUV4, 1, 0xFFFFFFF0ULL), std::length_error);
    EXPECT_EQ(w.offset(), 32u);
}

TEST(VekWriter, WritingAfterCloseThrowsLogicError) {
    VekWriter w = VekWriter::inMemory();
    w.endBlock();
    w.close();
    w.close();  // idempotent
    EXPECT_THROW(w.endBlock(), std::logic_error);
}

TEST(VekWriter, BlocksLargerThanTheBufferAreWrittenWhole) {
    TempDir dir;
    std::vector<Point3> pts(200000);
    for (std::size_t i = 0; i < pts.size(); ++i) pts[i] = {static_cast<float>(i), 0.5f, -static_cast<float>(i)};
    VekWriter w(dir.file("big.vek"));
    w.points(pts);
    w.endBlock();
    w.close();
    const Bytes b = readFileBytes(dir.file("big.vek"));
    ASSERT_EQ(b.size(), 32u + 16u + 12u * 200000u + 16u);
    EXPECT_EQ(u32At(b, 36), 16u + 12u * 200000u);
    float x;
    const std::uint32_t bits = u32At(b, 48 + 12 * 199999);
    std::memcpy(&x, &bits, 4);
    EXPECT_EQ(x, 199999.0f);
    EXPECT_EQ(u32At(b, b.size() - 12), 16u);
}

TEST(VekWriter, MovedWriterKeepsWriting) {
    VekWriter a = VekWriter::inMemory();
    a.endBlock();
    VekWriter b = std::move(a);
    b.endBlock();
    EXPECT_EQ(b.bytes().size(), 64u);
}

TEST(VekWriter, VekFileBytesLeavesOutEmptyBlocks) {
    const std::vector<Point3> pts = {{0, 0, 0}};
    const std::vector<std::uint32_t> colours = {0xFF0000u};
    const Bytes b = vekFileBytes(pts, {}, {}, colours);
    ASSERT_EQ(b.size(), 32u + 28u + 20u + 16u);
    EXPECT_EQ(u32At(b, 32), 10001u);
    EXPECT_EQ(u32At(b, 60), 35001u);
    EXPECT_EQ(u32At(b, 80), 0u);
}
