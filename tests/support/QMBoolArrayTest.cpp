#include "support/QMBoolArray.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// "1011" gives bits 0, 2 and 3 set, of a four-bit array.
QMBoolArray fromText(const std::string& text) {
    QMBoolArray array(static_cast<int>(text.size()), false);
    for (std::size_t i = 0; i < text.size(); ++i)
        if (text[i] == '1') array.set(static_cast<int>(i));
    return array;
}

std::string toText(const QMBoolArray& array) {
    std::string text;
    for (int i = 0; i < array.getCount(); ++i) text += array.get(i) ? '1' : '0';
    return text;
}

std::vector<int> toVector(const QMArray<int>& array) { return std::vector<int>(array.begin(), array.end()); }

bool guardsIntact(const QMBoolArray& array) {
    const unsigned char* data = array.getData();
    return data[-1] == 1 && data[array.getCapacity() / 8] == 1;
}

}  // namespace

// ---------------------------------------------------------------- reading

TEST(QMBoolArray, GetAtTheCountIsFalseWhateverTheStorageHolds) {
    QMBoolArray array(8, true);
    array.resize(5, false);  // shrinking keeps bits 5..7 set in storage
    EXPECT_TRUE(array.getNoSizeTest(5));
    EXPECT_FALSE(array.get(5));
    EXPECT_FALSE(array[5]);
    EXPECT_TRUE(array.get(4));
}

TEST(QMBoolArray, GetOfANegativeIndexIsFalse) {
    QMBoolArray array(16, true);
    EXPECT_FALSE(array.get(-1));
    EXPECT_FALSE(array.get(-9));
}

TEST(QMBoolArray, BitsAreStoredLeastSignificantFirst) {
    QMBoolArray array = fromText("0100000001");
    EXPECT_EQ(array.getData()[0], 0x02);
    EXPECT_EQ(array.getData()[1], 0x02);
}

TEST(QMBoolArray, GetAsMaskLeavesTheBitInPlace) {
    QMBoolArray array = fromText("0001000000100");
    EXPECT_EQ(array.getAsMask(3), 0x08);
    EXPECT_EQ(array.getAsMask(10), 0x04);
    EXPECT_EQ(array.getAsMask(4), 0);
}

// ---------------------------------------------------------------- storage

TEST(QMBoolArray, EmptyArraysShareTheStaticBlock) {
    QMBoolArray first;
    QMBoolArray second;
    EXPECT_EQ(first.getData(), second.getData());
    EXPECT_EQ(first.getCapacity(), 0);
    EXPECT_EQ(first.getDynMemoryUsed(), 0u);
    EXPECT_TRUE(guardsIntact(first));
    first.freeData();
    second.clearArray();
    EXPECT_EQ(first.getData(), second.getData());
    EXPECT_TRUE(guardsIntact(first));
}

TEST(QMBoolArray, FreedArrayReturnsToTheStaticBlock) {
    QMBoolArray empty;
    QMBoolArray array(100, true);
    EXPECT_NE(array.getData(), empty.getData());
    array.freeData();
    EXPECT_EQ(array.getData(), empty.getData());
    EXPECT_EQ(array.getCount(), 0);
    EXPECT_EQ(array.getDynMemoryUsed(), 0u);
}

TEST(QMBoolArray, ZeroBitsAllocateNothing) {
    QMBoolArray empty;
    QMBoolArray zero(0, true);
    QMBoolArray negative(-4, true);
    EXPECT_EQ(zero.getData(), empty.getData());
    EXPECT_EQ(negative.getData(), empty.getData());
    EXPECT_EQ(negative.getCount(), 0);
    QMBoolArray copy(empty);
    EXPECT_EQ(copy.getData(), empty.getData());
}

TEST(QMBoolArray, BlockHasGuardBytesHoldingOne) {
    QMBoolArray array(17, false);
    EXPECT_EQ(array.getCapacity(), 24);
    EXPECT_EQ(array.getData()[-1], 1);
    EXPECT_EQ(array.getData()[3], 1);
    EXPECT_EQ(array.getDynMemoryUsed(), 5u);
    EXPECT_EQ(array.getMemoryUsed(), sizeof(QMBoolArray) + 5u);
}

