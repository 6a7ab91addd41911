// The PLY conversion of Vek files (vekgen ply), through the writer and the
// command line.

#include "tools/vekgen/PlyWriter.h"

#include "RunCommand.h"
#include "TestFiles.h"
#include "VekTestFiles.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

using namespace vekgen;

namespace {

// One quad (0 1 2 3) and one triangle (1 2 4) over five points.
MeshData quadAndTriangle() {
    MeshData m;
    m.points = {{0, 0, 0}, {1, 0, 0}, {1, 2, 0}, {0, 2, 0}, {2, 1, 1}};
    m.faces = {{0, 1, 2, 3}, {1, 2, 4, kNoIndex}};
    m.uvs = {{0.0f, 0.1f, 0.2f, 0.3f, 0.4f, 0.5f, 0.6f, 0.7f}, {0.8f, 0.9f, 1.0f, 0.25f, 0.5f, 0.75f, 0.f, 0.f}};
    m.mrgb = {0x00112233u, 0x00445566u, 0x00778899u, 0x00AABBCCu, 0x00DDEEFFu};
    return m;
}

// The bytes after "end_header\n" and the header text before them.
struct Ply {
    std::string header;
    std::vector<unsigned char> body;
};

Ply readPly(const std::string& path) {
    const std::vector<unsigned char> bytes = readFileBytes(path);
    const std::string text(bytes.begin(), bytes.end());
    const std::size_t end = text.find("end_header\n");
    EXPECT_NE(end, std::string::npos);
    const std::size_t bodyStart = end + std::strlen("end_header\n");
    return {text.substr(0, bodyStart), std::vector<unsigned char>(bytes.begin() + bodyStart, bytes.end())};
}

class Body {
public:
    explicit Body(const std::vector<unsigned char>& bytes) : m_bytes(bytes) {}
    float f32() {
        float v;
        const std::uint32_t bits = loadU32(take(4));
        std::memcpy(&v, &bits, 4);
        return v;
    }
    std::uint32_t u32() { return loadU32(take(4)); }
    unsigned u8() { return *take(1); }
    bool atEnd() const { return m_at == m_bytes.size(); }

private:
    const unsigned char* take(std::size_t n) {
        EXPECT_LE(m_at + n, m_bytes.size());
        const unsigned char* p = m_bytes.data() + m_at;
        m_at += n;
        return p;
    }
    const std::vector<unsigned char>& m_bytes;
    std::size_t m_at = 0;
};

void expectFace(Body& body, std::vector<std::uint32_t> indices) {
    EXPECT_EQ(body.u8(), indices.size());
    for (std::uint32_t i : indices) EXPECT_EQ(body.u32(), i);
}

}  // namespace

TEST(PlyWriter, TrianglesSplitEveryQuadAlongItsFirstDiagonal) {
    TempDir dir;
    PlyOptions options;
    options.triangles = true;
    const PlyStats stats = writePly(dir.file("t.ply"), {quadAndTriangle()}, options);
    EXPECT_EQ(stats.vertices, 5u);
    EXPECT_EQ(stats.faces, 3u);

    const Ply ply = readPly(dir.file("t.ply"));
    EXPECT_EQ(ply.header,
              "ply\nformat binary_little_endian 1.0\ncomment vekgen: 1 Vek file(s)\nelement vertex 5\n"
              "property float x\nproperty float y\nproperty float z\nelement face 3\n"
              "property list uchar int vertex_indices\nend_header\n");
    EXPECT_EQ(stats.bytes, ply.header.size() + ply.body.size());
    Body body(ply.body);
    for (const Point3& p : quadAndTriangle().points)
        for (float c : p) EXPECT_EQ(body.f32(), c);
    expectFace(body, {0, 1, 2});
    expectFace(body, {0, 2, 3});
    expectFace(body, {1, 2, 4});
    EXPECT_TRUE(body.atEnd());
}

