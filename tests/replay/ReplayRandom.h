#pragma once

#include <cstdint>
#include <initializer_list>
#include <vector>

// The replay's random source: splitmix64 with plain modulo draws, so that a
// seed gives the same script on every build (the native and the 32-bit one
// alike), unlike the standard distributions, whose algorithms are the
// library vendor's.
class ReplayRandom {
public:
    explicit ReplayRandom(std::uint64_t seed) : m_state(seed) {}

    std::uint64_t next() {
        std::uint64_t z = (m_state += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    }
    std::uint32_t word() { return static_cast<std::uint32_t>(next() >> 32); }
    // 0 .. n-1 (0 when n is 0).
    std::uint32_t below(std::uint32_t n) { return n ? static_cast<std::uint32_t>(next() % n) : 0; }
    // low .. high, both included.
    int between(int low, int high) { return low + static_cast<int>(below(static_cast<std::uint32_t>(high - low + 1))); }
    // Uniform in [0, 1).
    double unit() { return static_cast<double>(next() >> 11) * 0x1.0p-53; }
    double uniform(double low, double high) { return low + (high - low) * unit(); }
    bool chance(double p) { return unit() < p; }

    template <class T>
    T pick(std::initializer_list<T> choices) {
        return choices.begin()[below(static_cast<std::uint32_t>(choices.size()))];
    }
    template <class T>
    const T& pick(const std::vector<T>& choices) {
        return choices[below(static_cast<std::uint32_t>(choices.size()))];
    }

private:
    std::uint64_t m_state;
};
