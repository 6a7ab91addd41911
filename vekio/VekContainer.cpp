#include "vekio/QMVekIO.h"

#include "support/QMDiskServer.h"
#include "vekio/VekBlockWalk.h"

#include <cstring>
#include <sys/types.h>

namespace {
const char kMagic[4] = {'V', 'e', 'k', 'b'};
}

bool isVekFileHeader(const unsigned char* bytes) { return std::memcmp(bytes, kMagic, sizeof kMagic) == 0; }

bool QMVekIO::readFileHeader(std::FILE* file) {
    if (file == QMDiskServer::s_invalidFile) return false;
    unsigned char header[kFileHeaderSize];
    if (std::fread(header, 1, kFileHeaderSize, file) != kFileHeaderSize) return false;
    return isVekFileHeader(header);
}

bool QMVekIO::writeFileHeader(std::FILE* file) {
    unsigned char header[kFileHeaderSize] = {};
    std::memcpy(header, kMagic, sizeof kMagic);
    if (file == QMDiskServer::s_invalidFile) return false;
    return std::fwrite(header, 1, kFileHeaderSize, file) == kFileHeaderSize;
}

// The fields are little-endian, the byte order of every processor this
// library is built for, so they are read and written as raw words.
bool QMVekIO::readBlockHeader(std::FILE* file, Vek_Header& header) {
    std::size_t got = std::fread(&header.tag, 1, 4, file);
    got += std::fread(&header.size, 1, 4, file);
    got += std::fread(&header.count, 1, 4, file);
    got += std::fread(&header.reserved, 1, 4, file);
    return got == sizeof(Vek_Header);
}

bool QMVekIO::writeBlockHeader(std::FILE* file, const Vek_Header& header) {
    std::size_t put = std::fwrite(&header.tag, 1, 4, file);
    put += std::fwrite(&header.size, 1, 4, file);
    put += std::fwrite(&header.count, 1, 4, file);
    put += std::fwrite(&header.reserved, 1, 4, file);
    return put == sizeof(Vek_Header);
}

int QMVekIO::skipBlock(std::FILE* file, const Vek_Header& header) {
    // The header is already consumed; a size below 16 seeks backwards.
    return fseeko(file, static_cast<off_t>(static_cast<std::int64_t>(header.size) - 16), SEEK_CUR);
}
