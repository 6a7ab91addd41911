#include "support/QMString.h"

#include <gtest/gtest.h>

// File-name operations and number/time texts of QMString.

// ----------------------------------------------------------- getValidFilePath

TEST(QMStringFileNamesTest, ValidPathOfRelativePathStartsAtFirstSlash) {
    QMString s("dir/file.stl");
    EXPECT_STREQ(s.getValidFilePath(), "/file.stl");
}

TEST(QMStringFileNamesTest, ValidPathOfAbsolutePathIsWhole) {
    QMString s("/abs/x");
    EXPECT_STREQ(s.getValidFilePath(), "/abs/x");
    EXPECT_EQ(s.getValidFilePath(), s.c_str());
}

TEST(QMStringFileNamesTest, ValidPathDropsVolumeAndFirstComponent) {
    QMString s("Vol:dir/sub/f");
    EXPECT_STREQ(s.getValidFilePath(), "/sub/f");
}

TEST(QMStringFileNamesTest, ValidPathSkipsOnlyTheFirstColon) {
    QMString s(":/abs/a:b");
    EXPECT_STREQ(s.getValidFilePath(), "/abs/a:b");
}

TEST(QMStringFileNamesTest, ValidPathOfBareNameIsWhole) {
    QMString s("file.stl");
    EXPECT_STREQ(s.getValidFilePath(), "file.stl");
}

TEST(QMStringFileNamesTest, ValidPathWithoutSlashAfterColonIsTheRest) {
    QMString s("Vol:name");
    EXPECT_STREQ(s.getValidFilePath(), "name");
}

TEST(QMStringFileNamesTest, ValidPathPointsIntoOwnBuffer) {
    QMString s("Vol:dir/sub/f");
    EXPECT_EQ(s.getValidFilePath(), s.c_str() + 7);
}

TEST(QMStringFileNamesTest, ValidPathOfNullIsNull) {
    QMString s;
    EXPECT_EQ(s.getValidFilePath(), nullptr);
}

TEST(QMStringFileNamesTest, ValidPathOfEmptyIsEmpty) {
    QMString s("");
    EXPECT_STREQ(s.getValidFilePath(), "");
}

// ---------------------------------------------------------------- getFileName

TEST(QMStringFileNamesTest, FileNameDropsDirectoryAndExtension) {
    EXPECT_STREQ(QMString("/a/b/model.stl").getFileName().c_str(), "model");
    EXPECT_STREQ(QMString("C:\\dir\\tex.png").getFileName().c_str(), "tex");
}

TEST(QMStringFileNamesTest, FileNameWithoutExtensionRunsToTheEnd) {
    EXPECT_STREQ(QMString("noext").getFileName().c_str(), "noext");
    EXPECT_STREQ(QMString("dir.v2/file").getFileName().c_str(), "file");
}

TEST(QMStringFileNamesTest, FileNameStopsAtTheLastDot) {
    EXPECT_STREQ(QMString("a/b.c.d").getFileName().c_str(), "b.c");
}

TEST(QMStringFileNamesTest, FileNameIsEmptyWhenNothingRemains) {
    EXPECT_TRUE(QMString("dir/").getFileName().empty());
    EXPECT_TRUE(QMString("dir/.hidden").getFileName().empty());
    EXPECT_TRUE(QMString().getFileName().empty());
}

// ------------------------------------------------------------ fileNameAdvance

namespace {

const char* advanced(const char* name, QMString& holder) {
    holder = QMString(name);
    holder.fileNameAdvance();
    return holder.c_str();
}

}  // namespace

TEST(QMStringFileNamesTest, AdvanceOfEmptyIsOne) {
    QMString s;
    EXPECT_STREQ(advanced("", s), "1");
    QMString n;
    n.fileNameAdvance();
    EXPECT_STREQ(n.c_str(), "1");
}

TEST(QMStringFileNamesTest, AdvanceOfNineIsTen) {
    QMString s;
    EXPECT_STREQ(advanced("9", s), "10");
}

TEST(QMStringFileNamesTest, AdvanceOfNineWithExtensionIsTen) {
    QMString s;
    EXPECT_STREQ(advanced("9.dat", s), "10.dat");
}

TEST(QMStringFileNamesTest, AdvanceOfAllNinesGrows) {
    QMString s;
    EXPECT_STREQ(advanced("99.dat", s), "100.dat");
}

TEST(QMStringFileNamesTest, AdvanceOfNameWithoutNumberAppendsOne) {
    QMString s;
    EXPECT_STREQ(advanced("name.dat", s), "name1.dat");
    EXPECT_STREQ(advanced("name", s), "name1");
}

