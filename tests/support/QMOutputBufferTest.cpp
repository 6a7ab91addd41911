#include "support/QMOutputBuffer.h"

#include "TestFiles.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

std::string writeThrough(std::size_t capacity, void (*fill)(QMOutputBuffer&)) {
    TempDir dir;
    const std::string path = dir.file("out.bin");
    std::FILE* file = std::fopen(path.c_str(), "wb");
    {
        QMOutputBuffer buffer(capacity);
        buffer.attach(file);
        fill(buffer);
        buffer.flush();
    }
    std::fclose(file);
    return readFileText(path);
}

}  // namespace

TEST(QMOutputBuffer, KeepsOrderAcrossFlushes) {
    std::string text = writeThrough(8, [](QMOutputBuffer& b) {
        b.append("abc");
        b.append("defgh");
        b.append("ijklmnopqrstuvwxyz");  // longer than the buffer: passes through
        b.append("0");
    });
    EXPECT_EQ(text, "abcdefghijklmnopqrstuvwxyz0");
}

TEST(QMOutputBuffer, ReserveAndCommitWriteInPlace) {
    std::string text = writeThrough(16, [](QMOutputBuffer& b) {
        for (int i = 0; i < 10; ++i) {
            char* out = b.reserve(5);
            std::memcpy(out, "12345", 5);
            b.commit(out + 5);
        }
    });
    std::string expected;
    for (int i = 0; i < 10; ++i) expected += "12345";
    EXPECT_EQ(text, expected);
}

TEST(QMOutputBuffer, BytesWrittenWithoutStreamAreDiscarded) {
    std::string text = writeThrough(4, [](QMOutputBuffer& b) {
        b.attach(nullptr);
        b.append("more than four bytes");
        b.append("ab");
    });
    EXPECT_EQ(text, "");
}

TEST(QMOutputBuffer, ALargeBlockPassesThroughAfterWhatIsPending) {
    std::string text = writeThrough(QMOutputBuffer::kDefaultCapacity, [](QMOutputBuffer& b) {
        b.append("ab");
        const std::string block(QMOutputBuffer::kPassThroughBytes, 'x');
        b.append(block.data(), block.size());  // within the capacity, but a whole range
        b.append("cd");
        EXPECT_EQ(b.bytesAppended(), QMOutputBuffer::kPassThroughBytes + 4);
    });
    EXPECT_EQ(text, "ab" + std::string(QMOutputBuffer::kPassThroughBytes, 'x') + "cd");
}
