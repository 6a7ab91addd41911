#pragma once

#include "engine/OmbrelExport.h"

#include <string>

namespace ombrel::engine {

// Checks that `path` names a Vek file that can be read, before an export
// writes anything: it must exist, be a regular file (a pipe or a device could
// block the export or never end), open for reading, and start with a Vek file
// header. Reads the 32 header bytes at most. A success status when all holds.
Status checkVekInput(const std::string& path);

}  // namespace ombrel::engine
