#include "support/QMBoolArray.h"

#include <cstdint>

#include "support/QMBitMgr.h"

// Searching, counting and listing the bits of a QMBoolArray.

namespace {

// The byte as seen by a search for `value`: the matching bits set.
unsigned matches(unsigned char byte, bool value) { return value ? byte : (~static_cast<unsigned>(byte) & 0xFFu); }

int population(unsigned bits) { return QMBitMgr::getNumBits1(static_cast<std::uint8_t>(bits)); }

}  // namespace

int QMBoolArray::findFirst(bool value, int from) const {
    if (from < 0) from = 0;
    if (from >= m_count) return -1;
    int byte = from >> 3;
    unsigned bits = matches(m_begin[byte], value) & (0xFFu << (from & 7));
    // The guard byte after the data (1) matches both searches, so the scan
    // stops there at the latest; a match at or beyond the count means none.
    while (bits == 0) bits = matches(m_begin[++byte], value);
    const int found = byte * 8 + QMBitMgr::getFirstBit1(static_cast<std::uint8_t>(bits));
    return found < m_count ? found : -1;
}

int QMBoolArray::findLast(bool value, int from) const {
    if (from >= m_count) from = m_count - 1;
    if (from < 0) return -1;
    int byte = from >> 3;
    unsigned bits = matches(m_begin[byte], value) & (0xFFu >> (7 - (from & 7)));
    // The guard byte before the data (1) matches both searches: reaching it
    // gives a negative index, meaning none.
    while (bits == 0) bits = matches(m_begin[--byte], value);
    const int found = byte * 8 + QMBitMgr::getLastBit1(static_cast<std::uint8_t>(bits));
    return found < 0 ? -1 : found;
}

int QMBoolArray::countBits(int from, int to) const {
    if (from >= to) return 0;
    const int firstByte = from >> 3;
    const int lastByte = (to - 1) >> 3;
    const unsigned lowMask = 0xFFu << (from & 7);
    const unsigned highMask = 0xFFu >> (7 - ((to - 1) & 7));
    if (firstByte == lastByte) return population(m_begin[firstByte] & lowMask & highMask);
    int count = population(m_begin[firstByte] & lowMask) + population(m_begin[lastByte] & highMask);
    for (int b = firstByte + 1; b < lastByte; ++b) count += population(m_begin[b]);
    return count;
}

int QMBoolArray::getNumberOfBitSet() const {
    // Whole bytes, then the last byte masked to the bits below the count.
    const int whole = m_count >> 3;
    int count = 0;
    for (int b = 0; b < whole; ++b) count += population(m_begin[b]);
    if ((m_count & 7) != 0) count += population(m_begin[whole] & ((1u << (m_count & 7)) - 1u));
    return count;
}

int QMBoolArray::getNumberOfBitSetWithin(int from, int to) const {
    if (from < 0) from = 0;
    if (to > m_count) to = m_count;
    return countBits(from, to);
}

int QMBoolArray::getNumberOfBitClearedWithin(int from, int to) const {
    if (from < 0) from = 0;
    if (to > m_count) to = m_count;
    return from >= to ? 0 : (to - from) - countBits(from, to);
}

void QMBoolArray::getIndexes(bool value, QMArray<int>& indices) const {
    indices.clear();
    for (int i = findFirst(value, 0); i >= 0; i = findFirst(value, i + 1)) indices.push_back(i);
}

void QMBoolArray::getIndexesSet(QMArray<int>& indices) const { getIndexes(true, indices); }
void QMBoolArray::getIndexesCleared(QMArray<int>& indices) const { getIndexes(false, indices); }

void QMBoolArray::assignAllModified(bool value, QMArray<int>& modified) {
    // The bits that change are those holding the opposite value.
    getIndexes(!value, modified);
    if (value)
        setAll();
    else
        clearAll();
}

void QMBoolArray::setAllModifiedIndices(QMArray<int>& modified) { assignAllModified(true, modified); }
void QMBoolArray::clearAllModifiedIndices(QMArray<int>& modified) { assignAllModified(false, modified); }
