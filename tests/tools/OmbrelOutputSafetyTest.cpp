// What the ombrel tool must never do to a user's files: write over one of
// its inputs, write anything for damaged input under --strict, or garble a
// file sent to standard output.
#include "RunCommand.h"
#include "TestFiles.h"
#include "VekTestFiles.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <filesystem>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Names = std::vector<std::string>;

const std::string kSampleDir = std::string(OMBREL_SOURCE_DIR) + "/samples";

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

struct ChildRun {
    int exitStatus = -1;
    std::string out;  // what came through a pipe, when the child wrote into one
    std::string err;
};

// Runs the tool in `cwd` with its standard output on `stdoutFd` (or, for -1,
// a pipe read to its end) and its stderr collected.
ChildRun runTool(const std::vector<std::string>& arguments, const std::string& cwd, int stdoutFd) {
    TempDir capture;
    const std::string errPath = capture.file("err");
    int fds[2] = {-1, -1};
    if (stdoutFd < 0 && pipe(fds) != 0) return {};
    const pid_t child = fork();
    if (child == 0) {
        const int in = open("/dev/null", O_RDONLY);
        const int err = open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        if (in < 0 || err < 0 || chdir(cwd.c_str()) != 0) _exit(127);
        dup2(in, 0);
        dup2(stdoutFd < 0 ? fds[1] : stdoutFd, 1);
        dup2(err, 2);
        if (fds[0] >= 0) close(fds[0]);
        std::vector<char*> argv = {const_cast<char*>(OMBREL_TOOL_PATH)};
        for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
        argv.push_back(nullptr);
        execv(OMBREL_TOOL_PATH, argv.data());
        _exit(127);
    }
    ChildRun result;
    if (fds[0] >= 0) {
        close(fds[1]);
        char buffer[65536];
        for (ssize_t n; (n = read(fds[0], buffer, sizeof buffer)) > 0;) result.out.append(buffer, std::size_t(n));
        close(fds[0]);
    }
    int status = 0;
    if (child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status)) result.exitStatus = WEXITSTATUS(status);
    result.err = readFileText(errPath);
    return result;
}

class OmbrelOutputSafetyTest : public ::testing::Test {
protected:
    CommandResult ombrel(const std::vector<std::string>& arguments) {
        return runCommand(OMBREL_TOOL_PATH, arguments, dir.path());
    }
    // Runs the tool with standard output on the file `name` in dir, opened
    // with `flags` (without O_CREAT the file must exist).
    ChildRun ombrelIntoFile(const std::vector<std::string>& arguments, const std::string& name, int flags) {
        const int fd = open(dir.file(name).c_str(), O_WRONLY | flags, 0644);
        EXPECT_GE(fd, 0) << name;
        ChildRun result = runTool(arguments, dir.path(), fd);
        close(fd);
        return result;
    }
    ChildRun ombrelIntoPipe(const std::vector<std::string>& arguments) { return runTool(arguments, dir.path(), -1); }

    // A copy of a sample file in dir.
    std::string sample(const std::string& name) {
        std::filesystem::copy_file(kSampleDir + "/" + name, dir.file(name));
        return name;
    }
    // head.vek cut inside its Face4 block: the engine reads it with a warning.
    std::string damagedFile() {
        std::vector<unsigned char> bytes = readFileBytes(kSampleDir + "/head.vek");
        bytes.resize(30000);
        writeFileBytes(dir.file("cut.vek"), bytes);
        return "cut.vek";
    }
    // The bytes a plain export of `arguments` writes to a file.
    std::string reference(std::vector<std::string> arguments, const std::string& name = "reference.stl") {
        arguments.insert(arguments.begin(), {"export", "-q", "-o", name});
        const CommandResult result = ombrel(arguments);
        EXPECT_EQ(result.exitStatus, 0) << result.err;
        std::string bytes = readFileText(dir.file(name));
        std::filesystem::remove(dir.file(name));
        return bytes;
    }
    TempDir dir;
};

}  // namespace

// --- an output that is one of the inputs

