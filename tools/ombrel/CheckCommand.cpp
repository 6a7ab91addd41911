#include "tools/ombrel/Commands.h"
#include "tools/ombrel/ExportSummary.h"

#include "engine/OmbrelExport.h"

#include <cstdio>

namespace {

const char kCheckHelp[] =
    "Usage: ombrel check [OPTIONS] FILE.vek...\n"
    "\n"
    "Says whether the Vek files of a sculpt, exported together as one STL\n"
    "file, will print: placed as `ombrel export` places them (Z up, at the\n"
    "given height), it counts triangles, degenerate triangles, shells, open\n"
    "edges (holes), non-manifold edges (three or more triangles on one edge),\n"
    "flipped edges (two triangles that disagree on which side is outside),\n"
    "floating shells (above the build plate and touching nothing), the volume\n"
    "of the closed shells and the surface area, for the scene and for each\n"
    "file, with a one-line verdict. Edges meet where their corners have\n"
    "exactly equal coordinates, as slicers match them. Nothing is written.\n"
    "\n"
    "Options:\n"
    "      --height=MM     the height the scene would be scaled to (default: its\n"
    "                      own size, one unit a millimetre)\n"
    "      --up=z|y        the up axis: z (the default), as a slicer stands it,\n"
    "                      or y, the sculpting host's orientation\n"
    "      --strict        exit with 1 unless the scene is watertight, nothing\n"
    "                      floats and no file is damaged\n"
    "  -h, --help          show this help and exit\n"
    "\n"
    "Exit status: 0 when the check ran (whatever its verdict; with --strict,\n"
    "only when the scene will print); 1 when an input is missing or not a Vek\n"
    "file, or --strict found a problem; 2 on a usage error.\n"
    "\n"
    "Example:\n"
    "  ombrel check --height 100 head.vek torso.vek base.vek\n";

}  // namespace

int runCheckCommand(const std::vector<std::string>& arguments) {
    ombrel::ExportOptions options;
    options.up = ombrel::UpAxis::Z;
    bool strict = false;
    CommandLine line("check", kCheckHelp);
    line.value('\0', "height", [&](const std::string& value) {
        double height = 0.0;
        if (!parseHeightOption("--height", value, height)) return false;
        options.height = height;
        return true;
    });
    line.value('\0', "up", [&](const std::string& value) { return parseUpOption(value, options.up); });
    line.flag('\0', "strict", [&] { strict = true; });
    std::vector<std::string> files;
    if (const std::optional<int> status = line.parse(arguments, files)) return *status;
    if (files.empty()) return line.usageError("check needs at least one Vek file");
    for (const std::string& file : files) options.inputs.emplace_back(file);

    const ombrel::ExportResult result = ombrel::checkScene(options);
    for (const ombrel::Warning& warning : result.warnings) printWarning(warning.describe());
    if (!result.ok()) {
        printError(result.status.describe());
        return result.status.kind == ombrel::StatusKind::kInvalidOptions ? 2 : 1;
    }
    printCheckReport(stdout, options, result.report);
    const ombrel::PrintCheck& check = result.report.check;
    const bool printable = check.watertight() && check.floatingShells == 0 && check.triangles != 0;
    return strict && (!printable || !result.warnings.empty()) ? 1 : 0;
}
