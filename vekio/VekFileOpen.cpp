#include "vekio/VekFileOpen.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

std::FILE* openVekFileForReading(const QMString& name) {
    const char* path = name.getValidFilePath();
    if (!path) return nullptr;
    const int fd = ::open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) return nullptr;
    struct stat info;
    const int flags = fcntl(fd, F_GETFL);
    if (fstat(fd, &info) != 0 || !S_ISREG(info.st_mode) || flags < 0 || fcntl(fd, F_SETFL, flags & ~O_NONBLOCK) != 0) {
        ::close(fd);
        return nullptr;
    }
    std::FILE* file = fdopen(fd, "rb");
    if (!file) ::close(fd);
    return file;
}
