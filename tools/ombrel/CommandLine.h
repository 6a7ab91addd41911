#pragma once

#include "engine/OmbrelExport.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

// The options of one command, read the way getopt_long reads them:
//
//   -q -v, -qv           short flags, alone or bundled
//   -o FILE, -oFILE      a short option's value, separate or attached
//   --height 100         a long option's value, separate...
//   --height=100         ...or after "="
//   --                   everything after it is an operand, even "-x"
//   -                    an operand (standard input or output, where a command allows it)
//
// Options and operands may be mixed in any order; each option's action runs
// when it is read, in the order given (so a later option wins). -h and
// --help print the command's help text on stdout.
//
//   CommandLine line("export", kExportHelp);
//   line.flag('v', "verbose", [&] { verbose = true; });
//   line.value('o', "output", [&](const std::string& value) { output = value; return true; });
//   std::vector<std::string> files;
//   if (const std::optional<int> status = line.parse(arguments, files)) return *status;
class CommandLine {
public:
    // `command` names the command in messages; `help` is what --help prints.
    CommandLine(std::string command, const char* help);

    // A flag; shortName '\0' for a long name only.
    void flag(char shortName, const char* longName, std::function<void()> action);
    // An option with a value. The action returns false after printing (with
    // printError) why it refuses the value: a usage error.
    void value(char shortName, const char* longName, std::function<bool(const std::string&)> action);

    // Reads `arguments` (those after the command's name). Returns nothing
    // when the command should go on, with the operands in `operands`; else
    // the exit status: 0 after --help, 2 after a usage error (reported).
    std::optional<int> parse(const std::vector<std::string>& arguments, std::vector<std::string>& operands) const;

    // Reports a usage error with a pointer to the command's help; returns 2.
    int usageError(const std::string& message) const;

private:
    struct Option {
        char shortName;
        std::string longName;
        bool takesValue;
        std::function<void()> onFlag;
        std::function<bool(const std::string&)> onValue;
    };

    const Option* findShort(char name) const;
    const Option* findLong(const std::string& name) const;

    std::string m_command;
    const char* m_help;
    std::vector<Option> m_options;
};

// "ombrel: MESSAGE" on stderr: how every command reports what went wrong.
void printError(const std::string& message);
// "ombrel: warning: MESSAGE" on stderr.
void printWarning(const std::string& message);

// Reads a number option's value; false (after a one-line message) when it is
// not a number.
bool parseNumberOption(const std::string& option, const std::string& value, double& number);

// Reads a height in millimetres: a positive number no larger than the
// largest float (the engine places in single precision). False (after a
// one-line message) for anything else.
bool parseHeightOption(const std::string& option, const std::string& value, double& height);

// Reads --up: y or z in either case. False (after a one-line message) for
// anything else.
bool parseUpOption(const std::string& value, ombrel::UpAxis& up);
