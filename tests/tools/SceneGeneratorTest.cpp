#include "tools/vekgen/SceneGenerator.h"
#include "tools/vekgen/VekInspector.h"

#include "TestFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

using namespace vekgen;

namespace {

using Bytes = std::vector<unsigned char>;

PartParams partOf(PartShape shape, std::uint64_t faces, std::uint64_t seed = 1) {
    PartParams p;
    p.name = "p";
    p.shape = shape;
    p.faces = faces;
    p.seed = seed;
    return p;
}

Bytes partBytes(const PartParams& p) {
    VekWriter w = VekWriter::inMemory();
    SceneGenerator::writePart(p, w);
    w.close();
    return w.bytes();
}

std::size_t triangles(const MeshData& m) {
    std::size_t n = 0;
    for (const Face4& f : m.faces) n += f[3] == -1;
    return n;
}

// Each directed edge once, and its reverse once: a closed, consistently
// oriented surface.
bool closedAndOriented(const MeshData& m) {
    std::map<std::pair<int, int>, int> edges;
    for (const Face4& f : m.faces) {
        const int n = f[3] == -1 ? 3 : 4;
        for (int k = 0; k < n; ++k) ++edges[{f[k], f[(k + 1) % n]}];
    }
    for (const auto& [e, count] : edges) {
        if (count != 1) return false;
        auto back = edges.find({e.second, e.first});
        if (back == edges.end() || back->second != 1) return false;
    }
    return true;
}

double signedVolume(const MeshData& m) {
    double v = 0;
    for (const Face4& f : m.faces) {
        const int n = f[3] == -1 ? 3 : 4;
        for (int k = 1; k + 1 < n; ++k) {
            const Point3& a = m.points[f[0]];
            const Point3& b = m.points[f[k]];
            const Point3& c = m.points[f[k + 1]];
            v += a[0] * (double(b[1]) * c[2] - double(b[2]) * c[1]) -
                 a[1] * (double(b[0]) * c[2] - double(b[2]) * c[0]) +
                 a[2] * (double(b[0]) * c[1] - double(b[1]) * c[0]);
        }
    }
    return v / 6;
}

}  // namespace

TEST(SceneGenerator, SameSeedGivesTheSameBytes) {
    const PartParams p = partOf(PartShape::Head, 3000, 42);
    EXPECT_EQ(partBytes(p), partBytes(p));
}

TEST(SceneGenerator, DifferentSeedGivesDifferentBytesOfTheSameLayout) {
    const Bytes a = partBytes(partOf(PartShape::Head, 3000, 42));
    const Bytes b = partBytes(partOf(PartShape::Head, 3000, 43));
    EXPECT_NE(a, b);
    EXPECT_EQ(a.size(), b.size());
}

TEST(SceneGenerator, PartHasExactlyTheFacesAskedFor) {
    for (PartShape shape : {PartShape::Head, PartShape::Torso, PartShape::Base}) {
        for (std::uint64_t faces : {1u, 2u, 5u, 19u, 20u, 21u, 97u, 631u, 1000u, 4567u}) {
            const MeshData m = SceneGenerator::generate(partOf(shape, faces));
            EXPECT_EQ(m.faces.size(), faces) << shapeName(shape) << " " << faces;
        }
    }
}

TEST(SceneGenerator, OneQuadInTwentyIsSplitIntoTwoTriangles) {
    const PartParams p = partOf(PartShape::Torso, 10000);
    const MeshData m = SceneGenerator::generate(p);
    EXPECT_EQ(triangles(m), 2u * (10000 / 20));
    EXPECT_EQ(SceneGenerator::triangleCount(p), 1000u);
    const double fraction = double(triangles(m)) / double(m.faces.size());
    EXPECT_DOUBLE_EQ(fraction, 0.1);
}

TEST(SceneGenerator, FewerThanTwentyFacesAreAllQuads) {
    const MeshData m = SceneGenerator::generate(partOf(PartShape::Base, 19));
    EXPECT_EQ(triangles(m), 0u);
}

