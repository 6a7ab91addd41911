#include "tools/ombrel/OutputSummary.h"

#include <cstring>
#include <fstream>
#include <string_view>
#include <vector>

namespace {

// Counts a word in the text, reading it in blocks; a match may straddle two
// blocks, so the tail of each block is carried into the next.
std::uint64_t countWord(std::ifstream& in, std::string_view word) {
    std::vector<char> block(1 << 20);
    std::string carry;
    std::uint64_t count = 0;
    while (in) {
        in.read(block.data(), static_cast<std::streamsize>(block.size()));
        std::string text = carry + std::string(block.data(), static_cast<std::size_t>(in.gcount()));
        for (std::size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + word.size())) ++count;
        carry = text.size() >= word.size() ? text.substr(text.size() - (word.size() - 1)) : text;
    }
    return count;
}

}  // namespace

OutputSummary summarizeOutput(const std::string& path, ExportFormat format) {
    OutputSummary summary;
    std::ifstream in(path, std::ios::binary | std::ios::ate);
    if (!in) return summary;
    summary.readable = true;
    summary.bytes = static_cast<std::uint64_t>(in.tellg());
    in.seekg(0);
    if (format == ExportFormat::BinaryStl) {
        char header[84] = {};
        in.read(header, sizeof header);
        std::uint32_t count = 0;
        std::memcpy(&count, header + 80, 4);
        summary.items = count;
    } else {
        summary.items = countWord(in, format == ExportFormat::AsciiStl ? "endfacet" : "Shape { ");
    }
    return summary;
}
