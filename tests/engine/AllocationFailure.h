#pragma once

#include <cstdint>

// The test program replaces the global operator new (and new[], and their
// nothrow forms) with one that counts allocations and can be told to fail
// one of them, as a process out of memory would: throwing std::bad_alloc
// (the nothrow forms return null). Allocations on every thread count.
namespace allocation_failure {

// The allocation after the next `allocations` ones fails, once; then
// allocations succeed again.
void failAfter(std::uint64_t allocations);
// No allocation fails (undoes a failAfter that has not fired yet).
void disarm();
// Whether the armed failure has happened since the last failAfter.
bool fired();
// Allocations made so far by the whole process.
std::uint64_t count();

}  // namespace allocation_failure
