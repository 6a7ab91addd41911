#include "vekio/VekRandomAccess.h"

#include "TestFiles.h"

#include <gtest/gtest.h>

#include <vector>

TEST(VekRandomAccessTest, ReadsARangeOfAFileAtItsOffset) {
    TempDir dir;
    writeFileBytes(dir.file("f.vek"), {'V', 'e', 'k', 'b', 1, 2, 3, 4, 5, 6});
    const VekRandomAccess file(QMString(dir.file("f.vek").c_str()));
    ASSERT_TRUE(file.opened());
    unsigned char out[3] = {};
    EXPECT_TRUE(file.readAt(5, out, 3));
    EXPECT_EQ(std::vector<unsigned char>(out, out + 3), (std::vector<unsigned char>{2, 3, 4}));
}

TEST(VekRandomAccessTest, BytesMissingAtTheEndReadAsZero) {
    const std::vector<unsigned char> bytes = {9, 8, 7, 6};
    const VekRandomAccess memory(VekBytes{bytes.data(), bytes.size()});
    unsigned char out[4] = {1, 1, 1, 1};
    EXPECT_FALSE(memory.readAt(2, out, 4));
    EXPECT_EQ(std::vector<unsigned char>(out, out + 4), (std::vector<unsigned char>{7, 6, 0, 0}));
    EXPECT_FALSE(memory.readAt(100, out, 2));
    EXPECT_EQ(out[0], 0);

    TempDir dir;
    writeFileBytes(dir.file("f.vek"), bytes);
    const VekRandomAccess file(QMString(dir.file("f.vek").c_str()));
    unsigned char fromFile[4] = {1, 1, 1, 1};
    EXPECT_FALSE(file.readAt(2, fromFile, 4));
    EXPECT_EQ(std::vector<unsigned char>(fromFile, fromFile + 4), (std::vector<unsigned char>{7, 6, 0, 0}));
}

TEST(VekRandomAccessTest, AMissingFileOrADirectoryIsNotOpened) {
    TempDir dir;
    EXPECT_FALSE(VekRandomAccess(QMString(dir.file("none.vek").c_str())).opened());
    EXPECT_FALSE(VekRandomAccess(QMString(dir.path().c_str())).opened());
    unsigned char out[2] = {5, 5};
    EXPECT_FALSE(VekRandomAccess(QMString(dir.file("none.vek").c_str())).readAt(0, out, 2));
    EXPECT_EQ(out[0], 0);
}
