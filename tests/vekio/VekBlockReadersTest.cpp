#include "VekReaderFixture.h"

#include <cstdint>

using Strings = std::vector<std::string>;

TEST_F(VekReaderTest, ReadVertexBlocReadsThePoints) {
    QMString name = write("a.vek", [](vekgen::VekWriter& w) {
        w.points(kTriangle);
        w.endBlock();
    });
    QMArray<QMVector3f> points;
    ASSERT_TRUE(io.readVertexBloc(name, points));
    EXPECT_EQ(flatten(points), (std::vector<float>{0, 0, 0, 1, 0, 0, 0, 1, 0}));
    EXPECT_TRUE(logLines.empty());
}

TEST_F(VekReaderTest, ReadVertexBlocKeepsTheFirstOfTwoPointsBlocks) {
    QMString name = write("a.vek", [](vekgen::VekWriter& w) {
        w.points(kTriangle);
        w.points(std::vector<vekgen::Point3>{{7, 8, 9}});
        w.endBlock();
    });
    QMArray<QMVector3f> points;
    ASSERT_TRUE(io.readVertexBloc(name, points));
    EXPECT_EQ(points.size(), 3u);
}

TEST_F(VekReaderTest, ReaderGoingToTheEndKeepsTheSecondPointsBlock) {
    QMString name = write("a.vek", [](vekgen::VekWriter& w) {
        w.points(kTriangle);
        w.points(std::vector<vekgen::Point3>{{7, 8, 9}});
        w.endBlock();
    });
    QMArray<QMVector3f> points;
    QMArray<int> faces;
    QMArray<QMVector2f> uvs;
    ASSERT_TRUE(io.readVtxFace4AndUV4Blocs(name, points, faces, uvs));
    EXPECT_EQ(flatten(points), (std::vector<float>{7, 8, 9}));
}

TEST_F(VekReaderTest, BlocksInAnyOrderAreAllRead) {
    QMString name = write("a.vek", [](vekgen::VekWriter& w) {
        w.mrgb(std::vector<std::uint32_t>{0x11223344u, 0x55667788u, 0x99AABBCCu, 0xDDEEFF00u});
        w.uv4(kOneQuadUV);
        w.face4(kOneQuad);
        w.points(kSquare);
        w.endBlock();
    });
    QMArray<QMVector3f> points;
    QMArray<int> faces;
    QMArray<QMVector2f> uvs;
    QMArray<std::uint32_t> mrgb;
    ASSERT_TRUE(io.readVtxFace4UV4AndMRGBBlocs(name, points, faces, uvs, mrgb));
    EXPECT_EQ(points.size(), 4u);
    EXPECT_EQ(std::vector<int>(faces.begin(), faces.end()), (std::vector<int>{0, 1, 2, 3}));
    ASSERT_EQ(uvs.size(), 4u);
    EXPECT_EQ(uvs[2].x, 1.0f);
    EXPECT_EQ(uvs[2].y, 1.0f);
    EXPECT_EQ(std::vector<std::uint32_t>(mrgb.begin(), mrgb.end()),
              (std::vector<std::uint32_t>{0x11223344u, 0x55667788u, 0x99AABBCCu, 0xDDEEFF00u}));
    EXPECT_EQ(logLines, (Strings{"  Vek Reading [MRGB]", "  Vek Reading [UV4] (1)", "  Vek Reading [Face4] (1 fac)",
                                 "  Vek Reading [Points] (4)"}));
}

TEST_F(VekReaderTest, ColourReaderLeavesUVsOfAFileWithoutUV4) {
    QMString name = write("a.vek", [](vekgen::VekWriter& w) {
        w.points(kSquare);
        w.face4(kOneQuad);
        w.endBlock();
    });
    QMArray<QMVector3f> points;
    QMArray<int> faces;
    QMArray<QMVector2f> uvs(3, QMVector2f(0.25f, 0.75f));
    QMArray<std::uint32_t> mrgb(2, 5u);
    ASSERT_TRUE(io.readVtxFace4UV4AndMRGBBlocs(name, points, faces, uvs, mrgb));
    ASSERT_EQ(uvs.size(), 3u);
    EXPECT_EQ(uvs[1].x, 0.25f);
    EXPECT_TRUE(mrgb.empty());
}

