#include "tools/ombrel/StandardOutput.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

std::string systemReason(int error) { return std::strerror(error); }

// Writes all of `size` bytes to `fd`, through short writes and signals.
bool writeAll(int fd, const char* data, std::size_t size) {
    while (size > 0) {
        const ssize_t n = ::write(fd, data, size);
        if (n < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        data += n;
        size -= static_cast<std::size_t>(n);
    }
    return true;
}

}  // namespace

bool namesStandardOutput(const std::string& output) {
    return output == "-" || output == "/dev/stdout" || output == "/dev/fd/1" || output == "/proc/self/fd/1";
}

StandardOutputFile::~StandardOutputFile() {
    if (m_scratch) ::unlink(m_path.c_str());
}

bool StandardOutputFile::open(std::string& error) {
    struct stat info;
    if (::fstat(STDOUT_FILENO, &info) != 0) {
        error = "standard output: " + systemReason(errno);
        return false;
    }
    if (!S_ISREG(info.st_mode)) {
        m_path = "/dev/stdout";
        return true;
    }
    const char* directory = std::getenv("TMPDIR");
    std::string pattern = std::string(directory && *directory ? directory : "/tmp") + "/ombrel-stdout-XXXXXX";
    const int fd = ::mkstemp(pattern.data());
    if (fd < 0) {
        error = "cannot make a scratch file for standard output: " + pattern + ": " + systemReason(errno);
        return false;
    }
    ::close(fd);
    m_path = pattern;
    m_scratch = true;
    return true;
}

bool StandardOutputFile::finish(std::string& error) {
    if (!m_scratch) return true;
    const int in = ::open(m_path.c_str(), O_RDONLY | O_CLOEXEC);
    if (in < 0) {
        error = m_path + ": cannot read: " + systemReason(errno);
        return false;
    }
    static char buffer[1 << 16];
    bool ok = true;
    for (;;) {
        const ssize_t n = ::read(in, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            error = m_path + ": cannot read: " + systemReason(errno);
            ok = false;
            break;
        }
        if (n == 0) break;
        if (!writeAll(STDOUT_FILENO, buffer, static_cast<std::size_t>(n))) {
            error = "standard output: write failed: " + systemReason(errno);
            ok = false;
            break;
        }
    }
    ::close(in);
    return ok;
}

int finishStandardOutput(int status) {
    errno = 0;
    if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
        const int error = errno;
        std::fprintf(stderr, "ombrel: standard output: write failed: %s\n",
                     error != 0 ? std::strerror(error) : "an I/O error");
        return status == 0 ? 1 : status;
    }
    return status;
}
