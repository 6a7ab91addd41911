// bench_printf: the naive way to write the export's text, one fprintf call
// per number, as a timing baseline. The meshes are read into memory before
// the clock starts; the clock covers placing the points (minimum corner at the
// origin, height 100 along Y), computing the facet normals and writing.
//
//   bench_printf stl-ascii|vrml|vrml-colors OUT FILE.vek...
//
// The text has the shape and about the size of the export's (ASCII STL
// facets; VRML shapes with coordinates, indices, texture coordinates and
// optionally colours); it is not meant to match it byte for byte.
// Prints "seconds S".

#include "bench/Stopwatch.h"
#include "tools/vekgen/VekMeshReader.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using vekgen::Face4;
using vekgen::MeshData;
using vekgen::Point3;

constexpr float kHeight = 100.0f;

struct Placement {
    Point3 origin{0, 0, 0};
    float scale = 1.0f;
    Point3 operator()(const Point3& p) const {
        return {(p[0] - origin[0]) * scale, (p[1] - origin[1]) * scale, (p[2] - origin[2]) * scale};
    }
};

Placement placementOf(const std::vector<MeshData>& meshes) {
    constexpr float kInf = std::numeric_limits<float>::infinity();
    Point3 lo{kInf, kInf, kInf}, hi{-kInf, -kInf, -kInf};
    for (const MeshData& mesh : meshes)
        for (const Point3& p : mesh.points)
            for (int k = 0; k < 3; ++k) lo[k] = std::min(lo[k], p[k]), hi[k] = std::max(hi[k], p[k]);
    Placement placement;
    if (lo[0] > hi[0]) return placement;
    placement.origin = lo;
    if (hi[1] > lo[1]) placement.scale = kHeight / (hi[1] - lo[1]);
    return placement;
}

bool isTriangle(const Face4& face) { return face[3] == vekgen::kNoIndex; }

void putNumbers(std::FILE* f, const Point3& v) {
    for (float c : v) std::fprintf(f, "%g ", double(c));
}

void putFacet(std::FILE* f, const Point3& a, const Point3& b, const Point3& c) {
    const Point3 u{b[0] - a[0], b[1] - a[1], b[2] - a[2]};
    const Point3 w{c[0] - b[0], c[1] - b[1], c[2] - b[2]};
    Point3 n{u[1] * w[2] - u[2] * w[1], u[2] * w[0] - u[0] * w[2], u[0] * w[1] - u[1] * w[0]};
    const float length = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
    if (length > 0)
        for (float& x : n) x /= length;
    std::fputs("facet normal ", f);
    putNumbers(f, n);
    std::fputs("\nouter loop\nvertex ", f);
    putNumbers(f, a);
    std::fputs("\nvertex ", f);
    putNumbers(f, b);
    std::fputs("\nvertex ", f);
    putNumbers(f, c);
    std::fputs("\nendloop\nendfacet\n", f);
}

void writeStl(std::FILE* f, const std::vector<MeshData>& meshes, const Placement& place) {
    std::fputs("solid object0 \n", f);
    for (const MeshData& mesh : meshes)
        for (const Face4& face : mesh.faces) {
            const Point3 p0 = place(mesh.points[face[0]]), p2 = place(mesh.points[face[2]]);
            putFacet(f, p0, place(mesh.points[face[1]]), p2);
            if (!isTriangle(face)) putFacet(f, p0, p2, place(mesh.points[face[3]]));
        }
    std::fputs("endsolid object0 \n", f);
}

void writeShape(std::FILE* f, const MeshData& mesh, const std::string& texture, const Placement& place, bool colours) {
    std::fprintf(f, "\nShape { \n\n  appearance Appearance { \n    texture ImageTexture { \n      url \"%s\" \n",
                 texture.c_str());
    std::fputs("      repeatS TRUE \n      repeatT TRUE \n    } \n  } \n\n  geometry IndexedFaceSet { \n", f);
    std::fputs("    coord Coordinate { \n      point [ ", f);
    for (const Point3& p : mesh.points) {
        const Point3 q = place(p);
        for (float c : q) std::fprintf(f, "%f ", double(c));
        std::fputs(",\n         ", f);
    }
    std::fputs("]\n    }\n    coordIndex [ ", f);
    for (const Face4& face : mesh.faces) {
        for (int k = 0; k < (isTriangle(face) ? 3 : 4); ++k) std::fprintf(f, "%d, ", face[k]);
        std::fputs("-1,\n      ", f);
    }
    std::fputs("]\n\n    texCoord TextureCoordinate { \n      point [ ", f);
    for (std::size_t i = 0; i < mesh.uvs.size(); ++i)
        for (int k = 0; k < (isTriangle(mesh.faces[i]) ? 3 : 4); ++k) {
            std::fprintf(f, "%f ", 1.0 - double(mesh.uvs[i][2 * k]));
            std::fprintf(f, "%f", 1.0 - double(mesh.uvs[i][2 * k + 1]));
            std::fputs(",\n         ", f);
        }
    std::fputs("]\n    } \n\n      texCoordIndex [ ", f);
    int corner = 0;
    for (std::size_t i = 0; i < mesh.uvs.size(); ++i) {
        for (int k = 0; k < (isTriangle(mesh.faces[i]) ? 3 : 4); ++k) std::fprintf(f, "%d, ", corner++);
        std::fputs("-1,\n        ", f);
    }
    std::fputs("]\n", f);
    if (colours && !mesh.mrgb.empty()) {
        std::fputs("\n    colorPerVertex TRUE \n    color Color {\n      color [\n", f);
        for (std::uint32_t word : mesh.mrgb) {
            std::fputs("        ", f);
            for (int shift : {16, 8, 0}) std::fprintf(f, "%f ", double(float((word >> shift) & 0xFFu) / 255.0f));
            std::fputs(", \n", f);
        }
        std::fputs("    }\n", f);
    }
    std::fputs("  } \n} \n", f);
}

void writeVrml(std::FILE* f, const std::vector<MeshData>& meshes, const std::vector<std::string>& textures,
               const Placement& place, bool colours) {
    std::fputs("#VRML V2.0 utf8\n\n#Created by Kelvra VRML exporter\n\n\n", f);
    for (std::size_t i = 0; i < meshes.size(); ++i) writeShape(f, meshes[i], textures[i], place, colours);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 4) {
        std::fputs("usage: bench_printf stl-ascii|vrml|vrml-colors OUT FILE.vek...\n", stderr);
        return 2;
    }
    const std::string kind = argv[1];
    if (kind != "stl-ascii" && kind != "vrml" && kind != "vrml-colors") {
        std::fprintf(stderr, "bench_printf: unknown kind %s\n", kind.c_str());
        return 2;
    }
    try {
        std::vector<MeshData> meshes;
        std::vector<std::string> textures;
        for (int i = 3; i < argc; ++i) {
            meshes.push_back(vekgen::readVekMesh(argv[i]));
            textures.push_back(std::filesystem::path(argv[i]).filename().string());
        }
        const Stopwatch clock;
        std::FILE* f = std::fopen(argv[2], "w");
        if (!f) throw std::runtime_error(std::string("cannot open ") + argv[2]);
        const Placement place = placementOf(meshes);
        if (kind == "stl-ascii")
            writeStl(f, meshes, place);
        else
            writeVrml(f, meshes, textures, place, kind == "vrml-colors");
        if (std::fclose(f) != 0) throw std::runtime_error(std::string("cannot write ") + argv[2]);
        clock.report();
    } catch (const std::exception& e) {
        std::fprintf(stderr, "bench_printf: %s\n", e.what());
        return 1;
    }
    return 0;
}
