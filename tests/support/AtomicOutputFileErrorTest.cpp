#include "support/AtomicOutputFile.h"

#include "TestFiles.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>

// Why an output could not be opened or put in place, as the errno a caller
// can print.

TEST(AtomicOutputFileError, AMissingDirectoryIsENOENT) {
    TempDir dir;
    AtomicOutputFile output;
    EXPECT_EQ(output.open(QMString(dir.file("missing/out.stl").c_str()), "wb"), nullptr);
    EXPECT_EQ(output.error(), ENOENT);
}

TEST(AtomicOutputFileError, ADirectoryIsEISDIR) {
    TempDir dir;
    AtomicOutputFile output;
    EXPECT_EQ(output.open(QMString(dir.path().c_str()), "wb"), nullptr);
    EXPECT_EQ(output.error(), EISDIR);
}

TEST(AtomicOutputFileError, ASuccessfulOpenAndCommitLeaveNoError) {
    TempDir dir;
    AtomicOutputFile output;
    std::FILE* stream = output.open(QMString(dir.file("out.stl").c_str()), "wb");
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(output.error(), 0);
    EXPECT_FALSE(output.inPlace());
    std::fputs("solid", stream);
    EXPECT_TRUE(output.commit());
    EXPECT_EQ(output.error(), 0);
    EXPECT_EQ(readFileText(dir.file("out.stl")), "solid");
}

TEST(AtomicOutputFileError, AFailedCommitInPlaceGivesTheWriteError) {
    // A device is written in place; /dev/full fails the buffered write when
    // the stream is flushed.
    AtomicOutputFile output;
    std::FILE* stream = output.open(QMString("/dev/full"), "wb");
    ASSERT_NE(stream, nullptr);
    EXPECT_TRUE(output.inPlace());
    std::fputs("more than nothing", stream);
    EXPECT_FALSE(output.commit());
    EXPECT_EQ(output.error(), ENOSPC);
}
