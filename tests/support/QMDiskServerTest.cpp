#include "support/QMDiskServer.h"

#include "tests/common/ChildProcess.h"
#include "tests/common/TestFiles.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

// File operations of QMDiskServer on real files in a temporary directory.

namespace {

QMString pathOf(const std::string& path) { return QMString(path.c_str()); }

// A recognisable pattern that does not repeat with the copy buffer's period.
std::vector<unsigned char> patternBytes(size_t size) {
    std::vector<unsigned char> bytes(size);
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>((i * 7 + i / 4093) & 0xFF);
    return bytes;
}

// Restores the working directory when a test has changed it.
class WorkingDirectoryGuard {
public:
    WorkingDirectoryGuard() {
        char buffer[4096];
        if (getcwd(buffer, sizeof(buffer))) m_path = buffer;
    }
    ~WorkingDirectoryGuard() {
        if (!m_path.empty() && chdir(m_path.c_str()) != 0) std::perror("chdir");
    }
    const std::string& path() const { return m_path; }

private:
    std::string m_path;
};

}  // namespace

// ------------------------------------------------------------------ fileOpen

TEST(QMDiskServerTest, InvalidFileIsTheNullHandle) { EXPECT_EQ(QMDiskServer::s_invalidFile, nullptr); }

TEST(QMDiskServerTest, FileOpenReadsAnExistingFile) {
    TempDir dir;
    writeFileText(dir.file("a.txt"), "hello");
    FILE* file = QMDiskServer::fileOpen(pathOf(dir.file("a.txt")), "rb");
    ASSERT_NE(file, QMDiskServer::s_invalidFile);
    char buffer[8] = {};
    EXPECT_EQ(std::fread(buffer, 1, sizeof(buffer), file), 5u);
    EXPECT_STREQ(buffer, "hello");
    std::fclose(file);
}

TEST(QMDiskServerTest, FileOpenForWritingCreatesTheFile) {
    TempDir dir;
    FILE* file = QMDiskServer::fileOpen(pathOf(dir.file("new.bin")), "wb");
    ASSERT_NE(file, QMDiskServer::s_invalidFile);
    std::fputs("xyz", file);
    std::fclose(file);
    EXPECT_EQ(readFileText(dir.file("new.bin")), "xyz");
}

TEST(QMDiskServerTest, FileOpenOfMissingFileIsInvalid) {
    TempDir dir;
    EXPECT_EQ(QMDiskServer::fileOpen(pathOf(dir.file("missing")), "rb"), QMDiskServer::s_invalidFile);
}

TEST(QMDiskServerTest, FileOpenOfNullPathIsInvalid) {
    EXPECT_EQ(QMDiskServer::fileOpen(QMString(), "rb"), QMDiskServer::s_invalidFile);
}

TEST(QMDiskServerTest, FileOpenWithNullModeIsInvalid) {
    TempDir dir;
    writeFileText(dir.file("a.txt"), "a");
    EXPECT_EQ(QMDiskServer::fileOpen(pathOf(dir.file("a.txt")), nullptr), QMDiskServer::s_invalidFile);
}

TEST(QMDiskServerTest, FileOpenGoesThroughTheValidPath) {
    TempDir dir;
    writeFileText(dir.file("a.txt"), "volume");
    FILE* file = QMDiskServer::fileOpen(pathOf("Disk:" + dir.file("a.txt")), "rb");
    ASSERT_NE(file, QMDiskServer::s_invalidFile);
    std::fclose(file);
}

// ---------------------------------------------------------------- fileExists

TEST(QMDiskServerTest, FileExistsForRegularFile) {
    TempDir dir;
    writeFileText(dir.file("a.txt"), "a");
    EXPECT_TRUE(QMDiskServer::fileExists(pathOf(dir.file("a.txt"))));
}

TEST(QMDiskServerTest, FileExistsIsFalseForMissingFile) {
    TempDir dir;
    EXPECT_FALSE(QMDiskServer::fileExists(pathOf(dir.file("missing"))));
}

TEST(QMDiskServerTest, FileExistsIsFalseForDirectory) {
    TempDir dir;
    EXPECT_FALSE(QMDiskServer::fileExists(pathOf(dir.path())));
}

