#include "support/QMString.h"

#include <gtest/gtest.h>

// Character-set and whole-text searches of QMString.

// ------------------------------------------------------- character-set scans

TEST(QMStringSearchTest, FindFirstCharOfGivesLowestIndex) {
    QMString s("a/b\\c/d");
    EXPECT_EQ(s.findFirstCharOf("/\\"), 1);
    EXPECT_EQ(s.findFirstCharOf("\\"), 3);
    EXPECT_EQ(s.findFirstCharOf("xyz"), -1);
}

TEST(QMStringSearchTest, FindLastCharOfGivesHighestIndex) {
    QMString s("a/b\\c/d");
    EXPECT_EQ(s.findLastCharOf("/\\"), 5);
    EXPECT_EQ(s.findLastCharOf("\\"), 3);
    EXPECT_EQ(s.findLastCharOf("xyz"), -1);
}

TEST(QMStringSearchTest, FindLastCharOfWithoutSeparatorIsMinusOne) {
    QMString s("name.png");
    EXPECT_EQ(s.findLastCharOf("/\\"), -1);
}

TEST(QMStringSearchTest, CharSetSearchesFindHighBytes) {
    QMString s("caf\xE9 \xE9t\xE9");
    EXPECT_EQ(s.findFirstCharOf("\xE9"), 3);
    EXPECT_EQ(s.findLastCharOf("\xE9"), 7);
    EXPECT_EQ(s.findFirstCharNotOf("caf\xE9"), 4);
}

TEST(QMStringSearchTest, NullOrEmptySetContainsNothing) {
    QMString s("abc");
    EXPECT_EQ(s.findFirstCharOf(nullptr), -1);
    EXPECT_EQ(s.findLastCharOf(""), -1);
    EXPECT_EQ(s.findFirstCharNotOf(nullptr), 0);
    EXPECT_EQ(s.findLastCharNotOf(""), 2);
}

TEST(QMStringSearchTest, CharSetSearchesOnNullStringFindNothing) {
    QMString s;
    EXPECT_EQ(s.findFirstCharOf("a"), -1);
    EXPECT_EQ(s.findLastCharOf("a"), -1);
    EXPECT_EQ(s.findNextCharOf("a", -1), -1);
    EXPECT_EQ(s.findPrevCharOf("a", 5), -1);
    EXPECT_EQ(s.findFirstCharNotOf("a"), -1);
    EXPECT_EQ(s.findLastCharNotOf("a"), -1);
    EXPECT_EQ(s.findNextCharNotOf("a", -1), -1);
    EXPECT_EQ(s.findPrevCharNotOf("a", 5), -1);
}

TEST(QMStringSearchTest, FindNextCharOfStartsAfterFrom) {
    QMString s("a/b/c");
    EXPECT_EQ(s.findNextCharOf("/", 0), 1);
    EXPECT_EQ(s.findNextCharOf("/", 1), 3);
    EXPECT_EQ(s.findNextCharOf("/", 3), -1);
}

TEST(QMStringSearchTest, FindNextCharOfFromBelowZeroStartsAtZero) {
    QMString s("/a");
    EXPECT_EQ(s.findNextCharOf("/", -1), 0);
    EXPECT_EQ(s.findNextCharOf("/", -10), 0);
}

TEST(QMStringSearchTest, FindNextCharOfFromBeyondEndIsMinusOne) {
    QMString s("a/b/c");
    EXPECT_EQ(s.findNextCharOf("/", 4), -1);
    EXPECT_EQ(s.findNextCharOf("/", 100), -1);
}

TEST(QMStringSearchTest, FindPrevCharOfStartsBeforeFrom) {
    QMString s("a/b/c");
    EXPECT_EQ(s.findPrevCharOf("/", 4), 3);
    EXPECT_EQ(s.findPrevCharOf("/", 3), 1);
    EXPECT_EQ(s.findPrevCharOf("/", 1), -1);
    EXPECT_EQ(s.findPrevCharOf("/", 0), -1);
    EXPECT_EQ(s.findPrevCharOf("/", -5), -1);
}

TEST(QMStringSearchTest, FindPrevCharOfFromBeyondEndStartsAtLastByte) {
    QMString s("a/b/");
    EXPECT_EQ(s.findPrevCharOf("/", 100), 3);
}

