// The bytes of the 3MF package and of its model: the parts and their texts,
// the model of small scenes to the byte, names, colours, and what a 3MF
// file cannot hold.
#include "ThreeMFTestSupport.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <thread>

namespace {

const char kModelStart[] =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<model unit=\"millimeter\" xml:lang=\"en-US\" "
    "xmlns=\"http://schemas.microsoft.com/3dmanufacturing/core/2015/02\">\n";
const char kModelStartWithColours[] =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<model unit=\"millimeter\" xml:lang=\"en-US\" "
    "xmlns=\"http://schemas.microsoft.com/3dmanufacturing/core/2015/02\" "
    "xmlns:m=\"http://schemas.microsoft.com/3dmanufacturing/material/2015/02\">\n";

class ThreeMFModelTest : public ::testing::Test {
protected:
    // One triangle at z = 4: Z up it stands in the x-z plane.
    std::string triangleFile(const std::string& name) {
        return writeVekFile(dir.file(name), [](vekgen::VekWriter& w) {
            w.points(std::vector<vekgen::Point3>{{2, 3, 4}, {4, 3, 4}, {2, 5, 4}});
            w.face4(std::vector<vekgen::Face4>{{0, 1, 2, -1}});
            w.endBlock();
        });
    }
    // One quad whose lowest corner is the origin (Y up it is placed as it
    // is), with a colour a point.
    std::string quadFile(const std::string& name, bool colours = true) {
        return writeVekFile(dir.file(name), [&](vekgen::VekWriter& w) {
            w.points(std::vector<vekgen::Point3>{{0, 0, 0}, {1.5f, 0, 0}, {1.5f, 0.1f, 0.2f}, {0, 0.1f, 0.2f}});
            w.face4(std::vector<vekgen::Face4>{{0, 1, 2, 3}});
            if (colours) w.mrgb(std::vector<std::uint32_t>{0x00FF0000, 0x0000FF00, 0x000000FF, 0xFF123456});
            w.endBlock();
        });
    }
    ombrel::ExportResult exported(const ombrel::ExportOptions& options) {
        const ombrel::ExportResult result = ombrel::export3MF(options, report);
        EXPECT_TRUE(result.ok()) << result.status.describe();
        return result;
    }
    std::string output() const { return dir.file("scene.3mf"); }

    TempDir dir;
    ombrel::ThreeMFReport report;
};

}  // namespace

TEST_F(ThreeMFModelTest, OneTriangleToTheByte) {
    exported(threeMFOptions({triangleFile("tri.vek")}, output()));
    EXPECT_EQ(modelXml(output()), std::string(kModelStart) +
                                      "<resources>\n"
                                      "<object id=\"1\" type=\"model\" name=\"tri\">\n"
                                      "<mesh>\n"
                                      "<vertices>\n"
                                      "<vertex x=\"0\" y=\"0\" z=\"0\"/>\n"
                                      "<vertex x=\"2\" y=\"0\" z=\"0\"/>\n"
                                      "<vertex x=\"0\" y=\"0\" z=\"2\"/>\n"
                                      "</vertices>\n"
                                      "<triangles>\n"
                                      "<triangle v1=\"0\" v2=\"1\" v3=\"2\"/>\n"
                                      "</triangles>\n"
                                      "</mesh>\n"
                                      "</object>\n"
                                      "</resources>\n"
                                      "<build>\n"
                                      "<item objectid=\"1\"/>\n"
                                      "</build>\n"
                                      "</model>\n");
}

