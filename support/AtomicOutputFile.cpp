#include "support/AtomicOutputFile.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

std::string directoryOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    if (slash == 0) return "/";
    return path.substr(0, slash);
}

std::string fileNameOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

// Whether the kernel would refuse to follow the symbolic link `link` (whose
// lstat is `info`) for a plain fopen: a link in a sticky, world-writable
// directory (such as /tmp), owned neither by the caller nor by the
// directory's owner, may have been planted there by another user.
bool isPlantedLink(const std::string& link, const struct stat& info) {
    struct stat directory;
    if (stat(directoryOf(link).c_str(), &directory) != 0) return false;
    const bool shared = (directory.st_mode & S_ISVTX) != 0 && (directory.st_mode & S_IWOTH) != 0;
    return shared && info.st_uid != geteuid() && info.st_uid != directory.st_uid;
}

// The file a destination names: the target of a symbolic link (so that the
// link itself survives), as fopen would follow it, also when it points at a
// file that does not exist yet; otherwise the path itself. False (errno
// EACCES) for a link the kernel would not follow.
bool resolveDestination(const char* path, std::string& resolved) {
    resolved = path;
    for (int links = 0; links < 40; ++links) {
        struct stat info;
        if (lstat(resolved.c_str(), &info) != 0 || !S_ISLNK(info.st_mode)) return true;
        if (isPlantedLink(resolved, info)) {
            errno = EACCES;
            return false;
        }
        struct stat target;
        if (stat(resolved.c_str(), &target) == 0) {
            // It leads somewhere: to that file, or, for the kernel's own links
            // to open files (/dev/stdout, a pipe), to the link itself.
            if (char* real = realpath(resolved.c_str(), nullptr)) {
                resolved = real;
                std::free(real);
            }
            return true;
        }
        // A link to a file that does not exist yet: one step along it.
        std::string next(std::size_t(info.st_size > 0 ? info.st_size : 4096) + 1, '\0');
        const ssize_t length = readlink(resolved.c_str(), next.data(), next.size());
        if (length <= 0 || std::size_t(length) >= next.size()) return true;
        next.resize(std::size_t(length));
        resolved = next[0] == '/' ? next : directoryOf(resolved) + "/" + next;
    }
    errno = ELOOP;
    return false;
}

// A hidden name beside the destination, different at every call.
std::string hiddenNameFor(const std::string& destination) {
    static std::atomic<unsigned> counter{0};
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    const unsigned long long mix = (static_cast<unsigned long long>(now) * 0x9E3779B97F4A7C15ull) ^
                                   (static_cast<unsigned long long>(getpid()) << 20) ^ counter.fetch_add(1);
    static const char digits[] = "0123456789abcdefghijklmnopqrstuvwxyz";
    std::string suffix;
    for (unsigned long long rest = mix; suffix.size() < 8; rest /= 36) suffix += digits[rest % 36];
    const std::string directory = directoryOf(destination);
    const std::string prefix = directory == "/" ? "/" : directory + "/";
    return prefix + "." + fileNameOf(destination) + "." + suffix;
}

constexpr int kNameAttempts = 64;

}  // namespace

bool AtomicOutputFile::s_useNamelessFiles = true;

AtomicOutputFile::~AtomicOutputFile() { discard(); }

