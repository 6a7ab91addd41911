#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

// The host's memory is 32-bit: its records hold 32-bit pointers and integers
// at fixed byte offsets, and the host data argument is an array of 32-bit host
// pointers (slot i at byte 4 i). These helpers are the only way the bridge
// touches a host record: fields are copied with memcpy (records may be
// unaligned and are not C++ objects), and a 32-bit host address becomes a
// native pointer and back. In the 64-bit build the bridge works with hosts
// whose memory lies below 4 GiB; a native pointer that does not fit in 32 bits
// is never stored into a host record.

using HostAddress = std::uint32_t;

inline void* hostPointer(HostAddress address) {
    return reinterpret_cast<void*>(static_cast<std::uintptr_t>(address));
}

// False (and `address` untouched) when `pointer` lies above 4 GiB.
inline bool toHostAddress(const void* pointer, HostAddress& address) {
    const std::uintptr_t value = reinterpret_cast<std::uintptr_t>(pointer);
    if (value > UINT32_MAX) return false;
    address = static_cast<HostAddress>(value);
    return true;
}

template <class T>
T readHostField(const void* record, std::size_t offset) {
    T value;
    std::memcpy(&value, static_cast<const unsigned char*>(record) + offset, sizeof value);
    return value;
}

template <class T>
void writeHostField(void* record, std::size_t offset, T value) {
    std::memcpy(static_cast<unsigned char*>(record) + offset, &value, sizeof value);
}

// A 32-bit host pointer field, as a native pointer.
template <class T = void>
T* readHostPointer(const void* record, std::size_t offset) {
    return static_cast<T*>(hostPointer(readHostField<HostAddress>(record, offset)));
}

// Stores `pointer` into a 32-bit host pointer field; refused (false, the
// field unchanged) when the pointer does not fit in 32 bits.
inline bool writeHostPointer(void* record, std::size_t offset, const void* pointer) {
    HostAddress address = 0;
    if (!toHostAddress(pointer, address)) return false;
    writeHostField(record, offset, address);
    return true;
}

// Slot `slot` of the host data argument (an array of 32-bit host pointers).
template <class T = void>
T* hostDataSlot(char** hostData, int slot) {
    return readHostPointer<T>(hostData, std::size_t(4) * std::size_t(slot));
}