TEST(QMBoolArray, ResizeGrowsToTheExactCapacity) {
    QMBoolArray array(3, true);
    array.resize(9, false);
    EXPECT_EQ(array.getCapacity(), 16);
    EXPECT_EQ(toText(array), "111000000");
    array.resize(40, true);
    EXPECT_EQ(array.getCapacity(), 40);
    EXPECT_EQ(array.getNumberOfBitSet(), 3 + 31);
    EXPECT_TRUE(guardsIntact(array));
}

TEST(QMBoolArray, ShrinkingKeepsTheStorageAndRegrowingFillsWithTheValue) {
    QMBoolArray array(20, true);
    const unsigned char* data = array.getData();
    array.resize(4, false);
    EXPECT_EQ(array.getData(), data);
    EXPECT_EQ(array.getNumberOfBitSet(), 4);
    array.resize(12, false);
    EXPECT_EQ(array.getData(), data);
    EXPECT_EQ(toText(array), "111100000000");
}

TEST(QMBoolArray, ResizeToANegativeCountEmpties) {
    QMBoolArray array(5, true);
    array.resize(-1, true);
    EXPECT_EQ(array.getCount(), 0);
}

TEST(QMBoolArray, AssignFromPackedBytes) {
    const char bytes[] = {static_cast<char>(0x81), 0x05};
    QMBoolArray array;
    array.assign(11, bytes);
    EXPECT_EQ(toText(array), "10000001101");
    array.assign(3, static_cast<const char*>(nullptr));
    EXPECT_EQ(toText(array), "000");
}

TEST(QMBoolArray, AssignFromIndicesIgnoresOutOfRangeEntries) {
    const int indices[] = {1, 4, -2, 6, 9};
    QMBoolArray array(3, true);
    array.assign(6, indices, 5);
    EXPECT_EQ(toText(array), "010010");
}

TEST(QMBoolArray, AssignAllEqual) {
    QMBoolArray array = fromText("1010");
    array.assign(10, true);
    EXPECT_EQ(toText(array), "1111111111");
}

TEST(QMBoolArray, CopyAndAssignmentAreDeep) {
    QMBoolArray original = fromText("1100101");
    QMBoolArray copy(original);
    QMBoolArray assigned;
    assigned = original;
    original.clear(0);
    EXPECT_EQ(toText(copy), "1100101");
    EXPECT_EQ(toText(assigned), "1100101");
    EXPECT_NE(copy.getData(), original.getData());
}

TEST(QMBoolArray, SwapExchangesContents) {
    QMBoolArray first = fromText("11");
    QMBoolArray second = fromText("00100");
    first.swap(second);
    EXPECT_EQ(toText(first), "00100");
    EXPECT_EQ(toText(second), "11");
}

TEST(QMBoolArray, MoveLeavesTheSourceEmpty) {
    QMBoolArray source = fromText("101");
    QMBoolArray target(std::move(source));
    EXPECT_EQ(toText(target), "101");
    EXPECT_EQ(source.getCount(), 0);
    EXPECT_EQ(source.getDynMemoryUsed(), 0u);
}

TEST(QMBoolArray, ClearArrayKeepsTheStorage) {
    QMBoolArray array(30, true);
    const unsigned char* data = array.getData();
    array.clearArray();
    EXPECT_EQ(array.getCount(), 0);
    EXPECT_EQ(array.getData(), data);
    EXPECT_EQ(array.getCapacity(), 32);
}

// ---------------------------------------------------------------- single bits

TEST(QMBoolArray, SetClearToggleOneBit) {
    QMBoolArray array(10, false);
    array.set(9);
    array.set(2);
    array.clear(2);
    array.toggle(5);
    array.toggle(9);
    EXPECT_EQ(toText(array), "0000010000");
}

TEST(QMBoolArray, SetAutoResizeOnAnEmptyArray) {
    QMBoolArray array;
    array.setAutoResize(20);
    EXPECT_EQ(array.getCount(), 21);
    EXPECT_EQ(array.getNumberOfBitSet(), 1);
    EXPECT_TRUE(array.get(20));
    EXPECT_EQ(array.findFirst(true), 20);
}

