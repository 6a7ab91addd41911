#include "tools/ombrel/Commands.h"
#include "tools/ombrel/EmbeddedSample.h"
#include "tools/ombrel/ExportJob.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace fs = std::filesystem;

namespace {

// Writes the built-in sample scene into a fresh temporary directory, as the
// host would save the sub-meshes of a sculpt before an export.
bool writeSampleScene(const fs::path& directory, std::vector<std::string>& files) {
    for (unsigned i = 0; i < kSampleScene_count; ++i) {
        const fs::path path = directory / kSampleScene[i].name;
        std::ofstream out(path, std::ios::binary);
        out.write(reinterpret_cast<const char*>(kSampleScene[i].bytes),
                  static_cast<std::streamsize>(kSampleScene[i].size));
        if (!out) return false;
        files.push_back(path.string());
    }
    return true;
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
    std::vector<std::string> files;
    int status = 1;
    if (writeSampleScene(sceneDirectory, files)) {
        std::printf("Sample scene: %u sub-meshes, exported to height %g\n\n", kSampleScene_count, height);
        ExportJob job;
        job.inputs = files;
        job.height = height;
        const std::pair<ExportFormat, const char*> outputs[] = {{ExportFormat::BinaryStl, "sample-binary.stl"},
                                                                {ExportFormat::AsciiStl, "sample-ascii.stl"},
                                                                {ExportFormat::Vrml, "sample-colours.wrl"}};
        status = 0;
        for (const auto& [format, name] : outputs) {
            if (status != 0) break;
            job.format = format;
            job.output = (outputDirectory / name).string();
            job.vertexColors = format == ExportFormat::Vrml;
            status = runExport(job);
            std::printf("\n");
        }
    } else {
        std::fprintf(stderr, "ombrel: cannot write the sample scene to %s\n", sceneDirectory.c_str());
    }
    fs::remove_all(sceneDirectory, error);
    return status;
}
