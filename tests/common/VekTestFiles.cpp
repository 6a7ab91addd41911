#include "VekTestFiles.h"

#include "TestFiles.h"

#include <cstring>

std::vector<unsigned char> vekBytes(const std::function<void(vekgen::VekWriter&)>& build,
                                    const vekgen::VekFileHeader& header) {
    vekgen::VekWriter writer = vekgen::VekWriter::inMemory(header);
    build(writer);
    writer.close();
    return writer.bytes();
}

std::string writeVekFile(const std::string& path, const std::function<void(vekgen::VekWriter&)>& build) {
    writeFileBytes(path, vekBytes(build));
    return path;
}

std::vector<unsigned char> le32(std::uint32_t value) {
    return {static_cast<unsigned char>(value), static_cast<unsigned char>(value >> 8),
            static_cast<unsigned char>(value >> 16), static_cast<unsigned char>(value >> 24)};
}

std::vector<unsigned char> le32f(float value) {
    std::uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return le32(bits);
}
