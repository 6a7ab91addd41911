// The report of an export gives the figures of what was written, file by
// file and for the scene, and the warnings name what the files were missing,
// on scenes made by hand whose counts are known.

#include "EngineTestSupport.h"

#include "TestFiles.h"
#include "VekTestFiles.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <limits>

namespace {

using vekgen::Face4;
using vekgen::Point3;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

// Five points in a box from (0, 0, 0) to (2, 4, 3), two quads and a
// triangle: five triangles in STL.
const Point3 kFivePoints[] = {{0, 0, 0}, {2, 0, 0}, {2, 4, 0}, {0, 4, 0}, {1, 2, 3}};
const Face4 kTwoQuadsAndATriangle[] = {{0, 1, 2, 3}, {0, 1, 4, -1}, {1, 2, 4, 3}};

class ExportReportTest : public ::testing::Test {
protected:
    // The hand-made file of five points and three faces.
    std::string mixedFaces(const std::string& name = "mixed.vek") {
        return writeVekFile(in.file(name), [](vekgen::VekWriter& w) {
            w.points(kFivePoints);
            w.face4(kTwoQuadsAndATriangle);
            w.endBlock();
        });
    }

    ExportResult exportOk(const ExportOptions& options) {
        ExportResult result = ombrel::exportScene(options);
        EXPECT_TRUE(result.ok()) << result.status.describe();
        return result;
    }

    TempDir in;
    TempDir out;
};

}  // namespace

TEST_F(ExportReportTest, TwoQuadsAndATriangleGiveFiveTriangles) {
    const std::string path = mixedFaces();
    const ExportResult result = exportOk(exportOptions({path}, out.file("scene.stl")));
    ASSERT_EQ(result.report.files.size(), 1u);
    const ombrel::FileReport& file = result.report.files[0];
    EXPECT_EQ(file.path, path);
    EXPECT_EQ(file.points, 5u);
    EXPECT_EQ(file.faces, 3u);
    EXPECT_EQ(file.trianglesWritten, 5u);
    EXPECT_EQ(file.facesSkipped, 0u);
    EXPECT_FALSE(file.hasColours);
    EXPECT_FALSE(file.hasUVs);
    EXPECT_EQ(result.report.trianglesWritten, 5u);
    EXPECT_EQ(result.report.shapesWritten, 0u);
    EXPECT_TRUE(result.warnings.empty());
}

TEST_F(ExportReportTest, BinaryBytesWrittenAreTheFileOnDisk) {
    const std::string output = out.file("scene.stl");
    const ExportResult result = exportOk(exportOptions({mixedFaces()}, output));
    EXPECT_EQ(result.report.bytesWritten, 84u + 5u * 50u);
    EXPECT_EQ(std::filesystem::file_size(output), 84u + 5u * 50u);
    EXPECT_TRUE(result.report.replacedAtomically);
}

TEST_F(ExportReportTest, AsciiBytesWrittenAreTheFileOnDisk) {
    const std::string output = out.file("scene.stl");
    const ExportResult result = exportOk(exportOptions({mixedFaces()}, output, Format::AsciiStl));
    EXPECT_EQ(result.report.bytesWritten, readFileBytes(output).size());
    EXPECT_EQ(countOccurrences(readFileText(output), "endfacet\n"), 5u);
    EXPECT_EQ(result.report.trianglesWritten, 5u);
}

TEST_F(ExportReportTest, VrmlCountsShapesAndBytes) {
    // Three files, the second with points but no faces: no Shape for it.
    const std::string pointsOnly = writeVekFile(in.file("points.vek"), [](vekgen::VekWriter& w) {
        w.points(kFivePoints);
        w.endBlock();
    });
    const std::string output = out.file("scene.wrl");
    const ExportResult result =
        exportOk(exportOptions({mixedFaces("a.vek"), pointsOnly, mixedFaces("b.vek")}, output, Format::Vrml));
    EXPECT_EQ(result.report.shapesWritten, 2u);
    EXPECT_EQ(countOccurrences(readFileText(output), "Shape {"), 2u);
    EXPECT_EQ(result.report.trianglesWritten, 0u);
    ASSERT_EQ(result.report.files.size(), 3u);
    EXPECT_EQ(result.report.files[1].path, pointsOnly);
    EXPECT_EQ(result.report.files[1].points, 5u);
    EXPECT_EQ(result.report.files[1].faces, 0u);
    EXPECT_EQ(result.report.files[0].trianglesWritten, 0u);  // STL only
    EXPECT_EQ(result.report.bytesWritten, readFileBytes(output).size());
}

