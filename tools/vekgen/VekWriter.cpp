#include "tools/vekgen/VekWriter.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <stdexcept>
#include <utility>

namespace vekgen {

namespace {

std::string errnoText() {
    int e = errno;
    return e ? std::string(std::strerror(e)) : std::string("unknown error");
}

}  // namespace

VekWriter::VekWriter(const std::string& path, const VekFileHeader& header)
    : m_path(path), m_buffer(new unsigned char[kBufferSize]) {
    errno = 0;
    m_file.reset(std::fopen(path.c_str(), "wb"));
    if (!m_file) throw std::runtime_error("cannot open " + path + " for writing: " + errnoText());
    writeFileHeader(header);
}

VekWriter::VekWriter(MemoryTag, const VekFileHeader& header)
    : m_path("<memory>"), m_memoryMode(true), m_buffer(new unsigned char[kBufferSize]) {
    writeFileHeader(header);
}

VekWriter VekWriter::inMemory(const VekFileHeader& header) { return VekWriter(MemoryTag{}, header); }

VekWriter::VekWriter(VekWriter&& other) noexcept
    : m_path(std::move(other.m_path)),
      m_file(std::move(other.m_file)),
      m_memoryMode(other.m_memoryMode),
      m_closed(other.m_closed),
      m_memory(std::move(other.m_memory)),
      m_buffer(std::move(other.m_buffer)),
      m_used(std::exchange(other.m_used, 0)),
      m_flushed(std::exchange(other.m_flushed, 0)),
      m_blockOpen(std::exchange(other.m_blockOpen, false)),
      m_blockEnd(std::exchange(other.m_blockEnd, 0)) {
    other.m_closed = true;
}

VekWriter& VekWriter::operator=(VekWriter&& other) noexcept {
    if (this != &other) {
        if (m_file && m_used > 0) std::fwrite(m_buffer.get(), 1, m_used, m_file.get());
        m_path = std::move(other.m_path);
        m_file = std::move(other.m_file);
        m_memoryMode = other.m_memoryMode;
        m_closed = std::exchange(other.m_closed, true);
        m_memory = std::move(other.m_memory);
        m_buffer = std::move(other.m_buffer);
        m_used = std::exchange(other.m_used, 0);
        m_flushed = std::exchange(other.m_flushed, 0);
        m_blockOpen = std::exchange(other.m_blockOpen, false);
        m_blockEnd = std::exchange(other.m_blockEnd, 0);
    }
    return *this;
}

VekWriter::~VekWriter() {
    if (m_file && m_used > 0) {
        // Best effort: a destructor must not throw; close() reports errors.
        std::fwrite(m_buffer.get(), 1, m_used, m_file.get());
    }
}

void VekWriter::writeFileHeader(const VekFileHeader& header) {
    if (!header.present) return;
    putBytes(header.magic.data(), header.magic.size());
    putBytes(header.tail.data(), header.tail.size());
}

void VekWriter::checkOpen() const {
    if (m_closed) throw std::logic_error("VekWriter: " + m_path + " is already closed");
}

void VekWriter::spill() {
    if (m_used == 0) return;
    if (m_memoryMode) {
        m_memory.insert(m_memory.end(), m_buffer.get(), m_buffer.get() + m_used);
    } else {
        errno = 0;
        if (std::fwrite(m_buffer.get(), 1, m_used, m_file.get()) != m_used)
            throw std::runtime_error("cannot write " + m_path + ": " + errnoText());
    }
    m_flushed += m_used;
    m_used = 0;
}

void VekWriter::putBytes(const unsigned char* data, std::size_t n) {
    while (n > 0) {
        if (m_used == kBufferSize) spill();
        std::size_t chunk = std::min(n, kBufferSize - m_used);
        std::memcpy(m_buffer.get() + m_used, data, chunk);
        m_used += chunk;
        data += chunk;
        n -= chunk;
    }
}

void VekWriter::putHeader(std::uint32_t tag, std::uint32_t size, std::uint32_t count, std::uint32_t reserved) {
    putU32(tag);
    putU32(size);
    putU32(count);
    putU32(reserved);
}

std::uint32_t VekWriter::checkedSize(std::uint64_t bodyBytes) const {
    const std::uint64_t size = kBlockHeaderSize + bodyBytes;
    if (bodyBytes > std::numeric_limits<std::uint32_t>::max() || size > std::numeric_limits<std::uint32_t>::max())
        throw std::length_error("VekWriter: a block of " + std::to_string(bodyBytes) +
                                " body bytes does not fit the 32-bit size field (" + m_path + ")");
    return static_cast<std::uint32_t>(size);
}

std::uint32_t VekWriter::checkedCount(std::uint64_t count) const {
    if (count > std::numeric_limits<std::uint32_t>::max())
        throw std::length_error("VekWriter: " + std::to_string(count) +
                                " elements do not fit the 32-bit count field (" + m_path + ")");
    return static_cast<std::uint32_t>(count);
}

void VekWriter::finishPendingBlock() {
    if (!m_blockOpen) return;
    m_blockOpen = false;
    if (offset() != m_blockEnd)
        throw std::logic_error("VekWriter: streamed block body of " + m_path + " ends at byte " +
                               std::to_string(offset()) + " instead of " + std::to_string(m_blockEnd));
}

void VekWriter::beginBlock(std::uint32_t tag, std::uint32_t count, std::uint64_t bodyBytes) {
    checkOpen();
    finishPendingBlock();
    const std::uint32_t size = checkedSize(bodyBytes);
    putHeader(tag, size, count, 0);
    m_blockOpen = true;
    m_blockEnd = offset() + bodyBytes;
}

void VekWriter::points(std::span<const Point3> pts) {
    beginBlock(kTagPoints, checkedCount(pts.size()), std::uint64_t(12) * pts.size());
    for (const Point3& p : pts)
        for (float v : p) putF32(v);
    finishPendingBlock();
}

void VekWriter::points(const float* xyz, std::size_t count) {
    beginBlock(kTagPoints, checkedCount(count), std::uint64_t(12) * count);
    for (std::size_t i = 0; i < 3 * count; ++i) putF32(xyz[i]);
    finishPendingBlock();
}

void VekWriter::face4(std::span<const Face4> faces) {
    beginBlock(kTagFace4, checkedCount(faces.size()), std::uint64_t(16) * faces.size());
    for (const Face4& f : faces)
        for (std::int32_t i : f) putI32(i);
    finishPendingBlock();
}

void VekWriter::face4(const std::int32_t* indices, std::size_t count) {
    beginBlock(kTagFace4, checkedCount(count), std::uint64_t(16) * count);
    for (std::size_t i = 0; i < 4 * count; ++i) putI32(indices[i]);
    finishPendingBlock();
}

void VekWriter::uv4(std::span<const UV4> uvs) {
    beginBlock(kTagUV4, checkedCount(uvs.size()), std::uint64_t(32) * uvs.size());
    for (const UV4& uv : uvs)
        for (float v : uv) putF32(v);
    finishPendingBlock();
}

void VekWriter::uv4(const float* uv, std::size_t faceCount) {
    beginBlock(kTagUV4, checkedCount(faceCount), std::uint64_t(32) * faceCount);
    for (std::size_t i = 0; i < 8 * faceCount; ++i) putF32(uv[i]);
    finishPendingBlock();
}

void VekWriter::mask(std::span<const unsigned char> bytes) {
    beginBlock(kTagMask, checkedCount(bytes.size()), bytes.size());
    putBytes(bytes.data(), bytes.size());
    finishPendingBlock();
}

void VekWriter::mrgb(std::span<const std::uint32_t> words) {
    beginBlock(kTagMRGB, checkedCount(words.size()), std::uint64_t(4) * words.size());
    for (std::uint32_t w : words) putU32(w);
    finishPendingBlock();
}

void VekWriter::endBlock() {
    checkOpen();
    finishPendingBlock();
    putHeader(kTagEnd, static_cast<std::uint32_t>(kBlockHeaderSize), 0, 0);
}

void VekWriter::rawBlock(std::uint32_t tag, std::uint32_t count, std::span<const unsigned char> body,
                         std::optional<std::uint32_t> sizeField, std::uint32_t reserved) {
    checkOpen();
    finishPendingBlock();
    const std::uint32_t size = sizeField ? *sizeField : checkedSize(body.size());
    putHeader(tag, size, count, reserved);
    putBytes(body.data(), body.size());
}

void VekWriter::blockHeader(const VekBlockHeader& header) {
    checkOpen();
    finishPendingBlock();
    putHeader(header.tag, header.size, header.count, header.reserved);
}

void VekWriter::rawBytes(std::span<const unsigned char> bytes) {
    checkOpen();
    finishPendingBlock();
    putBytes(bytes.data(), bytes.size());
}

void VekWriter::close() {
    if (m_closed) return;
    finishPendingBlock();
    spill();
    m_closed = true;
    if (m_file) {
        std::FILE* f = m_file.release();
        errno = 0;
        const bool flushed = std::fflush(f) == 0;
        const std::string flushError = flushed ? std::string() : errnoText();
        errno = 0;
        const bool closed = std::fclose(f) == 0;
        if (!flushed) throw std::runtime_error("cannot write " + m_path + ": " + flushError);
        if (!closed) throw std::runtime_error("cannot close " + m_path + ": " + errnoText());
    }
}

const std::vector<unsigned char>& VekWriter::bytes() {
    if (!m_memoryMode) throw std::logic_error("VekWriter: bytes() is only available for an in-memory writer");
    spill();
    return m_memory;
}

std::vector<unsigned char> vekFileBytes(std::span<const Point3> points, std::span<const Face4> faces,
                                        std::span<const UV4> uvs, std::span<const std::uint32_t> mrgb) {
    VekWriter w = VekWriter::inMemory();
    w.points(points);
    if (!faces.empty()) w.face4(faces);
    if (!uvs.empty()) w.uv4(uvs);
    if (!mrgb.empty()) w.mrgb(mrgb);
    w.endBlock();
    w.close();
    return w.bytes();
}

}  // namespace vekgen
