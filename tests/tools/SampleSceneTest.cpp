// The bundled sample scene (samples/): a figure of three closed parts that a
// slicer accepts as it is.

#include "tools/vekgen/SceneGenerator.h"
#include "tools/vekgen/VekInspector.h"
#include "tools/vekgen/VekMeshReader.h"

#include "TestFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

using namespace vekgen;

namespace {

const std::string kSampleDir = std::string(OMBREL_SOURCE_DIR) + "/samples";
const char* const kSampleFiles[] = {"head.vek", "torso.vek", "base.vek"};

MeshData sampleMesh(const std::string& name) { return readVekMesh(kSampleDir + "/" + name); }

// The triangles of a face as an export writes them: (a, b, c), and for a
// quad also (a, c, d).
std::vector<std::array<std::int32_t, 3>> exportedTriangles(const MeshData& m) {
    std::vector<std::array<std::int32_t, 3>> triangles;
    for (const Face4& f : m.faces) {
        triangles.push_back({f[0], f[1], f[2]});
        if (f[3] != kNoIndex) triangles.push_back({f[0], f[2], f[3]});
    }
    return triangles;
}

// What a slicer sees of one file: edges matched by the exact coordinates of
// their ends, as in an STL file.
struct ShellReport {
    std::size_t triangles = 0;
    std::size_t openEdges = 0;        // a directed edge whose reverse no triangle has
    std::size_t repeatedEdges = 0;    // a directed edge that two triangles have: non-manifold or flipped
    std::size_t zeroAreaTriangles = 0;
    double smallestArea = 1e300;
    double volume = 0;  // signed: positive when the triangles face outward
};

using Key = std::array<float, 3>;

std::array<double, 3> sub(const Point3& a, const Point3& b) {
    return {double(a[0]) - b[0], double(a[1]) - b[1], double(a[2]) - b[2]};
}

std::array<double, 3> cross(const std::array<double, 3>& u, const std::array<double, 3>& v) {
    return {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
}

ShellReport examineShell(const MeshData& m) {
    ShellReport r;
    std::map<std::pair<Key, Key>, int> edges;
    for (const auto& t : exportedTriangles(m)) {
        ++r.triangles;
        for (int k = 0; k < 3; ++k) ++edges[{m.points[t[k]], m.points[t[(k + 1) % 3]]}];
        const Point3 &a = m.points[t[0]], &b = m.points[t[1]], &c = m.points[t[2]];
        const auto n = cross(sub(b, a), sub(c, a));
        const double area = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]) / 2;
        if (area == 0) ++r.zeroAreaTriangles;
        r.smallestArea = std::min(r.smallestArea, area);
        const auto bc = cross({double(b[0]), double(b[1]), double(b[2])}, {double(c[0]), double(c[1]), double(c[2])});
        r.volume += (a[0] * bc[0] + a[1] * bc[1] + a[2] * bc[2]) / 6;
    }
    for (const auto& [edge, count] : edges) {
        if (count > 1) ++r.repeatedEdges;
        if (edges.find({edge.second, edge.first}) == edges.end()) ++r.openEdges;
    }
    return r;
}

struct Box {
    std::array<float, 3> low{1e30f, 1e30f, 1e30f}, high{-1e30f, -1e30f, -1e30f};
};

Box boxOf(const MeshData& m) {
    Box b;
    for (const Point3& p : m.points) {
        for (int axis = 0; axis < 3; ++axis) {
            b.low[axis] = std::min(b.low[axis], p[axis]);
            b.high[axis] = std::max(b.high[axis], p[axis]);
        }
    }
    return b;
}

bool overlapOrTouch(const Box& a, const Box& b, int axis) {
    return a.low[axis] <= b.high[axis] && b.low[axis] <= a.high[axis];
}

std::size_t triangleFaces(const MeshData& m) {
    return static_cast<std::size_t>(
        std::count_if(m.faces.begin(), m.faces.end(), [](const Face4& f) { return f[3] == kNoIndex; }));
}

}  // namespace