TEST(SceneGenerator, IndicesAreInRangeAndDistinct) {
    for (PartShape shape : {PartShape::Head, PartShape::Torso, PartShape::Base, PartShape::SolidHead,
                            PartShape::SolidTorso, PartShape::SolidBase}) {
        const MeshData m = SceneGenerator::generate(partOf(shape, 2345));
        for (const Face4& f : m.faces) {
            const int n = f[3] == -1 ? 3 : 4;
            for (int k = 0; k < n; ++k) {
                ASSERT_GE(f[k], 0);
                ASSERT_LT(static_cast<std::size_t>(f[k]), m.points.size());
                for (int j = 0; j < k; ++j) ASSERT_NE(f[j], f[k]);
            }
        }
    }
}

TEST(SceneGenerator, UVsAreInTheUnitSquareAndTriangleFourthCornerIsZero) {
    const MeshData m = SceneGenerator::generate(partOf(PartShape::Head, 2000));
    ASSERT_EQ(m.uvs.size(), m.faces.size());
    for (std::size_t i = 0; i < m.faces.size(); ++i) {
        for (float t : m.uvs[i]) {
            ASSERT_GE(t, 0.0f);
            ASSERT_LE(t, 1.0f);
        }
        if (m.faces[i][3] == -1) {
            EXPECT_EQ(m.uvs[i][6], 0.0f);
            EXPECT_EQ(m.uvs[i][7], 0.0f);
        }
    }
}

TEST(SceneGenerator, ColoursAreOnePerVertexWithMZero) {
    const MeshData m = SceneGenerator::generate(partOf(PartShape::Base, 1500));
    ASSERT_EQ(m.mrgb.size(), m.points.size());
    for (std::uint32_t w : m.mrgb) ASSERT_EQ(w >> 24, 0u);
    EXPECT_NE(m.mrgb.front(), m.mrgb.back());
}

TEST(SceneGenerator, HeadIsAClosedOutwardSurfaceWhenNoFacesAreLeftOver) {
    // 631 faces: 31 split quads, 600 = 6 x 10 x 10 quads on the sphere, no horn.
    const MeshData m = SceneGenerator::generate(partOf(PartShape::Head, 631));
    EXPECT_EQ(m.points.size(), 602u);
    EXPECT_TRUE(closedAndOriented(m));
    EXPECT_GT(signedVolume(m), 0.0);
}

TEST(SceneGenerator, TorsoIsAClosedOutwardSurfaceWhenNoFacesAreLeftOver) {
    const MeshData m = SceneGenerator::generate(partOf(PartShape::Torso, 631));
    EXPECT_TRUE(closedAndOriented(m));
    EXPECT_GT(signedVolume(m), 0.0);
}

TEST(SceneGenerator, BaseIsAClosedOutwardTorusWhenNoFacesAreLeftOver) {
    // 421 faces: 21 split quads, 400 = 40 x 10 quads on the torus.
    const MeshData m = SceneGenerator::generate(partOf(PartShape::Base, 421));
    EXPECT_EQ(m.points.size(), 400u);
    EXPECT_TRUE(closedAndOriented(m));
    EXPECT_GT(signedVolume(m), 0.0);
}

TEST(SceneGenerator, WrittenBlocksMatchTheGeneratedData) {
    const PartParams p = partOf(PartShape::Torso, 777, 5);
    const MeshData m = SceneGenerator::generate(p);
    EXPECT_EQ(partBytes(p), vekFileBytes(m.points, m.faces, m.uvs, m.mrgb));
}

TEST(SceneGenerator, BlockCountsAndSizesAreConsistent) {
    const PartParams p = partOf(PartShape::Head, 1234, 9);
    const VekInspection r = VekInspector::inspectBytes(partBytes(p));
    ASSERT_EQ(r.status, VekStatus::Ok);
    ASSERT_EQ(r.blocks.size(), 5u);
    const std::uint64_t nv = SceneGenerator::pointCount(p);
    EXPECT_EQ(r.blocks[0].name, "Points");
    EXPECT_EQ(r.blocks[0].count, nv);
    EXPECT_EQ(r.blocks[1].name, "Face4");
    EXPECT_EQ(r.blocks[1].count, 1234u);
    EXPECT_EQ(r.blocks[2].name, "UV4");
    EXPECT_EQ(r.blocks[2].count, 1234u);
    EXPECT_EQ(r.blocks[2].size, 16u + 32u * 1234u);
    EXPECT_EQ(r.blocks[3].name, "MRGB");
    EXPECT_EQ(r.blocks[3].count, nv);
    EXPECT_EQ(r.blocks[3].size, 16u + 4u * nv);
    for (const VekBlockInfo& b : r.blocks) EXPECT_TRUE(b.sizeMatchesCount) << b.name;
    EXPECT_TRUE(r.warnings.empty());
}