TEST(QMBoolArray, AutoResizeFormsGrowWithClearedBits) {
    QMBoolArray array(2, true);
    array.clearAutoResize(4);
    EXPECT_EQ(toText(array), "11000");
    array.toggleAutoResize(6);
    EXPECT_EQ(toText(array), "1100001");
    array.setAutoResize(0);
    array.clearAutoResize(-1);
    EXPECT_EQ(toText(array), "1100001");
}

// ---------------------------------------------------------------- ranges and lists

TEST(QMBoolArray, RangesAreHalfOpenAndClipped) {
    QMBoolArray array(20, false);
    array.set(3, 6);
    QMArray<int> indices;
    array.getIndexesSet(indices);
    EXPECT_EQ(toVector(indices), (std::vector<int>{3, 4, 5}));
    array.set(-5, 2);
    array.set(18, 100);
    array.getIndexesSet(indices);
    EXPECT_EQ(toVector(indices), (std::vector<int>{0, 1, 3, 4, 5, 18, 19}));
    array.clear(4, 19);
    array.getIndexesSet(indices);
    EXPECT_EQ(toVector(indices), (std::vector<int>{0, 1, 3, 19}));
    EXPECT_TRUE(guardsIntact(array));
}

TEST(QMBoolArray, EmptyOrReversedRangesChangeNothing) {
    QMBoolArray array = fromText("0101");
    array.set(3, 3);
    array.set(3, 1);
    array.clear(-10, -1);
    array.set(4, 9);
    EXPECT_EQ(toText(array), "0101");
}

TEST(QMBoolArray, RangeAcrossManyBytes) {
    QMBoolArray array(64, false);
    array.set(5, 59);
    EXPECT_EQ(array.getNumberOfBitSet(), 54);
    EXPECT_EQ(array.findFirst(true), 5);
    EXPECT_EQ(array.findLast(true), 58);
}

TEST(QMBoolArray, IndexListsIgnoreOutOfRangeEntries) {
    const int indices[] = {0, -1, 7, 8, 2};
    QMBoolArray array(8, false);
    array.set(5, indices);
    EXPECT_EQ(toText(array), "10100001");
    EXPECT_TRUE(guardsIntact(array));
    array.clear(2, indices);
    EXPECT_EQ(toText(array), "00100001");
    array.set(3, static_cast<const int*>(nullptr));
    EXPECT_EQ(toText(array), "00100001");
}

TEST(QMBoolArray, IndexListsFromQMArray) {
    QMBoolArray array(6, false);
    array.set(QMArray<int>{1, 3, 6, -3});
    EXPECT_EQ(toText(array), "010100");
    array.clear(QMArray<int>{3});
    EXPECT_EQ(toText(array), "010000");
}

// ---------------------------------------------------------------- set operations

TEST(QMBoolArray, OrAndNotXorWithAnArrayOfTheSameSize) {
    QMBoolArray a = fromText("1100");
    QMBoolArray b = fromText("1010");
    QMBoolArray orResult = a, andNot = a, xorResult = a, andResult = a;
    orResult.set(b);
    andNot.clear(b);
    xorResult.toggle(b);
    andResult.inter(b);
    EXPECT_EQ(toText(orResult), "1110");
    EXPECT_EQ(toText(andNot), "0100");
    EXPECT_EQ(toText(xorResult), "0110");
    EXPECT_EQ(toText(andResult), "1000");
}

TEST(QMBoolArray, ShorterOtherCountsAsClearedBeyondItsCount) {
    QMBoolArray b = fromText("011");
    QMBoolArray orResult = fromText("1000011001");
    QMBoolArray andResult = orResult;
    QMBoolArray xorResult = orResult;
    orResult.set(b);
    andResult.inter(b);
    xorResult.toggle(b);
    EXPECT_EQ(toText(orResult), "1110011001");
    EXPECT_EQ(toText(andResult), "0000000000");
    EXPECT_EQ(toText(xorResult), "1110011001");
}

