#pragma once

#include <string>
#include <vector>

// A fresh directory under /tmp for one test, removed with everything in it.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& path() const { return m_path; }
    // Absolute path of a file (or sub-path) inside the directory.
    std::string file(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};

std::vector<unsigned char> readFileBytes(const std::string& path);
std::string readFileText(const std::string& path);
void writeFileBytes(const std::string& path, const std::vector<unsigned char>& bytes);
void writeFileText(const std::string& path, const std::string& text);
bool pathExists(const std::string& path);
// The names in a directory, sorted.
std::vector<std::string> directoryEntries(const std::string& directory);
