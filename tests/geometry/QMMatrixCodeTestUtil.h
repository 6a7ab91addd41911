#pragma once

#include <cstdint>

#include <gtest/gtest.h>

// Fixed-seed integer generator for the property tests (xorshift32), with
// values drawn from an integer range mapped onto floats.
class TestRng {
public:
    explicit TestRng(std::uint32_t seed) : m_state(seed ? seed : 1u) {}
    std::uint32_t next() {
        m_state ^= m_state << 13;
        m_state ^= m_state >> 17;
        m_state ^= m_state << 5;
        return m_state;
    }
    // Uniform-ish in [lo, hi] on a grid of 2^20 steps.
    double uniform(double lo, double hi) { return lo + (hi - lo) * (double)(next() >> 12) / 1048575.0; }

private:
    std::uint32_t m_state;
};
