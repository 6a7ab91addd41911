#pragma once

#include "engine/OmbrelExport.h"

enum class Verbosity {
    Quiet,    // warnings and errors only
    Normal,   // the compact summary
    Verbose,  // the summary with the placement, the check's figures and a line per file
};

struct ExportSettings {
    Verbosity verbosity = Verbosity::Normal;
    // Damaged input is an error: when reading the inputs gives any warning,
    // nothing is written (a previous file keeps its content) and the exit
    // status is 1.
    bool strict = false;
    // The file goes to standard output (the output option is ignored);
    // the summary goes to stderr.
    bool toStandardOutput = false;
};

// Runs one export through the engine, with progress on a terminal: warnings
// and any failure go to stderr one line each, the summary to stdout (stderr
// when the file itself goes to stdout). An output that is one of the inputs
// is refused before anything is written. Returns the process exit status:
// 0 on success, 2 for options the engine refuses, 1 for any other failure.
// 3MF goes through the ombrel3mf library, where the tool was built with it.
int runExport(ombrel::ExportOptions options, const ExportSettings& settings);

// Whether this build of the tool writes 3MF (the ombrel3mf library needs
// libarchive, which a build may lack).
bool threeMFAvailable();
