#include "VekReaderFixture.h"

#include <cstdint>

// Damaged and hostile files: the readers must neither crash nor loop nor
// allocate beyond the bytes present, and must read what is there.

namespace {

std::vector<unsigned char> pointBytes(const std::vector<vekgen::Point3>& points) {
    std::vector<unsigned char> bytes;
    for (const vekgen::Point3& p : points)
        for (float v : p) {
            std::vector<unsigned char> le = le32f(v);
            bytes.insert(bytes.end(), le.begin(), le.end());
        }
    return bytes;
}

}  // namespace

TEST_F(VekReaderTest, SizeZeroEndsTheWalk) {
    QMString name = write("a.vek", [](vekgen::VekWriter& w) {
        w.points(kTriangle);
        w.rawBlock(40001, 0, {}, 0u);
        w.face4(kOneTriangle);
        w.endBlock();
    });
    QMArray<QMVector3f> points;
    QMArray<int> faces;
    QMArray<QMVector2f> uvs;
    EXPECT_TRUE(io.readVtxFace4AndUV4Blocs(name, points, faces, uvs));
    EXPECT_EQ(points.size(), 3u);
    EXPECT_TRUE(faces.empty());
}

TEST_F(VekReaderTest, SizeBelowSixteenEndsTheWalk) {
    QMString name = write("a.vek", [](vekgen::VekWriter& w) {
        w.rawBlock(vekgen::kTagPoints, 1, {}, 15u);
        w.points(kTriangle);
        w.endBlock();
    });
    QMArray<QMVector3f> points;
    EXPECT_TRUE(io.readVertexBloc(name, points));
    EXPECT_TRUE(points.empty());
}

TEST_F(VekReaderTest, HugeCountIsClampedToThePointsPresent) {
    QMString name = write("a.vek", [](vekgen::VekWriter& w) {
        w.rawBlock(vekgen::kTagPoints, 0xFFFFFFFFu, pointBytes(kTriangle));
        w.endBlock();
    });
    QMArray<QMVector3f> points;
    EXPECT_TRUE(io.readVertexBloc(name, points));
    EXPECT_EQ(flatten(points), (std::vector<float>{0, 0, 0, 1, 0, 0, 0, 1, 0}));
}

TEST_F(VekReaderTest, HugeFaceCountIsClampedToTheIndicesPresent) {
    QMString name = write("a.vek", [](vekgen::VekWriter& w) {
        std::vector<unsigned char> body;
        for (std::uint32_t index : {0u, 1u, 2u, 0xFFFFFFFFu, 5u}) {
            std::vector<unsigned char> le = le32(index);
            body.insert(body.end(), le.begin(), le.end());
        }
        w.rawBlock(vekgen::kTagFace4, 0x40000000u, body);
        w.endBlock();
    });
    QMArray<int> faces;
    bool hasUV = false;
    EXPECT_TRUE(io.readFace4Bloc(name, faces, hasUV));
    EXPECT_EQ(std::vector<int>(faces.begin(), faces.end()), (std::vector<int>{0, 1, 2, -1, 5}));
}