TEST_F(OmbrelOutputSafetyTest, TheOutputCannotBeAnInputByAnyName) {
    sample("base.vek");
    const std::string original = readFileText(dir.file("base.vek"));
    std::filesystem::create_hard_link(dir.file("base.vek"), dir.file("hard.stl"));
    std::filesystem::create_symlink("base.vek", dir.file("soft.stl"));
    std::filesystem::create_directory(dir.file("sub"));
    const std::pair<std::string, std::string> cases[] = {
        {"base.vek", "base.vek"},                // the same name (with --stl)
        {dir.file("base.vek"), "./base.vek"},    // absolute against relative
        {"sub/../base.vek", "base.vek"},         // another path to it
        {"hard.stl", "base.vek"},                // a hard link
        {"soft.stl", "base.vek"},                // a symbolic link
        {"hard.stl", dir.file("soft.stl")},      // both through links
    };
    for (const auto& [output, input] : cases) {
        SCOPED_TRACE(output + " from " + input);
        const CommandResult result = ombrel({"export", "--stl", "-o", output, input});
        EXPECT_EQ(result.exitStatus, 1);
        EXPECT_EQ(result.err, "ombrel: " + output + ": the output is the input file " + input + "; nothing was written\n");
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(readFileText(dir.file("base.vek")), original);
        EXPECT_EQ(directoryEntries(dir.path()), (Names{"base.vek", "hard.stl", "soft.stl", "sub"}));
    }
}

TEST_F(OmbrelOutputSafetyTest, TheInputThatIsTheOutputIsFoundAmongSeveral) {
    sample("base.vek");
    sample("head.vek");
    const std::string original = readFileText(dir.file("head.vek"));
    const CommandResult result = ombrel({"export", "--vrml", "-o", "head.vek", "base.vek", "head.vek"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.err, "ombrel: head.vek: the output is the input file head.vek; nothing was written\n");
    EXPECT_EQ(readFileText(dir.file("head.vek")), original);
}

TEST_F(OmbrelOutputSafetyTest, ACopyOfAnInputIsAnotherFile) {
    sample("base.vek");
    std::filesystem::copy_file(dir.file("base.vek"), dir.file("copy.stl"));
    const CommandResult result = ombrel({"export", "-q", "-o", "copy.stl", "base.vek"});
    EXPECT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_TRUE(readFileText(dir.file("copy.stl")) == reference({"base.vek"}));
    EXPECT_TRUE(readFileText(dir.file("base.vek")) == readFileText(kSampleDir + "/base.vek"));
}

TEST_F(OmbrelOutputSafetyTest, StandardOutputOnAnInputIsRefused) {
    sample("base.vek");
    const std::string original = readFileText(dir.file("base.vek"));
    // As `ombrel export -o - base.vek >> base.vek` would: nothing is truncated first.
    const ChildRun result = ombrelIntoFile({"export", "-o", "-", "base.vek"}, "base.vek", O_APPEND);
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.err, "ombrel: standard output: the output is the input file base.vek; nothing was written\n");
    EXPECT_EQ(readFileText(dir.file("base.vek")), original);
}

// --- --strict

TEST_F(OmbrelOutputSafetyTest, StrictWritesNothingForDamagedInput) {
    const std::string cut = damagedFile();
    const std::string good = sample("base.vek");
    const CommandResult result = ombrel({"export", "--strict", "-o", "out.stl", good, cut});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_TRUE(contains(result.err, "ombrel: warning: cut.vek: Face4 block: the block ends early; ")) << result.err;
    EXPECT_TRUE(contains(result.err, "ombrel: out.stl: not written: --strict refuses damaged input (1 warning)\n"))
        << result.err;
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(directoryEntries(dir.path()), (Names{"base.vek", "cut.vek"}));
}

