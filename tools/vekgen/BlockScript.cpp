#include "tools/vekgen/BlockScript.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <limits>
#include <sstream>

namespace vekgen {

const char* const kBlockScriptGrammar =
    "One item per line; '#' starts a comment; blank lines are ignored.\n"
    "Blocks are written in the order given; nothing is added implicitly\n"
    "(write 'end' yourself, or leave it out for a file without end block).\n"
    "\n"
    "  header [magic=ABCD] [tail=HEX]  custom file header (first item only);\n"
    "                                  magic: 4 characters (default Vekb),\n"
    "                                  tail: up to 28 bytes, zero padded\n"
    "  noheader                        no file header at all (first item only)\n"
    "  points X Y Z ...                Points block, count = numbers / 3\n"
    "  face4 I I I I ...               Face4 block, count = numbers / 4 (-1: triangle)\n"
    "  uv4 U V U V U V U V ...         UV4 block, count = numbers / 8\n"
    "  mask B ...                      Mask block, bytes 0..255\n"
    "  mrgb W ...                      MRGB block, words 0xMMRRGGBB or decimal\n"
    "  block TAG COUNT [size=N] [reserved=N] [HEX ...]\n"
    "                                  any block; size defaults to 16 + body bytes\n"
    "  end                             end block (tag 0, size 16, count 0)\n"
    "  bytes HEX ...                   raw bytes, e.g. half a block header\n"
    "\n"
    "Integers are decimal or 0x-prefixed hexadecimal; HEX is pairs of hex digits,\n"
    "in one or more words (\"0a0b\" or \"0a 0b\").\n";

BlockScriptError::BlockScriptError(int line, const std::string& message)
    : std::runtime_error("line " + std::to_string(line) + ": " + message), m_line(line) {}

namespace {

class LineParser {
public:
    explicit LineParser(int line) : m_line(line) {}

    [[noreturn]] void fail(const std::string& message) const { throw BlockScriptError(m_line, message); }

    // An integer in [lo, hi], decimal or 0x hexadecimal, optionally negative.
    long long integer(const std::string& word, long long lo, long long hi, const char* what) const {
        const char* p = word.data();
        const char* end = p + word.size();
        bool negative = false;
        if (p < end && (*p == '-' || *p == '+')) negative = *p++ == '-';
        int base = 10;
        if (end - p > 2 && p[0] == '0' && (p[1] == 'x' || p[1] == 'X')) {
            base = 16;
            p += 2;
        }
        unsigned long long v = 0;
        auto [q, ec] = std::from_chars(p, end, v, base);
        if (ec != std::errc() || q != end || p == end) fail(std::string("expected ") + what + ", got \"" + word + "\"");
        if (v > static_cast<unsigned long long>(std::numeric_limits<long long>::max()))
            fail(std::string(what) + " out of range: " + word);
        const long long s = negative ? -static_cast<long long>(v) : static_cast<long long>(v);
        if (s < lo || s > hi) fail(std::string(what) + " out of range: " + word);
        return s;
    }

    std::uint32_t u32(const std::string& word, const char* what) const {
        return static_cast<std::uint32_t>(integer(word, 0, std::numeric_limits<std::uint32_t>::max(), what));
    }

    float real(const std::string& word) const {
        float v = 0;
        const char* p = word.data();
        const char* end = p + word.size();
        if (p < end && *p == '+') ++p;
        auto [q, ec] = std::from_chars(p, end, v);
        if (ec != std::errc() || q != end || p == end) fail("expected a number, got \"" + word + "\"");
        return v;
    }

