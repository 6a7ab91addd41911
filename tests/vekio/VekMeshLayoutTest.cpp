#include "VekReaderFixture.h"

#include "vekio/VekBlockCounts.h"
#include "vekio/VekDamage.h"
#include "vekio/VekMeshLayout.h"
#include "vekio/VekRandomAccess.h"

#include <cstring>

// Where a file's mesh blocks lie, and whether reading them in ranges would
// give exactly what the array readers give.

namespace {


VekMeshLayout layoutOf(const std::vector<unsigned char>& bytes) {
    return locateMeshBlocks(VekBytes{bytes.data(), bytes.size()});
}

template <class T>
std::vector<unsigned char> bytesOf(const QMArray<T>& array) {
    const unsigned char* data = reinterpret_cast<const unsigned char*>(array.data());
    return {data, data + array.size() * sizeof(T)};
}

// The body bytes of the block with `tag` that the layout names.
std::vector<unsigned char> layoutBody(const std::vector<unsigned char>& bytes, const VekMeshLayout& layout,
                                      std::uint32_t tag, std::size_t elementSize) {
    const VekBlockExtent* block = layout.find(tag);
    if (!block) return {};
    std::vector<unsigned char> body(static_cast<std::size_t>(layout.elements(tag)) * elementSize);
    VekRandomAccess(VekBytes{bytes.data(), bytes.size()}).readAt(block->bodyOffset, body.data(), body.size());
    return body;
}

}  // namespace

TEST(VekMeshLayoutTest, AWellFormedFileIsSimpleWithItsBlocksInOrder) {
    const VekMeshLayout layout = layoutOf(fileWithEveryBlock());
    EXPECT_TRUE(layout.readable);
    EXPECT_TRUE(layout.simple);
    ASSERT_EQ(layout.meshBlocks.size(), 4u);
    // 32-byte file header, Points 16 + 48, unknown 16 + 8, Face4 16 + 32,
    // UV4 16 + 64, Mask 16 + 4, MRGB.
    EXPECT_EQ(layout.meshBlocks[0].tag, QMVekIO::kTagPoints);
    EXPECT_EQ(layout.meshBlocks[0].bodyOffset, 48u);
    EXPECT_EQ(layout.meshBlocks[1].tag, QMVekIO::kTagFace4);
    EXPECT_EQ(layout.meshBlocks[1].bodyOffset, 32u + 64 + 24 + 16);
    EXPECT_EQ(layout.meshBlocks[2].tag, QMVekIO::kTagUV4);
    EXPECT_EQ(layout.meshBlocks[2].bodyOffset, 32u + 64 + 24 + 48 + 16);
    EXPECT_EQ(layout.meshBlocks[3].tag, QMVekIO::kTagMRGB);
    EXPECT_EQ(layout.meshBlocks[3].bodyOffset, 32u + 64 + 24 + 48 + 80 + 20 + 16);
    EXPECT_EQ(layout.elements(QMVekIO::kTagPoints), 4u);
    EXPECT_EQ(layout.elements(QMVekIO::kTagFace4), 2u);
    EXPECT_EQ(layout.elements(QMVekIO::kTagUV4), 8u);
    EXPECT_EQ(layout.elements(QMVekIO::kTagMRGB), 4u);
    EXPECT_EQ(layout.elements(QMVekIO::kTagMask), 0u);
}

TEST(VekMeshLayoutTest, ARepeatedBlockIsNotSimple) {
    const VekMeshLayout layout = layoutOf(vekBytes([](vekgen::VekWriter& w) {
        w.points(kSquare);
        w.face4(kOneQuad);
        w.points(kTriangle);
        w.endBlock();
    }));
    EXPECT_TRUE(layout.readable);
    EXPECT_FALSE(layout.simple);
    EXPECT_EQ(layout.meshBlocks.size(), 3u);
    EXPECT_EQ(layout.elements(QMVekIO::kTagPoints), 4u);  // the first one
}