TEST(QMStringSearchTest, FindCharNotOfSkipsSetBytes) {
    QMString s("  abc  ");
    EXPECT_EQ(s.findFirstCharNotOf(" "), 2);
    EXPECT_EQ(s.findLastCharNotOf(" "), 4);
    EXPECT_EQ(s.findNextCharNotOf(" ", 2), 3);
    EXPECT_EQ(s.findNextCharNotOf(" ", 4), -1);
    EXPECT_EQ(s.findPrevCharNotOf(" ", 4), 3);
    EXPECT_EQ(s.findPrevCharNotOf(" ", 2), -1);
}

TEST(QMStringSearchTest, FindCharNotOfWhenEveryByteIsInSet) {
    QMString s("aaaa");
    EXPECT_EQ(s.findFirstCharNotOf("a"), -1);
    EXPECT_EQ(s.findLastCharNotOf("a"), -1);
}

TEST(QMStringSearchTest, TerminatorIsNeverFound) {
    QMString s("");
    EXPECT_EQ(s.findFirstCharNotOf("x"), -1);
    EXPECT_EQ(s.findLastCharNotOf("x"), -1);
}

// ------------------------------------------------------------ findFirst

TEST(QMStringSearchTest, FindFirstFindsTextEndingEarly) {
    QMString s("hello world");
    EXPECT_EQ(s.findFirst("lo"), 3);
    EXPECT_EQ(s.findFirst("o"), 4);
    EXPECT_EQ(s.findFirst("hello"), 0);
}

TEST(QMStringSearchTest, FindFirstMissesOneByteNeedleAtLastPosition) {
    QMString s("abcd");
    EXPECT_EQ(s.findFirst("d"), -1);
    EXPECT_EQ(s.findFirst("c"), 2);
}

TEST(QMStringSearchTest, FindFirstMissesMatchEndingInTheLastNeedleLengthBytes) {
    // The scan stops before position length - length(needle): 6 for a
    // five-byte needle, 9 for a two-byte one.
    QMString s("hello world");
    EXPECT_EQ(s.findFirst("world"), -1);
    EXPECT_EQ(s.findFirst("o w"), 4);
    EXPECT_EQ(s.findFirst("wo"), 6);
    EXPECT_EQ(s.findFirst("rl"), -1);
}

TEST(QMStringSearchTest, FindFirstOfWholeStringIsMinusOne) {
    QMString s("abc");
    EXPECT_EQ(s.findFirst("abc"), -1);
}

TEST(QMStringSearchTest, FindFirstOfEmptyOrLongerNeedleIsMinusOne) {
    QMString s("abc");
    EXPECT_EQ(s.findFirst(""), -1);
    EXPECT_EQ(s.findFirst(nullptr), -1);
    EXPECT_EQ(s.findFirst("abcd"), -1);
}

TEST(QMStringSearchTest, FindFirstOnNullStringIsMinusOne) {
    QMString s;
    EXPECT_EQ(s.findFirst("a"), -1);
    EXPECT_EQ(s.findFirst("a", true), -1);
}

TEST(QMStringSearchTest, FindFirstRestartsOnTheNeedlesFirstByte) {
    QMString s("aabxxx");
    EXPECT_EQ(s.findFirst("ab"), 1);
}

TEST(QMStringSearchTest, FindFirstMissesOccurrenceStartingInsidePartialMatch) {
    // "aab" occurs at 1, but the scan never backtracks to retry it.
    QMString s("aaabzzzz");
    EXPECT_EQ(s.findFirst("aab"), -1);
}

TEST(QMStringSearchTest, FindFirstNoCaseIgnoresLetterCase) {
    QMString s("Hello World!!!");
    EXPECT_EQ(s.findFirst("WOR", true), 6);
    EXPECT_EQ(s.findFirst("WOR"), -1);
    EXPECT_EQ(s.findFirst("wor", false), -1);
}

TEST(QMStringSearchTest, FindFirstNoCaseRestartTestIsCaseSensitive) {
    EXPECT_EQ(QMString("aAbxx").findFirst("ab", true), -1);
    EXPECT_EQ(QMString("aabxx").findFirst("ab", true), 1);
}

// ------------------------------------------------- findLast, findNext, findPrev

TEST(QMStringSearchTest, FindLastGivesTheLastOccurrence) {
    QMString s("abcabc");
    EXPECT_EQ(s.findLast("abc"), 3);
    EXPECT_EQ(s.findLast("bc"), 4);
}