TEST_F(ThreeMFModelTest, OneQuadToTheByte) {
    ombrel::ExportOptions options = threeMFOptions({quadFile("quad.vek")}, output());
    options.up = ombrel::UpAxis::Y;
    exported(options);
    EXPECT_EQ(modelXml(output()), std::string(kModelStart) +
                                      "<resources>\n"
                                      "<object id=\"1\" type=\"model\" name=\"quad\">\n"
                                      "<mesh>\n"
                                      "<vertices>\n"
                                      "<vertex x=\"0\" y=\"0\" z=\"0\"/>\n"
                                      "<vertex x=\"1.5\" y=\"0\" z=\"0\"/>\n"
                                      "<vertex x=\"1.5\" y=\"0.1\" z=\"0.2\"/>\n"
                                      "<vertex x=\"0\" y=\"0.1\" z=\"0.2\"/>\n"
                                      "</vertices>\n"
                                      "<triangles>\n"
                                      "<triangle v1=\"0\" v2=\"1\" v3=\"2\"/>\n"
                                      "<triangle v1=\"0\" v2=\"2\" v3=\"3\"/>\n"
                                      "</triangles>\n"
                                      "</mesh>\n"
                                      "</object>\n"
                                      "</resources>\n"
                                      "<build>\n"
                                      "<item objectid=\"1\"/>\n"
                                      "</build>\n"
                                      "</model>\n");
}

TEST_F(ThreeMFModelTest, OneColouredQuadToTheByte) {
    ombrel::ExportOptions options = threeMFOptions({quadFile("quad.vek")}, output(), true);
    options.up = ombrel::UpAxis::Y;
    exported(options);
    // The mask byte of the last word is no part of its colour.
    EXPECT_EQ(modelXml(output()), std::string(kModelStartWithColours) +
                                      "<resources>\n"
                                      "<m:colorgroup id=\"1\">\n"
                                      "<m:color color=\"#FF0000\"/>\n"
                                      "<m:color color=\"#00FF00\"/>\n"
                                      "<m:color color=\"#0000FF\"/>\n"
                                      "<m:color color=\"#123456\"/>\n"
                                      "</m:colorgroup>\n"
                                      "<object id=\"2\" type=\"model\" name=\"quad\" pid=\"1\" pindex=\"0\">\n"
                                      "<mesh>\n"
                                      "<vertices>\n"
                                      "<vertex x=\"0\" y=\"0\" z=\"0\"/>\n"
                                      "<vertex x=\"1.5\" y=\"0\" z=\"0\"/>\n"
                                      "<vertex x=\"1.5\" y=\"0.1\" z=\"0.2\"/>\n"
                                      "<vertex x=\"0\" y=\"0.1\" z=\"0.2\"/>\n"
                                      "</vertices>\n"
                                      "<triangles>\n"
                                      "<triangle v1=\"0\" v2=\"1\" v3=\"2\" pid=\"1\" p1=\"0\" p2=\"1\" p3=\"2\"/>\n"
                                      "<triangle v1=\"0\" v2=\"2\" v3=\"3\" pid=\"1\" p1=\"0\" p2=\"2\" p3=\"3\"/>\n"
                                      "</triangles>\n"
                                      "</mesh>\n"
                                      "</object>\n"
                                      "</resources>\n"
                                      "<build>\n"
                                      "<item objectid=\"2\"/>\n"
                                      "</build>\n"
                                      "</model>\n");
}

TEST_F(ThreeMFModelTest, ThePackageHoldsThreeDeflatedParts) {
    exported(threeMFOptions({triangleFile("tri.vek")}, output()));
    const std::optional<std::vector<PackagePart>> parts = unzipParts(output());
    ASSERT_TRUE(parts);
    ASSERT_EQ(parts->size(), 3u);
    EXPECT_EQ((*parts)[0].name, "[Content_Types].xml");
    EXPECT_EQ((*parts)[1].name, "_rels/.rels");
    EXPECT_EQ((*parts)[2].name, "3D/3dmodel.model");
    for (const PackagePart& part : *parts) EXPECT_TRUE(part.deflated) << part.name;
    EXPECT_EQ((*parts)[0].bytes,
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\">\n"
              "<Default Extension=\"rels\" ContentType=\"application/vnd.openxmlformats-package.relationships+xml\"/>\n"
              "<Default Extension=\"model\" ContentType=\"application/vnd.ms-package.3dmanufacturing-3dmodel+xml\"/>\n"
              "</Types>\n");
    EXPECT_EQ((*parts)[1].bytes,
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">\n"
              "<Relationship Target=\"/3D/3dmodel.model\" Id=\"rel0\" "
              "Type=\"http://schemas.microsoft.com/3dmanufacturing/2013/01/3dmodel\"/>\n"
              "</Relationships>\n");
}

