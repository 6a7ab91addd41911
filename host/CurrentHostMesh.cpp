#include "export/CurrentHostMesh.h"

#include "host/HostMemory.h"
#include "host/HostMeshRecords.h"
#include "host/KelvraHelper.h"

#include <cstdint>

namespace {

constexpr std::size_t kFaceBytes = hostmesh::kFaceBytes;
constexpr std::size_t kUVLinkBytes = hostmesh::kUVLinkBytes;
constexpr std::size_t kVertexAttribBytes = hostmesh::kVertexAttribBytes;
// The unit of the fixed-point UV links of the 3.1 layout (24 fraction bits).
constexpr float kFixed24Unit = 5.9604645e-08f;

std::size_t countOf(int count, const void* data) { return data != nullptr && count > 0 ? std::size_t(count) : 0; }

// The host's current mesh, read from its records through KelvraHelper's
// state as it is when the source is made.
class CurrentHostMesh final : public MeshSource {
public:
    explicit CurrentHostMesh(HostPoints points)
        : m_transformed(points == HostPoints::kHostTransformed),
          m_numPoints(KelvraHelper::s_numVertices > 0 ? std::size_t(KelvraHelper::s_numVertices) : 0),
          m_numFaces(countOf(KelvraHelper::s_numFaces, KelvraHelper::s_faces)),
          m_numUVLinks(KelvraHelper::s_numUVLinks > 0 && (KelvraHelper::s_uvLinksFlt32 || KelvraHelper::s_uvLinksFix32)
                           ? std::size_t(KelvraHelper::s_numUVLinks)
                           : 0),
          m_numColours(countOf(KelvraHelper::s_numVertexAttribs, KelvraHelper::s_vertexAttribs)) {}

    std::size_t numPoints() const override { return m_numPoints; }
    void readPoints(std::size_t first, std::size_t count, QMVector3f* out) const override {
        for (std::size_t i = 0; i < count; ++i) {
            float p[3] = {0.0f, 0.0f, 0.0f};
            const int index = static_cast<int>(first + i);
            if (m_transformed) {
                KelvraHelper::getTransformedVertex(index, p);
            } else {
                KelvraHelper::getVertex(index, p);
            }
            out[i] = QMVector3f(p[0], p[1], p[2]);
        }
    }

    std::size_t numFaces() const override { return m_numFaces; }
    void readFaces(std::size_t first, std::size_t count, std::int32_t* out) const override {
        const unsigned char* records = reinterpret_cast<const unsigned char*>(KelvraHelper::s_faces);
        for (std::size_t f = 0; f < count; ++f)
            for (std::size_t j = 0; j < 4; ++j)
                out[4 * f + j] = readHostField<std::int32_t>(records, kFaceBytes * (first + f) + 4 * j);
    }

    TexCoordIndexing texCoordIndexing() const override { return TexCoordIndexing::kFourPerFace; }
    std::size_t numTexCoordEntries() const override { return 4 * m_numUVLinks; }
    void readTexCoords(std::size_t first, std::size_t count, QMVector2f* uvs, bool* written) const override {
        for (std::size_t k = 0; k < count; ++k) {
            uvs[k] = readUV((first + k) / 4, (first + k) % 4);
            written[k] = true;
        }
    }

    std::size_t numColours() const override { return m_numColours; }
    // The word in bytes 4 to 7 of each 8-byte vertex attribute record.
    void readColourWords(std::size_t first, std::size_t count, std::uint32_t* out) const override {
        for (std::size_t i = 0; i < count; ++i)
            out[i] = readHostField<std::uint32_t>(KelvraHelper::s_vertexAttribs, kVertexAttribBytes * (first + i) + 4);
    }

private:
    // Corner `corner` of UV link `link`: floats, or fixed point scaled to floats.
    static QMVector2f readUV(std::size_t link, std::size_t corner) {
        const std::size_t offset = kUVLinkBytes * link + 8 * corner;
        if (KelvraHelper::s_uvLinksFlt32 != nullptr) {
            const void* links = KelvraHelper::s_uvLinksFlt32;
            return {readHostField<float>(links, offset), readHostField<float>(links, offset + 4)};
        }
        const void* links = KelvraHelper::s_uvLinksFix32;
        return {static_cast<float>(readHostField<std::int32_t>(links, offset)) * kFixed24Unit,
                static_cast<float>(readHostField<std::int32_t>(links, offset + 4)) * kFixed24Unit};
    }

    const bool m_transformed;
    const std::size_t m_numPoints;
    const std::size_t m_numFaces;
    const std::size_t m_numUVLinks;
    const std::size_t m_numColours;
};

}  // namespace

std::unique_ptr<MeshSource> makeCurrentHostMesh(HostPoints points) {
    return std::make_unique<CurrentHostMesh>(points);
}
