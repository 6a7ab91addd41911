#include "support/QMString.h"

#include <gtest/gtest.h>

#include <utility>

// Construction, assignment, comparison, prefix/suffix tests, editing and
// concatenation of QMString.

// ------------------------------------------------------------------ lifetime

TEST(QMStringTest, DefaultConstructedStringIsNull) {
    QMString s;
    EXPECT_EQ(s.c_str(), nullptr);
    EXPECT_TRUE(s.empty());
    EXPECT_EQ(s.length(), 0);
    EXPECT_EQ(s.getDynMemoryUsed(), 0);
}

TEST(QMStringTest, ConstructionFromNullGivesNull) {
    QMString s(nullptr);
    EXPECT_EQ(s.c_str(), nullptr);
    EXPECT_TRUE(s.empty());
}

TEST(QMStringTest, ConstructionFromTextCopiesIt) {
    const char text[] = "model.stl";
    QMString s(text);
    EXPECT_STREQ(s.c_str(), "model.stl");
    EXPECT_NE(s.c_str(), text);
    EXPECT_EQ(s.length(), 9);
    EXPECT_FALSE(s.empty());
}

TEST(QMStringTest, EmptyTextGivesEmptyNonNullString) {
    QMString s("");
    ASSERT_NE(s.c_str(), nullptr);
    EXPECT_STREQ(s.c_str(), "");
    EXPECT_TRUE(s.empty());
    EXPECT_EQ(s.length(), 0);
    EXPECT_EQ(s.getDynMemoryUsed(), 1);
}

TEST(QMStringTest, CopyConstructionDuplicatesTheBuffer) {
    QMString a("abc");
    QMString b(a);
    EXPECT_STREQ(b.c_str(), "abc");
    EXPECT_NE(b.c_str(), a.c_str());
}

TEST(QMStringTest, CopyOfNullIsNull) {
    QMString a;
    QMString b(a);
    EXPECT_EQ(b.c_str(), nullptr);
}

TEST(QMStringTest, MoveTakesTheBufferAndLeavesSourceNull) {
    QMString a("abc");
    const char* buffer = a.c_str();
    QMString b(std::move(a));
    EXPECT_EQ(b.c_str(), buffer);
    EXPECT_EQ(a.c_str(), nullptr);

    QMString c("x");
    c = std::move(b);
    EXPECT_EQ(c.c_str(), buffer);
    EXPECT_EQ(b.c_str(), nullptr);
}

TEST(QMStringTest, AssignmentReplacesTheText) {
    QMString a("first");
    QMString b("second text");
    a = b;
    EXPECT_STREQ(a.c_str(), "second text");
    EXPECT_NE(a.c_str(), b.c_str());
    a = "third";
    EXPECT_STREQ(a.c_str(), "third");
}

TEST(QMStringTest, SelfAssignmentKeepsTheText) {
    QMString a("same");
    QMString& alias = a;
    a = alias;
    EXPECT_STREQ(a.c_str(), "same");
}

TEST(QMStringTest, AssigningNullStringMakesNull) {
    QMString a("text");
    a = QMString();
    EXPECT_EQ(a.c_str(), nullptr);
}

TEST(QMStringTest, SetReplacesTextAndNullGivesNull) {
    QMString s("old");
    s.set("new value");
    EXPECT_STREQ(s.c_str(), "new value");
    s.set(nullptr);
    EXPECT_EQ(s.c_str(), nullptr);
}

TEST(QMStringTest, SetFromOwnBufferTailWorks) {
    QMString s("prefix/tail");
    s.set(s.c_str() + 7);
    EXPECT_STREQ(s.c_str(), "tail");
}

TEST(QMStringTest, ClearReleasesToNull) {
    QMString s("abc");
    s.clear();
    EXPECT_EQ(s.c_str(), nullptr);
    EXPECT_EQ(s.length(), 0);
    s.clear();
    EXPECT_EQ(s.c_str(), nullptr);
}

