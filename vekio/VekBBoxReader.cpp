#include "vekio/QMVekIO.h"

#include "vekio/VekBlockWalk.h"

#include <vector>

namespace {

constexpr std::int32_t kChunkPoints = 65536;
constexpr std::size_t kChunkBytes = std::size_t(kChunkPoints) * sizeof(QMVector3f);

template <class Source>
bool readBBoxFrom(QMVekIO& io, const Source& source, BBox& box) {
    box.clear();
    VekBlockWalk walk(io, source);
    if (!walk.start()) return false;

    // Headers are read back to back, bodies unskipped: only a Points block at
    // the start of the file is found. Every header read consumes 16 bytes, so
    // the search ends at the end of the file.
    Vek_Header header;
    do {
        if (!walk.readHeader(header) || header.tag == QMVekIO::kTagEnd) return false;
    } while (header.tag != QMVekIO::kTagPoints);

    // Points stream through one fixed chunk, so memory stays bounded however
    // large the block; every read is checked against the bytes delivered.
    std::vector<QMVector3f> chunk(kChunkPoints);
    std::int32_t remaining = static_cast<std::int32_t>(header.count);
    while (remaining > kChunkPoints - 1) {
        if (!walk.readExactly(chunk.data(), kChunkBytes)) return false;
        for (const QMVector3f& point : chunk) box.add(point);
        remaining -= kChunkPoints;
    }
    if (remaining <= 0) return true;
    const std::size_t tailBytes = std::size_t(remaining) * sizeof(QMVector3f);
    if (!walk.readExactly(chunk.data(), tailBytes)) return false;
    for (std::int32_t i = 0; i < remaining; ++i) box.add(chunk[i]);
    return true;
}

}  // namespace

bool QMVekIO::readBBox(const QMString& name, BBox& box) { return readBBoxFrom(*this, name, box); }

bool QMVekIO::readBBox(const VekBytes& bytes, BBox& box) { return readBBoxFrom(*this, bytes, box); }
