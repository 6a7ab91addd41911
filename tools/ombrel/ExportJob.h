#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

enum class ExportFormat { BinaryStl, AsciiStl, Vrml };

// One export as the host script runs it: declare the files (with their
// texture names), set the options, export, then report what was written.
struct ExportJob {
    std::vector<std::string> inputs;  // Vek files, as the user gave them
    std::string output;               // the output file, as the user gave it
    ExportFormat format = ExportFormat::BinaryStl;
    // The scene's height along Y; without one the scene keeps its own size.
    std::optional<double> height;
    bool vertexColors = false;  // VRML only
    // Texture names by Vek file (as given); files without one use their own name.
    std::vector<std::pair<std::string, std::string>> textures;
};

// Checks the job's files, runs it through the library and prints a report on
// stdout. Returns the process exit status; errors go to stderr in one line.
int runExport(const ExportJob& job);

const char* formatName(ExportFormat format);
