#pragma once

// VekInspector: lists the blocks of a Vek file without reading their bodies.
//
// The walk reads only the file header and the block headers, so it is cheap on
// files of any size, and it is safe on arbitrary bytes: every step advances by
// at least one block header, and every problem ends the walk with a status
// instead of a crash or a loop.

#include "tools/vekgen/VekFormat.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace vekgen {

enum class VekStatus {
    Ok,          // header valid, blocks walked up to and including an end block
    CannotOpen,  // the file could not be opened or sized
    NotVek,      // shorter than the 32-byte header, or the magic is not "Vekb"
    Truncated,   // the file stops inside a block header or a block body, or has no end block
    Damaged,     // a block header whose size field is smaller than the 16 header bytes
};

const char* statusName(VekStatus status);  // "ok", "cannot open", "not a Vek file", ...

struct VekBlockInfo {
    std::uint64_t offset = 0;  // of the block header
    std::uint32_t tag = 0;
    std::uint32_t size = 0;
    std::uint32_t count = 0;
    std::uint32_t reserved = 0;
    std::string name;              // blockName(tag): "Points", ..., "end" or "unknown"
    bool sizeMatchesCount = true;  // size == 16 + element size x count (known tags only)
};

struct VekInspection {
    VekStatus status = VekStatus::Ok;
    // One line that starts with statusName(status): what was found, or what is
    // wrong and where.
    std::string message;
    std::uint64_t fileSize = 0;
    std::array<unsigned char, 4> magic{};  // the first four bytes (as many as exist)
    // Every block present in full, in file order, the end block included.
    std::vector<VekBlockInfo> blocks;
    bool endBlockFound = false;
    std::uint64_t trailingBytes = 0;  // bytes after the end block
    // The block header that stopped the walk (Damaged, or Truncated inside a body).
    std::optional<VekBlockInfo> badBlock;
    // Things a reader survives but that are probably not intended: size fields
    // that disagree with the count, bytes after the end block, a non-zero
    // reserved field, an end block whose size is not 16.
    std::vector<std::string> warnings;

    bool ok() const { return status == VekStatus::Ok; }
};

class VekInspector {
public:
    static VekInspection inspectFile(const std::string& path);
    static VekInspection inspectBytes(std::span<const unsigned char> bytes);
    // A readable listing: one line per block, then the warnings and the status.
    static std::string format(const VekInspection& inspection, const std::string& title = {});
};

}  // namespace vekgen
