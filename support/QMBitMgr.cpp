#include "support/QMBitMgr.h"

#include <array>

namespace {

using ByteTable = std::array<signed char, 256>;

// Number of set bits of each byte value.
constexpr ByteTable makePopulationTable() {
    ByteTable table{};
    for (int value = 0; value < 256; ++value) {
        int count = 0;
        for (int bit = 0; bit < 8; ++bit) count += (value >> bit) & 1;
        table[value] = static_cast<signed char>(count);
    }
    return table;
}

// Lowest set bit of each byte value, -1 for 0.
constexpr ByteTable makeFirstBitTable() {
    ByteTable table{};
    for (int value = 0; value < 256; ++value) {
        int position = -1;
        for (int bit = 7; bit >= 0; --bit)
            if ((value >> bit) & 1) position = bit;
        table[value] = static_cast<signed char>(position);
    }
    return table;
}

// Highest set bit of each byte value, -1 for 0.
constexpr ByteTable makeLastBitTable() {
    ByteTable table{};
    for (int value = 0; value < 256; ++value) {
        int position = -1;
        for (int bit = 0; bit < 8; ++bit)
            if ((value >> bit) & 1) position = bit;
        table[value] = static_cast<signed char>(position);
    }
    return table;
}

constexpr ByteTable kPopulation = makePopulationTable();
constexpr ByteTable kFirstBit = makeFirstBitTable();
constexpr ByteTable kLastBit = makeLastBitTable();

std::uint8_t lowByte(std::uint32_t word) { return static_cast<std::uint8_t>(word & 0xFFu); }
std::uint8_t highByte(std::uint16_t word) { return static_cast<std::uint8_t>(word >> 8); }
std::uint16_t lowHalf(std::uint32_t word) { return static_cast<std::uint16_t>(word & 0xFFFFu); }
std::uint16_t highHalf(std::uint32_t word) { return static_cast<std::uint16_t>(word >> 16); }

}  // namespace

int QMBitMgr::getNumBits1(std::uint8_t word) { return kPopulation[word]; }
int QMBitMgr::getNumBits1(std::uint16_t word) { return kPopulation[lowByte(word)] + kPopulation[highByte(word)]; }
int QMBitMgr::getNumBits1(std::uint32_t word) { return getNumBits1(lowHalf(word)) + getNumBits1(highHalf(word)); }

int QMBitMgr::getNumBits0(std::uint8_t word) { return 8 - getNumBits1(word); }
int QMBitMgr::getNumBits0(std::uint16_t word) { return 16 - getNumBits1(word); }
int QMBitMgr::getNumBits0(std::uint32_t word) { return 32 - getNumBits1(word); }

int QMBitMgr::getFirstBit1(std::uint8_t word) { return kFirstBit[word]; }
int QMBitMgr::getFirstBit1(std::uint16_t word) {
    if (lowByte(word) != 0) return kFirstBit[lowByte(word)];
    if (highByte(word) != 0) return 8 + kFirstBit[highByte(word)];
    return -1;
}
int QMBitMgr::getFirstBit1(std::uint32_t word) {
    if (lowHalf(word) != 0) return getFirstBit1(lowHalf(word));
    if (highHalf(word) != 0) return 16 + getFirstBit1(highHalf(word));
    return -1;
}

int QMBitMgr::getFirstBit0(std::uint8_t word) { return getFirstBit1(static_cast<std::uint8_t>(~word)); }
int QMBitMgr::getFirstBit0(std::uint16_t word) { return getFirstBit1(static_cast<std::uint16_t>(~word)); }
int QMBitMgr::getFirstBit0(std::uint32_t word) { return getFirstBit1(static_cast<std::uint32_t>(~word)); }

int QMBitMgr::getLastBit1(std::uint8_t word) { return kLastBit[word]; }
int QMBitMgr::getLastBit1(std::uint16_t word) {
    if (highByte(word) != 0) return 8 + kLastBit[highByte(word)];
    if (lowByte(word) != 0) return kLastBit[lowByte(word)];
    return -1;
}
int QMBitMgr::getLastBit1(std::uint32_t word) {
    if (highHalf(word) != 0) return 16 + getLastBit1(highHalf(word));
    if (lowHalf(word) != 0) return getLastBit1(lowHalf(word));
    return -1;
}

int QMBitMgr::getLastBit0(std::uint8_t word) { return getLastBit1(static_cast<std::uint8_t>(~word)); }
int QMBitMgr::getLastBit0(std::uint16_t word) { return getLastBit1(static_cast<std::uint16_t>(~word)); }
int QMBitMgr::getLastBit0(std::uint32_t word) { return getLastBit1(static_cast<std::uint32_t>(~word)); }
