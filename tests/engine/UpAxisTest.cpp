// With Z up the scene is turned +90 degrees about X, (x, y, z) -> (x, -z, y),
// and placed again: the height is measured along Z and the minimum corner is
// the origin. VRML stays Y-up whatever is asked.

#include "EngineTestSupport.h"

#include "TestFiles.h"
#include "VekTestFiles.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>

namespace {

using vekgen::Face4;
using vekgen::Point3;
using Vec = std::array<float, 3>;

// A box from (1, 2, 3) to (2, 4, 6): extents 1, 2 and 3 tell the axes apart.
const Point3 kBoxPoints[] = {{1, 2, 3}, {2, 2, 3}, {2, 4, 3}, {1, 4, 3}, {1, 2, 6}, {2, 2, 6}, {2, 4, 6}, {1, 4, 6}};
const Face4 kBoxFaces[] = {{0, 3, 2, 1}, {4, 5, 6, 7}, {0, 1, 5, 4}, {2, 3, 7, 6}, {1, 2, 6, 5}, {0, 4, 7, 3}};

// The corners of the triangles an STL export writes for kBoxFaces, in order:
// each quad (a, b, c, d) as (a, b, c) and (a, c, d).
std::vector<Point3> boxTriangleCorners() {
    std::vector<Point3> corners;
    for (const Face4& f : kBoxFaces)
        for (int index : {f[0], f[1], f[2], f[0], f[2], f[3]}) corners.push_back(kBoxPoints[index]);
    return corners;
}

std::vector<Vec> writtenCorners(const std::string& stl) {
    std::vector<Vec> corners;
    for (const StlTriangle& t : readBinaryStl(stl))
        for (const float* v : {t.vertex[0], t.vertex[1], t.vertex[2]}) corners.push_back({v[0], v[1], v[2]});
    return corners;
}

std::vector<double> corner(const double* xyz) { return {xyz[0], xyz[1], xyz[2]}; }

class UpAxisTest : public ::testing::Test {
protected:
    std::string box() {
        return writeVekFile(in.file("box.vek"), [](vekgen::VekWriter& w) {
            w.points(kBoxPoints);
            w.face4(kBoxFaces);
            w.endBlock();
        });
    }

    ExportResult exportBox(const std::string& output, UpAxis up, Format format = Format::BinaryStl) {
        ExportOptions options = exportOptions({box()}, output, format, 10.0);
        options.up = up;
        ExportResult result = ombrel::exportScene(options);
        EXPECT_TRUE(result.ok()) << result.status.describe();
        return result;
    }

    TempDir in;
    TempDir out;
};

}  // namespace

TEST_F(UpAxisTest, ZUpMeasuresTheHeightAlongZFromTheOrigin) {
    // Turned, the box spans x 1..2, y -6..-3, z 2..4: height 10 over 2.
    const ExportResult result = exportBox(out.file("z.stl"), UpAxis::Z);
    EXPECT_EQ(result.report.scale, 5.0);
    EXPECT_EQ(corner(result.report.placedBox.min), (std::vector<double>{0, 0, 0}));
    EXPECT_EQ(corner(result.report.placedBox.max), (std::vector<double>{5, 15, 10}));
    EXPECT_EQ(corner(result.report.size), (std::vector<double>{5, 15, 10}));
    // The scene's box is reported as read.
    EXPECT_EQ(corner(result.report.sceneBox.min), (std::vector<double>{1, 2, 3}));
    EXPECT_EQ(corner(result.report.sceneBox.max), (std::vector<double>{2, 4, 6}));
}

TEST_F(UpAxisTest, ZUpWritesEveryPointTurnedAndPlaced) {
    const std::string output = out.file("z.stl");
    exportBox(output, UpAxis::Z);
    const std::vector<Point3> source = boxTriangleCorners();
    const std::vector<Vec> written = writtenCorners(output);
    ASSERT_EQ(written.size(), source.size());
    for (std::size_t i = 0; i < source.size(); ++i) {
        const auto [x, y, z] = source[i];
        // (x, y, z) -> (x, -z, y), then 5 x (p - (1, -6, 2)).
        EXPECT_EQ(written[i], (Vec{5 * (x - 1), 5 * (6 - z), 5 * (y - 2)})) << "corner " << i;
    }
}

TEST_F(UpAxisTest, YUpWritesEveryPointPlaced) {
    const std::string output = out.file("y.stl");
    const ExportResult result = exportBox(output, UpAxis::Y);
    EXPECT_EQ(corner(result.report.placedBox.max), (std::vector<double>{5, 10, 15}));
    const std::vector<Point3> source = boxTriangleCorners();
    const std::vector<Vec> written = writtenCorners(output);
    ASSERT_EQ(written.size(), source.size());
    for (std::size_t i = 0; i < source.size(); ++i) {
        const auto [x, y, z] = source[i];
        EXPECT_EQ(written[i], (Vec{5 * (x - 1), 5 * (y - 2), 5 * (z - 3)})) << "corner " << i;
    }
}

