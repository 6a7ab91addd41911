// The file and process script calls, reached by their plain names like the
// host's script does.
#include "ScriptTestFixture.h"

#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <thread>

using Strings = std::vector<std::string>;

namespace {

class UtilityCallsTest : public ScriptTest {
protected:
    Strings copyDoneLines(const std::string& source, const std::string& target) {
        return {"Copy done : " + source, "  -> " + target};
    }
    Strings copyErrorLines(const std::string& source, const std::string& target) {
        return {"*** Copy ERROR *** : " + source, "   -> " + target};
    }
};

// Runs in a process of its own, where the library has just been loaded and no
// copy source was ever set: the exit status tells whether DoCopyTo failed as
// it should (details on the error stream otherwise).
int copyWithoutSourceInFreshLibrary() {
    Strings lines;
    QMLogServer::setObserver([&lines](const char* line) { lines.push_back(line); });
    int status = 0;
    {
        HostLibrary host;
        TempDir dir;
        const std::string target = dir.file("copy");
        const double result = host.call("DoCopyTo", target);
        const Strings expected{"*** Copy ERROR *** : (null)", "   -> " + target};
        if (result != 0.0) {
            std::fprintf(stderr, "DoCopyTo returned %g\n", result);
            status = 1;
        }
        if (lines != expected) {
            std::fprintf(stderr, "log lines:\n");
            for (const std::string& line : lines) std::fprintf(stderr, "  [%s]\n", line.c_str());
            status = 1;
        }
        if (pathExists(target)) {
            std::fprintf(stderr, "the target was created\n");
            status = 1;
        }
    }
    QMLogServer::setObserver({});
    return status;
}

}  // namespace

// ---------------------------------------------------------------- copying

// The copy source is process-wide state, so this runs in a freshly started
// copy of the test program ("threadsafe" death tests re-execute it), where
// no earlier test can have set it.
TEST(UtilityCallsDeathTest, DoCopyToBeforeAnySetCopySrcFailsAndReturnsZero) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(std::exit(copyWithoutSourceInFreshLibrary()), ::testing::ExitedWithCode(0), "");
}

TEST_F(UtilityCallsTest, DoCopyToFromAnEmptySourceFailsAndReturnsZero) {
    const std::string target = dir.file("copy");
    EXPECT_EQ(host.call("SetCopySrc", nullptr), 0.0);
    EXPECT_EQ(host.call("DoCopyTo", target), 0.0);
    EXPECT_FALSE(pathExists(target));
    EXPECT_EQ(logLines, copyErrorLines("(null)", target));

    logLines.clear();
    EXPECT_EQ(host.call("SetCopySrc", ""), 0.0);
    EXPECT_EQ(host.call("DoCopyTo", target), 0.0);
    EXPECT_FALSE(pathExists(target));
    EXPECT_EQ(logLines, copyErrorLines("", target));
}

TEST_F(UtilityCallsTest, DoCopyToCopiesTheSourceAndLogsIt) {
    const std::string source = dir.file("source.txt");
    const std::string target = dir.file("target.txt");
    writeFileBytes(source, Bytes{'a', 0, 'b', 0xFF, '\n', 'c'});
    EXPECT_EQ(host.call("SetCopySrc", source), 0.0);
    EXPECT_EQ(host.call("DoCopyTo", target), 0.0);
    EXPECT_EQ(readFileBytes(target), (Bytes{'a', 0, 'b', 0xFF, '\n', 'c'}));
    EXPECT_EQ(readFileBytes(source), (Bytes{'a', 0, 'b', 0xFF, '\n', 'c'}));
    EXPECT_EQ(logLines, copyDoneLines(source, target));
}

