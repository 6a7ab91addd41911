#pragma once

#include <string>
#include <vector>

// The bounding-box script calls say only "no box" about a file they cannot
// use, so the bbox command checks each file first to say why. Returns an
// empty text when `path` is a readable Vek file, else a one-line reason in
// the export engine's words ("head.vek: cannot read: No such file or
// directory").
std::string checkVekInput(const std::string& path);

// Whether an export's output is one of its inputs, however either is named
// (a hard or symbolic link, a relative or an absolute path): an output that
// is an existing regular file with the device and inode of an input. Returns
// that input as given, or an empty text. `standardOutput` compares standard
// output's file instead of `output`'s.
std::string inputThatIsTheOutput(const std::string& output, bool standardOutput,
                                 const std::vector<std::string>& inputs);
