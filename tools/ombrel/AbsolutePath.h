#pragma once

#include <filesystem>
#include <string>

// The absolute, normalised form of a path as the user gave it: what the
// summary shows, and how --texture finds its file however it was written.
inline std::string absolutePath(const std::string& path) {
    std::error_code error;
    const std::filesystem::path absolute = std::filesystem::absolute(path, error);
    return (error ? std::filesystem::path(path) : absolute).lexically_normal().string();
}
