#pragma once

#include "support/OmbrelApi.h"

// The library's text type: one owned, heap-allocated, NUL-terminated 8-bit
// buffer, or null. Null and a buffer holding only the terminator both count as
// empty, and every operation treats null like the empty text.
//
// Every assignment allocates a fresh buffer of exactly length + 1 bytes and
// releases the old one afterwards; there is no spare capacity and no sharing.
// Allocation failure throws std::bad_alloc and leaves the string unchanged.
class OMBREL_API QMString {
public:
    // ---------------------------------------------------------- lifetime
    QMString();                  // null
    QMString(const char* text);  // copy of text; null gives null
    QMString(const QMString& other);
    QMString(QMString&& other) noexcept;  // takes the buffer, leaves other null
    ~QMString();

    QMString& operator=(const QMString& other);
    QMString& operator=(QMString&& other) noexcept;
    QMString& operator=(const char* text);

    void set(const char* text);  // null gives the null string, "" a one-byte buffer
    void clear();                // releases the buffer; the string becomes null

    const char* c_str() const { return m_buffer; }  // possibly null
    bool empty() const { return !m_buffer || !m_buffer[0]; }
    int length() const;            // 0 for null
    int getMemoryUsed() const;     // the object plus its buffer
    int getDynMemoryUsed() const;  // length + 1, or 0 for null

    // -------------------------------------------------------- comparison
    // -1, 0 or 1. A null text equals a null or empty one and sorts before any
    // non-empty one. At most n bytes are compared; n <= 0 means no limit.
    // cmp orders bytes as signed values (128..255 sort before ASCII);
    // cmpNoCase maps both bytes through s_toUpper and orders them unsigned.
    static int cmp(const char* a, const char* b, int n = -1);
    static int cmpNoCase(const char* a, const char* b, int n = -1);

    // An empty prefix/suffix always matches, a longer one never does.
    bool startsWith(const char* prefix, bool noCase = false) const;
    bool startsWith(const QMString& prefix, bool noCase = false) const;
    bool endsWith(const char* suffix, bool noCase = false) const;
    bool endsWith(const QMString& suffix, bool noCase = false) const;

    // ---------------------------------------------------------- searches
    // Index of the first byte of the match, or -1. A null or empty set
    // contains no byte.
    int findFirstCharOf(const char* set) const;
    int findLastCharOf(const char* set) const;
    int findNextCharOf(const char* set, int from) const;  // indices > from
    int findPrevCharOf(const char* set, int from) const;  // indices < from
    int findFirstCharNotOf(const char* set) const;
    int findLastCharNotOf(const char* set) const;
    int findNextCharNotOf(const char* set, int from) const;  // indices > from
    int findPrevCharNotOf(const char* set, int from) const;  // indices < from

    // Whole-text searches: one pass without backtracking (the restart test
    // against the text's first (backward: last) byte is case-sensitive).
    // Forward scan over positions 0 .. length - length(text) - 1 only, so a
    // match must end before that bound.
    int findFirst(const char* text, bool noCase = false) const;
    // Mirror of findFirst: backward scan from the end down to position length(text), so a match must start there or
    // later.
    int findLast(const char* text, bool noCase = false) const;
    // findFirst's forward scan, begun at from + 1: the match starts after from and ends before findFirst's bound.
    int findNext(const char* text, int from, bool noCase = false) const;
    // findLast's backward scan, begun at from - 1: the match ends before from and starts at length(text) or later.
    int findPrev(const char* text, int from, bool noCase = false) const;

    // ----------------------------------------------------------- editing
    // Keeps the text from index n on (n <= 0: unchanged; n >= length: "").
    void cutTo(int n);
    // Keeps the first n bytes by writing a terminator at n (in place; a
    // negative n counts as 0).
    void cutFrom(int n);
    // Bytes [from, to); to < 0 or beyond the length means the end, a negative
    // from counts as 0. Null for a null string, "" when the range is empty.
    QMString subString(int from, int to) const;
    void toUpper();  // in place, through s_toUpper

    // When one side is empty the result is a copy of the other; otherwise one
    // new buffer holds both texts.
    QMString operator+(const QMString& other) const;
    QMString operator+(const char* other) const;
    QMString& operator+=(const QMString& other);
    QMString& operator+=(const char* other);

    // -------------------------------------------------------- file names
    // Pointer into this string's own buffer: past the first ':' if any, then at
    // the first '/' of what remains if any. Null for a null string.
    const char* getValidFilePath() const;
    // The text after the last '/' or '\\', without its extension (up to the
    // last '.' that follows the separator).
    QMString getFileName() const;
    // Increments the number that ends the file name, before its extension:
    // "" -> "1", "name.dat" -> "name1.dat", "a19.x" -> "a20.x", "99" -> "100".
    void fileNameAdvance();

    // ---------------------------------------------------------- printing
    // Short count: "1.2m" for 1,234,567, "12.3k" for 12,345, "999" for 999
    // (one decimal, truncated).
    void printShortCount(int n);
    // Elapsed time from milliseconds. The largest non-zero unit leads without
    // padding and every smaller unit follows with two digits, down to
    // seconds: "5s", "1m 01s", "1h 02m 03s", "2d 00h 00m 07s". With
    // withMilliseconds, " 045ms" (three digits) is appended. Negative counts
    // as 0.
    void printTime(int milliseconds, bool withMilliseconds);

    // Upper-casing table of every case-insensitive operation: each byte maps
    // to itself except 'a'..'z', which map to 'A'..'Z'. Always indexed by the
    // unsigned byte value.
    static const unsigned char s_toUpper[256];

private:
    friend QMString operator+(const char* left, const QMString& right);

    // Takes ownership of buffer, releasing the current one.
    void adopt(char* buffer);
    // The upper-case form of a byte, looked up by its unsigned value.
    static unsigned char upperByte(char c) { return s_toUpper[static_cast<unsigned char>(c)]; }
    // A string holding a followed by b in one new buffer (both non-empty).
    static QMString concatenate(const char* a, int aLength, const char* b, int bLength);

    char* m_buffer;
};

// Concatenation with the text on the left, by the same rule as the members.
OMBREL_API QMString operator+(const char* left, const QMString& right);
