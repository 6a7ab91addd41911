#include "support/QMString.h"

#include <cstring>

// Character-set and whole-text searches of QMString.

namespace {

// The bytes of a set, marked in a 256-entry table so that a scan tests each
// byte of the string with one lookup.
class ByteSet {
public:
    explicit ByteSet(const char* set) {
        std::memset(m_contains, 0, sizeof(m_contains));
        if (!set) return;
        for (const char* c = set; *c; ++c) m_contains[static_cast<unsigned char>(*c)] = true;
    }
    bool contains(char c) const { return m_contains[static_cast<unsigned char>(c)]; }

private:
    bool m_contains[256];
};

// First index in [start, length) whose byte is (wanted) or is not (!wanted)
// in the set, or -1.
int scanForward(const char* text, int length, int start, const ByteSet& set, bool wanted) {
    for (int i = start; i < length; ++i) {
        if (set.contains(text[i]) == wanted) return i;
    }
    return -1;
}

// Last index in [0, start] whose byte is (wanted) or is not (!wanted) in the
// set, or -1.
int scanBackward(const char* text, int start, const ByteSet& set, bool wanted) {
    for (int i = start; i >= 0; --i) {
        if (set.contains(text[i]) == wanted) return i;
    }
    return -1;
}

bool sameByte(char a, char b, bool noCase) {
    if (!noCase) return a == b;
    return QMString::s_toUpper[static_cast<unsigned char>(a)] == QMString::s_toUpper[static_cast<unsigned char>(b)];
}

// One forward pass over positions start .. length - needleLength - 1 with a
// match counter and no backtracking. On a mismatch the counter restarts at 1
// when the byte equals the needle's first byte exactly, else at 0.
int forwardTextScan(const char* text, int length, const char* needle, int needleLength, int start, bool noCase) {
    const int bound = length - needleLength;
    int j = 0;
    for (int i = start; i < bound; ++i) {
        if (sameByte(text[i], needle[j], noCase)) {
            if (j == needleLength - 1) return i - j;
            ++j;
        } else {
            j = text[i] == needle[0] ? 1 : 0;
        }
    }
    return -1;
}

// The mirror image of forwardTextScan: one backward pass from start down to
// position needleLength, matching the needle from its last byte; on a
// mismatch the counter restarts one byte into the needle when the byte equals
// the needle's last byte exactly.
int backwardTextScan(const char* text, const char* needle, int needleLength, int start, bool noCase) {
    const int last = needleLength - 1;
    int j = last;
    for (int i = start; i > last; --i) {
        if (sameByte(text[i], needle[j], noCase)) {
            if (j == 0) return i;
            --j;
        } else {
            j = text[i] == needle[last] ? last - 1 : last;
        }
    }
    return -1;
}

int needleLengthOf(const char* needle) { return needle ? static_cast<int>(std::strlen(needle)) : 0; }

}  // namespace

// ------------------------------------------------------- character-set scans

int QMString::findFirstCharOf(const char* set) const { return scanForward(m_buffer, length(), 0, ByteSet(set), true); }

int QMString::findLastCharOf(const char* set) const { return scanBackward(m_buffer, length() - 1, ByteSet(set), true); }

int QMString::findNextCharOf(const char* set, int from) const {
    const int ownLength = length();
    if (from >= ownLength - 1) return -1;
    return scanForward(m_buffer, ownLength, from < 0 ? 0 : from + 1, ByteSet(set), true);
}

int QMString::findPrevCharOf(const char* set, int from) const {
    if (from <= 0) return -1;
    const int ownLength = length();
    return scanBackward(m_buffer, (from > ownLength ? ownLength : from) - 1, ByteSet(set), true);
}

int QMString::findFirstCharNotOf(const char* set) const {
    return scanForward(m_buffer, length(), 0, ByteSet(set), false);
}

int QMString::findLastCharNotOf(const char* set) const {
    return scanBackward(m_buffer, length() - 1, ByteSet(set), false);
}

int QMString::findNextCharNotOf(const char* set, int from) const {
    const int ownLength = length();
    if (from >= ownLength - 1) return -1;
    return scanForward(m_buffer, ownLength, from < 0 ? 0 : from + 1, ByteSet(set), false);
}

int QMString::findPrevCharNotOf(const char* set, int from) const {
    if (from <= 0) return -1;
    const int ownLength = length();
    return scanBackward(m_buffer, (from > ownLength ? ownLength : from) - 1, ByteSet(set), false);
}

// --------------------------------------------------------- whole-text scans

int QMString::findFirst(const char* text, bool noCase) const {
    const int needleLength = needleLengthOf(text);
    const int ownLength = length();
    if (needleLength == 0 || needleLength > ownLength) return -1;
    return forwardTextScan(m_buffer, ownLength, text, needleLength, 0, noCase);
}

int QMString::findLast(const char* text, bool noCase) const {
    const int needleLength = needleLengthOf(text);
    const int ownLength = length();
    if (needleLength == 0 || needleLength > ownLength) return -1;
    return backwardTextScan(m_buffer, text, needleLength, ownLength - 1, noCase);
}

int QMString::findNext(const char* text, int from, bool noCase) const {
    const int needleLength = needleLengthOf(text);
    const int ownLength = length();
    if (needleLength == 0 || needleLength > ownLength || from >= ownLength) return -1;
    return forwardTextScan(m_buffer, ownLength, text, needleLength, from < 0 ? 0 : from + 1, noCase);
}

int QMString::findPrev(const char* text, int from, bool noCase) const {
    const int needleLength = needleLengthOf(text);
    const int ownLength = length();
    if (needleLength == 0 || needleLength > ownLength || from <= 0) return -1;
    return backwardTextScan(m_buffer, text, needleLength, (from > ownLength ? ownLength : from) - 1, noCase);
}
