// The typed export and the host's script calls run through the same engine:
// on the same files, with the same height and options (and Y up, the script
// calls' only axis), they write the same bytes. The one difference, UVs not
// carried into a VRML file without any, is shown on its own.

#include "EngineTestSupport.h"

#include "TestFiles.h"

#include "plugin/ombrel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

namespace {

struct Variant {
    const char* name;
    Format format;
    bool colours;  // VRML vertex colours
};

std::string variantName(const ::testing::TestParamInfo<Variant>& info) { return info.param.name; }

// One script call with a text and a number, as the host makes it.
void scriptCall(OmbrelScriptFunction function, const char* text, double number = 0.0) {
    function(text, number, nullptr, 0, nullptr, 0, nullptr);
}

class EngineMatchesScriptCallsTest : public ::testing::TestWithParam<Variant> {
protected:
    // The script's export of `paths` (absolute) at `height`.
    std::string scriptExport(const std::vector<std::string>& paths, double height) {
        const Variant& variant = GetParam();
        const std::string output = out.file(variant.format == Format::Vrml ? "script.wrl" : "script.stl");
        scriptCall(DeclareHeight, nullptr, height);
        scriptCall(DeclareBinaryOrASCII, variant.format == Format::BinaryStl ? "BINARY" : "ASCII");
        scriptCall(DeclareExportVertexColors, variant.colours ? "YES" : "NO");
        scriptCall(StartDeclareVekFiles, nullptr);
        for (const std::string& path : paths) scriptCall(AddOneVekFile, path.c_str());
        scriptCall(EndDeclareVekFiles, nullptr);
        scriptCall(variant.format == Format::Vrml ? ExportVRMLAllDeclaredVek : ExportSTLAllDeclaredVek, output.c_str());
        return output;
    }

    // The typed export of the same.
    std::string engineExport(const std::vector<std::string>& paths, double height) {
        const Variant& variant = GetParam();
        const std::string output = out.file(variant.format == Format::Vrml ? "engine.wrl" : "engine.stl");
        ExportOptions options = exportOptions(paths, output, variant.format, height);
        options.vertexColors = variant.colours;
        options.up = ombrel::UpAxis::Y;
        const ombrel::ExportResult result = ombrel::exportScene(options);
        EXPECT_TRUE(result.ok()) << result.status.describe();
        return output;
    }

    void expectSameOutput(const std::vector<std::string>& paths, double height) {
        SCOPED_TRACE("height " + std::to_string(height));
        const std::string script = scriptExport(paths, height);
        const std::string engine = engineExport(paths, height);
        EXPECT_GT(std::filesystem::file_size(engine), 84u);
        EXPECT_TRUE(sameFileBytes(engine, script));
    }

    TempDir out;
};

}  // namespace

TEST_P(EngineMatchesScriptCallsTest, SampleSceneAtHeight100) { expectSameOutput(sampleScenePaths(), 100.0); }

TEST_P(EngineMatchesScriptCallsTest, SampleSceneAtOtherHeights) {
    for (double height : {1.0, 0.001, 37.5, 2500.0, 123456.789}) expectSameOutput(sampleScenePaths(), height);
}

TEST_P(EngineMatchesScriptCallsTest, GeneratedScenes) {
    // All files of a scene have UVs, or none has (see below).
    const vekgen::SceneOptions scenes[] = {
        {9'000, 1, 21, true, true},   {25'000, 3, 22, true, true}, {30'000, 4, 23, false, false},
        {12'000, 2, 24, true, false}, {7'000, 5, 25, false, true},
    };
    for (const vekgen::SceneOptions& options : scenes) {
        SCOPED_TRACE("seed " + std::to_string(options.seed));
        TempDir in;
        const GeneratedScene scene = writeGeneratedScene(in.path(), options);
        expectSameOutput(scene.paths, 50.0 + double(options.seed));
    }
}

INSTANTIATE_TEST_SUITE_P(Variants, EngineMatchesScriptCallsTest,
                         ::testing::Values(Variant{"BinaryStl", Format::BinaryStl, false},
                                           Variant{"AsciiStl", Format::AsciiStl, false},
                                           Variant{"Vrml", Format::Vrml, false},
                                           Variant{"VrmlWithColours", Format::Vrml, true}),
                         variantName);

namespace {

// A VRML scene of a file with UVs followed by one without.
class CarriedUVsTest : public EngineMatchesScriptCallsTest {
protected:
    std::vector<std::string> uvThenNoUV() {
        std::vector<vekgen::PartParams> parts(2);
        parts[0].name = "textured";
        parts[0].faces = 800;
        parts[0].seed = 31;
        parts[1].name = "plain";
        parts[1].shape = vekgen::PartShape::Base;
        parts[1].faces = 600;
        parts[1].seed = 32;
        parts[1].uv = false;
        return writeGeneratedScene(in.path(), parts).paths;
    }

    TempDir in;
};

}  // namespace

// The script calls write the first file's UVs again for the second file; the
// typed export writes none there.
TEST_P(CarriedUVsTest, AFileWithoutUVsTakesNoneFromTheFileBefore) {
    const std::vector<std::string> paths = uvThenNoUV();
    const std::string script = readFileText(scriptExport(paths, 100.0));
    const std::string engine = readFileText(engineExport(paths, 100.0));
    EXPECT_EQ(countOccurrences(script, "Shape {"), 2u);
    EXPECT_EQ(countOccurrences(engine, "Shape {"), 2u);
    EXPECT_EQ(countOccurrences(script, "texCoord TextureCoordinate"), 2u);
    EXPECT_EQ(countOccurrences(engine, "texCoord TextureCoordinate"), 1u);
    // Up to the second file's texture coordinates the two are the same.
    const std::size_t secondShape = script.find("Shape {", script.find("Shape {") + 1);
    const std::size_t divergence = script.find("\n    texCoord TextureCoordinate", secondShape);
    ASSERT_NE(divergence, std::string::npos);
    EXPECT_EQ(engine.substr(0, divergence), script.substr(0, divergence));
    EXPECT_EQ(engine.find("texCoord", divergence), std::string::npos);
}

// In the other order nothing is carried, and the two agree.
TEST_P(CarriedUVsTest, AFileWithoutUVsFirstGivesTheSameFile) {
    std::vector<std::string> paths = uvThenNoUV();
    std::reverse(paths.begin(), paths.end());
    EXPECT_TRUE(sameFileBytes(engineExport(paths, 100.0), scriptExport(paths, 100.0)));
}

INSTANTIATE_TEST_SUITE_P(Vrml, CarriedUVsTest,
                         ::testing::Values(Variant{"Vrml", Format::Vrml, false},
                                           Variant{"VrmlWithColours", Format::Vrml, true}),
                         variantName);
