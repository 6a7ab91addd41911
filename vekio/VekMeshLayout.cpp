#include "vekio/VekMeshLayout.h"

#include "vekio/VekBlockWalk.h"
#include "vekio/VekDamage.h"

namespace {

bool isMeshBlock(std::uint32_t tag) {
    return tag == QMVekIO::kTagPoints || tag == QMVekIO::kTagFace4 || tag == QMVekIO::kTagUV4 ||
           tag == QMVekIO::kTagMRGB;
}

// Bytes of the body the header's count names.
std::uint64_t namedBodyBytes(const Vek_Header& header) {
    switch (header.tag) {
        case QMVekIO::kTagPoints:
            return std::uint64_t(header.count) * 12;
        case QMVekIO::kTagFace4:
            return std::uint64_t(header.count) * 16;
        case QMVekIO::kTagUV4:
            return std::uint64_t(header.count) * 32;
        default:
            return std::uint64_t(header.count) * 4;
    }
}

template <class Source>
VekMeshLayout locate(const Source& source) {
    VekMeshLayout layout;
    QMVekIO io;
    VekDamageReport damage;
    io.setDamageReport(&damage);
    VekBlockWalk walk(io, source);
    if (!walk.start()) return layout;
    layout.readable = true;
    bool simple = true;
    Vek_Header header;
    while (walk.next(header)) {
        const std::uint64_t bodyOffset = walk.offset();
        if (isMeshBlock(header.tag)) {
            if (layout.find(header.tag)) simple = false;
            const std::uint64_t bodyBytes = std::uint64_t(header.size) - 16;
            const std::uint64_t present = walk.size() > bodyOffset ? walk.size() - bodyOffset : 0;
            if (namedBodyBytes(header) > std::min(bodyBytes, present)) simple = false;
            layout.meshBlocks.push_back({header.tag, header.size, header.count, bodyOffset});
        }
        walk.skipBody(header);
    }
    layout.simple = simple && damage.entries().empty();
    return layout;
}

}  // namespace

const VekBlockExtent* VekMeshLayout::find(std::uint32_t tag) const {
    for (const VekBlockExtent& block : meshBlocks)
        if (block.tag == tag) return &block;
    return nullptr;
}

std::uint64_t VekMeshLayout::elements(std::uint32_t tag) const {
    const VekBlockExtent* block = find(tag);
    if (!block) return 0;
    return tag == QMVekIO::kTagUV4 ? std::uint64_t(block->count) * 4 : block->count;
}

VekMeshLayout locateMeshBlocks(const QMString& name) { return locate(name); }
VekMeshLayout locateMeshBlocks(const VekBytes& bytes) { return locate(bytes); }
