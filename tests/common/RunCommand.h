#pragma once

#include <string>
#include <vector>

// The outcome of running a program to its end.
struct CommandResult {
    int exitStatus = -1;  // the exit code, or -1 when it did not exit normally
    std::string out;
    std::string err;
};

// Runs `program` with `arguments` in `workingDirectory`, with no standard
// input, and collects what it printed.
CommandResult runCommand(const std::string& program, const std::vector<std::string>& arguments,
                         const std::string& workingDirectory = ".");
