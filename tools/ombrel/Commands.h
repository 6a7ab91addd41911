#pragma once

#include "tools/ombrel/CommandLine.h"

#include <string>
#include <vector>

// The tool's commands; each takes the arguments after its name and returns
// the process exit status (0 success, 1 failure, 2 usage error).
//
// A command reads its options with CommandLine (CommandLine.h), which also
// answers -h and --help with the command's help text, so `ombrel NAME
// --help` and `ombrel help NAME` work for every command. To add one, declare
// its run function here and give it a row in main.cpp's command table (its
// name and the one line the overview shows).
int runExportCommand(const std::vector<std::string>& arguments);
int runCheckCommand(const std::vector<std::string>& arguments);
int runInfoCommand(const std::vector<std::string>& arguments);
int runBBoxCommand(const std::vector<std::string>& arguments);
int runDemoCommand(const std::vector<std::string>& arguments);