TEST(QMStringTest, DynamicMemoryIsLengthPlusOne) {
    QMString s("hello");
    EXPECT_EQ(s.getDynMemoryUsed(), 6);
}

TEST(QMStringTest, MemoryUsedIsObjectPlusBuffer) {
    QMString s("hello");
    EXPECT_EQ(s.getMemoryUsed(), static_cast<int>(sizeof(QMString)) + 6);
    QMString n;
    EXPECT_EQ(n.getMemoryUsed(), static_cast<int>(sizeof(QMString)));
}

TEST(QMStringTest, ObjectHoldsOnlyOnePointer) { EXPECT_EQ(sizeof(QMString), sizeof(char*)); }

// ------------------------------------------------------------ upper-case table

TEST(QMStringTest, UpperTableMapsLowerCaseLettersOnly) {
    for (int c = 0; c < 256; ++c) {
        const int expected = (c >= 'a' && c <= 'z') ? c - 'a' + 'A' : c;
        EXPECT_EQ(QMString::s_toUpper[c], expected) << "byte " << c;
    }
}

// ---------------------------------------------------------------- comparison

TEST(QMStringTest, CmpNoCaseOfNullAgainstKeywordIsMinusOne) {
    EXPECT_EQ(QMString::cmpNoCase(nullptr, "BINARY", -1), -1);
}

TEST(QMStringTest, CmpNoCaseOfTwoNullsIsZero) { EXPECT_EQ(QMString::cmpNoCase(nullptr, nullptr, -1), 0); }

TEST(QMStringTest, NullEqualsEmptyText) {
    EXPECT_EQ(QMString::cmp(nullptr, "", 0), 0);
    EXPECT_EQ(QMString::cmp("", nullptr, 0), 0);
    EXPECT_EQ(QMString::cmpNoCase(nullptr, "", 0), 0);
    EXPECT_EQ(QMString::cmpNoCase("", nullptr, 0), 0);
}

TEST(QMStringTest, NonEmptyTextSortsAfterNull) {
    EXPECT_EQ(QMString::cmp("a", nullptr, 0), 1);
    EXPECT_EQ(QMString::cmp(nullptr, "a", 0), -1);
    EXPECT_EQ(QMString::cmpNoCase("a", nullptr, 0), 1);
}

TEST(QMStringTest, CmpOrdersByFirstDifferentByte) {
    EXPECT_EQ(QMString::cmp("abc", "abd", 0), -1);
    EXPECT_EQ(QMString::cmp("abd", "abc", 0), 1);
    EXPECT_EQ(QMString::cmp("abc", "abc", 0), 0);
}

TEST(QMStringTest, CmpShorterPrefixSortsFirst) {
    EXPECT_EQ(QMString::cmp("ab", "abc", 0), -1);
    EXPECT_EQ(QMString::cmp("abc", "ab", 0), 1);
}

TEST(QMStringTest, CmpIsCaseSensitive) {
    EXPECT_EQ(QMString::cmp("a", "A", 0), 1);
    EXPECT_EQ(QMString::cmp("BINARY", "binary", 0), -1);
}

TEST(QMStringTest, CmpSortsHighBytesBeforeAscii) {
    EXPECT_EQ(QMString::cmp("\xC3", "A", 0), -1);
    EXPECT_EQ(QMString::cmp("A", "\xC3", 0), 1);
    EXPECT_EQ(QMString::cmp("\xFF", "\x01", 0), -1);
    EXPECT_EQ(QMString::cmp("\x80", "\xFF", 0), -1);
}

TEST(QMStringTest, CmpSortsHighBytesEvenBelowTheTerminator) { EXPECT_EQ(QMString::cmp("abc", "abc\x80", 0), 1); }

TEST(QMStringTest, CmpNoCaseIgnoresLetterCase) {
    EXPECT_EQ(QMString::cmpNoCase("binary", "BINARY", -1), 0);
    EXPECT_EQ(QMString::cmpNoCase("YeS", "YES", -1), 0);
}