TEST_F(OmbrelOutputSafetyTest, StrictKeepsThePreviousFile) {
    const std::string cut = damagedFile();
    for (const std::string name : {"out.stl", "out.wrl"}) {
        writeFileText(dir.file(name), "previous");
        const CommandResult result = ombrel({"export", "--strict", "-o", name, cut});
        EXPECT_EQ(result.exitStatus, 1) << name;
        EXPECT_EQ(readFileText(dir.file(name)), "previous") << name;
    }
    EXPECT_EQ(directoryEntries(dir.path()), (Names{"cut.vek", "out.stl", "out.wrl"}));
}

TEST_F(OmbrelOutputSafetyTest, StrictSendsNothingToStandardOutput) {
    const std::string cut = damagedFile();
    const ChildRun result = ombrelIntoPipe({"export", "--strict", "-o", "-", cut});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_TRUE(contains(result.err, "ombrel: standard output: not written: --strict refuses damaged input"))
        << result.err;
}

TEST_F(OmbrelOutputSafetyTest, StrictExportsIntactInputAsUsual) {
    const std::string base = sample("base.vek");
    const std::string expected = reference({base});
    const CommandResult result = ombrel({"export", "--strict", "-o", "out.stl", base});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(readFileText(dir.file("out.stl")), expected);
    EXPECT_EQ(result.out.rfind("Binary STL: " + dir.file("out.stl") + ", ", 0), 0u) << result.out;
}

TEST_F(OmbrelOutputSafetyTest, StrictStillReportsAMissingInputAsSuch) {
    const CommandResult result = ombrel({"export", "--strict", "-o", "out.stl", "missing.vek"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.err, "ombrel: missing.vek: cannot read: No such file or directory\n");
}

TEST_F(OmbrelOutputSafetyTest, StrictDoesNotCountOptionNotesAsDamage) {
    const std::string base = sample("base.vek");
    CommandResult result = ombrel({"export", "--strict", "--colors", "-q", "-o", "out.stl", base});
    EXPECT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(result.err, "ombrel: warning: --colors applies to VRML and 3MF only; STL has no colours\n");
    writeVekFile(dir.file("plain.vek"), [](vekgen::VekWriter& w) {
        w.points(std::vector<vekgen::Point3>{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});
        w.face4(std::vector<vekgen::Face4>{{0, 1, 2, -1}});
        w.endBlock();
    });
    result = ombrel({"export", "--strict", "--colors", "-q", "-o", "out.wrl", "plain.vek"});
    EXPECT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_TRUE(contains(result.err, "plain.vek: --colors: the file has no vertex colours")) << result.err;
    EXPECT_TRUE(pathExists(dir.file("out.wrl")));
}

TEST_F(OmbrelOutputSafetyTest, WithoutStrictDamagedInputIsExported) {
    const std::string cut = damagedFile();
    const CommandResult result = ombrel({"export", "-q", "-o", "out.stl", cut});
    EXPECT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_TRUE(contains(result.err, "ombrel: warning: cut.vek: ")) << result.err;
    EXPECT_TRUE(pathExists(dir.file("out.stl")));
}

// --- standard output

TEST_F(OmbrelOutputSafetyTest, StandardOutputIntoAPipeCarriesTheFileAlone) {
    const std::string base = sample("base.vek");
    for (const std::vector<std::string>& options :
         {std::vector<std::string>{}, {"--ascii"}, {"--up", "y", "--height", "30"}, {"--vrml", "--colors"}}) {
        std::vector<std::string> arguments = options;
        arguments.push_back(base);
        const std::string expected = reference(arguments, options.size() > 1 && options[0] == "--vrml" ? "r.wrl" : "r.stl");
        arguments.insert(arguments.begin(), {"export", "-o", "-"});
        const ChildRun result = ombrelIntoPipe(arguments);
        ASSERT_EQ(result.exitStatus, 0) << result.err;
        EXPECT_TRUE(result.out == expected) << "the bytes differ, with " << options.size() << " options";
        // The summary goes to stderr, naming standard output.
        EXPECT_TRUE(contains(result.err, ": standard output, " + std::to_string(expected.size()) + " bytes\n"))
            << result.err;
    }
}

TEST_F(OmbrelOutputSafetyTest, DevStdoutIsStandardOutputToo) {
    const std::string base = sample("base.vek");
    const std::string expected = reference({base});
    const ChildRun result = ombrelIntoPipe({"export", "-o", "/dev/stdout", base});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_TRUE(result.out == expected);
    EXPECT_EQ(result.err.rfind("Binary STL: standard output, ", 0), 0u) << result.err;
}

TEST_F(OmbrelOutputSafetyTest, StandardOutputIntoAFile) {
    const std::string base = sample("base.vek");
    const std::string expected = reference({base});
    const ChildRun result = ombrelIntoFile({"export", "-o", "-", base}, "out.stl", O_CREAT | O_TRUNC);
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_TRUE(readFileText(dir.file("out.stl")) == expected);
    EXPECT_EQ(directoryEntries(dir.path()), (Names{"base.vek", "out.stl"}));
}

TEST_F(OmbrelOutputSafetyTest, StandardOutputAppendsWhereTheShellSaysSo) {
    // `ombrel export --ascii -o - a.vek >> all.stl` adds a solid to the file.
    const std::string base = sample("base.vek");
    const std::string expected = reference({"--ascii", base});
    writeFileText(dir.file("all.stl"), "solid before \nendsolid before \n");
    const ChildRun result = ombrelIntoFile({"export", "-q", "--ascii", "-o", "-", base}, "all.stl", O_APPEND);
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_TRUE(readFileText(dir.file("all.stl")) == "solid before \nendsolid before \n" + expected);
}

TEST_F(OmbrelOutputSafetyTest, AFailedWriteToStandardOutputSaysWhy) {
    const std::string base = sample("base.vek");
    const int full = open("/dev/full", O_WRONLY);
    ASSERT_GE(full, 0);
    const ChildRun result = runTool({"export", "-q", "-o", "-", base}, dir.path(), full);
    close(full);
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.err, "ombrel: standard output: write failed: No space left on device\n");
}