TEST_F(ThreeMFModelTest, TheFileEndsWithTheZipDirectoryAndItsSizeIsReported) {
    const ombrel::ExportResult result = exported(threeMFOptions({triangleFile("tri.vek")}, output()));
    const std::vector<unsigned char> bytes = readFileBytes(output());
    EXPECT_EQ(result.report.bytesWritten, bytes.size());
    ASSERT_GE(bytes.size(), 22u);
    // The end-of-central-directory record, without a comment and with no
    // padding after it; the file starts with a local file header.
    const unsigned char endRecord[] = {'P', 'K', 5, 6};
    EXPECT_EQ(std::memcmp(bytes.data() + bytes.size() - 22, endRecord, 4), 0);
    const unsigned char localHeader[] = {'P', 'K', 3, 4};
    EXPECT_EQ(std::memcmp(bytes.data(), localHeader, 4), 0);
}

TEST_F(ThreeMFModelTest, TheSameSceneGivesTheSameBytes) {
    const std::vector<std::string> inputs = {triangleFile("tri.vek"), quadFile("quad.vek")};
    exported(threeMFOptions(inputs, dir.file("a.3mf"), true));
    exported(threeMFOptions(inputs, dir.file("b.3mf"), true));
    EXPECT_EQ(readFileBytes(dir.file("a.3mf")), readFileBytes(dir.file("b.3mf")));
}

