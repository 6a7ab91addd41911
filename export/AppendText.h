#pragma once

#include <cstddef>
#include <cstring>

// Fixed text copied into a writer's line buffer. Each function writes at `out`
// and returns the end of what it wrote; the caller has reserved the room.

inline char* appendText(char* out, const char* text, std::size_t length) {
    std::memcpy(out, text, length);
    return out + length;
}

// A string literal without its terminator.
template <std::size_t N>
char* appendLiteral(char* out, const char (&text)[N]) {
    return appendText(out, text, N - 1);
}