std::FILE* AtomicOutputFile::open(const QMString& path, const char* mode) {
    discard();
    m_error = 0;
    const char* validPath = path.getValidFilePath();
    if (!validPath || !*validPath || !mode) {
        m_error = ENOENT;
        return nullptr;
    }
    std::string destination;
    if (!resolveDestination(validPath, destination)) {
        m_error = errno;
        return nullptr;
    }

    // Refuse what fopen(path, "w") would refuse, before anything is written.
    struct stat existing;
    const bool exists = stat(destination.c_str(), &existing) == 0;
    if (exists && S_ISDIR(existing.st_mode)) {
        m_error = EISDIR;
        return nullptr;
    }
    if (exists && access(destination.c_str(), W_OK) != 0) {
        m_error = errno;
        return nullptr;
    }

    // A device, a pipe or a socket cannot be replaced by a file, and a file
    // with several names would lose the others: those are written in place.
    if (exists && (!S_ISREG(existing.st_mode) || existing.st_nlink > 1)) return openInPlace(destination, mode);

    // A nameless file (O_TMPFILE) vanishes with the process if the export
    // never completes; file systems without them get a hidden named file.
    int fd = -1;
    if (s_useNamelessFiles) {
        fd = ::open(directoryOf(destination).c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0666);
    } else {
        errno = EOPNOTSUPP;
    }
    std::string hiddenName;
    if (fd < 0 && (errno == EOPNOTSUPP || errno == EISDIR || errno == EINVAL)) {
        for (int attempt = 0; attempt < kNameAttempts && fd < 0; ++attempt) {
            hiddenName = hiddenNameFor(destination);
            fd = ::open(hiddenName.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
            if (fd < 0 && errno != EEXIST) break;
        }
    }
    if (fd < 0) {
        // A directory that takes no new file may still hold a file that can
        // be written: written in place, as fopen would, without the
        // guarantee of a whole replacement.
        const int error = errno;
        if (exists && (error == EACCES || error == EPERM)) return openInPlace(destination, mode);
        m_error = error;
        return nullptr;
    }
    if (exists) {
        // The replacement keeps the file's owner (when allowed) and permissions.
        if (fchown(fd, existing.st_uid, existing.st_gid) != 0) {
            // Not ours to give away: the new file stays the writer's.
        }
        fchmod(fd, existing.st_mode & 07777);
    }

    m_stream = fdopen(fd, mode);
    if (!m_stream) {
        m_error = errno;
        ::close(fd);
        if (!hiddenName.empty()) unlink(hiddenName.c_str());
        return nullptr;
    }
    m_destination = destination;
    m_hiddenName = hiddenName;
    return m_stream;
}

std::FILE* AtomicOutputFile::openInPlace(const std::string& destination, const char* mode) {
    // Without blocking: a pipe with no reader fails at once (ENXIO) instead
    // of waiting for one. A file with several names is truncated as fopen
    // would.
    const int fd = ::open(destination.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NONBLOCK | O_CLOEXEC, 0666);
    const int flags = fd < 0 ? -1 : fcntl(fd, F_GETFL);
    if (fd < 0 || flags < 0 || fcntl(fd, F_SETFL, flags & ~O_NONBLOCK) != 0 || !(m_stream = fdopen(fd, mode))) {
        m_error = errno;
        if (fd >= 0) ::close(fd);
        return nullptr;
    }
    m_inPlace = true;
    // A pipe or a socket cannot seek back (to a binary STL's count): the
    // file is made in a scratch file and copied there when complete.
    if (lseek(fileno(m_stream), 0, SEEK_CUR) < 0 && errno == ESPIPE) return stageForStream();
    return m_stream;
}

std::FILE* AtomicOutputFile::stageForStream() {
    m_streamTarget = m_stream;
    m_stream = std::tmpfile();
    if (!m_stream) {
        m_error = errno;
        std::fclose(m_streamTarget);
        m_streamTarget = nullptr;
        m_inPlace = false;
    }
    return m_stream;
}

bool AtomicOutputFile::copyStagedToStream() {
    static constexpr std::size_t kBlock = std::size_t(1) << 20;
    std::unique_ptr<char[]> block(new char[kBlock]);
    if (std::fseek(m_stream, 0, SEEK_SET) != 0) return false;
    for (;;) {
        const std::size_t got = std::fread(block.get(), 1, kBlock, m_stream);
        if (got == 0) return !std::ferror(m_stream);
        if (std::fwrite(block.get(), 1, got, m_streamTarget) != got) return false;
    }
}

bool AtomicOutputFile::linkHiddenName() {
    const std::string procPath = "/proc/self/fd/" + std::to_string(fileno(m_stream));
    for (int attempt = 0; attempt < kNameAttempts; ++attempt) {
        std::string name = hiddenNameFor(m_destination);
        int linked = linkat(AT_FDCWD, procPath.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW);
        // Without /proc, a process allowed to may name the descriptor itself.
        if (linked != 0 && errno == ENOENT)
            linked = linkat(fileno(m_stream), "", AT_FDCWD, name.c_str(), AT_EMPTY_PATH);
        if (linked == 0) {
            // Moved, not copied: an allocation failing now would leave the
            // new name behind unknown.
            m_hiddenName = std::move(name);
            return true;
        }
        if (errno != EEXIST) return false;
    }
    return false;
}

void AtomicOutputFile::removeHiddenName() {
    if (!m_hiddenName.empty()) unlink(m_hiddenName.c_str());
    m_hiddenName.clear();
}

bool AtomicOutputFile::commit() {
    if (!m_stream) return false;
    m_error = 0;
    // Keeps the first failure's errno (EIO where a step failed without one).
    const auto failed = [this] {
        if (m_error == 0) m_error = errno != 0 ? errno : EIO;
        return false;
    };
    errno = 0;
    bool complete = (std::fflush(m_stream) == 0 && !std::ferror(m_stream)) || failed();
    if (m_streamTarget) {
        errno = 0;
        if (complete && !(copyStagedToStream() && std::fflush(m_streamTarget) == 0)) complete = failed();
        std::fclose(m_stream);
        m_stream = nullptr;
        errno = 0;
        if (std::fclose(m_streamTarget) != 0) complete = failed();
        m_streamTarget = nullptr;
        m_inPlace = false;
        return complete;
    }
    if (m_inPlace) {
        errno = 0;
        if (std::fclose(m_stream) != 0) complete = failed();
        m_stream = nullptr;
        m_inPlace = false;
        return complete;
    }
    errno = 0;
    if (complete && m_hiddenName.empty()) complete = linkHiddenName() || failed();
    errno = 0;
    if (std::fclose(m_stream) != 0) complete = failed();
    m_stream = nullptr;
    errno = 0;
    if (complete) complete = std::rename(m_hiddenName.c_str(), m_destination.c_str()) == 0 || failed();
    if (complete) {
        m_hiddenName.clear();
    } else {
        removeHiddenName();
    }
    return complete;
}

void AtomicOutputFile::discard() {
    if (m_stream) std::fclose(m_stream);
    m_stream = nullptr;
    if (m_streamTarget) std::fclose(m_streamTarget);  // nothing reached it
    m_streamTarget = nullptr;
    m_inPlace = false;
    removeHiddenName();
}