TEST_F(OmbrelOutputSafetyTest, ASummaryThatCannotBeWrittenIsAFailure) {
    const std::string base = sample("base.vek");
    const int full = open("/dev/full", O_WRONLY);
    ASSERT_GE(full, 0);
    const ChildRun result = runTool({"export", "-o", "out.stl", base}, dir.path(), full);
    close(full);
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.err, "ombrel: standard output: write failed: No space left on device\n");
}

TEST_F(OmbrelOutputSafetyTest, AFailedExportSendsNothing) {
    const std::string base = sample("base.vek");
    const ChildRun result = ombrelIntoPipe({"export", "-o", "-", base, "missing.vek"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "ombrel: missing.vek: cannot read: No such file or directory\n");
}

TEST_F(OmbrelOutputSafetyTest, BinaryStlIsNotWrittenToATerminal) {
    const std::string base = sample("base.vek");
    // script(1) gives the tool a pseudo-terminal for its standard output.
    const std::string command = std::string(OMBREL_TOOL_PATH) + " export -o - " + dir.file(base);
    const CommandResult result = runCommand("/usr/bin/script", {"-qec", command, "/dev/null"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_TRUE(contains(result.out, "ombrel: binary STL is not written to a terminal: redirect standard output, or "
                                     "give --ascii"))
        << result.out;
    EXPECT_FALSE(contains(result.out, "solid")) << result.out;
}

TEST_F(OmbrelOutputSafetyTest, AsciiStlMayGoToATerminal) {
    const std::string base = sample("base.vek");
    const std::string command = std::string(OMBREL_TOOL_PATH) + " export --ascii -o - " + dir.file(base);
    const CommandResult result = runCommand("/usr/bin/script", {"-qec", command, "/dev/null"});
    EXPECT_EQ(result.exitStatus, 0);
    // The text arrives whole: no progress line cuts into it.
    EXPECT_EQ(result.out.find("\033[K"), std::string::npos);
    EXPECT_TRUE(contains(result.out, "solid object0 \r\nfacet normal ")) << result.out.substr(0, 200);
    EXPECT_TRUE(contains(result.out, "endsolid object0 \r\nASCII STL: standard output, "));
}
