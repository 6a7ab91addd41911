#include "export/QMVRMLExport.h"

#include "export/AppendText.h"
#include "support/NumberText.h"
#include "support/QMDiskServer.h"
#include "vekio/QMVekIO.h"

#include <algorithm>
#include <cstring>

namespace {

// Room for the longest line the writer formats: three "%f" numbers, or four
// "%d" indices, and at most 40 bytes of fixed text around them.
constexpr std::size_t kMaxLineLength = 3 * (kMaxFixed6Length + 1) + 64;
static_assert(4 * (kMaxIntegerLength + 2) + 64 < kMaxLineLength);

const char kFileStart[] =
    "#VRML V2.0 utf8\n"
    "\n#Created by Kelvra VRML exporter\n\n"
    "\n";

// "%f %f %f" of the three floats, each widened to double.
char* appendTriple(char* out, const QMVector3f& v) {
    out = appendFixed6(out, static_cast<double>(v.x));
    *out++ = ' ';
    out = appendFixed6(out, static_cast<double>(v.y));
    *out++ = ' ';
    return appendFixed6(out, static_cast<double>(v.z));
}

// "%f %f" of the flipped texture coordinate (1 - s, 1 - t), flipped in float.
char* appendFlippedUV(char* out, const QMVector2f& uv) {
    const float s = 1.0f - uv.x;
    const float t = 1.0f - uv.y;
    out = appendFixed6(out, static_cast<double>(s));
    *out++ = ' ';
    return appendFixed6(out, static_cast<double>(t));
}

}  // namespace

// A new exporter holds the identity matrix (type 0) and does not use it.
QMVRMLExport::QMVRMLExport() : m_file(QMDiskServer::s_invalidFile) {}

// An export left half way (by an exception) releases its stream and leaves
// no file behind: m_output discards it, and m_out never writes on its own.
QMVRMLExport::~QMVRMLExport() = default;

bool QMVRMLExport::startExportKMeshes(const QMString& path) {
    // A stream still open from an unfinished export is finished first.
    if (m_file != QMDiskServer::s_invalidFile) endExportKMeshes();
    m_file = m_output.open(path, "w");
    m_out.attach(m_file);
    if (m_file != QMDiskServer::s_invalidFile) m_out.append(kFileStart, sizeof kFileStart - 1);
    return true;
}

bool QMVRMLExport::endExportKMeshes() {
    if (m_file == QMDiskServer::s_invalidFile) return true;
    m_out.attach(nullptr);
    m_output.commit();
    m_file = QMDiskServer::s_invalidFile;
    return true;
}

void QMVRMLExport::writeKMesh(const QMArray<QMVector3f>& points, const QMArray<int>& faces,
                              const QMArray<QMVector2f>& uvs, const QMString& textureName,
                              const QMArray<std::uint32_t>* mrgb) {
    if (m_file == QMDiskServer::s_invalidFile) return;
    beginShape(textureName);
    if (!points.empty()) writeCoordinates(points);
    if (!faces.empty()) writeCoordIndices(faces);
    if (!uvs.empty()) writeTextureCoordinates(faces, uvs);
    if (mrgb && !mrgb->empty()) writeColours(*mrgb);
    endShape();
}

void QMVRMLExport::beginShape(const QMString& textureName) {
    m_out.append("\nShape { \n");
    if (!textureName.empty()) writeAppearance(textureName);
    m_out.append("\n  geometry IndexedFaceSet { \n");
}

void QMVRMLExport::endShape() { m_out.append("  } \n} \n"); }

void QMVRMLExport::writeAppearance(const QMString& textureName) {
    m_out.append(
        "\n"
        "  appearance Appearance { \n"
        "    texture ImageTexture { \n"
        "      url \"");
    // Straight from its text: no length limit, no escaping.
    m_out.append(textureName.c_str());
    m_out.append(
        "\" \n"
        "      repeatS TRUE \n"
        "      repeatT TRUE \n"
        "    } \n"
        "  } \n");
}

void QMVRMLExport::writeCoordinates(const QMArray<QMVector3f>& points) {
    m_out.append("    coord Coordinate { \n");
    const std::size_t n = points.size();
    for (std::size_t i = 0; i < n; ++i) writeCoordinateLine(i, n, points[i]);
    m_out.append("    }\n");
}

void QMVRMLExport::writeCoordinateLine(std::size_t i, std::size_t n, const QMVector3f& point) {
    const QMVector3f p = m_useMatrix ? m_matrix * point : point;
    char* out = m_out.reserve(kMaxLineLength);
    if (n == 1) {
        out = appendLiteral(out, "      point [ ");
        out = appendTriple(out, p);
        out = appendLiteral(out, " ]\n");
    } else {
        out = i == 0 ? appendLiteral(out, "      point [ ") : appendLiteral(out, "         ");
        out = appendTriple(out, p);
        out = i + 1 < n ? appendLiteral(out, ",\n") : appendLiteral(out, "]\n");
    }
    m_out.commit(out);
}

