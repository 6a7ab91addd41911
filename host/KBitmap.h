#pragma once

#include "support/OmbrelApi.h"

#include <cstdint>

// The plug-in's plain description of a host image: its pixels (4 bytes each),
// the buffer's size in bytes, the bytes of one row, and two extents read from
// the image's owner. All zero after construction and after clear().
class OMBREL_API KBitmap {
public:
    KBitmap() { clear(); }
    void clear();
    bool hasPixels() const { return m_pixels != nullptr; }

    unsigned char* m_pixels;
    std::uint32_t m_bufferSize;
    std::int32_t m_rowBytes;  // a signed 16-bit host value
    std::uint32_t m_firstExtent;
    std::uint32_t m_secondExtent;
};