TEST(SceneGenerator, UVAndColourBlocksCanBeLeftOut) {
    PartParams p = partOf(PartShape::Base, 500);
    p.uv = false;
    p.colors = false;
    const VekInspection r = VekInspector::inspectBytes(partBytes(p));
    ASSERT_EQ(r.blocks.size(), 3u);
    EXPECT_EQ(r.blocks[0].name, "Points");
    EXPECT_EQ(r.blocks[1].name, "Face4");
    EXPECT_EQ(r.blocks[2].name, "end");
}

TEST(SceneGenerator, MaskAndUnknownBlockFollowThePoints) {
    PartParams p = partOf(PartShape::Torso, 300);
    p.mask = true;
    p.unknownBlock = true;
    const VekInspection r = VekInspector::inspectBytes(partBytes(p));
    ASSERT_EQ(r.status, VekStatus::Ok);
    ASSERT_EQ(r.blocks.size(), 7u);
    const char* order[] = {"Points", "Mask", "unknown", "Face4", "UV4", "MRGB", "end"};
    for (std::size_t i = 0; i < 7; ++i) EXPECT_EQ(r.blocks[i].name, order[i]);
    EXPECT_EQ(r.blocks[1].count, r.blocks[0].count);
    EXPECT_EQ(r.blocks[2].tag, kUnknownSampleTag);
    EXPECT_EQ(r.blocks[2].count, 4u);
    EXPECT_EQ(r.blocks[2].size, 32u);
}

TEST(SceneGenerator, FacesAreSharedOutEvenlyOverFiles) {
    SceneOptions o;
    o.faces = 1003;
    o.files = 4;
    const SceneGenerator g(o);
    ASSERT_EQ(g.parts().size(), 4u);
    const std::uint64_t expected[] = {251, 251, 251, 250};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(g.parts()[i].faces, expected[i]);
        EXPECT_EQ(g.parts()[i].name, "part" + std::to_string(i));
    }
    EXPECT_EQ(g.parts()[0].shape, PartShape::Head);
    EXPECT_EQ(g.parts()[1].shape, PartShape::Torso);
    EXPECT_EQ(g.parts()[2].shape, PartShape::Base);
    EXPECT_EQ(g.parts()[3].shape, PartShape::Head);
    EXPECT_EQ(g.parts()[3].slot, 1u);
}

TEST(SceneGenerator, WriteAllWritesOneFilePerPart) {
    TempDir dir;
    SceneOptions o;
    o.faces = 900;
    o.files = 3;
    o.seed = 77;
    const SceneGenerator g(o);
    std::vector<std::string> seen;
    const auto stats = g.writeAll(dir.file("out"), [&](const PartStats& s) { seen.push_back(s.path); });
    ASSERT_EQ(stats.size(), 3u);
    EXPECT_EQ(seen, (std::vector<std::string>{dir.file("out/part0.vek"), dir.file("out/part1.vek"),
                                              dir.file("out/part2.vek")}));
    for (std::size_t i = 0; i < 3; ++i) {
        const Bytes b = readFileBytes(stats[i].path);
        EXPECT_EQ(b.size(), stats[i].bytes);
        EXPECT_EQ(b, partBytes(g.parts()[i]));
        EXPECT_EQ(stats[i].faces, 300u);
        EXPECT_EQ(stats[i].triangles, 30u);
        EXPECT_EQ(stats[i].points, SceneGenerator::pointCount(g.parts()[i]));
    }
}