TEST(QMStringFileNamesTest, AdvanceOfNameEndingInNineAddsADigit) {
    QMString s;
    EXPECT_STREQ(advanced("name9.dat", s), "name10.dat");
}

TEST(QMStringFileNamesTest, AdvanceCarriesIntoLowerDigit) {
    QMString s;
    EXPECT_STREQ(advanced("a19.x", s), "a20.x");
    EXPECT_STREQ(advanced("a09", s), "a10");
    EXPECT_STREQ(advanced("v1.2.dat", s), "v1.3.dat");
}

TEST(QMStringFileNamesTest, AdvanceIncrementsLastDigit) {
    QMString s;
    EXPECT_STREQ(advanced("file7.vek", s), "file8.vek");
}

TEST(QMStringFileNamesTest, AdvanceIgnoresDotInDirectory) {
    QMString s;
    EXPECT_STREQ(advanced("dir.v9/name", s), "dir.v9/name1");
    EXPECT_STREQ(advanced("dir/99.dat", s), "dir/100.dat");
}

TEST(QMStringFileNamesTest, AdvanceOfBareExtensionPutsOneInFront) {
    QMString s;
    EXPECT_STREQ(advanced(".dat", s), "1.dat");
}

// ----------------------------------------------------------- printShortCount

namespace {

const char* shortCount(int n, QMString& holder) {
    holder.printShortCount(n);
    return holder.c_str();
}

}  // namespace

TEST(QMStringFileNamesTest, ShortCountOfMillions) {
    QMString s;
    EXPECT_STREQ(shortCount(1234567, s), "1.2m");
    EXPECT_STREQ(shortCount(1000000, s), "1.0m");
    EXPECT_STREQ(shortCount(1999999, s), "1.9m");
    EXPECT_STREQ(shortCount(12000000, s), "12.0m");
}

TEST(QMStringFileNamesTest, ShortCountOfThousands) {
    QMString s;
    EXPECT_STREQ(shortCount(12345, s), "12.3k");
    EXPECT_STREQ(shortCount(1000, s), "1.0k");
    EXPECT_STREQ(shortCount(1050, s), "1.0k");
    EXPECT_STREQ(shortCount(999999, s), "999.9k");
}

TEST(QMStringFileNamesTest, ShortCountBelowAThousandIsPlain) {
    QMString s;
    EXPECT_STREQ(shortCount(999, s), "999");
    EXPECT_STREQ(shortCount(0, s), "0");
    EXPECT_STREQ(shortCount(7, s), "7");
}

TEST(QMStringFileNamesTest, ShortCountReplacesPreviousText) {
    QMString s("old text");
    s.printShortCount(42);
    EXPECT_STREQ(s.c_str(), "42");
    EXPECT_EQ(s.getDynMemoryUsed(), 3);
}

// ----------------------------------------------------------------- printTime

namespace {

const char* timeText(int milliseconds, bool withMilliseconds, QMString& holder) {
    holder.printTime(milliseconds, withMilliseconds);
    return holder.c_str();
}

}  // namespace

TEST(QMStringFileNamesTest, TimeOfSecondsOnly) {
    QMString s;
    EXPECT_STREQ(timeText(0, false, s), "0s");
    EXPECT_STREQ(timeText(5000, false, s), "5s");
    EXPECT_STREQ(timeText(59999, false, s), "59s");
}

TEST(QMStringFileNamesTest, TimeOfMinutesPadsSeconds) {
    QMString s;
    EXPECT_STREQ(timeText(61000, false, s), "1m 01s");
    EXPECT_STREQ(timeText(600000, false, s), "10m 00s");
}

TEST(QMStringFileNamesTest, TimeOfHours) {
    QMString s;
    EXPECT_STREQ(timeText(3723004, false, s), "1h 02m 03s");
}

TEST(QMStringFileNamesTest, TimeOfDays) {
    QMString s;
    EXPECT_STREQ(timeText(172807000, false, s), "2d 00h 00m 07s");
    EXPECT_STREQ(timeText(90061001, false, s), "1d 01h 01m 01s");
}

TEST(QMStringFileNamesTest, TimeWithMillisecondsAppendsThreeDigits) {
    QMString s;
    EXPECT_STREQ(timeText(3723004, true, s), "1h 02m 03s 004ms");
    EXPECT_STREQ(timeText(999, true, s), "0s 999ms");
    EXPECT_STREQ(timeText(0, true, s), "0s 000ms");
}

TEST(QMStringFileNamesTest, TimeOfNegativeCountsAsZero) {
    QMString s;
    EXPECT_STREQ(timeText(-5, false, s), "0s");
}