TEST_F(ExportReportTest, FilesAreReportedInOrderAndSummed) {
    const std::string first = mixedFaces("first.vek");
    const std::string second = writeVekFile(in.file("second.vek"), [](vekgen::VekWriter& w) {
        const Point3 points[] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
        const Face4 faces[] = {{0, 1, 2, -1}};
        w.points(points);
        w.face4(faces);
        w.endBlock();
    });
    const ExportResult result = exportOk(exportOptions({first, second}, out.file("scene.stl")));
    ASSERT_EQ(result.report.files.size(), 2u);
    EXPECT_EQ(result.report.files[0].path, first);
    EXPECT_EQ(result.report.files[1].path, second);
    EXPECT_EQ(result.report.files[1].points, 3u);
    EXPECT_EQ(result.report.files[1].trianglesWritten, 1u);
    EXPECT_EQ(result.report.trianglesWritten, 6u);
    EXPECT_EQ(result.report.bytesWritten, 84u + 6u * 50u);
}

TEST_F(ExportReportTest, ARelativeInputIsNamedAsGiven) {
    const std::string relative = std::filesystem::relative(mixedFaces()).string();
    ASSERT_NE(relative.front(), '/');
    const ExportResult result = exportOk(exportOptions({relative}, out.file("scene.stl")));
    ASSERT_EQ(result.report.files.size(), 1u);
    EXPECT_EQ(result.report.files[0].path, relative);
    EXPECT_EQ(result.report.files[0].trianglesWritten, 5u);
}

TEST_F(ExportReportTest, AFaceNamingAMissingPointIsSkippedWithAWarning) {
    const std::string path = writeVekFile(in.file("bad.vek"), [](vekgen::VekWriter& w) {
        const Face4 faces[] = {{0, 1, 2, 3}, {0, 1, 7, -1}, {1, 2, 4, 3}};
        w.points(kFivePoints);
        w.face4(faces);
        w.endBlock();
    });
    const ExportResult result = exportOk(exportOptions({path}, out.file("scene.stl")));
    EXPECT_EQ(result.report.files[0].facesSkipped, 1u);
    EXPECT_EQ(result.report.files[0].trianglesWritten, 4u);
    EXPECT_EQ(result.report.trianglesWritten, 4u);
    ASSERT_EQ(result.warnings.size(), 1u);
    EXPECT_EQ(result.warnings[0].kind, WarningKind::kFacesSkipped);
    EXPECT_EQ(result.warnings[0].file, path);
    EXPECT_EQ(result.warnings[0].block, "Face4");
    EXPECT_EQ(result.warnings[0].count, 1u);
    EXPECT_EQ(result.warnings[0].describe(),
              path + ": Face4 block: 1 face names a point that does not exist; left out");
}

TEST_F(ExportReportTest, NegativeIndicesAreSkippedToo) {
    const std::string path = writeVekFile(in.file("bad.vek"), [](vekgen::VekWriter& w) {
        const Face4 faces[] = {{0, 1, 2, 3}, {-2, 1, 4, -1}, {1, 2, 4, -5}};
        w.points(kFivePoints);
        w.face4(faces);
        w.endBlock();
    });
    const ExportResult result = exportOk(exportOptions({path}, out.file("scene.stl")));
    EXPECT_EQ(result.report.files[0].facesSkipped, 2u);
    ASSERT_EQ(result.warnings.size(), 1u);
    EXPECT_EQ(result.warnings[0].count, 2u);
    EXPECT_EQ(result.warnings[0].describe(),
              path + ": Face4 block: 2 faces name a point that does not exist; left out");
}

TEST_F(ExportReportTest, VrmlWritesFacesNamingMissingPointsWithAWarning) {
    const std::string path = writeVekFile(in.file("bad.vek"), [](vekgen::VekWriter& w) {
        const Face4 faces[] = {{0, 1, 2, 3}, {0, 1, 7, -1}, {1, 2, 4, 3}};
        w.points(kFivePoints);
        w.face4(faces);
        w.endBlock();
    });
    const std::string output = out.file("scene.wrl");
    const ExportResult result = exportOk(exportOptions({path}, output, Format::Vrml));
    ASSERT_EQ(result.warnings.size(), 1u);
    EXPECT_EQ(result.warnings[0].kind, WarningKind::kFacesWithMissingPoints);
    EXPECT_EQ(result.warnings[0].count, 1u);
    EXPECT_EQ(result.warnings[0].describe(),
              path + ": Face4 block: 1 face names a point that does not exist; written as it is");
    EXPECT_EQ(result.report.files[0].facesSkipped, 0u);
    EXPECT_NE(readFileText(output).find("      0, 1, 7, -1,\n"), std::string::npos);
}

