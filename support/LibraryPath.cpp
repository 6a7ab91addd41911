#include "support/LibraryPath.h"

#include <filesystem>
#include <system_error>

std::string toLibraryPath(const std::string& path) {
    std::error_code error;
    std::filesystem::path absolute = std::filesystem::absolute(path, error);
    if (error) absolute = path;  // no working directory: the path as it is
    const std::string text = absolute.lexically_normal().string();
    return text.find(':') == std::string::npos ? text : ":" + text;
}
