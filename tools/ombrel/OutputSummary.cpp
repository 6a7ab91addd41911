#include "tools/ombrel/StlSummary.h"

#include <cstring>
#include <fstream>
#include <string_view>
#include <vector>

namespace {

// Counts "endfacet" in the text, reading it in blocks; a match may straddle
// two blocks, so the tail of each block is carried into the next.
std::uint64_t countAsciiFacets(std::ifstream& in) {
    constexpr std::string_view kEnd = "endfacet";
    std::vector<char> block(1 << 20);
    std::string carry;
    std::uint64_t count = 0;
    while (in) {
        in.read(block.data(), static_cast<std::streamsize>(block.size()));
        std::string text = carry + std::string(block.data(), static_cast<std::size_t>(in.gcount()));
        for (std::size_t at = text.find(kEnd); at != std::string::npos; at = text.find(kEnd, at + kEnd.size())) ++count;
        carry = text.size() >= kEnd.size() ? text.substr(text.size() - (kEnd.size() - 1)) : text;
    }
    return count;
}

}  // namespace

StlSummary summarizeStl(const std::string& path, bool binary) {
    StlSummary summary;
    std::ifstream in(path, std::ios::binary | std::ios::ate);
    if (!in) return summary;
    summary.readable = true;
    summary.bytes = static_cast<std::uint64_t>(in.tellg());
    in.seekg(0);
    if (binary) {
        char header[84] = {};
        in.read(header, sizeof header);
        std::uint32_t count = 0;
        std::memcpy(&count, header + 80, 4);
        summary.triangles = count;
    } else {
        summary.triangles = countAsciiFacets(in);
    }
    return summary;
}
