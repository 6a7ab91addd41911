#include "engine/InputCheck.h"

#include "vekio/QMVekIO.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ombrel::engine {

namespace {

Status failure(StatusKind kind, const std::string& path, int error, std::string reason) {
    return Status{kind, path, error, std::move(reason)};
}

Status systemFailure(StatusKind kind, const std::string& path, int error) {
    return failure(kind, path, error, std::strerror(error));
}

}  // namespace

Status checkVekInput(const std::string& path) {
    struct stat info;
    if (stat(path.c_str(), &info) != 0) return systemFailure(StatusKind::kInputMissing, path, errno);
    if (S_ISDIR(info.st_mode)) return systemFailure(StatusKind::kInputMissing, path, EISDIR);
    if (!S_ISREG(info.st_mode)) return failure(StatusKind::kInputMissing, path, 0, "not a regular file");
    // Without blocking: the file may have been swapped for a pipe since.
    const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) return systemFailure(StatusKind::kInputMissing, path, errno);
    std::FILE* file = fdopen(fd, "rb");
    if (!file) {
        const int error = errno;
        ::close(fd);
        return systemFailure(StatusKind::kInputMissing, path, error);
    }
    const bool isVek = QMVekIO().readFileHeader(file);
    std::fclose(file);
    if (!isVek) {
        const char* reason = info.st_size < std::int64_t(QMVekIO::kFileHeaderSize) ? "too short for a Vek file header"
                                                                                   : "no Vek file header";
        return failure(StatusKind::kInputNotVek, path, 0, reason);
    }
    return Status{};
}

}  // namespace ombrel::engine
