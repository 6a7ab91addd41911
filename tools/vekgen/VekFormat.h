#pragma once

// Layout of a Vek mesh file, as used by the vekgen writer and inspector.
//
// A file is a 32-byte header (the ASCII magic "Vekb" and 28 zero bytes)
// followed by blocks. Every block starts with a 16-byte header of four
// little-endian uint32 fields: tag, size (of the whole block, header
// included), count (elements in the body) and reserved (0). The body is
// size - 16 bytes. A block with tag 0 ends the file. Blocks with a tag that
// is not listed here are skipped by readers according to their size.

#include <cstddef>
#include <cstdint>

namespace vekgen {

inline constexpr std::uint32_t kTagEnd = 0;
inline constexpr std::uint32_t kTagPoints = 10001;  // count points, 3 x float32
inline constexpr std::uint32_t kTagFace4 = 20001;   // count faces, 4 x int32 (4th = -1: triangle)
inline constexpr std::uint32_t kTagUV4 = 25001;     // count faces, 4 corners x (u, v) float32
inline constexpr std::uint32_t kTagMask = 30001;    // count bytes
inline constexpr std::uint32_t kTagMRGB = 35001;    // count uint32 words 0xMMRRGGBB, one per vertex

inline constexpr std::size_t kFileHeaderSize = 32;
inline constexpr std::size_t kFileHeaderTailSize = kFileHeaderSize - 4;
inline constexpr std::size_t kBlockHeaderSize = 16;
inline constexpr char kMagic[4] = {'V', 'e', 'k', 'b'};

// Fourth index of a Face4 entry that is a triangle.
inline constexpr std::int32_t kNoIndex = -1;

// The four fields of a block header, in file order.
struct VekBlockHeader {
    std::uint32_t tag = 0;
    std::uint32_t size = 0;
    std::uint32_t count = 0;
    std::uint32_t reserved = 0;
};

// "Points", "Face4", "UV4", "Mask", "MRGB", "end", or "unknown".
constexpr const char* blockName(std::uint32_t tag) {
    switch (tag) {
        case kTagPoints:
            return "Points";
        case kTagFace4:
            return "Face4";
        case kTagUV4:
            return "UV4";
        case kTagMask:
            return "Mask";
        case kTagMRGB:
            return "MRGB";
        case kTagEnd:
            return "end";
        default:
            return "unknown";
    }
}

constexpr bool isKnownTag(std::uint32_t tag) {
    return tag == kTagEnd || tag == kTagPoints || tag == kTagFace4 || tag == kTagUV4 || tag == kTagMask ||
           tag == kTagMRGB;
}

// Body bytes per counted element of a known block (0 for the end block and
// for unknown tags, whose bodies have no fixed element size).
constexpr std::size_t elementSize(std::uint32_t tag) {
    switch (tag) {
        case kTagPoints:
            return 12;
        case kTagFace4:
            return 16;
        case kTagUV4:
            return 32;
        case kTagMask:
            return 1;
        case kTagMRGB:
            return 4;
        default:
            return 0;
    }
}

// The size field that a well-formed block of a known tag carries.
constexpr std::uint64_t expectedBlockSize(std::uint32_t tag, std::uint32_t count) {
    return kBlockHeaderSize + static_cast<std::uint64_t>(elementSize(tag)) * count;
}

// Little-endian helpers on raw byte buffers.
inline void storeU32(unsigned char* out, std::uint32_t v) {
    out[0] = static_cast<unsigned char>(v & 0xFFu);
    out[1] = static_cast<unsigned char>((v >> 8) & 0xFFu);
    out[2] = static_cast<unsigned char>((v >> 16) & 0xFFu);
    out[3] = static_cast<unsigned char>((v >> 24) & 0xFFu);
}

inline std::uint32_t loadU32(const unsigned char* in) {
    return static_cast<std::uint32_t>(in[0]) | (static_cast<std::uint32_t>(in[1]) << 8) |
           (static_cast<std::uint32_t>(in[2]) << 16) | (static_cast<std::uint32_t>(in[3]) << 24);
}

}  // namespace vekgen
