#include "ModelText.h"

#include <cstring>

namespace scriptmodel {

std::string openedPath(const std::string& text) {
    std::size_t start = 0;
    const std::size_t colon = text.find(':');
    if (colon != std::string::npos) start = colon + 1;
    const std::size_t slash = text.find('/', start);
    if (slash != std::string::npos) start = slash;
    return text.substr(start);
}

std::string withoutDirectory(const std::string& name) {
    const std::size_t separator = name.find_last_of("/\\");
    return separator == std::string::npos ? name : name.substr(separator + 1);
}

namespace {

// Only a to z have an upper-case form; every other byte stands for itself.
char upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

}  // namespace

bool isOptionWord(const std::string& text, const char* keyword) {
    if (text.size() != std::strlen(keyword)) return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (upper(text[i]) != keyword[i]) return false;
    }
    return true;
}

}  // namespace scriptmodel
