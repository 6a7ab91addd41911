#include "threemf/ThreeMFWriter.h"

#include "support/NumberText.h"
#include "threemf/ModelText.h"
#include "threemf/ZipPackage.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>

namespace ombrel::threemf {

namespace {

constexpr std::size_t kBufferBytes = 256 * 1024;
// Room the longest line formatted in place needs: a triangle with colours
// (seven numbers of at most 12 characters and the markup, under 200).
constexpr std::size_t kLineBytes = 256;
// Progress: faces between two reports while the triangles are written, and
// vertices between two chances to cancel while the vertices are.
constexpr std::size_t kFacesPerReport = 4096;
constexpr std::size_t kVerticesPerReport = 65536;
// The colour of a point the MRGB block does not reach.
constexpr std::uint32_t kNoColour = 0xFFFFFF;

template <std::size_t N>
char* copy(char* out, const char (&text)[N]) {
    std::memcpy(out, text, N - 1);
    return out + (N - 1);
}

// A coordinate in its shortest exact text; a non-finite one, which 3MF
// cannot hold, as 0 (no triangle written uses such a point).
char* appendCoordinate(char* out, float value) {
    if (!std::isfinite(value)) {
        *out = '0';
        return out + 1;
    }
    return appendShortestFloat(out, value);
}

// Point indices that were checked against the point count (below 2^31).
char* appendIndex(char* out, std::int32_t index) { return appendInteger(out, index); }

std::string idText(std::uint32_t id) { return std::to_string(id); }

}  // namespace

// One mesh as the model holds it: which of its faces give which triangles.
class ThreeMFWriter::Mesh {
public:
    explicit Mesh(const SceneMesh& mesh) : m_mesh(mesh) {
        // Points with an infinite or NaN coordinate are rare; only a mesh
        // that has some keeps a mark a point.
        const float* p = mesh.points;
        for (std::size_t i = 0; i < mesh.pointCount; ++i, p += 3) {
            if (std::isfinite(p[0]) && std::isfinite(p[1]) && std::isfinite(p[2])) continue;
            if (m_nonFinite.empty()) m_nonFinite.assign(mesh.pointCount, false);
            m_nonFinite[i] = true;
        }
    }

    enum class Fate { kWritten, kRepeatedCorner, kNonFinite };

    // Calls `triangle(v1, v2, v3, fate)` for each triangle of faces
    // [first, end): a face naming a point that does not exist gives none, a
    // quad two.
    template <class Triangle>
    void forEachTriangle(std::size_t first, std::size_t end, Triangle&& triangle) const {
        const std::size_t count = m_mesh.pointCount;
        const auto inRange = [count](std::int32_t index) { return index >= 0 && std::size_t(index) < count; };
        for (std::size_t f = first; f < end; ++f) {
            const std::int32_t* face = m_mesh.faces + 4 * f;
            const bool quad = face[3] != -1;
            if (!inRange(face[0]) || !inRange(face[1]) || !inRange(face[2]) || (quad && !inRange(face[3]))) continue;
            triangle(face[0], face[1], face[2], fate(face[0], face[1], face[2]));
            if (quad) triangle(face[0], face[2], face[3], fate(face[0], face[2], face[3]));
        }
    }

    // What writing the mesh will give.
    MeshOutcome outcome() const {
        MeshOutcome outcome;
        forEachTriangle(0, m_mesh.faceCount, [&](std::int32_t, std::int32_t, std::int32_t, Fate fate) {
            if (fate == Fate::kWritten) ++outcome.trianglesWritten;
            else if (fate == Fate::kRepeatedCorner) ++outcome.repeatedCornerTriangles;
            else ++outcome.nonFiniteTriangles;
        });
        outcome.objectWritten = outcome.trianglesWritten != 0;
        return outcome;
    }

private:
    Fate fate(std::int32_t a, std::int32_t b, std::int32_t c) const {
        if (a == b || b == c || a == c) return Fate::kRepeatedCorner;
        if (!m_nonFinite.empty() && (m_nonFinite[std::size_t(a)] || m_nonFinite[std::size_t(b)] ||
                                     m_nonFinite[std::size_t(c)]))
            return Fate::kNonFinite;
        return Fate::kWritten;
    }

