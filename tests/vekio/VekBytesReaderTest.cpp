#include "VekReaderFixture.h"

#include "vekio/VekDamage.h"

#include <cstring>

// The readers on bytes in memory read exactly what the readers on a file
// read: checked on golden bytes, and on every truncated prefix of a file that
// holds every kind of block.

namespace {

// What every reader gives, with the damage it notes, for comparing.
struct Everything {
    std::vector<int> results;
    std::vector<std::vector<unsigned char>> arrays;
    std::vector<std::string> damage;

    template <class T>
    void add(bool result, const QMArray<T>& array) {
        results.push_back(result);
        const unsigned char* bytes = reinterpret_cast<const unsigned char*>(array.data());
        arrays.emplace_back(bytes, bytes + array.size() * sizeof(T));
    }
    bool operator==(const Everything&) const = default;
};

template <class Source>
Everything readEverything(const Source& source) {
    Everything all;
    VekDamageReport damage;
    QMVekIO io;
    io.setDamageReport(&damage);
    QMArray<QMVector3f> points;
    QMArray<int> faces;
    QMArray<QMVector2f> uvs;
    QMArray<std::uint32_t> mrgb;
    QMArray<unsigned char> mask;
    bool hasUV = false;
    all.add(io.readVertexBloc(source, points), points);
    all.add(io.readFace4Bloc(source, faces, hasUV), faces);
    all.results.push_back(hasUV);
    all.add(io.readUV4Bloc(source, uvs), uvs);
    all.add(io.readMRGBBloc(source, mrgb), mrgb);
    all.add(io.readMaskBloc(source, mask), mask);
    all.add(io.readVertexAndFace4Blocs(source, points, faces), points);
    all.add(true, faces);
    all.add(io.readVtxFace4AndUV4Blocs(source, points, faces, uvs), uvs);
    uvs.clear();
    all.add(io.readVtxFace4UV4AndMRGBBlocs(source, points, faces, uvs, mrgb), mrgb);
    BBox box;
    const bool boxRead = io.readBBox(source, box);
    const QMArray<float> corners = {box.m_min.x, box.m_min.y, box.m_min.z, box.m_max.x, box.m_max.y, box.m_max.z};
    all.add(boxRead, corners);
    for (const VekDamage& d : damage.entries())
        all.damage.push_back(std::to_string(int(d.kind)) + "/" + std::to_string(d.tag) + "/" + std::to_string(d.elements));
    return all;
}

}  // namespace

TEST_F(VekReaderTest, BytesInMemoryReadAsTheirFile) {
    const std::vector<unsigned char> bytes = fileWithEveryBlock();
    writeFileBytes(dir.file("all.vek"), bytes);
    const Everything fromFile = readEverything(QMString(dir.file("all.vek").c_str()));
    const Everything fromBytes = readEverything(VekBytes{bytes.data(), bytes.size()});
    EXPECT_EQ(fromBytes, fromFile);
    EXPECT_EQ(fromBytes.results, (std::vector<int>{1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1}));
    EXPECT_TRUE(fromBytes.damage.empty());
}

TEST_F(VekReaderTest, GoldenBytesGiveTheirPoints) {
    // File header "Vekb" + 28 bytes, a Points block of one point (1, 2, 3),
    // the end block.
    std::vector<unsigned char> bytes = {'V', 'e', 'k', 'b'};
    bytes.resize(32, 0);
    for (const std::vector<unsigned char>& word :
         {le32(10001), le32(28), le32(1), le32(0), le32f(1), le32f(2), le32f(3), le32(0), le32(16), le32(0), le32(0)})
        bytes.insert(bytes.end(), word.begin(), word.end());
    QMArray<QMVector3f> points;
    ASSERT_TRUE(io.readVertexBloc(VekBytes{bytes.data(), bytes.size()}, points));
    EXPECT_EQ(flatten(points), (std::vector<float>{1, 2, 3}));
    BBox box;
    ASSERT_TRUE(io.readBBox(VekBytes{bytes.data(), bytes.size()}, box));
    EXPECT_EQ(box.m_max.z, 3.0f);
}

TEST_F(VekReaderTest, EveryTruncatedPrefixReadsAsTheSameFileCutThere) {
    const std::vector<unsigned char> bytes = fileWithEveryBlock();
    for (std::size_t length = 0; length <= bytes.size(); ++length) {
        const std::vector<unsigned char> prefix(bytes.begin(), bytes.begin() + long(length));
        writeFileBytes(dir.file("cut.vek"), prefix);
        EXPECT_EQ(readEverything(VekBytes{prefix.data(), prefix.size()}),
                  readEverything(QMString(dir.file("cut.vek").c_str())))
            << "cut after " << length << " bytes";
    }
}

TEST_F(VekReaderTest, NoBytesAreNoVekFile) {
    QMArray<QMVector3f> points;
    EXPECT_FALSE(io.readVertexBloc(VekBytes{nullptr, 0}, points));
    EXPECT_FALSE(io.readVertexBloc(VekBytes{nullptr, 100}, points));
    BBox box;
    EXPECT_FALSE(io.readBBox(VekBytes{nullptr, 0}, box));
}