TEST(QMStringTest, CmpNoCaseComparesInFull) {
    EXPECT_EQ(QMString::cmpNoCase("binary ", "BINARY", -1), 1);
    EXPECT_EQ(QMString::cmpNoCase("BIN", "BINARY", -1), -1);
    EXPECT_EQ(QMString::cmpNoCase(" YES", "YES", -1), -1);
}

TEST(QMStringTest, CmpNoCaseOrdersMappedBytesUnsigned) {
    EXPECT_EQ(QMString::cmpNoCase("\xC3", "A", 0), 1);
    EXPECT_EQ(QMString::cmpNoCase("A", "\xC3", 0), -1);
}

TEST(QMStringTest, CmpNoCaseLeavesHighBytesUnfolded) {
    EXPECT_EQ(QMString::cmpNoCase("\xE9", "\xC9", 0), 1);
    EXPECT_EQ(QMString::cmpNoCase("\xE9", "\xE9", 0), 0);
}

TEST(QMStringTest, CmpNoCaseMapsLettersBeforeOrdering) {
    // '_' (0x5F) lies between 'Z' and 'a': mapped, 'a' becomes 'A' below it.
    EXPECT_EQ(QMString::cmpNoCase("a", "_", 0), -1);
    EXPECT_EQ(QMString::cmp("a", "_", 0), 1);
}

TEST(QMStringTest, CmpStopsAtTheLimit) {
    EXPECT_EQ(QMString::cmp("abcX", "abcY", 3), 0);
    EXPECT_EQ(QMString::cmp("abcX", "abcY", 4), -1);
    EXPECT_EQ(QMString::cmpNoCase("abcX", "ABCY", 3), 0);
    EXPECT_EQ(QMString::cmpNoCase("abcX", "ABCY", 4), -1);
}

TEST(QMStringTest, CmpLimitOfZeroOrLessMeansNoLimit) {
    EXPECT_EQ(QMString::cmp("abcX", "abcY", 0), -1);
    EXPECT_EQ(QMString::cmp("abcX", "abcY", -1), -1);
    EXPECT_EQ(QMString::cmpNoCase("abcX", "abcY", -7), -1);
}

TEST(QMStringTest, CmpDefaultLimitIsNone) {
    EXPECT_EQ(QMString::cmp("abcX", "abcY"), -1);
    EXPECT_EQ(QMString::cmpNoCase("abc", "ABC"), 0);
}

// ----------------------------------------------------------- prefix / suffix

TEST(QMStringTest, EmptySuffixMatchesEvenOnNullString) {
    QMString s;
    EXPECT_TRUE(s.endsWith(""));
    EXPECT_TRUE(s.endsWith(static_cast<const char*>(nullptr)));
    EXPECT_TRUE(s.endsWith(QMString()));
}

TEST(QMStringTest, EmptyPrefixMatchesEvenOnNullString) {
    QMString s;
    EXPECT_TRUE(s.startsWith(""));
    EXPECT_TRUE(s.startsWith(QMString()));
}

TEST(QMStringTest, NonEmptyAffixNeverMatchesNullString) {
    QMString s;
    EXPECT_FALSE(s.startsWith("a"));
    EXPECT_FALSE(s.endsWith("a"));
}

TEST(QMStringTest, LongerAffixNeverMatches) {
    QMString s("ab");
    EXPECT_FALSE(s.startsWith("abc"));
    EXPECT_FALSE(s.endsWith("xab"));
}

TEST(QMStringTest, WholeTextMatchesAsAffix) {
    QMString s("ab");
    EXPECT_TRUE(s.startsWith("ab"));
    EXPECT_TRUE(s.endsWith("ab"));
}

TEST(QMStringTest, EndsWithIsCaseSensitiveByDefault) {
    QMString s("model.STL");
    EXPECT_FALSE(s.endsWith(".stl"));
    EXPECT_TRUE(s.endsWith(".STL"));
}