TEST(SceneGenerator, InvalidOptionsAreRejected) {
    SceneOptions o;
    o.faces = 0;
    EXPECT_THROW(SceneGenerator{o}, std::invalid_argument);
    o.faces = 3;
    o.files = 0;
    EXPECT_THROW(SceneGenerator{o}, std::invalid_argument);
    o.files = 4;
    EXPECT_THROW(SceneGenerator{o}, std::invalid_argument);
    o.faces = kMaxFacesPerPart + 1;
    o.files = 1;
    EXPECT_THROW(SceneGenerator{o}, std::invalid_argument);
}

TEST(SceneGenerator, SampleSceneHasHeadTorsoAndBase) {
    const SceneGenerator g = SceneGenerator::sample();
    ASSERT_EQ(g.parts().size(), 3u);
    EXPECT_EQ(g.parts()[0].name, "head");
    EXPECT_EQ(g.parts()[1].name, "torso");
    EXPECT_EQ(g.parts()[2].name, "base");
    EXPECT_EQ(g.parts()[0].shape, PartShape::SolidHead);
    EXPECT_EQ(g.parts()[1].shape, PartShape::SolidTorso);
    EXPECT_EQ(g.parts()[2].shape, PartShape::SolidBase);
    EXPECT_TRUE(g.parts()[1].mask);
    EXPECT_TRUE(g.parts()[1].unknownBlock);
    for (const PartParams& p : g.parts()) {
        EXPECT_GE(p.faces, 1000u);
        EXPECT_LE(p.faces, 3000u);
        EXPECT_EQ(p.slot, 0u);
        EXPECT_TRUE(p.uv);
        EXPECT_TRUE(p.colors);
    }
}

// --- the solid shapes

namespace {

const PartShape kSolidShapes[] = {PartShape::SolidHead, PartShape::SolidTorso, PartShape::SolidBase};

float lowest(const MeshData& m, int axis) {
    float low = m.points.front()[axis];
    for (const Point3& p : m.points) low = std::min(low, p[axis]);
    return low;
}

float highest(const MeshData& m, int axis) {
    float high = m.points.front()[axis];
    for (const Point3& p : m.points) high = std::max(high, p[axis]);
    return high;
}

}  // namespace

TEST(SceneGenerator, SolidPartsAreClosedOutwardSurfacesOfExactlyTheFacesAskedFor) {
    for (PartShape shape : kSolidShapes) {
        for (std::uint64_t faces : {100u, 101u, 137u, 500u, 999u, 1000u, 1200u, 1500u, 4567u, 20000u}) {
            const MeshData m = SceneGenerator::generate(partOf(shape, faces, faces));
            EXPECT_EQ(m.faces.size(), faces) << shapeName(shape) << " " << faces;
            EXPECT_TRUE(closedAndOriented(m)) << shapeName(shape) << " " << faces;
            EXPECT_GT(signedVolume(m), 0.0) << shapeName(shape) << " " << faces;
        }
    }
}

TEST(SceneGenerator, SolidPartsHaveFansAtThePolesAndSplitQuadsBetween) {
    for (PartShape shape : kSolidShapes) {
        const PartParams p = partOf(shape, 1200);
        const MeshData m = SceneGenerator::generate(p);
        EXPECT_EQ(triangles(m), SceneGenerator::triangleCount(p)) << shapeName(shape);
        EXPECT_EQ(m.points.size(), SceneGenerator::pointCount(p)) << shapeName(shape);
        // The first faces are triangles around point 0, the last ones around
        // the last point; the rest are quads and split quads.
        const auto last = static_cast<std::int32_t>(m.points.size() - 1);
        std::size_t bottom = 0, top = 0;
        while (m.faces[bottom][3] == -1 && m.faces[bottom][0] == 0) ++bottom;
        while (m.faces[m.faces.size() - 1 - top][3] == -1 && m.faces[m.faces.size() - 1 - top][2] == last) ++top;
        EXPECT_GE(bottom, 3u) << shapeName(shape);
        EXPECT_EQ(bottom, top) << shapeName(shape);
        const std::size_t between = triangles(m) - bottom - top;
        EXPECT_GT(between, 0u) << shapeName(shape);
        EXPECT_EQ(between % 2, 0u) << shapeName(shape);
        EXPECT_GE(between / 2, 1200u / 40) << shapeName(shape);
        // Rings of `bottom` points between the poles.
        EXPECT_EQ((m.points.size() - 2) % bottom, 0u) << shapeName(shape);
    }
}

