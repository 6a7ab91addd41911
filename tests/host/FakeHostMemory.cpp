#include "FakeHostMemory.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>

namespace {

constexpr std::size_t kArenaBytes = std::size_t(1) << 22;

int lowMemoryFlags() {
#if defined(MAP_32BIT) && UINTPTR_MAX > 0xFFFFFFFFu
    return MAP_PRIVATE | MAP_ANONYMOUS | MAP_32BIT;
#else
    return MAP_PRIVATE | MAP_ANONYMOUS;
#endif
}

}  // namespace

FakeHostMemory::FakeHostMemory() = default;

FakeHostMemory::~FakeHostMemory() {
    for (const Mapping& mapping : m_mappings) munmap(mapping.start, mapping.bytes);
}

void* FakeHostMemory::mapPages(std::size_t bytes, int protection) {
    void* start = mmap(nullptr, bytes, protection, lowMemoryFlags(), -1, 0);
    if (start == MAP_FAILED) throw std::runtime_error("mmap below 4 GiB failed");
    HostAddress address = 0;
    if (!toHostAddress(start, address)) throw std::runtime_error("mmap returned memory above 4 GiB");
    m_mappings.push_back({start, bytes});
    return start;
}

void* FakeHostMemory::allocate(std::size_t bytes) {
    bytes = (bytes + 15) & ~std::size_t(15);
    if (bytes > m_left) {
        const std::size_t arena = bytes > kArenaBytes ? bytes : kArenaBytes;
        m_next = static_cast<unsigned char*>(mapPages(arena, PROT_READ | PROT_WRITE));
        m_left = arena;
    }
    void* result = m_next;
    m_next += bytes;
    m_left -= bytes;
    return result;
}

void* FakeHostMemory::unmappedAddress() {
    // Map two pages and give the second back: its address is below 4 GiB and
    // nothing is mapped there any more.
    const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    unsigned char* start = static_cast<unsigned char*>(mapPages(2 * page, PROT_READ | PROT_WRITE));
    munmap(start + page, page);
    m_mappings.back().bytes = page;
    return start + page;
}

void* FakeHostMemory::protectedAddress() {
    const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return mapPages(page, PROT_NONE);
}

void FakeHostMemory::link(void* record, std::size_t offset, const void* target) {
    ASSERT_TRUE(writeHostPointer(record, offset, target)) << "pointer above 4 GiB";
}
