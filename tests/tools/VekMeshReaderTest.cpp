#include "tools/vekgen/VekMeshReader.h"

#include "TestFiles.h"
#include "VekTestFiles.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

using namespace vekgen;

TEST(VekMeshReader, ReadsBackEveryBlockTheGeneratorWrote) {
    TempDir dir;
    PartParams part;
    part.name = "p";
    part.faces = 300;
    part.mask = true;
    part.unknownBlock = true;
    const MeshData expected = SceneGenerator::generate(part);
    const std::string path = writeVekFile(dir.file("p.vek"), [&](VekWriter& w) { SceneGenerator::writePart(part, w); });

    const MeshData read = readVekMesh(path);
    EXPECT_EQ(read.points, expected.points);
    EXPECT_EQ(read.faces, expected.faces);
    EXPECT_EQ(read.uvs, expected.uvs);
    EXPECT_EQ(read.mrgb, expected.mrgb);
    EXPECT_EQ(read.mask, expected.mask);
    EXPECT_EQ(read.faces.size(), 300u);
}

TEST(VekMeshReader, MissingBlocksLeaveTheirArraysEmptyAndOnlyTheFirstBlockCounts) {
    TempDir dir;
    const std::vector<Point3> first = {{1, 2, 3}};
    const std::vector<Point3> second = {{4, 5, 6}, {7, 8, 9}};
    const std::string path = writeVekFile(dir.file("p.vek"), [&](VekWriter& w) {
        w.points(first);
        w.points(second);
        w.endBlock();
    });
    const MeshData read = readVekMesh(path);
    EXPECT_EQ(read.points, first);
    EXPECT_TRUE(read.faces.empty());
    EXPECT_TRUE(read.uvs.empty());
    EXPECT_TRUE(read.mrgb.empty());
}

TEST(VekMeshReader, RejectsMissingTruncatedAndInconsistentFiles) {
    TempDir dir;
    EXPECT_THROW(readVekMesh(dir.file("none.vek")), std::runtime_error);

    const std::vector<Point3> points = {{1, 2, 3}};
    writeVekFile(dir.file("noend.vek"), [&](VekWriter& w) { w.points(points); });
    EXPECT_THROW(readVekMesh(dir.file("noend.vek")), std::runtime_error);

    // A Points block whose size holds two points but whose count says one.
    writeVekFile(dir.file("mismatch.vek"), [&](VekWriter& w) {
        w.rawBlock(kTagPoints, 1, std::vector<unsigned char>(24, 0));
        w.endBlock();
    });
    EXPECT_THROW(readVekMesh(dir.file("mismatch.vek")), std::runtime_error);
}
