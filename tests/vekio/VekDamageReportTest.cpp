#include "VekReaderFixture.h"

#include "vekio/VekBlockCounts.h"
#include "vekio/VekDamage.h"

// The damage a reader reads past is noted, block by block, when a report is
// set; the arrays read are the same with or without one.

namespace {

std::vector<unsigned char> pointBytes(std::size_t count) {
    std::vector<unsigned char> bytes;
    for (std::size_t i = 0; i < 3 * count; ++i) {
        const std::vector<unsigned char> le = le32f(float(i));
        bytes.insert(bytes.end(), le.begin(), le.end());
    }
    return bytes;
}

class VekDamageReportTest : public VekReaderTest {
protected:
    void SetUp() override {
        VekReaderTest::SetUp();
        io.setDamageReport(&report);
    }
    VekDamageReport report;
};

}  // namespace

TEST_F(VekDamageReportTest, AnIntactFileNotesNothing) {
    QMString name = write("a.vek", [](vekgen::VekWriter& w) {
        w.points(kSquare);
        w.face4(kOneQuad);
        w.endBlock();
    });
    QMArray<QMVector3f> points;
    QMArray<int> faces;
    ASSERT_TRUE(io.readVertexAndFace4Blocs(name, points, faces));
    EXPECT_TRUE(report.entries().empty());
}

TEST_F(VekDamageReportTest, ABodyShorterThanItsCountNotesTheMissingElements) {
    // Five points counted, two present: three read as zero.
    QMString name = write("a.vek", [](vekgen::VekWriter& w) {
        w.rawBlock(vekgen::kTagPoints, 5, pointBytes(2));
        w.endBlock();
    });
    QMArray<QMVector3f> points;
    ASSERT_TRUE(io.readVertexBloc(name, points));
    EXPECT_EQ(points.size(), 5u);
    ASSERT_EQ(report.entries().size(), 1u);
    EXPECT_EQ(report.entries()[0].kind, VekDamage::Kind::kBodyShorterThanCount);
    EXPECT_EQ(report.entries()[0].tag, QMVekIO::kTagPoints);
    EXPECT_EQ(report.entries()[0].elements, 3u);
}

TEST_F(VekDamageReportTest, AFileCutInsideABodyNotesTheElementsCutOff) {
    std::vector<unsigned char> bytes = vekBytes([](vekgen::VekWriter& w) {
        w.rawBlock(vekgen::kTagPoints, 4, pointBytes(4));
        w.endBlock();
    });
    bytes.resize(32 + 16 + 12 * 3 + 5);  // three whole points and a part of the fourth
    writeFileBytes(dir.file("cut.vek"), bytes);
    QMArray<QMVector3f> points;
    ASSERT_TRUE(io.readVertexBloc(QMString(dir.file("cut.vek").c_str()), points));
    ASSERT_EQ(report.entries().size(), 1u);
    EXPECT_EQ(report.entries()[0].kind, VekDamage::Kind::kBodyShorterThanCount);
    EXPECT_EQ(report.entries()[0].elements, 1u);
}

TEST_F(VekDamageReportTest, AHugeCountNotesTheClampedElements) {
    QMString name = write("a.vek", [](vekgen::VekWriter& w) {
        w.rawBlock(vekgen::kTagFace4, 0x10000000u, std::vector<unsigned char>(32, 0));
        w.endBlock();
    });
    QMArray<int> faces;
    bool hasUV = false;
    ASSERT_TRUE(io.readFace4Bloc(name, faces, hasUV));
    EXPECT_EQ(faces.size(), 8u);
    ASSERT_EQ(report.entries().size(), 1u);
    EXPECT_EQ(report.entries()[0].kind, VekDamage::Kind::kCountClamped);
    EXPECT_EQ(report.entries()[0].tag, QMVekIO::kTagFace4);
    EXPECT_EQ(report.entries()[0].elements, 0x10000000u - 2u);  // faces, two of which are there
}

TEST_F(VekDamageReportTest, ABlockSizeBelowSixteenIsNoted) {
    QMString name = write("a.vek", [](vekgen::VekWriter& w) {
        w.points(kTriangle);
        w.rawBlock(40001, 0, {}, 7u);
        w.endBlock();
    });
    QMArray<QMVector3f> points;
    QMArray<int> faces;
    QMArray<QMVector2f> uvs;
    ASSERT_TRUE(io.readVtxFace4AndUV4Blocs(name, points, faces, uvs));
    ASSERT_EQ(report.entries().size(), 1u);
    EXPECT_EQ(report.entries()[0].kind, VekDamage::Kind::kBlockSizeInvalid);
    EXPECT_EQ(report.entries()[0].tag, 40001u);
}

TEST_F(VekDamageReportTest, TheArraysAreTheSameWithoutAReport) {
    QMString name = write("a.vek", [](vekgen::VekWriter& w) {
        w.rawBlock(vekgen::kTagPoints, 5, pointBytes(2));
        w.endBlock();
    });
    QMArray<QMVector3f> withReport, withoutReport;
    ASSERT_TRUE(io.readVertexBloc(name, withReport));
    QMVekIO plain;
    ASSERT_TRUE(plain.readVertexBloc(name, withoutReport));
    EXPECT_EQ(flatten(withReport), flatten(withoutReport));
}

TEST_F(VekReaderTest, BlockCountsComeFromTheFirstBlockOfEachKind) {
    QMString name = write("a.vek", [](vekgen::VekWriter& w) {
        w.points(kSquare);
        w.face4(std::vector<vekgen::Face4>{{0, 1, 2, 3}, {0, 2, 3, -1}});
        w.uv4(std::vector<vekgen::UV4>{{0, 0, 1, 0, 1, 1, 0, 1}, {0, 0, 1, 0, 1, 1, 0, 1}});
        w.mrgb(std::vector<std::uint32_t>{1, 2, 3});
        w.points(kTriangle);
        w.endBlock();
    });
    const VekBlockCounts counts = readVekBlockCounts(name);
    EXPECT_TRUE(counts.readable);
    EXPECT_EQ(counts.points, 4u);
    EXPECT_EQ(counts.faces, 2u);
    EXPECT_EQ(counts.uvEntries, 8u);
    EXPECT_EQ(counts.colours, 3u);
}

TEST_F(VekReaderTest, BlockCountsOfAHugeCountAreThoseItsBodyHolds) {
    QMString name = write("a.vek", [](vekgen::VekWriter& w) {
        w.rawBlock(vekgen::kTagFace4, 0xFFFFFFFFu, std::vector<unsigned char>(48, 0));
        w.endBlock();
    });
    EXPECT_EQ(readVekBlockCounts(name).faces, 3u);
}

TEST_F(VekReaderTest, BlockCountsOfANonVekFileSayItIsUnreadable) {
    writeFileText(dir.file("x.vek"), "not a Vek file, but long enough for a header");
    const VekBlockCounts counts = readVekBlockCounts(QMString(dir.file("x.vek").c_str()));
    EXPECT_FALSE(counts.readable);
    EXPECT_EQ(counts.faces, 0u);
}
