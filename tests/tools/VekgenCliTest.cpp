// End-to-end tests of the vekgen command line.

#include "tools/vekgen/BlockScript.h"
#include "tools/vekgen/SceneGenerator.h"

#include "TestFiles.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <sys/wait.h>
#include <vector>

using namespace vekgen;

namespace {

struct RunResult {
    int exitCode = -1;
    std::string out;
    std::string err;
};

std::string quote(const std::string& s) {
    std::string q = "'";
    for (char c : s) {
        if (c == '\'')
            q += "'\\''";
        else
            q += c;
    }
    return q + "'";
}

// Runs vekgen with the arguments, optionally feeding a file on stdin.
RunResult runVekgen(const TempDir& dir, const std::string& args, const std::string& stdinText = "") {
    writeFileText(dir.file("stdin.txt"), stdinText);
    const std::string cmd = quote(OMBREL_VEKGEN_PATH) + " " + args + " <" + quote(dir.file("stdin.txt")) + " >" +
                            quote(dir.file("stdout.txt")) + " 2>" + quote(dir.file("stderr.txt"));
    const int status = std::system(cmd.c_str());
    RunResult r;
    r.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    r.out = readFileText(dir.file("stdout.txt"));
    r.err = readFileText(dir.file("stderr.txt"));
    return r;
}

std::size_t lineCount(const std::string& s) {
    std::size_t n = 0;
    for (char c : s) n += c == '\n';
    return n;
}

}  // namespace

TEST(VekgenCli, VersionPrintsNameAndVersion) {
    TempDir dir;
    const RunResult r = runVekgen(dir, "--version");
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out.rfind("vekgen ", 0), 0u) << r.out;
    EXPECT_EQ(lineCount(r.out), 1u);
    EXPECT_EQ(r.err, "");
}

TEST(VekgenCli, HelpDescribesTheCommandsAndTheGrammar) {
    TempDir dir;
    const RunResult r = runVekgen(dir, "--help");
    EXPECT_EQ(r.exitCode, 0);
    for (const char* word : {"scene --faces N", "sample OUTDIR", "blocks OUT.vek", "info FILE", "face4 I I I I",
                             "block TAG COUNT [size=N]", "bytes HEX"})
        EXPECT_NE(r.out.find(word), std::string::npos) << word;
}

TEST(VekgenCli, UsageErrorsExitWith2AndOneLine) {
    TempDir dir;
    for (const char* args :
         {"", "frobnicate", "scene OUT", "scene --faces x OUT", "scene --faces 10 --bogus OUT", "sample", "blocks"}) {
        const RunResult r = runVekgen(dir, args);
        EXPECT_EQ(r.exitCode, 2) << args;
        EXPECT_EQ(lineCount(r.err), 1u) << args << ": " << r.err;
        EXPECT_EQ(r.err.rfind("vekgen: ", 0), 0u) << r.err;
    }
}

TEST(VekgenCli, InvalidSceneExitsWith1) {
    TempDir dir;
    const RunResult r = runVekgen(dir, "scene --faces 2 --files 3 " + quote(dir.file("o")));
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.err, "vekgen: more files (3) than faces (2)\n");
}