TEST(VekMeshLayoutTest, ABlockSizeBelowSixteenIsNotSimple) {
    const VekMeshLayout layout = layoutOf(vekBytes([](vekgen::VekWriter& w) {
        w.points(kSquare);
        w.face4(kOneQuad);
        w.blockHeader({40001, 8, 0, 0});
    }));
    EXPECT_FALSE(layout.simple);
}

TEST(VekMeshLayoutTest, ACountBeyondItsBodyIsNotSimple) {
    const std::vector<unsigned char> body(12 * 3, 0);
    const VekMeshLayout layout = layoutOf(vekBytes([&](vekgen::VekWriter& w) {
        w.rawBlock(QMVekIO::kTagPoints, 4, body);
        w.endBlock();
    }));
    EXPECT_FALSE(layout.simple);
}

TEST(VekMeshLayoutTest, ABodyLargerThanItsCountIsSimple) {
    const std::vector<unsigned char> body(12 * 5, 0);
    const VekMeshLayout layout = layoutOf(vekBytes([&](vekgen::VekWriter& w) {
        w.rawBlock(QMVekIO::kTagPoints, 4, body);
        w.endBlock();
    }));
    EXPECT_TRUE(layout.simple);
    EXPECT_EQ(layout.elements(QMVekIO::kTagPoints), 4u);
}

TEST(VekMeshLayoutTest, NoVekFileIsNotReadable) {
    const std::vector<unsigned char> text = {'s', 'o', 'l', 'i', 'd', ' ', 'x', '\n'};
    EXPECT_FALSE(layoutOf(text).readable);
    EXPECT_FALSE(layoutOf(text).simple);
    EXPECT_FALSE(locateMeshBlocks(QMString("/nonexistent/x.vek")).readable);
}

TEST(VekMeshLayoutTest, AFileAndItsBytesGiveTheSameLayout) {
    TempDir dir;
    const std::vector<unsigned char> bytes = fileWithEveryBlock();
    writeFileBytes(dir.file("m.vek"), bytes);
    const VekMeshLayout fromFile = locateMeshBlocks(QMString(dir.file("m.vek").c_str()));
    const VekMeshLayout fromBytes = layoutOf(bytes);
    ASSERT_EQ(fromFile.meshBlocks.size(), fromBytes.meshBlocks.size());
    for (std::size_t i = 0; i < fromFile.meshBlocks.size(); ++i) {
        EXPECT_EQ(fromFile.meshBlocks[i].tag, fromBytes.meshBlocks[i].tag);
        EXPECT_EQ(fromFile.meshBlocks[i].bodyOffset, fromBytes.meshBlocks[i].bodyOffset);
        EXPECT_EQ(fromFile.meshBlocks[i].count, fromBytes.meshBlocks[i].count);
    }
    EXPECT_EQ(fromFile.simple, fromBytes.simple);
}

// On every prefix of the file: a simple layout names exactly the arrays the
// readers fill, and the readers note no damage; a cut in a mesh block's
// body is never simple.
TEST(VekMeshLayoutTest, EveryTruncatedPrefixIsSimpleOnlyWhereTheReadersSeeNoDamage) {
    const std::vector<unsigned char> bytes = fileWithEveryBlock();
    const VekMeshLayout whole = layoutOf(bytes);
    std::size_t simplePrefixes = 0;
    for (std::size_t length = 0; length <= bytes.size(); ++length) {
        const std::vector<unsigned char> prefix(bytes.begin(), bytes.begin() + long(length));
        const VekMeshLayout layout = layoutOf(prefix);
        for (const VekBlockExtent& block : whole.meshBlocks) {
            const std::uint64_t bodyEnd = block.bodyOffset + std::uint64_t(block.size) - 16;
            if (length >= block.bodyOffset && length < bodyEnd) {
                EXPECT_FALSE(layout.simple) << length;
            }
        }
        if (!layout.simple) continue;
        ++simplePrefixes;
        VekDamageReport damage;
        QMVekIO io;
        io.setDamageReport(&damage);
        QMArray<QMVector3f> points;
        QMArray<int> faces;
        QMArray<QMVector2f> uvs;
        QMArray<std::uint32_t> colours;
        ASSERT_TRUE(io.readVtxFace4UV4AndMRGBBlocs(VekBytes{prefix.data(), prefix.size()}, points, faces, uvs, colours));
        EXPECT_TRUE(damage.entries().empty()) << length;
        EXPECT_EQ(bytesOf(points), layoutBody(prefix, layout, QMVekIO::kTagPoints, 12)) << length;
        EXPECT_EQ(bytesOf(faces), layoutBody(prefix, layout, QMVekIO::kTagFace4, 16)) << length;
        EXPECT_EQ(bytesOf(uvs), layoutBody(prefix, layout, QMVekIO::kTagUV4, 8)) << length;
        EXPECT_EQ(bytesOf(colours), layoutBody(prefix, layout, QMVekIO::kTagMRGB, 4)) << length;
    }
    // Cuts between blocks (and inside the unknown block and the mask) stay
    // simple: the file header alone, after each whole block, the end block.
    EXPECT_GT(simplePrefixes, 6u);
}