TEST_F(VekReaderTest, Face4ReaderSeesUV4AfterFace4) {
    QMString name = write("a.vek", [](vekgen::VekWriter& w) {
        w.face4(kOneQuad);
        w.uv4(kOneQuadUV);
        w.endBlock();
    });
    QMArray<int> faces;
    bool hasUV = false;
    ASSERT_TRUE(io.readFace4Bloc(name, faces, hasUV));
    EXPECT_TRUE(hasUV);
    EXPECT_EQ(faces.size(), 4u);
    EXPECT_EQ(logLines, (Strings{"  Vek Reading [Face4] (1 fac)"}));
}

TEST_F(VekReaderTest, Face4ReaderSeesUV4BeforeFace4) {
    QMString name = write("a.vek", [](vekgen::VekWriter& w) {
        w.uv4(kOneQuadUV);
        w.face4(kOneQuad);
        w.endBlock();
    });
    QMArray<int> faces;
    bool hasUV = false;
    ASSERT_TRUE(io.readFace4Bloc(name, faces, hasUV));
    EXPECT_TRUE(hasUV);
}

TEST_F(VekReaderTest, Face4ReaderWithoutUV4ClearsHasUV) {
    QMString name = write("a.vek", [](vekgen::VekWriter& w) {
        w.face4(kOneTriangle);
        w.endBlock();
    });
    QMArray<int> faces;
    bool hasUV = true;
    ASSERT_TRUE(io.readFace4Bloc(name, faces, hasUV));
    EXPECT_FALSE(hasUV);
    EXPECT_EQ(std::vector<int>(faces.begin(), faces.end()), (std::vector<int>{0, 1, 2, -1}));
}

TEST_F(VekReaderTest, PointsAndFacesReaderStopsAfterItsSecondBlock) {
    QMString name = write("a.vek", [](vekgen::VekWriter& w) {
        w.points(kSquare);
        w.face4(kOneQuad);
        w.points(kTriangle);                              // never looked at
        w.rawBytes(std::vector<unsigned char>{1, 2, 3});  // nor this damage
    });
    QMArray<QMVector3f> points;
    QMArray<int> faces;
    ASSERT_TRUE(io.readVertexAndFace4Blocs(name, points, faces));
    EXPECT_EQ(points.size(), 4u);
    EXPECT_EQ(logLines, (Strings{"  Vek Reading [Points] (4)", "  Vek Reading [Face4] (1 fac)"}));
}

TEST_F(VekReaderTest, PointsAndFacesReaderReadsFacesFirst) {
    QMString name = write("a.vek", [](vekgen::VekWriter& w) {
        w.face4(kOneQuad);
        w.rawBlock(40001, 1, std::vector<unsigned char>(5, 0));
        w.points(kSquare);
        w.points(kTriangle);
        w.endBlock();
    });
    QMArray<QMVector3f> points;
    QMArray<int> faces;
    ASSERT_TRUE(io.readVertexAndFace4Blocs(name, points, faces));
    EXPECT_EQ(points.size(), 4u);
    EXPECT_EQ(faces.size(), 4u);
}

TEST_F(VekReaderTest, UV4ReaderLogsSkippedUnknownBlock) {
    QMString name = write("a.vek", [](vekgen::VekWriter& w) {
        w.rawBlock(40001, 3, std::vector<unsigned char>(7, 0xEE));
        w.uv4(kOneQuadUV);
        w.endBlock();
    });
    QMArray<QMVector2f> uvs;
    ASSERT_TRUE(io.readUV4Bloc(name, uvs));
    EXPECT_EQ(uvs.size(), 4u);
    EXPECT_EQ(logLines, (Strings{"  Vek Reading: Skipping Bloc tag=40001", "  Vek Reading [UV4] (1)"}));
}

TEST_F(VekReaderTest, PointsFacesUVReaderLogsSkippedBlocks) {
    QMString name = write("a.vek", [](vekgen::VekWriter& w) {
        w.points(kSquare);
        w.mask(std::vector<unsigned char>{1, 0, 1, 0});
        w.rawBlock(40001, 0, {});
        w.face4(kOneQuad);
        w.endBlock();
    });
    QMArray<QMVector3f> points;
    QMArray<int> faces;
    QMArray<QMVector2f> uvs(2);
    ASSERT_TRUE(io.readVtxFace4AndUV4Blocs(name, points, faces, uvs));
    EXPECT_TRUE(uvs.empty());
    EXPECT_EQ(logLines, (Strings{"  Vek Reading [Points] (4)", "  Vek Reading: Skipping Bloc tag=30001",
                                 "  Vek Reading: Skipping Bloc tag=40001", "  Vek Reading [Face4] (1 fac)"}));
}

