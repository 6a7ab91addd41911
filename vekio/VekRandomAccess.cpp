#include "vekio/VekRandomAccess.h"

#include "vekio/VekFileOpen.h"

#include <cerrno>
#include <cstring>
#include <limits>
#include <sys/types.h>
#include <unistd.h>

VekRandomAccess::VekRandomAccess(const QMString& name) : m_file(openVekFileForReading(name)) {}

VekRandomAccess::VekRandomAccess(const VekBytes& bytes) : m_bytes(bytes.data), m_size(bytes.data ? bytes.size : 0) {}

VekRandomAccess::~VekRandomAccess() {
    if (m_file) std::fclose(m_file);
}

bool VekRandomAccess::readAt(std::uint64_t offset, void* to, std::size_t count) const {
    unsigned char* out = static_cast<unsigned char*>(to);
    std::size_t done = 0;
    if (m_bytes) {
        if (offset < m_size) {
            done = static_cast<std::size_t>(std::min<std::uint64_t>(count, m_size - offset));
            std::memcpy(out, m_bytes + offset, done);
        }
    } else if (m_file) {
        // pread moves no shared file position, so readers on other threads
        // do not disturb each other.
        const int fd = fileno(m_file);
        while (done < count) {
            const std::uint64_t at = offset + done;
            if (at > std::uint64_t(std::numeric_limits<off_t>::max())) break;
            const ssize_t got = pread(fd, out + done, count - done, static_cast<off_t>(at));
            if (got < 0 && errno == EINTR) continue;
            if (got <= 0) break;
            done += static_cast<std::size_t>(got);
        }
    }
    if (done < count) std::memset(out + done, 0, count - done);
    return done == count;
}