    void hex(const std::string& word, std::vector<unsigned char>& out) const {
        std::string digits = word;
        if (digits.size() >= 2 && digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X')) digits.erase(0, 2);
        if (digits.empty() || digits.size() % 2 != 0) fail("expected pairs of hex digits, got \"" + word + "\"");
        for (std::size_t i = 0; i < digits.size(); i += 2) {
            unsigned v = 0;
            auto [q, ec] = std::from_chars(digits.data() + i, digits.data() + i + 2, v, 16);
            if (ec != std::errc() || q != digits.data() + i + 2)
                fail("expected pairs of hex digits, got \"" + word + "\"");
            out.push_back(static_cast<unsigned char>(v));
        }
    }

    std::size_t groups(const std::vector<std::string>& args, std::size_t n, const char* what) const {
        if (args.size() % n != 0)
            fail(std::string(what) + " needs a multiple of " + std::to_string(n) + " numbers, got " +
                 std::to_string(args.size()));
        if (args.size() / n > std::numeric_limits<std::uint32_t>::max()) fail("too many values");
        return args.size() / n;
    }

private:
    int m_line;
};

void putU32(std::vector<unsigned char>& out, std::uint32_t v) {
    unsigned char b[4];
    storeU32(b, v);
    out.insert(out.end(), b, b + 4);
}

void putF32(std::vector<unsigned char>& out, float f) {
    std::uint32_t bits;
    std::memcpy(&bits, &f, sizeof bits);
    putU32(out, bits);
}

}  // namespace

BlockScript parseBlockScript(const std::string& text) {
    BlockScript script;
    std::istringstream in(text);
    std::string raw;
    int lineNo = 0;
    bool anyItem = false;
    while (std::getline(in, raw)) {
        ++lineNo;
        if (auto hash = raw.find('#'); hash != std::string::npos) raw.erase(hash);
        std::istringstream words(raw);
        std::string keyword;
        if (!(words >> keyword)) continue;
        std::vector<std::string> args;
        for (std::string w; words >> w;) args.push_back(w);
        const LineParser p(lineNo);
        const bool first = !anyItem;
        anyItem = true;

        BlockScriptItem item;
        if (keyword == "header" || keyword == "noheader") {
            if (!first) p.fail(keyword + " must be the first item");
            if (keyword == "noheader") {
                if (!args.empty()) p.fail("noheader takes no arguments");
                script.header.present = false;
                continue;
            }
            for (const std::string& a : args) {
                if (a.rfind("magic=", 0) == 0) {
                    const std::string m = a.substr(6);
                    if (m.size() != 4) p.fail("magic must be 4 characters, got \"" + m + "\"");
                    for (int i = 0; i < 4; ++i) script.header.magic[i] = static_cast<unsigned char>(m[i]);
                } else if (a.rfind("tail=", 0) == 0) {
                    std::vector<unsigned char> tail;
                    p.hex(a.substr(5), tail);
                    if (tail.size() > kFileHeaderTailSize) p.fail("the header tail has at most 28 bytes");
                    script.header.tail = {};
                    std::copy(tail.begin(), tail.end(), script.header.tail.begin());
                } else {
                    p.fail("unknown header option \"" + a + "\"");
                }
            }
            continue;
        }
        if (keyword == "points") {
            item.tag = kTagPoints;
            item.count = static_cast<std::uint32_t>(p.groups(args, 3, "points"));
            for (const std::string& a : args) putF32(item.body, p.real(a));
        } else if (keyword == "face4") {
            item.tag = kTagFace4;
            item.count = static_cast<std::uint32_t>(p.groups(args, 4, "face4"));
            for (const std::string& a : args)
                putU32(item.body, static_cast<std::uint32_t>(static_cast<std::int32_t>(
                                      p.integer(a, std::numeric_limits<std::int32_t>::min(),
                                                std::numeric_limits<std::int32_t>::max(), "a vertex index"))));
        } else if (keyword == "uv4") {
            item.tag = kTagUV4;
            item.count = static_cast<std::uint32_t>(p.groups(args, 8, "uv4"));
            for (const std::string& a : args) putF32(item.body, p.real(a));
        } else if (keyword == "mask") {
            item.tag = kTagMask;
            item.count = static_cast<std::uint32_t>(p.groups(args, 1, "mask"));
            for (const std::string& a : args)
                item.body.push_back(static_cast<unsigned char>(p.integer(a, 0, 255, "a byte")));
        } else if (keyword == "mrgb") {
            item.tag = kTagMRGB;
            item.count = static_cast<std::uint32_t>(p.groups(args, 1, "mrgb"));
            for (const std::string& a : args) putU32(item.body, p.u32(a, "a colour word"));
        } else if (keyword == "block") {
            if (args.size() < 2) p.fail("block needs TAG and COUNT");
            item.tag = p.u32(args[0], "a tag");
            item.count = p.u32(args[1], "a count");
            for (std::size_t i = 2; i < args.size(); ++i) {
                const std::string& a = args[i];
                if (a.rfind("size=", 0) == 0)
                    item.size = p.u32(a.substr(5), "a size");
                else if (a.rfind("reserved=", 0) == 0)
                    item.reserved = p.u32(a.substr(9), "a value");
                else
                    p.hex(a, item.body);
            }
        } else if (keyword == "end") {
            if (!args.empty()) p.fail("end takes no arguments");
            item.kind = BlockScriptItem::Kind::End;
        } else if (keyword == "bytes") {
            item.kind = BlockScriptItem::Kind::Bytes;
            for (const std::string& a : args) p.hex(a, item.body);
        } else {
            p.fail("unknown item \"" + keyword + "\"");
        }
        if (item.kind == BlockScriptItem::Kind::Block && !item.size &&
            item.body.size() > std::numeric_limits<std::uint32_t>::max() - kBlockHeaderSize)
            p.fail("block too large");
        script.items.push_back(std::move(item));
    }
    return script;
}

void writeBlockScript(const BlockScript& script, VekWriter& w) {
    for (const BlockScriptItem& item : script.items) {
        switch (item.kind) {
            case BlockScriptItem::Kind::Block:
                w.rawBlock(item.tag, item.count, item.body, item.size, item.reserved);
                break;
            case BlockScriptItem::Kind::End:
                w.endBlock();
                break;
            case BlockScriptItem::Kind::Bytes:
                w.rawBytes(item.body);
                break;
        }
    }
}

std::vector<unsigned char> blockScriptBytes(const std::string& text) {
    const BlockScript script = parseBlockScript(text);
    VekWriter w = VekWriter::inMemory(script.header);
    writeBlockScript(script, w);
    w.close();
    return w.bytes();
}

void writeBlockScriptFile(const std::string& text, const std::string& path) {
    const BlockScript script = parseBlockScript(text);
    VekWriter w(path, script.header);
    try {
        writeBlockScript(script, w);
        w.close();
    } catch (...) {
        std::remove(path.c_str());
        throw;
    }
}

}  // namespace vekgen
