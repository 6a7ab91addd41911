#include "support/QMOutputBuffer.h"

#include "TestFiles.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <dirent.h>
#include <string>

// The first failed write is kept with its errno; release() ends the
// background thread.

namespace {

std::size_t threadCount() { return directoryEntries("/proc/self/task").size(); }

// /dev/full accepts the open and fails every write with ENOSPC. Unbuffered,
// so each block's fwrite fails at once.
std::FILE* openFullDevice() {
    std::FILE* file = std::fopen("/dev/full", "wb");
    if (file) std::setvbuf(file, nullptr, _IONBF, 0);
    return file;
}

}  // namespace

TEST(QMOutputBufferError, AFailedBackgroundWriteIsKeptWithItsErrno) {
    std::FILE* full = openFullDevice();
    ASSERT_NE(full, nullptr);
    QMOutputBuffer buffer(16);
    buffer.attach(full);
    for (int i = 0; i < 10; ++i) buffer.append("0123456789");  // several hand-offs
    buffer.flush();
    EXPECT_EQ(buffer.error(), ENOSPC);
    EXPECT_EQ(buffer.bytesAppended(), 100u);
    buffer.attach(nullptr);
    std::fclose(full);
}

TEST(QMOutputBufferError, AFailedPassThroughWriteIsKept) {
    std::FILE* full = openFullDevice();
    ASSERT_NE(full, nullptr);
    QMOutputBuffer buffer(4);
    buffer.attach(full);
    buffer.append("longer than the buffer");
    EXPECT_EQ(buffer.error(), ENOSPC);
    buffer.attach(nullptr);
    std::fclose(full);
}

TEST(QMOutputBufferError, AttachingAnotherStreamClearsTheError) {
    TempDir dir;
    std::FILE* full = openFullDevice();
    std::FILE* good = std::fopen(dir.file("out").c_str(), "wb");
    ASSERT_NE(full, nullptr);
    ASSERT_NE(good, nullptr);
    QMOutputBuffer buffer(8);
    buffer.attach(full);
    buffer.append("0123456789");
    buffer.flush();
    ASSERT_EQ(buffer.error(), ENOSPC);
    buffer.attach(good);
    EXPECT_EQ(buffer.error(), 0);
    EXPECT_EQ(buffer.bytesAppended(), 0u);
    buffer.append("abc");
    buffer.flush();
    EXPECT_EQ(buffer.error(), 0);
    buffer.attach(nullptr);
    std::fclose(good);
    std::fclose(full);
    EXPECT_EQ(readFileText(dir.file("out")), "abc");
}

TEST(QMOutputBufferError, ReleaseEndsTheBackgroundThreadAndDropsPendingBytes) {
    TempDir dir;
    std::FILE* file = std::fopen(dir.file("out").c_str(), "wb");
    ASSERT_NE(file, nullptr);
    const std::size_t before = threadCount();
    QMOutputBuffer buffer(4);
    buffer.attach(file);
    buffer.append("abcd");
    buffer.append("efgh");  // hands "abcd" to the background thread
    EXPECT_EQ(threadCount(), before + 1);
    buffer.append("ij");
    buffer.release();
    EXPECT_EQ(threadCount(), before);
    std::fclose(file);
    EXPECT_EQ(readFileText(dir.file("out")), "abcdefgh");  // "ij" was never handed off
}
