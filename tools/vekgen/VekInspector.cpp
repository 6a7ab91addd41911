#include "tools/vekgen/VekInspector.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <functional>
#include <sstream>
#include <sys/types.h>

namespace vekgen {

namespace {

// Reads up to n bytes at an offset; returns how many were read.
using ReadAt = std::function<std::size_t(std::uint64_t offset, unsigned char* out, std::size_t n)>;

std::string hexBytes(const unsigned char* p, std::size_t n) {
    static const char digits[] = "0123456789abcdef";
    std::string s;
    for (std::size_t i = 0; i < n; ++i) {
        if (i) s += ' ';
        s += digits[p[i] >> 4];
        s += digits[p[i] & 15];
    }
    return s;
}

std::string printable(const unsigned char* p, std::size_t n) {
    std::string s;
    for (std::size_t i = 0; i < n; ++i) s += (p[i] >= 0x20 && p[i] < 0x7f) ? char(p[i]) : '.';
    return s;
}

std::string describeBlock(const VekBlockInfo& b) {
    return "block " + b.name + " (tag " + std::to_string(b.tag) + ") at offset " + std::to_string(b.offset);
}

VekInspection walk(std::uint64_t fileSize, const ReadAt& readAt) {
    VekInspection r;
    r.fileSize = fileSize;

    unsigned char header[kFileHeaderSize] = {};
    const std::size_t headerBytes =
        readAt(0, header, fileSize < kFileHeaderSize ? std::size_t(fileSize) : kFileHeaderSize);
    std::memcpy(r.magic.data(), header, std::min<std::size_t>(headerBytes, 4));
    if (headerBytes < kFileHeaderSize) {
        r.status = VekStatus::NotVek;
        r.message = "not a Vek file: " + std::to_string(headerBytes) + " bytes, shorter than the 32-byte file header";
        return r;
    }
    if (std::memcmp(header, kMagic, 4) != 0) {
        r.status = VekStatus::NotVek;
        r.message = "not a Vek file: the file starts with " + hexBytes(header, 4) + " (\"" + printable(header, 4) +
                    "\") instead of \"Vekb\"";
        return r;
    }

    std::uint64_t pos = kFileHeaderSize;
    for (;;) {
        const std::uint64_t left = fileSize - pos;
        if (left == 0) {
            r.status = VekStatus::Truncated;
            r.message = "truncated: no end block, the file ends after " + std::to_string(r.blocks.size()) +
                        " blocks at offset " + std::to_string(pos);
            return r;
        }
        unsigned char raw[kBlockHeaderSize];
        const std::size_t got =
            left < kBlockHeaderSize ? readAt(pos, raw, std::size_t(left)) : readAt(pos, raw, kBlockHeaderSize);
        if (got < kBlockHeaderSize) {
            r.status = VekStatus::Truncated;
            r.message = "truncated: the block header at offset " + std::to_string(pos) + " has only " +
                        std::to_string(got) + " of its 16 bytes";
            return r;
        }
        VekBlockInfo b;
        b.offset = pos;
        b.tag = loadU32(raw);
        b.size = loadU32(raw + 4);
        b.count = loadU32(raw + 8);
        b.reserved = loadU32(raw + 12);
        b.name = blockName(b.tag);

        if (b.tag == kTagEnd) {
            r.blocks.push_back(b);
            r.endBlockFound = true;
            r.trailingBytes = fileSize - pos - kBlockHeaderSize;
            if (b.size != kBlockHeaderSize || b.count != 0 || b.reserved != 0)
                r.warnings.push_back("end block at offset " + std::to_string(pos) + " has size " +
                                     std::to_string(b.size) + ", count " + std::to_string(b.count) + ", reserved " +
                                     std::to_string(b.reserved) + " (expected 16, 0, 0)");
            if (r.trailingBytes > 0)
                r.warnings.push_back(std::to_string(r.trailingBytes) + " bytes follow the end block");
            r.status = VekStatus::Ok;
            r.message = "ok: " + std::to_string(r.blocks.size() - 1) + " blocks before the end block at offset " +
                        std::to_string(pos);
            return r;
        }
        if (b.size < kBlockHeaderSize) {
            r.status = VekStatus::Damaged;
            r.message = "damaged: " + describeBlock(b) + " has size " + std::to_string(b.size) +
                        ", smaller than its 16-byte header";
            r.badBlock = b;
            return r;
        }
        if (b.size > left) {
            r.status = VekStatus::Truncated;
            r.message = "truncated: " + describeBlock(b) + " has size " + std::to_string(b.size) + " but only " +
                        std::to_string(left) + " bytes are left in the file";
            r.badBlock = b;
            return r;
        }
        if (isKnownTag(b.tag)) {
            const std::uint64_t expected = expectedBlockSize(b.tag, b.count);
            b.sizeMatchesCount = expected == b.size;
            if (!b.sizeMatchesCount)
                r.warnings.push_back(describeBlock(b) + ": size " + std::to_string(b.size) + " does not match count " +
                                     std::to_string(b.count) + " (expected " + std::to_string(expected) + ")");
        }
        if (b.reserved != 0)
            r.warnings.push_back(describeBlock(b) + ": reserved field is " + std::to_string(b.reserved) + ", not 0");
        r.blocks.push_back(b);
        pos += b.size;
    }
}

}  // namespace

const char* statusName(VekStatus status) {
    switch (status) {
        case VekStatus::Ok:
            return "ok";
        case VekStatus::CannotOpen:
            return "cannot open";
        case VekStatus::NotVek:
            return "not a Vek file";
        case VekStatus::Truncated:
            return "truncated";
        case VekStatus::Damaged:
            return "damaged";
    }
    return "?";
}

VekInspection VekInspector::inspectBytes(std::span<const unsigned char> bytes) {
    return walk(bytes.size(), [&](std::uint64_t offset, unsigned char* out, std::size_t n) {
        if (offset >= bytes.size()) return std::size_t(0);
        const std::size_t avail = std::size_t(bytes.size() - offset);
        const std::size_t k = n < avail ? n : avail;
        std::memcpy(out, bytes.data() + offset, k);
        return k;
    });
}

VekInspection VekInspector::inspectFile(const std::string& path) {
    auto fail = [&](const std::string& why) {
        VekInspection r;
        r.status = VekStatus::CannotOpen;
        r.message = "cannot open " + path + ": " + why;
        return r;
    };
    std::error_code ec;
    if (std::filesystem::is_directory(path, ec)) return fail("it is a directory");
    // A pipe or a device could block the read for ever, or never end.
    const std::filesystem::file_status kind = std::filesystem::status(path, ec);
    if (!ec && std::filesystem::exists(kind) && !std::filesystem::is_regular_file(kind))
        return fail("not a regular file");
    errno = 0;
    std::FILE* f = std::fopen(path.c_str(), "rb");
    if (!f) return fail(errno ? std::strerror(errno) : "unknown error");
    if (fseeko(f, 0, SEEK_END) != 0) {
        std::fclose(f);
        return fail("cannot determine its size");
    }
    const off_t end = ftello(f);
    if (end < 0) {
        std::fclose(f);
        return fail("cannot determine its size");
    }
    VekInspection r =
        walk(static_cast<std::uint64_t>(end), [&](std::uint64_t offset, unsigned char* out, std::size_t n) {
            if (fseeko(f, static_cast<off_t>(offset), SEEK_SET) != 0) return std::size_t(0);
            return std::fread(out, 1, n, f);
        });
    std::fclose(f);
    return r;
}

std::string VekInspector::format(const VekInspection& r, const std::string& title) {
    std::ostringstream out;
    if (r.status == VekStatus::CannotOpen) {
        if (!title.empty()) out << title << '\n';
        out << "  " << r.message << '\n';
        return out.str();
    }
    if (!title.empty()) out << title << ": ";
    out << r.fileSize << " bytes\n";
    if (!r.blocks.empty() || r.badBlock) {
        char line[160];
        std::snprintf(line, sizeof line, "  %12s %10s  %-8s %10s %12s\n", "offset", "tag", "name", "count", "size");
        out << line;
        auto row = [&](const VekBlockInfo& b, const char* note) {
            std::snprintf(line, sizeof line, "  %12llu %10lu  %-8s %10lu %12lu%s\n",
                          static_cast<unsigned long long>(b.offset), static_cast<unsigned long>(b.tag), b.name.c_str(),
                          static_cast<unsigned long>(b.count), static_cast<unsigned long>(b.size), note);
            out << line;
        };
        for (const VekBlockInfo& b : r.blocks) row(b, b.sizeMatchesCount ? "" : "  (size/count mismatch)");
        if (r.badBlock) row(*r.badBlock, r.status == VekStatus::Damaged ? "  (damaged)" : "  (incomplete)");
    }
    for (const std::string& w : r.warnings) out << "  warning: " << w << '\n';
    out << "  " << r.message << '\n';
    return out.str();
}

}  // namespace vekgen
