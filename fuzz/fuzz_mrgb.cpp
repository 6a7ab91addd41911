// fuzz_mrgb: the input is read twice.
//  - As colour words (four little-endian bytes each, a tail of fewer bytes
//    dropped): writeMRGBBloc writes them into exactly the bytes vekgen's writer
//    gives for an MRGB block and an end block (32 + 16 + 4n + 16 bytes),
//    readMRGBBloc gives them back, and both conversions give byte / 255 in
//    float per channel (red byte 2, green byte 1, blue byte 0).
//  - As a Vek file: readMRGBBloc fails exactly without a valid header, holds
//    no more than the file's bytes plus the allowance (zeros beyond the
//    file's bytes), returns the first MRGB body of a well-formed file, and
//    what it returns (when no larger than the file) survives writeMRGBBloc
//    and a second read.
#include "fuzz/FuzzSupport.h"
#include "fuzz/InspectedVek.h"
#include "tools/vekgen/VekWriter.h"
#include "vekio/QMVekIO.h"

#include "TestFiles.h"

#include <cstring>

namespace {

bool sameFloat(float a, float b) { return std::memcmp(&a, &b, sizeof a) == 0; }

void checkColour(const QMVector3f& colour, std::uint32_t word) {
    const float red = static_cast<float>((word >> 16) & 0xFF) / 255.0f;
    const float green = static_cast<float>((word >> 8) & 0xFF) / 255.0f;
    const float blue = static_cast<float>(word & 0xFF) / 255.0f;
    FUZZ_CHECK(sameFloat(colour.x, red) && sameFloat(colour.y, green) && sameFloat(colour.z, blue),
               "colour of word " + std::to_string(word));
    FUZZ_CHECK(colour.x >= 0.0f && colour.x <= 1.0f && colour.y >= 0.0f && colour.y <= 1.0f && colour.z >= 0.0f &&
                   colour.z <= 1.0f,
               "a colour channel outside 0..1");
}

// Writes the words, checks the file byte for byte and reads them back.
void checkWriteAndRead(const QMArray<std::uint32_t>& words, const std::string& path) {
    QMVekIO io;
    QMArray<std::uint32_t> toWrite = words;
    FUZZ_CHECK(io.writeMRGBBloc(QMString(path.c_str()), toWrite), "writeMRGBBloc failed");
    FUZZ_CHECK(sameArray(toWrite, words), "writeMRGBBloc changed its words");

    const std::vector<unsigned char> written = readFileBytes(path);
    FUZZ_CHECK(
        written.size() == 32 + 16 + 4 * words.size() + 16,
        "an MRGB file of " + std::to_string(words.size()) + " words has " + std::to_string(written.size()) + " bytes");
    vekgen::VekWriter expected = vekgen::VekWriter::inMemory();
    expected.mrgb(std::span<const std::uint32_t>(words.data(), words.size()));
    expected.endBlock();
    expected.close();
    FUZZ_CHECK(written == expected.bytes(), "writeMRGBBloc's bytes differ from vekgen's MRGB file");

    QMArray<std::uint32_t> read;
    FUZZ_CHECK(io.readMRGBBloc(QMString(path.c_str()), read), "readMRGBBloc failed on writeMRGBBloc's file");
    FUZZ_CHECK(sameArray(read, words), "readMRGBBloc does not give writeMRGBBloc's words back");
}

void checkConversions(const QMArray<std::uint32_t>& words) {
    QMVekIO io;
    QMArray<QMVector3f> colours(3, QMVector3f(9.0f, 9.0f, 9.0f));  // overwritten or dropped
    io.convertMRGBBlocToColors3f(colours, words);
    FUZZ_CHECK(colours.size() == words.size(), "one colour per word");
    for (std::size_t i = 0; i < words.size(); ++i) {
        checkColour(colours[i], words[i]);
        QMVector3f one;
        io.convertOneMRGBToColor3f(one, words, static_cast<int>(i));
        checkColour(one, words[i]);
    }
}

void checkFuzzedFile(std::span<const unsigned char> bytes) {
    const std::string path = scratchPath("input.vek");
    writeFileBytes(path, std::vector<unsigned char>(bytes.begin(), bytes.end()));
    QMVekIO io;
    QMArray<std::uint32_t> words = {0xDEADBEEFu};  // cleared by the reader
    const bool result = io.readMRGBBloc(QMString(path.c_str()), words);
    const bool validHeader = bytes.size() >= QMVekIO::kFileHeaderSize && std::memcmp(bytes.data(), "Vekb", 4) == 0;
    FUZZ_CHECK(result == validHeader, std::string("readMRGBBloc returned ") + (result ? "true" : "false"));
    const std::size_t headers = QMVekIO::kFileHeaderSize + sizeof(Vek_Header);
    const std::size_t bodyBytes = bytes.size() > headers ? bytes.size() - headers : 0;
    FUZZ_CHECK(4 * words.size() <= bodyBytes + QMVekIO::kBodyAllowance,
               "readMRGBBloc holds " + std::to_string(words.size()) + " words of a " + std::to_string(bytes.size()) +
                   "-byte file");
    FUZZ_CHECK(zeroFrom(bytesOf(words), bodyBytes), "readMRGBBloc's words are not zero beyond the file's bytes");
    const InspectedVek inspected(bytes);
    if (inspected.wellFormed())
        FUZZ_CHECK(sameBytes(bytesOf(words), inspected.firstBody(QMVekIO::kTagMRGB)),
                   "readMRGBBloc's words are not the first MRGB body of the well-formed file");
    // Words the allowance added beyond the file are zeros checked above; tens
    // of megabytes of them are not worth a rewrite.
    if (4 * words.size() <= bytes.size()) checkWriteAndRead(words, scratchPath("rewritten.vek"));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::span<const unsigned char> bytes(data, size);
    QMArray<std::uint32_t> words(size / 4);
    for (std::size_t i = 0; i < words.size(); ++i) words[i] = vekgen::loadU32(data + 4 * i);
    checkWriteAndRead(words, scratchPath("words.vek"));
    checkConversions(words);
    checkFuzzedFile(bytes);
    return 0;
}
