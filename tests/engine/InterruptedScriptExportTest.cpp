#include "AllocationFailure.h"
#include "EngineTestSupport.h"

#include "export/QMSTLExport.h"
#include "export/QMVRMLExport.h"
#include "plugin/ExportSettings.h"
#include "plugin/ombrel.h"

#include "TestFiles.h"

#include <gtest/gtest.h>

// A script export that an exception interrupts leaves its exporter object
// for the next export to delete, as the host's export always has, but that
// object holds no thread and no open file meanwhile.

namespace {

void scriptCall(OmbrelScriptFunction function, const char* text, double number = 0.0) {
    function(text, number, nullptr, 0, nullptr, 0, nullptr);
}

// Declares the sample scene, as the host's script does.
void declareSample() {
    scriptCall(InitExporter, nullptr, 3.12);
    scriptCall(DeclareHeight, nullptr, 100.0);
    scriptCall(StartDeclareVekFiles, nullptr);
    for (const std::string& path : sampleScenePaths()) scriptCall(AddOneVekFile, path.c_str());
    scriptCall(EndDeclareVekFiles, nullptr);
}

struct Case {
    const char* name;
    OmbrelScriptFunction exportCall;
    bool (*stale)();  // whether an interrupted export left its exporter behind
};

bool staleSTLExporter() { return s_stlExporter != nullptr; }
bool staleVRMLExporter() { return s_vrmlExporter != nullptr; }

class InterruptedScriptExportTest : public ::testing::TestWithParam<Case> {};

}  // namespace

TEST_P(InterruptedScriptExportTest, LeavesItsExporterHoldingNoThreadOrFile) {
    TempDir out;
    const std::string output = out.file("scene.out");
    declareSample();

    // A whole export's allocations, then each of them failing in turn.
    const std::uint64_t start = allocation_failure::count();
    scriptCall(GetParam().exportCall, out.file("reference.out").c_str());
    const std::uint64_t allocations = allocation_failure::count() - start;
    const std::vector<unsigned char> previous = {'p', 'r', 'e', 'v'};
    const std::vector<unsigned char> complete = readFileBytes(out.file("reference.out"));
    int interrupted = 0;
    for (std::uint64_t n = 0; n < allocations; ++n) {
        writeFileBytes(output, previous);
        const ProcessResources before = processResources();
        allocation_failure::failAfter(n);
        scriptCall(GetParam().exportCall, output.c_str());
        allocation_failure::disarm();
        if (!allocation_failure::fired()) continue;
        if (GetParam().stale()) ++interrupted;
        // Whatever was interrupted: no thread, no open file, no temporary
        // file, and the output either as it was or complete.
        EXPECT_TRUE(resourcesBack(before)) << "allocation " << n;
        EXPECT_EQ(directoryEntries(out.path()), (Names{"reference.out", "scene.out"})) << "allocation " << n;
        const std::vector<unsigned char> bytes = readFileBytes(output);
        EXPECT_TRUE(bytes == previous || bytes == complete) << "allocation " << n << ": a partial file";
    }
    EXPECT_GT(interrupted, 0) << "no allocation failure interrupted the export";

    // The next export deletes the stale object and writes the file.
    scriptCall(GetParam().exportCall, output.c_str());
    EXPECT_FALSE(GetParam().stale());
    EXPECT_TRUE(readFileBytes(output) == complete);
}

INSTANTIATE_TEST_SUITE_P(Calls, InterruptedScriptExportTest,
                         ::testing::Values(Case{"STL", &ExportSTLAllDeclaredVek, &staleSTLExporter},
                                           Case{"VRML", &ExportVRMLAllDeclaredVek, &staleVRMLExporter}),
                         [](const ::testing::TestParamInfo<Case>& info) { return std::string(info.param.name); });
