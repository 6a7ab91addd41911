// fuzz_scene_export: one to three Vek files exported through the script calls
// of <ombrel.h>, as a host script does.
//
// Input: byte 0 holds the options: bits 0-2 the exports to run (binary STL,
// ASCII STL, VRML; none set means all three), bit 3 vertex colours, bits 4-5
// the number of files (1 + value % 3). Bytes 1-8 are the height, a
// little-endian IEEE double. Then every file but the last as a 2-byte
// little-endian length (cut to the bytes left) and its bytes; the last file
// takes the rest.
//
// Invariants:
//  - binary STL: exactly 84 + 50 x count bytes, count (offset 80) the number
//    of triangles of the faces whose corners name existing points;
//  - ASCII STL: "solid object0 \n" ... "endsolid object0 \n", as many
//    "facet normal" as "endfacet", and as many as the binary count;
//  - VRML: the header line "#VRML V2.0 utf8", one "Shape {" per file with
//    faces, braces that never close more than was opened and balance at the end;
//  - when every file is well-formed, with at most one block of each kind, the
//    canonical rewrites of the files (their arrays written by vekgen's
//    writer, under the same names in another directory) export to the same
//    bytes.
// Files whose counts ask for more than 64 KiB beyond their bytes are not
// exported (see kTailBudget).
#include "fuzz/CanonicalVek.h"
#include "fuzz/FuzzSupport.h"
#include "fuzz/InspectedVek.h"
#include "plugin/ombrel.h"
#include "vekio/QMVekIO.h"

#include "TestFiles.h"

#include <cstring>
#include <filesystem>
#include <string_view>