TEST(VekMeshLayoutTest, BlockCountsComeFromTheLayout) {
    const VekBlockCounts counts = blockCountsOf(layoutOf(fileWithEveryBlock()));
    EXPECT_TRUE(counts.readable);
    EXPECT_EQ(counts.points, 4u);
    EXPECT_EQ(counts.faces, 2u);
    EXPECT_EQ(counts.uvEntries, 8u);
    EXPECT_EQ(counts.colours, 4u);
}

TEST_F(VekReaderTest, TheLogLinesForASimpleLayoutAreTheReadersOwn) {
    const QMString name = write("m.vek", [](vekgen::VekWriter& w) {
        w.points(kSquare);
        w.rawBlock(40001, 2, std::vector<unsigned char>(8, 0x77));
        w.face4(kOneQuad);
        w.uv4(kOneQuadUV);
        w.mrgb(std::vector<std::uint32_t>{1, 2, 3, 4});
        w.endBlock();
    });
    const VekMeshLayout layout = locateMeshBlocks(name);
    ASSERT_TRUE(layout.simple);
    QMArray<QMVector3f> points;
    QMArray<int> faces;
    QMArray<QMVector2f> uvs;
    QMArray<std::uint32_t> colours;
    for (int rich = 0; rich < 2; ++rich) {
        logLines.clear();
        if (rich)
            io.readVtxFace4UV4AndMRGBBlocs(name, points, faces, uvs, colours);
        else
            io.readVertexAndFace4Blocs(name, points, faces);
        const std::vector<std::string> readerLines = logLines;
        logLines.clear();
        if (rich)
            io.logVtxFace4UV4AndMRGBReads(layout);
        else
            io.logVertexAndFace4Reads(layout);
        EXPECT_EQ(logLines, readerLines);
    }
    EXPECT_EQ(logLines, (std::vector<std::string>{"  Vek Reading [Points] (4)", "  Vek Reading [Face4] (1 fac)",
                                                  "  Vek Reading [UV4] (1)", "  Vek Reading [MRGB]"}));
}

TEST_F(VekReaderTest, ThePointsAndFacesLinesStopOnceBothAreRead) {
    const QMString name = write("m.vek", [](vekgen::VekWriter& w) {
        w.face4(kOneQuad);
        w.points(std::vector<vekgen::Point3>{});
        w.uv4(kOneQuadUV);
        w.points(kSquare);
        w.endBlock();
    });
    // Two Points blocks: not simple, but the lines still follow the reader's
    // rule (an empty Points block does not end the walk).
    const VekMeshLayout layout = locateMeshBlocks(name);
    QMArray<QMVector3f> points;
    QMArray<int> faces;
    io.readVertexAndFace4Blocs(name, points, faces);
    const std::vector<std::string> readerLines = logLines;
    logLines.clear();
    io.logVertexAndFace4Reads(layout);
    EXPECT_EQ(logLines, readerLines);
    EXPECT_EQ(logLines, (std::vector<std::string>{"  Vek Reading [Face4] (1 fac)", "  Vek Reading [Points] (0)"}));
}