// Every face but the last is closed by -1 and the last by the bracket (so a
// single face has no -1 at all).
void QMVRMLExport::writeFaceLine(std::size_t face, std::size_t numFaces, const char* firstPrefix,
                                 const char* restPrefix, const int* values, int corners) {
    char* out = m_out.reserve(kMaxLineLength);
    const char* prefix = face == 0 ? firstPrefix : restPrefix;
    out = appendText(out, prefix, std::strlen(prefix));
    for (int j = 0; j < corners; ++j) {
        if (j) out = appendLiteral(out, ", ");
        out = appendInteger(out, values[j]);
    }
    out = face + 1 < numFaces ? appendLiteral(out, ", -1,\n") : appendLiteral(out, "]\n");
    m_out.commit(out);
}

// One line per face: the first after `firstPrefix`, the others after
// `restPrefix`. A face is a triangle when its fourth index is -1.
// `value(face, corner, counter)` is the number printed for a corner, where
// counter is the number of corners printed before the face (counted modulo
// 2^32, so it wraps like the printed int instead of overflowing).
template <class Value>
void QMVRMLExport::writeFaceLines(const QMArray<int>& faces, const char* firstPrefix, const char* restPrefix,
                                  Value value) {
    const std::size_t numFaces = faces.size() / 4;
    std::uint32_t counter = 0;
    for (std::size_t i = 0; i < numFaces; ++i) {
        const int corners = faces[4 * i + 3] == -1 ? 3 : 4;
        int values[4];
        for (int j = 0; j < corners; ++j) values[j] = value(i, j, counter);
        writeFaceLine(i, numFaces, firstPrefix, restPrefix, values, corners);
        counter += static_cast<std::uint32_t>(corners);
    }
}

void QMVRMLExport::writeCoordIndices(const QMArray<int>& faces) {
    writeFaceLines(faces, kCoordIndexFirst, kCoordIndexRest, [&faces](std::size_t face, int corner, std::uint32_t) {
        return faces[4 * face + std::size_t(corner)];
    });
}

void QMVRMLExport::beginTextureCoordinates() { m_out.append("\n    texCoord TextureCoordinate { \n"); }

void QMVRMLExport::endTextureCoordinates() { m_out.append("    } \n\n"); }

void QMVRMLExport::writeTexCoordLine(bool first, bool last, const QMVector2f& uv) {
    char* out = m_out.reserve(kMaxLineLength);
    if (first && last) {
        out = appendLiteral(out, "      point [ ");
        out = appendFlippedUV(out, uv);
        out = appendLiteral(out, "]\n");
    } else {
        out = first ? appendLiteral(out, "      point [ ") : appendLiteral(out, "         ");
        out = appendFlippedUV(out, uv);
        out = last ? appendLiteral(out, "]\n") : appendLiteral(out, ",\n");
    }
    m_out.commit(out);
}

void QMVRMLExport::writeTextureCoordinates(const QMArray<int>& faces, const QMArray<QMVector2f>& uvs) {
    // Entry k belongs to face corner k; only corners that exist count, and the
    // unused fourth corner of a triangle (-1) is dropped.
    const std::size_t limit = std::min(uvs.size(), faces.size());
    std::size_t first = 0;
    while (first < limit && faces[first] == -1) ++first;
    if (first == limit) return;  // no entry is kept: nothing to write
    std::size_t last = limit - 1;
    while (faces[last] == -1) --last;

    beginTextureCoordinates();
    for (std::size_t k = first; k <= last; ++k) {
        if (faces[k] == -1) continue;
        writeTexCoordLine(k == first, k == last, uvs[k]);
    }
    endTextureCoordinates();

    // The kept entries are numbered face by face, three for a triangle and
    // four for a quad, whatever the UV list holds.
    writeFaceLines(faces, kTexCoordIndexFirst, kTexCoordIndexRest, [](std::size_t, int corner, std::uint32_t counter) {
        return static_cast<int>(counter + static_cast<std::uint32_t>(corner));
    });
}

void QMVRMLExport::beginColours() {
    m_out.append(
        "\n"
        "    colorPerVertex TRUE \n"
        "    color Color {\n"
        "      color [\n");
}

void QMVRMLExport::endColours() { m_out.append("    }\n"); }

void QMVRMLExport::writeColourLine(bool last, double red, double green, double blue) {
    char* out = m_out.reserve(kMaxLineLength);
    out = appendLiteral(out, "        ");
    out = appendFixed6(out, red);
    *out++ = ' ';
    out = appendFixed6(out, green);
    *out++ = ' ';
    out = appendFixed6(out, blue);
    out = last ? appendLiteral(out, "] \n") : appendLiteral(out, ", \n");
    m_out.commit(out);
}

void QMVRMLExport::writeColours(const QMArray<std::uint32_t>& mrgb) {
    beginColours();
    QMVekIO converter;
    const std::size_t m = mrgb.size();
    for (std::size_t i = 0; i < m; ++i) {
        QMVector3f colour;
        converter.convertOneMRGBToColor3f(colour, mrgb, static_cast<int>(i));
        writeColourLine(i + 1 == m, static_cast<double>(colour.x), static_cast<double>(colour.y),
                        static_cast<double>(colour.z));
    }
    endColours();
}
