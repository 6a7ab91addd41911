#pragma once

#include "support/OmbrelApi.h"
#include "support/QMString.h"

#include <cstdio>

// The library's access to the file system: opening, copying, renaming and
// deleting files, the working directory, starting programs, and file-name
// editing. Every path handed to the operating system first goes through
// QMString::getValidFilePath. Failures are reported by results only; nothing
// prints or throws.
class OMBREL_API QMDiskServer {
public:
    // The handle value meaning "no file"; callers compare fileOpen's result with it.
    static constexpr FILE* s_invalidFile = nullptr;

    // fopen of the valid path with mode; s_invalidFile on failure.
    static FILE* fileOpen(const QMString& path, const char* mode);
    // True when the path exists and the top bit of its file type (0x8000, the
    // regular-file bit) is set: regular files and sockets, not directories.
    static bool fileExists(const QMString& path);
    static bool deleteFile(const QMString& path);
    // The target is used as given, not through getValidFilePath.
    static bool renameFile(const QMString& from, const QMString& to);
    // Copies through a 1 MiB buffer. The target takes its name only when the
    // copy is complete: a short write (a full disk) or a failed close fails
    // and leaves a previous target as it was (or none); a read error ends
    // the copy as if at end of file. A file copied onto itself, under any of
    // its names, is left untouched (true).
    static bool copyFile(const QMString& from, const QMString& to);
    // The working directory; the empty (null) string when it cannot be read.
    static QMString getCurrentPath();
    // Changes the working directory.
    static bool openFolder(const QMString& path);
    // Starts the executable regular file at path with no arguments (the
    // argument text never reaches it) and the inherited environment.
    // Synchronous: waits for it to end; true when it was started.
    // Asynchronous: starts it detached through /bin/sh; true when the shell
    // started it and exited with 0.
    static bool launchApplication(const QMString& path, const QMString& arguments, bool synchronous);

    // Keeps only the text after the last '/' or '\\'; always true.
    static bool removePathFromFilename(QMString& name);
    // The extension functions put a '.' in front of ext when it has none and
    // test the name's ending case-sensitively.
    // Appends ext when the name does not end with it; true when it appended.
    static bool makeFilenameWithExt(QMString& name, const QMString& ext);
    // Inverted on purpose: when the name does NOT end with ext, it is cut by
    // ext's length and the result is true; otherwise nothing changes (false).
    static bool makeFilenameWithoutExt(QMString& name, const QMString& ext);
    static bool fileNameHasExtension(const QMString& name, const QMString& ext);
};
