#pragma once

#include "RandomVekFiles.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// One call of a host script.
struct ScriptCall {
    ScriptCall(std::string name, std::optional<std::string> text = std::nullopt, double number = 0.0,
               std::string output = "")
        : name(std::move(name)), text(std::move(text)), number(number), output(std::move(output)) {}

    std::string name;                 // the export's plain name
    std::optional<std::string> text;  // absent: the host passes a null text
    double number;
    std::string output;  // for an export: the file its text names, "" for none
};

// How a test case leans its scripts.
struct ScriptOdds {
    VekFileOdds files;
    int maxFiles = 4;
    double stl = 0.5;         // an export is STL rather than VRML
    double binaryWord = 0.5;  // a DeclareBinaryOrASCII text is BINARY in some letter case
    double yesWord = 0.3;     // a DeclareExportVertexColors text is YES in some letter case
    int maxOptionCalls = 3;   // option calls before, among and after the declarations
    int maxExports = 1;
    // Each unusual move takes this chance: a script that keeps the files
    // declared by the one before, a call addressing the last file of an
    // empty list, a file declared twice, a null or prefixed path, an output
    // in a missing directory.
    double unusual = 0.03;
};

// The script of `seed`: writes its input files into `directory` (names
// starting "s<seed>-") and returns its calls, ending with its exports.
std::vector<ScriptCall> randomScript(std::uint64_t seed, const std::string& directory, const ScriptOdds& odds);

// The calls as a listing, one per line, for a report.
std::string listing(const std::vector<ScriptCall>& script);