TEST(PlyWriter, PolygonsKeepQuadsAndCarryVertexUVsAndColours) {
    TempDir dir;
    writePly(dir.file("p.ply"), {quadAndTriangle()}, PlyOptions{});
    const Ply ply = readPly(dir.file("p.ply"));
    EXPECT_NE(ply.header.find("element vertex 5\nproperty float x\nproperty float y\nproperty float z\n"
                              "property float u\nproperty float v\n"
                              "property uchar red\nproperty uchar green\nproperty uchar blue\nelement face 2\n"),
              std::string::npos)
        << ply.header;
    Body body(ply.body);
    // A vertex takes the UV of the last corner naming it: 1 and 2 from the triangle.
    const float uv[5][2] = {{0.0f, 0.1f}, {0.8f, 0.9f}, {1.0f, 0.25f}, {0.6f, 0.7f}, {0.5f, 0.75f}};
    const MeshData mesh = quadAndTriangle();
    for (std::size_t i = 0; i < 5; ++i) {
        for (float c : mesh.points[i]) EXPECT_EQ(body.f32(), c);
        EXPECT_EQ(body.f32(), uv[i][0]);
        EXPECT_EQ(body.f32(), uv[i][1]);
        EXPECT_EQ(body.u8(), (mesh.mrgb[i] >> 16) & 0xFFu);
        EXPECT_EQ(body.u8(), (mesh.mrgb[i] >> 8) & 0xFFu);
        EXPECT_EQ(body.u8(), mesh.mrgb[i] & 0xFFu);
    }
    expectFace(body, {0, 1, 2, 3});
    expectFace(body, {1, 2, 4});
    EXPECT_TRUE(body.atEnd());
}

TEST(PlyWriter, MeshesFollowOneAnotherAndHeightPlacesTheScene) {
    TempDir dir;
    MeshData second;
    second.points = {{-1, 1, 5}, {3, 6, 5}, {3, 1, 9}};
    second.faces = {{0, 1, 2, kNoIndex}};  // no UVs or colours: the file carries neither
    PlyOptions options;
    options.height = 10.0;
    writePly(dir.file("two.ply"), {quadAndTriangle(), second}, options);
    const Ply ply = readPly(dir.file("two.ply"));
    EXPECT_NE(ply.header.find("element vertex 8\nproperty float x\nproperty float y\nproperty float z\n"
                              "element face 3\n"),
              std::string::npos)
        << ply.header;
    // The scene spans (-1, 0, 0) to (3, 6, 9): moved by (1, 0, 0), scaled by 10 / 6.
    Body body(ply.body);
    std::vector<Point3> all = quadAndTriangle().points;
    all.insert(all.end(), second.points.begin(), second.points.end());
    for (const Point3& p : all) {
        EXPECT_FLOAT_EQ(body.f32(), (p[0] + 1) * 10 / 6);
        EXPECT_FLOAT_EQ(body.f32(), p[1] * 10 / 6);
        EXPECT_FLOAT_EQ(body.f32(), p[2] * 10 / 6);
    }
    expectFace(body, {0, 1, 2, 3});
    expectFace(body, {1, 2, 4});
    expectFace(body, {5, 6, 7});
    EXPECT_TRUE(body.atEnd());
}

TEST(PlyWriter, RejectsAFaceThatNamesAMissingPoint) {
    TempDir dir;
    MeshData bad = quadAndTriangle();
    bad.faces[1][2] = 5;
    EXPECT_THROW(writePly(dir.file("bad.ply"), {bad}, PlyOptions{}), std::runtime_error);
}

TEST(VekgenPly, ConvertsVekFilesFromTheCommandLine) {
    TempDir dir;
    const MeshData mesh = quadAndTriangle();
    writeVekFile(dir.file("a.vek"), [&](VekWriter& w) {
        w.points(mesh.points);
        w.face4(mesh.faces);
        w.endBlock();
    });
    const CommandResult r = runCommand(
        OMBREL_VEKGEN_PATH, {"ply", "--triangles", "--height", "4", "out.ply", "a.vek", "a.vek"}, dir.path());
    EXPECT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(r.out, "wrote out.ply: 10 vertices, 6 triangles, " +
                         std::to_string(readFileBytes(dir.file("out.ply")).size()) + " bytes\n");
    EXPECT_NE(readPly(dir.file("out.ply")).header.find("element vertex 10\n"), std::string::npos);
}

TEST(VekgenPly, UsageErrorsExitWith2AndUnreadableInputWith1) {
    TempDir dir;
    for (const std::vector<std::string>& args : {std::vector<std::string>{"ply"},
                                                 {"ply", "out.ply"},
                                                 {"ply", "--height", "0", "o.ply", "a.vek"},
                                                 {"ply", "--height", "x", "o.ply", "a.vek"},
                                                 {"ply", "--bogus", "o.ply", "a.vek"},
                                                 {"ply", "--height"}}) {
        const CommandResult r = runCommand(OMBREL_VEKGEN_PATH, args, dir.path());
        EXPECT_EQ(r.exitStatus, 2) << args.size();
        EXPECT_NE(r.err.find("try vekgen --help"), std::string::npos) << r.err;
    }
    const CommandResult r = runCommand(OMBREL_VEKGEN_PATH, {"ply", "o.ply", "missing.vek"}, dir.path());
    EXPECT_EQ(r.exitStatus, 1);
    EXPECT_NE(r.err.find("missing.vek"), std::string::npos) << r.err;
}
