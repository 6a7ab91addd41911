#include "support/NumberText.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>

// Every text here is exactly printf's. std::to_chars with a precision is
// defined to give printf's text for the same precision ("%.6g", "%.6f"), NaN
// and infinities included; it serves every value the short paths do not take.
//
// Values that are floats widened to double, which is what the exporters print
// almost exclusively, take the inline paths of the header when of ordinary
// magnitude (see ombrel::numbertext), and the wider short path below
// otherwise. Such a value is m * 2^e with m below 2^24, so the decimal digits
// printf rounds to can be found with exact 64-bit integer arithmetic: the
// scaled value m * 2^e * 10^k is split into its integer quotient and the
// remainder, and the remainder is compared with one half to round half to
// even, as printf does.

namespace {

constexpr std::uint64_t kPowersOfTen[20] = {1ull,
                                            10ull,
                                            100ull,
                                            1000ull,
                                            10000ull,
                                            100000ull,
                                            1000000ull,
                                            10000000ull,
                                            100000000ull,
                                            1000000000ull,
                                            10000000000ull,
                                            100000000000ull,
                                            1000000000000ull,
                                            10000000000000ull,
                                            100000000000000ull,
                                            1000000000000000ull,
                                            10000000000000000ull,
                                            100000000000000000ull,
                                            1000000000000000000ull,
                                            10000000000000000000ull};

// A finite nonzero double that a float holds exactly: mantissa * 2^exponent.
struct FloatValue {
    std::uint32_t mantissa;  // 2^23 <= mantissa < 2^24
    int exponent;
    bool negative;
};

// False for zeros, non-finite values and doubles with more than 24
// significant bits (those take the general path).
bool asFloatValue(double value, FloatValue& parts) {
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    const int biased = static_cast<int>((bits >> 52) & 0x7FF);
    const std::uint64_t fraction = bits & ((std::uint64_t(1) << 52) - 1);
    if (biased == 0 || biased == 0x7FF) return false;
    if (fraction & ((std::uint64_t(1) << 29) - 1)) return false;
    parts.mantissa = static_cast<std::uint32_t>((fraction | (std::uint64_t(1) << 52)) >> 29);
    parts.exponent = biased - 1075 + 29;
    parts.negative = (bits >> 63) != 0;
    return true;
}

// Rounds q + remainder/divisor to an integer, half to even; `remainder` is
// below `divisor`.
std::uint64_t roundHalfEven(std::uint64_t q, std::uint64_t remainder, std::uint64_t divisor) {
    const std::uint64_t rest = divisor - remainder;  // remainder vs half: no overflow
    if (remainder > rest || (remainder == rest && (q & 1))) ++q;
    return q;
}

// |value| * 10^k rounded half to even into `scaled`; false when the exact
// arithmetic would not fit in 64 bits.
bool scaledAndRounded(const FloatValue& v, int k, std::uint64_t& scaled) {
    if (k >= 0) {
        if (k > 19) return false;
        std::uint64_t numerator;
        if (__builtin_mul_overflow(std::uint64_t(v.mantissa), kPowersOfTen[k], &numerator)) return false;
        if (v.exponent >= 0) {
            if (v.exponent >= 64 || numerator > (UINT64_MAX >> v.exponent)) return false;
            scaled = numerator << v.exponent;
            return true;
        }
        const int shift = -v.exponent;
        if (shift >= 64) {
            // Below one: rounds to 1 only above one half (2^63 when shift is 64).
            scaled = (shift == 64 && numerator > (std::uint64_t(1) << 63)) ? 1 : 0;
            return true;
        }
        const std::uint64_t q = numerator >> shift;
        const std::uint64_t remainder = numerator & ((std::uint64_t(1) << shift) - 1);
        scaled = roundHalfEven(q, remainder, std::uint64_t(1) << shift);
        return true;
    }
    if (-k > 19) return false;
    std::uint64_t numerator = v.mantissa;
    std::uint64_t divisor = kPowersOfTen[-k];
    if (v.exponent >= 0) {
        if (v.exponent >= 40) return false;
        numerator <<= v.exponent;
    } else {
        const int shift = -v.exponent;
        if (shift >= 40 || divisor > (UINT64_MAX >> shift)) return false;
        divisor <<= shift;
    }
    scaled = roundHalfEven(numerator / divisor, numerator % divisor, divisor);
    return true;
}

// Writes `count` digits of `value`, leading zeros included.
char* appendDigits(char* out, std::uint32_t value, int count) {
    int i = count;
    while (i >= 2) {
        i -= 2;
        ombrel::numbertext::copyPair(out + i, value % 100);
        value /= 100;
    }
    if (i == 1) out[0] = static_cast<char>('0' + value % 10);
    return out + count;
}

// The "%g" text of the six significant digits `digits` (100000 to 999999)
// with decimal exponent `exponent`, trailing zeros removed.
char* appendGeneralDigits(char* out, std::uint32_t digits, int exponent) {
    char text[6];
    appendDigits(text, digits, 6);
    int length = 6;
    while (length > 1 && text[length - 1] == '0') --length;
    if (exponent < -4 || exponent >= 6) {
        *out++ = text[0];
        if (length > 1) {
            *out++ = '.';
            std::memcpy(out, text + 1, length - 1);
            out += length - 1;
        }
        *out++ = 'e';
        *out++ = exponent < 0 ? '-' : '+';
        const int magnitude = exponent < 0 ? -exponent : exponent;
        return appendDigits(out, static_cast<std::uint32_t>(magnitude), magnitude >= 100 ? 3 : 2);
    }
    if (exponent >= 0) {
        const int integerDigits = exponent + 1;
        std::memcpy(out, text, integerDigits);
        out += integerDigits;
        if (length > integerDigits) {
            *out++ = '.';
            std::memcpy(out, text + integerDigits, length - integerDigits);
            out += length - integerDigits;
        }
        return out;
    }
    *out++ = '0';
    *out++ = '.';
    for (int zeros = -exponent - 1; zeros > 0; --zeros) *out++ = '0';
    std::memcpy(out, text, length);
    return out + length;
}

// Decimal exponents of doubles: 10^-8 to 10^19, the range of the short path.
constexpr int kLowestPower = -8;
constexpr double kPowersOfTenAsDouble[] = {1e-8, 1e-7, 1e-6, 1e-5, 1e-4, 1e-3, 1e-2, 1e-1, 1e0,  1e1,
                                           1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                           1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19};
constexpr int kHighestPower = kLowestPower + int(sizeof kPowersOfTenAsDouble / sizeof(double)) - 1;

// The short path of "%g"; null when the value needs the general one.
char* appendGeneral6Short(char* out, const FloatValue& v, double magnitude) {
    // floor(log10 |value|) from the binary exponent, then one comparison
    // with a power of ten (the powers below 1 are not exact, so a value next
    // to one may land a step off; the digit count check below corrects it).
    int exponent = ((v.exponent + 23) * 78913) >> 18;
    if (exponent < kLowestPower || exponent >= kHighestPower) return nullptr;
    if (magnitude >= kPowersOfTenAsDouble[exponent + 1 - kLowestPower]) ++exponent;
    for (int attempt = 0; attempt < 3; ++attempt) {
        std::uint64_t digits;
        if (!scaledAndRounded(v, 5 - exponent, digits)) return nullptr;
        // The exponent is that of the rounded value: 999999.5 becomes 1e+06.
        if (digits >= 1000000) {
            ++exponent;
        } else if (digits < 100000) {
            --exponent;
        } else {
            if (v.negative) *out++ = '-';
            return appendGeneralDigits(out, static_cast<std::uint32_t>(digits), exponent);
        }
    }
    return nullptr;
}

// The short path of "%f"; null when the value needs the general one.
char* appendFixed6Short(char* out, const FloatValue& v) {
    std::uint64_t scaled;
    if (!scaledAndRounded(v, 6, scaled)) return nullptr;
    if (v.negative) *out++ = '-';
    out = std::to_chars(out, out + 20, scaled / 1000000).ptr;
    *out++ = '.';
    return appendDigits(out, static_cast<std::uint32_t>(scaled % 1000000), 6);
}

// The bits of the float equal to `value`; false when no float is (NaNs
// included).
bool asFloatBits(double value, std::uint32_t& bits) {
    if (!(std::fabs(value) <= std::numeric_limits<float>::max())) return false;
    const float single = static_cast<float>(value);
    if (static_cast<double>(single) != value) return false;
    bits = std::bit_cast<std::uint32_t>(single);
    return true;
}

}  // namespace

