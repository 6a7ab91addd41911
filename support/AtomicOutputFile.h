#pragma once

#include "support/QMString.h"

#include <cstdio>
#include <string>

// An output file that appears at its destination only when it is complete.
//
// open() creates a new, nameless file in the destination's directory (a
// hidden named one where the file system cannot make nameless files) and
// returns its stream; commit() flushes and closes it and, when every write
// reached the file, puts it in place of the destination in one rename. Until
// then the destination keeps its previous contents, if any. A write error
// (full disk, file size limit), an export abandoned half way (an exception,
// the destructor) or a failed commit removes the new file: the destination
// is never truncated or half written, and no temporary file remains. A
// process killed while writing leaves nothing behind either, except on file
// systems without nameless files (a hidden ".NAME.XXXXXX" file may remain
// there).
//
// Opening fails, as fopen with "w" would, when the directory is missing, or
// does not take a new file and the destination does not exist yet, or the
// destination is a directory or a file that cannot be written. A file that
// can be written in a directory that takes no new file is written in place
// (inPlace()). The new file gets the permissions of the file it replaces, or
// those a new file would get (0666 less the umask), and the replaced file's
// owner where the process may give it. A destination that is a symbolic link
// is written at the file it points to, so the link survives; a link to a
// file that does not exist yet makes that file, as fopen would. A link the
// kernel would refuse to follow (in a sticky, world-writable directory such
// as /tmp, owned neither by the caller nor by the directory's owner: one
// another user may have planted) is not followed: nothing is written
// (EACCES). A pipe without a reader fails at once (ENXIO) instead of
// blocking.
//
// What cannot be replaced is written in place, as fopen would: a destination
// that is not a regular file (a device such as /dev/null, a pipe, a socket)
// and a regular file with more than one name (its other names keep seeing
// it). Those get no protection from a failed export. A destination that
// cannot seek (a pipe, a socket, a terminal) gets the file through a scratch
// file, copied there at the commit: a writer may seek back in its own file,
// and nothing reaches the destination from an export that fails.
class AtomicOutputFile {
public:
    AtomicOutputFile() = default;
    ~AtomicOutputFile();
    AtomicOutputFile(const AtomicOutputFile&) = delete;
    AtomicOutputFile& operator=(const AtomicOutputFile&) = delete;

    // The stream of the new file (mode as for fopen: "w" or "wb"), or null
    // when it cannot be created; a file already open is discarded first.
    std::FILE* open(const QMString& path, const char* mode);

    // Closes the stream and moves the file to the destination; false (and
    // nothing changed at the destination) when any write, the close or the
    // move failed. Does nothing and returns false when no file is open.
    bool commit();

    // Closes and removes the new file; the destination stays as it was.
    void discard();

    std::FILE* stream() const { return m_stream; }

    // The errno of the last open() or commit() that failed (0 after one that
    // succeeded), so that callers can say why.
    int error() const { return m_error; }
    // Whether the file open now is written straight to its destination (a
    // device, a pipe, a file with several names): it cannot be discarded.
    bool inPlace() const { return m_inPlace; }

    // True by default; false makes every file a hidden named one from the
    // start, as on file systems without nameless files (for tests).
    static bool s_useNamelessFiles;

private:
    // Opens the destination itself for writing.
    std::FILE* openInPlace(const std::string& destination, const char* mode);
    // Makes the stream just opened in place the destination of a scratch
    // file, which becomes m_stream.
    std::FILE* stageForStream();
    bool copyStagedToStream();
    // Gives the nameless file a hidden name next to the destination.
    bool linkHiddenName();
    void removeHiddenName();

    std::FILE* m_stream = nullptr;
    std::string m_destination;  // where the finished file goes
    std::string m_hiddenName;   // the new file's own name, when it has one
    bool m_inPlace = false;     // writing straight to the destination
    std::FILE* m_streamTarget = nullptr;  // a destination that cannot seek, written at the commit
    int m_error = 0;
};
