#pragma once

#include "vekio/QMVekIO.h"

#include <cstdint>
#include <cstdio>

// Reads byte ranges of one Vek file at any offset, from several threads at
// once: a file opened by name (with the readers' path rules; closed with this
// object) or bytes in memory.
//
// Untrusted input: a range reaching past the end of the file (a file cut
// short since its blocks were located) reads as zeros where no byte is
// there, and says so; nothing outside the range is written.
class VekRandomAccess {
public:
    explicit VekRandomAccess(const QMString& name);
    explicit VekRandomAccess(const VekBytes& bytes);
    ~VekRandomAccess();
    VekRandomAccess(const VekRandomAccess&) = delete;
    VekRandomAccess& operator=(const VekRandomAccess&) = delete;

    bool opened() const { return m_file != nullptr || m_bytes != nullptr; }

    // Bytes [offset, offset + count) into `to`; false when some of them were
    // not there (they read as zero).
    bool readAt(std::uint64_t offset, void* to, std::size_t count) const;

private:
    std::FILE* m_file = nullptr;
    const unsigned char* m_bytes = nullptr;
    std::uint64_t m_size = 0;
};
