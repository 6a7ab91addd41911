#include "ModelVek.h"

#include "ModelText.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <optional>

namespace scriptmodel {

namespace {

constexpr std::uint32_t kTagEnd = 0;
constexpr std::uint32_t kTagPoints = 10001;
constexpr std::uint32_t kTagFace4 = 20001;
constexpr std::uint32_t kTagUV4 = 25001;
constexpr std::uint32_t kTagMRGB = 35001;
constexpr std::uint64_t kFileHeaderBytes = 32;
constexpr std::uint64_t kBlockHeaderBytes = 16;
constexpr std::uint64_t kBodyAllowance = std::uint64_t(64) << 20;

// The whole file, or nothing when it cannot be opened or read.
std::optional<std::vector<unsigned char>> fileBytes(const std::string& pathText) {
    const std::string path = openedPath(pathText);
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (!file) return std::nullopt;
    std::vector<unsigned char> bytes;
    unsigned char chunk[1 << 16];
    std::size_t got;
    while ((got = std::fread(chunk, 1, sizeof chunk, file)) > 0) bytes.insert(bytes.end(), chunk, chunk + got);
    const bool failed = std::ferror(file) != 0;
    std::fclose(file);
    if (failed) return std::nullopt;
    return bytes;
}

std::uint32_t word(const unsigned char* at) {
    return std::uint32_t(at[0]) | std::uint32_t(at[1]) << 8 | std::uint32_t(at[2]) << 16 | std::uint32_t(at[3]) << 24;
}

struct BlockHeader {
    std::uint32_t tag, size, count;
};

// A walk over the blocks of a file held in memory. The position may pass
// the end of the file (a block that claims more than is there); reading
// from there finds nothing.
class Blocks {
public:
    explicit Blocks(const std::string& pathText) : m_bytes(fileBytes(pathText)) {}

    bool validHeader() const {
        return m_bytes && m_bytes->size() >= kFileHeaderBytes && std::memcmp(m_bytes->data(), "Vekb", 4) == 0;
    }

    bool next(BlockHeader& header) {
        if (m_position + kBlockHeaderBytes > m_bytes->size()) return false;
        const unsigned char* at = m_bytes->data() + m_position;
        header = BlockHeader{word(at), word(at + 4), word(at + 8)};
        m_position += kBlockHeaderBytes;
        return header.tag != kTagEnd && header.size >= kBlockHeaderBytes;
    }

    void skip(const BlockHeader& header) { m_position += header.size - kBlockHeaderBytes; }

    // `perCount` elements per counted item: four for faces and UVs.
    template <class T>
    void take(const BlockHeader& header, std::vector<T>& array, std::uint64_t perCount) {
        const std::uint64_t body = header.size - kBlockHeaderBytes;
        const std::uint64_t left = m_bytes->size() > m_position ? m_bytes->size() - m_position : 0;
        const std::uint64_t present = std::min(body, left);
        std::uint64_t elements = std::uint64_t(header.count) * perCount;
        if (elements * sizeof(T) > present + kBodyAllowance) elements = present / sizeof(T);
        array.resize(static_cast<std::size_t>(elements));
        const std::uint64_t laid = std::min(present, elements * sizeof(T));
        if (laid) std::memcpy(array.data(), m_bytes->data() + m_position, static_cast<std::size_t>(laid));
        m_position += body;
    }

private:
    std::optional<std::vector<unsigned char>> m_bytes;
    std::uint64_t m_position = kFileHeaderBytes;
};

}  // namespace

void readBoundsPoints(const std::string& pathText, std::vector<Vec3>& points) {
    points.clear();
    Blocks blocks(pathText);
    if (!blocks.validHeader()) return;
    BlockHeader header;
    while (blocks.next(header)) {
        if (header.tag == kTagPoints) {
            blocks.take(header, points, 1);
            return;
        }
        blocks.skip(header);
    }
}

void readStlBlocks(const std::string& pathText, std::vector<Vec3>& points, std::vector<std::int32_t>& faces) {
    points.clear();
    faces.clear();
    Blocks blocks(pathText);
    if (!blocks.validHeader()) return;
    BlockHeader header;
    while (blocks.next(header)) {
        if (header.tag == kTagPoints) {
            blocks.take(header, points, 1);
            if (!faces.empty()) return;
        } else if (header.tag == kTagFace4) {
            blocks.take(header, faces, 4);
            if (!points.empty()) return;
        } else {
            blocks.skip(header);
        }
    }
}

void readShapeBlocks(const std::string& pathText, std::vector<Vec3>& points, std::vector<std::int32_t>& faces,
                     std::vector<Vec2>& uvs, std::vector<std::uint32_t>& colours) {
    points.clear();
    faces.clear();
    colours.clear();
    Blocks blocks(pathText);
    if (!blocks.validHeader()) return;
    BlockHeader header;
    while (blocks.next(header)) {
        switch (header.tag) {
            case kTagPoints:
                blocks.take(header, points, 1);
                break;
            case kTagFace4:
                blocks.take(header, faces, 4);
                break;
            case kTagUV4:
                blocks.take(header, uvs, 4);
                break;
            case kTagMRGB:
                blocks.take(header, colours, 1);
                break;
            default:
                blocks.skip(header);
        }
    }
}

}  // namespace scriptmodel
