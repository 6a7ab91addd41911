#include "vekio/VekBlockCounts.h"

#include "vekio/VekMeshLayout.h"

#include <algorithm>

namespace {

// Elements of `elementSize` bytes the first block with `tag` names, at most
// those whose bytes its body holds.
std::uint64_t presentElements(const VekMeshLayout& layout, std::uint32_t tag, std::uint64_t perCount,
                              std::uint64_t elementSize) {
    const VekBlockExtent* block = layout.find(tag);
    if (!block) return 0;
    const std::uint64_t bodyBytes = std::uint64_t(block->size) - 16;
    return std::min(std::uint64_t(block->count) * perCount, bodyBytes / elementSize);
}

}  // namespace

VekBlockCounts blockCountsOf(const VekMeshLayout& layout) {
    VekBlockCounts counts;
    counts.readable = layout.readable;
    counts.points = presentElements(layout, QMVekIO::kTagPoints, 1, 12);
    counts.faces = presentElements(layout, QMVekIO::kTagFace4, 4, 4) / 4;
    counts.uvEntries = presentElements(layout, QMVekIO::kTagUV4, 4, 8);
    counts.colours = presentElements(layout, QMVekIO::kTagMRGB, 1, 4);
    return counts;
}

VekBlockCounts readVekBlockCounts(const QMString& name) { return blockCountsOf(locateMeshBlocks(name)); }