TEST(QMStringSearchTest, FindLastMissesOneByteNeedleAtFirstPosition) {
    QMString s("abcd");
    EXPECT_EQ(s.findLast("a"), -1);
    EXPECT_EQ(s.findLast("b"), 1);
    EXPECT_EQ(s.findLast("d"), 3);
}

TEST(QMStringSearchTest, FindLastMissesMatchStartingInTheFirstNeedleLengthBytes) {
    QMString s("hello world");
    EXPECT_EQ(s.findLast("hello"), -1);
    EXPECT_EQ(s.findLast("world"), 6);
}

TEST(QMStringSearchTest, FindLastOfWholeEmptyOrLongerNeedleIsMinusOne) {
    QMString s("abc");
    EXPECT_EQ(s.findLast("abc"), -1);
    EXPECT_EQ(s.findLast(""), -1);
    EXPECT_EQ(s.findLast("xabc"), -1);
    EXPECT_EQ(QMString().findLast("a"), -1);
}

TEST(QMStringSearchTest, FindLastNoCaseIgnoresLetterCase) {
    QMString s("model.STL");
    EXPECT_EQ(s.findLast(".stl", true), 5);
    EXPECT_EQ(s.findLast(".stl"), -1);
}

TEST(QMStringSearchTest, FindLastRestartsOnTheNeedlesLastByte) {
    QMString s("xxabb");
    EXPECT_EQ(s.findLast("ab"), 2);
}

TEST(QMStringSearchTest, FindNextStartsAfterFrom) {
    QMString s("ababab__");
    EXPECT_EQ(s.findNext("ab", -1), 0);
    EXPECT_EQ(s.findNext("ab", 0), 2);
    EXPECT_EQ(s.findNext("ab", 2), 4);
}

TEST(QMStringSearchTest, FindNextKeepsFindFirstsBound) {
    // The match at 4 ends at 5, inside the last length(needle) bytes.
    QMString s("ababab");
    EXPECT_EQ(s.findNext("ab", 0), 2);
    EXPECT_EQ(s.findNext("ab", 2), -1);
}

TEST(QMStringSearchTest, FindNextFromBeyondEndIsMinusOne) {
    QMString s("ababab__");
    EXPECT_EQ(s.findNext("ab", 8), -1);
    EXPECT_EQ(s.findNext("ab", 100), -1);
}

TEST(QMStringSearchTest, FindNextNoCase) {
    QMString s("AB ab AB ____");
    EXPECT_EQ(s.findNext("ab", 0, true), 3);
    EXPECT_EQ(s.findNext("ab", 0, false), 3);
    EXPECT_EQ(s.findNext("AB", 0, false), 6);
}

TEST(QMStringSearchTest, FindPrevFindsMatchEndingBeforeFrom) {
    QMString s("__ababab");
    EXPECT_EQ(s.findPrev("ab", 8), 6);
    EXPECT_EQ(s.findPrev("ab", 7), 4);
    EXPECT_EQ(s.findPrev("ab", 5), 2);
}

TEST(QMStringSearchTest, FindPrevKeepsFindLastsBound) {
    QMString s("ababab");
    EXPECT_EQ(s.findPrev("ab", 4), 2);
    EXPECT_EQ(s.findPrev("ab", 2), -1);
}

TEST(QMStringSearchTest, FindPrevFromBeyondEndEqualsFindLast) {
    QMString s("__ababab");
    EXPECT_EQ(s.findPrev("ab", 100), s.findLast("ab"));
    EXPECT_EQ(s.findPrev("ab", 100), 6);
}

TEST(QMStringSearchTest, FindPrevFromZeroOrBelowIsMinusOne) {
    QMString s("__ababab");
    EXPECT_EQ(s.findPrev("ab", 0), -1);
    EXPECT_EQ(s.findPrev("ab", -3), -1);
}

TEST(QMStringSearchTest, FindPrevNoCase) {
    QMString s("____AB ab");
    EXPECT_EQ(s.findPrev("AB", 9, true), 7);
    EXPECT_EQ(s.findPrev("AB", 9, false), 4);
}

TEST(QMStringSearchTest, WholeTextSearchesOnNullStringFindNothing) {
    QMString s;
    EXPECT_EQ(s.findNext("a", -1), -1);
    EXPECT_EQ(s.findPrev("a", 3), -1);
    EXPECT_EQ(s.findLast("a", true), -1);
}
