#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>

// A staging buffer in front of a stdio stream: writers format records and
// texts into it and it reaches the stream in large blocks, so an export costs
// one write per megabyte instead of one call per number. Memory stays at two
// buffers however large the output.
//
// A full buffer is written by a background thread while formatting goes on in
// the other buffer, so formatting and the copy into the operating system
// overlap; the bytes reach the stream in the order they were appended. flush()
// and attach() return only when every byte handed over has been written, and
// the destructor waits for a write in progress, so no thread outlives the
// buffer; release() ends the thread at once, for an export that is abandoned.
//
// The first failed write is remembered with its errno (error()); after it
// nothing more is written to that stream, since the file is lost anyway.
class QMOutputBuffer {
public:
    static constexpr std::size_t kDefaultCapacity = std::size_t(1) << 20;

    explicit QMOutputBuffer(std::size_t capacity = kDefaultCapacity);
    // Waits for a write in progress; bytes not yet flushed are dropped.
    ~QMOutputBuffer();
    QMOutputBuffer(const QMOutputBuffer&) = delete;
    QMOutputBuffer& operator=(const QMOutputBuffer&) = delete;

    // Sends what is pending to the current stream, then writes to `file` from
    // now on (a null stream discards everything).
    void attach(std::FILE* file);

    // Room for at least `bytes` (at most the capacity) at the returned
    // address; `commit` then says where the written bytes end.
    char* reserve(std::size_t bytes) {
        if (m_capacity - m_used < bytes) handOff();
        return m_data.get() + m_used;
    }
    void commit(char* end) { m_used = static_cast<std::size_t>(end - m_data.get()); }

    // Appends any number of bytes. A block longer than the buffer, or of at
    // least kPassThroughBytes (a formatted range of an export), is written
    // straight from where it lies, after what is pending, instead of being
    // copied: the copy would cost about as much as the write.
    static constexpr std::size_t kPassThroughBytes = std::size_t(128) << 10;
    void append(const char* bytes, std::size_t count);
    void append(const char* text);

    // Hands the pending bytes to the stream and waits until they are there
    // (in the stream, not on the disk: no fflush).
    void flush();

    // Drops the pending bytes, waits for a write in progress and ends the
    // background thread; the buffer stays usable (a later hand-off starts a
    // new thread) and detached from any stream.
    void release();

    // The errno of the first write that failed since the last attach, or 0.
    int error() const { return m_error; }
    // Bytes appended since the last attach (whether or not they were written).
    std::uint64_t bytesAppended() const { return m_appended + m_used; }

private:
    class BackgroundWriter;

    // Passes the full buffer on (to the background writer when there is one)
    // and continues in an empty one.
    void handOff();
    // Waits until the background writer has written everything it was given,
    // and takes over its error.
    void waitForBackgroundWrite();
    // Writes a block in this thread, remembering the first failure.
    void writeNow(const char* bytes, std::size_t count);

    std::unique_ptr<char[]> m_data;
    std::unique_ptr<char[]> m_spare;  // the buffer being written in the background
    std::size_t m_capacity;
    std::size_t m_used = 0;
    std::FILE* m_file = nullptr;
    int m_error = 0;
    std::uint64_t m_appended = 0;  // bytes passed on since the last attach
    std::unique_ptr<BackgroundWriter> m_writer;  // started at the first hand-off
};