TEST_F(UtilityCallsTest, DoCopyToOntoItsOwnSourceLeavesItWhole) {
    const std::string source = dir.file("source.txt");
    writeFileBytes(source, Bytes{'k', 'e', 'e', 'p'});
    EXPECT_EQ(host.call("SetCopySrc", source), 0.0);
    EXPECT_EQ(host.call("DoCopyTo", source), 0.0);
    EXPECT_EQ(readFileBytes(source), (Bytes{'k', 'e', 'e', 'p'}));
    EXPECT_EQ(logLines, copyDoneLines(source, source));
}

TEST_F(UtilityCallsTest, DoCopyToCopiesAnEmptyFile) {
    const std::string source = dir.file("empty");
    const std::string target = dir.file("empty-copy");
    writeFileBytes(source, Bytes{});
    host.call("SetCopySrc", source);
    EXPECT_EQ(host.call("DoCopyTo", target), 0.0);
    ASSERT_TRUE(pathExists(target));
    EXPECT_TRUE(readFileBytes(target).empty());
    EXPECT_EQ(logLines, copyDoneLines(source, target));
}

TEST_F(UtilityCallsTest, DoCopyToReplacesAnExistingTarget) {
    const std::string source = dir.file("new");
    const std::string target = dir.file("old");
    writeFileText(source, "new");
    writeFileText(target, "old and longer");
    host.call("SetCopySrc", source);
    EXPECT_EQ(host.call("DoCopyTo", target), 0.0);
    EXPECT_EQ(readFileText(target), "new");
}

TEST_F(UtilityCallsTest, OneSourceGoesToSeveralTargets) {
    const std::string source = dir.file("source");
    writeFileText(source, "shared content\n");
    host.call("SetCopySrc", source);
    Strings expectedLines;
    for (const char* name : {"one", "two", "three"}) {
        const std::string target = dir.file(name);
        EXPECT_EQ(host.call("DoCopyTo", target), 0.0);
        EXPECT_EQ(readFileText(target), "shared content\n") << name;
        const Strings lines = copyDoneLines(source, target);
        expectedLines.insert(expectedLines.end(), lines.begin(), lines.end());
    }
    EXPECT_EQ(logLines, expectedLines);
}

TEST_F(UtilityCallsTest, SetCopySrcReplacesTheSource) {
    const std::string first = dir.file("first");
    const std::string second = dir.file("second");
    writeFileText(first, "1");
    writeFileText(second, "2");
    host.call("SetCopySrc", first);
    host.call("SetCopySrc", second);
    EXPECT_EQ(host.call("DoCopyTo", dir.file("copy")), 0.0);
    EXPECT_EQ(readFileText(dir.file("copy")), "2");
}

TEST_F(UtilityCallsTest, DoCopyToOfAMissingSourceLogsTheError) {
    const std::string source = dir.file("missing");
    const std::string target = dir.file("copy");
    host.call("SetCopySrc", source);
    EXPECT_EQ(host.call("DoCopyTo", target), 0.0);
    EXPECT_FALSE(pathExists(target));
    EXPECT_EQ(logLines, copyErrorLines(source, target));
}

TEST_F(UtilityCallsTest, DoCopyToAnUnwritableTargetLogsTheError) {
    const std::string source = dir.file("source");
    const std::string target = dir.file("no-such-folder/copy");
    writeFileText(source, "x");
    host.call("SetCopySrc", source);
    EXPECT_EQ(host.call("DoCopyTo", target), 0.0);
    EXPECT_EQ(logLines, copyErrorLines(source, target));
}

TEST_F(UtilityCallsTest, DoCopyToANullTargetLogsTheError) {
    const std::string source = dir.file("source");
    writeFileText(source, "x");
    host.call("SetCopySrc", source);
    EXPECT_EQ(host.call("DoCopyTo", nullptr), 0.0);
    EXPECT_EQ(logLines, copyErrorLines(source, "(null)"));
}

TEST_F(UtilityCallsTest, SetCopySrcWritesNoLogLine) {
    EXPECT_EQ(host.call("SetCopySrc", dir.file("x")), 0.0);
    EXPECT_TRUE(logLines.empty());
}