TEST(VekgenCli, SceneWritesThePartsOfTheGenerator) {
    TempDir dir;
    const RunResult r = runVekgen(dir, "scene --faces 1000 --files 2 --seed 5 " + quote(dir.file("scene")));
    ASSERT_EQ(r.exitCode, 0) << r.err;
    SceneOptions o;
    o.faces = 1000;
    o.files = 2;
    o.seed = 5;
    const SceneGenerator g(o);
    for (int i = 0; i < 2; ++i) {
        VekWriter w = VekWriter::inMemory();
        SceneGenerator::writePart(g.parts()[i], w);
        EXPECT_EQ(readFileBytes(dir.file("scene/part" + std::to_string(i) + ".vek")), w.bytes());
    }
    EXPECT_FALSE(pathExists(dir.file("scene/part2.vek")));
    EXPECT_NE(r.out.find("part0.vek: 500 faces (50 triangles)"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("2 files, 1000 faces"), std::string::npos) << r.out;
}

TEST(VekgenCli, SceneFlagsLeaveOutUVsAndColours) {
    TempDir dir;
    ASSERT_EQ(runVekgen(dir, "scene --no-uv --faces=100 --no-colors " + quote(dir.file("s"))).exitCode, 0);
    PartParams p = SceneGenerator(SceneOptions{100, 1, 1, false, false}).parts()[0];
    VekWriter w = VekWriter::inMemory();
    SceneGenerator::writePart(p, w);
    EXPECT_EQ(readFileBytes(dir.file("s/part0.vek")), w.bytes());
}

TEST(VekgenCli, SampleWritesTheBundledScene) {
    TempDir dir;
    const RunResult r = runVekgen(dir, "sample " + quote(dir.file("sample")));
    ASSERT_EQ(r.exitCode, 0) << r.err;
    for (const char* name : {"head.vek", "torso.vek", "base.vek"})
        EXPECT_EQ(readFileBytes(dir.file(std::string("sample/") + name)),
                  readFileBytes(std::string(OMBREL_SOURCE_DIR) + "/samples/" + name))
            << name;
    EXPECT_EQ(lineCount(r.out), 3u);
    EXPECT_NE(r.out.find("head.vek: 1500 faces (246 triangles), 1379 points, 94176 bytes\n"), std::string::npos)
        << r.out;
    EXPECT_NE(r.out.find("torso.vek: 1200 faces (138 triangles), 1133 points, 77021 bytes\n"), std::string::npos)
        << r.out;
    EXPECT_NE(r.out.find("base.vek: 1000 faces (160 triangles), 922 points, 62864 bytes\n"), std::string::npos)
        << r.out;
}

TEST(VekgenCli, BlocksFromStdinProduceTheDescribedBytes) {
    TempDir dir;
    const std::string text = "points 1 -2 0.5\nblock 40001 1 size=20 ff\nend\n";
    const RunResult r = runVekgen(dir, "blocks " + quote(dir.file("b.vek")), text);
    ASSERT_EQ(r.exitCode, 0) << r.err;
    std::vector<unsigned char> expected(32, 0);
    expected[0] = 'V', expected[1] = 'e', expected[2] = 'k', expected[3] = 'b';
    const std::vector<unsigned char> blocks = {
        0x11, 0x27, 0,    0,    28, 0, 0, 0,    1, 0, 0, 0,    0, 0, 0, 0,   // Points header
        0,    0,    0x80, 0x3F, 0,  0, 0, 0xC0, 0, 0, 0, 0x3F,               // 1, -2, 0.5
        0x41, 0x9C, 0,    0,    20, 0, 0, 0,    1, 0, 0, 0,    0, 0, 0, 0,   // 40001, size 20 (wrong), count 1
        0xFF,                                                                // one body byte
        0,    0,    0,    0,    16, 0, 0, 0,    0, 0, 0, 0,    0, 0, 0, 0};  // end
    expected.insert(expected.end(), blocks.begin(), blocks.end());
    EXPECT_EQ(readFileBytes(dir.file("b.vek")), expected);
    EXPECT_EQ(r.out, "wrote " + dir.file("b.vek") + ": 93 bytes\n");
}

TEST(VekgenCli, BlocksFromADescriptionFile) {
    TempDir dir;
    writeFileText(dir.file("d.txt"), "mrgb 0x12FF8000\nend\n");
    ASSERT_EQ(runVekgen(dir, "blocks " + quote(dir.file("c.vek")) + " " + quote(dir.file("d.txt"))).exitCode, 0);
    EXPECT_EQ(readFileBytes(dir.file("c.vek")), blockScriptBytes("mrgb 0x12FF8000\nend\n"));
}

TEST(VekgenCli, BlocksSyntaxErrorExitsWith1AndWritesNothing) {
    TempDir dir;
    const RunResult r = runVekgen(dir, "blocks " + quote(dir.file("x.vek")), "end\nface4 1 2\n");
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.err, "vekgen: <stdin>: line 2: face4 needs a multiple of 4 numbers, got 2\n");
    EXPECT_FALSE(pathExists(dir.file("x.vek")));
}

TEST(VekgenCli, UnwritableOutputExitsWith1) {
    TempDir dir;
    const RunResult r = runVekgen(dir, "blocks " + quote(dir.file("no/such/dir/x.vek")), "end\n");
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(lineCount(r.err), 1u);
    EXPECT_NE(r.err.find(dir.file("no/such/dir/x.vek")), std::string::npos) << r.err;
}

TEST(VekgenCli, InfoListsBlocksAndFailsOnDamagedFiles) {
    TempDir dir;
    writeFileBytes(dir.file("good.vek"), blockScriptBytes("points 0 0 0\nend\n"));
    writeFileBytes(dir.file("bad.vek"), blockScriptBytes("points 0 0 0\nblock 1 0 size=8\n"));
    const RunResult good = runVekgen(dir, "info " + quote(dir.file("good.vek")));
    EXPECT_EQ(good.exitCode, 0);
    EXPECT_NE(good.out.find("Points"), std::string::npos) << good.out;
    const RunResult bad = runVekgen(dir, "info " + quote(dir.file("bad.vek")));
    EXPECT_EQ(bad.exitCode, 1);
    EXPECT_NE(bad.out.find("damaged: block unknown (tag 1) at offset 60 has size 8"), std::string::npos) << bad.out;
}
