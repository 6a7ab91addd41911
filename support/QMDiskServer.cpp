#include "support/QMDiskServer.h"

#include "support/AtomicOutputFile.h"

#include <cerrno>
#include <cstdlib>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

// Declared by <unistd.h> only with GNU extensions; the launched programs
// inherit it.
extern "C" char** environ;

namespace {

const size_t s_copyBufferSize = 1048576;

// The extension with a leading '.', added when it has none.
QMString normalisedExtension(const QMString& ext) {
    if (ext.startsWith(".")) return ext;
    return "." + ext;
}

// Waits for the child to end, retrying when a signal interrupts the wait.
bool waitForChild(pid_t child, int& status) {
    for (;;) {
        if (waitpid(child, &status, 0) == child) return true;
        if (errno != EINTR) return false;
    }
}

}  // namespace

FILE* QMDiskServer::fileOpen(const QMString& path, const char* mode) {
    const char* validPath = path.getValidFilePath();
    if (!validPath || !mode) return s_invalidFile;
    return std::fopen(validPath, mode);
}

bool QMDiskServer::fileExists(const QMString& path) {
    const char* validPath = path.getValidFilePath();
    if (!validPath || access(validPath, F_OK) != 0) return false;
    struct stat info;
    if (stat(validPath, &info) != 0) return false;
    return (info.st_mode & 0x8000) != 0;
}

bool QMDiskServer::deleteFile(const QMString& path) {
    const char* validPath = path.getValidFilePath();
    return validPath && std::remove(validPath) == 0;
}

bool QMDiskServer::renameFile(const QMString& from, const QMString& to) {
    const char* validPath = from.getValidFilePath();
    return validPath && to.c_str() && std::rename(validPath, to.c_str()) == 0;
}

bool QMDiskServer::copyFile(const QMString& from, const QMString& to) {
    FILE* source = fileOpen(from, "rb");
    if (source == s_invalidFile) return false;
    // A file copied onto itself (under any of its names) is left as it is:
    // writing it would empty it first.
    struct stat sourceInfo, targetInfo;
    const char* targetPath = to.getValidFilePath();
    if (targetPath && fstat(fileno(source), &sourceInfo) == 0 && stat(targetPath, &targetInfo) == 0 &&
        sourceInfo.st_dev == targetInfo.st_dev && sourceInfo.st_ino == targetInfo.st_ino) {
        std::fclose(source);
        return true;
    }
    // The copy takes the target's name only when complete: a failed copy
    // leaves a previous target as it was, and no new one.
    AtomicOutputFile target;
    FILE* output = target.open(to, "wb");
    if (!output) {
        std::fclose(source);
        return false;
    }

    void* buffer = std::malloc(s_copyBufferSize);
    bool copied = buffer != nullptr;
    while (copied) {
        // A read error ends the copy like the end of the file.
        const size_t got = std::fread(buffer, 1, s_copyBufferSize, source);
        if (got == 0) break;
        if (std::fwrite(buffer, 1, got, output) != got) copied = false;
    }
    std::free(buffer);
    std::fclose(source);
    if (!copied) {
        target.discard();
        return false;
    }
    return target.commit();
}

QMString QMDiskServer::getCurrentPath() {
    char buffer[512];
    if (!getcwd(buffer, sizeof(buffer))) return QMString();
    return QMString(buffer);
}

bool QMDiskServer::openFolder(const QMString& path) {
    const char* validPath = path.getValidFilePath();
    return validPath && chdir(validPath) == 0;
}

bool QMDiskServer::launchApplication(const QMString& path, const QMString& arguments, bool synchronous) {
    // The argument text is accepted for the caller's sake but never passed on.
    (void)arguments;

    const char* validPath = path.getValidFilePath();
    if (!validPath) return false;
    struct stat info;
    if (stat(validPath, &info) != 0 || !S_ISREG(info.st_mode) || access(validPath, X_OK) != 0) return false;

    pid_t child = 0;
    int status = 0;
    if (synchronous) {
        char* const argv[] = {const_cast<char*>(validPath), nullptr};
        if (posix_spawn(&child, validPath, nullptr, nullptr, argv, environ) != 0) return false;
        waitForChild(child, status);
        return true;
    }

    // The shell starts the program in the background with its standard
    // streams detached and exits at once; reaping the shell leaves the
    // program to run on its own, adopted by init, so no zombie remains.
    // The path travels as $0, never through the shell's parser.
    char* const argv[] = {const_cast<char*>("sh"), const_cast<char*>("-c"),
                          const_cast<char*>("\"$0\" </dev/null >/dev/null 2>&1 &"), const_cast<char*>(validPath),
                          nullptr};
    if (posix_spawn(&child, "/bin/sh", nullptr, nullptr, argv, environ) != 0) return false;
    if (!waitForChild(child, status)) return false;
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

bool QMDiskServer::removePathFromFilename(QMString& name) {
    // Without a separator the position is -1 and cutTo(0) changes nothing.
    name.cutTo(name.findLastCharOf("/\\") + 1);
    return true;
}

bool QMDiskServer::makeFilenameWithExt(QMString& name, const QMString& ext) {
    const QMString extension = normalisedExtension(ext);
    if (name.endsWith(extension, false)) return false;
    name += extension;
    return true;
}

bool QMDiskServer::makeFilenameWithoutExt(QMString& name, const QMString& ext) {
    const QMString extension = normalisedExtension(ext);
    if (name.endsWith(extension, false)) return false;
    // A name shorter than the extension is cut to nothing.
    name.cutFrom(name.length() - extension.length());
    return true;
}

bool QMDiskServer::fileNameHasExtension(const QMString& name, const QMString& ext) {
    return name.endsWith(normalisedExtension(ext), false);
}
