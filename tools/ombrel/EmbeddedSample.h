#pragma once

#include <cstddef>

// A file built into the tool (the bundled sample scene).
struct EmbeddedFile {
    const char* name;
    const unsigned char* bytes;
    std::size_t size;
};

extern const EmbeddedFile kSampleScene[];
extern const unsigned kSampleScene_count;
