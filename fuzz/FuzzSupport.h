#pragma once

// What every fuzz target shares: the check that stops the run on a broken
// invariant, a scratch directory in memory for the files the library reads
// and writes, and byte-exact comparison of arrays (floats are compared by
// their bits, so a NaN equals the same NaN). Files are read and written with
// the tests' helpers (TestFiles.h), which throw on failure: an uncaught
// exception aborts the run like a broken invariant.

#include "support/QMArray.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <vector>

// Prints what broke and where, then aborts: libFuzzer saves the input.
[[noreturn]] void invariantBroken(const char* condition, const std::string& what, const char* file, int line);

#define FUZZ_CHECK(condition, what) ((condition) ? void(0) : invariantBroken(#condition, (what), __FILE__, __LINE__))

// A path in this process's scratch directory (/dev/shm/ombrel-fuzz-PID, or
// the same under /tmp without /dev/shm). The directory is made on first use
// and removed with its contents when the process exits.
std::string scratchPath(const std::string& name);

// The raw bytes of an array's elements.
template <class T>
std::span<const unsigned char> bytesOf(const QMArray<T>& array) {
    return {reinterpret_cast<const unsigned char*>(array.data()), array.size() * sizeof(T)};
}

inline bool sameBytes(std::span<const unsigned char> a, std::span<const unsigned char> b) {
    return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size()) == 0);
}

template <class T>
bool sameArray(const QMArray<T>& a, const QMArray<T>& b) {
    return sameBytes(bytesOf(a), bytesOf(b));
}

// An array laid over raw bytes, as a reader copies a block body (the bytes
// beyond whole elements are dropped).
template <class T>
QMArray<T> arrayFromBytes(std::span<const unsigned char> bytes) {
    QMArray<T> array(bytes.size() / sizeof(T));
    if (!array.empty()) std::memcpy(array.data(), bytes.data(), array.size() * sizeof(T));
    return array;
}

// Whether every byte from `from` on is zero (true when there are none).
bool zeroFrom(std::span<const unsigned char> bytes, std::size_t from);

// Size and 64-bit FNV-1a hash of an array's bytes: lets a target compare the
// results of several readers without keeping them all in memory at once.
struct ArrayDigest {
    std::size_t bytes = 0;
    std::uint64_t hash = 0;
    bool operator==(const ArrayDigest&) const = default;
};
ArrayDigest digestOf(std::span<const unsigned char> bytes);
template <class T>
ArrayDigest digestOf(const QMArray<T>& array) {
    return digestOf(bytesOf(array));
}
