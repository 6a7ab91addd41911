#include "AllocationFailure.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

// Allocations left before the one that fails; negative when none is to fail.
constexpr std::int64_t kDisarmed = INT64_MIN / 2;
std::atomic<std::int64_t> s_allocationsLeft{kDisarmed};
std::atomic<std::uint64_t> s_count{0};
std::atomic<bool> s_fired{false};

// Whether this allocation is the one to fail. Of two threads that see the
// same count, only one takes it to zero.
bool failsNow() {
    s_count.fetch_add(1, std::memory_order_relaxed);
    if (s_allocationsLeft.load(std::memory_order_relaxed) < 0) return false;
    if (s_allocationsLeft.fetch_sub(1) != 0) return false;
    s_fired = true;
    return true;
}

void* allocate(std::size_t size) {
    if (failsNow()) throw std::bad_alloc();
    if (void* block = std::malloc(size != 0 ? size : 1)) return block;
    throw std::bad_alloc();
}

void* allocateNothrow(std::size_t size) noexcept {
    if (failsNow()) return nullptr;
    return std::malloc(size != 0 ? size : 1);
}

}  // namespace

namespace allocation_failure {

void failAfter(std::uint64_t allocations) {
    s_fired = false;
    s_allocationsLeft = static_cast<std::int64_t>(allocations);
}

void disarm() { s_allocationsLeft = kDisarmed; }

bool fired() { return s_fired; }

std::uint64_t count() { return s_count.load(); }

}  // namespace allocation_failure

// Every form that allocates with malloc is replaced, and every form that
// releases, so that the pairs match (the aligned forms keep the library's
// own pair).
void* operator new(std::size_t size) { return allocate(size); }
void* operator new[](std::size_t size) { return allocate(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocateNothrow(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocateNothrow(size); }
void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t) noexcept { std::free(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { std::free(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { std::free(block); }
