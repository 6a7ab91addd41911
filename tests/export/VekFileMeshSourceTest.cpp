#include "export/VekFileMeshSource.h"

#include "export/ArrayMeshSource.h"
#include "vekio/QMVekIO.h"
#include "vekio/VekMeshLayout.h"

#include "VekTestFiles.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

// A mesh read in ranges from a Vek file gives what the same mesh gives from
// the arrays the readers fill.

namespace {

// Three faces (a quad, a triangle, a quad), UVs for four faces (one more than
// there are), five colours.
std::vector<unsigned char> meshFile() {
    return vekBytes([](vekgen::VekWriter& w) {
        w.points(std::vector<vekgen::Point3>{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {2, 2, 2}});
        w.face4(std::vector<vekgen::Face4>{{0, 1, 2, 3}, {1, 2, 4, -1}, {4, 3, 2, 1}});
        w.uv4(std::vector<vekgen::UV4>{{0.1f, 0.2f, 0.3f, 0.4f, 0.5f, 0.6f, 0.7f, 0.8f},
                                       {1, 2, 3, 4, 5, 6, 7, 8},
                                       {-1, -2, -3, -4, -5, -6, -7, -8},
                                       {9, 9, 9, 9, 9, 9, 9, 9}});
        w.mrgb(std::vector<std::uint32_t>{0x00FF0000u, 0x0000FF00u, 0x000000FFu, 0x00808080u, 0x01020304u});
        w.endBlock();
    });
}

struct Meshes {
    std::vector<unsigned char> bytes = meshFile();
    VekBytes vek{bytes.data(), bytes.size()};
    QMArray<QMVector3f> points;
    QMArray<int> faces;
    QMArray<QMVector2f> uvs;
    QMArray<std::uint32_t> colours;
    VekMeshLayout layout = locateMeshBlocks(vek);
    VekRandomAccess file{vek};

    Meshes() { QMVekIO().readVtxFace4UV4AndMRGBBlocs(vek, points, faces, uvs, colours); }

    VekFileMeshSource::Body body(std::uint32_t tag) const {
        return {&file, layout.find(tag)->bodyOffset, layout.elements(tag)};
    }
    VekFileMeshSource streamed() const {
        return VekFileMeshSource(points, body(QMVekIO::kTagFace4), body(QMVekIO::kTagUV4), body(QMVekIO::kTagMRGB));
    }
    ArrayMeshSource arrays() const { return ArrayMeshSource(points, faces, &uvs, &colours); }
};

}  // namespace

TEST(VekFileMeshSourceTest, FacesReadInAnyRangeAreTheArrays) {
    const Meshes m;
    ASSERT_TRUE(m.layout.simple);
    const VekFileMeshSource streamed = m.streamed();
    EXPECT_EQ(streamed.numFaces(), 3u);
    EXPECT_EQ(streamed.numPoints(), 5u);
    EXPECT_EQ(streamed.faceArray(), nullptr);
    EXPECT_EQ(streamed.pointArray(), m.points.data());
    for (std::size_t first = 0; first < 3; ++first)
        for (std::size_t count = 1; first + count <= 3; ++count) {
            std::vector<std::int32_t> got(4 * count), want(4 * count);
            streamed.readFaces(first, count, got.data());
            m.arrays().readFaces(first, count, want.data());
            EXPECT_EQ(got, want) << first << "+" << count;
        }
    std::int32_t second[4];
    streamed.readFaces(1, 1, second);
    EXPECT_EQ(std::vector<std::int32_t>(second, second + 4), (std::vector<std::int32_t>{1, 2, 4, -1}));
}

TEST(VekFileMeshSourceTest, TexCoordEntriesStopAtTheFacesAndSkipUnusedCorners) {
    const Meshes m;
    const VekFileMeshSource streamed = m.streamed();
    EXPECT_EQ(streamed.numTexCoordEntries(), 12u);  // 16 entries, 3 faces
    EXPECT_EQ(m.arrays().numTexCoordEntries(), 12u);
    for (std::size_t first = 0; first < 12; ++first)
        for (std::size_t count = 1; first + count <= 12; ++count) {
            std::vector<QMVector2f> got(count), want(count);
            std::unique_ptr<bool[]> gotWritten(new bool[count]), wantWritten(new bool[count]);
            streamed.readTexCoords(first, count, got.data(), gotWritten.get());
            m.arrays().readTexCoords(first, count, want.data(), wantWritten.get());
            EXPECT_EQ(std::memcmp(got.data(), want.data(), 8 * count), 0) << first << "+" << count;
            EXPECT_TRUE(std::equal(gotWritten.get(), gotWritten.get() + count, wantWritten.get()))
                << first << "+" << count;
        }
    QMVector2f uv[4];
    bool written[4];
    streamed.readTexCoords(4, 4, uv, written);
    EXPECT_EQ(uv[1].x, 3.0f);
    EXPECT_EQ(std::vector<bool>(written, written + 4), (std::vector<bool>{true, true, true, false}));
}

TEST(VekFileMeshSourceTest, ColoursAreTheColourWordsAndConvertAsTheArrays) {
    const Meshes m;
    const VekFileMeshSource streamed = m.streamed();
    ASSERT_EQ(streamed.numColours(), 5u);
    std::uint32_t words[3];
    streamed.readColourWords(2, 3, words);
    EXPECT_EQ(std::vector<std::uint32_t>(words, words + 3),
              (std::vector<std::uint32_t>{0x000000FFu, 0x00808080u, 0x01020304u}));
    for (int channel = 0; channel < 3; ++channel)
        for (int byte : {0, 1, 128, 255})
            EXPECT_EQ(streamed.colourIntensity(channel, std::uint8_t(byte)),
                      m.arrays().colourIntensity(channel, std::uint8_t(byte)));
}

TEST(VekFileMeshSourceTest, WithoutUVsOrColoursTheMeshHasNone) {
    const Meshes m;
    const VekFileMeshSource bare(m.points, m.body(QMVekIO::kTagFace4), {}, {});
    EXPECT_EQ(bare.numTexCoordEntries(), 0u);
    EXPECT_EQ(bare.numColours(), 0u);
    EXPECT_EQ(bare.numFaces(), 3u);
}