TEST_F(ThreeMFModelTest, ExportsOnSeveralThreadsShareNothing) {
    const std::vector<std::string> inputs = generatedScene(40'000, 2);
    exported(threeMFOptions(inputs, dir.file("alone.3mf"), true));
    std::vector<std::thread> threads;
    std::vector<ombrel::ExportResult> results(4);
    for (std::size_t i = 0; i < results.size(); ++i)
        threads.emplace_back([&, i] {
            results[i] = ombrel::export3MF(threeMFOptions(inputs, dir.file(std::to_string(i) + ".3mf"), true));
        });
    for (std::thread& thread : threads) thread.join();
    for (std::size_t i = 0; i < results.size(); ++i) {
        EXPECT_TRUE(results[i].ok()) << results[i].status.describe();
        EXPECT_EQ(readFileBytes(dir.file(std::to_string(i) + ".3mf")), readFileBytes(dir.file("alone.3mf"))) << i;
    }
}

TEST_F(ThreeMFModelTest, ObjectsAreNamedAfterTheirFilesWithXmlEscapes) {
    const std::string name = "a&b<c>\"d'e";
    exported(threeMFOptions({triangleFile(name + ".vek")}, output()));
    const std::string xml = modelXml(output());
    EXPECT_NE(xml.find("name=\"a&amp;b&lt;c&gt;&quot;d&apos;e\""), std::string::npos) << xml;
    SKIP_WITHOUT_LIB3MF();
    const ReadModel model = readWithLib3mf(output());
    ASSERT_TRUE(model.ok) << model.error;
    ASSERT_EQ(model.objects.size(), 1u);
    EXPECT_EQ(model.objects[0].name, name);
}

TEST_F(ThreeMFModelTest, NamesStayWellFormedWhateverTheirBytes) {
    // A tab, a byte that is not UTF-8, a control character, and UTF-8 kept.
    const std::string name = "t\tx\xFFy\x01z-\xC3\xA9t\xC3\xA9";
    exported(threeMFOptions({triangleFile(name + ".vek")}, output()));
    const std::string xml = modelXml(output());
    const std::string written = "t x\xEF\xBF\xBDy\xEF\xBF\xBDz-\xC3\xA9t\xC3\xA9";
    EXPECT_NE(xml.find("name=\"" + written + "\""), std::string::npos) << xml;
    SKIP_WITHOUT_LIB3MF();
    const ReadModel model = readWithLib3mf(output());
    ASSERT_TRUE(model.ok) << model.error;
    EXPECT_EQ(model.objects[0].name, written);
}

TEST_F(ThreeMFModelTest, ColoursOffWritesNoColourData) {
    exported(threeMFOptions({quadFile("quad.vek")}, output(), false));
    const std::string xml = modelXml(output());
    EXPECT_EQ(xml.find("m:"), std::string::npos);
    EXPECT_EQ(xml.find("pid="), std::string::npos);
    SKIP_WITHOUT_LIB3MF();
    const ReadModel model = readWithLib3mf(output());
    ASSERT_TRUE(model.ok) << model.error;
    for (const auto& colours : model.objects[0].colours) EXPECT_FALSE(colours);
}

TEST_F(ThreeMFModelTest, AFileWithoutColoursGetsNoneBesideOneWithThem) {
    exported(threeMFOptions({quadFile("plain.vek", false), quadFile("painted.vek")}, output(), true));
    const std::string xml = modelXml(output());
    EXPECT_EQ(occurrences(xml, "<m:colorgroup "), 1u);
    EXPECT_NE(xml.find("<object id=\"1\" type=\"model\" name=\"plain\">\n"), std::string::npos) << xml;
    EXPECT_NE(xml.find("<m:colorgroup id=\"2\">\n"), std::string::npos) << xml;
    EXPECT_NE(xml.find("<object id=\"3\" type=\"model\" name=\"painted\" pid=\"2\" pindex=\"0\">\n"), std::string::npos);
    EXPECT_NE(xml.find("<build>\n<item objectid=\"1\"/>\n<item objectid=\"3\"/>\n</build>\n"), std::string::npos);
    SKIP_WITHOUT_LIB3MF();
    const ReadModel model = readWithLib3mf(output());
    ASSERT_TRUE(model.ok) << model.error;
    ASSERT_EQ(model.objects.size(), 2u);
    EXPECT_FALSE(model.objects[0].colours[0]);
    ASSERT_TRUE(model.objects[1].colours[0]);
    EXPECT_EQ(*model.objects[1].colours[0], (std::array<std::uint32_t, 3>{0xFF0000, 0x00FF00, 0x0000FF}));
    ASSERT_TRUE(model.objects[1].colours[1]);
    EXPECT_EQ(*model.objects[1].colours[1], (std::array<std::uint32_t, 3>{0xFF0000, 0x0000FF, 0x123456}));
}

TEST_F(ThreeMFModelTest, PointsBeyondTheColourBlockAreWhite) {
    writeVekFile(dir.file("short.vek"), [](vekgen::VekWriter& w) {
        w.points(std::vector<vekgen::Point3>{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}});
        w.face4(std::vector<vekgen::Face4>{{0, 1, 2, 3}});
        w.mrgb(std::vector<std::uint32_t>{0x00102030, 0x00405060});
        w.endBlock();
    });
    exported(threeMFOptions({dir.file("short.vek")}, output(), true));
    const std::string xml = modelXml(output());
    EXPECT_NE(xml.find("<m:colorgroup id=\"1\">\n<m:color color=\"#102030\"/>\n<m:color color=\"#405060\"/>\n"
                       "<m:color color=\"#FFFFFF\"/>\n<m:color color=\"#FFFFFF\"/>\n</m:colorgroup>\n"),
              std::string::npos)
        << xml;
}