TEST_F(UpAxisTest, ZUpNormalsAreTheYUpNormalsTurned) {
    exportBox(out.file("y.stl"), UpAxis::Y);
    exportBox(out.file("z.stl"), UpAxis::Z);
    const std::vector<StlTriangle> y = readBinaryStl(out.file("y.stl"));
    const std::vector<StlTriangle> z = readBinaryStl(out.file("z.stl"));
    ASSERT_EQ(y.size(), 12u);
    ASSERT_EQ(z.size(), 12u);
    for (std::size_t t = 0; t < y.size(); ++t) {
        const float* n = y[t].normal;
        EXPECT_EQ((Vec{z[t].normal[0], z[t].normal[1], z[t].normal[2]}), (Vec{n[0], -n[2], n[1]})) << "triangle " << t;
    }
}

TEST_F(UpAxisTest, AsciiZUpWritesTheTurnedPoints) {
    const std::string output = out.file("z.stl");
    exportBox(output, UpAxis::Z, Format::AsciiStl);
    // The first triangle, (0, 3, 2): (1, 2, 3) -> (0, 15, 0), (1, 4, 3) ->
    // (0, 15, 10), (2, 4, 3) -> (5, 15, 10).
    const std::string text = readFileText(output);
    EXPECT_NE(text.find("outer loop\nvertex 0 15 0 \nvertex 0 15 10 \nvertex 5 15 10 \nendloop\n"), std::string::npos)
        << text.substr(0, 200);
}

TEST_F(UpAxisTest, ZUpOnAGeneratedSceneIsTheYUpExportTurned) {
    // Placed by the same scale, the Z-up export is the Y-up one turned, then
    // moved up by the scene's Z extent: (x, y, z) -> (x, dz - z, y).
    const GeneratedScene scene = writeGeneratedScene(in.path(), vekgen::SceneOptions{6'000, 2, 3});
    ExportOptions options = exportOptions(scene.paths, out.file("y.stl"), Format::BinaryStl, std::nullopt);
    const ExportResult yUp = ombrel::exportScene(options);
    options.output = out.file("z.stl");
    options.up = UpAxis::Z;
    const ExportResult zUp = ombrel::exportScene(options);
    ASSERT_TRUE(yUp.ok() && zUp.ok());
    EXPECT_EQ(yUp.report.scale, 1.0);
    EXPECT_EQ(zUp.report.scale, 1.0);
    const double dz = yUp.report.size[2];
    EXPECT_NEAR(zUp.report.size[1], dz, 1e-5 * dz);
    const std::vector<Vec> y = writtenCorners(out.file("y.stl"));
    const std::vector<Vec> z = writtenCorners(out.file("z.stl"));
    ASSERT_EQ(y.size(), z.size());
    ASSERT_EQ(y.size(), 3 * yUp.report.trianglesWritten);
    const double tolerance = 1e-5 * std::max({yUp.report.size[0], yUp.report.size[1], dz});
    for (std::size_t i = 0; i < y.size(); ++i) {
        ASSERT_NEAR(z[i][0], y[i][0], tolerance) << "corner " << i;
        ASSERT_NEAR(z[i][1], dz - y[i][2], tolerance) << "corner " << i;
        ASSERT_NEAR(z[i][2], y[i][1], tolerance) << "corner " << i;
    }
}

TEST_F(UpAxisTest, VrmlStaysYUp) {
    const ExportResult yUp = exportBox(out.file("y.wrl"), UpAxis::Y, Format::Vrml);
    const ExportResult zUp = exportBox(out.file("z.wrl"), UpAxis::Z, Format::Vrml);
    EXPECT_EQ(readFileBytes(out.file("z.wrl")), readFileBytes(out.file("y.wrl")));
    EXPECT_EQ(corner(zUp.report.placedBox.max), (std::vector<double>{5, 10, 15}));
    EXPECT_EQ(corner(zUp.report.size), corner(yUp.report.size));
    // The first point, (1, 2, 3), at the origin; the last, (1, 4, 6), on top.
    const std::string text = readFileText(out.file("z.wrl"));
    EXPECT_NE(text.find("point [ 0.000000 0.000000 0.000000,\n"), std::string::npos);
    EXPECT_NE(text.find("         0.000000 10.000000 15.000000]\n"), std::string::npos);
}
