#include "threemf/ZipPackage.h"

#include <archive.h>
#include <archive_entry.h>

#include <cerrno>
#include <new>
#include <string>
#include <system_error>

namespace ombrel::threemf {

// libarchive's write callback, with the type libarchive declares.
struct ZipPackageStream {
    static la_ssize_t write(struct archive*, void* self, const void* bytes, size_t size) {
        return static_cast<ZipPackage*>(self)->deliver(bytes, size) ? static_cast<la_ssize_t>(size) : -1;
    }
};

namespace {

// libarchive hands the stream whole blocks of this size; the last one is not
// padded (bytes_in_last_block 1), so the file ends with the central directory.
constexpr int kBlockBytes = 64 * 1024;

}  // namespace

ZipPackage::ZipPackage(std::FILE* output, int compressionLevel) : m_output(output) {
    m_archive = archive_write_new();
    if (!m_archive) throw std::bad_alloc();
    try {
        const std::string level = "zip:compression-level=" + std::to_string(compressionLevel);
        if (archive_write_set_format_zip(m_archive) != ARCHIVE_OK ||
            archive_write_zip_set_compression_deflate(m_archive) != ARCHIVE_OK ||
            archive_write_set_options(m_archive, level.c_str()) != ARCHIVE_OK ||
            archive_write_set_bytes_per_block(m_archive, kBlockBytes) != ARCHIVE_OK ||
            archive_write_set_bytes_in_last_block(m_archive, 1) != ARCHIVE_OK ||
            archive_write_open2(m_archive, this, nullptr, &ZipPackageStream::write, nullptr, nullptr) != ARCHIVE_OK)
            fail();
    } catch (...) {
        archive_write_free(m_archive);
        throw;
    }
}

ZipPackage::~ZipPackage() {
    // An abandoned package (a failed write, a cancel) is finished into the
    // void: the stream may be gone already, and only a package that ends
    // normally gets all its memory back from libarchive, whose ZIP writer
    // keeps the deflate state of an unfinished part when freed.
    m_output = nullptr;
    if (!m_closed) archive_write_close(m_archive);
    archive_write_free(m_archive);
}

bool ZipPackage::deliver(const void* bytes, std::size_t size) {
    // A failed write is kept for the caller and the rest discarded;
    // libarchive is told all went well, so that it stays able to finish.
    if (!m_output || m_writeError != 0) return true;
    errno = 0;
    if (std::fwrite(bytes, 1, size, m_output) == size) return true;
    m_writeError = errno != 0 ? errno : EIO;
    return true;
}

void ZipPackage::throwWriteError() const {
    if (m_writeError != 0)
        throw std::system_error(m_writeError, std::generic_category(), "cannot write the 3MF package");
}

void ZipPackage::fail() {
    throwWriteError();
    int error = archive_errno(m_archive);
    if (error == ENOMEM) throw std::bad_alloc();
    if (error <= 0) error = EIO;
    const char* text = archive_error_string(m_archive);
    throw std::system_error(error, std::generic_category(), text ? text : "cannot write the 3MF package");
}

void ZipPackage::startEntry(const char* name) {
    struct archive_entry* entry = archive_entry_new();
    if (!entry) throw std::bad_alloc();
    archive_entry_set_pathname(entry, name);
    archive_entry_set_filetype(entry, AE_IFREG);
    archive_entry_set_perm(entry, 0644);
    // No time is set: every part carries the ZIP format's earliest date, so
    // the same scene always gives the same bytes.
    const int result = archive_write_header(m_archive, entry);
    archive_entry_free(entry);
    if (result < ARCHIVE_WARN) fail();
    throwWriteError();
}

void ZipPackage::addPart(const char* name, std::string_view bytes) {
    startEntry(name);
    write(bytes.data(), bytes.size());
    finishPart();
}

void ZipPackage::startPart(const char* name) { startEntry(name); }

void ZipPackage::write(const char* bytes, std::size_t size) {
    while (size != 0) {
        const la_ssize_t written = archive_write_data(m_archive, bytes, size);
        if (written <= 0) fail();
        throwWriteError();
        bytes += written;
        size -= static_cast<std::size_t>(written);
    }
}

void ZipPackage::finishPart() {
    if (archive_write_finish_entry(m_archive) < ARCHIVE_WARN) fail();
    throwWriteError();
}

void ZipPackage::close() {
    m_closed = true;
    if (archive_write_close(m_archive) < ARCHIVE_WARN) fail();
    throwWriteError();
}

}  // namespace ombrel::threemf
