#pragma once

#include <optional>
#include <string>
#include <vector>

// One STL export as the host script runs it: declare the files, set the
// options, export, then report what was written.
struct StlExportJob {
    std::vector<std::string> inputs;  // Vek files, as the user gave them
    std::string output;               // STL file, as the user gave it
    bool binary = true;
    // The scene's height along Y; without one the scene keeps its own size.
    std::optional<double> height;
};

// Checks the job's files, runs it through the library and prints a report on
// stdout. Returns the process exit status; errors go to stderr in one line.
int runStlExport(const StlExportJob& job);
