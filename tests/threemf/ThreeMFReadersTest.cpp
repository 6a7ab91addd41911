// Readers that share no code with the writer agree with it: lib3mf reads
// every object with its name, its vertices and triangles, placed exactly as
// the STL export of the same scene places them, and its colours; PrusaSlicer
// measures the 3MF file as it measures the STL file.
#include "ThreeMFTestSupport.h"

#include "RunCommand.h"
#include "tools/vekgen/VekMeshReader.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <sstream>
#include <unistd.h>

namespace {

const char kSlicer[] = "/usr/bin/prusa-slicer";

std::string stem(const std::string& path) { return std::filesystem::path(path).stem().string(); }

class ThreeMFReadersTest : public ::testing::Test {
protected:
    // Exports `inputs` as 3MF and as binary STL with the same options, and
    // reads the 3MF file back with lib3mf.
    ReadModel exportBoth(const std::vector<std::string>& inputs, bool colours, ombrel::UpAxis up,
                         std::optional<double> height) {
        ombrel::ExportOptions options = threeMFOptions(inputs, dir.file("scene.3mf"), colours);
        options.up = up;
        options.height = height;
        const ombrel::ExportResult result = ombrel::export3MF(options, report);
        EXPECT_TRUE(result.ok()) << result.status.describe();
        threeMF = result.report;
        options.output = dir.file("scene.stl");
        options.format = ombrel::Format::BinaryStl;
        const ombrel::ExportResult stlResult = ombrel::exportScene(options);
        EXPECT_TRUE(stlResult.ok()) << stlResult.status.describe();
        stl = stlResult.report;
        return readWithLib3mf(dir.file("scene.3mf"));
    }

    // Names, counts, every triangle's corners and the bounds against the
    // STL export and the Vek files.
    void expectAgreement(const std::vector<std::string>& inputs, const ReadModel& model) {
        ASSERT_TRUE(model.ok) << model.error;
        EXPECT_EQ(model.warnings, std::vector<std::string>{});
        EXPECT_EQ(model.unit, "millimeter");
        ASSERT_EQ(model.objects.size(), inputs.size());
        EXPECT_EQ(model.buildObjectIds, model.objectIds);
        for (std::size_t i = 0; i < inputs.size(); ++i) {
            const vekgen::MeshData mesh = vekgen::readVekMesh(inputs[i]);
            EXPECT_EQ(model.objects[i].name, stem(inputs[i]));
            EXPECT_EQ(model.objects[i].vertices.size(), mesh.points.size()) << inputs[i];
            EXPECT_EQ(model.objects[i].triangles.size(), stl.files[i].trianglesWritten) << inputs[i];
        }
        EXPECT_EQ(threeMF.trianglesWritten, stl.trianglesWritten);
        // The very floats of the STL file, triangle by triangle.
        const std::vector<StlTriangle> fromStl = readBinaryStl(dir.file("scene.stl"));
        const std::vector<StlTriangle> from3MF = trianglesOf(model);
        ASSERT_EQ(from3MF.size(), fromStl.size());
        std::size_t differing = 0;
        for (std::size_t t = 0; t < fromStl.size(); ++t) differing += from3MF[t] != fromStl[t];
        EXPECT_EQ(differing, 0u);
        // The bounds are the placed box the engine reports.
        std::array<float, 3> low = {1e30f, 1e30f, 1e30f}, high = {-1e30f, -1e30f, -1e30f};
        for (const ReadObject& object : model.objects)
            for (const auto& v : object.vertices)
                for (int k = 0; k < 3; ++k) {
                    low[k] = std::min(low[k], v[k]);
                    high[k] = std::max(high[k], v[k]);
                }
        for (int k = 0; k < 3; ++k) {
            EXPECT_NEAR(low[k], threeMF.placedBox.min[k], 1e-4) << k;
            EXPECT_NEAR(high[k], threeMF.placedBox.max[k], 1e-4 * std::max(1.0, threeMF.placedBox.max[k])) << k;
        }
    }

    // Each triangle's corners have their points' MRGB colours.
    void expectColours(const std::vector<std::string>& inputs, const ReadModel& model) {
        ASSERT_EQ(model.objects.size(), inputs.size());
        const std::string xml = modelXml(dir.file("scene.3mf"));
        std::size_t points = 0;
        for (std::size_t i = 0; i < inputs.size(); ++i) {
            const vekgen::MeshData mesh = vekgen::readVekMesh(inputs[i]);
            ASSERT_EQ(mesh.mrgb.size(), mesh.points.size()) << inputs[i];
            points += mesh.points.size();
            const ReadObject& object = model.objects[i];
            std::size_t wrong = 0;
            for (std::size_t t = 0; t < object.triangles.size(); ++t) {
                if (!object.colours[t]) {
                    ++wrong;
                    continue;
                }
                for (int corner = 0; corner < 3; ++corner)
                    wrong += (*object.colours[t])[corner] != (mesh.mrgb[object.triangles[t][corner]] & 0xFFFFFF);
            }
            EXPECT_EQ(wrong, 0u) << inputs[i];
        }
        // One colour a vertex.
        EXPECT_EQ(occurrences(xml, "<m:color "), points);
        EXPECT_EQ(occurrences(xml, "<m:colorgroup "), inputs.size());
    }

    TempDir dir;
    ombrel::ThreeMFReport report;
    ombrel::ExportReport threeMF;
    ombrel::ExportReport stl;
};

}  // namespace

