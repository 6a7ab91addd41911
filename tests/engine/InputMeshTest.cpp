#include "engine/InputMesh.h"

#include "support/QMLogServer.h"
#include "vekio/VekMeshLayout.h"

#include "TestFiles.h"
#include "VekTestFiles.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

using ombrel::engine::InputMesh;
using ombrel::engine::facesWithMissingPoints;

// The engine's reading of one input file: in ranges where the file's layout
// allows, through the array readers otherwise, the same mesh either way.

namespace {

const std::vector<vekgen::Point3> kPoints = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 0, 1}};
const std::vector<vekgen::Face4> kFaces = {{0, 1, 2, 3}, {0, 1, 4, -1}};
const std::vector<vekgen::UV4> kUVs = {{1, 2, 3, 4, 5, 6, 7, 8}, {9, 10, 11, 12, 13, 14, 15, 16}};

class InputMeshTest : public ::testing::Test {
protected:
    void SetUp() override {
        QMLogServer::setObserver([this](const char* line) { logLines.push_back(line); });
    }
    void TearDown() override { QMLogServer::setObserver({}); }

    QMString file(const std::string& name, const std::function<void(vekgen::VekWriter&)>& build) {
        return QMString(writeVekFile(dir.file(name), build).c_str());
    }
    QMString withUVs(const std::string& name) {
        return file(name, [](vekgen::VekWriter& w) {
            w.points(kPoints);
            w.face4(kFaces);
            w.uv4(kUVs);
            w.mrgb(std::vector<std::uint32_t>{1, 2, 3, 4, 5});
            w.endBlock();
        });
    }
    QMString withoutUVs(const std::string& name) {
        return file(name, [](vekgen::VekWriter& w) {
            w.points(kPoints);
            w.face4(kFaces);
            w.endBlock();
        });
    }
    // A Face4 block whose count names one face more than its body holds.
    QMString damaged(const std::string& name, bool uvs) {
        return file(name, [uvs](vekgen::VekWriter& w) {
            w.points(kPoints);
            if (uvs) w.uv4(std::vector<vekgen::UV4>{{-1, -2, -3, -4, -5, -6, -7, -8}});
            std::vector<unsigned char> body(16 * 2);
            std::memcpy(body.data(), kFaces.data(), body.size());
            w.rawBlock(20001, 3, body);
            w.endBlock();
        });
    }

    bool read(InputMesh& input, const QMString& path, ombrel::engine::ReadyPoints* ready = nullptr) {
        QMVekIO reader;
        return input.read(path, locateMeshBlocks(path), ready, reader);
    }

    static std::vector<float> texCoords(const MeshSource& mesh) {
        const std::size_t n = mesh.numTexCoordEntries();
        std::vector<QMVector2f> uvs(n);
        std::unique_ptr<bool[]> written(new bool[n + 1]);
        if (n) mesh.readTexCoords(0, n, uvs.data(), written.get());
        std::vector<float> out;
        for (std::size_t k = 0; k < n; ++k)
            if (written[k]) out.insert(out.end(), {uvs[k].x, uvs[k].y});
        return out;
    }
    static std::vector<std::int32_t> faces(const MeshSource& mesh) {
        std::vector<std::int32_t> out(4 * mesh.numFaces());
        if (!out.empty()) mesh.readFaces(0, mesh.numFaces(), out.data());
        return out;
    }

    TempDir dir;
    std::vector<std::string> logLines;
};

}  // namespace

TEST_F(InputMeshTest, ASimpleFileIsReadInRangesWithTheReadersLogLines) {
    const QMString path = withUVs("a.vek");
    InputMesh input(InputMesh::Blocks::kWithUVsAndColours, true);
    ASSERT_TRUE(read(input, path));
    EXPECT_EQ(input.mesh().faceArray(), nullptr);
    EXPECT_EQ(faces(input.mesh()), (std::vector<std::int32_t>{0, 1, 2, 3, 0, 1, 4, -1}));
    EXPECT_EQ(input.points().size(), 5u);
    EXPECT_EQ(input.mesh().numColours(), 5u);
    const std::vector<std::string> streamedLines = logLines;
    logLines.clear();
    QMArray<QMVector3f> p;
    QMArray<int> f;
    QMArray<QMVector2f> uv;
    QMArray<std::uint32_t> c;
    QMVekIO().readVtxFace4UV4AndMRGBBlocs(path, p, f, uv, c);
    EXPECT_EQ(streamedLines, logLines);
    EXPECT_EQ(streamedLines.size(), 4u);
}

TEST_F(InputMeshTest, ADamagedFileGoesToTheArrayReaders) {
    InputMesh input(InputMesh::Blocks::kPointsAndFaces, false);
    ASSERT_TRUE(read(input, damaged("d.vek", false)));
    ASSERT_NE(input.mesh().faceArray(), nullptr);
    // The third face reads as zeros, as the reader leaves it.
    EXPECT_EQ(faces(input.mesh()), (std::vector<std::int32_t>{0, 1, 2, 3, 0, 1, 4, -1, 0, 0, 0, 0}));
}

