#include "support/AtomicOutputFile.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <string>
#include <thread>
#include <unistd.h>

// A destination that cannot seek (a pipe) gets the file only when it is
// complete, through a scratch file, so that a writer may seek back in it.

namespace {

// A pipe whose read end is drained by a thread into `received`.
class DrainedPipe {
public:
    DrainedPipe() {
        EXPECT_EQ(pipe(m_fds), 0);
        m_reader = std::thread([this] {
            char buffer[4096];
            for (ssize_t got; (got = read(m_fds[0], buffer, sizeof buffer)) > 0;) m_received.append(buffer, got);
        });
    }
    ~DrainedPipe() { finish(); }
    std::string writePath() const { return "/proc/self/fd/" + std::to_string(m_fds[1]); }
    // Closes the write end and waits for everything sent.
    const std::string& finish() {
        if (m_fds[1] >= 0) close(m_fds[1]);
        m_fds[1] = -1;
        if (m_reader.joinable()) m_reader.join();
        if (m_fds[0] >= 0) close(m_fds[0]);
        m_fds[0] = -1;
        return m_received;
    }

private:
    int m_fds[2] = {-1, -1};
    std::string m_received;
    std::thread m_reader;
};

}  // namespace

TEST(AtomicOutputStream, APipeReceivesTheFileWithItsSeekBackApplied) {
    DrainedPipe pipe;
    AtomicOutputFile output;
    std::FILE* stream = output.open(QMString(pipe.writePath().c_str()), "wb");
    ASSERT_NE(stream, nullptr);
    EXPECT_TRUE(output.inPlace());
    std::fputs("header ????, body", stream);
    std::fseek(stream, 7, SEEK_SET);
    std::fputs("1234", stream);
    EXPECT_TRUE(output.commit());
    EXPECT_EQ(pipe.finish(), "header 1234, body");
}

TEST(AtomicOutputStream, ADiscardedFileSendsNothingToThePipe) {
    DrainedPipe pipe;
    AtomicOutputFile output;
    std::FILE* stream = output.open(QMString(pipe.writePath().c_str()), "wb");
    ASSERT_NE(stream, nullptr);
    std::fputs("half an export", stream);
    output.discard();
    EXPECT_EQ(pipe.finish(), "");
}

TEST(AtomicOutputStream, AReaderThatIsGoneFailsTheCommit) {
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    close(fds[0]);
    std::signal(SIGPIPE, SIG_IGN);
    AtomicOutputFile output;
    std::FILE* stream = output.open(QMString(("/proc/self/fd/" + std::to_string(fds[1])).c_str()), "wb");
    ASSERT_NE(stream, nullptr);
    std::fputs("nobody reads this", stream);
    EXPECT_FALSE(output.commit());
    EXPECT_EQ(output.error(), EPIPE);
    close(fds[1]);
}
