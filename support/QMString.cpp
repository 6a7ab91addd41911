#include "support/QMString.h"

#include <climits>
#include <cstring>

namespace {

// A fresh buffer of exactly length + 1 bytes holding the first length bytes of
// text and a terminator. Throws std::bad_alloc before anything is changed.
char* duplicate(const char* text, int length) {
    char* buffer = new char[static_cast<size_t>(length) + 1];
    std::memcpy(buffer, text, static_cast<size_t>(length));
    buffer[length] = '\0';
    return buffer;
}

int textLength(const char* text) { return text ? static_cast<int>(std::strlen(text)) : 0; }

}  // namespace

// Identity except 'a'..'z' -> 'A'..'Z'; bytes 128..255 map to themselves.
const unsigned char QMString::s_toUpper[256] = {
    0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09, 0x0A, 0x0B, 0x0C, 0x0D, 0x0E, 0x0F, 0x10, 0x11, 0x12,
    0x13, 0x14, 0x15, 0x16, 0x17, 0x18, 0x19, 0x1A, 0x1B, 0x1C, 0x1D, 0x1E, 0x1F, 0x20, 0x21, 0x22, 0x23, 0x24, 0x25,
    0x26, 0x27, 0x28, 0x29, 0x2A, 0x2B, 0x2C, 0x2D, 0x2E, 0x2F, 0x30, 0x31, 0x32, 0x33, 0x34, 0x35, 0x36, 0x37, 0x38,
    0x39, 0x3A, 0x3B, 0x3C, 0x3D, 0x3E, 0x3F, 0x40, 0x41, 0x42, 0x43, 0x44, 0x45, 0x46, 0x47, 0x48, 0x49, 0x4A, 0x4B,
    0x4C, 0x4D, 0x4E, 0x4F, 0x50, 0x51, 0x52, 0x53, 0x54, 0x55, 0x56, 0x57, 0x58, 0x59, 0x5A, 0x5B, 0x5C, 0x5D, 0x5E,
    0x5F, 0x60, 0x41, 0x42, 0x43, 0x44, 0x45, 0x46, 0x47, 0x48, 0x49, 0x4A, 0x4B, 0x4C, 0x4D, 0x4E, 0x4F, 0x50, 0x51,
    0x52, 0x53, 0x54, 0x55, 0x56, 0x57, 0x58, 0x59, 0x5A, 0x7B, 0x7C, 0x7D, 0x7E, 0x7F, 0x80, 0x81, 0x82, 0x83, 0x84,
    0x85, 0x86, 0x87, 0x88, 0x89, 0x8A, 0x8B, 0x8C, 0x8D, 0x8E, 0x8F, 0x90, 0x91, 0x92, 0x93, 0x94, 0x95, 0x96, 0x97,
    0x98, 0x99, 0x9A, 0x9B, 0x9C, 0x9D, 0x9E, 0x9F, 0xA0, 0xA1, 0xA2, 0xA3, 0xA4, 0xA5, 0xA6, 0xA7, 0xA8, 0xA9, 0xAA,
    0xAB, 0xAC, 0xAD, 0xAE, 0xAF, 0xB0, 0xB1, 0xB2, 0xB3, 0xB4, 0xB5, 0xB6, 0xB7, 0xB8, 0xB9, 0xBA, 0xBB, 0xBC, 0xBD,
    0xBE, 0xBF, 0xC0, 0xC1, 0xC2, 0xC3, 0xC4, 0xC5, 0xC6, 0xC7, 0xC8, 0xC9, 0xCA, 0xCB, 0xCC, 0xCD, 0xCE, 0xCF, 0xD0,
    0xD1, 0xD2, 0xD3, 0xD4, 0xD5, 0xD6, 0xD7, 0xD8, 0xD9, 0xDA, 0xDB, 0xDC, 0xDD, 0xDE, 0xDF, 0xE0, 0xE1, 0xE2, 0xE3,
    0xE4, 0xE5, 0xE6, 0xE7, 0xE8, 0xE9, 0xEA, 0xEB, 0xEC, 0xED, 0xEE, 0xEF, 0xF0, 0xF1, 0xF2, 0xF3, 0xF4, 0xF5, 0xF6,
    0xF7, 0xF8, 0xF9, 0xFA, 0xFB, 0xFC, 0xFD, 0xFE, 0xFF,
};

// ------------------------------------------------------------------ lifetime

QMString::QMString() : m_buffer(nullptr) {}

QMString::QMString(const char* text) : m_buffer(text ? duplicate(text, textLength(text)) : nullptr) {}

QMString::QMString(const QMString& other)
    : m_buffer(other.m_buffer ? duplicate(other.m_buffer, other.length()) : nullptr) {}

QMString::QMString(QMString&& other) noexcept : m_buffer(other.m_buffer) { other.m_buffer = nullptr; }

QMString::~QMString() { delete[] m_buffer; }

QMString& QMString::operator=(const QMString& other) {
    if (this != &other) set(other.m_buffer);
    return *this;
}

QMString& QMString::operator=(QMString&& other) noexcept {
    if (this != &other) {
        delete[] m_buffer;
        m_buffer = other.m_buffer;
        other.m_buffer = nullptr;
    }
    return *this;
}

QMString& QMString::operator=(const char* text) {
    set(text);
    return *this;
}

void QMString::set(const char* text) {
    if (!text) {
        clear();
        return;
    }
    // The copy is made before the old buffer goes, so text may point into it.
    adopt(duplicate(text, textLength(text)));
}

