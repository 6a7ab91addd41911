#pragma once

#include <string>

// The library reports nothing by design, so the tool checks its inputs and
// its output itself. Each check returns an empty text when all is well, else
// a one-line reason.
std::string checkVekInput(const std::string& path);
std::string checkWritableOutput(const std::string& path);
