// ombrel_model: writes what one export through the plug-in's script calls
// writes, computed by the model instead of the library.
//
//   ombrel_model stl-binary|stl-ascii|vrml|vrml-colors HEIGHT OUT FILE.vek...
//
// The calls are those of a host script: InitExporter 3.12,
// StartDeclareVekFiles, AddOneVekFile per file in order, EndDeclareVekFiles,
// DeclareBinaryOrASCII (STL), DeclareHeight HEIGHT, DeclareExportVertexColors
// (VRML), then the export to OUT.

#include "ModelSession.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

// The text that makes the script calls open exactly this file: they take a
// path from its first "/" after an optional "volume:" prefix, so the path is
// made absolute and, when it holds a colon itself, given an empty prefix.
std::string scriptPath(const char* userPath) {
    const std::string absolute = std::filesystem::absolute(userPath).lexically_normal().string();
    return absolute.find(':') == std::string::npos ? absolute : ":" + absolute;
}

int usage() {
    std::fputs("usage: ombrel_model stl-binary|stl-ascii|vrml|vrml-colors HEIGHT OUT FILE.vek...\n", stderr);
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 5) return usage();
    const std::string mode = argv[1];
    const bool stl = mode == "stl-binary" || mode == "stl-ascii";
    if (!stl && mode != "vrml" && mode != "vrml-colors") return usage();
    char* end = nullptr;
    const double height = std::strtod(argv[2], &end);
    if (end == argv[2] || *end != '\0') return usage();

    scriptmodel::Session session;
    session.initExporter(3.12);
    session.startDeclareVekFiles();
    for (int i = 4; i < argc; ++i) session.addOneVekFile(scriptPath(argv[i]));
    session.endDeclareVekFiles();
    if (stl) session.declareBinaryOrASCII(mode == "stl-binary" ? "BINARY" : "ASCII");
    session.declareHeight(height);
    const std::string out = scriptPath(argv[3]);
    if (stl) {
        session.exportSTLAllDeclaredVek(out);
    } else {
        session.declareExportVertexColors(mode == "vrml-colors" ? "YES" : "NO");
        session.exportVRMLAllDeclaredVek(out);
    }
    // The script calls report nothing; a missing output is worth an error here.
    std::error_code error;
    if (!std::filesystem::is_regular_file(argv[3], error)) {
        std::fprintf(stderr, "ombrel_model: %s was not written\n", argv[3]);
        return 1;
    }
    return 0;
}
