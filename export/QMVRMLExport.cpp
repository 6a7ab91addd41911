#include "export/QMVRMLExport.h"

#include "export/AppendText.h"
#include "export/OrderedChunks.h"
#include "support/NumberText.h"
#include "support/QMDiskServer.h"
#include "vekio/QMVekIO.h"

#include <algorithm>
#include <cstring>
#include <vector>

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

// "%f" of any float widened to double: sign, 39 digits, point, six decimals.
constexpr std::size_t kMaxFloatFixed6Length = 48;
// The longest array lines: three or two float numbers, or four indices, with
// at most 64 bytes of fixed text around them.
constexpr std::size_t kMaxFloatLine = 3 * (kMaxFloatFixed6Length + 1) + 64;
constexpr std::size_t kMaxFaceLine = 4 * (kMaxIntegerLength + 2) + 64;
static_assert(kMaxFloatLine <= kMaxLineLength && kMaxFaceLine <= kMaxLineLength);

// Lines of a list formatted apart, on worker threads: about a megabyte.
constexpr std::size_t kLinesPerChunk = 8192;

char* formatCoordinateLine(char* out, std::size_t i, std::size_t n, const QMVector3f& p) {
    if (n == 1) {
        out = appendLiteral(out, "      point [ ");
        out = appendTriple(out, p);
        return appendLiteral(out, " ]\n");
    }
    out = i == 0 ? appendLiteral(out, "      point [ ") : appendLiteral(out, "         ");
    out = appendTriple(out, p);
    return i + 1 < n ? appendLiteral(out, ",\n") : appendLiteral(out, "]\n");
}

// Every face but the last is closed by -1 and the last by the bracket (so a
// single face has no -1 at all).
char* formatFaceLine(char* out, std::size_t face, std::size_t numFaces, const char* firstPrefix, const char* restPrefix,
                     const int* values, int corners) {
    const char* prefix = face == 0 ? firstPrefix : restPrefix;
    out = appendText(out, prefix, std::strlen(prefix));
    for (int j = 0; j < corners; ++j) {
        if (j) out = appendLiteral(out, ", ");
        out = appendInteger(out, values[j]);
    }
    return face + 1 < numFaces ? appendLiteral(out, ", -1,\n") : appendLiteral(out, "]\n");
}

char* formatTexCoordLine(char* out, bool first, bool last, const QMVector2f& uv) {
    if (first && last) {
        out = appendLiteral(out, "      point [ ");
        out = appendFlippedUV(out, uv);
        return appendLiteral(out, "]\n");
    }
    out = first ? appendLiteral(out, "      point [ ") : appendLiteral(out, "         ");
    out = appendFlippedUV(out, uv);
    return last ? appendLiteral(out, "]\n") : appendLiteral(out, ",\n");
}

