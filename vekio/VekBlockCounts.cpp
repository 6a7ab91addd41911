#include "vekio/VekBlockCounts.h"

#include "vekio/VekBlockWalk.h"

#include <algorithm>

namespace {

// Elements of `elementSize` bytes the block's count names, at most those
// whose bytes its body holds.
std::uint64_t presentElements(const Vek_Header& header, std::uint64_t perCount, std::uint64_t elementSize) {
    const std::uint64_t bodyBytes = std::uint64_t(header.size) - 16;
    return std::min(std::uint64_t(header.count) * perCount, bodyBytes / elementSize);
}

}  // namespace

VekBlockCounts readVekBlockCounts(const QMString& name) {
    VekBlockCounts counts;
    QMVekIO io;
    VekBlockWalk walk(io, name);
    if (!walk.start()) return counts;
    counts.readable = true;
    bool seenPoints = false, seenFaces = false, seenUVs = false, seenColours = false;
    Vek_Header header;
    while (walk.next(header)) {
        if (header.tag == QMVekIO::kTagPoints && !seenPoints) {
            counts.points = presentElements(header, 1, 12);
            seenPoints = true;
        } else if (header.tag == QMVekIO::kTagFace4 && !seenFaces) {
            counts.faces = presentElements(header, 4, 4) / 4;
            seenFaces = true;
        } else if (header.tag == QMVekIO::kTagUV4 && !seenUVs) {
            counts.uvEntries = presentElements(header, 4, 8);
            seenUVs = true;
        } else if (header.tag == QMVekIO::kTagMRGB && !seenColours) {
            counts.colours = presentElements(header, 1, 4);
            seenColours = true;
        }
        walk.skipBody(header);
    }
    return counts;
}
