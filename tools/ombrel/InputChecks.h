#pragma once

#include <string>

// The bounding-box script calls say only "no box" about a file they cannot
// use, so the bbox command checks each file first to say why. Returns an
// empty text when `path` is a readable Vek file, else a one-line reason in
// the export engine's words ("head.vek: cannot read: No such file or
// directory").
std::string checkVekInput(const std::string& path);
