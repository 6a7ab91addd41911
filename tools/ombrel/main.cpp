// ombrel: exports sculpt meshes saved as Vek files to STL or VRML through
// the library's export engine, and inspects Vek files.
#include "tools/ombrel/Commands.h"

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

const char kUsage[] =
    "Usage: ombrel COMMAND [OPTIONS] ...\n"
    "\n"
    "Commands:\n"
    "  export -o OUT.stl [--ascii|--binary] [--height H] [--up y|z] FILE.vek...\n"
    "  export -o OUT.wrl [--colors] [--texture FILE.vek=NAME]... [--height H] FILE.vek...\n"
    "      Writes all Vek files as one file, with the scene's minimum corner at\n"
    "      the origin: STL (binary unless --ascii), or VRML 2.0 when the output\n"
    "      ends in .wrl or .vrml (--stl and --vrml choose explicitly). With\n"
    "      --height the scene is scaled so that its extent along the up axis\n"
    "      is H; without it the scene keeps its own size. STL: --up z turns the\n"
    "      scene Z-up, as slicers expect (default: y, as the host has it).\n"
    "      VRML: --colors writes the files' vertex colours; --texture names a\n"
    "      file's texture (default: the Vek file's own name). Prints what was\n"
    "      written; warnings about damaged input go to stderr.\n"
    "  bbox FILE.vek...\n"
    "      Prints each file's bounding box and, for several files, their union.\n"
    "  info FILE.vek...\n"
    "      Lists the blocks of each file: tag, name, count, size, offset.\n"
    "  demo [-o DIR] [--height H]\n"
    "      Exports the built-in sample scene as binary STL, ASCII STL and VRML\n"
    "      with vertex colours into DIR (default ./ombrel-demo), scaled to\n"
    "      height H (default 100).\n"
    "\n"
    "Options:\n"
    "  -h, --help     show this help and exit\n"
    "  --version      show the version and exit\n"
    "\n"
    "Exit status: 0 on success, 1 when a file is missing, not a Vek file or not\n"
    "writable, or a write fails (a full disk, ...), 2 on a usage error or an\n"
    "invalid option value (a height that is not a positive number).\n";

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.empty()) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    const std::string command = arguments.front();
    arguments.erase(arguments.begin());
    if (command == "-h" || command == "--help" || command == "help") {
        std::fputs(kUsage, stdout);
        return 0;
    }
    if (command == "--version") {
        std::printf("ombrel %s\n", OMBREL_VERSION);
        return 0;
    }
    for (const std::string& argument : arguments) {
        if (argument == "-h" || argument == "--help") {
            std::fputs(kUsage, stdout);
            return 0;
        }
    }
    if (command == "export") return runExportCommand(arguments);
    if (command == "info") return runInfoCommand(arguments);
    if (command == "bbox") return runBBoxCommand(arguments);
    if (command == "demo") return runDemoCommand(arguments);
    std::fprintf(stderr, "ombrel: unknown command '%s' (try ombrel --help)\n", command.c_str());
    return 2;
}
