#include "ModelStl.h"

#include <cstring>

namespace scriptmodel {

namespace {

constexpr int kHeaderBytes = 80;

void putWord(std::FILE* file, std::uint32_t value) {
    const unsigned char bytes[4] = {static_cast<unsigned char>(value), static_cast<unsigned char>(value >> 8),
                                    static_cast<unsigned char>(value >> 16), static_cast<unsigned char>(value >> 24)};
    std::fwrite(bytes, 1, 4, file);
}

void putFloats(std::FILE* file, const Vec3& v) {
    for (float f : {v.x, v.y, v.z}) {
        std::uint32_t bits;
        std::memcpy(&bits, &f, 4);
        putWord(file, bits);
    }
}

}  // namespace

StlWriter::StlWriter(std::FILE* file, bool binary) : m_file(file), m_binary(binary) {
    if (m_binary) {
        for (int i = 0; i < kHeaderBytes; ++i) std::fputc(' ', m_file);
        putWord(m_file, 0);
    } else {
        std::fputs("solid object0 \n", m_file);
    }
}

void StlWriter::mesh(const std::vector<Vec3>& points, const std::vector<std::int32_t>& faces,
                     const Placement& placement) {
    const auto names = [&](std::int32_t index) { return index >= 0 && std::size_t(index) < points.size(); };
    for (std::size_t f = 0; f + 4 <= faces.size(); f += 4) {
        const std::int32_t* corner = &faces[f];
        const bool quad = corner[3] != -1;
        if (!names(corner[0]) || !names(corner[1]) || !names(corner[2]) || (quad && !names(corner[3]))) continue;
        const Vec3 p0 = projectiveProduct(placement, points[corner[0]]);
        const Vec3 p1 = projectiveProduct(placement, points[corner[1]]);
        const Vec3 p2 = projectiveProduct(placement, points[corner[2]]);
        triangle(p0, p1, p2);
        if (quad) triangle(p0, p2, projectiveProduct(placement, points[corner[3]]));
    }
}

void StlWriter::finish() {
    if (m_binary) {
        std::fseek(m_file, kHeaderBytes, SEEK_SET);
        putWord(m_file, m_triangles);
    } else {
        std::fputs("endsolid object0 \n", m_file);
    }
    std::fclose(m_file);
}

void StlWriter::triangle(const Vec3& a, const Vec3& b, const Vec3& c) {
    const Vec3 normal = facetNormal(a, b, c);
    if (m_binary) {
        putFloats(m_file, normal);
        putFloats(m_file, a);
        putFloats(m_file, b);
        putFloats(m_file, c);
        std::fputs("  ", m_file);
        ++m_triangles;
        return;
    }
    std::fputs("facet normal ", m_file);
    numbers(normal);
    std::fputs("\nouter loop\nvertex ", m_file);
    numbers(a);
    std::fputs("\nvertex ", m_file);
    numbers(b);
    std::fputs("\nvertex ", m_file);
    numbers(c);
    std::fputs("\nendloop\nendfacet\n", m_file);
}

void StlWriter::numbers(const Vec3& v) {
    char text[64];
    for (float f : {v.x, v.y, v.z}) {
        std::snprintf(text, sizeof text, "%g ", static_cast<double>(f));
        std::fputs(text, m_file);
    }
}

}  // namespace scriptmodel
