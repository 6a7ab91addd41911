#include "tools/ombrel/Commands.h"
#include "tools/ombrel/EmbeddedSample.h"
#include "tools/ombrel/ExportRunner.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace fs = std::filesystem;

namespace {

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
int exportSampleScene(const fs::path& sceneDirectory, const fs::path& outputDirectory, double height) {
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
    const std::pair<ombrel::Format, const char*> outputs[] = {{ombrel::Format::BinaryStl, "sample-binary.stl"},
                                                              {ombrel::Format::AsciiStl, "sample-ascii.stl"},
                                                              {ombrel::Format::Vrml, "sample-colours.wrl"}};
    int status = 0;
    for (const auto& [format, name] : outputs) {
        options.format = format;
        options.output = (outputDirectory / name).string();
        options.vertexColors = format == ombrel::Format::Vrml;
        status = runExport(options);
        if (status != 0) break;
        std::printf("\n");
    }
    fs::current_path(previous, error);
    return status;
}

}  // namespace

int runDemoCommand(const std::vector<std::string>& arguments) {
    fs::path outputDirectory = "ombrel-demo";
    double height = 100.0;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        const bool hasValue = i + 1 < arguments.size();
        if ((argument == "-o" || argument == "--output") && hasValue) {
            outputDirectory = arguments[++i];
        } else if (argument == "--height" && hasValue) {
            if (!parseNumberOption(argument, arguments[++i], height)) return 2;
        } else {
            std::fprintf(stderr, "ombrel: demo: unexpected argument '%s' (try ombrel --help)\n", argument.c_str());
            return 2;
        }
    }

    std::error_code error;
    fs::create_directories(outputDirectory, error);
    if (!fs::is_directory(outputDirectory)) {
        std::fprintf(stderr, "ombrel: cannot create directory %s\n", outputDirectory.c_str());
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
        std::printf("Sample scene: %u sub-meshes, exported to height %g\n\n", kSampleScene_count, height);
        status = exportSampleScene(sceneDirectory, fs::absolute(outputDirectory, error), height);
    } else {
        std::fprintf(stderr, "ombrel: cannot write the sample scene to %s\n", sceneDirectory.c_str());
    }
    fs::remove_all(sceneDirectory, error);
    return status;
}
