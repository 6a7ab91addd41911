#include "plugin/ombrel.h"
#include "tools/ombrel/Commands.h"
#include "tools/ombrel/InputChecks.h"
#include "support/LibraryPath.h"

#include <cstdio>
#include <cstring>
#include <optional>

namespace {

const char kBBoxHelp[] =
    "Usage: ombrel bbox FILE.vek...\n"
    "\n"
    "Prints each Vek file's bounding box as the file stores it (in the sculpting\n"
    "host's units and orientation, Y up), and for several files their union,\n"
    "through the library's bounding-box calls.\n"
    "\n"
    "Options:\n"
    "  -h, --help  show this help and exit\n"
    "\n"
    "Exit status: 0 on success, 1 when a file is missing, not a Vek file or has\n"
    "no Points block at its start, 2 on a usage error.\n";

// The script's memory block: record 0 gathers the union, record 1 receives
// one file's box at a time (24 bytes a record: minimum x, y, z, maximum x, y, z).
struct BoxRecords {
    float values[12];
};

void printRecord(const char* label, const BoxRecords& block, int record) {
    const float* r = block.values + 6 * record;
    if (r[3] < r[0]) {
        std::printf("%s: no points\n", label);
        return;
    }
    std::printf("%s: (%g, %g, %g) to (%g, %g, %g)\n", label, r[0], r[1], r[2], r[3], r[4], r[5]);
}

double callWithBlock(OmbrelScriptFunction function, const char* text, double number, BoxRecords& block) {
    return function(text, number, reinterpret_cast<char*>(block.values), sizeof block.values, nullptr, 0, nullptr);
}

}  // namespace

int runBBoxCommand(const std::vector<std::string>& arguments) {
    CommandLine line("bbox", kBBoxHelp);
    std::vector<std::string> files;
    if (const std::optional<int> status = line.parse(arguments, files)) return *status;
    if (files.empty()) return line.usageError("bbox needs at least one Vek file");
    BoxRecords block;
    std::memset(&block, 0, sizeof block);
    callWithBlock(InitBBox3D, nullptr, 0, block);
    int status = 0;
    for (const std::string& path : files) {
        const std::string problem = checkVekInput(path);
        if (!problem.empty()) {
            std::fprintf(stderr, "ombrel: %s\n", problem.c_str());
            status = 1;
            continue;
        }
        callWithBlock(InitBBox3D, nullptr, 1, block);
        // The box is read into the record at byte offset 24: record 1.
        if (callWithBlock(GetBBoxFromVekFile, toLibraryPath(path).c_str(), 24, block) != 0.0) {
            std::fprintf(stderr, "ombrel: %s: no readable Points block at the start of the file\n", path.c_str());
            status = 1;
            continue;
        }
        printRecord(path.c_str(), block, 1);
        if (block.values[9] >= block.values[6]) callWithBlock(AddBBox3D, nullptr, 0, block);
    }
    if (files.size() > 1) printRecord("union", block, 0);
    return status;
}
