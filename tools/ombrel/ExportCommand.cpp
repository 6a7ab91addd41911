#include "tools/ombrel/Commands.h"
#include "tools/ombrel/StlExportJob.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

bool parseNumberOption(const std::string& option, const std::string& value, double& number) {
    char* end = nullptr;
    number = std::strtod(value.c_str(), &end);
    if (value.empty() || *end != '\0' || !std::isfinite(number)) {
        std::fprintf(stderr, "ombrel: %s needs a number, not '%s'\n", option.c_str(), value.c_str());
        return false;
    }
    return true;
}

int runExportCommand(const std::vector<std::string>& arguments) {
    StlExportJob job;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        const bool hasValue = i + 1 < arguments.size();
        if (argument == "-o" || argument == "--output") {
            if (!hasValue) {
                std::fprintf(stderr, "ombrel: %s needs a file name\n", argument.c_str());
                return 2;
            }
            job.output = arguments[++i];
        } else if (argument == "--ascii") {
            job.binary = false;
        } else if (argument == "--binary") {
            job.binary = true;
        } else if (argument == "--height") {
            double height = 0.0;
            if (!hasValue) {
                std::fprintf(stderr, "ombrel: --height needs a number\n");
                return 2;
            }
            if (!parseNumberOption(argument, arguments[++i], height)) return 2;
            job.height = height;
        } else if (argument == "--") {
            job.inputs.insert(job.inputs.end(), arguments.begin() + static_cast<long>(i) + 1, arguments.end());
            break;
        } else if (argument.size() > 1 && argument[0] == '-') {
            std::fprintf(stderr, "ombrel: unknown option '%s' (try ombrel --help)\n", argument.c_str());
            return 2;
        } else {
            job.inputs.push_back(argument);
        }
    }
    if (job.output.empty()) {
        std::fprintf(stderr, "ombrel: export needs -o OUT.stl\n");
        return 2;
    }
    return runStlExport(job);
}
