#include "tools/ombrel/AbsolutePath.h"
#include "tools/ombrel/Commands.h"
#include "tools/ombrel/ExportRunner.h"
#include "tools/ombrel/StandardOutput.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <optional>
#include <unistd.h>
#include <utility>

namespace {

const char kExportHelp[] =
    "Usage: ombrel export [OPTIONS] -o OUTPUT FILE.vek...\n"
    "\n"
    "Writes the Vek files of a sculpt as one file for a slicer or a viewer: STL\n"
    "(binary unless --ascii), 3MF or VRML 2.0. The scene is moved so that its\n"
    "lowest corner is at the origin and, with --height, scaled to that height.\n"
    "Damaged input is exported as it reads, with a warning on stderr for each\n"
    "damage.\n"
    "\n"
    "Output:\n"
    "  -o, --output=FILE   the file to write; '-' writes it to standard output\n"
    "                      (and the summary to stderr)\n"
    "      --stl           write STL, whatever the output's name\n"
    "      --3mf           write 3MF (a ZIP package, millimetres, one object a\n"
    "                      Vek file), whatever the output's name\n"
    "      --vrml          write VRML 2.0, whatever the output's name\n"
    "                      Without any of them, the name's extension decides:\n"
    "                      .stl is STL, .3mf is 3MF, .wrl and .vrml are VRML\n"
    "                      (any letter case); standard output gets STL.\n"
    "      --binary        binary STL (the default)\n"
    "      --ascii         ASCII STL\n"
    "\n"
    "Placement:\n"
    "      --height=MM     scale the scene so that it is MM millimetres tall\n"
    "                      (default: its own size, one unit a millimetre)\n"
    "      --up=z|y        the up axis of STL and 3MF: z (the default) stands\n"
    "                      the figure upright on a slicer's build plate; y\n"
    "                      keeps the sculpting host's orientation, as its own\n"
    "                      export writes it. VRML is always Y up.\n"
    "\n"
    "VRML and 3MF:\n"
    "      --colors        write the files' vertex colours (also --colours)\n"
    "\n"
    "VRML:\n"
    "      --texture=FILE.vek=NAME\n"
    "                      the texture name of one file (default: the Vek\n"
    "                      file's own name); may be repeated\n"
    "\n"
    "Checking and messages:\n"
    "      --strict        treat damaged input as an error: when reading any\n"
    "                      file gives a warning, write nothing and exit with 1\n"
    "  -q, --quiet         print no summary; warnings and errors still go to\n"
    "                      stderr\n"
    "  -v, --verbose       add the placement, the print check's figures and a\n"
    "                      line per file to the summary\n"
    "  -h, --help          show this help and exit\n"
    "\n"
    "The summary gives the output, its size in millimetres, its triangles and\n"
    "bytes, and whether the mesh is watertight enough to print. Binary STL is\n"
    "not written to a terminal: redirect standard output or use --ascii.\n"
    "\n"
    "Exit status: 0 on success; 1 when an input is missing or not a Vek file,\n"
    "the output is one of the inputs, cannot be written or a write fails, or\n"
    "--strict found damaged input; 2 on a usage error or an invalid value.\n"
    "\n"
    "Examples:\n"
    "  ombrel export -o figure.stl --height 100 head.vek torso.vek base.vek\n"
    "  ombrel export --colors -o figure.3mf head.vek torso.vek base.vek\n"
    "  ombrel export --ascii -o - head.vek | less\n";

using TextureNames = std::vector<std::pair<std::string, std::string>>;  // Vek file as given, texture name

enum class NamedFormat { Stl, ThreeMF, Vrml, Unknown };

// The format an output's name implies, by its extension in any letter case.
NamedFormat formatOfName(const std::string& output) {
    std::string extension = std::filesystem::path(output).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (extension == ".stl") return NamedFormat::Stl;
    if (extension == ".3mf") return NamedFormat::ThreeMF;
    if (extension == ".wrl" || extension == ".vrml") return NamedFormat::Vrml;
    return NamedFormat::Unknown;
}

// Gives each input the texture named for it, however either path was
// written ("a.vek", "./a.vek", its absolute path); the last one named wins.
// Returns the named files that are not among the inputs.
std::vector<std::string> assignTextureNames(std::vector<ombrel::InputFile>& inputs, const TextureNames& textures) {
    std::vector<bool> used(textures.size(), false);
    for (ombrel::InputFile& input : inputs) {
        const std::string absolute = absolutePath(input.path);
        for (std::size_t i = 0; i < textures.size(); ++i) {
            if (textures[i].first == input.path || absolutePath(textures[i].first) == absolute) {
                input.textureName = textures[i].second;
                used[i] = true;
            }
        }
    }
    std::vector<std::string> unused;
    for (std::size_t i = 0; i < textures.size(); ++i)
        if (!used[i]) unused.push_back(textures[i].first);
    return unused;
}

}  // namespace

