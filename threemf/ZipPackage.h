#pragma once

#include <cstddef>
#include <cstdio>
#include <string_view>

struct archive;

namespace ombrel::threemf {

// A ZIP package written front to back into a stdio stream the caller owns,
// through libarchive: every part is deflated as it comes, and a part's size
// need not be known when it starts (a data descriptor follows its data, with
// Zip64 sizes, so a part may pass 4 GiB). Nothing is held back but
// libarchive's compression window and one 64 KiB block.
//
// A failed write throws std::system_error with the errno of the failure
// (std::bad_alloc when libarchive ran out of memory). A package destroyed
// before close() writes nothing more to the stream.
class ZipPackage {
public:
    // `compressionLevel`: zlib's 1 (fastest) to 9 (smallest).
    ZipPackage(std::FILE* output, int compressionLevel);
    ~ZipPackage();
    ZipPackage(const ZipPackage&) = delete;
    ZipPackage& operator=(const ZipPackage&) = delete;

    // A whole part at once.
    void addPart(const char* name, std::string_view bytes);
    // A part written piece by piece with write(), ended by finishPart().
    void startPart(const char* name);
    void write(const char* bytes, std::size_t size);
    void finishPart();
    // Writes the central directory: the package is complete.
    void close();

private:
    friend struct ZipPackageStream;
    // Hands libarchive's output to the stream, keeping the errno of a
    // failed write.
    bool deliver(const void* bytes, std::size_t size);
    // Throws the failed write's error, if there was one.
    void throwWriteError() const;
    // Every part is written as one of unknown size, the whole part included:
    // its local header then holds no sizes at all, as its data descriptor
    // does, which is what ZIP readers that compare the local headers with
    // the central directory (libzip's consistency check) expect.
    void startEntry(const char* name);
    [[noreturn]] void fail();

    struct archive* m_archive = nullptr;
    std::FILE* m_output;
    int m_writeError = 0;  // errno of the stream's failed write
    bool m_closed = false;
};

}  // namespace ombrel::threemf
