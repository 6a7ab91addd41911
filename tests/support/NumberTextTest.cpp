#include "support/NumberText.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

namespace {

std::string general6(double value) {
    char buffer[kMaxGeneral6Length];
    return std::string(buffer, appendGeneral6(buffer, value));
}

std::string fixed6(double value) {
    char buffer[kMaxFixed6Length];
    return std::string(buffer, appendFixed6(buffer, value));
}

std::string printed(const char* format, double value) {
    char buffer[400];
    std::snprintf(buffer, sizeof buffer, format, value);
    return buffer;
}

double fromBits(std::uint64_t bits) {
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

// Values where the texts are easy to get wrong: exponent thresholds,
// rounding carries, signed zeros, subnormals, the extremes and non-numbers.
std::vector<double> edgeValues() {
    std::vector<double> values = {0.0,
                                  -0.0,
                                  1.0,
                                  -1.0,
                                  0.1,
                                  0.5,
                                  100.0,
                                  1234567.0,
                                  999999.0,
                                  999999.5,
                                  9999995.0,
                                  0.0001,
                                  0.00001,
                                  0.000099999995,
                                  1e-5,
                                  1e6,
                                  1e-4,
                                  123456.5,
                                  0.1f,
                                  1.0 / 3.0,
                                  2.0 / 3.0,
                                  1e15,
                                  1e16,
                                  1e300,
                                  -1e-300,
                                  5e-324,
                                  2.2250738585072014e-308,
                                  std::numeric_limits<float>::denorm_min(),
                                  std::numeric_limits<float>::max(),
                                  std::numeric_limits<double>::max(),
                                  std::numeric_limits<double>::infinity(),
                                  -std::numeric_limits<double>::infinity(),
                                  std::numeric_limits<double>::quiet_NaN(),
                                  -std::numeric_limits<double>::quiet_NaN(),
                                  0.5e-6,
                                  0.0000005,
                                  1.5,
                                  2.5,
                                  0.125,
                                  0.0625};
    return values;
}

// Deterministic values from a fixed-seed generator, spread over every
// exponent: random float bit patterns (what STL and VRML files hold) and
// random doubles.
std::vector<double> randomValues(std::size_t count) {
    std::vector<double> values;
    std::uint64_t state = 0x9E3779B97F4A7C15ull;
    for (std::size_t i = 0; i < count; ++i) {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        float asFloat;
        std::uint32_t floatBits = static_cast<std::uint32_t>(state);
        std::memcpy(&asFloat, &floatBits, sizeof asFloat);
        values.push_back(asFloat);
        values.push_back(fromBits(state));
        values.push_back(static_cast<double>(static_cast<std::int32_t>(state >> 40)) / 64.0);
    }
    return values;
}

}  // namespace

TEST(NumberText, GeneralFormMatchesPrintfOnEdgeValues) {
    for (double value : edgeValues()) EXPECT_EQ(general6(value), printed("%g", value)) << value;
}

TEST(NumberText, FixedFormMatchesPrintfOnEdgeValues) {
    for (double value : edgeValues()) EXPECT_EQ(fixed6(value), printed("%f", value)) << value;
}

TEST(NumberText, GeneralFormMatchesPrintfOnManyValues) {
    for (double value : randomValues(100000)) ASSERT_EQ(general6(value), printed("%g", value)) << value;
}

TEST(NumberText, FixedFormMatchesPrintfOnManyValues) {
    for (double value : randomValues(20000)) ASSERT_EQ(fixed6(value), printed("%f", value)) << value;
}

TEST(NumberText, GeneralFormTextsOfTheStlWriter) {
    EXPECT_EQ(general6(0.1f), "0.1");
    EXPECT_EQ(general6(1234567.0f), "1.23457e+06");
    EXPECT_EQ(general6(100.0f), "100");
    EXPECT_EQ(general6(-0.0f), "-0");
}

TEST(NumberText, NanPrintsWithItsSign) {
    EXPECT_EQ(general6(std::numeric_limits<double>::quiet_NaN()), "nan");
    EXPECT_EQ(general6(-std::numeric_limits<double>::quiet_NaN()), "-nan");
    EXPECT_EQ(fixed6(-std::numeric_limits<double>::quiet_NaN()), "-nan");
}

TEST(NumberText, FixedFormOfTheLargestDoubleHasEveryDigit) {
    EXPECT_EQ(fixed6(std::numeric_limits<double>::max()).size(), 309u + 7u);
    EXPECT_EQ(fixed6(-std::numeric_limits<double>::max()).size(), 310u + 7u);
}

TEST(NumberText, IntegersMatchPrintf) {
    const int values[] = {0, 1, -1, 42, -2147483647 - 1, 2147483647};
    for (int value : values) {
        char buffer[kMaxIntegerLength];
        char expected[32];
        std::snprintf(expected, sizeof expected, "%d", value);
        EXPECT_EQ(std::string(buffer, appendInteger(buffer, value)), expected);
    }
}
