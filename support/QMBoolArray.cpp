#include "support/QMBoolArray.h"

#include <cstring>
#include <utility>

// Storage, size management and the insertion and removal of single bits.

namespace {

// The empty array's block: a guard byte before and one after no data bytes.
// Nothing ever writes to it (every writer with a bounds test finds count 0).
unsigned char g_emptyBlock[2] = {1, 1};

int nonNegative(int n) { return n < 0 ? 0 : n; }
int bytesFor(int bits) { return (bits + 7) >> 3; }

}  // namespace

unsigned char* QMBoolArray::emptyData() { return g_emptyBlock + 1; }

QMBoolArray::QMBoolArray() : m_begin(emptyData()), m_end(emptyData()), m_count(0) {}

QMBoolArray::QMBoolArray(int n, bool value) : QMBoolArray() { assign(n, value); }

QMBoolArray::QMBoolArray(const QMBoolArray& other) : QMBoolArray() { copy(other); }

QMBoolArray::QMBoolArray(QMBoolArray&& other) noexcept : QMBoolArray() { swap(other); }

QMBoolArray& QMBoolArray::operator=(const QMBoolArray& other) {
    copy(other);
    return *this;
}

QMBoolArray& QMBoolArray::operator=(QMBoolArray&& other) noexcept {
    if (this != &other) {
        freeData();
        swap(other);
    }
    return *this;
}

QMBoolArray::~QMBoolArray() { release(); }

void QMBoolArray::release() {
    if (m_end != m_begin) delete[](m_begin - 1);
    m_begin = m_end = emptyData();
}

void QMBoolArray::allocate(int bytes) {
    release();
    if (bytes <= 0) return;
    unsigned char* block = new unsigned char[static_cast<std::size_t>(bytes) + 2];
    block[0] = 1;
    block[bytes + 1] = 1;
    m_begin = block + 1;
    m_end = m_begin + bytes;
}

void QMBoolArray::freeData() {
    release();
    m_count = 0;
}

void QMBoolArray::swap(QMBoolArray& other) noexcept {
    std::swap(m_begin, other.m_begin);
    std::swap(m_end, other.m_end);
    std::swap(m_count, other.m_count);
}

void QMBoolArray::copy(const QMBoolArray& other) {
    if (this == &other) return;
    const int bytes = other.getByteCount();
    if (other.m_count > getCapacity()) allocate(bytes);
    if (bytes > 0) std::memcpy(m_begin, other.m_begin, static_cast<std::size_t>(bytes));
    m_count = other.m_count;
}

void QMBoolArray::fillBits(int from, int to, bool value) {
    if (from >= to) return;
    const int firstByte = from >> 3;
    const int lastByte = (to - 1) >> 3;
    const unsigned lowMask = 0xFFu << (from & 7);             // bits from `from` upward in its byte
    const unsigned highMask = 0xFFu >> (7 - ((to - 1) & 7));  // bits up to `to - 1` in its byte
    if (firstByte == lastByte) {
        const unsigned mask = lowMask & highMask;
        m_begin[firstByte] =
            static_cast<unsigned char>(value ? (m_begin[firstByte] | mask) : (m_begin[firstByte] & ~mask));
        return;
    }
    m_begin[firstByte] =
        static_cast<unsigned char>(value ? (m_begin[firstByte] | lowMask) : (m_begin[firstByte] & ~lowMask));
    if (lastByte - firstByte > 1)
        std::memset(m_begin + firstByte + 1, value ? 0xFF : 0x00, static_cast<std::size_t>(lastByte - firstByte - 1));
    m_begin[lastByte] =
        static_cast<unsigned char>(value ? (m_begin[lastByte] | highMask) : (m_begin[lastByte] & ~highMask));
}