TEST(QMBoolArray, LongerOtherIsCutToThisCount) {
    QMBoolArray a = fromText("001");
    QMBoolArray b = fromText("1111111111");
    a.set(b);
    EXPECT_EQ(toText(a), "111");
    EXPECT_FALSE(a.getNoSizeTest(3));  // storage beyond the count untouched
}

TEST(QMBoolArray, MergeGrowsToTheLongerArray) {
    QMBoolArray a = fromText("10");
    a.merge(fromText("0001"));
    EXPECT_EQ(toText(a), "1001");
    a.merge(fromText("01"));
    EXPECT_EQ(toText(a), "1101");
}

TEST(QMBoolArray, WholeArrayOperations) {
    QMBoolArray array = fromText("1001101001");
    array.toggleAll();
    EXPECT_EQ(toText(array), "0110010110");
    array.inverse();
    EXPECT_EQ(toText(array), "1001101001");
    array.setAll();
    EXPECT_EQ(array.getNumberOfBitSet(), 10);
    array.clearAll();
    EXPECT_EQ(array.getNumberOfBitSet(), 0);
    EXPECT_TRUE(guardsIntact(array));
}

// ---------------------------------------------------------------- insert and erase

TEST(QMBoolArray, InsertAtTheCountChangesNothing) {
    QMBoolArray array = fromText("101");
    array.insert(3, true);
    EXPECT_EQ(toText(array), "101");
    array.insert(-1, true);
    EXPECT_EQ(toText(array), "101");
}

TEST(QMBoolArray, InsertShiftsTheBitsAbove) {
    QMBoolArray array = fromText("1011");
    array.insert(1, true);
    EXPECT_EQ(toText(array), "11011");
    array.insert(0, false);
    EXPECT_EQ(toText(array), "011011");
}

TEST(QMBoolArray, InsertCarriesAcrossBytes) {
    QMBoolArray array = fromText("0000000110000001");
    array.insert(2, false);
    EXPECT_EQ(toText(array), "00000000110000001");
    EXPECT_EQ(array.getCapacity(), 24);
}

TEST(QMBoolArray, EraseShiftsTheBitsAboveDown) {
    QMBoolArray array = fromText("1101000011");
    array.erase(2);
    EXPECT_EQ(toText(array), "111000011");
    array.erase(8);
    EXPECT_EQ(toText(array), "11100001");
    array.erase(8);
    array.erase(-1);
    EXPECT_EQ(toText(array), "11100001");
}

// ---------------------------------------------------------------- search

TEST(QMBoolArray, FindFirstOnClearedBits) {
    QMBoolArray array(10, false);
    EXPECT_EQ(array.findFirst(true, 0), -1);
    array.set(9);
    EXPECT_EQ(array.findFirst(true, 0), 9);
    EXPECT_EQ(array.findFirst(true, -3), 9);
    EXPECT_EQ(array.findFirst(true, 9), 9);
    EXPECT_EQ(array.findFirst(true, 10), -1);
}

TEST(QMBoolArray, FindFirstIgnoresStorageBeyondTheCount) {
    QMBoolArray array(16, true);
    array.resize(10, false);
    array.clearAll();
    EXPECT_EQ(array.findFirst(true), -1);
    array.setAll();
    array.resize(8, false);
    EXPECT_EQ(array.findFirst(false), -1);
}

TEST(QMBoolArray, FindFirstCleared) {
    QMBoolArray array(20, true);
    EXPECT_EQ(array.findFirst(false), -1);
    array.clear(17);
    array.clear(3);
    EXPECT_EQ(array.findFirst(false), 3);
    EXPECT_EQ(array.findFirst(false, 4), 17);
}

TEST(QMBoolArray, FindLastIsInclusiveOfFrom) {
    QMBoolArray array = fromText("0100100000010");
    EXPECT_EQ(array.findLast(true), 11);
    EXPECT_EQ(array.findLast(true, 10), 4);
    EXPECT_EQ(array.findLast(true, 4), 4);
    EXPECT_EQ(array.findLast(true, 0), -1);
    EXPECT_EQ(array.findLast(true, -1), -1);
    EXPECT_EQ(array.findLast(true, 500), 11);
    EXPECT_EQ(array.findLast(false), 12);
    EXPECT_EQ(array.findLast(false, 1), 0);
}

