#include "tools/ombrel/Commands.h"

#include "tools/vekgen/VekInspector.h"

#include <cstdio>

int runInfoCommand(const std::vector<std::string>& arguments) {
    if (arguments.empty()) {
        std::fprintf(stderr, "ombrel: info needs at least one Vek file\n");
        return 2;
    }
    int status = 0;
    for (const std::string& path : arguments) {
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
