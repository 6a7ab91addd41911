#pragma once

#include "support/OmbrelApi.h"

#include <cstddef>

// Number texts written straight into a caller's buffer, with no locale and no
// stdio call: printf's texts, and the shortest exact text of a float. Each
// function writes at `out` and returns the end of what it wrote; the buffer
// must hold the maximum length given.

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
