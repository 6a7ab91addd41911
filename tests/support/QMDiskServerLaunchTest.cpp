#include "support/QMDiskServer.h"

#include "tests/common/TestFiles.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>

// Starting programs with QMDiskServer::launchApplication.

namespace {

QMString pathOf(const std::string& path) { return QMString(path.c_str()); }

// Writes an executable shell script.
void writeScript(const std::string& path, const std::string& body) {
    writeFileText(path, "#!/bin/sh\n" + body);
    chmod(path.c_str(), 0755);
}

// Polls for a file for up to the given time.
bool waitForFile(const std::string& path, std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (std::chrono::steady_clock::now() < deadline) {
        if (pathExists(path)) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return pathExists(path);
}

// True when this process has no child left, running or unreaped.
bool noChildLeft() {
    int status = 0;
    return waitpid(-1, &status, WNOHANG) == -1 && errno == ECHILD;
}

}  // namespace

// ------------------------------------------------------------ synchronous

TEST(QMDiskServerLaunchTest, SynchronousLaunchOfTrueSucceeds) {
    EXPECT_TRUE(QMDiskServer::launchApplication(QMString("/bin/true"), QMString(), true));
}

TEST(QMDiskServerLaunchTest, SynchronousLaunchSucceedsWhateverTheExitStatus) {
    EXPECT_TRUE(QMDiskServer::launchApplication(QMString("/bin/false"), QMString(), true));
}

TEST(QMDiskServerLaunchTest, SynchronousLaunchWaitsForTheProgram) {
    TempDir dir;
    const std::string marker = dir.file("marker");
    writeScript(dir.file("slow.sh"), "sleep 0.3\necho done > '" + marker + "'\n");
    EXPECT_TRUE(QMDiskServer::launchApplication(pathOf(dir.file("slow.sh")), QMString(), true));
    EXPECT_TRUE(pathExists(marker));
    EXPECT_TRUE(noChildLeft());
}

TEST(QMDiskServerLaunchTest, ArgumentsNeverReachTheProgram) {
    TempDir dir;
    const std::string marker = dir.file("count");
    writeScript(dir.file("count.sh"), "echo $# > '" + marker + "'\n");
    EXPECT_TRUE(QMDiskServer::launchApplication(pathOf(dir.file("count.sh")), QMString("-a b c"), true));
    EXPECT_EQ(readFileText(marker), "0\n");
}

TEST(QMDiskServerLaunchTest, LaunchPathGoesThroughTheValidPath) {
    EXPECT_TRUE(QMDiskServer::launchApplication(QMString("Disk:/bin/true"), QMString(), true));
}

// ------------------------------------------------------------ refusals

TEST(QMDiskServerLaunchTest, MissingProgramIsRefused) {
    TempDir dir;
    EXPECT_FALSE(QMDiskServer::launchApplication(pathOf(dir.file("missing")), QMString(), true));
    EXPECT_FALSE(QMDiskServer::launchApplication(pathOf(dir.file("missing")), QMString(), false));
}

TEST(QMDiskServerLaunchTest, NonExecutableFileIsRefused) {
    TempDir dir;
    const std::string marker = dir.file("marker");
    const std::string script = dir.file("plain.sh");
    writeFileText(script, "#!/bin/sh\ntouch '" + marker + "'\n");
    chmod(script.c_str(), 0644);
    EXPECT_FALSE(QMDiskServer::launchApplication(pathOf(script), QMString(), true));
    EXPECT_FALSE(QMDiskServer::launchApplication(pathOf(script), QMString(), false));
    EXPECT_FALSE(pathExists(marker));
}

TEST(QMDiskServerLaunchTest, DirectoryIsRefused) {
    TempDir dir;
    EXPECT_FALSE(QMDiskServer::launchApplication(pathOf(dir.path()), QMString(), true));
    EXPECT_FALSE(QMDiskServer::launchApplication(pathOf(dir.path()), QMString(), false));
}

TEST(QMDiskServerLaunchTest, NullPathIsRefused) {
    EXPECT_FALSE(QMDiskServer::launchApplication(QMString(), QMString(), true));
    EXPECT_FALSE(QMDiskServer::launchApplication(QMString(), QMString(), false));
}

// ------------------------------------------------------------ asynchronous

TEST(QMDiskServerLaunchTest, AsynchronousLaunchRunsTheProgram) {
    TempDir dir;
    const std::string marker = dir.file("marker");
    writeScript(dir.file("make-marker.sh"), "echo started > '" + marker + "'\n");
    EXPECT_TRUE(QMDiskServer::launchApplication(pathOf(dir.file("make-marker.sh")), QMString("ignored"), false));
    EXPECT_TRUE(waitForFile(marker, std::chrono::seconds(5)));
}

TEST(QMDiskServerLaunchTest, AsynchronousLaunchReturnsBeforeTheProgramEnds) {
    TempDir dir;
    const std::string marker = dir.file("marker");
    writeScript(dir.file("slow.sh"), "sleep 2\necho done > '" + marker + "'\n");
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(QMDiskServer::launchApplication(pathOf(dir.file("slow.sh")), QMString(), false));
    const auto elapsed = std::chrono::steady_clock::now() - start;
    EXPECT_LT(elapsed, std::chrono::milliseconds(1500));
    EXPECT_FALSE(pathExists(marker));
    // Let the program finish before its directory goes.
    EXPECT_TRUE(waitForFile(marker, std::chrono::seconds(8)));
}

TEST(QMDiskServerLaunchTest, AsynchronousLaunchLeavesNoChildBehind) {
    TempDir dir;
    const std::string marker = dir.file("marker");
    writeScript(dir.file("slow.sh"), "sleep 0.5\necho done > '" + marker + "'\n");
    EXPECT_TRUE(QMDiskServer::launchApplication(pathOf(dir.file("slow.sh")), QMString(), false));
    // The shell has been reaped and the program is not this process's child.
    EXPECT_TRUE(noChildLeft());
    EXPECT_TRUE(waitForFile(marker, std::chrono::seconds(5)));
}

TEST(QMDiskServerLaunchTest, AsynchronousLaunchHandlesAwkwardPathCharacters) {
    TempDir dir;
    const std::string marker = dir.file("marker");
    const std::string script = dir.file("my app's $HOME; `x` & y.sh");
    writeScript(script, "echo started > '" + marker + "'\n");
    EXPECT_TRUE(QMDiskServer::launchApplication(pathOf(script), QMString(), false));
    EXPECT_TRUE(waitForFile(marker, std::chrono::seconds(5)));
}