TEST(QMStringTest, EndsWithNoCaseIgnoresLetterCase) {
    QMString s("model.STL");
    EXPECT_TRUE(s.endsWith(".stl", true));
    EXPECT_TRUE(s.endsWith(QMString(".sTl"), true));
}

TEST(QMStringTest, StartsWithComparesTheLeadingBytes) {
    QMString s("Volume:dir");
    EXPECT_TRUE(s.startsWith("Vol"));
    EXPECT_FALSE(s.startsWith("vol"));
    EXPECT_TRUE(s.startsWith("vOL", true));
    EXPECT_TRUE(s.startsWith(QMString("Volume:")));
    EXPECT_FALSE(s.startsWith("dir"));
}

TEST(QMStringTest, NoCaseAffixLeavesHighBytesUnfolded) {
    QMString s("caf\xE9");
    EXPECT_FALSE(s.endsWith("\xC9", true));
    EXPECT_TRUE(s.endsWith("F\xE9", true));
}

// ------------------------------------------------------------------- editing

TEST(QMStringTest, CutToRemovesLeadingBytes) {
    QMString s("abcdef");
    s.cutTo(2);
    EXPECT_STREQ(s.c_str(), "cdef");
    EXPECT_EQ(s.getDynMemoryUsed(), 5);
}

TEST(QMStringTest, CutToZeroOrLessChangesNothing) {
    QMString s("abcdef");
    const char* buffer = s.c_str();
    s.cutTo(0);
    s.cutTo(-4);
    EXPECT_EQ(s.c_str(), buffer);
    EXPECT_STREQ(s.c_str(), "abcdef");
}

TEST(QMStringTest, CutToLengthOrBeyondEmpties) {
    QMString a("abc");
    a.cutTo(3);
    EXPECT_TRUE(a.empty());
    EXPECT_EQ(a.length(), 0);
    QMString b("abc");
    b.cutTo(50);
    EXPECT_TRUE(b.empty());
}

TEST(QMStringTest, CutToOnNullStaysNull) {
    QMString s;
    s.cutTo(2);
    EXPECT_EQ(s.c_str(), nullptr);
}

TEST(QMStringTest, CutFromKeepsLeadingBytes) {
    QMString s("abcdef");
    s.cutFrom(3);
    EXPECT_STREQ(s.c_str(), "abc");
    EXPECT_EQ(s.length(), 3);
}

TEST(QMStringTest, CutFromAtOrBeyondLengthChangesNothing) {
    QMString s("abc");
    s.cutFrom(3);
    EXPECT_STREQ(s.c_str(), "abc");
    s.cutFrom(10);
    EXPECT_STREQ(s.c_str(), "abc");
}

TEST(QMStringTest, CutFromZeroOrNegativeEmpties) {
    QMString a("abc");
    a.cutFrom(0);
    EXPECT_STREQ(a.c_str(), "");
    QMString b("abc");
    b.cutFrom(-2);
    EXPECT_STREQ(b.c_str(), "");
}

TEST(QMStringTest, CutFromOnNullStaysNull) {
    QMString s;
    s.cutFrom(0);
    EXPECT_EQ(s.c_str(), nullptr);
}

TEST(QMStringTest, SubStringTakesHalfOpenRange) {
    QMString s("abcdef");
    EXPECT_STREQ(s.subString(1, 3).c_str(), "bc");
    EXPECT_STREQ(s.subString(0, 6).c_str(), "abcdef");
}

TEST(QMStringTest, SubStringToMinusOneOrBeyondMeansEnd) {
    QMString s("abcdef");
    EXPECT_STREQ(s.subString(2, -1).c_str(), "cdef");
    EXPECT_STREQ(s.subString(2, 100).c_str(), "cdef");
}

TEST(QMStringTest, SubStringFromAtOrBeyondLengthIsEmpty) {
    QMString s("abcdef");
    EXPECT_STREQ(s.subString(6, -1).c_str(), "");
    EXPECT_STREQ(s.subString(9, 12).c_str(), "");
}

