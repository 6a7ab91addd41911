#include "tools/ombrel/Commands.h"
#include "tools/ombrel/ExportJob.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

bool parseNumberOption(const std::string& option, const std::string& value, double& number) {
    char* end = nullptr;
    number = std::strtod(value.c_str(), &end);
    if (value.empty() || *end != '\0' || !std::isfinite(number)) {
        std::fprintf(stderr, "ombrel: %s needs a number, not '%s'\n", option.c_str(), value.c_str());
        return false;
    }
    return true;
}

namespace {

// The format an output name implies: VRML for .wrl and .vrml, else STL.
bool namesVrml(const std::string& output) {
    const std::string extension = std::filesystem::path(output).extension().string();
    return extension == ".wrl" || extension == ".WRL" || extension == ".vrml" || extension == ".VRML";
}

int usageError(const char* format, const std::string& argument) {
    std::fprintf(stderr, format, argument.c_str());
    std::fputc('\n', stderr);
    return 2;
}

}  // namespace

int runExportCommand(const std::vector<std::string>& arguments) {
    ExportJob job;
    bool ascii = false;
    bool forcedStl = false;
    bool forcedVrml = false;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        const bool hasValue = i + 1 < arguments.size();
        const bool takesValue =
            argument == "-o" || argument == "--output" || argument == "--height" || argument == "--texture";
        if (takesValue && !hasValue) return usageError("ombrel: %s needs a value", argument);
        if (argument == "-o" || argument == "--output") {
            job.output = arguments[++i];
        } else if (argument == "--ascii") {
            ascii = true;
        } else if (argument == "--binary") {
            ascii = false;
        } else if (argument == "--stl") {
            forcedStl = true;
            forcedVrml = false;
        } else if (argument == "--vrml") {
            forcedVrml = true;
            forcedStl = false;
        } else if (argument == "--colors" || argument == "--colours") {
            job.vertexColors = true;
        } else if (argument == "--height") {
            double height = 0.0;
            if (!parseNumberOption(argument, arguments[++i], height)) return 2;
            job.height = height;
        } else if (argument == "--texture") {
            const std::string& value = arguments[++i];
            const std::size_t equals = value.find('=');
            if (equals == std::string::npos || equals == 0)
                return usageError("ombrel: --texture needs FILE.vek=NAME, not '%s'", value);
            job.textures.emplace_back(value.substr(0, equals), value.substr(equals + 1));
        } else if (argument == "--") {
            job.inputs.insert(job.inputs.end(), arguments.begin() + static_cast<long>(i) + 1, arguments.end());
            break;
        } else if (argument.size() > 1 && argument[0] == '-') {
            return usageError("ombrel: unknown option '%s' (try ombrel --help)", argument);
        } else {
            job.inputs.push_back(argument);
        }
    }
    if (job.output.empty()) {
        std::fprintf(stderr, "ombrel: export needs -o OUTPUT\n");
        return 2;
    }
    const bool vrml = forcedVrml || (!forcedStl && namesVrml(job.output));
    job.format = vrml ? ExportFormat::Vrml : ascii ? ExportFormat::AsciiStl : ExportFormat::BinaryStl;
    return runExport(job);
}
