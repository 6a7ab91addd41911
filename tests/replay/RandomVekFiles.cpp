#include "RandomVekFiles.h"

#include "TestFiles.h"
#include "tools/vekgen/VekWriter.h"

#include <array>
#include <climits>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <limits>
#include <optional>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

// One block as it goes into the file; `size` replaces the true size field.
struct Block {
    std::uint32_t tag;
    std::uint32_t count;
    Bytes body;
    std::optional<std::uint32_t> size;
};

template <class T>
void append(Bytes& bytes, T value) {
    unsigned char raw[sizeof(T)];
    std::memcpy(raw, &value, sizeof(T));  // little-endian, as the format is
    bytes.insert(bytes.end(), raw, raw + sizeof(T));
}

Bytes randomBytes(ReplayRandom& random, std::size_t count) {
    Bytes bytes(count);
    for (unsigned char& b : bytes) b = static_cast<unsigned char>(random.word());
    return bytes;
}

float anyFloat(ReplayRandom& random) {
    const std::uint32_t bits = random.word();
    float value;
    std::memcpy(&value, &bits, 4);
    return value;
}

// The values at the edges of number formatting and of the box.
float edgeFloat(ReplayRandom& random) {
    return random.pick({-0.0f, 1e-40f, -1e-45f, std::numeric_limits<float>::max(), -std::numeric_limits<float>::max(),
                        std::numeric_limits<float>::min(), 1e-5f, 123456.5f, 999999.5f});
}

float nonFinite(ReplayRandom& random) {
    constexpr float kInf = std::numeric_limits<float>::infinity();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    return random.pick({nan, -nan, kInf, -kInf});
}

// Points are finite. A NaN or an infinity among them makes NaNs of both
// signs, or with different payloads, meet in one addition, and which one
// the sum keeps depends on the order in which the compiler put the operands,
// not on the source: the library's own builds need not agree on it.
float finiteFloat(ReplayRandom& random) {
    const float value = anyFloat(random);
    return std::isfinite(value) ? value : edgeFloat(random);
}

// Coordinates of one file: a style per file, so that a scene mixes exact
// small integers, plain decimals, wide magnitudes and arbitrary finite bit
// patterns.
class CoordinateSource {
public:
    explicit CoordinateSource(ReplayRandom& random)
        : m_random(random),
          m_style(random.below(4)),
          m_scale(random.pick({1.0, 100.0, 1e4})),
          m_special(random.chance(0.1) ? 0.03 : 0.0),
          m_flatY(random.chance(0.05)) {}

    float next(bool isY) {
        if (m_special > 0 && m_random.chance(m_special)) return edgeFloat(m_random);
        if (isY && m_flatY) return 2.5f;
        switch (m_style) {
            case 0:
                return static_cast<float>(m_random.between(-10, 10));
            case 1:
                return static_cast<float>(m_random.uniform(-m_scale, m_scale));
            case 2:
                return static_cast<float>((m_random.chance(0.5) ? -1 : 1) * std::pow(10.0, m_random.uniform(-8, 8)));
            default:
                return m_random.chance(0.5) ? finiteFloat(m_random) : static_cast<float>(m_random.uniform(-1, 1));
        }
    }

private:
    ReplayRandom& m_random;
    std::uint32_t m_style;
    double m_scale;
    double m_special;
    bool m_flatY;
};

Bytes pointsBody(ReplayRandom& random, int count) {
    CoordinateSource coordinates(random);
    Bytes body;
    for (int i = 0; i < count; ++i) {
        append(body, coordinates.next(false));
        append(body, coordinates.next(true));
        append(body, coordinates.next(false));
    }
    return body;
}

// Faces over `points` points; with `badRate`, a corner names no point.
Bytes facesBody(ReplayRandom& random, int count, int points, double badRate) {
    const double triangles = random.uniform(0, 1);
    Bytes body;
    for (int f = 0; f < count; ++f) {
        std::int32_t face[4];
        for (std::int32_t& index : face) index = points > 0 ? static_cast<std::int32_t>(random.below(points)) : 0;
        const bool triangle = random.chance(triangles);
        if (triangle) face[3] = -1;
        if (random.chance(badRate)) {
            face[random.below(triangle ? 3 : 4)] =
                random.pick<std::int32_t>({points, points + random.between(1, 5), -1, -2, -1000, INT_MIN, INT_MAX});
        }
        for (std::int32_t index : face) append(body, index);
    }
    return body;
}

Bytes uvBody(ReplayRandom& random, int faceCount) {
    const std::uint32_t style = random.below(10);
    Bytes body;
    for (int i = 0; i < 8 * faceCount; ++i) {
        if (style < 7) {
            append(body, static_cast<float>(random.unit()));
        } else if (style < 9) {
            append(body, static_cast<float>(random.uniform(-2, 3)));
        } else {
            // Any bits, NaNs included: the flip, 1 - value, has no second
            // NaN that could meet them.
            append(body, random.chance(0.2) ? nonFinite(random) : anyFloat(random));
        }
    }
    return body;
}

Bytes colourBody(ReplayRandom& random, int count) {
    Bytes body;
    for (int i = 0; i < count; ++i) append(body, random.word());
    return body;
}

