#include "support/NumberText.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <utility>
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

// The float forms, inline in the header for common values.
std::string general6f(float value) {
    char buffer[kMaxGeneral6Length];
    return std::string(buffer, appendGeneral6(buffer, value));
}

std::string fixed6f(float value) {
    char buffer[48];
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

std::string integer(int value) {
    char buffer[kMaxIntegerLength];
    return std::string(buffer, appendInteger(buffer, value));
}

std::string integerInline(int value) {
    char buffer[kMaxIntegerLength];
    return std::string(buffer, appendIntegerInline(buffer, value));
}

std::string printedInteger(int value) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%d", value);
    return buffer;
}

TEST(NumberText, IntegersMatchPrintf) {
    const int values[] = {0, 1, -1, 42, -2147483647 - 1, 2147483647};
    for (int value : values) {
        EXPECT_EQ(integer(value), printedInteger(value));
        EXPECT_EQ(integerInline(value), printedInteger(value));
    }
}

TEST(NumberText, IntegerTexts) {
    const std::pair<int, const char*> cases[] = {{0, "0"},
                                                 {7, "7"},
                                                 {-7, "-7"},
                                                 {10, "10"},
                                                 {99, "99"},
                                                 {100, "100"},
                                                 {-100, "-100"},
                                                 {65535, "65535"},
                                                 {9999999, "9999999"},
                                                 {10000000, "10000000"},
                                                 {999999999, "999999999"},
                                                 {1000000000, "1000000000"},
                                                 {2147483647, "2147483647"},
                                                 {-2147483647, "-2147483647"},
                                                 {-2147483647 - 1, "-2147483648"}};
    for (const auto& [value, text] : cases) {
        EXPECT_EQ(integer(value), text);
        EXPECT_EQ(integerInline(value), text);
    }
}

