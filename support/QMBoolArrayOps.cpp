#include "support/QMBoolArray.h"

#include <algorithm>

// Ranges, index lists, set operations with another array, whole-array
// operations and comparisons of QMBoolArray.

namespace {

// Applies `op(mine, theirs)` byte by byte to the first `bits` bits of `mine`;
// the bits of the last, partial byte above `bits` are left as they were.
template <class Op>
void combine(unsigned char* mine, const unsigned char* theirs, int bits, Op op) {
    const int whole = bits >> 3;
    for (int b = 0; b < whole; ++b) mine[b] = static_cast<unsigned char>(op(mine[b], theirs[b]));
    if ((bits & 7) != 0) {
        const unsigned mask = (1u << (bits & 7)) - 1u;
        const unsigned result = op(mine[whole], theirs[whole]);
        mine[whole] = static_cast<unsigned char>((result & mask) | (mine[whole] & ~mask));
    }
}

}  // namespace

void QMBoolArray::set(int from, int to) { fillBits(std::max(from, 0), std::min(to, m_count), true); }

void QMBoolArray::clear(int from, int to) { fillBits(std::max(from, 0), std::min(to, m_count), false); }

void QMBoolArray::set(int n, const int* indices) {
    if (indices == nullptr) return;
    for (int k = 0; k < n; ++k)
        if (static_cast<unsigned>(indices[k]) < static_cast<unsigned>(m_count)) set(indices[k]);
}

void QMBoolArray::clear(int n, const int* indices) {
    if (indices == nullptr) return;
    for (int k = 0; k < n; ++k)
        if (static_cast<unsigned>(indices[k]) < static_cast<unsigned>(m_count)) clear(indices[k]);
}

void QMBoolArray::set(const QMArray<int>& indices) { set(static_cast<int>(indices.size()), indices.data()); }

void QMBoolArray::clear(const QMArray<int>& indices) { clear(static_cast<int>(indices.size()), indices.data()); }

void QMBoolArray::set(const QMBoolArray& other) {
    combine(m_begin, other.m_begin, std::min(m_count, other.m_count), [](unsigned a, unsigned b) { return a | b; });
}

void QMBoolArray::clear(const QMBoolArray& other) {
    combine(m_begin, other.m_begin, std::min(m_count, other.m_count), [](unsigned a, unsigned b) { return a & ~b; });
}

void QMBoolArray::toggle(const QMBoolArray& other) {
    combine(m_begin, other.m_begin, std::min(m_count, other.m_count), [](unsigned a, unsigned b) { return a ^ b; });
}

void QMBoolArray::merge(const QMBoolArray& other) {
    if (other.m_count > m_count) resize(other.m_count, false);
    set(other);
}

void QMBoolArray::inter(const QMBoolArray& other) {
    const int common = std::min(m_count, other.m_count);
    combine(m_begin, other.m_begin, common, [](unsigned a, unsigned b) { return a & b; });
    fillBits(common, m_count, false);
}

void QMBoolArray::setAll() { fillBits(0, m_count, true); }
void QMBoolArray::clearAll() { fillBits(0, m_count, false); }

void QMBoolArray::toggleAll() {
    const int bytes = getByteCount();
    for (int b = 0; b < bytes; ++b) m_begin[b] = static_cast<unsigned char>(~m_begin[b]);
}

bool QMBoolArray::operator==(const QMBoolArray& other) const {
    if (m_count != other.m_count) return false;
    const int whole = m_count >> 3;
    for (int b = 0; b < whole; ++b)
        if (m_begin[b] != other.m_begin[b]) return false;
    const unsigned mask = (1u << (m_count & 7)) - 1u;
    return mask == 0 || ((m_begin[whole] ^ other.m_begin[whole]) & mask) == 0;
}

bool QMBoolArray::bitTest(const QMBoolArray& other) const {
    const QMBoolArray& shorter = m_count <= other.m_count ? *this : other;
    const QMBoolArray& longer = m_count <= other.m_count ? other : *this;
    const int common = shorter.m_count;
    if (longer.getNumberOfBitSetWithin(common, longer.m_count) != 0) return false;
    const int whole = common >> 3;
    for (int b = 0; b < whole; ++b)
        if (m_begin[b] != other.m_begin[b]) return false;
    const unsigned mask = (1u << (common & 7)) - 1u;
    return mask == 0 || ((m_begin[whole] ^ other.m_begin[whole]) & mask) == 0;
}

bool QMBoolArray::hasInter(const QMBoolArray& other) const {
    const int common = std::min(m_count, other.m_count);
    const int whole = common >> 3;
    for (int b = 0; b < whole; ++b)
        if ((m_begin[b] & other.m_begin[b]) != 0) return true;
    const unsigned mask = (1u << (common & 7)) - 1u;
    return mask != 0 && (m_begin[whole] & other.m_begin[whole] & mask) != 0;
}
