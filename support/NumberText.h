#pragma once

#include "support/OmbrelApi.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

// Number texts written straight into a caller's buffer, with no locale and no
// stdio call: printf's texts, and the shortest exact text of a float. Each
// function writes at `out` and returns the end of what it wrote; the buffer
// must hold the maximum length given (bytes past the returned end, within
// that length, may be overwritten).

// The text of "%g": six significant digits, exponent form below 1e-4 and from
// 1e6, trailing zeros removed; "inf", "-inf", "nan" and "-nan" as the C
// library prints them.
constexpr std::size_t kMaxGeneral6Length = 16;
OMBREL_API char* appendGeneral6(char* out, double value);

// The text of "%f": six decimals, every integer digit (up to 309 of them).
constexpr std::size_t kMaxFixed6Length = 320;
OMBREL_API char* appendFixed6(char* out, double value);

// The shortest text that reads back as the same float (std::to_chars without
// a precision): "0.1", "1e-05", "16777216", "-0". Formats that must keep every
// bit (3MF coordinates, so that shared corners stay equal) use it. Infinities
// and NaNs give "inf", "-inf", "nan", "-nan".
constexpr std::size_t kMaxShortestFloatLength = 16;
OMBREL_API char* appendShortestFloat(char* out, float value);

// The text of "%d".
constexpr std::size_t kMaxIntegerLength = 12;
OMBREL_API char* appendInteger(char* out, int value);

// The same texts from inline code, for the loops that write millions of
// numbers: the values exporters print almost exclusively are formatted in
// place, every other one by the functions above.
//
// appendGeneral6 and appendFixed6 of a float write the text of the float
// widened to double ("%g" and "%f" of it). appendGeneral6 keeps to
// kMaxGeneral6Length; appendFixed6 writes at most 48 bytes (a float's fixed
// text has at most 47: a sign, 39 digits, the point and six decimals).
inline char* appendGeneral6(char* out, float value);
inline char* appendFixed6(char* out, float value);
// The text of appendInteger.
inline char* appendIntegerInline(char* out, int value);

// ---------------------------------------------------------------- inline code