// ---------------------------------------------------------------- deleting

TEST_F(UtilityCallsTest, FileDeleteRemovesTheFile) {
    const std::string path = dir.file("doomed");
    writeFileText(path, "x");
    EXPECT_EQ(host.call("FileDelete", path), 0.0);
    EXPECT_FALSE(pathExists(path));
}

TEST_F(UtilityCallsTest, FileDeleteOfAMissingPathFails) {
    EXPECT_EQ(host.call("FileDelete", dir.file("missing")), -1.0);
    const std::string path = dir.file("once");
    writeFileText(path, "x");
    EXPECT_EQ(host.call("FileDelete", path), 0.0);
    EXPECT_EQ(host.call("FileDelete", path), -1.0);
}

TEST_F(UtilityCallsTest, FileDeleteOfANullTextFails) { EXPECT_EQ(host.call("FileDelete", nullptr), -1.0); }

TEST_F(UtilityCallsTest, FileDeleteWritesNoLogLine) {
    const std::string path = dir.file("doomed");
    writeFileText(path, "x");
    host.call("FileDelete", path);
    host.call("FileDelete", path);
    host.call("FileDelete", nullptr);
    EXPECT_TRUE(logLines.empty());
}

// ---------------------------------------------------------------- commands

TEST_F(UtilityCallsTest, SystemRunsTheCommandToItsEnd) {
    const std::string path = dir.file("made-by-shell");
    EXPECT_EQ(host.call("System", "sleep 0.2; printf 'hello\\n' > '" + path + "'"), 0.0);
    EXPECT_EQ(readFileText(path), "hello\n");
}

TEST_F(UtilityCallsTest, SystemIgnoresTheExitStatus) {
    EXPECT_EQ(host.call("System", "exit 3"), 0.0);
    EXPECT_EQ(host.call("System", "/no/such/program/anywhere 2>/dev/null"), 0.0);
}

TEST_F(UtilityCallsTest, SystemWithANullTextRunsNothing) { EXPECT_EQ(host.call("System", nullptr), 0.0); }

TEST_F(UtilityCallsTest, SystemWritesNoLogLine) {
    host.call("System", "true");
    EXPECT_TRUE(logLines.empty());
}

// ---------------------------------------------------------------- processors

TEST_F(UtilityCallsTest, GetNumProcsCountsTheOnlineProcessors) {
    const double count = host.call("GetNumProcs");
    EXPECT_EQ(count, static_cast<double>(sysconf(_SC_NPROCESSORS_ONLN)));
    EXPECT_EQ(count, static_cast<double>(std::thread::hardware_concurrency()));
    EXPECT_GE(count, 1.0);
    EXPECT_EQ(count, std::floor(count));
    EXPECT_TRUE(logLines.empty());
}

// ---------------------------------------------------------------- log

TEST_F(UtilityCallsTest, PrintInLogPrefixesTheText) {
    EXPECT_EQ(host.call("PrintInLog", "exporting 3 meshes"), 0.0);
    EXPECT_EQ(logLines, (Strings{"Script: exporting 3 meshes"}));
}

TEST_F(UtilityCallsTest, PrintInLogTextIsTheFormatWithoutArguments) {
    EXPECT_EQ(host.call("PrintInLog", "100% done %s"), 0.0);
    EXPECT_EQ(host.call("PrintInLog", "100%s"), 0.0);
    EXPECT_EQ(host.call("PrintInLog", "50%% %d"), 0.0);
    EXPECT_EQ(logLines, (Strings{"Script: 100% done %s", "Script: 100%s", "Script: 50% %d"}));
}

TEST_F(UtilityCallsTest, PrintInLogOfANullTextIsThePrefixAlone) {
    EXPECT_EQ(host.call("PrintInLog", nullptr), 0.0);
    EXPECT_EQ(logLines, (Strings{"Script: "}));
}
