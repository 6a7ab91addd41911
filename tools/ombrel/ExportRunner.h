#pragma once

#include "engine/OmbrelExport.h"

// Runs one export through the engine, with progress on a terminal: warnings
// and any failure go to stderr one line each, the summary to stdout. Returns
// the process exit status: 0 on success, 2 for options the engine refuses,
// 1 for any other failure.
int runExport(ombrel::ExportOptions options);
