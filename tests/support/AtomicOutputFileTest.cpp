#include "support/AtomicOutputFile.h"

#include "ChildProcess.h"
#include "TestFiles.h"

#include <gtest/gtest.h>

#include <fcntl.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

// Every test runs with nameless files (true) and with hidden named ones.
class AtomicOutputFileTest : public ::testing::TestWithParam<bool> {
protected:
    void SetUp() override { AtomicOutputFile::s_useNamelessFiles = GetParam(); }
    void TearDown() override { AtomicOutputFile::s_useNamelessFiles = true; }

    // Every name in the directory, sorted.
    std::vector<std::string> entries(const std::string& directory) const { return directoryEntries(directory); }
    std::vector<std::string> entries() const { return entries(dir.path()); }

    static void write(std::FILE* stream, const std::string& text) {
        ASSERT_EQ(std::fwrite(text.data(), 1, text.size(), stream), text.size());
    }

    static mode_t permissions(const std::string& path) {
        struct stat info;
        EXPECT_EQ(stat(path.c_str(), &info), 0);
        return info.st_mode & 07777;
    }

    TempDir dir;
};

using Names = std::vector<std::string>;

}  // namespace

TEST_P(AtomicOutputFileTest, CommitPutsTheWrittenBytesAtTheDestination) {
    AtomicOutputFile file;
    std::FILE* stream = file.open(QMString(dir.file("out.stl").c_str()), "wb");
    ASSERT_NE(stream, nullptr);
    write(stream, "solid\n");
    EXPECT_TRUE(file.commit());
    EXPECT_EQ(readFileText(dir.file("out.stl")), "solid\n");
    EXPECT_EQ(entries(), Names{"out.stl"});
    EXPECT_EQ(file.stream(), nullptr);
}

TEST_P(AtomicOutputFileTest, NothingIsVisibleInTheDirectoryBeforeCommit) {
    AtomicOutputFile file;
    std::FILE* stream = file.open(QMString(dir.file("out.stl").c_str()), "wb");
    ASSERT_NE(stream, nullptr);
    write(stream, std::string(100000, 'x'));
    ASSERT_EQ(std::fflush(stream), 0);
    if (GetParam()) {
        EXPECT_EQ(entries(), Names{});
    } else {
        // Only a hidden name beside the destination.
        ASSERT_EQ(entries().size(), 1u);
        EXPECT_EQ(entries()[0].rfind(".out.stl.", 0), 0u) << entries()[0];
    }
    EXPECT_TRUE(file.commit());
    EXPECT_EQ(readFileBytes(dir.file("out.stl")).size(), 100000u);
}

TEST_P(AtomicOutputFileTest, CommitReplacesAnExistingFileWhole) {
    writeFileText(dir.file("out.wrl"), "an older and much longer file");
    AtomicOutputFile file;
    std::FILE* stream = file.open(QMString(dir.file("out.wrl").c_str()), "w");
    ASSERT_NE(stream, nullptr);
    write(stream, "new");
    EXPECT_EQ(readFileText(dir.file("out.wrl")), "an older and much longer file");
    EXPECT_TRUE(file.commit());
    EXPECT_EQ(readFileText(dir.file("out.wrl")), "new");
    EXPECT_EQ(entries(), Names{"out.wrl"});
}

TEST_P(AtomicOutputFileTest, DiscardKeepsThePreviousFileAndLeavesNothingElse) {
    writeFileText(dir.file("out.stl"), "previous");
    AtomicOutputFile file;
    write(file.open(QMString(dir.file("out.stl").c_str()), "wb"), "half written");
    file.discard();
    EXPECT_EQ(readFileText(dir.file("out.stl")), "previous");
    EXPECT_EQ(entries(), Names{"out.stl"});
    EXPECT_FALSE(file.commit());
}

TEST_P(AtomicOutputFileTest, DestroyingAnUncommittedFileLeavesNoFile) {
    {
        AtomicOutputFile file;
        write(file.open(QMString(dir.file("out.stl").c_str()), "wb"), "abandoned");
    }
    EXPECT_EQ(entries(), Names{});
}

TEST_P(AtomicOutputFileTest, AProcessEndingBeforeCommitLeavesNoFile) {
    writeFileText(dir.file("out.stl"), "previous");
    const int result = runInChildProcess([&] {
        AtomicOutputFile file;
        std::FILE* stream = file.open(QMString(dir.file("out.stl").c_str()), "wb");
        if (!stream || std::fwrite("partial", 1, 7, stream) != 7 || std::fflush(stream) != 0) return 1;
        _exit(0);  // as if killed: no destructor, no discard
    });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(readFileText(dir.file("out.stl")), "previous");
    // A hidden named file cannot vanish with the process; a nameless one does.
    if (GetParam()) {
        EXPECT_EQ(entries(), Names{"out.stl"});
    } else {
        EXPECT_EQ(entries().size(), 2u);
    }
}

TEST_P(AtomicOutputFileTest, ASecondOpenDropsTheFirstFile) {
    AtomicOutputFile file;
    write(file.open(QMString(dir.file("first.stl").c_str()), "wb"), "first");
    write(file.open(QMString(dir.file("second.stl").c_str()), "wb"), "second");
    EXPECT_TRUE(file.commit());
    EXPECT_EQ(entries(), Names{"second.stl"});
}