TEST(SampleScene, RegeneratedSampleEqualsTheBundledFiles) {
    TempDir dir;
    const auto stats = SceneGenerator::sample().writeAll(dir.path());
    ASSERT_EQ(stats.size(), 3u);
    for (const char* name : kSampleFiles) {
        ASSERT_TRUE(pathExists(kSampleDir + "/" + name)) << name;
        EXPECT_EQ(readFileBytes(dir.file(name)), readFileBytes(kSampleDir + "/" + name)) << name;
    }
}

TEST(SampleScene, BundledFilesAreValidWithPointsFirst) {
    std::uint64_t total = 0;
    for (const char* name : kSampleFiles) {
        const VekInspection r = VekInspector::inspectFile(kSampleDir + "/" + name);
        ASSERT_EQ(r.status, VekStatus::Ok) << name << ": " << r.message;
        EXPECT_TRUE(r.warnings.empty()) << name;
        ASSERT_FALSE(r.blocks.empty());
        EXPECT_EQ(r.blocks.front().name, "Points") << name;
        EXPECT_EQ(r.blocks.back().name, "end") << name;
        total += r.fileSize;
    }
    EXPECT_LT(total, 400u * 1024u);
}

TEST(SampleScene, TorsoCarriesAMaskAndAnUnknownBlock) {
    const VekInspection r = VekInspector::inspectFile(kSampleDir + "/torso.vek");
    std::vector<std::string> names;
    for (const VekBlockInfo& b : r.blocks) names.push_back(b.name);
    EXPECT_EQ(names, (std::vector<std::string>{"Points", "Mask", "unknown", "Face4", "UV4", "MRGB", "end"}));
    EXPECT_EQ(r.blocks[2].tag, 40001u);
    EXPECT_EQ(r.blocks[2].count, 4u);
    EXPECT_EQ(r.blocks[1].count, r.blocks[0].count);
}

TEST(SampleScene, HeadAndBaseCarryPointsFacesUVsAndColours) {
    for (const char* name : {"head.vek", "base.vek"}) {
        const VekInspection r = VekInspector::inspectFile(kSampleDir + "/" + name);
        std::vector<std::string> names;
        for (const VekBlockInfo& b : r.blocks) names.push_back(b.name);
        EXPECT_EQ(names, (std::vector<std::string>{"Points", "Face4", "UV4", "MRGB", "end"})) << name;
    }
}

TEST(SampleScene, FaceCountsOfTheBundledFiles) {
    const std::uint32_t faces[] = {1500, 1200, 1000};
    for (int i = 0; i < 3; ++i) {
        const VekInspection r = VekInspector::inspectFile(kSampleDir + "/" + kSampleFiles[i]);
        bool found = false;
        for (const VekBlockInfo& b : r.blocks) {
            if (b.tag == kTagFace4) {
                EXPECT_EQ(b.count, faces[i]) << kSampleFiles[i];
                found = true;
            }
        }
        EXPECT_TRUE(found) << kSampleFiles[i];
    }
}

// The figures the export reports and the documentation quotes.
TEST(SampleScene, PointsFacesAndTrianglesOfEachFile) {
    struct Expected {
        const char* name;
        std::size_t points, faces, triangleFaces, bytes;
    };
    const Expected expected[] = {{"head.vek", 1379, 1500, 246, 94176},
                                 {"torso.vek", 1133, 1200, 138, 77021},
                                 {"base.vek", 922, 1000, 160, 62864}};
    std::size_t exported = 0;
    for (const Expected& e : expected) {
        const MeshData m = sampleMesh(e.name);
        EXPECT_EQ(m.points.size(), e.points) << e.name;
        EXPECT_EQ(m.faces.size(), e.faces) << e.name;
        EXPECT_EQ(triangleFaces(m), e.triangleFaces) << e.name;
        EXPECT_EQ(readFileBytes(kSampleDir + "/" + e.name).size(), e.bytes) << e.name;
        exported += exportedTriangles(m).size();
    }
    EXPECT_EQ(exported, 6856u);  // 2 x faces - triangle faces
}