TEST_F(ExportReportTest, NonFiniteCoordinatesAreCounted) {
    // Two points no face uses hold a NaN (which no box takes in).
    const std::string path = writeVekFile(in.file("nonfinite.vek"), [](vekgen::VekWriter& w) {
        const Point3 points[] = {{0, 0, 0}, {2, 0, 0}, {2, 4, 0}, {0, 4, 0}, {kNaN, 1, 1}, {1, 1, kNaN}};
        const Face4 faces[] = {{0, 1, 2, 3}};
        w.points(points);
        w.face4(faces);
        w.endBlock();
    });
    const ExportResult result = exportOk(exportOptions({path}, out.file("scene.stl")));
    ASSERT_EQ(result.warnings.size(), 1u);
    EXPECT_EQ(result.warnings[0].kind, WarningKind::kNonFiniteCoordinates);
    EXPECT_EQ(result.warnings[0].file, path);
    EXPECT_EQ(result.warnings[0].block, "Points");
    EXPECT_EQ(result.warnings[0].count, 2u);
    EXPECT_EQ(result.warnings[0].describe(), path + ": Points block: 2 points have an infinite or NaN coordinate");
}

TEST_F(ExportReportTest, ColoursAndUVsAreReportedPerFile) {
    const std::string plain = mixedFaces("plain.vek");
    const std::string dressed = writeVekFile(in.file("dressed.vek"), [](vekgen::VekWriter& w) {
        const vekgen::UV4 uvs[] = {{0, 0, 1, 0, 1, 1, 0, 1}, {0, 0, 1, 0, 1, 1, 0, 0}, {0, 0, 1, 0, 1, 1, 0, 1}};
        const std::uint32_t colours[] = {0xFF0000, 0x00FF00, 0x0000FF, 0xFFFFFF, 0x808080};
        w.points(kFivePoints);
        w.face4(kTwoQuadsAndATriangle);
        w.uv4(uvs);
        w.mrgb(colours);
        w.endBlock();
    });
    const ExportResult result = exportOk(exportOptions({plain, dressed}, out.file("scene.wrl"), Format::Vrml));
    ASSERT_EQ(result.report.files.size(), 2u);
    EXPECT_FALSE(result.report.files[0].hasColours);
    EXPECT_FALSE(result.report.files[0].hasUVs);
    EXPECT_TRUE(result.report.files[1].hasColours);
    EXPECT_TRUE(result.report.files[1].hasUVs);
}

TEST_F(ExportReportTest, EmptyColourAndUVBlocksAreNoColoursOrUVs) {
    const std::string path = writeVekFile(in.file("empty-blocks.vek"), [](vekgen::VekWriter& w) {
        w.points(kFivePoints);
        w.face4(kTwoQuadsAndATriangle);
        w.uv4(std::span<const vekgen::UV4>{});
        w.mrgb(std::span<const std::uint32_t>{});
        w.endBlock();
    });
    const ExportResult result = exportOk(exportOptions({path}, out.file("scene.stl")));
    EXPECT_FALSE(result.report.files[0].hasColours);
    EXPECT_FALSE(result.report.files[0].hasUVs);
}

TEST_F(ExportReportTest, ACountBeyondTheFileIsClampedWithAWarning) {
    const std::string path = writeVekFile(in.file("clamped.vek"), [](vekgen::VekWriter& w) {
        w.points(kFivePoints);
        w.blockHeader({20001, 16 + 16 * 20'000'000u, 20'000'000u, 0});
        for (int index : {0, 1, 2, 3, 0, 1, 4, -1}) w.rawBytes(le32(std::uint32_t(index)));
    });
    const ExportResult result = exportOk(exportOptions({path}, out.file("scene.stl")));
    ASSERT_EQ(result.warnings.size(), 1u);
    EXPECT_EQ(result.warnings[0].kind, WarningKind::kCountClamped);
    EXPECT_EQ(result.warnings[0].file, path);
    EXPECT_EQ(result.warnings[0].block, "Face4");
    EXPECT_EQ(result.warnings[0].count, 20'000'000u - 2u);  // faces named but absent
    EXPECT_EQ(
        result.warnings[0].describe(),
        path + ": Face4 block: its count names 19999998 faces more than the file holds; only those present were read");
    EXPECT_EQ(result.report.files[0].faces, 2u);
    EXPECT_EQ(result.report.trianglesWritten, 3u);
}

TEST_F(ExportReportTest, ABlockSizeBelowTheHeaderEndsTheFileWithAWarning) {
    // The invalid block stands between the points and the faces: the faces
    // are never reached.
    const std::string path = writeVekFile(in.file("invalid.vek"), [](vekgen::VekWriter& w) {
        w.points(kFivePoints);
        w.blockHeader({35001, 8, 1, 0});
        w.face4(kTwoQuadsAndATriangle);
        w.endBlock();
    });
    const ExportResult result = exportOk(exportOptions({path}, out.file("scene.stl")));
    ASSERT_EQ(result.warnings.size(), 1u);
    EXPECT_EQ(result.warnings[0].kind, WarningKind::kBlockSizeInvalid);
    EXPECT_EQ(result.warnings[0].file, path);
    EXPECT_EQ(result.warnings[0].block, "");
    EXPECT_EQ(result.warnings[0].describe(), path + ": invalid block size; the rest of the file was not read");
    EXPECT_EQ(result.report.files[0].points, 5u);
    EXPECT_EQ(result.report.files[0].faces, 0u);
    EXPECT_EQ(result.report.trianglesWritten, 0u);
}

