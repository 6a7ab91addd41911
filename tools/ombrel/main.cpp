// ombrel: exports sculpt meshes saved as Vek files to STL, 3MF or VRML through
// the library's export engine, and inspects Vek files.
#include "tools/ombrel/Commands.h"
#include "tools/ombrel/StandardOutput.h"

#include <cstdio>
#include <string>
#include <vector>

namespace {

struct CommandEntry {
    const char* name;
    int (*run)(const std::vector<std::string>& arguments);
    const char* summary;  // the overview's line
};

// Every command, in the order the overview lists them.
const CommandEntry kCommands[] = {
    {"export", runExportCommand, "write Vek files as one STL, 3MF (Z up, for slicers) or VRML file"},
    {"check", runCheckCommand, "say whether Vek files will print: holes, bad edges, floating parts"},
    {"demo", runDemoCommand, "export the built-in sample scene"},
    {"info", runInfoCommand, "list the blocks of Vek files"},
    {"bbox", runBBoxCommand, "print the bounding boxes of Vek files"},
};

const CommandEntry* findCommand(const std::string& name) {
    for (const CommandEntry& command : kCommands)
        if (name == command.name) return &command;
    return nullptr;
}

void printOverview(std::FILE* stream) {
    std::fputs(
        "Usage: ombrel COMMAND [OPTIONS] [FILE.vek...]\n"
        "\n"
        "Turns sculpt meshes saved as Vek files into files for 3D printing.\n"
        "\n"
        "Commands:\n",
        stream);
    for (const CommandEntry& command : kCommands) std::fprintf(stream, "  %-8s  %s\n", command.name, command.summary);
    std::fputs(
        "\n"
        "Run 'ombrel COMMAND --help' (or 'ombrel help COMMAND') for a command's options.\n"
        "\n"
        "Options:\n"
        "  -h, --help  show this help and exit\n"
        "  --version   show the version and exit\n"
        "\n"
        "Exit status: 0 on success; 1 when a file is missing, unreadable or not a Vek\n"
        "file, an output cannot be written, or (with --strict) the input is damaged;\n"
        "2 on a usage error or an invalid option value.\n",
        stream);
}

int run(int argc, char** argv) {
    std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.empty()) {
        printOverview(stderr);
        return 2;
    }
    const std::string name = arguments.front();
    arguments.erase(arguments.begin());
    if (name == "-h" || name == "--help" || (name == "help" && arguments.empty())) {
        printOverview(stdout);
        return 0;
    }
    if (name == "--version") {
        std::printf("ombrel %s\n", OMBREL_VERSION);
        return 0;
    }
    if (name == "help") {
        // "ombrel help export" is "ombrel export --help".
        const CommandEntry* command = findCommand(arguments.front());
        if (!command) {
            std::fprintf(stderr, "ombrel: unknown command '%s' (try ombrel --help)\n", arguments.front().c_str());
            return 2;
        }
        if (arguments.size() > 1) {
            std::fprintf(stderr, "ombrel: help takes one command name (try ombrel --help)\n");
            return 2;
        }
        return command->run({"--help"});
    }
    if (const CommandEntry* command = findCommand(name)) return command->run(arguments);
    std::fprintf(stderr, "ombrel: unknown command '%s' (try ombrel --help)\n", name.c_str());
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    const int status = run(argc, argv);
    // What went to stdout must have arrived: a summary into a full disk is a failure.
    return finishStandardOutput(status);
}
