#include "tools/ombrel/InputChecks.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

std::string checkVekInput(const std::string& path) {
    struct stat info;
    if (stat(path.c_str(), &info) != 0) return path + ": cannot read: " + std::strerror(errno);
    if (S_ISDIR(info.st_mode)) return path + ": cannot read: " + std::strerror(EISDIR);
    if (!S_ISREG(info.st_mode)) return path + ": cannot read: not a regular file";
    std::ifstream in(path, std::ios::binary);
    if (!in) return path + ": cannot read: " + std::strerror(errno);
    char header[32];
    in.read(header, sizeof header);
    if (in.gcount() != static_cast<std::streamsize>(sizeof header))
        return path + ": not a Vek file: too short for a Vek file header";
    if (std::memcmp(header, "Vekb", 4) != 0) return path + ": not a Vek file: no Vek file header";
    return {};
}

std::string inputThatIsTheOutput(const std::string& output, bool standardOutput,
                                 const std::vector<std::string>& inputs) {
    struct stat target;
    // An output that does not exist yet cannot be an input; nor can a
    // device or a pipe be one the engine would read.
    const int found = standardOutput ? fstat(STDOUT_FILENO, &target) : stat(output.c_str(), &target);
    if (found != 0 || !S_ISREG(target.st_mode)) return {};
    for (const std::string& input : inputs) {
        struct stat info;
        if (stat(input.c_str(), &info) == 0 && info.st_dev == target.st_dev && info.st_ino == target.st_ino)
            return input;
    }
    return {};
}