TEST_F(ThreeMFModelTest, FacesNamingAMissingPointAreSkippedAsInStl) {
    writeVekFile(dir.file("holes.vek"), [](vekgen::VekWriter& w) {
        w.points(std::vector<vekgen::Point3>{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}});
        w.face4(std::vector<vekgen::Face4>{{0, 1, 2, 3}, {0, 1, 9, -1}, {-2, 0, 1, 2}, {0, 2, 3, -1}});
        w.endBlock();
    });
    const ombrel::ExportResult result = exported(threeMFOptions({dir.file("holes.vek")}, output()));
    EXPECT_EQ(result.report.trianglesWritten, 3u);
    EXPECT_EQ(result.report.files[0].facesSkipped, 2u);
    ASSERT_EQ(result.warnings.size(), 1u);
    EXPECT_EQ(result.warnings[0].kind, ombrel::WarningKind::kFacesSkipped);
    EXPECT_EQ(result.warnings[0].count, 2u);
    const std::string xml = modelXml(output());
    EXPECT_NE(xml.find("<triangles>\n"
                       "<triangle v1=\"0\" v2=\"1\" v3=\"2\"/>\n"
                       "<triangle v1=\"0\" v2=\"2\" v3=\"3\"/>\n"
                       "<triangle v1=\"0\" v2=\"2\" v3=\"3\"/>\n"
                       "</triangles>\n"),
              std::string::npos)
        << xml;
    // Every point stays, so the indices are the file's.
    EXPECT_EQ(occurrences(xml, "<vertex "), 4u);
}

TEST_F(ThreeMFModelTest, TrianglesNamingAPointTwiceAreLeftOutAndCounted) {
    // A quad whose last two corners are one point gives one triangle; a
    // triangle with a repeated corner gives none.
    writeVekFile(dir.file("folded.vek"), [](vekgen::VekWriter& w) {
        w.points(std::vector<vekgen::Point3>{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 1}});
        w.face4(std::vector<vekgen::Face4>{{0, 1, 2, 2}, {1, 1, 3, -1}, {0, 2, 3, -1}});
        w.endBlock();
    });
    const ombrel::ExportResult result = exported(threeMFOptions({dir.file("folded.vek")}, output()));
    EXPECT_EQ(result.report.trianglesWritten, 2u);
    EXPECT_EQ(result.report.files[0].trianglesWritten, 2u);
    ASSERT_EQ(report.files.size(), 1u);
    EXPECT_TRUE(report.files[0].objectWritten);
    EXPECT_EQ(report.files[0].repeatedCornerTriangles, 2u);
    EXPECT_EQ(report.files[0].nonFiniteTriangles, 0u);
    EXPECT_NE(modelXml(output()).find("<triangles>\n"
                                      "<triangle v1=\"0\" v2=\"1\" v3=\"2\"/>\n"
                                      "<triangle v1=\"0\" v2=\"2\" v3=\"3\"/>\n"
                                      "</triangles>\n"),
              std::string::npos);
    SKIP_WITHOUT_LIB3MF();
    const ReadModel model = readWithLib3mf(output());
    ASSERT_TRUE(model.ok) << model.error;
    EXPECT_EQ(model.objects[0].triangles.size(), 2u);
}

TEST_F(ThreeMFModelTest, TrianglesWithANonFiniteCornerAreLeftOut) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    writeVekFile(dir.file("broken.vek"), [&](vekgen::VekWriter& w) {
        w.points(std::vector<vekgen::Point3>{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {nan, 1, 0}});
        w.face4(std::vector<vekgen::Face4>{{0, 1, 2, 3}});
        w.endBlock();
    });
    const ombrel::ExportResult result = exported(threeMFOptions({dir.file("broken.vek")}, output()));
    EXPECT_EQ(result.report.trianglesWritten, 1u);
    EXPECT_EQ(report.files[0].nonFiniteTriangles, 1u);
    const std::string xml = modelXml(output());
    // The point keeps its place in the list, at a text 3MF can hold (the
    // placement spreads its NaN to all three coordinates).
    EXPECT_NE(xml.find("<vertex x=\"0\" y=\"0\" z=\"0\"/>\n</vertices>"), std::string::npos) << xml;
    EXPECT_EQ(xml.find("nan"), std::string::npos);
    EXPECT_EQ(occurrences(xml, "<vertex "), 4u);
    SKIP_WITHOUT_LIB3MF();
    const ReadModel model = readWithLib3mf(output());
    ASSERT_TRUE(model.ok) << model.error;
    EXPECT_EQ(model.objects[0].triangles.size(), 1u);
}

