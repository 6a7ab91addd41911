#pragma once

#include "host/HostMemory.h"

#include <cstddef>
#include <vector>

// Memory for a fake host: zeroed records below 4 GiB (MAP_32BIT in the 64-bit
// build), so that 32-bit host pointers can point at them, and pages that are
// unmapped or unreadable for fault tests. Everything is released at the end.
class FakeHostMemory {
public:
    FakeHostMemory();
    ~FakeHostMemory();
    FakeHostMemory(const FakeHostMemory&) = delete;
    FakeHostMemory& operator=(const FakeHostMemory&) = delete;

    // A zeroed record of `bytes` bytes, 16-byte aligned.
    void* allocate(std::size_t bytes);
    template <class T = void>
    T* record(std::size_t bytes) {
        return static_cast<T*>(allocate(bytes));
    }

    // An address below 4 GiB with no memory behind it, and one whose page
    // exists but may not be read.
    void* unmappedAddress();
    void* protectedAddress();

    // Stores a pointer into a 32-bit host field; fails the test if it does not fit.
    static void link(void* record, std::size_t offset, const void* target);

private:
    void* mapPages(std::size_t bytes, int protection);

    struct Mapping {
        void* start;
        std::size_t bytes;
    };
    std::vector<Mapping> m_mappings;
    unsigned char* m_next = nullptr;
    std::size_t m_left = 0;
};
