#include "fuzz/InspectedVek.h"

#include <algorithm>

InspectedVek::InspectedVek(std::span<const unsigned char> bytes)
    : m_bytes(bytes), m_inspection(vekgen::VekInspector::inspectBytes(bytes)) {
    m_wellFormed = m_inspection.ok() && std::all_of(m_inspection.blocks.begin(), m_inspection.blocks.end(),
                                                    [](const vekgen::VekBlockInfo& b) { return b.sizeMatchesCount; });
}

bool InspectedVek::wellFormedWithSingleBlocks() const {
    if (!m_wellFormed) return false;
    for (std::uint32_t tag :
         {vekgen::kTagPoints, vekgen::kTagFace4, vekgen::kTagUV4, vekgen::kTagMask, vekgen::kTagMRGB})
        if (count(tag) > 1) return false;
    return true;
}

int InspectedVek::count(std::uint32_t tag) const {
    // The end block is listed too; it is never asked for.
    return static_cast<int>(std::count_if(m_inspection.blocks.begin(), m_inspection.blocks.end(),
                                          [tag](const vekgen::VekBlockInfo& b) { return b.tag == tag; }));
}

std::uint64_t InspectedVek::largestRequest(std::uint64_t limit) const {
    std::uint64_t largest = 0;
    auto consider = [&largest, limit](const vekgen::VekBlockInfo& block) {
        const std::uint64_t request = std::uint64_t(block.count) * vekgen::elementSize(block.tag);
        if (request <= limit) largest = std::max(largest, request);
    };
    for (const vekgen::VekBlockInfo& block : m_inspection.blocks) consider(block);
    if (m_inspection.badBlock) consider(*m_inspection.badBlock);
    return largest;
}

std::span<const unsigned char> InspectedVek::body(const vekgen::VekBlockInfo& block) const {
    return m_bytes.subspan(block.offset + vekgen::kBlockHeaderSize, block.size - vekgen::kBlockHeaderSize);
}

std::span<const unsigned char> InspectedVek::firstBody(std::uint32_t tag) const {
    for (const vekgen::VekBlockInfo& block : m_inspection.blocks)
        if (block.tag == tag) return body(block);
    return {};
}

std::span<const unsigned char> InspectedVek::lastBody(std::uint32_t tag) const {
    for (auto block = m_inspection.blocks.rbegin(); block != m_inspection.blocks.rend(); ++block)
        if (block->tag == tag) return body(*block);
    return {};
}