TEST(QMDiskServerTest, FileExistsIsTrueForSocket) {
    TempDir dir;
    const std::string socketPath = dir.file("sock");
    const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_GE(fd, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    ASSERT_LT(socketPath.size(), sizeof(address.sun_path));
    std::memcpy(address.sun_path, socketPath.c_str(), socketPath.size() + 1);
    ASSERT_EQ(bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    close(fd);
    EXPECT_TRUE(QMDiskServer::fileExists(pathOf(socketPath)));
}

TEST(QMDiskServerTest, FileExistsIsFalseForNullAndEmptyPath) {
    EXPECT_FALSE(QMDiskServer::fileExists(QMString()));
    EXPECT_FALSE(QMDiskServer::fileExists(QMString("")));
}

// ---------------------------------------------------------------- deleteFile

TEST(QMDiskServerTest, DeleteFileRemovesTheFile) {
    TempDir dir;
    writeFileText(dir.file("a.txt"), "a");
    EXPECT_TRUE(QMDiskServer::deleteFile(pathOf(dir.file("a.txt"))));
    EXPECT_FALSE(pathExists(dir.file("a.txt")));
}

TEST(QMDiskServerTest, DeleteFileOfMissingFileIsFalse) {
    TempDir dir;
    EXPECT_FALSE(QMDiskServer::deleteFile(pathOf(dir.file("missing"))));
}

TEST(QMDiskServerTest, DeleteFileOfNullPathIsFalse) { EXPECT_FALSE(QMDiskServer::deleteFile(QMString())); }

// ---------------------------------------------------------------- renameFile

TEST(QMDiskServerTest, RenameFileMovesTheFile) {
    TempDir dir;
    writeFileText(dir.file("a.txt"), "content");
    EXPECT_TRUE(QMDiskServer::renameFile(pathOf(dir.file("a.txt")), pathOf(dir.file("b.txt"))));
    EXPECT_FALSE(pathExists(dir.file("a.txt")));
    EXPECT_EQ(readFileText(dir.file("b.txt")), "content");
}

TEST(QMDiskServerTest, RenameFileOfMissingSourceIsFalse) {
    TempDir dir;
    EXPECT_FALSE(QMDiskServer::renameFile(pathOf(dir.file("missing")), pathOf(dir.file("b.txt"))));
    EXPECT_FALSE(pathExists(dir.file("b.txt")));
}

TEST(QMDiskServerTest, RenameFileToNullTargetIsFalse) {
    TempDir dir;
    writeFileText(dir.file("a.txt"), "a");
    EXPECT_FALSE(QMDiskServer::renameFile(pathOf(dir.file("a.txt")), QMString()));
    EXPECT_TRUE(pathExists(dir.file("a.txt")));
}

TEST(QMDiskServerTest, RenameFileFromNullSourceIsFalse) {
    TempDir dir;
    EXPECT_FALSE(QMDiskServer::renameFile(QMString(), pathOf(dir.file("b.txt"))));
}

TEST(QMDiskServerTest, RenameFileSourceGoesThroughTheValidPath) {
    TempDir dir;
    writeFileText(dir.file("a.txt"), "a");
    EXPECT_TRUE(QMDiskServer::renameFile(pathOf("Disk:" + dir.file("a.txt")), pathOf(dir.file("b.txt"))));
    EXPECT_TRUE(pathExists(dir.file("b.txt")));
}

TEST(QMDiskServerTest, RenameFileTargetIsUsedAsGiven) {
    // With a volume prefix the target is a relative path into a missing
    // directory, so the rename fails and the source stays.
    TempDir dir;
    writeFileText(dir.file("a.txt"), "a");
    WorkingDirectoryGuard guard;
    ASSERT_EQ(chdir(dir.path().c_str()), 0);
    EXPECT_FALSE(QMDiskServer::renameFile(pathOf(dir.file("a.txt")), pathOf("Disk:" + dir.file("b.txt"))));
    EXPECT_TRUE(pathExists(dir.file("a.txt")));
    EXPECT_FALSE(pathExists(dir.file("b.txt")));
}

// ------------------------------------------------------------------ copyFile

TEST(QMDiskServerTest, CopyOfEmptyFileCreatesEmptyTarget) {
    TempDir dir;
    writeFileBytes(dir.file("empty"), {});
    EXPECT_TRUE(QMDiskServer::copyFile(pathOf(dir.file("empty")), pathOf(dir.file("copy"))));
    ASSERT_TRUE(pathExists(dir.file("copy")));
    EXPECT_TRUE(readFileBytes(dir.file("copy")).empty());
}

TEST(QMDiskServerTest, CopyOfLargeFileIsExact) {
    TempDir dir;
    const std::vector<unsigned char> bytes = patternBytes(3 * 1048576 + 123);
    writeFileBytes(dir.file("big"), bytes);
    EXPECT_TRUE(QMDiskServer::copyFile(pathOf(dir.file("big")), pathOf(dir.file("copy"))));
    EXPECT_TRUE(readFileBytes(dir.file("copy")) == bytes);
}

TEST(QMDiskServerTest, CopyOfExactlyThreeMebibytesIsExact) {
    TempDir dir;
    const std::vector<unsigned char> bytes = patternBytes(3 * 1048576);
    writeFileBytes(dir.file("big"), bytes);
    EXPECT_TRUE(QMDiskServer::copyFile(pathOf(dir.file("big")), pathOf(dir.file("copy"))));
    const std::vector<unsigned char> copied = readFileBytes(dir.file("copy"));
    ASSERT_EQ(copied.size(), bytes.size());
    EXPECT_TRUE(copied == bytes);
}

TEST(QMDiskServerTest, CopyReplacesExistingTarget) {
    TempDir dir;
    writeFileText(dir.file("src"), "short");
    writeFileText(dir.file("dst"), "a much longer previous content");
    EXPECT_TRUE(QMDiskServer::copyFile(pathOf(dir.file("src")), pathOf(dir.file("dst"))));
    EXPECT_EQ(readFileText(dir.file("dst")), "short");
}

TEST(QMDiskServerTest, CopyFromMissingFileFailsWithoutTarget) {
    TempDir dir;
    EXPECT_FALSE(QMDiskServer::copyFile(pathOf(dir.file("missing")), pathOf(dir.file("copy"))));
    EXPECT_FALSE(pathExists(dir.file("copy")));
}

TEST(QMDiskServerTest, CopyIntoMissingDirectoryFails) {
    TempDir dir;
    writeFileText(dir.file("src"), "data");
    EXPECT_FALSE(QMDiskServer::copyFile(pathOf(dir.file("src")), pathOf(dir.file("nodir/copy"))));
    EXPECT_FALSE(pathExists(dir.file("nodir")));
    EXPECT_EQ(readFileText(dir.file("src")), "data");
}

TEST(QMDiskServerTest, CopyWithNullPathsFails) {
    TempDir dir;
    writeFileText(dir.file("src"), "data");
    EXPECT_FALSE(QMDiskServer::copyFile(QMString(), pathOf(dir.file("copy"))));
    EXPECT_FALSE(QMDiskServer::copyFile(pathOf(dir.file("src")), QMString()));
    EXPECT_FALSE(pathExists(dir.file("copy")));
}

TEST(QMDiskServerTest, CopyWithShortWriteFailsAndLeavesTheTargetAsItWas) {
    // The target is a link to the always-full device: writes come up short,
    // the copy fails, and the link (and the device) stay as they were.
    if (!pathExists("/dev/full")) GTEST_SKIP() << "no /dev/full on this system";
    TempDir dir;
    writeFileBytes(dir.file("src"), patternBytes(256 * 1024));
    ASSERT_EQ(symlink("/dev/full", dir.file("full").c_str()), 0);
    EXPECT_FALSE(QMDiskServer::copyFile(pathOf(dir.file("src")), pathOf(dir.file("full"))));
    struct stat info;
    EXPECT_EQ(lstat(dir.file("full").c_str(), &info), 0);
    EXPECT_TRUE(S_ISLNK(info.st_mode));
    EXPECT_TRUE(pathExists("/dev/full"));
}

TEST(QMDiskServerTest, ACopyThatFailsOnAFullDiskKeepsThePreviousTarget) {
    TempDir dir;
    writeFileBytes(dir.file("src"), patternBytes(256 * 1024));
    writeFileText(dir.file("dst"), "previous target");
    const int result = runInChildProcess([&] {
        if (!limitFileSize(64 * 1024)) return 2;
        return QMDiskServer::copyFile(pathOf(dir.file("src")), pathOf(dir.file("dst"))) ? 1 : 0;
    });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(readFileText(dir.file("dst")), "previous target");
    EXPECT_EQ(directoryEntries(dir.path()), (std::vector<std::string>{"dst", "src"}));
}

TEST(QMDiskServerTest, ACopyThatFailsOnAFullDiskLeavesNoNewTarget) {
    TempDir dir;
    writeFileBytes(dir.file("src"), patternBytes(256 * 1024));
    const int result = runInChildProcess([&] {
        if (!limitFileSize(64 * 1024)) return 2;
        return QMDiskServer::copyFile(pathOf(dir.file("src")), pathOf(dir.file("dst"))) ? 1 : 0;
    });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(directoryEntries(dir.path()), std::vector<std::string>{"src"});
}

TEST(QMDiskServerTest, AFileCopiedOntoItselfIsLeftUntouched) {
    TempDir dir;
    const std::vector<unsigned char> content = patternBytes(3000);
    writeFileBytes(dir.file("src"), content);
    ASSERT_EQ(link(dir.file("src").c_str(), dir.file("second name").c_str()), 0);
    ASSERT_EQ(symlink("src", dir.file("link").c_str()), 0);
    for (const char* name : {"src", "second name", "link"}) {
        EXPECT_TRUE(QMDiskServer::copyFile(pathOf(dir.file("src")), pathOf(dir.file(name)))) << name;
        EXPECT_EQ(readFileBytes(dir.file("src")), content) << name;
    }
}

TEST(QMDiskServerTest, CopyEndsAtReadErrorLikeEndOfFile) {
    // Reading a directory opened as a file fails at once; the copy stops
    // there and succeeds with an empty target.
    TempDir dir;
    ASSERT_EQ(mkdir(dir.file("sub").c_str(), 0755), 0);
    EXPECT_TRUE(QMDiskServer::copyFile(pathOf(dir.file("sub")), pathOf(dir.file("copy"))));
    ASSERT_TRUE(pathExists(dir.file("copy")));
    EXPECT_TRUE(readFileBytes(dir.file("copy")).empty());
}

// ------------------------------------------------- current path and folders

TEST(QMDiskServerTest, GetCurrentPathIsTheWorkingDirectory) {
    WorkingDirectoryGuard guard;
    const QMString current = QMDiskServer::getCurrentPath();
    EXPECT_STREQ(current.c_str(), guard.path().c_str());
}

TEST(QMDiskServerTest, OpenFolderChangesTheWorkingDirectory) {
    TempDir dir;
    WorkingDirectoryGuard guard;
    EXPECT_TRUE(QMDiskServer::openFolder(pathOf(dir.path())));
    EXPECT_STREQ(QMDiskServer::getCurrentPath().c_str(), dir.path().c_str());
}

TEST(QMDiskServerTest, OpenFolderOfMissingDirectoryFails) {
    TempDir dir;
    WorkingDirectoryGuard guard;
    EXPECT_FALSE(QMDiskServer::openFolder(pathOf(dir.file("missing"))));
    EXPECT_STREQ(QMDiskServer::getCurrentPath().c_str(), guard.path().c_str());
}

TEST(QMDiskServerTest, OpenFolderOfNullPathFails) { EXPECT_FALSE(QMDiskServer::openFolder(QMString())); }

TEST(QMDiskServerTest, GetCurrentPathIsEmptyWhenTheDirectoryIsGone) {
    TempDir dir;
    WorkingDirectoryGuard guard;
    const std::string gone = dir.file("gone");
    ASSERT_EQ(mkdir(gone.c_str(), 0755), 0);
    ASSERT_EQ(chdir(gone.c_str()), 0);
    ASSERT_EQ(rmdir(gone.c_str()), 0);
    EXPECT_TRUE(QMDiskServer::getCurrentPath().empty());
}

TEST(QMDiskServerTest, GetCurrentPathIsEmptyWhenLongerThanItsBuffer) {
    TempDir dir;
    WorkingDirectoryGuard guard;
    ASSERT_EQ(chdir(dir.path().c_str()), 0);
    const std::string component(100, 'd');
    for (int level = 0; level < 6; ++level) {
        ASSERT_EQ(mkdir(component.c_str(), 0755), 0);
        ASSERT_EQ(chdir(component.c_str()), 0);
    }
    EXPECT_TRUE(QMDiskServer::getCurrentPath().empty());
}