TEST_F(ThreeMFReadersTest, Lib3mfReadsTheSampleSceneZUp) {
    SKIP_WITHOUT_LIB3MF();
    const std::vector<std::string> inputs = sampleFiles();
    expectAgreement(inputs, exportBoth(inputs, false, ombrel::UpAxis::Z, 100.0));
}

TEST_F(ThreeMFReadersTest, Lib3mfReadsTheSampleSceneYUpAtItsOwnSize) {
    SKIP_WITHOUT_LIB3MF();
    const std::vector<std::string> inputs = sampleFiles();
    expectAgreement(inputs, exportBoth(inputs, false, ombrel::UpAxis::Y, std::nullopt));
}

TEST_F(ThreeMFReadersTest, Lib3mfReadsTheSampleSceneWithColours) {
    SKIP_WITHOUT_LIB3MF();
    const std::vector<std::string> inputs = sampleFiles();
    const ReadModel model = exportBoth(inputs, true, ombrel::UpAxis::Z, 100.0);
    expectAgreement(inputs, model);
    expectColours(inputs, model);
}

TEST_F(ThreeMFReadersTest, Lib3mfReadsAGeneratedSceneWithColours) {
    SKIP_WITHOUT_LIB3MF();
    // Four parts, open horns and triangles among the quads.
    const std::vector<std::string> inputs = generatedScene(120'000, 4);
    const ReadModel model = exportBoth(inputs, true, ombrel::UpAxis::Z, 50.0);
    expectAgreement(inputs, model);
    expectColours(inputs, model);
}

// --- PrusaSlicer

namespace {

// `prusa-slicer --info FILE`: a section a model object ("[name]" and its
// "key = value" lines); an STL file is one object, a 3MF file one an object.
std::vector<std::map<std::string, std::string>> slicerInfo(const std::string& file) {
    const CommandResult result = runCommand(kSlicer, {"--info", file});
    EXPECT_EQ(result.exitStatus, 0) << result.err;
    std::vector<std::map<std::string, std::string>> objects;
    std::istringstream lines(result.out);
    for (std::string line; std::getline(lines, line);) {
        if (line.size() > 2 && line.front() == '[' && line.back() == ']') {
            objects.emplace_back();
            continue;
        }
        const std::size_t equals = line.find(" = ");
        if (equals == std::string::npos || objects.empty()) continue;
        std::string value = line.substr(equals + 3);
        value.erase(0, value.find_first_not_of(' '));
        objects.back()[line.substr(0, equals)] = value;
    }
    return objects;
}

// The figures of a whole file: facets, parts and volume summed over its
// objects, bounds united.
struct SlicerFigures {
    std::size_t objects = 0;
    std::uint64_t facets = 0;
    std::uint64_t parts = 0;
    double volume = 0;
    double min[3] = {1e300, 1e300, 1e300};
    double max[3] = {-1e300, -1e300, -1e300};
};

SlicerFigures slicerFigures(const std::string& file) {
    SlicerFigures figures;
    for (auto& object : slicerInfo(file)) {
        ++figures.objects;
        figures.facets += std::stoull(object["number_of_facets"]);
        figures.parts += std::stoull(object["number_of_parts"]);
        figures.volume += std::stod(object["volume"]);
        for (int k = 0; k < 3; ++k) {
            const std::string axis(1, "xyz"[k]);
            figures.min[k] = std::min(figures.min[k], std::stod(object["min_" + axis]));
            figures.max[k] = std::max(figures.max[k], std::stod(object["max_" + axis]));
        }
    }
    return figures;
}

class ThreeMFSlicerTest : public ThreeMFReadersTest {
protected:
    void SetUp() override {
        if (access(kSlicer, X_OK) != 0) GTEST_SKIP() << "prusa-slicer is not installed (scripts/install-deps.sh)";
    }

    void expectSlicerAgreement(const std::vector<std::string>& inputs, bool colours) {
        exportBoth(inputs, colours, ombrel::UpAxis::Z, 100.0);
        const SlicerFigures fromStl = slicerFigures(dir.file("scene.stl"));
        const SlicerFigures from3MF = slicerFigures(dir.file("scene.3mf"));
        EXPECT_EQ(fromStl.objects, 1u);
        EXPECT_EQ(from3MF.objects, inputs.size());
        EXPECT_EQ(from3MF.facets, fromStl.facets);
        EXPECT_EQ(from3MF.facets, stl.trianglesWritten);
        EXPECT_EQ(from3MF.parts, fromStl.parts);
        EXPECT_NEAR(from3MF.volume, fromStl.volume, 1e-4 * fromStl.volume);
        for (int k = 0; k < 3; ++k) {
            EXPECT_NEAR(from3MF.min[k], fromStl.min[k], 1e-5) << k;
            EXPECT_NEAR(from3MF.max[k], fromStl.max[k], 1e-5) << k;
            EXPECT_NEAR(from3MF.max[k] - from3MF.min[k], stl.size[k], 1e-4) << k;
        }
        EXPECT_NEAR(from3MF.max[2], 100.0, 1e-4);
    }
};

}  // namespace

TEST_F(ThreeMFSlicerTest, TheSampleSceneMeasuresAsItsStl) { expectSlicerAgreement(sampleFiles(), false); }

TEST_F(ThreeMFSlicerTest, TheSampleSceneWithColoursMeasuresAsItsStl) { expectSlicerAgreement(sampleFiles(), true); }

TEST_F(ThreeMFSlicerTest, ASolidGeneratedSceneMeasuresAsItsStl) { expectSlicerAgreement(solidScene(), true); }
