#include "tools/ombrel/InputChecks.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sys/stat.h>

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
