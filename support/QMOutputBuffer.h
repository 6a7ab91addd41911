#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>

// A fixed-size staging buffer in front of a stdio stream: writers format
// records and texts into it and it reaches the stream in large blocks, so an
// export costs one write per megabyte instead of one call per number. Memory
// stays at the buffer's size however large the output.
class QMOutputBuffer {
public:
    static constexpr std::size_t kDefaultCapacity = std::size_t(1) << 20;

    explicit QMOutputBuffer(std::size_t capacity = kDefaultCapacity);

    // Sends what is pending to `file`, then writes to `file` from now on
    // (a null stream discards everything).
    void attach(std::FILE* file);

    // Room for at least `bytes` (at most the capacity) at the returned
    // address; `commit` then says where the written bytes end.
    char* reserve(std::size_t bytes) {
        if (m_capacity - m_used < bytes) flush();
        return m_data.get() + m_used;
    }
    void commit(char* end) { m_used = static_cast<std::size_t>(end - m_data.get()); }

    // Appends any number of bytes; texts longer than the buffer pass through.
    void append(const char* bytes, std::size_t count);
    void append(const char* text);

    // Hands the pending bytes to the stream (not to the disk: no fflush).
    void flush();

private:
    std::unique_ptr<char[]> m_data;
    std::size_t m_capacity;
    std::size_t m_used = 0;
    std::FILE* m_file = nullptr;
};