namespace {

constexpr std::size_t kOptionBytes = 9;

struct SceneInput {
    bool binarySTL = false;
    bool asciiSTL = false;
    bool vrml = false;
    bool colours = false;
    double height = 0.0;
    std::vector<std::span<const unsigned char>> files;
};

SceneInput parse(std::span<const unsigned char> bytes) {
    SceneInput scene;
    const unsigned options = bytes[0];
    const unsigned exports = (options & 7u) ? (options & 7u) : 7u;
    scene.binarySTL = exports & 1u;
    scene.asciiSTL = exports & 2u;
    scene.vrml = exports & 4u;
    scene.colours = options & 8u;
    std::memcpy(&scene.height, &bytes[1], sizeof scene.height);
    const std::size_t files = 1 + ((options >> 4) & 3u) % 3;
    std::span<const unsigned char> rest = bytes.subspan(kOptionBytes);
    for (std::size_t i = 0; i + 1 < files; ++i) {
        std::size_t length = 0;
        if (rest.size() >= 2) {
            length = std::min<std::size_t>(rest[0] | rest[1] << 8, rest.size() - 2);
            rest = rest.subspan(2);
        }
        scene.files.push_back(rest.first(length));
        rest = rest.subspan(length);
    }
    scene.files.push_back(rest);
    return scene;
}

#define CALL(function, text, number) function((text), (number), nullptr, 0, nullptr, 0, nullptr)

// The exports of the declared files, each run when the input asks for it.
struct Exports {
    std::vector<unsigned char> binarySTL, asciiSTL, vrml;
};

Exports exportAll(const SceneInput& scene, const std::vector<std::string>& paths) {
    CALL(StartDeclareVekFiles, nullptr, 0.0);
    for (const std::string& path : paths) CALL(AddOneVekFile, path.c_str(), 0.0);
    CALL(EndDeclareVekFiles, nullptr, 0.0);
    CALL(DeclareHeight, nullptr, scene.height);
    CALL(DeclareExportVertexColors, scene.colours ? "yes" : "no", 0.0);

    Exports out;
    const std::string output = scratchPath("scene.out");
    if (scene.binarySTL) {
        CALL(DeclareBinaryOrASCII, "Binary", 0.0);
        FUZZ_CHECK(CALL(ExportSTLAllDeclaredVek, output.c_str(), 0.0) == 0.0, "the STL export returned non-zero");
        out.binarySTL = readFileBytes(output);
    }
    if (scene.asciiSTL) {
        CALL(DeclareBinaryOrASCII, "ASCII", 0.0);
        FUZZ_CHECK(CALL(ExportSTLAllDeclaredVek, output.c_str(), 0.0) == 0.0, "the STL export returned non-zero");
        out.asciiSTL = readFileBytes(output);
    }
    if (scene.vrml) {
        FUZZ_CHECK(CALL(ExportVRMLAllDeclaredVek, output.c_str(), 0.0) == 0.0, "the VRML export returned non-zero");
        out.vrml = readFileBytes(output);
    }
    return out;
}

// What the files hold as the drivers read them: the triangles the STL
// driver writes, the files that become a VRML Shape, and whether every array
// stays within kTailBudget bytes beyond its file's size.
struct SceneCounts {
    std::uint64_t triangles = 0;
    std::size_t shapes = 0;
    bool withinBudget = true;
};

// The readers size an array from a block's count, up to the allowance past
// the bytes present (QMVekIO::kBodyAllowance, 64 MiB of zeros): a file of a
// hundred bytes can make the exports write gigabytes. Such inputs are left
// out (the reader target covers the allowance); a zero tail of up to this
// many bytes is exported.
constexpr std::uint64_t kTailBudget = 64 * 1024;

bool namesPoint(int index, std::size_t points) { return index >= 0 && std::size_t(index) < points; }

SceneCounts countScene(const std::vector<std::string>& paths, const SceneInput& scene) {
    SceneCounts counts;
    for (std::size_t i = 0; i < paths.size(); ++i) {
        QMVekIO io;
        const QMString name(paths[i].c_str());
        QMArray<QMVector3f> points;
        QMArray<int> faces;
        QMArray<QMVector2f> uvs;
        QMArray<std::uint32_t> mrgb;
        io.readVtxFace4UV4AndMRGBBlocs(name, points, faces, uvs, mrgb);
        const std::uint64_t budget = scene.files[i].size() + kTailBudget;
        counts.withinBudget = counts.withinBudget && bytesOf(points).size() <= budget &&
                              bytesOf(faces).size() <= budget && bytesOf(uvs).size() <= budget &&
                              bytesOf(mrgb).size() <= budget;
        counts.shapes += !faces.empty();

        io.readVertexAndFace4Blocs(name, points, faces);
        counts.withinBudget =
            counts.withinBudget && bytesOf(points).size() <= budget && bytesOf(faces).size() <= budget;
        for (std::size_t f = 0; f + 4 <= faces.size(); f += 4) {
            const bool triangle = faces[f + 3] == -1;
            if (namesPoint(faces[f], points.size()) && namesPoint(faces[f + 1], points.size()) &&
                namesPoint(faces[f + 2], points.size()) && (triangle || namesPoint(faces[f + 3], points.size())))
                counts.triangles += triangle ? 1 : 2;
        }
    }
    return counts;
}

std::size_t occurrences(std::string_view text, std::string_view word) {
    std::size_t n = 0;
    for (std::size_t at = text.find(word); at != std::string_view::npos; at = text.find(word, at + word.size())) ++n;
    return n;
}

std::string_view textOf(const std::vector<unsigned char>& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

void checkBinarySTL(const std::vector<unsigned char>& stl, const SceneCounts& counts) {
    FUZZ_CHECK(stl.size() >= 84, "a binary STL of " + std::to_string(stl.size()) + " bytes");
    const std::uint32_t count = vekgen::loadU32(&stl[80]);
    FUZZ_CHECK(stl.size() == 84 + 50 * std::uint64_t(count),
               "a binary STL of " + std::to_string(stl.size()) + " bytes counts " + std::to_string(count));
    FUZZ_CHECK(count == counts.triangles, "a binary STL of " + std::to_string(count) + " triangles instead of " +
                                              std::to_string(counts.triangles));
}

void checkASCIISTL(std::string_view stl, const SceneCounts& counts) {
    const std::string_view start = "solid object0 \n";
    const std::string_view end = "endsolid object0 \n";
    FUZZ_CHECK(stl.starts_with(start) && stl.ends_with(end) && stl.size() >= start.size() + end.size(),
               "an ASCII STL without its solid lines");
    const std::size_t facets = occurrences(stl, "facet normal");
    FUZZ_CHECK(facets == occurrences(stl, "endfacet"), "facets and their ends differ in number");
    FUZZ_CHECK(facets == counts.triangles,
               "an ASCII STL of " + std::to_string(facets) + " facets instead of " + std::to_string(counts.triangles));
}

void checkVRML(std::string_view vrml, const SceneCounts& counts) {
    FUZZ_CHECK(vrml.starts_with("#VRML V2.0 utf8\n"), "a VRML file without its header line");
    FUZZ_CHECK(occurrences(vrml, "Shape {") == counts.shapes, std::to_string(occurrences(vrml, "Shape {")) +
                                                                  " Shapes for " + std::to_string(counts.shapes) +
                                                                  " files with faces");
    long depth = 0;
    for (char c : vrml) {
        depth += c == '{';
        depth -= c == '}';
        FUZZ_CHECK(depth >= 0, "a VRML brace closes what was never opened");
    }
    FUZZ_CHECK(depth == 0, "a VRML file ends " + std::to_string(depth) + " braces deep");
}

// Writes each file's arrays, as the VRML driver reads them, canonically
// under the same name in `directory`. A UV4 block is written only when the
// file has one: without it the driver keeps the UVs of the file before.
std::vector<std::string> canonicalRewrites(const std::vector<std::string>& paths, const std::string& directory,
                                           const std::vector<bool>& hasUV4) {
    std::vector<std::string> rewrites;
    for (std::size_t i = 0; i < paths.size(); ++i) {
        QMVekIO io;
        QMArray<QMVector3f> points;
        QMArray<int> faces;
        QMArray<QMVector2f> uvs;
        QMArray<std::uint32_t> mrgb;
        io.readVtxFace4UV4AndMRGBBlocs(QMString(paths[i].c_str()), points, faces, uvs, mrgb);
        rewrites.push_back(directory + "/" + std::filesystem::path(paths[i]).filename().string());
        writeCanonicalVek(rewrites.back(),
                          {.points = &points, .faces = &faces, .uvs = hasUV4[i] ? &uvs : nullptr, .mrgb = &mrgb});
    }
    return rewrites;
}

std::string scratchDirectory(const char* name) {
    const std::string directory = scratchPath(name);
    std::filesystem::create_directories(directory);
    return directory;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < kOptionBytes) return 0;
    static bool firstCall = true;
    FUZZ_CHECK(CALL(InitExporter, nullptr, 3.12) == (firstCall ? 1.0 : 0.0),
               "InitExporter returns 1.0 the first time only");
    firstCall = false;

    const SceneInput scene = parse({data, size});
    static const std::string fuzzed = scratchDirectory("fuzzed");
    static const std::string canonical = scratchDirectory("canonical");
    std::vector<std::string> paths;
    std::vector<bool> hasUV4;
    bool wellFormed = true;
    for (std::span<const unsigned char> file : scene.files) {
        paths.push_back(fuzzed + "/part" + std::to_string(paths.size()) + ".vek");
        writeFileBytes(paths.back(), std::vector<unsigned char>(file.begin(), file.end()));
        const InspectedVek inspected(file);
        wellFormed = wellFormed && inspected.wellFormedWithSingleBlocks();
        hasUV4.push_back(inspected.count(QMVekIO::kTagUV4) > 0);
    }

    const SceneCounts counts = countScene(paths, scene);
    if (!counts.withinBudget) return -1;  // not worth keeping in the corpus either
    const Exports exports = exportAll(scene, paths);
    if (scene.binarySTL) checkBinarySTL(exports.binarySTL, counts);
    if (scene.asciiSTL) checkASCIISTL(textOf(exports.asciiSTL), counts);
    if (scene.vrml) checkVRML(textOf(exports.vrml), counts);

    if (wellFormed) {
        const Exports again = exportAll(scene, canonicalRewrites(paths, canonical, hasUV4));
        FUZZ_CHECK(again.binarySTL == exports.binarySTL, "the canonical rewrite exports another binary STL");
        FUZZ_CHECK(again.asciiSTL == exports.asciiSTL, "the canonical rewrite exports another ASCII STL");
        FUZZ_CHECK(again.vrml == exports.vrml, "the canonical rewrite exports another VRML file");
    }
    return 0;
}