char* appendGeneral6(char* out, double value) {
    std::uint32_t single;
    if (asFloatBits(value, single) && ombrel::numbertext::isShortGeneral6(single))
        return ombrel::numbertext::general6(out, single);
    FloatValue parts;
    if (asFloatValue(value, parts)) {
        if (char* end = appendGeneral6Short(out, parts, std::fabs(value))) return end;
    } else if (value == 0.0) {
        if (std::signbit(value)) *out++ = '-';
        *out++ = '0';
        return out;
    }
    return std::to_chars(out, out + kMaxGeneral6Length, value, std::chars_format::general, 6).ptr;
}

char* appendFixed6(char* out, double value) {
    std::uint32_t single;
    if (asFloatBits(value, single) && ombrel::numbertext::isShortFixed6(single))
        return ombrel::numbertext::fixed6(out, single);
    FloatValue parts;
    if (asFloatValue(value, parts)) {
        if (char* end = appendFixed6Short(out, parts)) return end;
    } else if (value == 0.0) {
        if (std::signbit(value)) *out++ = '-';
        std::memcpy(out, "0.000000", 8);
        return out + 8;
    }
    return std::to_chars(out, out + kMaxFixed6Length, value, std::chars_format::fixed, 6).ptr;
}

char* appendShortestFloat(char* out, float value) {
    return std::to_chars(out, out + kMaxShortestFloatLength, value).ptr;
}

char* appendInteger(char* out, int value) { return ombrel::numbertext::appendInteger(out, value); }