TEST(SampleScene, EveryFaceHasUVsAndEveryPointAColour) {
    for (const char* name : kSampleFiles) {
        const MeshData m = sampleMesh(name);
        EXPECT_EQ(m.uvs.size(), m.faces.size()) << name;
        EXPECT_EQ(m.mrgb.size(), m.points.size()) << name;
        for (const UV4& uv : m.uvs)
            for (float t : uv) ASSERT_TRUE(t >= 0.0f && t <= 1.0f) << name;
        EXPECT_GT(std::set<std::uint32_t>(m.mrgb.begin(), m.mrgb.end()).size(), 10u) << name;
    }
    EXPECT_EQ(sampleMesh("torso.vek").mask.size(), sampleMesh("torso.vek").points.size());
}

TEST(SampleScene, TrianglesSitAmongTheQuads) {
    for (const char* name : kSampleFiles) {
        const MeshData m = sampleMesh(name);
        const std::size_t triangles = triangleFaces(m);
        EXPECT_GT(triangles, m.faces.size() / 20) << name;
        EXPECT_LT(triangles, m.faces.size() / 4) << name;
        // Not only the fans at the ends: some triangles lie between quads.
        const auto firstQuad = std::find_if(m.faces.begin(), m.faces.end(), [](const Face4& f) { return f[3] != -1; });
        const auto lastQuad = std::find_if(m.faces.rbegin(), m.faces.rend(), [](const Face4& f) { return f[3] != -1; });
        ASSERT_NE(firstQuad, m.faces.end()) << name;
        EXPECT_TRUE(std::any_of(firstQuad, lastQuad.base(), [](const Face4& f) { return f[3] == -1; })) << name;
    }
}

TEST(SampleScene, EveryFileIsOneClosedOutwardShell) {
    for (const char* name : kSampleFiles) {
        const MeshData m = sampleMesh(name);
        // No two points in the same place, so matching corners by position
        // (as an STL reader does) is matching them by index.
        EXPECT_EQ(std::set<Key>(m.points.begin(), m.points.end()).size(), m.points.size()) << name;
        const ShellReport r = examineShell(m);
        EXPECT_EQ(r.triangles, 2 * m.faces.size() - triangleFaces(m)) << name;
        EXPECT_EQ(r.openEdges, 0u) << name;
        EXPECT_EQ(r.repeatedEdges, 0u) << name;
        EXPECT_EQ(r.zeroAreaTriangles, 0u) << name;
        EXPECT_GT(r.smallestArea, 1e-4) << name;
        EXPECT_GT(r.volume, 0.1) << name;
    }
}

TEST(SampleScene, ThePartsShareNoPoint) {
    std::set<Key> seen;
    std::size_t total = 0;
    for (const char* name : kSampleFiles) {
        const MeshData m = sampleMesh(name);
        seen.insert(m.points.begin(), m.points.end());
        total += m.points.size();
    }
    EXPECT_EQ(seen.size(), total);
}

// Y is up. The base stands on the build plate with its flat bottom, the
// torso's lower end is sunk into the base and the neck into the head.
TEST(SampleScene, TheBaseRestsOnThePlateAndThePartsStandOnEachOther) {
    const MeshData head = sampleMesh("head.vek"), torso = sampleMesh("torso.vek"), base = sampleMesh("base.vek");
    const Box h = boxOf(head), t = boxOf(torso), b = boxOf(base);
    EXPECT_EQ(b.low[1], 0.0f);
    EXPECT_LT(b.low[1], t.low[1]);
    EXPECT_LT(b.low[1], h.low[1]);
    const auto onPlate = std::count_if(base.points.begin(), base.points.end(), [](const Point3& p) { return p[1] == 0.0f; });
    EXPECT_GT(onPlate, 300);  // the bottom is flat
    for (int axis = 0; axis < 3; ++axis) {
        EXPECT_TRUE(overlapOrTouch(t, b, axis)) << axis;
        EXPECT_TRUE(overlapOrTouch(h, t, axis)) << axis;
    }
    EXPECT_LT(t.low[1], b.high[1]);  // the torso reaches into the base
    EXPECT_LT(h.low[1], t.high[1]);  // the neck reaches into the head
    EXPECT_GT(h.high[1], t.high[1]);
    // The torso stands within the base's footprint.
    EXPECT_GT(t.low[0], b.low[0]);
    EXPECT_LT(t.high[0], b.high[0]);
    EXPECT_GT(t.low[2], b.low[2]);
    EXPECT_LT(t.high[2], b.high[2]);
}
