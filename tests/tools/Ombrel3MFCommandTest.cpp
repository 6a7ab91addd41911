// `ombrel export` writing 3MF (--3mf, or an output named .3mf) and the demo's
// sample.3mf; a build of the tool without the ombrel3mf library says it
// cannot write 3MF.
#include "ChildProcess.h"
#include "RunCommand.h"
#include "TestFiles.h"
#include "VekTestFiles.h"

#include "engine/OmbrelExport.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

#ifdef OMBREL_TOOL_HAS_3MF
bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// A 3MF file is a ZIP package: it starts with a local file header.
bool isZip(const std::string& bytes) { return bytes.compare(0, 4, std::string("PK\x03\x04", 4)) == 0; }
#endif

class Ombrel3MFCommandTest : public ::testing::Test {
protected:
    CommandResult ombrel(const std::vector<std::string>& arguments) {
        return runCommand(OMBREL_TOOL_PATH, arguments, dir.path());
    }
    void triangleFile(const std::string& name, bool colours = false) {
        writeVekFile(dir.file(name), [&](vekgen::VekWriter& w) {
            w.points(std::vector<vekgen::Point3>{{2, 3, 4}, {4, 3, 4}, {2, 5, 4}});
            w.face4(std::vector<vekgen::Face4>{{0, 1, 2, -1}});
            if (colours) w.mrgb(std::vector<std::uint32_t>{0xFF0000, 0x00FF00, 0x0000FF});
            w.endBlock();
        });
    }
    // The engine's verdict on t.vek, Z up, as the summary gives it.
    std::string verdict() {
        ombrel::ExportOptions options;
        options.inputs = {{dir.file("t.vek")}};
        options.up = ombrel::UpAxis::Z;
        return ombrel::checkScene(options).report.check.verdict();
    }
    TempDir dir;
};

}  // namespace

#ifdef OMBREL_TOOL_HAS_3MF

TEST_F(Ombrel3MFCommandTest, TheExtensionChooses3MFInAnyLetterCase) {
    triangleFile("t.vek");
    for (const std::string name : {"a.3mf", "b.3MF", "c.3Mf"}) {
        const CommandResult result = ombrel({"export", "-o", name, "t.vek"});
        ASSERT_EQ(result.exitStatus, 0) << name << result.err;
        const std::string bytes = readFileText(dir.file(name));
        EXPECT_TRUE(isZip(bytes)) << name;
        EXPECT_EQ(result.out, "3MF: " + dir.file(name) + ", " + std::to_string(bytes.size()) +
                                  " bytes\n"
                                  "  1 triangle from 1 Vek file, Z up\n"
                                  "  size 2 x 0 x 2 mm (x, y, z)\n"
                                  "  check: " +
                                  verdict() + "\n");
        EXPECT_EQ(result.err, "");
    }
}

