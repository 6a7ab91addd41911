// vekgen: writes Vek mesh files for tests, samples and benchmarks.

#include "tools/vekgen/BlockScript.h"
#include "tools/vekgen/PlyCommand.h"
#include "tools/vekgen/SceneGenerator.h"
#include "tools/vekgen/VekInspector.h"

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#ifndef VEKGEN_VERSION
#define VEKGEN_VERSION "1.0.0"
#endif

namespace {

const char* const kUsage =
    "usage: vekgen scene --faces N [--files K] [--seed S] [--no-uv] [--no-colors] OUTDIR\n"
    "       vekgen sample OUTDIR\n"
    "       vekgen blocks OUT.vek [DESCRIPTION]\n"
    "       vekgen info FILE...\n"
    "       vekgen ply [--triangles] [--height H] OUT.ply FILE.vek...\n"
    "       vekgen --help | --version\n";

const char* const kHelp =
    "Writes Vek mesh files for tests, samples and benchmarks.\n"
    "\n"
    "Commands:\n"
    "  scene --faces N [--files K] [--seed S] [--no-uv] [--no-colors] OUTDIR\n"
    "      Writes OUTDIR/part0.vek ... part<K-1>.vek with N faces in total (K\n"
    "      defaults to 1, S to 1): cube-sphere heads, rounded-box torsos and\n"
    "      torus bases, about 10% triangles, with UV4 and MRGB blocks unless\n"
    "      turned off. The output depends only on N, K, S and the flags.\n"
    "  sample OUTDIR\n"
    "      Writes the bundled sample scene, a figure that can be printed:\n"
    "      OUTDIR/head.vek, torso.vek (with a Mask block and a block of unknown\n"
    "      tag 40001) and base.vek, each a closed surface facing outward, the\n"
    "      base's flat bottom the lowest point of the scene (y up).\n"
    "  blocks OUT.vek [DESCRIPTION]\n"
    "      Writes exactly the blocks of a text description, read from the file\n"
    "      DESCRIPTION, or from standard input when it is omitted or \"-\".\n"
    "  info FILE...\n"
    "      Lists the blocks of Vek files and reports damaged ones.\n"
    "  ply [--triangles] [--height H] OUT.ply FILE.vek...\n"
    "      Writes the meshes of the Vek files as one binary PLY file: faces as\n"
    "      they are, with per-vertex u v and colours, or with --triangles only\n"
    "      positions and every quad split into two triangles. --height places\n"
    "      the scene like an export: minimum corner at the origin, Y extent H.\n"
    "\n"
    "Description grammar for 'blocks':\n";

struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

std::uint64_t parseCount(const std::string& option, const std::string& value) {
    std::uint64_t v = 0;
    auto [p, ec] = std::from_chars(value.data(), value.data() + value.size(), v);
    if (value.empty() || ec != std::errc() || p != value.data() + value.size())
        throw UsageError(option + " expects a non-negative integer, got \"" + value + "\"");
    return v;
}

int runScene(const std::vector<std::string>& args) {
    vekgen::SceneOptions options;
    bool haveFaces = false;
    std::optional<std::string> outDir;
    for (std::size_t i = 0; i < args.size(); ++i) {
        std::string a = args[i];
        std::string value;
        const bool takesValue = a == "--faces" || a == "--files" || a == "--seed";
        if (auto eq = a.find('='); a.rfind("--", 0) == 0 && eq != std::string::npos) {
            value = a.substr(eq + 1);
            a.erase(eq);
        } else if (takesValue) {
            if (i + 1 >= args.size()) throw UsageError(a + " needs a value");
            value = args[++i];
        }
        if (a == "--faces") {
            options.faces = parseCount(a, value);
            haveFaces = true;
        } else if (a == "--files") {
            const std::uint64_t files = parseCount(a, value);
            if (files > 1'000'000) throw UsageError("--files is limited to 1000000");
            options.files = static_cast<std::uint32_t>(files);
        } else if (a == "--seed") {
            options.seed = parseCount(a, value);
        } else if (a == "--no-uv") {
            options.uv = false;
        } else if (a == "--no-colors") {
            options.colors = false;
        } else if (a.size() > 1 && a[0] == '-') {
            throw UsageError("unknown option " + args[i]);
        } else if (outDir) {
            throw UsageError("scene takes one output directory");
        } else {
            outDir = a;
        }
    }
    if (!haveFaces) throw UsageError("scene needs --faces N");
    if (!outDir) throw UsageError("scene needs an output directory");

    vekgen::SceneGenerator generator(options);
    std::uint64_t faces = 0, bytes = 0;
    const auto stats = generator.writeAll(*outDir, [](const vekgen::PartStats& s) {
        std::printf("wrote %s: %llu faces (%llu triangles), %llu points, %llu bytes\n", s.path.c_str(),
                    static_cast<unsigned long long>(s.faces), static_cast<unsigned long long>(s.triangles),
                    static_cast<unsigned long long>(s.points), static_cast<unsigned long long>(s.bytes));
        std::fflush(stdout);
    });
    for (const auto& s : stats) faces += s.faces, bytes += s.bytes;
    std::printf("%zu files, %llu faces, %llu bytes\n", stats.size(), static_cast<unsigned long long>(faces),
                static_cast<unsigned long long>(bytes));
    return 0;
}

int runSample(const std::vector<std::string>& args) {
    if (args.size() != 1 || (args[0].size() > 1 && args[0][0] == '-'))
        throw UsageError("sample takes one output directory");
    const auto stats = vekgen::SceneGenerator::sample().writeAll(args[0]);
    for (const auto& s : stats)
        std::printf("wrote %s: %llu faces (%llu triangles), %llu points, %llu bytes\n", s.path.c_str(),
                    static_cast<unsigned long long>(s.faces), static_cast<unsigned long long>(s.triangles),
                    static_cast<unsigned long long>(s.points), static_cast<unsigned long long>(s.bytes));
    return 0;
}

int runBlocks(const std::vector<std::string>& args) {
    if (args.empty() || args.size() > 2)
        throw UsageError("blocks takes an output file and an optional description file");
    std::string text;
    if (args.size() == 1 || args[1] == "-") {
        text.assign(std::istreambuf_iterator<char>(std::cin), {});
    } else {
        std::ifstream in(args[1], std::ios::binary);
        if (!in) throw std::runtime_error("cannot read " + args[1]);
        text.assign(std::istreambuf_iterator<char>(in), {});
    }
    try {
        vekgen::writeBlockScriptFile(text, args[0]);
    } catch (const vekgen::BlockScriptError& e) {
        const std::string where = args.size() == 2 && args[1] != "-" ? args[1] : "<stdin>";
        throw std::runtime_error(where + ": " + e.what());
    }
    const auto info = vekgen::VekInspector::inspectFile(args[0]);
    std::printf("wrote %s: %llu bytes\n", args[0].c_str(), static_cast<unsigned long long>(info.fileSize));
    return 0;
}

int runInfo(const std::vector<std::string>& args) {
    if (args.empty()) throw UsageError("info needs at least one file");
    int rc = 0;
    for (const std::string& path : args) {
        const auto r = vekgen::VekInspector::inspectFile(path);
        std::fputs(vekgen::VekInspector::format(r, path).c_str(), stdout);
        if (!r.ok()) rc = 1;
    }
    return rc;
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> args(argv + 1, argv + argc);
    try {
        if (args.empty()) throw UsageError("no command given");
        const std::string command = args[0];
        for (const std::string& a : args) {
            if (a == "--help" || a == "-h") {
                std::fputs(kUsage, stdout);
                std::fputs("\n", stdout);
                std::fputs(kHelp, stdout);
                std::fputs(vekgen::kBlockScriptGrammar, stdout);
                return 0;
            }
            if (a == "--version") {
                std::puts("vekgen " VEKGEN_VERSION);
                return 0;
            }
        }
        args.erase(args.begin());
        if (command == "scene") return runScene(args);
        if (command == "sample") return runSample(args);
        if (command == "blocks") return runBlocks(args);
        if (command == "info") return runInfo(args);
        if (command == "ply") {
            try {
                return vekgen::runPly(args);
            } catch (const std::invalid_argument& e) {
                throw UsageError(e.what());
            }
        }
        throw UsageError("unknown command \"" + command + "\"");
    } catch (const UsageError& e) {
        std::fprintf(stderr, "vekgen: %s (try vekgen --help)\n", e.what());
        return 2;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "vekgen: %s\n", e.what());
        return 1;
    }
}