int runExportCommand(const std::vector<std::string>& arguments) {
    ombrel::ExportOptions options;
    options.up = ombrel::UpAxis::Z;  // slicers build along Z
    ExportSettings settings;
    TextureNames textures;
    std::string output;
    bool ascii = false;
    std::optional<ombrel::Format> forced;  // --stl (as BinaryStl), --3mf or --vrml
    bool upGiven = false;

    CommandLine line("export", kExportHelp);
    line.value('o', "output", [&](const std::string& value) {
        output = value;
        return true;
    });
    line.flag('\0', "stl", [&] { forced = ombrel::Format::BinaryStl; });
    line.flag('\0', "3mf", [&] { forced = ombrel::Format::ThreeMF; });
    line.flag('\0', "vrml", [&] { forced = ombrel::Format::Vrml; });
    line.flag('\0', "ascii", [&] { ascii = true; });
    line.flag('\0', "binary", [&] { ascii = false; });
    line.value('\0', "height", [&](const std::string& value) {
        double height = 0.0;
        if (!parseHeightOption("--height", value, height)) return false;
        options.height = height;
        return true;
    });
    line.value('\0', "up", [&](const std::string& value) {
        upGiven = true;
        return parseUpOption(value, options.up);
    });
    line.flag('\0', "colors", [&] { options.vertexColors = true; });
    line.flag('\0', "colours", [&] { options.vertexColors = true; });
    line.value('\0', "texture", [&](const std::string& value) {
        const std::size_t equals = value.find('=');
        if (equals == std::string::npos || equals == 0) {
            printError("--texture needs FILE.vek=NAME, not '" + value + "'");
            return false;
        }
        textures.emplace_back(value.substr(0, equals), value.substr(equals + 1));
        return true;
    });
    line.flag('\0', "strict", [&] { settings.strict = true; });
    line.flag('q', "quiet", [&] { settings.verbosity = Verbosity::Quiet; });
    line.flag('v', "verbose", [&] { settings.verbosity = Verbosity::Verbose; });

    std::vector<std::string> files;
    if (const std::optional<int> status = line.parse(arguments, files)) return *status;
    if (output.empty()) return line.usageError("export needs an output: -o FILE (or -o - for standard output)");
    if (files.empty()) return line.usageError("export needs at least one Vek file");

    settings.toStandardOutput = namesStandardOutput(output);
    NamedFormat format = NamedFormat::Stl;
    if (forced) {
        format = *forced == ombrel::Format::Vrml      ? NamedFormat::Vrml
                 : *forced == ombrel::Format::ThreeMF ? NamedFormat::ThreeMF
                                                      : NamedFormat::Stl;
    } else if (!settings.toStandardOutput) {
        format = formatOfName(output);
        if (format == NamedFormat::Unknown)
            return line.usageError("cannot tell the format of '" + output +
                                   "': name it .stl, .3mf, .wrl or .vrml, or give --stl, --3mf or --vrml");
    }
    const bool vrml = format == NamedFormat::Vrml;
    const bool threeMF = format == NamedFormat::ThreeMF;
    options.format = vrml      ? ombrel::Format::Vrml
                     : threeMF ? ombrel::Format::ThreeMF
                     : ascii   ? ombrel::Format::AsciiStl
                               : ombrel::Format::BinaryStl;
    if (threeMF && !threeMFAvailable()) {
        printError("this ombrel was built without 3MF (the ombrel3mf library needs libarchive); nothing was written");
        return 1;
    }
    if (settings.toStandardOutput && isatty(STDOUT_FILENO) == 1) {
        if (options.format == ombrel::Format::BinaryStl)
            return line.usageError("binary STL is not written to a terminal: redirect standard output, or give --ascii");
        if (threeMF) return line.usageError("3MF is not written to a terminal: redirect standard output");
    }

    for (const std::string& file : files) options.inputs.push_back({file, {}});
    options.output = output;
    for (const std::string& file : assignTextureNames(options.inputs, textures))
        printWarning("--texture names " + file + ", which is not an input; ignored");

    // Options of the other formats change nothing; say so rather than ignore them.
    if (vrml) {
        if (ascii) printWarning("--ascii applies to STL only; VRML is always text");
        if (upGiven && options.up == ombrel::UpAxis::Z)
            printWarning("--up z applies to STL and 3MF only; VRML is always Y up");
    } else if (threeMF) {
        if (ascii) printWarning("--ascii applies to STL only; 3MF is a ZIP package");
        if (!textures.empty()) printWarning("--texture applies to VRML only; 3MF is written without textures");
    } else {
        if (options.vertexColors) printWarning("--colors applies to VRML and 3MF only; STL has no colours");
        if (!textures.empty()) printWarning("--texture applies to VRML only; STL has no textures");
    }
    return runExport(std::move(options), settings);
}
