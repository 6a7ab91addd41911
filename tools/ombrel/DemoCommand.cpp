#include "tools/ombrel/Commands.h"
#include "tools/ombrel/EmbeddedSample.h"
#include "tools/ombrel/ExportRunner.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

namespace fs = std::filesystem;

namespace {

const char kDemoHelp[] =
    "Usage: ombrel demo [OPTIONS]\n"
    "\n"
    "Exports the built-in sample scene (a small sculpt of three sub-meshes) the\n"
    "way a print needs it: as binary STL and ASCII STL, Z up for slicers, and\n"
    "as VRML 2.0 with vertex colours. The files are sample-binary.stl,\n"
    "sample-ascii.stl and sample-colours.wrl.\n"
#ifdef OMBREL_HAVE_3MF
    "It also writes sample.3mf: 3MF, Z up, with vertex colours.\n"
#endif
    "\n"
    "Options:\n"
    "  -o, --output=DIR   the directory to write into (default ./ombrel-demo;\n"
    "                     made when missing)\n"
    "      --height=MM    the scene's height in millimetres (default 100)\n"
    "  -q, --quiet        print no summaries; errors still go to stderr\n"
    "  -v, --verbose      print each export's full summary\n"
    "  -h, --help         show this help and exit\n"
    "\n"
    "Exit status: 0 on success, 1 when a file cannot be written, 2 on a usage\n"
    "error.\n";

// Writes the built-in sample scene into a fresh temporary directory, as the
// host would save the sub-meshes of a sculpt before an export.
bool writeSampleScene(const fs::path& directory) {
    for (unsigned i = 0; i < kSampleScene_count; ++i) {
        std::ofstream out(directory / kSampleScene[i].name, std::ios::binary);
        out.write(reinterpret_cast<const char*>(kSampleScene[i].bytes),
                  static_cast<std::streamsize>(kSampleScene[i].size));
        if (!out) return false;
    }
    return true;
}

// Exports the scene in `sceneDirectory` in each format into `outputDirectory`
// (absolute). The exports run inside the scene's directory so that the
// summaries name the sub-meshes as the sample names them, without the
// temporary directory.
int exportSampleScene(const fs::path& sceneDirectory, const fs::path& outputDirectory, double height,
                      const ExportSettings& settings) {
    std::error_code error;
    const fs::path previous = fs::current_path(error);
    fs::current_path(sceneDirectory, error);
    if (error) {
        std::fprintf(stderr, "ombrel: cannot enter %s: %s\n", sceneDirectory.c_str(), error.message().c_str());
        return 1;
    }
    ombrel::ExportOptions options;
    for (unsigned i = 0; i < kSampleScene_count; ++i) options.inputs.push_back({kSampleScene[i].name, {}});
    options.height = height;
    options.up = ombrel::UpAxis::Z;  // as the export command writes STL by default
    std::vector<std::pair<ombrel::Format, const char*>> outputs = {{ombrel::Format::BinaryStl, "sample-binary.stl"},
                                                                   {ombrel::Format::AsciiStl, "sample-ascii.stl"},
                                                                   {ombrel::Format::Vrml, "sample-colours.wrl"}};
    if (threeMFAvailable()) outputs.emplace_back(ombrel::Format::ThreeMF, "sample.3mf");
    int status = 0;
    for (const auto& [format, name] : outputs) {
        options.format = format;
        options.output = (outputDirectory / name).string();
        options.vertexColors = format == ombrel::Format::Vrml || format == ombrel::Format::ThreeMF;
        status = runExport(options, settings);
        if (status != 0) break;
        if (settings.verbosity != Verbosity::Quiet) std::printf("\n");
    }
    fs::current_path(previous, error);
    return status;
}

}  // namespace

int runDemoCommand(const std::vector<std::string>& arguments) {
    fs::path outputDirectory = "ombrel-demo";
    double height = 100.0;
    ExportSettings settings;
    CommandLine line("demo", kDemoHelp);
    line.value('o', "output", [&](const std::string& value) {
        outputDirectory = value;
        return true;
    });
    line.value('\0', "height", [&](const std::string& value) { return parseHeightOption("--height", value, height); });
    line.flag('q', "quiet", [&] { settings.verbosity = Verbosity::Quiet; });
    line.flag('v', "verbose", [&] { settings.verbosity = Verbosity::Verbose; });
    std::vector<std::string> operands;
    if (const std::optional<int> status = line.parse(arguments, operands)) return *status;
    if (!operands.empty()) return line.usageError("demo takes no files, not '" + operands.front() + "'");

    std::error_code error;
    fs::create_directories(outputDirectory, error);
    if (!fs::is_directory(outputDirectory)) {
        const std::string reason = error ? error.message() : "a file of that name is in the way";
        std::fprintf(stderr, "ombrel: %s: cannot create the directory: %s\n", outputDirectory.c_str(), reason.c_str());
        return 1;
    }
    char pattern[] = "/tmp/ombrel-demo-XXXXXX";
    if (!mkdtemp(pattern)) {
        std::fprintf(stderr, "ombrel: cannot create a temporary directory\n");
        return 1;
    }
    const fs::path sceneDirectory = pattern;
    int status = 1;
    if (writeSampleScene(sceneDirectory)) {
        if (settings.verbosity != Verbosity::Quiet)
            std::printf("Sample scene: %u sub-meshes, exported to height %g mm\n\n", kSampleScene_count, height);
        status = exportSampleScene(sceneDirectory, fs::absolute(outputDirectory, error), height, settings);
    } else {
        std::fprintf(stderr, "ombrel: cannot write the sample scene to %s\n", sceneDirectory.c_str());
    }
    fs::remove_all(sceneDirectory, error);
    return status;
}
