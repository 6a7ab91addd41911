#include "tools/ombrel/InputChecks.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace fs = std::filesystem;

std::string checkVekInput(const std::string& path) {
    std::error_code error;
    fs::file_status status = fs::status(path, error);
    if (!fs::exists(status)) return path + ": no such file";
    if (!fs::is_regular_file(status)) return path + ": not a regular file";
    std::ifstream in(path, std::ios::binary);
    if (!in) return path + ": cannot read: " + std::strerror(errno);
    char header[32];
    in.read(header, sizeof header);
    if (in.gcount() != static_cast<std::streamsize>(sizeof header) || std::memcmp(header, "Vekb", 4) != 0)
        return path + ": not a Vek file";
    return {};
}

std::string checkWritableOutput(const std::string& path) {
    if (path.empty()) return "no output file given";
    std::error_code error;
    fs::path target = fs::absolute(path, error);
    if (fs::is_directory(target, error)) return path + ": is a directory";
    fs::path directory = target.parent_path();
    if (!fs::is_directory(directory, error)) return path + ": no such directory " + directory.string();
    if (fs::exists(target, error) ? access(target.c_str(), W_OK) != 0 : access(directory.c_str(), W_OK) != 0)
        return path + ": cannot write: " + std::strerror(errno);
    return {};
}
