#include "vekio/QMVekIO.h"

#include "support/QMDiskServer.h"

#include <cstddef>
#include <limits>

namespace {

// One intensity byte of a colour word as a float in 0..1, divided in float.
float intensity(std::uint32_t word, int shift) { return static_cast<float>((word >> shift) & 0xFFu) / 255.0f; }

}  // namespace

void QMVekIO::convertOneMRGBToColor3f(QMVector3f& colour, const QMArray<std::uint32_t>& mrgb, int index) {
    const std::uint32_t word = mrgb[static_cast<std::size_t>(index)];
    colour.x = intensity(word, 16);  // byte 2, red
    colour.y = intensity(word, 8);   // byte 1, green
    colour.z = intensity(word, 0);   // byte 0, blue
}

void QMVekIO::convertMRGBBlocToColors3f(QMArray<QMVector3f>& colours, const QMArray<std::uint32_t>& mrgb) {
    colours.resize(mrgb.size(), QMVector3f(0.0f, 0.0f, 0.0f));
    for (std::size_t i = 0; i < mrgb.size(); ++i) convertOneMRGBToColor3f(colours[i], mrgb, static_cast<int>(i));
}

// File header, the MRGB block (its header, then all words in one write) and
// the end block. Any failed step closes the stream, removes the file and
// fails; so does a failed close, which would otherwise leave a file whose
// last bytes never reached the disk.
bool QMVekIO::writeMRGBBloc(const QMString& name, QMArray<std::uint32_t>& mrgb) {
    std::FILE* file = QMDiskServer::fileOpen(name, "wb");
    const std::size_t count = mrgb.size();
    // The block size field is 32 bits: a larger block cannot be described.
    const bool fits = count <= (std::numeric_limits<std::uint32_t>::max() - 16) / 4;

    bool written = writeFileHeader(file) && fits;
    if (written) {
        const Vek_Header block = {kTagMRGB, static_cast<std::uint32_t>(4 * count + 16),
                                  static_cast<std::uint32_t>(count), 0};
        written = writeBlockHeader(file, block);
    }
    if (written && count) written = std::fwrite(mrgb.data(), 1, 4 * count, file) == 4 * count;
    if (written) written = writeBlockHeader(file, Vek_Header{kTagEnd, 16, 0, 0});

    if (file != QMDiskServer::s_invalidFile && std::fclose(file) != 0) written = false;
    if (!written) QMDiskServer::deleteFile(name);
    return written;
}