std::vector<Block> randomBlocks(ReplayRandom& random, const VekFileOdds& odds) {
    const int points = random.pick({0, 1, 2, 3, random.between(4, 20), random.between(4, 120), random.between(4, 120)});
    const int faces = random.pick({0, 1, random.between(2, 200), random.between(2, 200), random.between(2, 200)});
    const double badRate = random.chance(odds.badIndices) ? random.uniform(0.01, 0.1) : 0.0;

    std::vector<Block> blocks;
    if (points > 0 || random.chance(0.5))
        blocks.push_back({vekgen::kTagPoints, std::uint32_t(points), pointsBody(random, points), {}});
    if (faces > 0 || random.chance(0.5))
        blocks.push_back({vekgen::kTagFace4, std::uint32_t(faces), facesBody(random, faces, points, badRate), {}});
    if (random.chance(odds.uvBlock)) {
        const int uvFaces = random.chance(0.7) ? faces : random.between(0, faces + 10);
        blocks.push_back({vekgen::kTagUV4, std::uint32_t(uvFaces), uvBody(random, uvFaces), {}});
    }
    if (random.chance(odds.colourBlock)) {
        const int words = random.chance(0.7) ? points : random.between(0, 150);
        blocks.push_back({vekgen::kTagMRGB, std::uint32_t(words), colourBody(random, words), {}});
    }
    if (random.chance(0.15)) {
        const int count = random.between(0, 130);
        blocks.push_back({vekgen::kTagMask, std::uint32_t(count), randomBytes(random, count), {}});
    }
    while (random.chance(0.15)) {
        const std::uint32_t tag =
            random.pick<std::uint32_t>({40001, 12345, 1, 10000, 10002, 20000, 0x7FFFFFFF, 0xFFFFFFFF});
        blocks.push_back({tag, random.word(), randomBytes(random, random.below(65)), {}});
    }
    // A second block of a kind: the readers differ in which one they keep.
    if (random.chance(0.06)) {
        const int more = random.between(0, 120);
        blocks.push_back({vekgen::kTagPoints, std::uint32_t(more), pointsBody(random, more), {}});
    }
    if (random.chance(0.04)) {
        const int more = random.between(0, 60);
        blocks.push_back({vekgen::kTagFace4, std::uint32_t(more), facesBody(random, more, points, badRate), {}});
    }
    for (std::size_t i = blocks.size(); i > 1; --i) std::swap(blocks[i - 1], blocks[random.below(std::uint32_t(i))]);
    return blocks;
}

// Spoils one block's count or size field.
void damageBlock(ReplayRandom& random, Block& block) {
    const std::uint32_t trueSize = std::uint32_t(16 + block.body.size());
    switch (random.below(5)) {
        case 0:  // a body shorter than its count
            block.count += std::uint32_t(random.between(1, 40));
            break;
        case 1:  // a count far beyond the bytes there and the allowance
            block.count = random.pick<std::uint32_t>(
                {0xFFFFFFFF, 0x80000000, 0x7FFFFFFF, 0x10000000, 0x02000000 + random.below(0xFDFFFFFF)});
            break;
        case 2:  // a size that cannot advance the walk
            block.size = random.below(16);
            break;
        case 3:  // a size past the block, possibly past the file
            block.size = random.chance(0.5) ? trueSize + std::uint32_t(random.between(1, 100)) : 0xFFFFFFF0u;
            break;
        default:  // a size that lands the walk inside the body
            block.size = trueSize - std::min<std::uint32_t>(trueSize - 16, 4 * std::uint32_t(random.between(1, 8)));
            break;
    }
}

Bytes vekBytes(ReplayRandom& random, const std::vector<Block>& blocks, const vekgen::VekFileHeader& header) {
    vekgen::VekWriter writer = vekgen::VekWriter::inMemory(header);
    for (const Block& block : blocks) writer.rawBlock(block.tag, block.count, block.body, block.size);
    if (random.chance(0.92)) writer.endBlock();
    if (random.chance(0.05)) writer.rawBytes(randomBytes(random, random.below(40)));
    return writer.bytes();
}

}  // namespace

void writeRandomVekFile(ReplayRandom& random, const std::string& path, const VekFileOdds& odds) {
    vekgen::VekFileHeader header;
    if (random.chance(0.1)) {
        for (unsigned char& b : header.tail) b = static_cast<unsigned char>(random.word());
    }
    std::vector<Block> blocks = randomBlocks(random, odds);
    if (!random.chance(odds.damaged)) {
        writeFileBytes(path, vekBytes(random, blocks, header));
        return;
    }

    switch (random.below(10)) {
        case 0:
        case 1:
        case 2:
            if (!blocks.empty()) damageBlock(random, blocks[random.below(std::uint32_t(blocks.size()))]);
            [[fallthrough]];
        case 3: {
            Bytes bytes = vekBytes(random, blocks, header);
            if (random.chance(0.6)) bytes.resize(random.below(std::uint32_t(bytes.size() + 1)));
            writeFileBytes(path, bytes);
            return;
        }
        case 4:
            header.magic = random.pick<std::array<unsigned char, 4>>(
                {{'V', 'E', 'K', 'B'}, {'V', 'e', 'k', 'c'}, {'b', 'k', 'e', 'V'}, {0, 'e', 'k', 'b'}});
            writeFileBytes(path, vekBytes(random, blocks, header));
            return;
        case 5: {  // a header cut short
            Bytes bytes = vekBytes(random, blocks, header);
            bytes.resize(random.below(32));
            writeFileBytes(path, bytes);
            return;
        }
        case 6:
            return;  // missing
        case 7:
            writeFileBytes(path, randomBytes(random, random.below(300)));
            return;
        case 8:
            writeFileText(path, random.chance(0.5) ? "" : "solid cube\nfacet normal 0 0 1\nendsolid cube\n");
            return;
        default:
            std::filesystem::create_directory(path);
            return;
    }
}
