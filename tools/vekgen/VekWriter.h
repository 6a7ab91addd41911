#pragma once

// VekWriter: writes a Vek file block by block.
//
// The writer streams through a fixed 1 MiB buffer, so arbitrarily large files
// can be written without holding them in memory. Every multi-byte value is
// written as explicit little-endian bytes, whatever the machine.
//
// Besides well-formed blocks it writes anything a test of a damaged file
// needs: blocks with unknown tags or wrong size/count fields, bare block
// headers, arbitrary bytes, a wrong magic or no file header at all. The
// end block is never added implicitly: call endBlock() before close().
//
//   vekgen::VekWriter w("/tmp/cube.vek");
//   w.points(points);
//   w.face4(faces);
//   w.endBlock();
//   w.close();
//
// VekWriter::inMemory() collects the bytes instead (see bytes()).

#include "tools/vekgen/VekFormat.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace vekgen {

using Point3 = std::array<float, 3>;
using Face4 = std::array<std::int32_t, 4>;
// u0 v0 u1 v1 u2 v2 u3 v3: one (u, v) per corner, in the order of the face's indices.
using UV4 = std::array<float, 8>;

// The 32-byte file header. The default is the valid header; tests change the
// magic or the tail, or leave the header out entirely.
struct VekFileHeader {
    bool present = true;
    std::array<unsigned char, 4> magic{'V', 'e', 'k', 'b'};
    std::array<unsigned char, kFileHeaderTailSize> tail{};
};

class VekWriter {
public:
    // Creates (truncates) the file and writes the file header. Throws
    // std::runtime_error naming the path when the file cannot be opened.
    explicit VekWriter(const std::string& path, const VekFileHeader& header = VekFileHeader{});
    // A writer that keeps the bytes in memory; read them with bytes().
    static VekWriter inMemory(const VekFileHeader& header = VekFileHeader{});

    VekWriter(VekWriter&&) noexcept;
    VekWriter& operator=(VekWriter&&) noexcept;
    VekWriter(const VekWriter&) = delete;
    VekWriter& operator=(const VekWriter&) = delete;
    // Flushes and closes a file that was not closed; errors are ignored here.
    ~VekWriter();

    // ---- well-formed blocks (count and size derived from the data)
    void points(std::span<const Point3> points);
    void points(const float* xyz, std::size_t count);
    void face4(std::span<const Face4> faces);
    void face4(const std::int32_t* indices, std::size_t count);
    void uv4(std::span<const UV4> uvs);
    void uv4(const float* uv, std::size_t faceCount);  // 8 floats per face
    void mask(std::span<const unsigned char> mask);
    void mrgb(std::span<const std::uint32_t> words);
    // The end block: tag 0, size 16, count 0, reserved 0.
    void endBlock();

    // ---- anything else
    // A block with any tag. The size field is 16 + body size unless an
    // explicit (possibly wrong) value is given; the whole body is written
    // in any case.
    void rawBlock(std::uint32_t tag, std::uint32_t count, std::span<const unsigned char> body,
                  std::optional<std::uint32_t> sizeField = std::nullopt, std::uint32_t reserved = 0);
    // A bare block header with the given fields and no body.
    void blockHeader(const VekBlockHeader& header);
    // Arbitrary bytes, e.g. half a block header at the end of a truncated file.
    void rawBytes(std::span<const unsigned char> bytes);

    // ---- streamed blocks
    // Writes the header of a block whose body of exactly bodyBytes bytes
    // follows through the put*() calls. The next block (or close()) checks
    // that the body is complete and throws std::logic_error if it is not.
    void beginBlock(std::uint32_t tag, std::uint32_t count, std::uint64_t bodyBytes);
    void putU8(std::uint8_t v) {
        reserve(1);
        m_buffer[m_used++] = v;
    }
    void putU32(std::uint32_t v) {
        reserve(4);
        storeU32(m_buffer.get() + m_used, v);
        m_used += 4;
    }
    void putI32(std::int32_t v) { putU32(static_cast<std::uint32_t>(v)); }
    void putF32(float v) {
        std::uint32_t bits;
        std::memcpy(&bits, &v, sizeof bits);
        putU32(bits);
    }

    // Bytes written so far, file header included (the offset of the next byte).
    std::uint64_t offset() const { return m_flushed + m_used; }
    const std::string& path() const { return m_path; }

    // Flushes and closes the file; throws std::runtime_error on a write error.
    // For an in-memory writer it only completes the bytes. Idempotent.
    void close();
    // The bytes of an in-memory writer (everything written so far).
    const std::vector<unsigned char>& bytes();

private:
    struct MemoryTag {};
    explicit VekWriter(MemoryTag, const VekFileHeader& header);
    void writeFileHeader(const VekFileHeader& header);
    void finishPendingBlock();
    void checkOpen() const;
    void reserve(std::size_t n) {
        if (m_used + n > kBufferSize) spill();
    }
    void spill();
    void putBytes(const unsigned char* data, std::size_t n);
    void putHeader(std::uint32_t tag, std::uint32_t size, std::uint32_t count, std::uint32_t reserved);
    std::uint32_t checkedSize(std::uint64_t bodyBytes) const;
    std::uint32_t checkedCount(std::uint64_t count) const;

    static constexpr std::size_t kBufferSize = std::size_t(1) << 20;

    struct FileCloser {
        void operator()(std::FILE* f) const { std::fclose(f); }
    };

    std::string m_path;  // "<memory>" for an in-memory writer
    std::unique_ptr<std::FILE, FileCloser> m_file;
    bool m_memoryMode = false;
    bool m_closed = false;
    std::vector<unsigned char> m_memory;
    std::unique_ptr<unsigned char[]> m_buffer;
    std::size_t m_used = 0;
    std::uint64_t m_flushed = 0;
    // Streamed block in progress: where its body ends.
    bool m_blockOpen = false;
    std::uint64_t m_blockEnd = 0;
};

// Convenience: the bytes of a well-formed file: a Points block, then Face4,
// UV4 and MRGB blocks for the spans that are not empty, then the end block.
std::vector<unsigned char> vekFileBytes(std::span<const Point3> points, std::span<const Face4> faces = {},
                                        std::span<const UV4> uvs = {}, std::span<const std::uint32_t> mrgb = {});

}  // namespace vekgen