void QMBoolArray::resize(int n, bool value) {
    n = nonNegative(n);
    if (n <= getCapacity()) {
        if (n > m_count) fillBits(m_count, n, value);
        m_count = n;
        return;
    }
    // Past the capacity: a new block of exactly the bytes needed. The old data
    // bytes are copied, the new whole bytes filled, and the byte that held the
    // old last bit completed from the old count upward.
    const int newBytes = bytesFor(n);
    const int oldBytes = getByteCount();
    unsigned char* block = new unsigned char[static_cast<std::size_t>(newBytes) + 2];
    block[0] = 1;
    block[newBytes + 1] = 1;
    unsigned char* data = block + 1;
    if (oldBytes > 0) std::memcpy(data, m_begin, static_cast<std::size_t>(oldBytes));
    std::memset(data + oldBytes, value ? 0xFF : 0x00, static_cast<std::size_t>(newBytes - oldBytes));
    if ((m_count & 7) != 0) {
        const unsigned upper = 0xFFu << (m_count & 7);
        unsigned char& last = data[m_count >> 3];
        last = static_cast<unsigned char>(value ? (last | upper) : (last & ~upper));
    }
    release();
    m_begin = data;
    m_end = data + newBytes;
    m_count = n;
}

void QMBoolArray::assign(int n, bool value) {
    n = nonNegative(n);
    if (n > getCapacity()) allocate(bytesFor(n));
    if (n > 0) std::memset(m_begin, value ? 0xFF : 0x00, static_cast<std::size_t>(bytesFor(n)));
    m_count = n;
}

void QMBoolArray::assign(int n, const char* bytes) {
    n = nonNegative(n);
    if (bytes == nullptr) {
        assign(n, false);
        return;
    }
    if (n > getCapacity()) allocate(bytesFor(n));
    if (n > 0) std::memcpy(m_begin, bytes, static_cast<std::size_t>(bytesFor(n)));
    m_count = n;
}

void QMBoolArray::assign(int n, const int* indices, int count) {
    assign(n, false);
    set(count, indices);
}

void QMBoolArray::setAutoResize(int i) {
    if (i < 0) return;
    if (i >= m_count) resize(i + 1, false);
    set(i);
}

void QMBoolArray::clearAutoResize(int i) {
    if (i < 0) return;
    if (i >= m_count) resize(i + 1, false);
    clear(i);
}

void QMBoolArray::toggleAutoResize(int i) {
    if (i < 0) return;
    if (i >= m_count) resize(i + 1, false);
    toggle(i);
}

void QMBoolArray::insert(int i, bool value) {
    if (i < 0 || i >= m_count) return;
    resize(m_count + 1, false);
    const int home = i >> 3;
    // Every byte above i's own byte moves up by one bit, taking in the top bit
    // of the byte below it; done from the top so each takes the unshifted bit.
    for (int b = getByteCount() - 1; b > home; --b)
        m_begin[b] = static_cast<unsigned char>((m_begin[b] << 1) | (m_begin[b - 1] >> 7));
    // i's own byte keeps the bits below i and moves those from i upward.
    const unsigned below = (1u << (i & 7)) - 1u;
    const unsigned old = m_begin[home];
    m_begin[home] = static_cast<unsigned char>((old & below) | ((old & ~below) << 1));
    if (value)
        set(i);
    else
        clear(i);
}

void QMBoolArray::erase(int i) {
    if (i < 0 || i >= m_count) return;
    const int bytes = getByteCount();
    const int home = i >> 3;
    // i's own byte keeps the bits below i and moves those above i down.
    const unsigned below = (1u << (i & 7)) - 1u;
    const unsigned old = m_begin[home];
    unsigned merged = (old & below) | ((old >> 1) & ~below & 0x7Fu);
    // Every byte from there moves down by one bit, taking in the bottom bit of
    // the byte above it (none above the last data byte).
    for (int b = home; b < bytes; ++b) {
        const unsigned carry = b + 1 < bytes ? (m_begin[b + 1] & 1u) << 7 : 0u;
        const unsigned shifted = b == home ? merged : (static_cast<unsigned>(m_begin[b]) >> 1);
        m_begin[b] = static_cast<unsigned char>(shifted | carry);
    }
    --m_count;
}
