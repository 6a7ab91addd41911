#pragma once

#include "engine/OmbrelExport.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace ombrel::threemf {

class ZipPackage;

// What became of one mesh the engine handed over.
struct MeshOutcome {
    bool objectWritten = false;              // at least one triangle: an object and its build item
    std::uint64_t trianglesWritten = 0;
    std::uint64_t repeatedCornerTriangles = 0;  // a point named twice: 3MF forbids it; left out
    std::uint64_t nonFiniteTriangles = 0;       // a corner with an infinite or NaN coordinate; left out
};

// Writes the scene as a 3MF package: [Content_Types].xml, _rels/.rels and
// the model 3D/3dmodel.model, in millimetres, one object a mesh (named after
// its file, with the file's points as its vertices and its faces as
// triangles, a quad split into (p0, p1, p2) and (p0, p2, p3) as in STL) and a
// build item an object. With colours, a mesh's MRGB words become a colour
// group of the materials extension, one colour a vertex, and every triangle
// takes its corners' colours.
//
// The model is formatted into a small buffer and deflated into the package
// as it goes: memory does not grow with the scene. Coordinates are written
// in their shortest exact text, so every reader gets the very floats the
// engine placed and shared corners stay shared.
class ThreeMFWriter final : public SceneWriter {
public:
    // `colours`: the engine hands colours over (ExportOptions::vertexColors);
    // the model declares the materials namespace.
    explicit ThreeMFWriter(bool colours, int compressionLevel = kDefaultCompressionLevel);
    ~ThreeMFWriter() override;

    void begin(std::FILE* output) override;
    std::uint64_t writeMesh(const SceneMesh& mesh, const std::function<void(std::uint64_t)>& facesWritten) override;
    void end() override;

    // One entry a writeMesh call, in order.
    const std::vector<MeshOutcome>& outcomes() const { return m_outcomes; }

    // zlib's level. Deflating is most of a 3MF export's time: at 1M faces
    // level 1 writes a file about a quarter larger than zlib's default 6 in
    // under a third of its time (BENCHMARKS.md, section 3MF).
    static constexpr int kDefaultCompressionLevel = 1;

private:
    class Mesh;
    void put(const char* text, std::size_t size);
    template <std::size_t N>
    void put(const char (&text)[N]) {
        put(text, N - 1);
    }
    // Room for `size` more bytes in the buffer, handing it to the package
    // when it is fuller than that.
    char* reserve(std::size_t size);
    void flush();

    bool m_colours;
    int m_compressionLevel;
    std::unique_ptr<ZipPackage> m_package;
    std::unique_ptr<char[]> m_buffer;
    char* m_at = nullptr;
    char* m_end = nullptr;
    std::uint32_t m_nextId = 1;
    std::vector<std::uint32_t> m_objectIds;  // the build's items
    std::vector<MeshOutcome> m_outcomes;
};

}  // namespace ombrel::threemf
