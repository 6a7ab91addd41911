#include "tools/vekgen/PlyWriter.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <stdexcept>

namespace vekgen {

namespace {

// Buffered little-endian output to a file.
class PlyOutput {
public:
    explicit PlyOutput(const std::string& path) : m_path(path), m_file(std::fopen(path.c_str(), "wb")) {
        if (!m_file) throw std::runtime_error("cannot open " + path + " for writing");
        m_buffer.reserve(kBufferSize);
    }
    void text(const std::string& s) { bytes(reinterpret_cast<const unsigned char*>(s.data()), s.size()); }
    void u8(std::uint8_t v) { bytes(&v, 1); }
    void u32(std::uint32_t v) {
        unsigned char b[4];
        storeU32(b, v);
        bytes(b, 4);
    }
    void f32(float v) {
        std::uint32_t bits;
        std::memcpy(&bits, &v, 4);
        u32(bits);
    }
    std::uint64_t close() {
        flush();
        if (std::fclose(m_file.release()) != 0) throw std::runtime_error("cannot write " + m_path);
        return m_written;
    }

private:
    struct FileCloser {
        void operator()(std::FILE* f) const { std::fclose(f); }
    };
    static constexpr std::size_t kBufferSize = std::size_t(1) << 20;

    void bytes(const unsigned char* p, std::size_t n) {
        if (m_buffer.size() + n > kBufferSize) flush();
        m_buffer.insert(m_buffer.end(), p, p + n);
    }
    void flush() {
        if (std::fwrite(m_buffer.data(), 1, m_buffer.size(), m_file.get()) != m_buffer.size())
            throw std::runtime_error("cannot write " + m_path);
        m_written += m_buffer.size();
        m_buffer.clear();
    }

    std::string m_path;
    std::unique_ptr<std::FILE, FileCloser> m_file;
    std::vector<unsigned char> m_buffer;
    std::uint64_t m_written = 0;
};

bool isTriangle(const Face4& face) { return face[3] == kNoIndex; }

// Maps the scene's points to their written position.
struct Placement {
    Point3 origin{0, 0, 0};
    double scale = 1.0;

    Point3 operator()(const Point3& p) const {
        Point3 q;
        for (int k = 0; k < 3; ++k) q[k] = static_cast<float>((double(p[k]) - origin[k]) * scale);
        return q;
    }
};

Placement placementFor(const std::vector<MeshData>& meshes, const PlyOptions& options) {
    Placement placement;
    if (!options.height) return placement;
    constexpr float kInf = std::numeric_limits<float>::infinity();
    Point3 lo{kInf, kInf, kInf}, hi{-kInf, -kInf, -kInf};
    for (const MeshData& mesh : meshes)
        for (const Point3& p : mesh.points)
            for (int k = 0; k < 3; ++k) lo[k] = std::min(lo[k], p[k]), hi[k] = std::max(hi[k], p[k]);
    if (lo[0] > hi[0]) return placement;  // no points at all
    placement.origin = lo;
    const double extent = double(hi[1]) - double(lo[1]);
    if (extent > 0) placement.scale = *options.height / extent;
    return placement;
}

void checkIndices(const MeshData& mesh) {
    const auto size = static_cast<std::int64_t>(mesh.points.size());
    for (const Face4& face : mesh.faces)
        for (int k = 0; k < (isTriangle(face) ? 3 : 4); ++k)
            if (face[k] < 0 || face[k] >= size)
                throw std::runtime_error("a face names point " + std::to_string(face[k]) + " of a mesh with " +
                                         std::to_string(size) + " points");
}

// One (u, v) per vertex from the UVs of the face corners: a vertex takes the
// UV of the last corner that names it (vertices on a UV seam keep one side).
std::vector<std::array<float, 2>> vertexUVs(const MeshData& mesh) {
    std::vector<std::array<float, 2>> uv(mesh.points.size(), {0.0f, 0.0f});
    for (std::size_t f = 0; f < mesh.faces.size(); ++f)
        for (int k = 0; k < (isTriangle(mesh.faces[f]) ? 3 : 4); ++k)
            uv[std::size_t(mesh.faces[f][k])] = {mesh.uvs[f][2 * k], mesh.uvs[f][2 * k + 1]};
    return uv;
}

std::string header(std::uint64_t vertices, std::uint64_t faces, bool withUV, bool withColours, std::size_t files) {
    std::string h = "ply\nformat binary_little_endian 1.0\ncomment vekgen: " + std::to_string(files) +
                    " Vek file(s)\nelement vertex " + std::to_string(vertices) +
                    "\nproperty float x\nproperty float y\nproperty float z\n";
    if (withUV) h += "property float u\nproperty float v\n";
    if (withColours) h += "property uchar red\nproperty uchar green\nproperty uchar blue\n";
    h += "element face " + std::to_string(faces) + "\nproperty list uchar int vertex_indices\nend_header\n";
    return h;
}

}  // namespace

PlyStats writePly(const std::string& path, const std::vector<MeshData>& meshes, const PlyOptions& options) {
    bool withUV = !options.triangles && !meshes.empty();
    bool withColours = withUV;
    PlyStats stats;
    for (const MeshData& mesh : meshes) {
        checkIndices(mesh);
        withUV = withUV && mesh.uvs.size() == mesh.faces.size();
        withColours = withColours && mesh.mrgb.size() == mesh.points.size();
        stats.vertices += mesh.points.size();
        for (const Face4& face : mesh.faces) stats.faces += options.triangles && !isTriangle(face) ? 2 : 1;
    }
    if (stats.vertices > std::uint64_t(std::numeric_limits<std::int32_t>::max()))
        throw std::runtime_error("too many vertices for 32-bit PLY indices");

    const Placement place = placementFor(meshes, options);
    PlyOutput out(path);
    out.text(header(stats.vertices, stats.faces, withUV, withColours, meshes.size()));
    for (const MeshData& mesh : meshes) {
        const auto uv = withUV ? vertexUVs(mesh) : std::vector<std::array<float, 2>>();
        for (std::size_t i = 0; i < mesh.points.size(); ++i) {
            for (float c : place(mesh.points[i])) out.f32(c);
            if (withUV) out.f32(uv[i][0]), out.f32(uv[i][1]);
            if (withColours) {
                const std::uint32_t w = mesh.mrgb[i];
                out.u8(std::uint8_t(w >> 16)), out.u8(std::uint8_t(w >> 8)), out.u8(std::uint8_t(w));
            }
        }
    }
    std::uint32_t base = 0;
    auto face = [&](std::initializer_list<std::int32_t> corners) {
        out.u8(static_cast<std::uint8_t>(corners.size()));
        for (std::int32_t c : corners) out.u32(base + static_cast<std::uint32_t>(c));
    };
    for (const MeshData& mesh : meshes) {
        for (const Face4& f : mesh.faces) {
            if (isTriangle(f))
                face({f[0], f[1], f[2]});
            else if (options.triangles)
                face({f[0], f[1], f[2]}), face({f[0], f[2], f[3]});
            else
                face({f[0], f[1], f[2], f[3]});
        }
        base += static_cast<std::uint32_t>(mesh.points.size());
    }
    stats.bytes = out.close();
    return stats;
}

}  // namespace vekgen