TEST(NumberText, IntegersMatchPrintfAroundEveryPowerOfTenAndAtRandom) {
    std::vector<int> values;
    for (std::int64_t power = 1; power <= 1000000000; power *= 10)
        for (std::int64_t delta = -2; delta <= 2; ++delta) {
            values.push_back(static_cast<int>(power + delta));
            values.push_back(static_cast<int>(-(power + delta)));
        }
    // Indices as faces hold them (mostly below ten million), then any int.
    std::uint32_t state = 12345;
    for (int i = 0; i < 400000; ++i) {
        state = state * 1664525u + 1013904223u;
        values.push_back(static_cast<int>((state >> 4) % 10000000));
        state = state * 1664525u + 1013904223u;
        values.push_back(static_cast<int>(state));
    }
    for (int value : values) {
        const std::string expected = printedInteger(value);
        ASSERT_EQ(integer(value), expected);
        ASSERT_EQ(integerInline(value), expected);
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

// The float forms give the text of the widened value, "%f" and "%g" of it.
TEST(NumberText, FloatFormTexts) {
    struct Case {
        float value;
        const char* fixed;
        const char* general;
    };
    const float inf = std::numeric_limits<float>::infinity();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const Case cases[] = {
        {0.0f, "0.000000", "0"},
        {-0.0f, "-0.000000", "-0"},
        {1.0f, "1.000000", "1"},
        {-1.0f, "-1.000000", "-1"},
        {0.5f, "0.500000", "0.5"},
        {0.1f, "0.100000", "0.1"},
        {0.3f, "0.300000", "0.3"},
        {1.0f / 3.0f, "0.333333", "0.333333"},
        {2.0f / 3.0f, "0.666667", "0.666667"},
        {100.0f, "100.000000", "100"},
        {9.5f, "9.500000", "9.5"},
        // 0.0000005 as a float is just below 5e-7: it rounds down in "%f".
        {0.0000005f, "0.000000", "5e-07"},
        {-0.0000005f, "-0.000000", "-5e-07"},
        {0.0000015f, "0.000002", "1.5e-06"},
        {0.0000025f, "0.000002", "2.5e-06"},
        // Exact ties at the seventh decimal (odd multiples of 1/128) round
        // to the even neighbour.
        {1.0f / 128.0f, "0.007812", "0.0078125"},
        {3.0f / 128.0f, "0.023438", "0.0234375"},
        {-5.0f / 128.0f, "-0.039062", "-0.0390625"},
        // Exact ties at the seventh significant digit.
        {1.171875f, "1.171875", "1.17188"},
        {1.015625f, "1.015625", "1.01562"},
        {123456.5f, "123456.500000", "123456"},
        {123457.5f, "123457.500000", "123458"},
        {999998.5f, "999998.500000", "999998"},
        {999999.5f, "999999.500000", "1e+06"},
        // Just below powers of ten: the rounding carries into the next one.
        {0.99999994f, "1.000000", "1"},
        {0.9999995f, "1.000000", "1"},
        {9.999999f, "9.999999", "10"},
        {99.99999f, "99.999992", "100"},
        {99999.95f, "99999.953125", "100000"},
        {999999.94f, "999999.937500", "1e+06"},
        {1e6f, "1000000.000000", "1e+06"},
        {9.999999e-5f, "0.000100", "0.0001"},
        {1e-4f, "0.000100", "0.0001"},
        {9.999999e-6f, "0.000010", "1e-05"},
        {0.00012345649f, "0.000123", "0.000123456"},
        {1e-12f, "0.000000", "1e-12"},
        {9.999995e-13f, "0.000000", "9.99999e-13"},
        {8388607.5f, "8388607.500000", "8.38861e+06"},
        {8388608.0f, "8388608.000000", "8.38861e+06"},
        {16777216.0f, "16777216.000000", "1.67772e+07"},
        {std::numeric_limits<float>::max(), "340282346638528859811704183484516925440.000000", "3.40282e+38"},
        {-std::numeric_limits<float>::max(), "-340282346638528859811704183484516925440.000000", "-3.40282e+38"},
        // Subnormal and the smallest normal floats.
        {std::numeric_limits<float>::denorm_min(), "0.000000", "1.4013e-45"},
        {-std::numeric_limits<float>::denorm_min(), "-0.000000", "-1.4013e-45"},
        {std::numeric_limits<float>::min(), "0.000000", "1.17549e-38"},
        {inf, "inf", "inf"},
        {-inf, "-inf", "-inf"},
        {nan, "nan", "nan"},
        {-nan, "-nan", "-nan"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(fixed6f(c.value), c.fixed) << std::hexfloat << c.value;
        EXPECT_EQ(general6f(c.value), c.general) << std::hexfloat << c.value;
        EXPECT_EQ(fixed6(c.value), c.fixed) << std::hexfloat << c.value;
        EXPECT_EQ(general6(c.value), c.general) << std::hexfloat << c.value;
    }
}

TEST(NumberText, FloatFormsMatchPrintfOnEdgeValues) {
    for (double value : edgeValues()) {
        const float single = static_cast<float>(value);
        EXPECT_EQ(fixed6f(single), printed("%f", single)) << std::hexfloat << single;
        EXPECT_EQ(general6f(single), printed("%g", single)) << std::hexfloat << single;
    }
}

TEST(NumberText, FloatFormsMatchPrintfOnRandomFloats) {
    // Seeded: two million floats, three in four of the magnitudes exporters
    // print (2^-24 to 2^24, both signs) and the rest any bit pattern; "%g" of
    // each, and "%f" of each below 2^64 (longer texts are slow to print and
    // leave the short path anyway).
    std::uint64_t state = 0x2545F4914F6CDD1Dull;
    std::size_t mismatches = 0;
    for (int i = 0; i < 2000000; ++i) {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        std::uint32_t bits = static_cast<std::uint32_t>(state >> 16);
        if (i % 4 != 3) bits = (bits & 0x807FFFFFu) | ((103u + static_cast<std::uint32_t>(state >> 58) % 48u) << 23);
        float value;
        std::memcpy(&value, &bits, sizeof value);
        if (general6f(value) != printed("%g", value) && ++mismatches < 10)
            ADD_FAILURE() << std::hexfloat << value << ": " << general6f(value) << " vs " << printed("%g", value);
        if (std::fabs(value) < 1.8e19f && fixed6f(value) != printed("%f", value) && ++mismatches < 10)
            ADD_FAILURE() << std::hexfloat << value << ": " << fixed6f(value) << " vs " << printed("%f", value);
    }
    EXPECT_EQ(mismatches, 0u);
}

TEST(NumberText, FloatFormsRoundEveryTieToEven) {
    // Odd multiples of 1/128 have a seventh decimal of exactly 5; n + 0.5
    // for six-digit n a seventh significant digit of exactly 5.
    std::size_t mismatches = 0;
    for (int j = -200000; j <= 200000; ++j) {
        const float value = static_cast<float>(j) / 128.0f;
        if (fixed6f(value) != printed("%f", value) && ++mismatches < 10)
            ADD_FAILURE() << value << ": " << fixed6f(value) << " vs " << printed("%f", value);
    }
    for (int n = 100000; n <= 999999; n += 7) {
        for (float value : {n + 0.5f, -(n + 0.5f), (n + 0.5f) / 1024.0f, (n + 0.5f) / 1048576.0f}) {
            if (general6f(value) != printed("%g", value) && ++mismatches < 10)
                ADD_FAILURE() << value << ": " << general6f(value) << " vs " << printed("%g", value);
        }
    }
    EXPECT_EQ(mismatches, 0u);
}

TEST(NumberText, FloatFormsMatchPrintfAroundEveryPowerOfTen) {
    // The ten floats on each side of every float power of ten, where the
    // decimal exponent changes and rounding carries into it.
    std::size_t mismatches = 0;
    for (int power = -45; power <= 38; ++power) {
        const float center = std::strtof(("1e" + std::to_string(power)).c_str(), nullptr);
        std::uint32_t bits;
        std::memcpy(&bits, &center, sizeof bits);
        for (std::int64_t b = std::int64_t(bits) - 10; b <= std::int64_t(bits) + 10; ++b) {
            if (b < 0) continue;
            for (std::uint32_t sign : {0u, 0x80000000u}) {
                const std::uint32_t pattern = static_cast<std::uint32_t>(b) | sign;
                float value;
                std::memcpy(&value, &pattern, sizeof value);
                if (general6f(value) != printed("%g", value) && ++mismatches < 10)
                    ADD_FAILURE() << std::hexfloat << value << ": " << general6f(value) << " vs " << printed("%g", value);
                if (fixed6f(value) != printed("%f", value) && ++mismatches < 10)
                    ADD_FAILURE() << std::hexfloat << value << ": " << fixed6f(value) << " vs " << printed("%f", value);
            }
        }
    }
    EXPECT_EQ(mismatches, 0u);
}

TEST(NumberText, FloatFormsWriteWithinTheirLimits) {
    // Bytes past the limits stay as they were, for floats of every
    // magnitude, the longest texts included.
    constexpr std::size_t kFixedLimit = 48;
    std::vector<float> values = {std::numeric_limits<float>::max(), -std::numeric_limits<float>::max(),
                                 -std::numeric_limits<float>::denorm_min(), -999999.5f, -0.00012345649f, -8388607.5f};
    for (std::uint64_t bits = 0; bits < (std::uint64_t(1) << 32); bits += 65537) {
        const std::uint32_t pattern = static_cast<std::uint32_t>(bits);
        float value;
        std::memcpy(&value, &pattern, sizeof value);
        values.push_back(value);
    }
    for (float value : values) {
        char buffer[kFixedLimit + 16];
        std::memset(buffer, '#', sizeof buffer);
        const char* end = appendFixed6(buffer, value);
        EXPECT_LE(end - buffer, std::ptrdiff_t(kFixedLimit));
        EXPECT_EQ(std::string(buffer + kFixedLimit, 16), std::string(16, '#')) << std::hexfloat << value;
        std::memset(buffer, '#', sizeof buffer);
        end = appendGeneral6(buffer, value);
        EXPECT_LE(end - buffer, std::ptrdiff_t(kMaxGeneral6Length));
        EXPECT_EQ(std::string(buffer + kMaxGeneral6Length, 16), std::string(16, '#')) << std::hexfloat << value;
    }
}