void QMString::clear() {
    delete[] m_buffer;
    m_buffer = nullptr;
}

void QMString::adopt(char* buffer) {
    delete[] m_buffer;
    m_buffer = buffer;
}

int QMString::length() const { return textLength(m_buffer); }

int QMString::getMemoryUsed() const { return static_cast<int>(sizeof(QMString)) + getDynMemoryUsed(); }

int QMString::getDynMemoryUsed() const { return m_buffer ? length() + 1 : 0; }

// ---------------------------------------------------------------- comparison

int QMString::cmp(const char* a, const char* b, int n) {
    if (!a) return (b && b[0]) ? -1 : 0;
    if (!b) return a[0] ? 1 : 0;
    if (n <= 0) n = INT_MAX;
    for (int i = 0; i < n; ++i) {
        const signed char ca = static_cast<signed char>(a[i]);
        const signed char cb = static_cast<signed char>(b[i]);
        if (ca < cb) return -1;
        if (ca > cb) return 1;
        if (ca == 0) return 0;
    }
    return 0;
}

int QMString::cmpNoCase(const char* a, const char* b, int n) {
    if (!a) return (b && b[0]) ? -1 : 0;
    if (!b) return a[0] ? 1 : 0;
    if (n <= 0) n = INT_MAX;
    for (int i = 0; i < n; ++i) {
        const unsigned char ca = upperByte(a[i]);
        const unsigned char cb = upperByte(b[i]);
        if (ca < cb) return -1;
        if (ca > cb) return 1;
        if (ca == 0) return 0;
    }
    return 0;
}

namespace {

// Whether the count bytes at a and b are equal, exactly or through the
// upper-casing table.
bool sameBytes(const char* a, const char* b, int count, bool noCase) {
    for (int i = 0; i < count; ++i) {
        const unsigned char ca = static_cast<unsigned char>(a[i]);
        const unsigned char cb = static_cast<unsigned char>(b[i]);
        if (noCase ? QMString::s_toUpper[ca] != QMString::s_toUpper[cb] : ca != cb) return false;
    }
    return true;
}

}  // namespace

bool QMString::startsWith(const char* prefix, bool noCase) const {
    const int prefixLength = textLength(prefix);
    if (prefixLength == 0) return true;
    if (prefixLength > length()) return false;
    return sameBytes(m_buffer, prefix, prefixLength, noCase);
}

bool QMString::startsWith(const QMString& prefix, bool noCase) const { return startsWith(prefix.m_buffer, noCase); }

bool QMString::endsWith(const char* suffix, bool noCase) const {
    const int suffixLength = textLength(suffix);
    if (suffixLength == 0) return true;
    const int ownLength = length();
    if (suffixLength > ownLength) return false;
    return sameBytes(m_buffer + (ownLength - suffixLength), suffix, suffixLength, noCase);
}

bool QMString::endsWith(const QMString& suffix, bool noCase) const { return endsWith(suffix.m_buffer, noCase); }

// ------------------------------------------------------------------- editing

void QMString::cutTo(int n) {
    if (n <= 0 || !m_buffer) return;
    const int ownLength = length();
    set(n >= ownLength ? "" : m_buffer + n);
}

void QMString::cutFrom(int n) {
    if (!m_buffer) return;
    if (n < 0) n = 0;
    if (length() > n) m_buffer[n] = '\0';
}

QMString QMString::subString(int from, int to) const {
    QMString result;
    if (!m_buffer) return result;
    const int ownLength = length();
    if (from < 0) from = 0;
    if (to < 0 || to > ownLength) to = ownLength;
    result.m_buffer = from < to ? duplicate(m_buffer + from, to - from) : duplicate("", 0);
    return result;
}

void QMString::toUpper() {
    if (!m_buffer) return;
    for (char* c = m_buffer; *c; ++c) *c = static_cast<char>(upperByte(*c));
}

// ------------------------------------------------------------- concatenation

QMString QMString::concatenate(const char* a, int aLength, const char* b, int bLength) {
    char* buffer = new char[static_cast<size_t>(aLength) + static_cast<size_t>(bLength) + 1];
    std::memcpy(buffer, a, static_cast<size_t>(aLength));
    std::memcpy(buffer + aLength, b, static_cast<size_t>(bLength));
    buffer[aLength + bLength] = '\0';
    QMString result;
    result.m_buffer = buffer;
    return result;
}

QMString QMString::operator+(const QMString& other) const {
    if (other.empty()) return *this;
    if (empty()) return other;
    return concatenate(m_buffer, length(), other.m_buffer, other.length());
}

QMString QMString::operator+(const char* other) const {
    const int otherLength = textLength(other);
    if (otherLength == 0) return *this;
    if (empty()) return QMString(other);
    return concatenate(m_buffer, length(), other, otherLength);
}

QMString operator+(const char* left, const QMString& right) {
    const int leftLength = textLength(left);
    if (right.empty()) return QMString(left);
    if (leftLength == 0) return right;
    return QMString::concatenate(left, leftLength, right.m_buffer, right.length());
}

QMString& QMString::operator+=(const QMString& other) { return *this += other.m_buffer; }

QMString& QMString::operator+=(const char* other) {
    const int otherLength = textLength(other);
    if (otherLength == 0) return *this;
    if (empty()) {
        set(other);
        return *this;
    }
    // Both texts are copied into the new buffer before the old one goes, so
    // other may point into this string (s += s).
    *this = concatenate(m_buffer, length(), other, otherLength);
    return *this;
}
