#pragma once

#include <cstdint>

#include "support/OmbrelApi.h"

// Counting and locating the set and cleared bits of 8-, 16- and 32-bit words.
// Bit positions count from the least significant bit (position 0). The 8-bit
// forms look the answer up in a 256-entry table; the wider forms combine the
// answers of their bytes. The overloads are chosen by the argument's type, so
// pass a std::uint8_t, std::uint16_t or std::uint32_t (a plain int is
// ambiguous on purpose: the cleared-bit answers depend on the word's width).
class OMBREL_API QMBitMgr {
public:
    // Bit i of a packed bit array lives at position i & 7 of byte i / 8, the
    // least significant bit first; 1 reports that order.
    static int getBitOrdering() { return 1; }

    // Number of set / cleared bits of the word.
    static int getNumBits1(std::uint8_t word);
    static int getNumBits1(std::uint16_t word);
    static int getNumBits1(std::uint32_t word);
    static int getNumBits0(std::uint8_t word);
    static int getNumBits0(std::uint16_t word);
    static int getNumBits0(std::uint32_t word);

    // Position of the lowest set / cleared bit; -1 when the word has none
    // (0 for the set-bit forms, all ones for the cleared-bit forms).
    static int getFirstBit1(std::uint8_t word);
    static int getFirstBit1(std::uint16_t word);
    static int getFirstBit1(std::uint32_t word);
    static int getFirstBit0(std::uint8_t word);
    static int getFirstBit0(std::uint16_t word);
    static int getFirstBit0(std::uint32_t word);

    // Position of the highest set / cleared bit; -1 when the word has none.
    static int getLastBit1(std::uint8_t word);
    static int getLastBit1(std::uint16_t word);
    static int getLastBit1(std::uint32_t word);
    static int getLastBit0(std::uint8_t word);
    static int getLastBit0(std::uint16_t word);
    static int getLastBit0(std::uint32_t word);
};
