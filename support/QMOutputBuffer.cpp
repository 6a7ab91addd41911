#include "support/QMOutputBuffer.h"

#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <system_error>
#include <thread>

namespace {

// Writes a block; the errno of a short write (EIO when the stream gave none).
int writeBlock(std::FILE* file, const char* data, std::size_t count) {
    errno = 0;
    if (std::fwrite(data, 1, count, file) == count) return 0;
    return errno != 0 ? errno : EIO;
}

}  // namespace

// One thread writing one block at a time to a stream.
class QMOutputBuffer::BackgroundWriter {
public:
    BackgroundWriter() : m_thread([this] { run(); }) {}
    ~BackgroundWriter() {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_stop = true;
        }
        m_changed.notify_all();
        m_thread.join();
    }

    // Starts writing `count` bytes at `data`; the previous block must be done.
    void write(std::FILE* file, const char* data, std::size_t count) {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_file = file;
            m_block = data;
            m_count = count;
        }
        m_changed.notify_all();
    }

    // Waits for the block in progress; the errno of a failed write since the
    // last call, or 0.
    int waitUntilIdle() {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [this] { return m_block == nullptr; });
        const int error = m_error;
        m_error = 0;
        return error;
    }

private:
    void run() {
        std::unique_lock<std::mutex> lock(m_mutex);
        for (;;) {
            m_changed.wait(lock, [this] { return m_stop || m_block != nullptr; });
            if (m_block == nullptr) return;  // stopping with nothing left to write
            std::FILE* file = m_file;
            const char* block = m_block;
            const std::size_t count = m_count;
            lock.unlock();
            const int error = writeBlock(file, block, count);
            lock.lock();
            if (error != 0 && m_error == 0) m_error = error;
            m_block = nullptr;
            m_changed.notify_all();
        }
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::FILE* m_file = nullptr;
    const char* m_block = nullptr;
    std::size_t m_count = 0;
    int m_error = 0;
    bool m_stop = false;
    std::thread m_thread;  // last: starts once everything above exists
};

QMOutputBuffer::QMOutputBuffer(std::size_t capacity)
    : m_data(new char[capacity]), m_spare(new char[capacity]), m_capacity(capacity) {}

QMOutputBuffer::~QMOutputBuffer() = default;  // m_writer finishes its block and stops

void QMOutputBuffer::attach(std::FILE* file) {
    flush();
    m_file = file;
    m_error = 0;
    m_appended = 0;
}

void QMOutputBuffer::release() {
    m_used = 0;
    if (m_writer) m_writer->waitUntilIdle();
    m_writer.reset();
    m_file = nullptr;
    m_error = 0;
    m_appended = 0;
}

void QMOutputBuffer::waitForBackgroundWrite() {
    if (!m_writer) return;
    const int error = m_writer->waitUntilIdle();
    if (error != 0 && m_error == 0) m_error = error;
}

void QMOutputBuffer::writeNow(const char* bytes, std::size_t count) {
    if (!m_file || m_error != 0) return;
    m_error = writeBlock(m_file, bytes, count);
}

void QMOutputBuffer::handOff() {
    if (m_used == 0) return;
    m_appended += m_used;
    if (!m_file || m_error != 0) {
        m_used = 0;
        return;
    }
    if (!m_writer) {
        try {
            m_writer = std::make_unique<BackgroundWriter>();
        } catch (const std::system_error&) {
            // No thread to be had: write in this one.
        }
    }
    if (m_writer) {
        waitForBackgroundWrite();
        if (m_error == 0) m_writer->write(m_file, m_data.get(), m_used);
        std::swap(m_data, m_spare);
        m_used = 0;
        return;
    }
    writeNow(m_data.get(), m_used);
    m_used = 0;
}

void QMOutputBuffer::append(const char* bytes, std::size_t count) {
    if (count > m_capacity || count >= kPassThroughBytes) {
        handOff();
        waitForBackgroundWrite();
        m_appended += count;
        writeNow(bytes, count);
        return;
    }
    if (count > m_capacity - m_used) handOff();
    std::memcpy(m_data.get() + m_used, bytes, count);
    m_used += count;
}

void QMOutputBuffer::append(const char* text) { append(text, std::strlen(text)); }

void QMOutputBuffer::flush() {
    waitForBackgroundWrite();
    m_appended += m_used;
    writeNow(m_data.get(), m_used);
    m_used = 0;
}
