#pragma once

#include "tools/vekgen/VekWriter.h"

#include <functional>
#include <string>
#include <vector>

// Builds the bytes of a Vek file with the project's independent writer.
std::vector<unsigned char> vekBytes(const std::function<void(vekgen::VekWriter&)>& build,
                                    const vekgen::VekFileHeader& header = vekgen::VekFileHeader{});

// Writes a Vek file built the same way and returns its path.
std::string writeVekFile(const std::string& path, const std::function<void(vekgen::VekWriter&)>& build);

// The bytes of a little-endian 32-bit word, for golden byte sequences.
std::vector<unsigned char> le32(std::uint32_t value);
std::vector<unsigned char> le32f(float value);