char* formatColourLine(char* out, bool last, double red, double green, double blue) {
    out = appendLiteral(out, "        ");
    out = appendFixed6(out, red);
    *out++ = ' ';
    out = appendFixed6(out, green);
    *out++ = ' ';
    out = appendFixed6(out, blue);
    return last ? appendLiteral(out, "] \n") : appendLiteral(out, ", \n");
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

// Lines 0 to numLines-1 in chunks formatted on worker threads and written in
// order; `formatRange(first, end, out)` writes lines first to end-1, each at
// most maxLineBytes, and returns the end of its text.
template <class FormatRange>
void QMVRMLExport::writeLineRanges(std::size_t numLines, std::size_t maxLineBytes, const FormatRange& formatRange) {
    const auto formatChunk = [&](unsigned, std::size_t chunk, ChunkBytes& bytes) {
        const std::size_t first = chunk * kLinesPerChunk;
        const std::size_t end = std::min(numLines, first + kLinesPerChunk);
        bytes.size = static_cast<std::size_t>(formatRange(first, end, bytes.data.get()) - bytes.data.get());
    };
    const auto writeChunk = [&](const ChunkBytes& bytes) { m_out.append(bytes.data.get(), bytes.size); };
    const std::size_t numChunks = (numLines + kLinesPerChunk - 1) / kLinesPerChunk;
    runOrderedChunks(numChunks, kLinesPerChunk * maxLineBytes, exportWorkerCount(), formatChunk, writeChunk);
}

void QMVRMLExport::writeCoordinates(const QMArray<QMVector3f>& points) {
    m_out.append("    coord Coordinate { \n");
    const std::size_t n = points.size();
    writeLineRanges(n, kMaxFloatLine, [&](std::size_t first, std::size_t end, char* out) {
        for (std::size_t i = first; i < end; ++i)
            out = formatCoordinateLine(out, i, n, m_useMatrix ? m_matrix * points[i] : points[i]);
        return out;
    });
    m_out.append("    }\n");
}

void QMVRMLExport::writeCoordinateLine(std::size_t i, std::size_t n, const QMVector3f& point) {
    const QMVector3f p = m_useMatrix ? m_matrix * point : point;
    m_out.commit(formatCoordinateLine(m_out.reserve(kMaxLineLength), i, n, p));
}

void QMVRMLExport::writeFaceLine(std::size_t face, std::size_t numFaces, const char* firstPrefix,
                                 const char* restPrefix, const int* values, int corners) {
    m_out.commit(
        formatFaceLine(m_out.reserve(kMaxLineLength), face, numFaces, firstPrefix, restPrefix, values, corners));
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
    if (numFaces == 0) return;
    const int* allFaces = &faces[0];
    // The counter where each chunk starts, so that chunks can be formatted apart.
    std::vector<std::uint32_t> chunkCounters((numFaces + kLinesPerChunk - 1) / kLinesPerChunk);
    std::uint32_t counter = 0;
    for (std::size_t i = 0; i < numFaces; ++i) {
        if (i % kLinesPerChunk == 0) chunkCounters[i / kLinesPerChunk] = counter;
        counter += allFaces[4 * i + 3] == -1 ? 3u : 4u;
    }
    writeLineRanges(numFaces, kMaxFaceLine, [&](std::size_t first, std::size_t end, char* out) {
        std::uint32_t faceCounter = chunkCounters[first / kLinesPerChunk];
        for (std::size_t i = first; i < end; ++i) {
            const int corners = allFaces[4 * i + 3] == -1 ? 3 : 4;
            int values[4];
            for (int j = 0; j < corners; ++j) values[j] = value(i, j, faceCounter);
            out = formatFaceLine(out, i, numFaces, firstPrefix, restPrefix, values, corners);
            faceCounter += static_cast<std::uint32_t>(corners);
        }
        return out;
    });
}

void QMVRMLExport::writeCoordIndices(const QMArray<int>& faces) {
    const int* allFaces = &faces[0];
    writeFaceLines(faces, kCoordIndexFirst, kCoordIndexRest, [allFaces](std::size_t face, int corner, std::uint32_t) {
        return allFaces[4 * face + std::size_t(corner)];
    });
}

void QMVRMLExport::beginTextureCoordinates() { m_out.append("\n    texCoord TextureCoordinate { \n"); }

void QMVRMLExport::endTextureCoordinates() { m_out.append("    } \n\n"); }

void QMVRMLExport::writeTexCoordLine(bool first, bool last, const QMVector2f& uv) {
    m_out.commit(formatTexCoordLine(m_out.reserve(kMaxLineLength), first, last, uv));
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
    const int* corners = &faces[0];
    const QMVector2f* entries = &uvs[0];
    writeLineRanges(last - first + 1, kMaxFloatLine, [&](std::size_t rangeFirst, std::size_t rangeEnd, char* out) {
        for (std::size_t k = first + rangeFirst; k < first + rangeEnd; ++k) {
            if (corners[k] == -1) continue;
            out = formatTexCoordLine(out, k == first, k == last, entries[k]);
        }
        return out;
    });
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
    m_out.commit(formatColourLine(m_out.reserve(kMaxLineLength), last, red, green, blue));
}

// The "%f" texts of the 256 intensities a colour byte can give, taken from
// the converter itself, so a colour line is three copies instead of three
// conversions. (The straightforward reference build formats every number.)
class ColourByteTexts {
public:
    ColourByteTexts() {
        QMVekIO converter;
        for (std::uint32_t byte = 0; byte < 256; ++byte) {
            const QMArray<std::uint32_t> word = {byte * 0x010101u};
            QMVector3f colour;
            converter.convertOneMRGBToColor3f(colour, word, 0);
            m_red[byte] = text(colour.x);
            m_green[byte] = text(colour.y);
            m_blue[byte] = text(colour.z);
        }
    }

    // "        R G B" of one colour word, then the line's end.
    char* appendLine(char* out, std::uint32_t word, bool last) const {
        out = appendLiteral(out, "        ");
        out = append(out, m_red[(word >> 16) & 0xFFu]);
        *out++ = ' ';
        out = append(out, m_green[(word >> 8) & 0xFFu]);
        *out++ = ' ';
        out = append(out, m_blue[word & 0xFFu]);
        return last ? appendLiteral(out, "] \n") : appendLiteral(out, ", \n");
    }

private:
    struct Text {
        char bytes[16];
        std::uint8_t length;
    };
    static Text text(float value) {
        Text t{};
        t.length = static_cast<std::uint8_t>(appendFixed6(t.bytes, static_cast<double>(value)) - t.bytes);
        return t;
    }
    static char* append(char* out, const Text& t) { return appendText(out, t.bytes, t.length); }

    Text m_red[256], m_green[256], m_blue[256];
};

void QMVRMLExport::writeColours(const QMArray<std::uint32_t>& mrgb) {
    beginColours();
    const std::size_t m = mrgb.size();
#if OMBREL_PLAIN_FORMATTING
    writeLineRanges(m, kMaxFloatLine, [&](std::size_t first, std::size_t end, char* out) {
        QMVekIO converter;
        for (std::size_t i = first; i < end; ++i) {
            QMVector3f colour;
            converter.convertOneMRGBToColor3f(colour, mrgb, static_cast<int>(i));
            out = formatColourLine(out, i + 1 == m, static_cast<double>(colour.x), static_cast<double>(colour.y),
                                   static_cast<double>(colour.z));
        }
        return out;
    });
#else
    const ColourByteTexts texts;
    writeLineRanges(m, kMaxFloatLine, [&](std::size_t first, std::size_t end, char* out) {
        for (std::size_t i = first; i < end; ++i) out = texts.appendLine(out, mrgb[i], i + 1 == m);
        return out;
    });
#endif
    endColours();
}
