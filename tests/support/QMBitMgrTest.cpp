#include "support/QMBitMgr.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

// Reference answers by plain loops over the bits of a `width`-bit word.
int countLoop(std::uint32_t word, int width, int bit) {
    int count = 0;
    for (int i = 0; i < width; ++i) count += ((word >> i) & 1u) == static_cast<unsigned>(bit);
    return count;
}
int firstLoop(std::uint32_t word, int width, int bit) {
    for (int i = 0; i < width; ++i)
        if (((word >> i) & 1u) == static_cast<unsigned>(bit)) return i;
    return -1;
}
int lastLoop(std::uint32_t word, int width, int bit) {
    for (int i = width - 1; i >= 0; --i)
        if (((word >> i) & 1u) == static_cast<unsigned>(bit)) return i;
    return -1;
}

// A 32-bit xorshift generator: fixed seeds give the same words on every build.
struct XorShift32 {
    std::uint32_t state;
    std::uint32_t next() {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        return state;
    }
};

}  // namespace

TEST(QMBitMgr, BitOrderingIsLeastSignificantFirst) { EXPECT_EQ(QMBitMgr::getBitOrdering(), 1); }

TEST(QMBitMgr, ConcreteByteAnswers) {
    const std::uint8_t word = 0x28;  // bits 3 and 5
    EXPECT_EQ(QMBitMgr::getNumBits1(word), 2);
    EXPECT_EQ(QMBitMgr::getNumBits0(word), 6);
    EXPECT_EQ(QMBitMgr::getFirstBit1(word), 3);
    EXPECT_EQ(QMBitMgr::getLastBit1(word), 5);
    EXPECT_EQ(QMBitMgr::getFirstBit0(word), 0);
    EXPECT_EQ(QMBitMgr::getLastBit0(word), 7);
}

TEST(QMBitMgr, WordsWithoutSuchBitGiveMinusOne) {
    EXPECT_EQ(QMBitMgr::getFirstBit1(std::uint8_t(0)), -1);
    EXPECT_EQ(QMBitMgr::getLastBit1(std::uint16_t(0)), -1);
    EXPECT_EQ(QMBitMgr::getFirstBit1(std::uint32_t(0)), -1);
    EXPECT_EQ(QMBitMgr::getFirstBit0(std::uint8_t(0xFF)), -1);
    EXPECT_EQ(QMBitMgr::getLastBit0(std::uint16_t(0xFFFF)), -1);
    EXPECT_EQ(QMBitMgr::getLastBit0(std::uint32_t(0xFFFFFFFFu)), -1);
}

TEST(QMBitMgr, WideWordsCombineTheirBytes) {
    EXPECT_EQ(QMBitMgr::getFirstBit1(std::uint16_t(0x0100)), 8);
    EXPECT_EQ(QMBitMgr::getLastBit1(std::uint16_t(0x8001)), 15);
    EXPECT_EQ(QMBitMgr::getFirstBit1(std::uint32_t(0x00010000u)), 16);
    EXPECT_EQ(QMBitMgr::getLastBit1(std::uint32_t(0x80000000u)), 31);
    EXPECT_EQ(QMBitMgr::getFirstBit0(std::uint32_t(0x00FFFFFFu)), 24);
    EXPECT_EQ(QMBitMgr::getNumBits1(std::uint32_t(0xF0F0F0F0u)), 16);
    EXPECT_EQ(QMBitMgr::getNumBits0(std::uint16_t(0x0001)), 15);
    EXPECT_EQ(QMBitMgr::getNumBits0(std::uint32_t(0)), 32);
}

TEST(QMBitMgr, EveryByteMatchesLoops) {
    for (int value = 0; value < 256; ++value) {
        const auto word = static_cast<std::uint8_t>(value);
        ASSERT_EQ(QMBitMgr::getNumBits1(word), countLoop(word, 8, 1)) << value;
        ASSERT_EQ(QMBitMgr::getNumBits0(word), countLoop(word, 8, 0)) << value;
        ASSERT_EQ(QMBitMgr::getFirstBit1(word), firstLoop(word, 8, 1)) << value;
        ASSERT_EQ(QMBitMgr::getFirstBit0(word), firstLoop(word, 8, 0)) << value;
        ASSERT_EQ(QMBitMgr::getLastBit1(word), lastLoop(word, 8, 1)) << value;
        ASSERT_EQ(QMBitMgr::getLastBit0(word), lastLoop(word, 8, 0)) << value;
    }
}

TEST(QMBitMgr, EverySixteenBitWordMatchesLoops) {
    for (std::uint32_t value = 0; value < 65536u; ++value) {
        const auto word = static_cast<std::uint16_t>(value);
        ASSERT_EQ(QMBitMgr::getNumBits1(word), countLoop(word, 16, 1)) << value;
        ASSERT_EQ(QMBitMgr::getNumBits0(word), countLoop(word, 16, 0)) << value;
        ASSERT_EQ(QMBitMgr::getFirstBit1(word), firstLoop(word, 16, 1)) << value;
        ASSERT_EQ(QMBitMgr::getFirstBit0(word), firstLoop(word, 16, 0)) << value;
        ASSERT_EQ(QMBitMgr::getLastBit1(word), lastLoop(word, 16, 1)) << value;
        ASSERT_EQ(QMBitMgr::getLastBit0(word), lastLoop(word, 16, 0)) << value;
    }
}

TEST(QMBitMgr, RandomThirtyTwoBitWordsMatchLoops) {
    XorShift32 random{0x9E3779B9u};
    for (int n = 0; n < 200000; ++n) {
        // Sparse and dense words too, so the first and last bits land anywhere.
        std::uint32_t word = random.next();
        if (n % 3 == 1) word &= random.next() & random.next();
        if (n % 3 == 2) word |= random.next() | random.next();
        ASSERT_EQ(QMBitMgr::getNumBits1(word), countLoop(word, 32, 1)) << word;
        ASSERT_EQ(QMBitMgr::getNumBits0(word), countLoop(word, 32, 0)) << word;
        ASSERT_EQ(QMBitMgr::getFirstBit1(word), firstLoop(word, 32, 1)) << word;
        ASSERT_EQ(QMBitMgr::getFirstBit0(word), firstLoop(word, 32, 0)) << word;
        ASSERT_EQ(QMBitMgr::getLastBit1(word), lastLoop(word, 32, 1)) << word;
        ASSERT_EQ(QMBitMgr::getLastBit0(word), lastLoop(word, 32, 0)) << word;
    }
}

TEST(QMBitMgr, SingleBitThirtyTwoBitWords) {
    for (int bit = 0; bit < 32; ++bit) {
        const std::uint32_t word = 1u << bit;
        EXPECT_EQ(QMBitMgr::getFirstBit1(word), bit);
        EXPECT_EQ(QMBitMgr::getLastBit1(word), bit);
        EXPECT_EQ(QMBitMgr::getFirstBit0(static_cast<std::uint32_t>(~word)), bit);
        EXPECT_EQ(QMBitMgr::getLastBit0(static_cast<std::uint32_t>(~word)), bit);
        EXPECT_EQ(QMBitMgr::getNumBits1(word), 1);
    }
}
