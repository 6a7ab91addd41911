#pragma once

#include <cstddef>

#include "support/OmbrelApi.h"
#include "support/QMArray.h"

// A growable array of bits with counting, searching and set operations.
//
// Storage: bit i lives at position i & 7 (least significant bit first) of data
// byte i / 8. A block for n bits holds (n + 7) / 8 data bytes framed by one
// guard byte before and one after, both holding 1: whatever the bits, the
// guard after the data stops a forward byte scan (it is neither 0x00 nor 0xFF)
// and the guard before stops a backward one, so the scans need no bounds test.
// An array without storage points at a shared static empty block and owns
// nothing; a block is released only when the capacity is non-zero. Growing
// past the capacity allocates exactly the bytes needed (no growth factor).
// The bits between the count and the end of the last data byte hold whatever
// resizing left there; every count, search and comparison masks them off.
//
// Bounds: get() and operator[] answer false outside [0, count). The single-bit
// writers set/clear/toggle(i) and getNoSizeTest/getAsMask test nothing: the
// caller keeps 0 <= i < count (the *AutoResize forms grow the array first).
// Every range and list form validates its indices and never writes outside
// the bits [0, count). A negative size (constructor, resize, assign) counts
// as 0.
class OMBREL_API QMBoolArray {
public:
    QMBoolArray();
    QMBoolArray(int n, bool value);
    QMBoolArray(const QMBoolArray& other);
    QMBoolArray(QMBoolArray&& other) noexcept;
    QMBoolArray& operator=(const QMBoolArray& other);
    QMBoolArray& operator=(QMBoolArray&& other) noexcept;
    ~QMBoolArray();

    // ---- size and storage
    int getCount() const { return m_count; }
    int size() const { return m_count; }
    bool isEmpty() const { return m_count == 0; }
    // Capacity in bits: eight per allocated data byte.
    int getCapacity() const { return static_cast<int>(m_end - m_begin) * 8; }
    // The first data byte (the guard byte sits just before it).
    const unsigned char* getData() const { return m_begin; }

    // ---- reading one bit
    // The bit, or false when i is outside [0, count).
    bool get(int i) const { return static_cast<unsigned>(i) < static_cast<unsigned>(m_count) && getNoSizeTest(i); }
    bool operator[](int i) const { return get(i); }
    // The bit without any test; i must lie within the storage.
    bool getNoSizeTest(int i) const { return (m_begin[i >> 3] >> (i & 7)) & 1; }
    // The bit left in place within its byte: 1 << (i & 7) when set, 0 when
    // cleared. No test.
    unsigned char getAsMask(int i) const { return static_cast<unsigned char>(m_begin[i >> 3] & (1u << (i & 7))); }

    // ---- writing one bit (no bounds test: the caller keeps 0 <= i < count)
    void set(int i) { m_begin[i >> 3] |= static_cast<unsigned char>(1u << (i & 7)); }
    void clear(int i) { m_begin[i >> 3] &= static_cast<unsigned char>(~(1u << (i & 7))); }
    void toggle(int i) { m_begin[i >> 3] ^= static_cast<unsigned char>(1u << (i & 7)); }

    // When i >= count, first resize(i + 1, false); then as set/clear/toggle(i).
    // A negative i does nothing.
    void setAutoResize(int i);
    void clearAutoResize(int i);
    void toggleAutoResize(int i);

    // ---- ranges and lists
    // The half-open range [from, to), clipped to [0, count); nothing when
    // empty after clipping.
    void set(int from, int to);
    void clear(int from, int to);
    // The bits whose indices are listed; indices outside [0, count) are
    // ignored, as is a null list.
    void set(int n, const int* indices);
    void clear(int n, const int* indices);
    void set(const QMArray<int>& indices);
    void clear(const QMArray<int>& indices);

    // ---- set operations with another array
    // The other array counts as cleared beyond its count, and this array keeps
    // its own count: OR, AND NOT and XOR leave the bits beyond the other's
    // count unchanged, AND (inter) clears them.
    void set(const QMBoolArray& other);     // this |= other
    void clear(const QMBoolArray& other);   // this &= ~other
    void toggle(const QMBoolArray& other);  // this ^= other
    // Union that also grows: when the other array is longer, this one first
    // grows to its count (new bits cleared), then ORs it in.
    void merge(const QMBoolArray& other);
    void inter(const QMBoolArray& other);  // this &= other

