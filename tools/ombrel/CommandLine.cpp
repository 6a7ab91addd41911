#include "tools/ombrel/CommandLine.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <utility>

CommandLine::CommandLine(std::string command, const char* help) : m_command(std::move(command)), m_help(help) {}

void CommandLine::flag(char shortName, const char* longName, std::function<void()> action) {
    m_options.push_back({shortName, longName, false, std::move(action), {}});
}

void CommandLine::value(char shortName, const char* longName, std::function<bool(const std::string&)> action) {
    m_options.push_back({shortName, longName, true, {}, std::move(action)});
}

const CommandLine::Option* CommandLine::findShort(char name) const {
    for (const Option& option : m_options)
        if (option.shortName != '\0' && option.shortName == name) return &option;
    return nullptr;
}

const CommandLine::Option* CommandLine::findLong(const std::string& name) const {
    for (const Option& option : m_options)
        if (option.longName == name) return &option;
    return nullptr;
}

int CommandLine::usageError(const std::string& message) const {
    std::fprintf(stderr, "ombrel: %s\nTry 'ombrel %s --help' for more information.\n", message.c_str(),
                 m_command.c_str());
    return 2;
}

std::optional<int> CommandLine::parse(const std::vector<std::string>& arguments,
                                      std::vector<std::string>& operands) const {
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (argument == "--") {
            operands.insert(operands.end(), arguments.begin() + static_cast<std::ptrdiff_t>(i) + 1, arguments.end());
            break;
        }
        if (argument.size() < 2 || argument[0] != '-') {
            operands.push_back(argument);
            continue;
        }
        if (argument[1] == '-') {
            const std::size_t equals = argument.find('=');
            const std::string name = argument.substr(2, equals == std::string::npos ? std::string::npos : equals - 2);
            const std::string shown = "--" + name;
            if (name == "help") {
                if (equals != std::string::npos) return usageError("option '--help' takes no value");
                std::fputs(m_help, stdout);
                return 0;
            }
            const Option* option = findLong(name);
            if (!option) return usageError("unknown option '" + shown + "'");
            if (!option->takesValue) {
                if (equals != std::string::npos) return usageError("option '" + shown + "' takes no value");
                option->onFlag();
                continue;
            }
            std::string value;
            if (equals != std::string::npos) {
                value = argument.substr(equals + 1);
            } else if (i + 1 < arguments.size()) {
                value = arguments[++i];
            } else {
                return usageError("option '" + shown + "' needs a value");
            }
            if (!option->onValue(value)) return 2;
            continue;
        }
        // One or more short options: "-q", "-qv", "-o FILE", "-oFILE", "-qoFILE".
        for (std::size_t at = 1; at < argument.size(); ++at) {
            const char name = argument[at];
            if (name == 'h') {
                std::fputs(m_help, stdout);
                return 0;
            }
            const Option* option = findShort(name);
            if (!option) return usageError("unknown option '-" + std::string(1, name) + "'");
            if (!option->takesValue) {
                option->onFlag();
                continue;
            }
            std::string value;
            if (at + 1 < argument.size()) {
                value = argument.substr(at + 1);
            } else if (i + 1 < arguments.size()) {
                value = arguments[++i];
            } else {
                return usageError("option '-" + std::string(1, name) + "' needs a value");
            }
            if (!option->onValue(value)) return 2;
            break;
        }
    }
    return std::nullopt;
}

void printError(const std::string& message) { std::fprintf(stderr, "ombrel: %s\n", message.c_str()); }

void printWarning(const std::string& message) { std::fprintf(stderr, "ombrel: warning: %s\n", message.c_str()); }

bool parseNumberOption(const std::string& option, const std::string& value, double& number) {
    char* end = nullptr;
    number = std::strtod(value.c_str(), &end);
    if (value.empty() || *end != '\0') {
        printError(option + " needs a number, not '" + value + "'");
        return false;
    }
    return true;
}

bool parseHeightOption(const std::string& option, const std::string& value, double& height) {
    if (!parseNumberOption(option, value, height)) return false;
    // The engine refuses the same heights; saying so here lets a command
    // stop before it starts on any file.
    if (!(std::isfinite(height) && height > 0.0 && height <= std::numeric_limits<float>::max())) {
        printError(option + " must be a positive number of millimetres no larger than 3.4e38, not '" + value + "'");
        return false;
    }
    return true;
}

bool parseUpOption(const std::string& value, ombrel::UpAxis& up) {
    if (value == "y" || value == "Y") {
        up = ombrel::UpAxis::Y;
    } else if (value == "z" || value == "Z") {
        up = ombrel::UpAxis::Z;
    } else {
        printError("--up needs y or z, not '" + value + "'");
        return false;
    }
    return true;
}
