#pragma once

// A Vek file as vekgen's inspector walks it: an oracle that shares no code
// with the library's readers. It answers what a well-formed file holds, so a
// target can tell what the readers must return for it.

#include "tools/vekgen/VekInspector.h"

#include <cstdint>
#include <span>

class InspectedVek {
public:
    explicit InspectedVek(std::span<const unsigned char> bytes);

    // Walked up to an end block, every block present in full, and every block
    // of a known tag exactly as long as its count says.
    bool wellFormed() const { return m_wellFormed; }
    // ... and no two blocks of the same known tag, so that readers which keep
    // the first block and readers which keep the last one agree.
    bool wellFormedWithSingleBlocks() const;

    int count(std::uint32_t tag) const;
    // The largest body of at most `limit` bytes that a block header asks for
    // (count x element size of a known tag), over every header the walk met,
    // a damaged or truncated one included: what a reader sizes an array for
    // when it does not clamp the count.
    std::uint64_t largestRequest(std::uint64_t limit) const;
    // The body of the first / last block with the tag; empty when there is none.
    std::span<const unsigned char> firstBody(std::uint32_t tag) const;
    std::span<const unsigned char> lastBody(std::uint32_t tag) const;

    const vekgen::VekInspection& inspection() const { return m_inspection; }

private:
    std::span<const unsigned char> body(const vekgen::VekBlockInfo& block) const;

    std::span<const unsigned char> m_bytes;
    vekgen::VekInspection m_inspection;
    bool m_wellFormed = false;
};
