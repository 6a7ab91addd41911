#include "tools/ombrel/LibraryPath.h"

#include <filesystem>

std::string toLibraryPath(const std::string& userPath) {
    const std::string absolute = std::filesystem::absolute(userPath).lexically_normal().string();
    return absolute.find(':') == std::string::npos ? absolute : ":" + absolute;
}
