#pragma once

#include "vekio/QMVekIO.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

// The walk over the blocks of one Vek file that every block reader shares:
// open, check the file header, then hand out block headers until the end
// block, the end of the file, or a block whose size is below 16 (its walk
// could not advance). Closes the file when it goes out of scope.
class VekBlockWalk {
public:
    VekBlockWalk(QMVekIO& io, const QMString& name);
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
        const std::uint64_t elements =
            allowedElements(header, elementsPerCount, sizeof(T), bodyBytes);
        array.resize(static_cast<std::size_t>(elements));
        const std::uint64_t readBytes = std::min<std::uint64_t>(bodyBytes, elements * sizeof(T));
        readInto(array.data(), readBytes, bodyBytes);
    }

    void skipBody(const Vek_Header& header);

private:
    // How many of the elements the header's count names (elementsPerCount
    // each) may be allocated: all of them unless that needs more than the
    // body bytes present in the file plus the allowance, in which case only
    // the elements actually present. Notes the damage when fewer are present.
    std::uint64_t allowedElements(const Vek_Header& header, std::uint64_t elementsPerCount,
                                  std::uint64_t elementSize, std::uint64_t bodyBytes);
    void readInto(void* storage, std::uint64_t readBytes, std::uint64_t bodyBytes);

    QMVekIO& m_io;
    std::FILE* m_file;
    std::uint64_t m_fileSize = 0;
};
