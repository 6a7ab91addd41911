#pragma once

#include <chrono>
#include <cstdio>

// Wall-clock time of the measured work. Every bench program ends by printing
// it as one line "seconds S", which the driver reads.
class Stopwatch {
public:
    Stopwatch() : m_start(std::chrono::steady_clock::now()) {}
    double seconds() const { return std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count(); }
    void report() const { std::printf("seconds %.6f\n", seconds()); }

private:
    std::chrono::steady_clock::time_point m_start;
};