    const SceneMesh& m_mesh;
    std::vector<bool> m_nonFinite;  // empty when every point is finite
};

ThreeMFWriter::ThreeMFWriter(bool colours, int compressionLevel)
    : m_colours(colours), m_compressionLevel(compressionLevel) {}

ThreeMFWriter::~ThreeMFWriter() = default;

void ThreeMFWriter::begin(std::FILE* output) {
    m_package = std::make_unique<ZipPackage>(output, m_compressionLevel);
    m_buffer = std::make_unique<char[]>(kBufferBytes);
    m_at = m_buffer.get();
    m_end = m_at + kBufferBytes;
    m_package->addPart(kContentTypesPart, kContentTypesXml);
    m_package->addPart(kRelationshipsPart, kRelationshipsXml);
    m_package->startPart(kModelPart);
    put("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<model unit=\"millimeter\" xml:lang=\"en-US\" "
        "xmlns=\"http://schemas.microsoft.com/3dmanufacturing/core/2015/02\"");
    if (m_colours) put(" xmlns:m=\"http://schemas.microsoft.com/3dmanufacturing/material/2015/02\"");
    put(">\n<resources>\n");
}

std::uint64_t ThreeMFWriter::writeMesh(const SceneMesh& scene,
                                       const std::function<void(std::uint64_t)>& facesWritten) {
    const Mesh mesh(scene);
    const MeshOutcome outcome = mesh.outcome();
    m_outcomes.push_back(outcome);
    if (!outcome.objectWritten) {
        facesWritten(scene.faceCount);
        return 0;
    }

    // The colour group comes first: 3MF readers read front to back.
    const bool coloured = scene.colours != nullptr;
    const std::uint32_t groupId = coloured ? m_nextId++ : 0;
    const std::uint32_t objectId = m_nextId++;
    m_objectIds.push_back(objectId);
    const std::string groupText = idText(groupId);
    if (coloured) {
        put("<m:colorgroup id=\"");
        put(groupText.data(), groupText.size());
        put("\">\n");
        for (std::size_t i = 0; i < scene.pointCount; ++i) {
            char* out = reserve(kLineBytes);
            out = copy(out, "<m:color color=\"");
            out = appendColourText(out, i < scene.colourCount ? scene.colours[i] : kNoColour);
            m_at = copy(out, "\"/>\n");
        }
        put("</m:colorgroup>\n");
    }
    // What follows a coloured triangle's v3: its group, then p1.
    const std::string properties = "\" pid=\"" + groupText + "\" p1=\"";

    const std::string objectText = idText(objectId);
    put("<object id=\"");
    put(objectText.data(), objectText.size());
    put("\" type=\"model\"");
    if (!scene.name.empty()) {
        const std::string name = xmlAttributeText(scene.name);
        put(" name=\"");
        put(name.data(), name.size());
        put("\"");
    }
    if (coloured) {
        // Triangles with properties need the object's as their default.
        put(" pid=\"");
        put(groupText.data(), groupText.size());
        put("\" pindex=\"0\"");
    }
    put(">\n<mesh>\n<vertices>\n");
    const float* p = scene.points;
    for (std::size_t i = 0; i < scene.pointCount; ++i, p += 3) {
        if ((i + 1) % kVerticesPerReport == 0) facesWritten(0);  // a chance to cancel
        char* out = reserve(kLineBytes);
        out = copy(out, "<vertex x=\"");
        out = appendCoordinate(out, p[0]);
        out = copy(out, "\" y=\"");
        out = appendCoordinate(out, p[1]);
        out = copy(out, "\" z=\"");
        out = appendCoordinate(out, p[2]);
        m_at = copy(out, "\"/>\n");
    }
    put("</vertices>\n<triangles>\n");

    const auto triangle = [&](std::int32_t a, std::int32_t b, std::int32_t c, Mesh::Fate fate) {
        if (fate != Mesh::Fate::kWritten) return;
        char* out = reserve(kLineBytes);
        out = copy(out, "<triangle v1=\"");
        out = appendIndex(out, a);
        out = copy(out, "\" v2=\"");
        out = appendIndex(out, b);
        out = copy(out, "\" v3=\"");
        out = appendIndex(out, c);
        if (coloured) {
            // Colour i is point i's: the corners' colours are their indices.
            std::memcpy(out, properties.data(), properties.size());
            out = appendIndex(out + properties.size(), a);
            out = copy(out, "\" p2=\"");
            out = appendIndex(out, b);
            out = copy(out, "\" p3=\"");
            out = appendIndex(out, c);
        }
        m_at = copy(out, "\"/>\n");
    };
    for (std::size_t first = 0; first < scene.faceCount; first += kFacesPerReport) {
        const std::size_t end = std::min(scene.faceCount, first + kFacesPerReport);
        mesh.forEachTriangle(first, end, triangle);
        facesWritten(end - first);
    }
    put("</triangles>\n</mesh>\n</object>\n");
    return outcome.trianglesWritten;
}

void ThreeMFWriter::end() {
    put("</resources>\n<build>\n");
    for (std::uint32_t id : m_objectIds) {
        char* out = reserve(kLineBytes);
        out = copy(out, "<item objectid=\"");
        out = appendInteger(out, static_cast<int>(id));
        m_at = copy(out, "\"/>\n");
    }
    put("</build>\n</model>\n");
    flush();
    m_package->finishPart();
    m_package->close();
    m_package.reset();
    m_buffer.reset();
}

void ThreeMFWriter::put(const char* text, std::size_t size) {
    while (size != 0) {
        if (m_at == m_end) flush();
        const std::size_t part = std::min(size, static_cast<std::size_t>(m_end - m_at));
        std::memcpy(m_at, text, part);
        m_at += part;
        text += part;
        size -= part;
    }
}

char* ThreeMFWriter::reserve(std::size_t size) {
    if (static_cast<std::size_t>(m_end - m_at) < size) flush();
    return m_at;
}

void ThreeMFWriter::flush() {
    m_package->write(m_buffer.get(), static_cast<std::size_t>(m_at - m_buffer.get()));
    m_at = m_buffer.get();
}

}  // namespace ombrel::threemf
