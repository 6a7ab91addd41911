#include "support/QMString.h"

#include <cstring>

// File-name operations of QMString.

namespace {

const char* const s_separators = "/\\";

}  // namespace

const char* QMString::getValidFilePath() const {
    if (!m_buffer) return nullptr;
    // A volume prefix ends at the first colon; the path then starts at the
    // first slash of what follows (or right after the colon without one).
    const char* path = m_buffer;
    if (const char* colon = std::strchr(path, ':')) path = colon + 1;
    if (const char* slash = std::strchr(path, '/')) path = slash;
    return path;
}

QMString QMString::getFileName() const {
    const int separator = findLastCharOf(s_separators);
    const int dot = findLastCharOf(".");
    return subString(separator + 1, dot > separator ? dot : length());
}

void QMString::fileNameAdvance() {
    if (empty()) {
        set("1");
        return;
    }
    const int ownLength = length();
    const int separator = findLastCharOf(s_separators);
    const int dot = findLastCharOf(".");
    // The number ends where the extension starts.
    const int end = dot > separator ? dot : ownLength;

    int i = end - 1;
    while (i >= 0 && m_buffer[i] == '9') --i;

    if (i >= 0 && m_buffer[i] >= '0' && m_buffer[i] <= '8') {
        // A digit below 9 absorbs the carry: ...19 becomes ...20, in place.
        ++m_buffer[i];
        std::memset(m_buffer + i + 1, '0', static_cast<size_t>(end - i - 1));
        return;
    }

    // Otherwise a "1" goes in after position i (at the very front when the
    // nines reach the start) and the nines become zeros: "99" -> "100",
    // "name9" -> "name10", "name" -> "name1".
    const int head = i + 1;
    char* buffer = new char[static_cast<size_t>(ownLength) + 2];
    std::memcpy(buffer, m_buffer, static_cast<size_t>(head));
    buffer[head] = '1';
    std::memset(buffer + head + 1, '0', static_cast<size_t>(end - head));
    std::memcpy(buffer + end + 1, m_buffer + end, static_cast<size_t>(ownLength - end) + 1);
    adopt(buffer);
}
