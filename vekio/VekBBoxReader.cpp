#include "vekio/QMVekIO.h"

#include "support/QMDiskServer.h"
#include "vekio/VekFileOpen.h"

#include <vector>

namespace {

constexpr std::int32_t kChunkPoints = 65536;
constexpr std::size_t kChunkBytes = std::size_t(kChunkPoints) * sizeof(QMVector3f);

// Owns the stream for one readBBox call.
struct OpenFile {
    std::FILE* file;
    ~OpenFile() {
        if (file != QMDiskServer::s_invalidFile) std::fclose(file);
    }
};

}  // namespace

bool QMVekIO::readBBox(const QMString& name, BBox& box) {
    box.clear();
    OpenFile input{openVekFileForReading(name)};
    if (input.file == QMDiskServer::s_invalidFile) return false;
    if (!readFileHeader(input.file)) return false;

    // Headers are read back to back, bodies unskipped: only a Points block at
    // the start of the file is found. Every header read consumes 16 bytes, so
    // the search ends at the end of the file.
    Vek_Header header;
    do {
        if (!readBlockHeader(input.file, header) || header.tag == kTagEnd) return false;
    } while (header.tag != kTagPoints);

    // Points stream through one fixed chunk, so memory stays bounded however
    // large the block; every read is checked against the bytes delivered.
    std::vector<QMVector3f> chunk(kChunkPoints);
    std::int32_t remaining = static_cast<std::int32_t>(header.count);
    while (remaining > kChunkPoints - 1) {
        if (std::fread(chunk.data(), 1, kChunkBytes, input.file) != kChunkBytes) return false;
        for (const QMVector3f& point : chunk) box.add(point);
        remaining -= kChunkPoints;
    }
    if (remaining <= 0) return true;
    const std::size_t tailBytes = std::size_t(remaining) * sizeof(QMVector3f);
    if (std::fread(chunk.data(), 1, tailBytes, input.file) != tailBytes) return false;
    for (std::int32_t i = 0; i < remaining; ++i) box.add(chunk[i]);
    return true;
}
