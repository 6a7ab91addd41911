#include "tools/ombrel/Commands.h"

#include "tools/vekgen/VekInspector.h"

#include <cstdio>
#include <optional>

namespace {

const char kInfoHelp[] =
    "Usage: ombrel info FILE.vek...\n"
    "\n"
    "Lists the blocks of each Vek file: tag, name, count, size and offset, and\n"
    "any damage (a block cut short, a count beyond the file, ...).\n"
    "\n"
    "Options:\n"
    "  -h, --help  show this help and exit\n"
    "\n"
    "Exit status: 0 when every file is intact, 1 when one is missing, not a Vek\n"
    "file or damaged, 2 on a usage error.\n";

}  // namespace

int runInfoCommand(const std::vector<std::string>& arguments) {
    CommandLine line("info", kInfoHelp);
    std::vector<std::string> files;
    if (const std::optional<int> status = line.parse(arguments, files)) return *status;
    if (files.empty()) return line.usageError("info needs at least one Vek file");
    int status = 0;
    for (const std::string& path : files) {
        const vekgen::VekInspection inspection = vekgen::VekInspector::inspectFile(path);
        if (inspection.status == vekgen::VekStatus::CannotOpen || inspection.status == vekgen::VekStatus::NotVek) {
            std::fprintf(stderr, "ombrel: %s: %s\n", path.c_str(), inspection.message.c_str());
            status = 1;
            continue;
        }
        std::fputs(vekgen::VekInspector::format(inspection, path).c_str(), stdout);
        if (!inspection.ok()) status = 1;
    }
    return status;
}
