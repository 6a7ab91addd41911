#include "support/QMOutputBuffer.h"

#include <cstring>

QMOutputBuffer::QMOutputBuffer(std::size_t capacity) : m_data(new char[capacity]), m_capacity(capacity) {}

void QMOutputBuffer::attach(std::FILE* file) {
    flush();
    m_file = file;
}

void QMOutputBuffer::append(const char* bytes, std::size_t count) {
    if (count > m_capacity - m_used) {
        flush();
        if (count > m_capacity) {
            if (m_file) std::fwrite(bytes, 1, count, m_file);
            return;
        }
    }
    std::memcpy(m_data.get() + m_used, bytes, count);
    m_used += count;
}

void QMOutputBuffer::append(const char* text) { append(text, std::strlen(text)); }

void QMOutputBuffer::flush() {
    if (m_used && m_file) std::fwrite(m_data.get(), 1, m_used, m_file);
    m_used = 0;
}