TEST_F(ExportReportTest, TheSceneIsPlacedAtTheOriginWithTheHeightAlongY) {
    const ExportResult result = exportOk(exportOptions({mixedFaces()}, out.file("scene.stl")));
    const ombrel::ExportReport& report = result.report;
    EXPECT_FALSE(report.sceneBox.empty);
    EXPECT_EQ((std::vector<double>{report.sceneBox.min, report.sceneBox.min + 3}), (std::vector<double>{0, 0, 0}));
    EXPECT_EQ((std::vector<double>{report.sceneBox.max, report.sceneBox.max + 3}), (std::vector<double>{2, 4, 3}));
    EXPECT_EQ(report.scale, 25.0);  // 100 / 4
    EXPECT_EQ((std::vector<double>{report.placedBox.min, report.placedBox.min + 3}), (std::vector<double>{0, 0, 0}));
    EXPECT_EQ((std::vector<double>{report.placedBox.max, report.placedBox.max + 3}),
              (std::vector<double>{50, 100, 75}));
    EXPECT_EQ((std::vector<double>{report.size, report.size + 3}), (std::vector<double>{50, 100, 75}));
}

TEST_F(ExportReportTest, WithoutAHeightTheSceneIsOnlyMoved) {
    const std::string path = writeVekFile(in.file("moved.vek"), [](vekgen::VekWriter& w) {
        const Point3 points[] = {{-3, 10, 0.5f}, {1, 10, 0.5f}, {1, 12, 0.5f}, {-3, 12, 2.5f}};
        const Face4 faces[] = {{0, 1, 2, 3}};
        w.points(points);
        w.face4(faces);
        w.endBlock();
    });
    const std::string output = out.file("scene.stl");
    const ExportResult result = exportOk(exportOptions({path}, output, Format::BinaryStl, std::nullopt));
    const ombrel::ExportReport& report = result.report;
    EXPECT_EQ(report.scale, 1.0);
    EXPECT_EQ((std::vector<double>{report.placedBox.min, report.placedBox.min + 3}), (std::vector<double>{0, 0, 0}));
    EXPECT_EQ((std::vector<double>{report.size, report.size + 3}), (std::vector<double>{4, 2, 2}));
    // The first corner, (-3, 10, 0.5), lands on the origin.
    const std::vector<StlTriangle> triangles = readBinaryStl(output);
    ASSERT_EQ(triangles.size(), 2u);
    EXPECT_EQ((std::vector<float>{triangles[0].vertex[0], triangles[0].vertex[0] + 3}), (std::vector<float>{0, 0, 0}));
    EXPECT_EQ((std::vector<float>{triangles[0].vertex[2], triangles[0].vertex[2] + 3}), (std::vector<float>{4, 2, 0}));
}

TEST_F(ExportReportTest, AScaleOfTheReportIsTheOneWritten) {
    // Height 10 on a Y extent of 4: every coordinate is scaled by 2.5.
    const std::string output = out.file("scene.stl");
    const ExportResult result = exportOk(exportOptions({mixedFaces()}, output, Format::BinaryStl, 10.0));
    EXPECT_EQ(result.report.scale, 2.5);
    const std::vector<StlTriangle> triangles = readBinaryStl(output);
    ASSERT_EQ(triangles.size(), 5u);
    // The triangle (0, 1, 4): its third corner is (1, 2, 3) scaled.
    EXPECT_EQ((std::vector<float>{triangles[2].vertex[2], triangles[2].vertex[2] + 3}),
              (std::vector<float>{2.5f, 5.0f, 7.5f}));
}

TEST_F(ExportReportTest, AFileWithoutPointsGivesAnEmptySceneBox) {
    const std::string path = writeVekFile(in.file("nothing.vek"), [](vekgen::VekWriter& w) { w.endBlock(); });
    const std::string output = out.file("scene.stl");
    const ExportResult result = exportOk(exportOptions({path}, output));
    EXPECT_TRUE(result.report.sceneBox.empty);
    EXPECT_TRUE(result.report.placedBox.empty);
    EXPECT_EQ((std::vector<double>{result.report.size, result.report.size + 3}), (std::vector<double>{0, 0, 0}));
    EXPECT_EQ(result.report.trianglesWritten, 0u);
    EXPECT_EQ(readFileBytes(output).size(), 84u);
}