TEST(SceneGenerator, SolidPartsNeedAHundredFaces) {
    for (PartShape shape : kSolidShapes) {
        EXPECT_THROW(SceneGenerator::generate(partOf(shape, kMinSolidFaces - 1)), std::invalid_argument);
        EXPECT_THROW(SceneGenerator({partOf(shape, 99)}), std::invalid_argument);
        EXPECT_NO_THROW(SceneGenerator({partOf(shape, 100)}));
    }
}

TEST(SceneGenerator, SolidPartsAreDeterministicAndDependOnTheSeed) {
    for (PartShape shape : kSolidShapes) {
        EXPECT_EQ(partBytes(partOf(shape, 800, 3)), partBytes(partOf(shape, 800, 3)));
        const Bytes a = partBytes(partOf(shape, 800, 3)), b = partBytes(partOf(shape, 800, 4));
        EXPECT_NE(a, b);
        EXPECT_EQ(a.size(), b.size());
    }
}

TEST(SceneGenerator, SolidBaseStandsOnAFlatBottomAndTheFigureStacksUp) {
    const MeshData head = SceneGenerator::generate(partOf(PartShape::SolidHead, 1500));
    const MeshData torso = SceneGenerator::generate(partOf(PartShape::SolidTorso, 1200));
    const MeshData base = SceneGenerator::generate(partOf(PartShape::SolidBase, 1000));
    EXPECT_EQ(lowest(base, 1), 0.0f);
    const auto onPlate = std::count_if(base.points.begin(), base.points.end(), [](const Point3& p) { return p[1] == 0.0f; });
    EXPECT_GT(onPlate, 100);
    EXPECT_GT(lowest(torso, 1), 0.0f);
    EXPECT_LT(lowest(torso, 1), highest(base, 1));
    EXPECT_GT(lowest(head, 1), lowest(torso, 1));
    EXPECT_LT(lowest(head, 1), highest(torso, 1));
    EXPECT_GT(highest(head, 1), highest(torso, 1));
}

TEST(SceneGenerator, SolidPartsOfTheNextSlotStandBeside) {
    PartParams p = partOf(PartShape::SolidBase, 600);
    const MeshData first = SceneGenerator::generate(p);
    p.slot = 1;
    const MeshData second = SceneGenerator::generate(p);
    EXPECT_GT(lowest(second, 0), highest(first, 0));
    EXPECT_EQ(lowest(second, 1), 0.0f);
}

TEST(SceneGenerator, SolidPartsHaveUVsInTheUnitSquareAndColours) {
    for (PartShape shape : kSolidShapes) {
        const MeshData m = SceneGenerator::generate(partOf(shape, 700));
        ASSERT_EQ(m.uvs.size(), m.faces.size());
        ASSERT_EQ(m.mrgb.size(), m.points.size());
        for (std::size_t i = 0; i < m.faces.size(); ++i) {
            for (float t : m.uvs[i]) {
                ASSERT_GE(t, 0.0f);
                ASSERT_LE(t, 1.0f);
            }
            if (m.faces[i][3] == -1) {
                EXPECT_EQ(m.uvs[i][6], 0.0f);
                EXPECT_EQ(m.uvs[i][7], 0.0f);
            }
        }
        for (std::uint32_t w : m.mrgb) ASSERT_EQ(w >> 24, 0u);
    }
}

TEST(SceneGenerator, ShapeNames) {
    EXPECT_STREQ(shapeName(PartShape::Head), "head");
    EXPECT_STREQ(shapeName(PartShape::SolidHead), "solid head");
    EXPECT_STREQ(shapeName(PartShape::SolidTorso), "solid torso");
    EXPECT_STREQ(shapeName(PartShape::SolidBase), "solid base");
}