TEST_F(VekReaderTest, ShortBodyLeavesTheTailZero) {
    QMString name = write("a.vek", [](vekgen::VekWriter& w) {
        w.rawBlock(vekgen::kTagPoints, 5, pointBytes({{1, 2, 3}, {4, 5, 6}}));
        w.endBlock();
    });
    QMArray<QMVector3f> points;
    EXPECT_TRUE(io.readVertexBloc(name, points));
    EXPECT_EQ(flatten(points), (std::vector<float>{1, 2, 3, 4, 5, 6, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST_F(VekReaderTest, ShortSecondBlockLeavesTheFirstBlocksTail) {
    QMString name = write("a.vek", [](vekgen::VekWriter& w) {
        w.points(kSquare);
        w.rawBlock(vekgen::kTagPoints, 3, pointBytes({{9, 9, 9}}));
        w.endBlock();
    });
    QMArray<QMVector3f> points;
    QMArray<int> faces;
    QMArray<QMVector2f> uvs;
    EXPECT_TRUE(io.readVtxFace4AndUV4Blocs(name, points, faces, uvs));
    EXPECT_EQ(flatten(points), (std::vector<float>{9, 9, 9, 1, 0, 0, 1, 1, 0}));
}

TEST_F(VekReaderTest, BodyLongerThanItsCountIsSkippedPastTheArray) {
    QMString name = write("a.vek", [](vekgen::VekWriter& w) {
        w.rawBlock(vekgen::kTagPoints, 1, pointBytes(kTriangle));
        w.face4(kOneTriangle);
        w.endBlock();
    });
    QMArray<QMVector3f> points;
    QMArray<int> faces;
    EXPECT_TRUE(io.readVertexAndFace4Blocs(name, points, faces));
    EXPECT_EQ(flatten(points), (std::vector<float>{0, 0, 0}));
    EXPECT_EQ(faces.size(), 4u);
}

TEST_F(VekReaderTest, SizeBeyondTheEndOfFileEndsTheWalk) {
    QMString name = write("a.vek", [](vekgen::VekWriter& w) {
        w.points(kTriangle);
        w.rawBlock(40001, 0, std::vector<unsigned char>(4, 0), 0xFFFFFFF0u);
        w.face4(kOneTriangle);
        w.endBlock();
    });
    QMArray<QMVector3f> points;
    QMArray<int> faces;
    QMArray<QMVector2f> uvs;
    EXPECT_TRUE(io.readVtxFace4AndUV4Blocs(name, points, faces, uvs));
    EXPECT_EQ(points.size(), 3u);
    EXPECT_TRUE(faces.empty());
}

// Every prefix of a good file, read by every reader: nothing may crash,
// and what is read is a prefix of what the whole file holds.
TEST_F(VekReaderTest, EveryTruncatedPrefixReadsSafely) {
    const std::vector<unsigned char> whole = vekBytes([](vekgen::VekWriter& w) {
        w.points(kSquare);
        w.face4(std::vector<vekgen::Face4>{{0, 1, 2, 3}, {0, 2, 3, -1}});
        w.uv4(std::vector<vekgen::UV4>{{0, 0, 1, 0, 1, 1, 0, 1}, {0, 0, 1, 1, 0, 1, 0, 0}});
        w.mask(std::vector<unsigned char>{1, 2, 3, 4});
        w.mrgb(std::vector<std::uint32_t>{1, 2, 3, 4});
        w.rawBlock(40001, 2, std::vector<unsigned char>(6, 0xAB));
        w.endBlock();
    });
    const std::string path = dir.file("prefix.vek");
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        writeFileBytes(path, std::vector<unsigned char>(whole.begin(), whole.begin() + static_cast<long>(length)));
        const QMString name(path.c_str());
        QMArray<QMVector3f> points;
        QMArray<int> faces;
        QMArray<QMVector2f> uvs;
        QMArray<std::uint32_t> mrgb;
        QMArray<unsigned char> mask;
        bool hasUV = false;
        BBox box;
        const bool headerPresent = length >= 32;
        EXPECT_EQ(io.readVertexBloc(name, points), headerPresent) << length;
        EXPECT_LE(points.size(), 4u);
        EXPECT_EQ(io.readFace4Bloc(name, faces, hasUV), headerPresent);
        EXPECT_LE(faces.size(), 8u);
        EXPECT_EQ(io.readUV4Bloc(name, uvs), headerPresent);
        EXPECT_LE(uvs.size(), 8u);
        EXPECT_EQ(io.readMRGBBloc(name, mrgb), headerPresent);
        EXPECT_EQ(io.readMaskBloc(name, mask), headerPresent);
        EXPECT_EQ(io.readVertexAndFace4Blocs(name, points, faces), headerPresent);
        EXPECT_EQ(io.readVtxFace4AndUV4Blocs(name, points, faces, uvs), headerPresent);
        EXPECT_EQ(io.readVtxFace4UV4AndMRGBBlocs(name, points, faces, uvs, mrgb), headerPresent);
        const bool pointsComplete = length >= 32 + 16 + 48;
        EXPECT_EQ(io.readBBox(name, box), pointsComplete) << length;
        if (length == whole.size()) {
            EXPECT_EQ(points.size(), 4u);
            EXPECT_EQ(faces.size(), 8u);
            EXPECT_EQ(uvs.size(), 8u);
            EXPECT_EQ(mrgb.size(), 4u);
            EXPECT_EQ(mask.size(), 4u);
        }
    }
}