    // ---- whole array
    void setAll();
    void clearAll();
    void toggleAll();
    void inverse() { toggleAll(); }  // Same as toggleAll().

    // ---- size and content management
    // Changes the count to n; bits from the old count up to n take value.
    // Shrinking keeps the storage; growing past the capacity reallocates to
    // exactly (n + 7) / 8 bytes.
    void resize(int n, bool value);
    // n bits, all equal to value.
    void assign(int n, bool value);
    // n bits read from packed bytes in this array's own order (bit i at
    // position i & 7 of bytes[i / 8]); a null pointer gives n cleared bits.
    // `bytes` must not point into this array's own storage.
    void assign(int n, const char* bytes);
    // n bits, set exactly at the listed indices; indices outside [0, n) are
    // ignored.
    void assign(int n, const int* indices, int count);
    void copy(const QMBoolArray& other);
    void swap(QMBoolArray& other) noexcept;
    // Releases the storage: back to the empty array.
    void freeData();
    // Count becomes 0; the storage is kept for reuse (freeData releases it).
    void clearArray() { m_count = 0; }

    // Inserts a bit at i, moving the bits from i upward up by one. Nothing
    // happens when i < 0 or i >= count: insert never appends (use resize or
    // setAutoResize for that).
    void insert(int i, bool value);
    // Removes bit i, moving the bits above it down by one; the count drops by
    // one and the storage is kept. Nothing happens when i is outside
    // [0, count).
    void erase(int i);

    // ---- searching
    // First index >= from whose bit equals value, or -1. A negative from
    // counts as 0.
    int findFirst(bool value, int from) const;
    int findFirst(bool value) const { return findFirst(value, 0); }
    // Last index <= from (inclusive) whose bit equals value, or -1. A from at
    // or beyond the count counts as count - 1; a negative from gives -1.
    int findLast(bool value, int from) const;
    int findLast(bool value) const { return findLast(value, m_count - 1); }

    // ---- counting
    int getNumberOfBitSet() const;
    int getNumberOfBitCleared() const { return m_count - getNumberOfBitSet(); }
    // Within the half-open range [from, to), clipped to [0, count).
    int getNumberOfBitSetWithin(int from, int to) const;
    int getNumberOfBitClearedWithin(int from, int to) const;

    // ---- index lists (the output array is replaced, in increasing order)
    void getIndexesSet(QMArray<int>& indices) const;
    void getIndexesCleared(QMArray<int>& indices) const;
    // setAll() / clearAll() that also report which bits changed: `modified`
    // is replaced by the indices, in increasing order, of the bits that were
    // cleared (for setAll) or set (for clearAll) before the call.
    void setAllModifiedIndices(QMArray<int>& modified);
    void clearAllModifiedIndices(QMArray<int>& modified);

    // ---- comparison
    // Same count and same bits.
    bool operator==(const QMBoolArray& other) const;
    // Same set of set bits, whatever the counts: the shorter array counts as
    // cleared beyond its count.
    bool bitTest(const QMBoolArray& other) const;
    // Whether some index is set in both arrays.
    bool hasInter(const QMBoolArray& other) const;

    // ---- memory
    // The object plus its storage.
    std::size_t getMemoryUsed() const { return sizeof(*this) + getDynMemoryUsed(); }
    // The allocated block, guard bytes included; 0 for the shared empty block.
    std::size_t getDynMemoryUsed() const {
        return m_end == m_begin ? 0 : static_cast<std::size_t>(m_end - m_begin) + 2;
    }

private:
    static unsigned char* emptyData();
    int getByteCount() const { return (m_count + 7) >> 3; }
    // Replaces the storage by an uninitialised block of `bytes` data bytes
    // (guards written); the old bits are lost. 0 bytes gives the empty block.
    void allocate(int bytes);
    void release();
    // Sets or clears the bits [from, to); no test (0 <= from <= to <= capacity).
    void fillBits(int from, int to, bool value);
    // The bits [from, to) that are set; no test.
    int countBits(int from, int to) const;
    void getIndexes(bool value, QMArray<int>& indices) const;
    void assignAllModified(bool value, QMArray<int>& modified);

    unsigned char* m_begin;
    unsigned char* m_end;
    int m_count;
};
