#include "export/QMVRMLExport.h"

#include "export/AppendText.h"
#include "export/ArrayMeshSource.h"
#include "export/CurrentHostMesh.h"
#include "export/OrderedChunks.h"
#include "support/NumberText.h"
#include "support/QMDiskServer.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <memory>
#include <vector>

namespace {


const char kFileStart[] =
    "#VRML V2.0 utf8\n"
    "\n#Created by Kelvra VRML exporter\n\n"
    "\n";

// "%f %f %f" of the three floats, each widened to double (the float forms of
// appendFixed6 write the widened value's text, inline for common values).
char* appendTriple(char* out, const QMVector3f& v) {
    out = appendFixed6(out, v.x);
    *out++ = ' ';
    out = appendFixed6(out, v.y);
    *out++ = ' ';
    return appendFixed6(out, v.z);
}

// "%f %f" of the flipped texture coordinate (1 - s, 1 - t), flipped in float.
char* appendFlippedUV(char* out, const QMVector2f& uv) {
    const float s = 1.0f - uv.x;
    const float t = 1.0f - uv.y;
    out = appendFixed6(out, s);
    *out++ = ' ';
    return appendFixed6(out, t);
}

// "%f" of any float widened to double: sign, 39 digits, point, six decimals.
constexpr std::size_t kMaxFloatFixed6Length = 48;
// The longest array lines: three or two float numbers, or four indices, with
// at most 64 bytes of fixed text around them.
constexpr std::size_t kMaxFloatLine = 3 * (kMaxFloatFixed6Length + 1) + 64;
constexpr std::size_t kMaxFaceLine = 4 * (kMaxIntegerLength + 2) + 64;

// Lines of a list formatted apart, on worker threads: about half a megabyte
// of text (sizes from 4,096 to 32,768 lines measured; this one was fastest).
constexpr std::size_t kLinesPerChunk = 16384;

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

// The text before a face list's lines: the opening on the first line, the
// indent on the others.
struct FaceLinePrefixes {
    const char* first;
    std::size_t firstLength;
    const char* rest;
    std::size_t restLength;
};

// Every face but the last is closed by -1 and the last by the bracket (so a
// single face has no -1 at all).
char* formatFaceLine(char* out, std::size_t face, std::size_t numFaces, const FaceLinePrefixes& prefixes,
                     const int* values, int corners) {
    out = face == 0 ? appendText(out, prefixes.first, prefixes.firstLength)
                    : appendText(out, prefixes.rest, prefixes.restLength);
    out = appendIntegerInline(out, values[0]);
    for (int j = 1; j < corners; ++j) {
        out = appendLiteral(out, ", ");
        out = appendIntegerInline(out, values[j]);
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


// The "%f" texts of the 256 intensities each colour byte can give, as the
// mesh's source converts them, so a colour line is three copies instead of
// three conversions.
class ColourByteTexts {
public:
    explicit ColourByteTexts(const MeshSource& mesh) {
        for (int channel = 0; channel < 3; ++channel)
            for (unsigned byte = 0; byte < 256; ++byte) {
                Text& t = m_texts[channel][byte];
                // Intensities lie in 0..1; anything else (or NaN) would not fit.
                double value = mesh.colourIntensity(channel, static_cast<std::uint8_t>(byte));
                if (!(value >= 0.0 && value <= 1.0)) value = 0.0;
                t.length = static_cast<std::uint8_t>(appendFixed6(t.bytes, value) - t.bytes);
            }
    }

    // "        R G B" of one colour word, then the line's end.
    char* appendLine(char* out, std::uint32_t word, bool last) const {
        out = appendLiteral(out, "        ");
        out = append(out, m_texts[0][(word >> 16) & 0xFFu]);
        *out++ = ' ';
        out = append(out, m_texts[1][(word >> 8) & 0xFFu]);
        *out++ = ' ';
        out = append(out, m_texts[2][word & 0xFFu]);
        return last ? appendLiteral(out, "] \n") : appendLiteral(out, ", \n");
    }

private:
    struct Text {
        char bytes[16];  // "%f" of a value in 0..1: at most "1.000000"
        std::uint8_t length;
    };
    static char* append(char* out, const Text& t) { return appendText(out, t.bytes, t.length); }

    Text m_texts[3][256];
};

// Reads [first, end) of a mesh's items into a worker's buffer, made once at
// the largest range's size, unless the mesh holds them as an array already.
template <class T>
T* scratchArray(std::unique_ptr<T[]>& buffer, std::size_t elements) {
    if (!buffer) buffer.reset(new T[elements]);
    return buffer.get();
}

// The first and the last texture-coordinate entry that is written; false when
// none is.
bool writtenEntryBounds(const MeshSource& mesh, std::size_t& first, std::size_t& last) {
    const std::size_t n = mesh.numTexCoordEntries();
    constexpr std::size_t kBlock = 4096;
    std::vector<QMVector2f> uvs(std::min(n, kBlock));
    std::unique_ptr<bool[]> written(new bool[std::min(n, kBlock)]);
    bool found = false;
    for (std::size_t start = 0; start < n && !found; start += kBlock) {
        const std::size_t count = std::min(kBlock, n - start);
        mesh.readTexCoords(start, count, uvs.data(), written.get());
        for (std::size_t k = 0; k < count && !found; ++k)
            if (written[k]) {
                first = start + k;
                found = true;
            }
    }
    if (!found) return false;
    for (std::size_t end = n; end > first; end -= std::min(kBlock, end - first)) {
        const std::size_t count = std::min(kBlock, end - first);
        mesh.readTexCoords(end - count, count, uvs.data(), written.get());
        for (std::size_t k = count; k-- > 0;)
            if (written[k]) {
                last = end - count + k;
                return true;
            }
    }
    last = first;
    return true;
}

}  // namespace

// What one formatting worker keeps across its ranges: room for the items the
// mesh does not hold as arrays.
struct QMVRMLExport::LineScratch {
    std::unique_ptr<QMVector3f[]> points;
    std::unique_ptr<std::int32_t[]> faces;
    std::unique_ptr<QMVector2f[]> uvs;
    std::unique_ptr<bool[]> written;
    std::unique_ptr<std::uint32_t[]> colours;
};

// The lines of one list, formatted in ranges, with the fixed texts before
// and after them.
struct QMVRMLExport::LineList {
    std::size_t numLines = 0;
    std::size_t maxLineBytes = 0;
    const char* opening = "";
    const char* closing = "";
    bool linesAreFaces = false;  // for the progress told
    // Writes lines [first, end) at `out` and returns the end of their text.
    std::function<char*(LineScratch& scratch, std::size_t first, std::size_t end, char* out)> format;
};

// A new exporter holds the identity matrix (type 0) and does not use it.
QMVRMLExport::QMVRMLExport() : m_file(QMDiskServer::s_invalidFile) {}

// An export left half way (by an exception) releases its stream and leaves
// no file behind: m_output discards it, and m_out never writes on its own.
QMVRMLExport::~QMVRMLExport() = default;

bool QMVRMLExport::startExportKMeshes(const QMString& path) {
    // A stream still open from an unfinished export is finished first.
    if (m_file != QMDiskServer::s_invalidFile) endExportKMeshes();
    m_outputError = 0;
    m_bytesWritten = 0;
    m_shapesWritten = 0;
    m_file = m_output.open(path, "w");
    if (m_file == QMDiskServer::s_invalidFile) {
        m_outputError = m_output.error();
        return true;
    }
    m_outputInPlace = m_output.inPlace();
    m_out.attach(m_file);
    m_out.append(kFileStart, sizeof kFileStart - 1);
    return true;
}

bool QMVRMLExport::endExportKMeshes() {
    if (m_file == QMDiskServer::s_invalidFile) return true;
    m_out.flush();
    m_outputError = m_out.error();
    m_bytesWritten = m_out.bytesAppended();
    m_out.release();
    m_workers.reset();
    if (m_outputError != 0) {
        m_output.discard();
    } else if (!m_output.commit()) {
        m_outputError = m_output.error();
    }
    m_file = QMDiskServer::s_invalidFile;
    return true;
}

void QMVRMLExport::abandon() {
    m_out.release();
    m_workers.reset();
    m_output.discard();
    m_file = QMDiskServer::s_invalidFile;
}

void QMVRMLExport::writeKMesh(const QMArray<QMVector3f>& points, const QMArray<int>& faces,
                              const QMArray<QMVector2f>& uvs, const QMString& textureName,
                              const QMArray<std::uint32_t>* mrgb) {
    writeMesh(ArrayMeshSource(points, faces, &uvs, mrgb), textureName, mrgb != nullptr);
}

void QMVRMLExport::writeCurrentKMesh(const QMString& textureName, bool withColours) {
    writeMesh(*makeCurrentHostMesh(HostPoints::kAsStored), textureName, withColours);
}

bool QMVRMLExport::exportKMesh(const QMString& path, const QMString& textureName, bool withColours) {
    if (!startExportKMeshes(path)) return false;
    writeCurrentKMesh(textureName, withColours);
    endExportKMeshes();
    return true;
}

// The shape's lists (points, faces, texture coordinates and their indices,
// colours) are formatted in one run on the export workers, so that the
// workers go on from one list to the next instead of waiting at each list's
// end.
void QMVRMLExport::writeMesh(const MeshSource& mesh, const QMString& textureName, bool withColours) {
    if (m_file == QMDiskServer::s_invalidFile) return;
    m_out.append("\nShape { \n");
    if (!textureName.empty()) writeAppearance(textureName);
    m_out.append("\n  geometry IndexedFaceSet { \n");
    std::vector<LineList> lists;
    std::vector<std::uint32_t> texCoordCounters;
    if (mesh.numPoints() != 0) lists.push_back(coordinateList(mesh));
    if (mesh.numFaces() != 0) lists.push_back(faceList(mesh, FaceValues::kPointIndices, texCoordCounters));
    std::size_t firstEntry = 0, lastEntry = 0;
    // No entry written: no texture coordinates at all.
    if (mesh.numTexCoordEntries() != 0 && writtenEntryBounds(mesh, firstEntry, lastEntry)) {
        lists.push_back(texCoordList(mesh, firstEntry, lastEntry));
        lists.push_back(faceList(mesh, FaceValues::kTexCoordIndices, texCoordCounters));
    }
    if (withColours && mesh.numColours() != 0) lists.push_back(colourList(mesh));
    writeLists(lists);
    m_out.append("  } \n} \n");
    ++m_shapesWritten;
}

void QMVRMLExport::writeAppearance(const QMString& textureName) {
    m_out.append(
        "\n"
        "  appearance Appearance { \n"
        "    texture ImageTexture { \n"
        "      url \"");
    // Inside a VRML string a double quote and a backslash are escaped with a
    // backslash, so that no name can end the string early; any length.
    const char* name = textureName.c_str();
    for (const char* special; (special = std::strpbrk(name, "\"\\")) != nullptr; name = special + 1) {
        m_out.append(name, static_cast<std::size_t>(special - name));
        const char escaped[2] = {'\\', *special};
        m_out.append(escaped, 2);
    }
    m_out.append(name);
    m_out.append(
        "\" \n"
        "      repeatS TRUE \n"
        "      repeatT TRUE \n"
        "    } \n"
        "  } \n");
}


// Every list's ranges, one after the other, are the chunks of one run: a
// range that starts its list carries the list's opening, one that ends it
// the closing.
void QMVRMLExport::writeLists(const std::vector<LineList>& lists) {
    if (lists.empty()) return;
    std::vector<std::size_t> firstChunk;  // of each list, and the total at the end
    std::size_t chunks = 0, capacity = 0;
    for (const LineList& list : lists) {
        firstChunk.push_back(chunks);
        chunks += (list.numLines + kLinesPerChunk - 1) / kLinesPerChunk;
        const std::size_t fixed = std::strlen(list.opening) + std::strlen(list.closing);
        capacity = std::max(capacity, std::min(list.numLines, kLinesPerChunk) * list.maxLineBytes + fixed);
    }
    firstChunk.push_back(chunks);
    // The list of a chunk, and the lines it holds.
    struct ChunkLines {
        const LineList* list;
        std::size_t first, end;
    };
    const auto linesOf = [&](std::size_t chunk) {
        std::size_t k = 0;
        while (firstChunk[k + 1] <= chunk) ++k;
        const LineList& list = lists[k];
        const std::size_t first = (chunk - firstChunk[k]) * kLinesPerChunk;
        return ChunkLines{&list, first, std::min(list.numLines, first + kLinesPerChunk)};
    };
    if (!m_workers) m_workers = std::make_unique<ExportWorkers>(exportWorkerCount());
    std::vector<LineScratch> scratch(m_workers->count() + 1);  // the workers' and the calling thread's
    std::size_t nextChunk = 0;
    m_workers->run(
        chunks, capacity,
        [&](unsigned worker, std::size_t chunk, ChunkBytes& bytes) {
            const ChunkLines lines = linesOf(chunk);
            char* out = bytes.data.get();
            if (lines.first == 0) out = appendText(out, lines.list->opening, std::strlen(lines.list->opening));
            out = lines.list->format(scratch[worker], lines.first, lines.end, out);
            if (lines.end == lines.list->numLines)
                out = appendText(out, lines.list->closing, std::strlen(lines.list->closing));
            bytes.size = static_cast<std::size_t>(out - bytes.data.get());
        },
        [&](const ChunkBytes& bytes) {
            const ChunkLines lines = linesOf(nextChunk++);
            m_out.append(bytes.data.get(), bytes.size);
            if (m_progress) m_progress->facesWritten(lines.list->linesAreFaces ? lines.end - lines.first : 0);
        });
}

QMVRMLExport::LineList QMVRMLExport::coordinateList(const MeshSource& mesh) {
    LineList list;
    list.numLines = mesh.numPoints();
    list.maxLineBytes = kMaxFloatLine;
    list.opening = "    coord Coordinate { \n";
    list.closing = "    }\n";
    list.format = [this, &mesh, n = list.numLines](LineScratch& scratch, std::size_t first, std::size_t end,
                                                   char* out) {
        const QMVector3f* all = mesh.pointArray();
        const QMVector3f* points = all ? all + first : scratchArray(scratch.points, kLinesPerChunk);
        if (!all) mesh.readPoints(first, end - first, scratch.points.get());
        for (std::size_t i = first; i < end; ++i) {
            const QMVector3f& p = points[i - first];
            out = formatCoordinateLine(out, i, n, m_useMatrix ? m_matrix * p : p);
        }
        return out;
    };
    return list;
}

// One line per face: the first after its list's opening, the others after
// the list's indent. A face is a triangle when its fourth index is -1. The
// values are the face's point indices, or the numbers of its texture
// coordinates: 4 x face + corner, or a counter of the entries written so far
// (counted modulo 2^32, so it wraps like the printed int instead of
// overflowing). `rangeCounters` receives the counter where each range starts,
// so that ranges can be formatted apart; it must outlive the list.
QMVRMLExport::LineList QMVRMLExport::faceList(const MeshSource& mesh, FaceValues values,
                                              std::vector<std::uint32_t>& rangeCounters) {
    const std::size_t numFaces = mesh.numFaces();
    const bool texCoords = values == FaceValues::kTexCoordIndices;
    const bool counted = texCoords && mesh.texCoordIndexing() == MeshSource::TexCoordIndexing::kWrittenEntriesInOrder;
    const std::int32_t* all = mesh.faceArray();
    if (counted) {
        rangeCounters.assign((numFaces + kLinesPerChunk - 1) / kLinesPerChunk, 0);
        std::vector<std::int32_t> block(all ? 0 : 4 * kLinesPerChunk);
        std::uint32_t counter = 0;
        for (std::size_t first = 0; first < numFaces; first += kLinesPerChunk) {
            const std::size_t count = std::min(kLinesPerChunk, numFaces - first);
            const std::int32_t* faces = all ? all + 4 * first : block.data();
            if (!all) mesh.readFaces(first, count, block.data());
            rangeCounters[first / kLinesPerChunk] = counter;
            for (std::size_t f = 0; f < count; ++f) counter += faces[4 * f + 3] == -1 ? 3u : 4u;
        }
    }
    LineList list;
    list.numLines = numFaces;
    list.maxLineBytes = kMaxFaceLine;
    list.linesAreFaces = !texCoords;
    const char* firstPrefix = texCoords ? "      texCoordIndex [ " : "    coordIndex [ ";
    const char* restPrefix = texCoords ? "        " : "      ";
    const FaceLinePrefixes prefixes{firstPrefix, std::strlen(firstPrefix), restPrefix, std::strlen(restPrefix)};
    list.format = [&mesh, &rangeCounters, numFaces, texCoords, counted, all, prefixes](
                      LineScratch& scratch, std::size_t first, std::size_t end, char* out) {
        const std::int32_t* faces = all ? all + 4 * first : scratchArray(scratch.faces, 4 * kLinesPerChunk);
        if (!all) mesh.readFaces(first, end - first, scratch.faces.get());
        std::uint32_t counter = counted ? rangeCounters[first / kLinesPerChunk] : 0;
        for (std::size_t i = first; i < end; ++i) {
            const std::int32_t* face = faces + 4 * (i - first);
            const int corners = face[3] == -1 ? 3 : 4;
            int line[4];
            for (int j = 0; j < corners; ++j) {
                if (!texCoords) {
                    line[j] = face[j];
                } else if (counted) {
                    line[j] = static_cast<int>(counter + static_cast<std::uint32_t>(j));
                } else {
                    line[j] = static_cast<int>(static_cast<std::uint32_t>(4 * i) + static_cast<std::uint32_t>(j));
                }
            }
            out = formatFaceLine(out, i, numFaces, prefixes, line, corners);
            counter += static_cast<std::uint32_t>(corners);
        }
        return out;
    };
    return list;
}

// The entries from the first written one to the last, unwritten ones left
// out.
QMVRMLExport::LineList QMVRMLExport::texCoordList(const MeshSource& mesh, std::size_t firstEntry,
                                                  std::size_t lastEntry) {
    LineList list;
    list.numLines = lastEntry - firstEntry + 1;
    list.maxLineBytes = kMaxFloatLine;
    list.opening = "\n    texCoord TextureCoordinate { \n";
    list.closing = "    } \n\n";
    list.format = [&mesh, firstEntry, lastEntry](LineScratch& scratch, std::size_t rangeFirst, std::size_t rangeEnd,
                                                 char* out) {
        const std::size_t count = rangeEnd - rangeFirst;
        QMVector2f* uvs = scratchArray(scratch.uvs, kLinesPerChunk);
        bool* written = scratchArray(scratch.written, kLinesPerChunk);
        mesh.readTexCoords(firstEntry + rangeFirst, count, uvs, written);
        for (std::size_t i = 0; i < count; ++i) {
            if (!written[i]) continue;
            const std::size_t k = firstEntry + rangeFirst + i;
            out = formatTexCoordLine(out, k == firstEntry, k == lastEntry, uvs[i]);
        }
        return out;
    };
    return list;
}

QMVRMLExport::LineList QMVRMLExport::colourList(const MeshSource& mesh) {
    LineList list;
    list.numLines = mesh.numColours();
    list.maxLineBytes = kMaxFloatLine;
    list.opening =
        "\n"
        "    colorPerVertex TRUE \n"
        "    color Color {\n"
        "      color [\n";
    list.closing = "    }\n";
    // The texts of the 256 values of each channel, shared by the workers.
    auto texts = std::make_shared<const ColourByteTexts>(mesh);
    list.format = [&mesh, texts, m = list.numLines](LineScratch& scratch, std::size_t first, std::size_t end,
                                                     char* out) {
        std::uint32_t* words = scratchArray(scratch.colours, kLinesPerChunk);
        mesh.readColourWords(first, end - first, words);
        for (std::size_t i = first; i < end; ++i) out = texts->appendLine(out, words[i - first], i + 1 == m);
        return out;
    };
    return list;
}