namespace ombrel::numbertext {

// A finite float is m * 2^(biased - 150) with m = 2^23 + its 23 fraction
// bits (biased is the 8-bit exponent field, 1..254 for normal floats). For
// the common magnitudes below, the decimal digits printf rounds to are found
// with exact 64-bit integer arithmetic: the value scaled by a power of ten is
// an integer N over 2^s, and N / 2^s is rounded half to even as printf does.

// "00" to "99".
inline constexpr char kDigitPairs[] =
    "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
    "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
    "8081828384858687888990919293949596979899";

inline void copyPair(char* out, std::uint32_t n) { std::memcpy(out, kDigitPairs + 2 * n, 2); }

inline constexpr std::uint32_t kPowersOfTen32[10] = {1,      10,      100,      1000,      10000,
                                                     100000, 1000000, 10000000, 100000000, 1000000000};

// The decimal digits of n, without leading zeros.
inline char* appendUnsigned(char* out, std::uint32_t n) {
    if (n < 10) {
        *out = static_cast<char>('0' + n);
        return out + 1;
    }
    // With b = bit_width(n), the digit count is floor(b * 1233 / 4096) or
    // one more (1233 / 4096 is log10(2) to within 2^-15, which keeps this
    // true for every b up to 32); the power of ten settles which.
    const int guess = (std::bit_width(n) * 1233) >> 12;
    char* const end = out + guess + (n >= kPowersOfTen32[guess]);
    char* p = end;
    while (n >= 100) {
        p -= 2;
        copyPair(p, n % 100);
        n /= 100;
    }
    if (n >= 10)
        copyPair(p - 2, n);
    else
        p[-1] = static_cast<char>('0' + n);
    return end;
}

inline char* appendInteger(char* out, int value) {
    *out = '-';
    // Unsigned negation: INT_MIN's magnitude 2^31 fits.
    const std::uint32_t magnitude = value < 0 ? 0u - static_cast<std::uint32_t>(value) : static_cast<std::uint32_t>(value);
    return appendUnsigned(out + (value < 0), magnitude);
}

// n / 2^shift rounded half to even, for 1 <= shift <= 63 and n + 2^shift
// below 2^64.
// Adding 2^(shift-1) - 1, and one more when the integer quotient is odd,
// carries into the quotient exactly when the remainder is above one half,
// or is one half and the quotient odd.
inline std::uint64_t roundedShift(std::uint64_t n, unsigned shift) {
    return (n + ((std::uint64_t(1) << (shift - 1)) - 1) + ((n >> shift) & 1)) >> shift;
}

// "%f" takes the short path for normal floats below 2^23 (biased exponent
// 1..149): the value is m / 2^s with s = 150 - biased >= 1, so the digits
// before the point are those of m >> s, below 2^23, and the decimals are
// (m mod 2^s) * 10^6 / 2^s rounded, a product below 2^44 over 2^s. From
// s = 45 on that product is below one half of 2^s and m >> s is 0 (the
// text is "0.000000"), so s is clamped to 63 to keep the shifts defined.
inline bool isShortFixed6(std::uint32_t bits) {
    const std::uint32_t biased = (bits >> 23) & 0xFF;
    return biased - 1 < 149;
}

inline char* fixed6(char* out, std::uint32_t bits) {
    *out = '-';
    out += bits >> 31;
    const std::uint32_t biased = (bits >> 23) & 0xFF;
    const std::uint64_t mantissa = (bits & 0x7FFFFF) | 0x800000;
    const unsigned shift = std::min(150u - biased, 63u);
    std::uint32_t integer = static_cast<std::uint32_t>(mantissa >> shift);
    const std::uint64_t fraction = (mantissa & ((std::uint64_t(1) << shift) - 1)) * 1000000;
    // 10^6 is even, so the parity that breaks a tie is that of the decimals.
    std::uint32_t decimals = static_cast<std::uint32_t>(roundedShift(fraction, shift));
    if (decimals == 1000000) {  // rounded up to the next integer: 0.9999996 is "1.000000"
        ++integer;
        decimals = 0;
    }
    out = appendUnsigned(out, integer);
    *out = '.';
    const std::uint32_t low = decimals % 10000;
    copyPair(out + 1, decimals / 10000);
    copyPair(out + 3, low / 100);
    copyPair(out + 5, low % 100);
    return out + 7;
}

// The float nearest each power of ten from 10^-12 to 10^6, as bits (the
// bits of positive floats order like their values).
inline constexpr std::uint32_t kPowerOfTenBits[19] = {
    std::bit_cast<std::uint32_t>(1e-12f), std::bit_cast<std::uint32_t>(1e-11f), std::bit_cast<std::uint32_t>(1e-10f),
    std::bit_cast<std::uint32_t>(1e-9f),  std::bit_cast<std::uint32_t>(1e-8f),  std::bit_cast<std::uint32_t>(1e-7f),
    std::bit_cast<std::uint32_t>(1e-6f),  std::bit_cast<std::uint32_t>(1e-5f),  std::bit_cast<std::uint32_t>(1e-4f),
    std::bit_cast<std::uint32_t>(1e-3f),  std::bit_cast<std::uint32_t>(1e-2f),  std::bit_cast<std::uint32_t>(1e-1f),
    std::bit_cast<std::uint32_t>(1e0f),   std::bit_cast<std::uint32_t>(1e1f),   std::bit_cast<std::uint32_t>(1e2f),
    std::bit_cast<std::uint32_t>(1e3f),   std::bit_cast<std::uint32_t>(1e4f),   std::bit_cast<std::uint32_t>(1e5f),
    std::bit_cast<std::uint32_t>(1e6f)};

inline constexpr std::uint64_t kPowersOfFive[18] = {1ull,
                                                    5ull,
                                                    25ull,
                                                    125ull,
                                                    625ull,
                                                    3125ull,
                                                    15625ull,
                                                    78125ull,
                                                    390625ull,
                                                    1953125ull,
                                                    9765625ull,
                                                    48828125ull,
                                                    244140625ull,
                                                    1220703125ull,
                                                    6103515625ull,
                                                    30517578125ull,
                                                    152587890625ull,
                                                    762939453125ull};

// "%g" takes the short path for magnitudes from (the float of) 10^-12 up to
// 10^6: the decimal exponent x is then -12..5, and the six digits are
// |value| * 10^k rounded, k = 5 - x in 0..17. With 10^k = 5^k * 2^k that is
// N / 2^s for N = m * 5^k, below 2^24 * 5^17 (about 1.28e19, with room for
// the 2^s of rounding below 2^64), and s = 145 - biased + x, which lies in
// 4..47 over this range.
inline bool isShortGeneral6(std::uint32_t bits) {
    return (bits & 0x7FFFFFFF) - kPowerOfTenBits[0] < kPowerOfTenBits[18] - kPowerOfTenBits[0];
}

inline char* general6(char* out, std::uint32_t bits) {
    *out = '-';
    out += bits >> 31;
    const std::uint32_t magnitude = bits & 0x7FFFFFFF;
    const int biased = static_cast<int>(magnitude >> 23);
    // floor(log10 |value|): floor(log10(2) * binary exponent) is it or one
    // less ((e * 78913) >> 18 is that floor for every binary exponent e
    // here), and comparing with the next power of ten (entry exponent + 13
    // is 10^(exponent + 1)) decides. The powers are the nearest floats, a
    // relative 2^-24 off at most; a value between a float power and the true
    // one gets an exponent one off, but then its scaled value is within
    // 10^6 * 2^-24 < 0.5 of 100000 (or of 10^6, which the carry below turns
    // into that), so it rounds to the same digits and exponent either way.
    int exponent = ((biased - 127) * 78913) >> 18;
    exponent += magnitude >= kPowerOfTenBits[exponent + 13];
    const std::uint64_t scaled = (std::uint64_t(magnitude & 0x7FFFFF) | 0x800000) * kPowersOfFive[5 - exponent];
    std::uint32_t digits = static_cast<std::uint32_t>(roundedShift(scaled, static_cast<unsigned>(145 - biased + exponent)));
    if (digits == 1000000) {  // rounded up to the next power: 999999.5 is "1e+06"
        digits = 100000;
        ++exponent;
    }

    // The six digits as bytes in memory order, and how many are left once
    // trailing zeros go: the bytes past the last nonzero digit are zero in
    // `text ^ "000000"`, and with the first digit nonzero the count of its
    // leading zero bytes gives the length.
    static_assert(std::endian::native == std::endian::little);
    std::uint16_t pair[3];
    const std::uint32_t low = digits % 10000;
    std::memcpy(&pair[0], kDigitPairs + 2 * (digits / 10000), 2);
    std::memcpy(&pair[1], kDigitPairs + 2 * (low / 100), 2);
    std::memcpy(&pair[2], kDigitPairs + 2 * (low % 100), 2);
    const std::uint64_t text = pair[0] | std::uint64_t(pair[1]) << 16 | std::uint64_t(pair[2]) << 32;
    const int length = 8 - std::countl_zero(text ^ 0x303030303030ull) / 8;

    if (exponent >= 0 && exponent <= 5) {
        // "ddd.ddd": the integer digits, then the point and the rest, if any
        // are left (the bytes past the end are stored but not counted).
        const int integerDigits = exponent + 1;
        std::memcpy(out, &text, 8);
        out[integerDigits] = '.';
        const std::uint64_t rest = text >> (8 * integerDigits);
        std::memcpy(out + integerDigits + 1, &rest, 8);
        return length > integerDigits ? out + length + 1 : out + integerDigits;
    }
    if (exponent < 0 && exponent >= -4) {
        // "0.000ddd": the point and -exponent - 1 zeros before the digits.
        std::memcpy(out, "0.000000", 8);
        std::memcpy(out + 1 - exponent, &text, 8);
        return out + 1 - exponent + length;
    }
    // "d.ddddde-12": exponents -12..-5, or +06 from the carry above.
    out[0] = static_cast<char>(text);
    out[1] = '.';
    const std::uint64_t rest = text >> 8;
    std::memcpy(out + 2, &rest, 8);
    out += length > 1 ? length + 1 : 1;
    out[0] = 'e';
    out[1] = exponent < 0 ? '-' : '+';
    copyPair(out + 2, static_cast<std::uint32_t>(exponent < 0 ? -exponent : exponent));
    return out + 4;
}

}  // namespace ombrel::numbertext

inline char* appendGeneral6(char* out, float value) {
    const std::uint32_t bits = std::bit_cast<std::uint32_t>(value);
    if (ombrel::numbertext::isShortGeneral6(bits)) return ombrel::numbertext::general6(out, bits);
    return appendGeneral6(out, static_cast<double>(value));
}

inline char* appendFixed6(char* out, float value) {
    const std::uint32_t bits = std::bit_cast<std::uint32_t>(value);
    if (ombrel::numbertext::isShortFixed6(bits)) return ombrel::numbertext::fixed6(out, bits);
    return appendFixed6(out, static_cast<double>(value));
}

inline char* appendIntegerInline(char* out, int value) { return ombrel::numbertext::appendInteger(out, value); }