TEST_P(AtomicOutputFileTest, AMissingDirectoryCannotBeOpened) {
    AtomicOutputFile file;
    EXPECT_EQ(file.open(QMString(dir.file("missing/out.stl").c_str()), "wb"), nullptr);
    EXPECT_FALSE(file.commit());
    EXPECT_EQ(entries(), Names{});
}

TEST_P(AtomicOutputFileTest, ADirectoryAsDestinationCannotBeOpened) {
    std::filesystem::create_directory(dir.file("folder.stl"));
    AtomicOutputFile file;
    EXPECT_EQ(file.open(QMString(dir.file("folder.stl").c_str()), "wb"), nullptr);
    EXPECT_TRUE(std::filesystem::is_directory(dir.file("folder.stl")));
}

TEST_P(AtomicOutputFileTest, NullOrEmptyPathOrModeCannotBeOpened) {
    AtomicOutputFile file;
    EXPECT_EQ(file.open(QMString(), "wb"), nullptr);
    EXPECT_EQ(file.open(QMString(""), "wb"), nullptr);
    EXPECT_EQ(file.open(QMString(dir.file("out.stl").c_str()), nullptr), nullptr);
    EXPECT_EQ(entries(), Names{});
}

TEST_P(AtomicOutputFileTest, AWritableFileInAReadOnlyDirectoryIsWrittenInPlace) {
    // fopen would write it: the directory only refuses the new file.
    const std::string folder = dir.file("readonly");
    std::filesystem::create_directory(folder);
    writeFileText(folder + "/out.stl", "previous content");
    chmod(dir.path().c_str(), 0755);
    chmod((folder + "/out.stl").c_str(), 0666);
    chmod(folder.c_str(), 0555);
    const int result = runInChildProcess([&] {
        if (!dropRootPrivileges()) return 2;
        AtomicOutputFile file;
        std::FILE* stream = file.open(QMString((folder + "/out.stl").c_str()), "wb");
        if (!stream || !file.inPlace()) return 3;
        std::fputs("new", stream);
        return file.commit() ? 0 : 4;
    });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(readFileText(folder + "/out.stl"), "new");
    EXPECT_EQ(entries(folder), Names{"out.stl"});
}

TEST_P(AtomicOutputFileTest, AReadOnlyDirectoryTakesNoNewFile) {
    const std::string folder = dir.file("readonly");
    std::filesystem::create_directory(folder);
    chmod(dir.path().c_str(), 0755);
    chmod(folder.c_str(), 0555);
    const int result = runInChildProcess([&] {
        if (!dropRootPrivileges()) return 2;
        AtomicOutputFile file;
        if (file.open(QMString((folder + "/out.stl").c_str()), "wb") != nullptr) return 1;
        return file.error() == EACCES ? 0 : 3;
    });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(entries(folder), Names{});
}

TEST_P(AtomicOutputFileTest, AReadOnlyExistingFileIsNotReplaced) {
    writeFileText(dir.file("out.stl"), "keep me");
    chmod(dir.path().c_str(), 0777);
    chmod(dir.file("out.stl").c_str(), 0444);
    const int result = runInChildProcess([&] {
        if (!dropRootPrivileges()) return 2;
        AtomicOutputFile file;
        return file.open(QMString(dir.file("out.stl").c_str()), "wb") == nullptr ? 0 : 1;
    });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(readFileText(dir.file("out.stl")), "keep me");
    EXPECT_EQ(entries(), Names{"out.stl"});
}

TEST_P(AtomicOutputFileTest, AWriteBeyondTheFileSizeLimitFailsTheCommit) {
    writeFileText(dir.file("out.stl"), "previous");
    const int result = runInChildProcess([&] {
        if (!limitFileSize(4096)) return 2;
        AtomicOutputFile file;
        std::FILE* stream = file.open(QMString(dir.file("out.stl").c_str()), "wb");
        if (!stream) return 3;
        const std::string block(10000, 'x');
        std::fwrite(block.data(), 1, block.size(), stream);
        return file.commit() ? 1 : 0;
    });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(readFileText(dir.file("out.stl")), "previous");
    EXPECT_EQ(entries(), Names{"out.stl"});
}

TEST_P(AtomicOutputFileTest, TheReplacedFileKeepsItsPermissions) {
    writeFileText(dir.file("out.stl"), "previous");
    chmod(dir.file("out.stl").c_str(), 0640);
    AtomicOutputFile file;
    write(file.open(QMString(dir.file("out.stl").c_str()), "wb"), "new");
    ASSERT_TRUE(file.commit());
    EXPECT_EQ(permissions(dir.file("out.stl")), 0640u);
}

TEST_P(AtomicOutputFileTest, ANewFileGetsTheUsualPermissionsLessTheUmask) {
    const int result = runInChildProcess([&] {
        umask(027);
        AtomicOutputFile file;
        std::FILE* stream = file.open(QMString(dir.file("out.stl").c_str()), "wb");
        return stream && file.commit() ? 0 : 1;
    });
    ASSERT_EQ(result, 0);
    EXPECT_EQ(permissions(dir.file("out.stl")), 0640u);
}