TEST_F(ThreeMFModelTest, FilesWithoutTrianglesGiveNoObject) {
    writeVekFile(dir.file("points.vek"), [](vekgen::VekWriter& w) {
        w.points(std::vector<vekgen::Point3>{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}});
        w.endBlock();
    });
    writeVekFile(dir.file("flat.vek"), [](vekgen::VekWriter& w) {
        w.points(std::vector<vekgen::Point3>{{0, 0, 0}, {1, 0, 0}});
        w.face4(std::vector<vekgen::Face4>{{0, 1, 1, -1}, {0, 1, 5, -1}});
        w.endBlock();
    });
    const ombrel::ExportResult result = exported(
        threeMFOptions({dir.file("points.vek"), triangleFile("tri.vek"), dir.file("flat.vek")}, output(), true));
    ASSERT_EQ(report.files.size(), 3u);
    EXPECT_FALSE(report.files[0].objectWritten);
    EXPECT_TRUE(report.files[1].objectWritten);
    EXPECT_FALSE(report.files[2].objectWritten);
    EXPECT_EQ(report.files[2].repeatedCornerTriangles, 1u);
    EXPECT_EQ(result.report.files[2].facesSkipped, 1u);
    const std::string xml = modelXml(output());
    EXPECT_EQ(occurrences(xml, "<object "), 1u);
    EXPECT_NE(xml.find("<build>\n<item objectid=\"1\"/>\n</build>\n"), std::string::npos) << xml;
}

TEST_F(ThreeMFModelTest, ASceneWithoutTrianglesIsAnEmptyModel) {
    writeVekFile(dir.file("points.vek"), [](vekgen::VekWriter& w) {
        w.points(std::vector<vekgen::Point3>{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}});
        w.endBlock();
    });
    exported(threeMFOptions({dir.file("points.vek")}, output()));
    EXPECT_EQ(modelXml(output()), std::string(kModelStart) + "<resources>\n</resources>\n<build>\n</build>\n</model>\n");
    SKIP_WITHOUT_LIB3MF();
    const ReadModel model = readWithLib3mf(output());
    ASSERT_TRUE(model.ok) << model.error;
    EXPECT_TRUE(model.objects.empty());
}

TEST_F(ThreeMFModelTest, CoordinatesKeepEveryBit) {
    // Values with nine significant digits: a shorter text would lose bits.
    const float a = 1.00000012f, b = 0.333333343f, c = 123456.789f;
    writeVekFile(dir.file("bits.vek"), [&](vekgen::VekWriter& w) {
        w.points(std::vector<vekgen::Point3>{{0, 0, 0}, {a, 0, 0}, {0, b, c}});
        w.face4(std::vector<vekgen::Face4>{{0, 1, 2, -1}});
        w.endBlock();
    });
    ombrel::ExportOptions options = threeMFOptions({dir.file("bits.vek")}, output());
    options.up = ombrel::UpAxis::Y;
    exported(options);
    EXPECT_NE(modelXml(output()).find("<vertex x=\"1.0000001\" y=\"0\" z=\"0\"/>\n"
                                      "<vertex x=\"0\" y=\"0.33333334\" z=\"123456.79\"/>\n"),
              std::string::npos)
        << modelXml(output());
}

TEST_F(ThreeMFModelTest, FormatIsThreeMFWhateverTheOptionsSay) {
    ombrel::ExportOptions options = threeMFOptions({triangleFile("tri.vek")}, output());
    options.format = ombrel::Format::BinaryStl;
    exported(options);
    EXPECT_NE(modelXml(output()).find("<object id=\"1\""), std::string::npos);
}

TEST_F(ThreeMFModelTest, InvalidOptionsAreTheEnginesAnswer) {
    ombrel::ExportOptions options = threeMFOptions({}, output());
    const ombrel::ExportResult result = ombrel::export3MF(options);
    EXPECT_EQ(result.status.kind, ombrel::StatusKind::kInvalidOptions);
    EXPECT_FALSE(pathExists(output()));
    options = threeMFOptions({dir.file("missing.vek")}, output());
    EXPECT_EQ(ombrel::export3MF(options).status.kind, ombrel::StatusKind::kInputMissing);
    EXPECT_FALSE(pathExists(output()));
}
