#include "support/QMDiskServer.h"

#include <gtest/gtest.h>

// File-name editing of QMDiskServer.

// --------------------------------------------------- removePathFromFilename

TEST(QMDiskServerFileNamesTest, RemovePathWithoutSeparatorKeepsName) {
    QMString name("texture.png");
    EXPECT_TRUE(QMDiskServer::removePathFromFilename(name));
    EXPECT_STREQ(name.c_str(), "texture.png");
}

TEST(QMDiskServerFileNamesTest, RemovePathKeepsTextAfterLastSeparator) {
    QMString a("/x/y/z.jpg");
    EXPECT_TRUE(QMDiskServer::removePathFromFilename(a));
    EXPECT_STREQ(a.c_str(), "z.jpg");
    QMString b("a/b\\c.png");
    EXPECT_TRUE(QMDiskServer::removePathFromFilename(b));
    EXPECT_STREQ(b.c_str(), "c.png");
    QMString c("C:\\maps\\skin.tga");
    EXPECT_TRUE(QMDiskServer::removePathFromFilename(c));
    EXPECT_STREQ(c.c_str(), "skin.tga");
}

TEST(QMDiskServerFileNamesTest, RemovePathOfNameEndingWithSeparatorIsEmpty) {
    QMString name("dir/sub/");
    EXPECT_TRUE(QMDiskServer::removePathFromFilename(name));
    EXPECT_TRUE(name.empty());
    EXPECT_EQ(name.length(), 0);
}

TEST(QMDiskServerFileNamesTest, RemovePathOfNullStaysNull) {
    QMString name;
    EXPECT_TRUE(QMDiskServer::removePathFromFilename(name));
    EXPECT_EQ(name.c_str(), nullptr);
}

// -------------------------------------------------------- makeFilenameWithExt

TEST(QMDiskServerFileNamesTest, WithExtLeavesNameThatHasTheExtension) {
    QMString name("model.stl");
    EXPECT_FALSE(QMDiskServer::makeFilenameWithExt(name, QMString("stl")));
    EXPECT_STREQ(name.c_str(), "model.stl");
}

TEST(QMDiskServerFileNamesTest, WithExtAppendsWhenCaseDiffers) {
    QMString name("model.STL");
    EXPECT_TRUE(QMDiskServer::makeFilenameWithExt(name, QMString("stl")));
    EXPECT_STREQ(name.c_str(), "model.STL.stl");
}

TEST(QMDiskServerFileNamesTest, WithExtAppendsMissingExtension) {
    QMString name("model");
    EXPECT_TRUE(QMDiskServer::makeFilenameWithExt(name, QMString(".wrl")));
    EXPECT_STREQ(name.c_str(), "model.wrl");
}

TEST(QMDiskServerFileNamesTest, WithExtNeedsTheDotToMatch) {
    QMString name("modelstl");
    EXPECT_TRUE(QMDiskServer::makeFilenameWithExt(name, QMString("stl")));
    EXPECT_STREQ(name.c_str(), "modelstl.stl");
}

TEST(QMDiskServerFileNamesTest, WithExtOnNullNameGivesTheExtension) {
    QMString name;
    EXPECT_TRUE(QMDiskServer::makeFilenameWithExt(name, QMString("stl")));
    EXPECT_STREQ(name.c_str(), ".stl");
}

TEST(QMDiskServerFileNamesTest, WithExtOfNullExtensionUsesADot) {
    QMString name("model");
    EXPECT_TRUE(QMDiskServer::makeFilenameWithExt(name, QMString()));
    EXPECT_STREQ(name.c_str(), "model.");
}

// ----------------------------------------------------- makeFilenameWithoutExt

TEST(QMDiskServerFileNamesTest, WithoutExtLeavesNameThatHasTheExtension) {
    QMString name("model.stl");
    EXPECT_FALSE(QMDiskServer::makeFilenameWithoutExt(name, QMString("stl")));
    EXPECT_STREQ(name.c_str(), "model.stl");
}

TEST(QMDiskServerFileNamesTest, WithoutExtCutsNameThatLacksTheExtension) {
    QMString name("model.obj");
    EXPECT_TRUE(QMDiskServer::makeFilenameWithoutExt(name, QMString(".stl")));
    EXPECT_STREQ(name.c_str(), "model");
}

TEST(QMDiskServerFileNamesTest, WithoutExtCutsByExtensionLengthWithItsDot) {
    QMString name("abcdefgh");
    EXPECT_TRUE(QMDiskServer::makeFilenameWithoutExt(name, QMString("xy")));
    EXPECT_STREQ(name.c_str(), "abcde");
}

TEST(QMDiskServerFileNamesTest, WithoutExtOfShortNameEmptiesIt) {
    QMString name("ab");
    EXPECT_TRUE(QMDiskServer::makeFilenameWithoutExt(name, QMString(".stl")));
    EXPECT_STREQ(name.c_str(), "");
}

TEST(QMDiskServerFileNamesTest, WithoutExtOnNullNameStaysNull) {
    QMString name;
    EXPECT_TRUE(QMDiskServer::makeFilenameWithoutExt(name, QMString("stl")));
    EXPECT_EQ(name.c_str(), nullptr);
}

// ------------------------------------------------------- fileNameHasExtension

TEST(QMDiskServerFileNamesTest, HasExtensionWithOrWithoutDot) {
    EXPECT_TRUE(QMDiskServer::fileNameHasExtension(QMString("a.stl"), QMString("stl")));
    EXPECT_TRUE(QMDiskServer::fileNameHasExtension(QMString("a.stl"), QMString(".stl")));
}

TEST(QMDiskServerFileNamesTest, HasExtensionIsCaseSensitive) {
    EXPECT_FALSE(QMDiskServer::fileNameHasExtension(QMString("a.STL"), QMString("stl")));
}

TEST(QMDiskServerFileNamesTest, HasExtensionNeedsTheDot) {
    EXPECT_FALSE(QMDiskServer::fileNameHasExtension(QMString("astl"), QMString("stl")));
}

TEST(QMDiskServerFileNamesTest, HasExtensionOfNullNameIsFalse) {
    EXPECT_FALSE(QMDiskServer::fileNameHasExtension(QMString(), QMString("stl")));
}
