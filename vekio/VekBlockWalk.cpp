#include "vekio/VekBlockWalk.h"

#include "support/QMDiskServer.h"
#include "vekio/VekDamage.h"
#include "vekio/VekFileOpen.h"

#include <cstring>
#include <limits>
#include <new>
#include <sys/stat.h>
#include <sys/types.h>

Vek_Header decodeBlockHeader(const unsigned char* bytes) {
    Vek_Header header;
    std::memcpy(&header.tag, bytes, 4);
    std::memcpy(&header.size, bytes + 4, 4);
    std::memcpy(&header.count, bytes + 8, 4);
    std::memcpy(&header.reserved, bytes + 12, 4);
    return header;
}

VekBlockWalk::VekBlockWalk(QMVekIO& io, const QMString& name) : m_io(io), m_file(openVekFileForReading(name)) {
    struct stat info;
    if (opened() && fstat(fileno(m_file), &info) == 0 && info.st_size > 0) m_size = static_cast<std::uint64_t>(info.st_size);
}

VekBlockWalk::VekBlockWalk(QMVekIO& io, const VekBytes& bytes)
    : m_io(io), m_bytes(bytes.data), m_inMemory(true), m_size(bytes.data ? bytes.size : 0) {}

VekBlockWalk::~VekBlockWalk() {
    if (m_file) std::fclose(m_file);
}

bool VekBlockWalk::opened() const { return m_inMemory || m_file != QMDiskServer::s_invalidFile; }

std::uint64_t VekBlockWalk::position() const {
    if (m_inMemory) return m_position;
    const off_t at = ftello(m_file);
    return at >= 0 ? std::uint64_t(at) : m_size;
}

std::uint64_t VekBlockWalk::readSome(void* to, std::uint64_t count) {
    if (!m_inMemory) return std::fread(to, 1, static_cast<std::size_t>(count), m_file);
    const std::uint64_t left = m_position < m_size ? m_size - m_position : 0;
    const std::uint64_t got = std::min(count, left);
    if (got) std::memcpy(to, m_bytes + m_position, static_cast<std::size_t>(got));
    m_position += got;
    return got;
}

void VekBlockWalk::moveTo(std::uint64_t to) {
    if (m_inMemory) {
        m_position = to;
        return;
    }
    if (to <= std::uint64_t(std::numeric_limits<off_t>::max())) fseeko(m_file, static_cast<off_t>(to), SEEK_SET);
}

bool VekBlockWalk::readExactly(void* to, std::uint64_t count) { return readSome(to, count) == count; }

bool VekBlockWalk::readHeader(Vek_Header& header) {
    unsigned char bytes[16];
    if (!readExactly(bytes, sizeof bytes)) return false;
    header = decodeBlockHeader(bytes);
    return true;
}

bool VekBlockWalk::start() {
    unsigned char header[QMVekIO::kFileHeaderSize];
    return opened() && readExactly(header, sizeof header) && isVekFileHeader(header);
}

bool VekBlockWalk::next(Vek_Header& header) {
    if (!readHeader(header)) return false;
    if (header.tag == QMVekIO::kTagEnd) return false;
    if (header.size >= 16) return true;
    if (VekDamageReport* report = m_io.damageReport())
        report->add({VekDamage::Kind::kBlockSizeInvalid, header.tag, 0});
    return false;
}

// The header is already consumed; the size is at least 16 here, so the walk
// moves forward.
void VekBlockWalk::skipBody(const Vek_Header& header) { moveTo(position() + (std::uint64_t(header.size) - 16)); }

std::uint64_t VekBlockWalk::allowedElements(const Vek_Header& header, std::uint64_t elementsPerCount,
                                            std::uint64_t elementSize, std::uint64_t bodyBytes) {
    std::uint64_t wanted = std::uint64_t(header.count) * elementsPerCount;
    const std::uint64_t at = position();
    const std::uint64_t left = m_size > at ? m_size - at : 0;
    const std::uint64_t present = std::min(bodyBytes, left);
    const std::uint64_t presentElements = present / elementSize;
    const bool clamped = wanted * elementSize > present + QMVekIO::kBodyAllowance;
    if (VekDamageReport* report = m_io.damageReport(); report && wanted > presentElements) {
        const auto kind = clamped ? VekDamage::Kind::kCountClamped : VekDamage::Kind::kBodyShorterThanCount;
        // Counted in the block's own unit: whole counted items present.
        report->add({kind, header.tag, header.count - presentElements / elementsPerCount});
    }
    if (clamped) wanted = presentElements;
    if (wanted > std::numeric_limits<std::size_t>::max() / elementSize) throw std::bad_alloc();
    return wanted;
}

void VekBlockWalk::readInto(void* storage, std::uint64_t readBytes, std::uint64_t bodyBytes) {
    const std::uint64_t bodyStart = position();
    if (readBytes) readSome(storage, readBytes);
    if (readBytes != bodyBytes) moveTo(bodyStart + bodyBytes);
}
