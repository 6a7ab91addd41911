#include "support/NumberText.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
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

// A float's bit pattern widened to double.
double floatFromBits(std::uint32_t bits) {
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

TEST(NumberText, GeneralFormMatchesPrintfAcrossAllFloatMagnitudes) {
    // Two million bit patterns spread over every exponent, both signs.
    std::size_t mismatches = 0;
    for (std::uint64_t bits = 0; bits < (std::uint64_t(1) << 32); bits += 2147) {
        const double value = floatFromBits(static_cast<std::uint32_t>(bits));
        if (general6(value) != printed("%g", value) && ++mismatches < 10)
            ADD_FAILURE() << std::hexfloat << value << ": " << general6(value) << " vs " << printed("%g", value);
    }
    EXPECT_EQ(mismatches, 0u);
}

TEST(NumberText, FixedFormMatchesPrintfAcrossAllFloatMagnitudes) {
    std::size_t mismatches = 0;
    for (std::uint64_t bits = 0; bits < (std::uint64_t(1) << 32); bits += 4099) {
        const double value = floatFromBits(static_cast<std::uint32_t>(bits));
        if (fixed6(value) != printed("%f", value) && ++mismatches < 10)
            ADD_FAILURE() << std::hexfloat << value << ": " << fixed6(value) << " vs " << printed("%f", value);
    }
    EXPECT_EQ(mismatches, 0u);
}

TEST(NumberText, GeneralFormRoundsEverySixDigitTieToEven) {
    // n + 0.5 for every six-digit n: the seventh digit is an exact 5.
    std::size_t mismatches = 0;
    for (int n = 100000; n <= 999999; ++n) {
        for (double value : {n + 0.5, -(n + 0.5), (n + 0.5) / 1024.0}) {
            if (general6(value) != printed("%g", value) && ++mismatches < 10)
                ADD_FAILURE() << value << ": " << general6(value) << " vs " << printed("%g", value);
        }
    }
    EXPECT_EQ(mismatches, 0u);
    EXPECT_EQ(general6(123456.5), "123456");
    EXPECT_EQ(general6(123457.5), "123458");
    EXPECT_EQ(general6(999999.5), "1e+06");
}

TEST(NumberText, FixedFormRoundsEverySeventhDecimalTieToEven) {
    // j / 128 has exactly seven decimals, the last a 5 for odd j.
    std::size_t mismatches = 0;
    for (int j = -200000; j <= 200000; ++j) {
        const double value = j / 128.0;
        if (fixed6(value) != printed("%f", value) && ++mismatches < 10)
            ADD_FAILURE() << value << ": " << fixed6(value) << " vs " << printed("%f", value);
    }
    EXPECT_EQ(mismatches, 0u);
    EXPECT_EQ(fixed6(1.0 / 128.0), "0.007812");
    EXPECT_EQ(fixed6(3.0 / 128.0), "0.023438");
    EXPECT_EQ(fixed6(-1.0 / 128.0), "-0.007812");
}

TEST(NumberText, TinyNegativeValuesKeepTheirSignInTheFixedForm) {
    EXPECT_EQ(fixed6(-1e-20), "-0.000000");
    EXPECT_EQ(fixed6(-0.0000004f), "-0.000000");
    EXPECT_EQ(fixed6(0.0000005f), printed("%f", 0.0000005f));
}

std::string shortestFloat(float value) {
    char buffer[kMaxShortestFloatLength];
    return std::string(buffer, appendShortestFloat(buffer, value));
}

TEST(NumberText, ShortestFloatTexts) {
    EXPECT_EQ(shortestFloat(0.0f), "0");
    EXPECT_EQ(shortestFloat(-0.0f), "-0");
    EXPECT_EQ(shortestFloat(1.0f), "1");
    EXPECT_EQ(shortestFloat(0.1f), "0.1");
    EXPECT_EQ(shortestFloat(-2.5f), "-2.5");
    EXPECT_EQ(shortestFloat(100.0f), "100");
    EXPECT_EQ(shortestFloat(16777216.0f), "16777216");
    EXPECT_EQ(shortestFloat(1e-5f), "1e-05");
    EXPECT_EQ(shortestFloat(1.0f / 3.0f), "0.33333334");
    EXPECT_EQ(shortestFloat(std::numeric_limits<float>::max()), "3.4028235e+38");
    EXPECT_EQ(shortestFloat(std::numeric_limits<float>::denorm_min()), "1e-45");
    EXPECT_EQ(shortestFloat(std::numeric_limits<float>::infinity()), "inf");
    EXPECT_EQ(shortestFloat(-std::numeric_limits<float>::infinity()), "-inf");
    EXPECT_EQ(shortestFloat(std::numeric_limits<float>::quiet_NaN()), "nan");
    EXPECT_EQ(shortestFloat(-std::numeric_limits<float>::quiet_NaN()), "-nan");
}

TEST(NumberText, ShortestFloatTextsFitTheirBuffer) {
    // The longest, 15 characters: a sign, nine digits, a point and a
    // two-digit exponent (every float's text was measured).
    EXPECT_EQ(shortestFloat(-1.17549435e-38f), "-1.1754944e-38");
    EXPECT_EQ(shortestFloat(-1.00000075e-36f), "-1.00000075e-36");
    EXPECT_LE(shortestFloat(-std::numeric_limits<float>::quiet_NaN()).size(), kMaxShortestFloatLength);
}

TEST(NumberText, ShortestFloatReadsBackAsTheSameBitsAcrossAllMagnitudes) {
    // Every finite float read back with strtof (as XML readers parse
    // numbers) is the same float, and no text is longer than nine
    // significant digits need ("%.9g" always reads back exactly).
    std::size_t mismatches = 0;
    for (std::uint64_t bits = 0; bits < (std::uint64_t(1) << 32); bits += 1031) {
        const std::uint32_t pattern = static_cast<std::uint32_t>(bits);
        float value;
        std::memcpy(&value, &pattern, sizeof value);
        if (!std::isfinite(value)) continue;
        const std::string text = shortestFloat(value);
        const float back = std::strtof(text.c_str(), nullptr);
        std::uint32_t backBits;
        std::memcpy(&backBits, &back, sizeof backBits);
        char nine[32];
        std::snprintf(nine, sizeof nine, "%.9g", value);
        if ((backBits != pattern || text.size() > std::strlen(nine)) && ++mismatches < 10)
            ADD_FAILURE() << std::hexfloat << value << ": " << text << " reads back as " << back;
    }
    EXPECT_EQ(mismatches, 0u);
}