TEST_P(AtomicOutputFileTest, ASymbolicLinkKeepsPointingAtTheNewFile) {
    std::filesystem::create_directory(dir.file("real"));
    writeFileText(dir.file("real/target.stl"), "previous");
    std::filesystem::create_symlink(dir.file("real/target.stl"), dir.file("link.stl"));
    AtomicOutputFile file;
    write(file.open(QMString(dir.file("link.stl").c_str()), "wb"), "new");
    ASSERT_TRUE(file.commit());
    EXPECT_TRUE(std::filesystem::is_symlink(dir.file("link.stl")));
    EXPECT_EQ(readFileText(dir.file("real/target.stl")), "new");
    EXPECT_EQ(entries(dir.file("real")), Names{"target.stl"});
}

TEST_P(AtomicOutputFileTest, ARelativePathIsReplacedInTheWorkingDirectory) {
    const std::string previous = std::filesystem::current_path().string();
    std::filesystem::current_path(dir.path());
    AtomicOutputFile file;
    write(file.open(QMString("relative.stl"), "wb"), "here");
    EXPECT_TRUE(file.commit());
    std::filesystem::current_path(previous);
    EXPECT_EQ(readFileText(dir.file("relative.stl")), "here");
}

TEST_P(AtomicOutputFileTest, APipeIsWrittenInPlaceAndStaysAPipe) {
    const std::string pipe = dir.file("pipe.stl");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0644), 0);
    // The reader is there before the export opens the pipe (one without a
    // reader fails at once); it reads until the writer closes.
    const int readEnd = ::open(pipe.c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_GE(readEnd, 0);
    fcntl(readEnd, F_SETFL, 0);
    AtomicOutputFile file;
    std::FILE* stream = file.open(QMString(pipe.c_str()), "wb");
    ASSERT_NE(stream, nullptr);
    // Read once a writer is there: before, a read would see the end at once.
    std::string received;
    std::thread reader([&] {
        char buffer[256];
        for (ssize_t got; (got = read(readEnd, buffer, sizeof buffer)) > 0;) received.append(buffer, std::size_t(got));
    });
    write(stream, "through the pipe");
    EXPECT_TRUE(file.commit());
    reader.join();
    close(readEnd);
    EXPECT_EQ(received, "through the pipe");
    struct stat info;
    ASSERT_EQ(lstat(pipe.c_str(), &info), 0);
    EXPECT_TRUE(S_ISFIFO(info.st_mode));
    EXPECT_EQ(entries(), Names{"pipe.stl"});
}

TEST_P(AtomicOutputFileTest, ADeviceIsWrittenInPlaceAndStaysADevice) {
    // A node of the null device inside the test's own directory.
    const std::string device = dir.file("null.stl");
    if (mknod(device.c_str(), S_IFCHR | 0666, makedev(1, 3)) != 0) GTEST_SKIP() << "cannot make a device node here";
    AtomicOutputFile file;
    write(file.open(QMString(device.c_str()), "wb"), "discarded");
    EXPECT_TRUE(file.commit());
    struct stat info;
    ASSERT_EQ(lstat(device.c_str(), &info), 0);
    EXPECT_TRUE(S_ISCHR(info.st_mode));
    EXPECT_EQ(entries(), Names{"null.stl"});
}

TEST_P(AtomicOutputFileTest, AFileWithSeveralNamesIsWrittenInPlace) {
    writeFileText(dir.file("out.stl"), "previous");
    ASSERT_EQ(link(dir.file("out.stl").c_str(), dir.file("other-name.stl").c_str()), 0);
    AtomicOutputFile file;
    write(file.open(QMString(dir.file("out.stl").c_str()), "wb"), "new");
    EXPECT_TRUE(file.commit());
    EXPECT_EQ(readFileText(dir.file("out.stl")), "new");
    EXPECT_EQ(readFileText(dir.file("other-name.stl")), "new");
}

TEST_P(AtomicOutputFileTest, TheReplacedFileKeepsItsOwner) {
    if (geteuid() != 0) GTEST_SKIP() << "only root may give a file to another owner";
    writeFileText(dir.file("out.stl"), "previous");
    ASSERT_EQ(chown(dir.file("out.stl").c_str(), 65534, 65534), 0);
    AtomicOutputFile file;
    write(file.open(QMString(dir.file("out.stl").c_str()), "wb"), "new");
    ASSERT_TRUE(file.commit());
    struct stat info;
    ASSERT_EQ(stat(dir.file("out.stl").c_str(), &info), 0);
    EXPECT_EQ(info.st_uid, 65534u);
    EXPECT_EQ(info.st_gid, 65534u);
}

INSTANTIATE_TEST_SUITE_P(NamelessAndNamed, AtomicOutputFileTest, ::testing::Bool(),
                         [](const ::testing::TestParamInfo<bool>& info) {
                             return info.param ? "Nameless" : "HiddenName";
                         });
