#include "VekReaderFixture.h"

#include <cstdint>

namespace {

// n points along a line: (i, -i, 2i) for i = 0 .. n-1.
std::vector<vekgen::Point3> diagonal(std::size_t n) {
    std::vector<vekgen::Point3> points(n);
    for (std::size_t i = 0; i < n; ++i) {
        const float v = static_cast<float>(i);
        points[i] = {v, -v, 2 * v};
    }
    return points;
}

void expectBox(const BBox& box, std::vector<float> expected) {
    EXPECT_EQ((std::vector<float>{box.m_min.x, box.m_min.y, box.m_min.z, box.m_max.x, box.m_max.y, box.m_max.z}),
              expected);
}

}  // namespace

TEST_F(VekReaderTest, BBoxOfThePointsBlock) {
    QMString name = write("a.vek", [](vekgen::VekWriter& w) {
        w.points(std::vector<vekgen::Point3>{{1, -2, 3}, {-4, 5, 0.5f}});
        w.endBlock();
    });
    BBox box;
    ASSERT_TRUE(io.readBBox(name, box));
    expectBox(box, {-4, -2, 0.5f, 1, 5, 3});
}

TEST_F(VekReaderTest, BBoxWithExactlyOneChunk) {
    QMString name = write("a.vek", [](vekgen::VekWriter& w) {
        w.points(diagonal(65536));
        w.rawBytes(std::vector<unsigned char>(12, 0xFF));  // would be a NaN point if it were read
        w.endBlock();
    });
    BBox box;
    ASSERT_TRUE(io.readBBox(name, box));
    expectBox(box, {0, -65535, 0, 65535, 0, 131070});
}

TEST_F(VekReaderTest, BBoxWithOneChunkAndOnePoint) {
    QMString name = write("a.vek", [](vekgen::VekWriter& w) {
        w.points(diagonal(65537));
        w.endBlock();
    });
    BBox box;
    ASSERT_TRUE(io.readBBox(name, box));
    expectBox(box, {0, -65536, 0, 65536, 0, 131072});
}

TEST_F(VekReaderTest, BBoxOfNoPointsIsEmpty) {
    QMString name = write("a.vek", [](vekgen::VekWriter& w) {
        w.points(std::vector<vekgen::Point3>{});
        w.endBlock();
    });
    BBox box;
    box.add(QMVector3f(1, 1, 1));
    ASSERT_TRUE(io.readBBox(name, box));
    EXPECT_FALSE(box.isInitialized());
}

TEST_F(VekReaderTest, BBoxFailsWhenPointsAreNotFirst) {
    QMString name = write("a.vek", [](vekgen::VekWriter& w) {
        w.face4(kOneQuad);
        w.points(kSquare);
        w.endBlock();
    });
    BBox box;
    EXPECT_FALSE(io.readBBox(name, box));
}

TEST_F(VekReaderTest, BBoxFailsOnShortPointsBody) {
    QMString name = write(
        "a.vek", [](vekgen::VekWriter& w) { w.rawBlock(vekgen::kTagPoints, 4, std::vector<unsigned char>(40, 0)); });
    BBox box;
    EXPECT_FALSE(io.readBBox(name, box));
}

TEST_F(VekReaderTest, BBoxFailsOnShortFullChunk) {
    QMString name = write("a.vek", [](vekgen::VekWriter& w) {
        w.rawBlock(vekgen::kTagPoints, 70000, std::vector<unsigned char>(1000, 0));
    });
    BBox box;
    EXPECT_FALSE(io.readBBox(name, box));
}

TEST_F(VekReaderTest, BBoxWithNegativeCountIsEmpty) {
    QMString name = write("a.vek", [](vekgen::VekWriter& w) {
        w.rawBlock(vekgen::kTagPoints, 0x80000000u, std::vector<unsigned char>(12, 0));
    });
    BBox box;
    EXPECT_TRUE(io.readBBox(name, box));
    EXPECT_FALSE(box.isInitialized());
}

TEST_F(VekReaderTest, BBoxFailsOnEmptyFileAndMissingFile) {
    QMString name = write("a.vek", [](vekgen::VekWriter& w) { w.endBlock(); });
    BBox box;
    EXPECT_FALSE(io.readBBox(name, box));
    EXPECT_FALSE(io.readBBox(QMString(dir.file("none.vek").c_str()), box));
}
