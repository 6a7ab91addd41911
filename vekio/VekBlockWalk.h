#pragma once

#include "vekio/QMVekIO.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

// The walk over the blocks of one Vek file that every block reader shares:
// check the file header, then hand out block headers until the end block,
// the end of the file, or a block whose size is below 16 (its walk could not
// advance). The file is a file opened by name (closed when the walk goes out
// of scope) or bytes in memory (VekBytes), read the same way to the byte.
//
// Untrusted input: every read is bounded by the bytes present, positions are
// 64-bit, and each step moves forward by at least 16 bytes or ends the walk.
class VekBlockWalk {
public:
    VekBlockWalk(QMVekIO& io, const QMString& name);
    VekBlockWalk(QMVekIO& io, const VekBytes& bytes);
    ~VekBlockWalk();
    VekBlockWalk(const VekBlockWalk&) = delete;
    VekBlockWalk& operator=(const VekBlockWalk&) = delete;

    // Whether the file could be opened, and whether its file header is valid.
    bool opened() const;
    bool start();

    // The next block header; false at the end of the walk.
    bool next(Vek_Header& header);

    // Sizes `array` from the header's count (times `elementsPerCount`),
    // keeping what it held and zero-filling new elements, then lays the body
    // over the start of its storage. The body's bytes beyond the array are
    // skipped; a short body leaves the rest of the array as it was.
    template <class T>
    void readBody(const Vek_Header& header, QMArray<T>& array, std::uint64_t elementsPerCount) {
        const std::uint64_t bodyBytes = std::uint64_t(header.size) - 16;
        const std::uint64_t elements = allowedElements(header, elementsPerCount, sizeof(T), bodyBytes);
        array.resize(static_cast<std::size_t>(elements));
        const std::uint64_t readBytes = std::min<std::uint64_t>(bodyBytes, elements * sizeof(T));
        readInto(array.data(), readBytes, bodyBytes);
    }

    void skipBody(const Vek_Header& header);

    // Reads exactly `count` bytes at the current position; false (having read
    // what there was) when fewer are left. For readers that walk on their own.
    bool readExactly(void* to, std::uint64_t count);
    // The next 16 bytes as a block header, whatever it says.
    bool readHeader(Vek_Header& header);

    // The current position (after next(), where the block's body starts) and
    // the bytes in the file.
    std::uint64_t offset() const { return position(); }
    std::uint64_t size() const { return m_size; }

private:
    // How many of the elements the header's count names (elementsPerCount
    // each) may be allocated: all of them unless that needs more than the
    // body bytes present in the file plus the allowance, in which case only
    // the elements actually present. Notes the damage when fewer are present.
    std::uint64_t allowedElements(const Vek_Header& header, std::uint64_t elementsPerCount,
                                  std::uint64_t elementSize, std::uint64_t bodyBytes);
    void readInto(void* storage, std::uint64_t readBytes, std::uint64_t bodyBytes);

    // The source's primitives: the current position, reading at it (what is
    // there, up to `count`) and moving it (past the end is allowed, as a seek).
    std::uint64_t position() const;
    std::uint64_t readSome(void* to, std::uint64_t count);
    void moveTo(std::uint64_t position);

    QMVekIO& m_io;
    std::FILE* m_file = nullptr;           // a file opened by name, or null
    const unsigned char* m_bytes = nullptr;  // bytes in memory, when m_inMemory
    bool m_inMemory = false;
    std::uint64_t m_size = 0;      // bytes in the file
    std::uint64_t m_position = 0;  // in memory
};

// Whether 32 bytes start a Vek file ("Vekb", then anything).
bool isVekFileHeader(const unsigned char* bytes);
// A block header from its 16 little-endian bytes.
Vek_Header decodeBlockHeader(const unsigned char* bytes);
