#include "support/NumberText.h"

#include <charconv>

// std::to_chars with a precision is defined to give printf's text for the
// same precision ("%.6g" and "%.6f"), NaN and infinities included.

char* appendGeneral6(char* out, double value) {
    return std::to_chars(out, out + kMaxGeneral6Length, value, std::chars_format::general, 6).ptr;
}

char* appendFixed6(char* out, double value) {
    return std::to_chars(out, out + kMaxFixed6Length, value, std::chars_format::fixed, 6).ptr;
}

char* appendInteger(char* out, int value) { return std::to_chars(out, out + kMaxIntegerLength, value).ptr; }
