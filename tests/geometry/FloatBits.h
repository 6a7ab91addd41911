#pragma once

#include <bit>
#include <cstdint>

#include <gtest/gtest.h>

// Exact float comparison for the geometry tests: the bit patterns must match,
// so -0.0f and 0.0f are told apart and NaNs compare by payload.
inline std::uint32_t floatBits(float f) { return std::bit_cast<std::uint32_t>(f); }

inline std::uint64_t doubleBits(double d) { return std::bit_cast<std::uint64_t>(d); }

#define EXPECT_FLOAT_BITS(expected, actual) EXPECT_EQ(floatBits(expected), floatBits(actual))

#define EXPECT_VEC3_BITS(v, ex, ey, ez)        \
    do {                                       \
        EXPECT_FLOAT_BITS((ex), (v).x) << "x"; \
        EXPECT_FLOAT_BITS((ey), (v).y) << "y"; \
        EXPECT_FLOAT_BITS((ez), (v).z) << "z"; \
    } while (0)
