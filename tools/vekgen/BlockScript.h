#pragma once

// BlockScript: a small text description of a Vek file, one item per line,
// turned into exactly the bytes it describes (used by `vekgen blocks` and by
// tests that need hand-made, possibly damaged, files). The grammar is in
// kBlockScriptGrammar.

#include "tools/vekgen/VekWriter.h"

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace vekgen {

extern const char* const kBlockScriptGrammar;

// A syntax error; what() is "line N: ...".
class BlockScriptError : public std::runtime_error {
public:
    BlockScriptError(int line, const std::string& message);
    int line() const { return m_line; }

private:
    int m_line;
};

struct BlockScriptItem {
    enum class Kind { Block, End, Bytes };
    Kind kind = Kind::Block;
    std::uint32_t tag = 0;
    std::uint32_t count = 0;
    std::optional<std::uint32_t> size;  // explicit size field; default 16 + body bytes
    std::uint32_t reserved = 0;
    std::vector<unsigned char> body;  // block body, or the raw bytes of a Bytes item
};

struct BlockScript {
    VekFileHeader header;
    std::vector<BlockScriptItem> items;
};

// Parses the whole description; throws BlockScriptError.
BlockScript parseBlockScript(const std::string& text);
// Writes the items (the header was given to the writer's constructor).
void writeBlockScript(const BlockScript& script, VekWriter& writer);
// Parse and write in memory.
std::vector<unsigned char> blockScriptBytes(const std::string& text);
// Parse, then write the file; nothing is created when the description is
// invalid, and a file that fails half-way is removed.
void writeBlockScriptFile(const std::string& text, const std::string& path);

}  // namespace vekgen