TEST(QMBoolArray, FindOnAnEmptyArray) {
    QMBoolArray array;
    EXPECT_EQ(array.findFirst(true), -1);
    EXPECT_EQ(array.findFirst(false), -1);
    EXPECT_EQ(array.findLast(true), -1);
    EXPECT_EQ(array.findLast(false), -1);
}

// ---------------------------------------------------------------- counts and index lists

TEST(QMBoolArray, CountsMaskOffBitsBeyondTheCount) {
    QMBoolArray array(13, true);
    array.resize(5, false);
    EXPECT_EQ(array.getNumberOfBitSet(), 5);
    EXPECT_EQ(array.getNumberOfBitCleared(), 0);
}

TEST(QMBoolArray, CountsWithinAHalfOpenRange) {
    QMBoolArray array = fromText("1101001110110");
    EXPECT_EQ(array.getNumberOfBitSetWithin(0, 13), 8);
    EXPECT_EQ(array.getNumberOfBitSetWithin(2, 9), 4);
    EXPECT_EQ(array.getNumberOfBitClearedWithin(2, 9), 3);
    EXPECT_EQ(array.getNumberOfBitSetWithin(-4, 2), 2);
    EXPECT_EQ(array.getNumberOfBitClearedWithin(10, 99), 1);
    EXPECT_EQ(array.getNumberOfBitSetWithin(5, 5), 0);
    EXPECT_EQ(array.getNumberOfBitClearedWithin(7, 3), 0);
}

TEST(QMBoolArray, IndexListsReplaceTheOutput) {
    QMBoolArray array = fromText("10010");
    QMArray<int> indices{42, 43};
    array.getIndexesSet(indices);
    EXPECT_EQ(toVector(indices), (std::vector<int>{0, 3}));
    array.getIndexesCleared(indices);
    EXPECT_EQ(toVector(indices), (std::vector<int>{1, 2, 4}));
}

TEST(QMBoolArray, SetAllReportsTheBitsItChanged) {
    QMBoolArray array = fromText("10010");
    QMArray<int> modified{7};
    array.setAllModifiedIndices(modified);
    EXPECT_EQ(toVector(modified), (std::vector<int>{1, 2, 4}));
    EXPECT_EQ(toText(array), "11111");
    array.clear(3);
    array.clearAllModifiedIndices(modified);
    EXPECT_EQ(toVector(modified), (std::vector<int>{0, 1, 2, 4}));
    EXPECT_EQ(toText(array), "00000");
}

// ---------------------------------------------------------------- comparison

TEST(QMBoolArray, EqualityComparesCountAndBits) {
    QMBoolArray a(12, true);
    a.resize(9, false);
    QMBoolArray b(9, true);
    EXPECT_TRUE(a == b);
    b.clear(8);
    EXPECT_FALSE(a == b);
    EXPECT_FALSE(QMBoolArray(3, false) == QMBoolArray(4, false));
    EXPECT_TRUE(QMBoolArray() == QMBoolArray(0, true));
}

TEST(QMBoolArray, BitTestComparesTheSetBitsWhateverTheCounts) {
    EXPECT_TRUE(fromText("101").bitTest(fromText("1010000000")));
    EXPECT_TRUE(fromText("1010000000").bitTest(fromText("101")));
    EXPECT_FALSE(fromText("101").bitTest(fromText("1010000001")));
    EXPECT_FALSE(fromText("101").bitTest(fromText("100")));
    EXPECT_TRUE(QMBoolArray().bitTest(QMBoolArray(20, false)));
}

TEST(QMBoolArray, HasInterLooksForACommonSetBit) {
    EXPECT_TRUE(fromText("0011").hasInter(fromText("0110")));
    EXPECT_FALSE(fromText("0011").hasInter(fromText("1100")));
    EXPECT_FALSE(fromText("001").hasInter(fromText("0001111")));
    EXPECT_FALSE(QMBoolArray(8, true).hasInter(QMBoolArray()));
    EXPECT_TRUE(QMBoolArray(9, true).hasInter(fromText("000000001")));
}
