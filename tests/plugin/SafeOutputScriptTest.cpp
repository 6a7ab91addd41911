// A script export that cannot write its whole file leaves the file the
// destination held before, and nothing else.

#include "ChildProcess.h"
#include "ScriptTestFixture.h"

#include <algorithm>
#include <filesystem>

namespace {

class SafeOutputScriptTest : public ScriptTest {
protected:
    void SetUp() override {
        ScriptTest::SetUp();
        const std::string samples = std::string(OMBREL_SOURCE_DIR) + "/samples/";
        declare({samples + "head.vek", samples + "torso.vek", samples + "base.vek"});
        host.call("DeclareHeight", nullptr, 100.0);
    }

    // Runs the export in a child process whose files may not exceed `limit`
    // bytes; the export's result there.
    double exportUnderFileSizeLimit(const char* exportName, const std::string& out, rlim_t limit) {
        const int result = runInChildProcess([&] {
            if (!limitFileSize(limit)) return 2;
            return host.call(exportName, out) == 0.0 ? 0 : 1;
        });
        EXPECT_NE(result, 2) << "the file size limit could not be set";
        return result == 0 ? 0.0 : 1.0;
    }

    std::vector<std::string> entries() const { return directoryEntries(dir.path()); }
};

}  // namespace

TEST_F(SafeOutputScriptTest, BinarySTLBeyondTheDiskKeepsThePreviousFile) {
    const std::string out = dir.file("scene.stl");
    writeFileText(out, "previous");
    host.call("DeclareBinaryOrASCII", "BINARY");
    EXPECT_EQ(exportUnderFileSizeLimit("ExportSTLAllDeclaredVek", out, 100 * 1024), 0.0);
    EXPECT_EQ(readFileText(out), "previous");
    EXPECT_EQ(entries(), std::vector<std::string>{"scene.stl"});
}

TEST_F(SafeOutputScriptTest, AsciiSTLBeyondTheDiskKeepsThePreviousFile) {
    const std::string out = dir.file("scene.stl");
    writeFileText(out, "previous");
    host.call("DeclareBinaryOrASCII", "ASCII");
    EXPECT_EQ(exportUnderFileSizeLimit("ExportSTLAllDeclaredVek", out, 100 * 1024), 0.0);
    EXPECT_EQ(readFileText(out), "previous");
    EXPECT_EQ(entries(), std::vector<std::string>{"scene.stl"});
}

TEST_F(SafeOutputScriptTest, VRMLBeyondTheDiskKeepsThePreviousFile) {
    const std::string out = dir.file("scene.wrl");
    writeFileText(out, "previous");
    EXPECT_EQ(exportUnderFileSizeLimit("ExportVRMLAllDeclaredVek", out, 100 * 1024), 0.0);
    EXPECT_EQ(readFileText(out), "previous");
    EXPECT_EQ(entries(), std::vector<std::string>{"scene.wrl"});
}

TEST_F(SafeOutputScriptTest, AnExportWithinTheLimitReplacesThePreviousFile) {
    const std::string out = dir.file("scene.stl");
    writeFileText(out, "previous");
    host.call("DeclareBinaryOrASCII", "BINARY");
    EXPECT_EQ(exportUnderFileSizeLimit("ExportSTLAllDeclaredVek", out, 1024 * 1024), 0.0);
    EXPECT_EQ(readFileBytes(out).size(), 84u + 50u * 6856u);
    EXPECT_EQ(entries(), std::vector<std::string>{"scene.stl"});
}
