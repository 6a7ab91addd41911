#include "vekio/VekBlockWalk.h"

#include "support/QMDiskServer.h"
#include "vekio/VekDamage.h"
#include "vekio/VekFileOpen.h"

#include <limits>
#include <new>
#include <sys/stat.h>
#include <sys/types.h>

VekBlockWalk::VekBlockWalk(QMVekIO& io, const QMString& name) : m_io(io), m_file(openVekFileForReading(name)) {
    struct stat info;
    if (opened() && fstat(fileno(m_file), &info) == 0 && info.st_size > 0)
        m_fileSize = static_cast<std::uint64_t>(info.st_size);
}

VekBlockWalk::~VekBlockWalk() {
    if (opened()) std::fclose(m_file);
}

bool VekBlockWalk::opened() const { return m_file != QMDiskServer::s_invalidFile; }

bool VekBlockWalk::start() { return opened() && m_io.readFileHeader(m_file); }

bool VekBlockWalk::next(Vek_Header& header) {
    if (!m_io.readBlockHeader(m_file, header)) return false;
    if (header.tag == QMVekIO::kTagEnd) return false;
    if (header.size >= 16) return true;
    if (VekDamageReport* report = m_io.damageReport())
        report->add({VekDamage::Kind::kBlockSizeInvalid, header.tag, 0});
    return false;
}

void VekBlockWalk::skipBody(const Vek_Header& header) { m_io.skipBlock(m_file, header); }

std::uint64_t VekBlockWalk::allowedElements(const Vek_Header& header, std::uint64_t elementsPerCount,
                                            std::uint64_t elementSize, std::uint64_t bodyBytes) {
    std::uint64_t wanted = std::uint64_t(header.count) * elementsPerCount;
    const off_t position = ftello(m_file);
    const std::uint64_t left =
        position >= 0 && m_fileSize > std::uint64_t(position) ? m_fileSize - std::uint64_t(position) : 0;
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
    const off_t bodyStart = ftello(m_file);
    if (readBytes) std::fread(storage, 1, static_cast<std::size_t>(readBytes), m_file);
    if (readBytes != bodyBytes) fseeko(m_file, bodyStart + static_cast<off_t>(bodyBytes), SEEK_SET);
}