TEST_F(VekReaderTest, MaskReaderStopsAfterTheFirstMask) {
    QMString name = write("a.vek", [](vekgen::VekWriter& w) {
        w.points(kTriangle);
        w.mask(std::vector<unsigned char>{9, 8, 7});
        w.mask(std::vector<unsigned char>{1});
        w.endBlock();
    });
    QMArray<unsigned char> mask;
    ASSERT_TRUE(io.readMaskBloc(name, mask));
    EXPECT_EQ(std::vector<unsigned char>(mask.begin(), mask.end()), (std::vector<unsigned char>{9, 8, 7}));
    EXPECT_EQ(logLines, (Strings{"  Vek Reading [Mask] (3)"}));
}

TEST_F(VekReaderTest, MRGBReaderStopsAfterTheFirstMRGB) {
    QMString name = write("a.vek", [](vekgen::VekWriter& w) {
        w.mrgb(std::vector<std::uint32_t>{0x12FF8000u});
        w.mrgb(std::vector<std::uint32_t>{1u, 2u});
        w.endBlock();
    });
    QMArray<std::uint32_t> mrgb;
    ASSERT_TRUE(io.readMRGBBloc(name, mrgb));
    EXPECT_EQ(std::vector<std::uint32_t>(mrgb.begin(), mrgb.end()), (std::vector<std::uint32_t>{0x12FF8000u}));
    EXPECT_EQ(logLines, (Strings{"  Vek Reading [MRGB] (1)"}));
}

TEST_F(VekReaderTest, FileWithoutTheWantedBlockReadsEmpty) {
    QMString name = write("a.vek", [](vekgen::VekWriter& w) {
        w.face4(kOneQuad);
        w.endBlock();
    });
    QMArray<QMVector3f> points(5);
    EXPECT_TRUE(io.readVertexBloc(name, points));
    EXPECT_TRUE(points.empty());
}

TEST_F(VekReaderTest, MissingFileFailsAndClearsOutputs) {
    QMArray<QMVector3f> points(2);
    QMArray<int> faces(8);
    EXPECT_FALSE(io.readVertexAndFace4Blocs(QMString(dir.file("missing.vek").c_str()), points, faces));
    EXPECT_TRUE(points.empty());
    EXPECT_TRUE(faces.empty());
    EXPECT_TRUE(logLines.empty());
}

TEST_F(VekReaderTest, WrongMagicFails) {
    vekgen::VekFileHeader header;
    header.magic = {'v', 'e', 'k', 'b'};
    writeFileBytes(dir.file("bad.vek"), vekBytes([](vekgen::VekWriter& w) { w.points(kTriangle); }, header));
    QMArray<QMVector3f> points;
    EXPECT_FALSE(io.readVertexBloc(QMString(dir.file("bad.vek").c_str()), points));
    EXPECT_TRUE(points.empty());
}

TEST_F(VekReaderTest, HeaderOnlyFileReadsAsNoBlocks) {
    QMString name = write("a.vek", [](vekgen::VekWriter&) {});
    QMArray<QMVector3f> points;
    QMArray<int> faces;
    EXPECT_TRUE(io.readVertexAndFace4Blocs(name, points, faces));
    EXPECT_TRUE(points.empty());
    EXPECT_TRUE(faces.empty());
}

TEST_F(VekReaderTest, TruncatedBlockHeaderEndsTheWalk) {
    QMString name = write("a.vek", [](vekgen::VekWriter& w) {
        w.points(kTriangle);
        w.rawBytes(std::vector<unsigned char>(10, 0x33));
    });
    QMArray<QMVector3f> points;
    QMArray<int> faces;
    QMArray<QMVector2f> uvs;
    EXPECT_TRUE(io.readVtxFace4AndUV4Blocs(name, points, faces, uvs));
    EXPECT_EQ(points.size(), 3u);
}

TEST_F(VekReaderTest, DirectoryIsNotAVekFile) {
    QMArray<QMVector3f> points;
    EXPECT_FALSE(io.readVertexBloc(QMString(dir.path().c_str()), points));
}

TEST_F(VekReaderTest, NullNameFails) {
    QMArray<QMVector3f> points;
    EXPECT_FALSE(io.readVertexBloc(QMString(), points));
}
