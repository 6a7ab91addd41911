#pragma once

#include <string>
#include <vector>

// The tool's commands; each takes the arguments after its name and returns
// the process exit status.
int runExportCommand(const std::vector<std::string>& arguments);
int runInfoCommand(const std::vector<std::string>& arguments);
int runBBoxCommand(const std::vector<std::string>& arguments);
int runDemoCommand(const std::vector<std::string>& arguments);

// Reads a number option's value; false (after a one-line message) when it is
// not a finite number.
bool parseNumberOption(const std::string& option, const std::string& value, double& number);
