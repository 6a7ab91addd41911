#include "tools/ombrel/AbsolutePath.h"
#include "tools/ombrel/Commands.h"
#include "tools/ombrel/ExportRunner.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <utility>

bool parseNumberOption(const std::string& option, const std::string& value, double& number) {
    char* end = nullptr;
    number = std::strtod(value.c_str(), &end);
    // Any number is taken as written; the engine says which values it refuses.
    if (value.empty() || *end != '\0') {
        std::fprintf(stderr, "ombrel: %s needs a number, not '%s'\n", option.c_str(), value.c_str());
        return false;
    }
    return true;
}

namespace {

using TextureNames = std::vector<std::pair<std::string, std::string>>;  // Vek file as given, texture name

// The format an output name implies: VRML for .wrl and .vrml, else STL.
bool namesVrml(const std::string& output) {
    const std::string extension = std::filesystem::path(output).extension().string();
    return extension == ".wrl" || extension == ".WRL" || extension == ".vrml" || extension == ".VRML";
}

// Gives each input the texture named for it, however either path was
// written ("a.vek", "./a.vek", its absolute path); the last one named wins.
void assignTextureNames(std::vector<ombrel::InputFile>& inputs, const TextureNames& textures) {
    for (ombrel::InputFile& input : inputs) {
        const std::string absolute = absolutePath(input.path);
        for (const auto& [file, texture] : textures)
            if (file == input.path || absolutePath(file) == absolute) input.textureName = texture;
    }
}

int usageError(const char* format, const std::string& argument) {
    std::fprintf(stderr, format, argument.c_str());
    std::fputc('\n', stderr);
    return 2;
}

}  // namespace

int runExportCommand(const std::vector<std::string>& arguments) {
    ombrel::ExportOptions options;
    TextureNames textures;
    bool ascii = false;
    bool forcedStl = false;
    bool forcedVrml = false;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        const bool hasValue = i + 1 < arguments.size();
        const bool takesValue = argument == "-o" || argument == "--output" || argument == "--height" ||
                                argument == "--texture" || argument == "--up";
        if (takesValue && !hasValue) return usageError("ombrel: %s needs a value", argument);
        if (argument == "-o" || argument == "--output") {
            options.output = arguments[++i];
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
            options.vertexColors = true;
        } else if (argument == "--height") {
            double height = 0.0;
            if (!parseNumberOption(argument, arguments[++i], height)) return 2;
            options.height = height;
        } else if (argument == "--up") {
            const std::string& axis = arguments[++i];
            if (axis == "y" || axis == "Y")
                options.up = ombrel::UpAxis::Y;
            else if (axis == "z" || axis == "Z")
                options.up = ombrel::UpAxis::Z;
            else
                return usageError("ombrel: --up needs y or z, not '%s'", axis);
        } else if (argument == "--texture") {
            const std::string& value = arguments[++i];
            const std::size_t equals = value.find('=');
            if (equals == std::string::npos || equals == 0)
                return usageError("ombrel: --texture needs FILE.vek=NAME, not '%s'", value);
            textures.emplace_back(value.substr(0, equals), value.substr(equals + 1));
        } else if (argument == "--") {
            for (std::size_t k = i + 1; k < arguments.size(); ++k) options.inputs.push_back({arguments[k], {}});
            break;
        } else if (argument.size() > 1 && argument[0] == '-') {
            return usageError("ombrel: unknown option '%s' (try ombrel --help)", argument);
        } else {
            options.inputs.push_back({argument, {}});
        }
    }
    if (options.output.empty()) {
        std::fprintf(stderr, "ombrel: export needs -o OUTPUT\n");
        return 2;
    }
    assignTextureNames(options.inputs, textures);
    const bool vrml = forcedVrml || (!forcedStl && namesVrml(options.output));
    options.format = vrml                ? ombrel::Format::Vrml
                     : ascii             ? ombrel::Format::AsciiStl
                                         : ombrel::Format::BinaryStl;
    return runExport(std::move(options));
}
