#include "support/AtomicOutputFile.h"

#include "ChildProcess.h"
#include "TestFiles.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

// Symbolic links and pipes as destinations: followed only where the kernel
// would follow them for fopen, and never waited on.

namespace {

constexpr uid_t kNobody = 65534;
constexpr uid_t kOtherUser = 12345;

bool writeThrough(AtomicOutputFile& file, const std::string& path, const char* text) {
    std::FILE* stream = file.open(QMString(path.c_str()), "wb");
    if (!stream) return false;
    std::fputs(text, stream);
    return file.commit();
}

}  // namespace

TEST(AtomicOutputLinks, ALinkPlantedInASharedDirectoryByAnotherUserIsNotFollowed) {
    if (geteuid() != 0) GTEST_SKIP() << "needs root to act as two users";
    TempDir dir;
    chmod(dir.path().c_str(), 0755);
    // The victim's private file, and a sticky world-writable directory.
    const std::string privateDir = dir.file("victim"), secret = privateDir + "/secret.stl";
    std::filesystem::create_directory(privateDir);
    writeFileText(secret, "the victim's own work");
    chown(privateDir.c_str(), kNobody, kNobody);
    chown(secret.c_str(), kNobody, kNobody);
    chmod(privateDir.c_str(), 0700);
    const std::string shared = dir.file("shared");
    std::filesystem::create_directory(shared);
    chmod(shared.c_str(), 01777);
    // Another user plants a link at the name the victim will export to.
    ASSERT_EQ(runInChildProcess([&] {
                  if (setuid(kOtherUser) != 0) return 2;
                  return symlink(secret.c_str(), (shared + "/out.stl").c_str()) == 0 ? 0 : 3;
              }),
              0);
    const int result = runInChildProcess([&] {
        if (setgid(kNobody) != 0 || setuid(kNobody) != 0) return 2;
        AtomicOutputFile file;
        if (file.open(QMString((shared + "/out.stl").c_str()), "wb") != nullptr) return 1;
        return file.error() == EACCES ? 0 : 4;
    });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(readFileText(secret), "the victim's own work");
}

TEST(AtomicOutputLinks, AUsersOwnLinkInASharedDirectoryIsFollowed) {
    if (geteuid() != 0) GTEST_SKIP() << "needs root to act as another user";
    TempDir dir;
    chmod(dir.path().c_str(), 0755);
    const std::string shared = dir.file("shared");
    std::filesystem::create_directory(shared);
    chmod(shared.c_str(), 01777);
    const int result = runInChildProcess([&] {
        if (setgid(kNobody) != 0 || setuid(kNobody) != 0) return 2;
        if (symlink("target.stl", (shared + "/out.stl").c_str()) != 0) return 3;
        AtomicOutputFile file;
        return writeThrough(file, shared + "/out.stl", "mine") ? 0 : 1;
    });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(readFileText(shared + "/target.stl"), "mine");
    EXPECT_TRUE(std::filesystem::is_symlink(shared + "/out.stl"));
}

TEST(AtomicOutputLinks, ADanglingLinkMakesTheFileItPointsAtAndStaysALink) {
    TempDir dir;
    ASSERT_EQ(symlink("made.stl", dir.file("link.stl").c_str()), 0);
    AtomicOutputFile file;
    ASSERT_TRUE(writeThrough(file, dir.file("link.stl"), "through the link"));
    EXPECT_TRUE(std::filesystem::is_symlink(dir.file("link.stl")));
    EXPECT_EQ(readFileText(dir.file("made.stl")), "through the link");
}

TEST(AtomicOutputLinks, APipeWithoutAReaderFailsAtOnce) {
    TempDir dir;
    const std::string fifo = dir.file("pipe");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    AtomicOutputFile file;
    EXPECT_EQ(file.open(QMString(fifo.c_str()), "wb"), nullptr);
    EXPECT_EQ(file.error(), ENXIO);
}

TEST(AtomicOutputLinks, APipeWithAReaderIsWritten) {
    TempDir dir;
    const std::string fifo = dir.file("pipe");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const int reader = ::open(fifo.c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_GE(reader, 0);
    AtomicOutputFile file;
    ASSERT_TRUE(writeThrough(file, fifo, "through the pipe"));
    char buffer[64] = {};
    EXPECT_EQ(read(reader, buffer, sizeof buffer), 16);
    EXPECT_STREQ(buffer, "through the pipe");
    close(reader);
}