TEST_F(Ombrel3MFCommandTest, TheFlagTakesAnyName) {
    triangleFile("t.vek");
    const CommandResult result = ombrel({"export", "--3mf", "-q", "-o", "figure.stl", "t.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_TRUE(isZip(readFileText(dir.file("figure.stl"))));
}

TEST_F(Ombrel3MFCommandTest, TheSameSceneGivesTheSameFileAsTheLibrary) {
    triangleFile("t.vek", true);
    ASSERT_EQ(ombrel({"export", "-q", "--colors", "--height", "10", "-o", "a.3mf", "t.vek"}).exitStatus, 0);
    ASSERT_EQ(ombrel({"export", "-q", "--colours", "--height=10", "--3mf", "-o", "b", "t.vek"}).exitStatus, 0);
    EXPECT_EQ(readFileBytes(dir.file("a.3mf")), readFileBytes(dir.file("b")));
    ASSERT_EQ(ombrel({"export", "-q", "--height", "10", "-o", "plain.3mf", "t.vek"}).exitStatus, 0);
    EXPECT_NE(readFileBytes(dir.file("a.3mf")), readFileBytes(dir.file("plain.3mf")));
}

TEST_F(Ombrel3MFCommandTest, ColoursAreNamedInTheSummary) {
    triangleFile("t.vek", true);
    const CommandResult result = ombrel({"export", "--colors", "-o", "out.3mf", "t.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_TRUE(contains(result.out, "  1 triangle from 1 Vek file, Z up, with vertex colours\n")) << result.out;
    EXPECT_EQ(result.err, "");
}

TEST_F(Ombrel3MFCommandTest, AFileWithoutColoursIsNoted) {
    triangleFile("plain.vek");
    triangleFile("painted.vek", true);
    const CommandResult result = ombrel({"export", "--colors", "-q", "-o", "out.3mf", "plain.vek", "painted.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(result.err,
              "ombrel: warning: plain.vek: --colors: the file has no vertex colours (no MRGB block); its object has "
              "none\n");
}

TEST_F(Ombrel3MFCommandTest, UpYIsHonoured) {
    triangleFile("t.vek");
    const CommandResult result = ombrel({"export", "--up", "y", "-o", "out.3mf", "t.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_TRUE(contains(result.out, "  1 triangle from 1 Vek file, Y up\n  size 2 x 2 x 0 mm (x, y, z)\n"))
        << result.out;
}

TEST_F(Ombrel3MFCommandTest, OptionsOfOtherFormatsAreNoted) {
    triangleFile("t.vek");
    CommandResult result = ombrel({"export", "--ascii", "-q", "-o", "out.3mf", "t.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(result.err, "ombrel: warning: --ascii applies to STL only; 3MF is a ZIP package\n");
    result = ombrel({"export", "--texture", "t.vek=skin.png", "-q", "-o", "out.3mf", "t.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(result.err, "ombrel: warning: --texture applies to VRML only; 3MF is written without textures\n");
}

TEST_F(Ombrel3MFCommandTest, TrianglesThe3MFFileCannotHoldAreNoted) {
    writeVekFile(dir.file("folded.vek"), [](vekgen::VekWriter& w) {
        w.points(std::vector<vekgen::Point3>{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 1}});
        w.face4(std::vector<vekgen::Face4>{{0, 1, 2, 2}, {1, 1, 3, -1}, {0, 2, 3, -1}});
        w.endBlock();
    });
    writeVekFile(dir.file("line.vek"), [](vekgen::VekWriter& w) {
        w.points(std::vector<vekgen::Point3>{{0, 0, 0}, {1, 0, 0}});
        w.face4(std::vector<vekgen::Face4>{{0, 1, 1, -1}});
        w.endBlock();
    });
    const CommandResult result = ombrel({"export", "-o", "out.3mf", "folded.vek", "line.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(result.err,
              "ombrel: warning: folded.vek: 2 triangles name one point twice, which 3MF does not allow; left out\n"
              "ombrel: warning: line.vek: 1 triangle names one point twice, which 3MF does not allow; left out\n"
              "ombrel: warning: line.vek: no triangle left to write; the 3MF file has no object for it\n");
    EXPECT_TRUE(contains(result.out, "  2 triangles from 2 Vek files, Z up\n")) << result.out;
}

TEST_F(Ombrel3MFCommandTest, AFailedWriteKeepsThePreviousFile) {
    // A scene whose package passes a 16 KiB file size limit.
    writeVekFile(dir.file("grid.vek"), [](vekgen::VekWriter& w) {
        std::vector<vekgen::Point3> points;
        std::vector<vekgen::Face4> faces;
        for (int i = 0; i <= 100; ++i)
            for (int j = 0; j <= 100; ++j) points.push_back({i * 0.37f, j * 0.71f, float((i * j) % 7) * 0.13f});
        for (int i = 0; i < 100; ++i)
            for (int j = 0; j < 100; ++j)
                faces.push_back({i * 101 + j, (i + 1) * 101 + j, (i + 1) * 101 + j + 1, i * 101 + j + 1});
        w.points(points);
        w.face4(faces);
        w.endBlock();
    });
    writeFileText(dir.file("out.3mf"), "previous");
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    const int code = runInChildProcess([&] {
        close(fds[0]);
        if (!limitFileSize(16 * 1024)) return 125;
        const CommandResult child = ombrel({"export", "-q", "-o", "out.3mf", "grid.vek"});
        if (write(fds[1], child.err.data(), child.err.size()) != static_cast<ssize_t>(child.err.size())) return 124;
        return child.exitStatus;
    });
    close(fds[1]);
    std::string err;
    char buffer[4096];
    for (ssize_t n; (n = read(fds[0], buffer, sizeof buffer)) > 0;) err.append(buffer, std::size_t(n));
    close(fds[0]);
    EXPECT_EQ(code, 1);
    EXPECT_EQ(err, "ombrel: out.3mf: write failed: File too large\n");
    EXPECT_EQ(readFileText(dir.file("out.3mf")), "previous");
    EXPECT_EQ(directoryEntries(dir.path()), (std::vector<std::string>{"grid.vek", "out.3mf"}));
}

TEST_F(Ombrel3MFCommandTest, StandardOutputTakesA3MFFile) {
    triangleFile("t.vek");
    const CommandResult result = ombrel({"export", "--3mf", "-o", "-", "t.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_TRUE(isZip(result.out));
    ASSERT_EQ(ombrel({"export", "-q", "-o", "file.3mf", "t.vek"}).exitStatus, 0);
    EXPECT_EQ(result.out, readFileText(dir.file("file.3mf")));
    EXPECT_TRUE(contains(result.err, "3MF: standard output, " + std::to_string(result.out.size()) + " bytes\n"))
        << result.err;
}

TEST_F(Ombrel3MFCommandTest, ThreeMFIsNotWrittenToATerminal) {
    triangleFile("t.vek");
    // script(1) gives the tool a pseudo-terminal for its standard output.
    const std::string command = std::string(OMBREL_TOOL_PATH) + " export --3mf -o - " + dir.file("t.vek");
    const CommandResult result = runCommand("/usr/bin/script", {"-qec", command, "/dev/null"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_TRUE(contains(result.out, "ombrel: 3MF is not written to a terminal: redirect standard output"))
        << result.out;
    EXPECT_FALSE(contains(result.out, "PK")) << result.out;
}

TEST_F(Ombrel3MFCommandTest, DemoWritesSample3MFWithColours) {
    const CommandResult result = ombrel({"demo", "-o", "demo"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(directoryEntries(dir.file("demo")),
              (std::vector<std::string>{"sample-ascii.stl", "sample-binary.stl", "sample-colours.wrl", "sample.3mf"}));
    const std::string bytes = readFileText(dir.file("demo/sample.3mf"));
    EXPECT_TRUE(isZip(bytes));
    EXPECT_TRUE(contains(result.out, "3MF: " + dir.file("demo/sample.3mf") + ", " + std::to_string(bytes.size()) +
                                         " bytes\n  6856 triangles from 3 Vek files, Z up, with vertex colours\n"))
        << result.out;
    EXPECT_TRUE(contains(ombrel({"demo", "--help"}).out, "sample.3mf"));
}

#else

TEST_F(Ombrel3MFCommandTest, ABuildWithout3MFSaysSo) {
    triangleFile("t.vek");
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"export", "-o", "out.3mf", "t.vek"},
          std::vector<std::string>{"export", "--3mf", "-o", "out", "t.vek"}}) {
        const CommandResult result = ombrel(arguments);
        EXPECT_EQ(result.exitStatus, 1);
        EXPECT_EQ(result.err,
                  "ombrel: this ombrel was built without 3MF (the ombrel3mf library needs libarchive); nothing was "
                  "written\n");
    }
    EXPECT_EQ(directoryEntries(dir.path()), std::vector<std::string>{"t.vek"});
}

TEST_F(Ombrel3MFCommandTest, DemoWritesNo3MFWithoutIt) {
    const CommandResult result = ombrel({"demo", "-q", "-o", "demo"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(directoryEntries(dir.file("demo")),
              (std::vector<std::string>{"sample-ascii.stl", "sample-binary.stl", "sample-colours.wrl"}));
}

#endif
