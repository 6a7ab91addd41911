// bench_export: one Ombrel export through the plug-in's script calls, made
// exactly as the host's script makes them, timed from InitExporter to the
// return of the export call.
//
//   bench_export LIBRARY MODE OUT FILE.vek...
//
// MODE: stl-binary, stl-ascii, vrml, vrml-colors, or bounds (the scene-bounds
// pass alone: GetBBoxFromVekFile and AddBBox3D over the files, whose union box
// record, 24 bytes, is then written to OUT so that builds can be compared).
// Prints "seconds S".

#include "bench/PluginLibrary.h"
#include "bench/Stopwatch.h"
#include "support/LibraryPath.h"

#include <cstdio>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr double kHostVersion = 3.12;
constexpr double kHeight = 100.0;
constexpr int kBoxRecordBytes = 24;

struct Calls {
    explicit Calls(const PluginLibrary& lib)
        : init(lib.function("InitExporter")),
          startDeclare(lib.function("StartDeclareVekFiles")),
          addFile(lib.function("AddOneVekFile")),
          endDeclare(lib.function("EndDeclareVekFiles")),
          binaryOrAscii(lib.function("DeclareBinaryOrASCII")),
          height(lib.function("DeclareHeight")),
          colours(lib.function("DeclareExportVertexColors")),
          exportStl(lib.function("ExportSTLAllDeclaredVek")),
          exportVrml(lib.function("ExportVRMLAllDeclaredVek")),
          initBox(lib.function("InitBBox3D")),
          addBox(lib.function("AddBBox3D")),
          fileBox(lib.function("GetBBoxFromVekFile")) {}
    OmbrelScriptFunction init, startDeclare, addFile, endDeclare, binaryOrAscii, height, colours, exportStl, exportVrml,
        initBox, addBox, fileBox;
};

double call(OmbrelScriptFunction fn, const char* text = nullptr, double number = 0.0, char* block = nullptr,
            int size = 0) {
    return fn(text, number, block, size, nullptr, 0, nullptr);
}
double call(OmbrelScriptFunction fn, const std::string& text, double number = 0.0) {
    return call(fn, text.c_str(), number);
}

// Record 0 becomes the union of the files' boxes, gathered through record 1.
void boundsPass(const Calls& calls, const std::vector<std::string>& files, const std::string& out) {
    char records[2 * kBoxRecordBytes] = {};
    const Stopwatch clock;
    call(calls.initBox, nullptr, 0, records, sizeof records);
    for (const std::string& file : files) {
        call(calls.fileBox, file.c_str(), kBoxRecordBytes, records, sizeof records);
        call(calls.addBox, nullptr, 0, records, sizeof records);
    }
    clock.report();
    std::FILE* f = std::fopen(out.c_str(), "wb");
    if (!f || std::fwrite(records, 1, kBoxRecordBytes, f) != kBoxRecordBytes || std::fclose(f) != 0)
        throw std::runtime_error("cannot write " + out);
}

void exportScene(const Calls& calls, const std::string& mode, const std::vector<std::string>& files,
                 const std::string& out) {
    const bool stl = mode.rfind("stl-", 0) == 0;
    const Stopwatch clock;
    call(calls.init, nullptr, kHostVersion);
    call(calls.startDeclare);
    for (const std::string& file : files) call(calls.addFile, file);
    call(calls.endDeclare);
    if (stl) call(calls.binaryOrAscii, mode == "stl-binary" ? "BINARY" : "ASCII");
    call(calls.height, nullptr, kHeight);
    if (stl) {
        call(calls.exportStl, out);
    } else {
        call(calls.colours, mode == "vrml-colors" ? "YES" : "NO");
        call(calls.exportVrml, out);
    }
    clock.report();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 5) {
        std::fputs("usage: bench_export LIBRARY stl-binary|stl-ascii|vrml|vrml-colors|bounds OUT FILE.vek...\n",
                   stderr);
        return 2;
    }
    const std::string mode = argv[2];
    if (mode != "stl-binary" && mode != "stl-ascii" && mode != "vrml" && mode != "vrml-colors" && mode != "bounds") {
        std::fprintf(stderr, "bench_export: unknown mode %s\n", mode.c_str());
        return 2;
    }
    try {
        const PluginLibrary library(argv[1]);
        const Calls calls(library);
        const std::string out = toLibraryPath(argv[3]);
        std::vector<std::string> files;
        for (int i = 4; i < argc; ++i) files.push_back(toLibraryPath(argv[i]));
        if (mode == "bounds")
            boundsPass(calls, files, argv[3]);
        else
            exportScene(calls, mode, files, out);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "bench_export: %s\n", e.what());
        return 1;
    }
    return 0;
}