TEST(QMStringTest, SubStringWithReversedBoundsIsEmpty) {
    QMString s("abcdef");
    EXPECT_STREQ(s.subString(4, 2).c_str(), "");
}

TEST(QMStringTest, SubStringNegativeFromStartsAtZero) {
    QMString s("abcdef");
    EXPECT_STREQ(s.subString(-3, 2).c_str(), "ab");
}

TEST(QMStringTest, SubStringOfNullIsNull) {
    QMString s;
    EXPECT_EQ(s.subString(0, -1).c_str(), nullptr);
}

TEST(QMStringTest, ToUpperMapsLettersInPlace) {
    QMString s("Mixed case 9_z\xE9");
    s.toUpper();
    EXPECT_STREQ(s.c_str(), "MIXED CASE 9_Z\xE9");
}

TEST(QMStringTest, ToUpperOnNullStaysNull) {
    QMString s;
    s.toUpper();
    EXPECT_EQ(s.c_str(), nullptr);
}

// ------------------------------------------------------------- concatenation

TEST(QMStringTest, PlusJoinsTwoStrings) {
    QMString a("ab");
    QMString b("cd");
    QMString c = a + b;
    EXPECT_STREQ(c.c_str(), "abcd");
    EXPECT_EQ(c.getDynMemoryUsed(), 5);
    EXPECT_STREQ(a.c_str(), "ab");
    EXPECT_STREQ(b.c_str(), "cd");
}

TEST(QMStringTest, PlusWithTextOnEitherSide) {
    QMString s("name");
    EXPECT_STREQ((s + ".dat").c_str(), "name.dat");
    EXPECT_STREQ(("dir/" + s).c_str(), "dir/name");
}

TEST(QMStringTest, PlusWithEmptySideCopiesTheOther) {
    QMString s("text");
    QMString left = QMString() + s;
    QMString right = s + QMString("");
    EXPECT_STREQ(left.c_str(), "text");
    EXPECT_STREQ(right.c_str(), "text");
    EXPECT_NE(left.c_str(), s.c_str());
    EXPECT_NE(right.c_str(), s.c_str());
}

TEST(QMStringTest, LiteralPlusNullStringGivesTheLiteral) {
    QMString text(nullptr);
    QMString line = "Script: " + text;
    EXPECT_STREQ(line.c_str(), "Script: ");
}

TEST(QMStringTest, NullPlusNullIsNull) {
    QMString a;
    QMString b;
    EXPECT_EQ((a + b).c_str(), nullptr);
    EXPECT_EQ((static_cast<const char*>(nullptr) + a).c_str(), nullptr);
    EXPECT_EQ((a + static_cast<const char*>(nullptr)).c_str(), nullptr);
}

TEST(QMStringTest, PlusAssignAppends) {
    QMString s("ab");
    s += "cd";
    EXPECT_STREQ(s.c_str(), "abcd");
    s += QMString("ef");
    EXPECT_STREQ(s.c_str(), "abcdef");
    EXPECT_EQ(s.getDynMemoryUsed(), 7);
}

TEST(QMStringTest, PlusAssignOntoNullCopies) {
    QMString s;
    s += "x";
    EXPECT_STREQ(s.c_str(), "x");
}

TEST(QMStringTest, PlusAssignOfEmptyChangesNothing) {
    QMString s("ab");
    const char* buffer = s.c_str();
    s += "";
    s += static_cast<const char*>(nullptr);
    s += QMString();
    EXPECT_EQ(s.c_str(), buffer);
    EXPECT_STREQ(s.c_str(), "ab");
}

TEST(QMStringTest, PlusAssignOfItselfDoublesTheText) {
    QMString s("ab");
    s += s;
    EXPECT_STREQ(s.c_str(), "abab");
    s += s.c_str() + 2;
    EXPECT_STREQ(s.c_str(), "ababab");
}