TEST_F(InputMeshTest, NoFileIsNotReadable) {
    InputMesh input(InputMesh::Blocks::kPointsAndFaces, false);
    EXPECT_FALSE(read(input, QMString(dir.file("none.vek").c_str())));
    EXPECT_EQ(input.numFaces(), 0u);
    EXPECT_FALSE(input.hasFaceIndices());
}

TEST_F(InputMeshTest, WithoutColoursTheMeshHasNone) {
    InputMesh input(InputMesh::Blocks::kWithUVsAndColours, false);
    ASSERT_TRUE(read(input, withUVs("a.vek")));
    EXPECT_EQ(input.mesh().numColours(), 0u);
    InputMesh arrays(InputMesh::Blocks::kWithUVsAndColours, false);
    ASSERT_TRUE(read(arrays, damaged("d.vek", true)));
    EXPECT_EQ(arrays.mesh().numColours(), 0u);
}

TEST_F(InputMeshTest, AFileWithoutUVsWritesThoseOfTheFileBefore) {
    InputMesh input(InputMesh::Blocks::kWithUVsAndColours, false);
    ASSERT_TRUE(read(input, withUVs("a.vek")));
    const std::vector<float> first = texCoords(input.mesh());
    EXPECT_EQ(first, (std::vector<float>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14}));
    ASSERT_TRUE(read(input, withoutUVs("b.vek")));
    EXPECT_EQ(input.mesh().faceArray(), nullptr);
    EXPECT_EQ(texCoords(input.mesh()), first);
    input.forgetUVs();
    ASSERT_TRUE(read(input, withoutUVs("b.vek")));
    EXPECT_EQ(input.mesh().numTexCoordEntries(), 0u);
}

TEST_F(InputMeshTest, UVsCarriedFromAStreamedFileReachADamagedOne) {
    InputMesh input(InputMesh::Blocks::kWithUVsAndColours, false);
    ASSERT_TRUE(read(input, withUVs("a.vek")));
    ASSERT_TRUE(read(input, damaged("d.vek", false)));
    ASSERT_NE(input.mesh().faceArray(), nullptr);
    // Three faces now: the two carried faces' entries, then none.
    EXPECT_EQ(texCoords(input.mesh()), (std::vector<float>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14}));
}

TEST_F(InputMeshTest, UVsCarriedInTheReadersArrayKeepTheNextFileInArrays) {
    InputMesh input(InputMesh::Blocks::kWithUVsAndColours, false);
    ASSERT_TRUE(read(input, damaged("d.vek", true)));
    ASSERT_TRUE(read(input, withoutUVs("b.vek")));
    EXPECT_NE(input.mesh().faceArray(), nullptr);
    EXPECT_EQ(texCoords(input.mesh()), (std::vector<float>{-1, -2, -3, -4, -5, -6, -7, -8}));
    // A file with UVs of its own is read in ranges again.
    ASSERT_TRUE(read(input, withUVs("a.vek")));
    EXPECT_EQ(input.mesh().faceArray(), nullptr);
}

TEST_F(InputMeshTest, PointsReadAheadAreTakenOverAndTheOldStorageHandedBack) {
    InputMesh input(InputMesh::Blocks::kPointsAndFaces, false);
    ASSERT_TRUE(read(input, withoutUVs("a.vek")));
    ombrel::engine::ReadyPoints ready;
    ready.points = {QMVector3f(7, 8, 9)};
    ready.present = true;
    ASSERT_TRUE(read(input, withoutUVs("b.vek"), &ready));
    EXPECT_TRUE(input.usedReadyPoints());
    ASSERT_EQ(input.points().size(), 1u);  // what was read ahead, not read again
    EXPECT_EQ(input.points()[0].z, 9.0f);
    EXPECT_EQ(ready.points.size(), 5u);  // a.vek's points, their storage to reuse
}

TEST_F(InputMeshTest, PointsReadAheadOfAFileReadInArraysAreNotUsed) {
    ombrel::engine::ReadyPoints ready;
    ready.points = {QMVector3f(7, 8, 9)};
    ready.present = true;
    InputMesh input(InputMesh::Blocks::kPointsAndFaces, false);
    ASSERT_TRUE(read(input, damaged("d.vek", false), &ready));
    EXPECT_FALSE(input.usedReadyPoints());
    EXPECT_EQ(input.points().size(), 5u);
    EXPECT_EQ(ready.points.size(), 1u);
}

TEST(FacesWithMissingPointsTest, CountsFacesWithACornerOutsideThePoints) {
    const QMArray<QMVector3f> points(3);
    const QMArray<int> faces = {0, 1, 2, -1, 0, 1, 2, 3, 0, 1, 5, -1, -2, 0, 1, -1, 0, 1, 2, 2};
    EXPECT_EQ(facesWithMissingPoints(ArrayMeshSource(points, faces)), 3u);
}
