#include "engine/NextPoints.h"

#include "engine/SideBySide.h"
#include "vekio/QMVekIO.h"
#include "vekio/VekRandomAccess.h"

#include <cmath>
#include <system_error>

namespace ombrel::engine {

std::uint64_t countNonFinite(const QMArray<QMVector3f>& points) {
    std::uint64_t counts[2] = {0, 0};
    splitInTwo(points.size(), [&](std::size_t first, std::size_t end) {
        std::uint64_t& count = counts[first == 0 ? 0 : 1];
        for (std::size_t i = first; i < end; ++i) {
            const QMVector3f& p = points[i];
            if (!std::isfinite(p.x) || !std::isfinite(p.y) || !std::isfinite(p.z)) ++count;
        }
    });
    return counts[0] + counts[1];
}

NextPoints::~NextPoints() {
    if (m_thread.joinable()) m_thread.join();
}

void NextPoints::start(const QMString& path, const VekMeshLayout& layout, QMArray<QMVector3f>&& memory) {
    if (m_thread.joinable()) m_thread.join();
    m_ready = ReadyPoints();
    m_error = nullptr;
    const VekBlockExtent* block = layout.simple ? layout.find(QMVekIO::kTagPoints) : nullptr;
    if (!block) return;
    m_ready.points = std::move(memory);
    try {
        m_thread = std::thread([this, path, offset = block->bodyOffset, count = std::size_t(block->count)] {
            try {
                readAhead(path, offset, count);
            } catch (...) {
                m_error = std::current_exception();
            }
        });
    } catch (const std::system_error&) {
        m_ready = ReadyPoints();  // read by the readers instead
    }
}

void NextPoints::readAhead(const QMString& path, std::uint64_t offset, std::size_t count) {
    const VekRandomAccess file(path);
    if (!file.opened()) return;  // the readers will say what is wrong
    QMArray<QMVector3f>& points = m_ready.points;
    points.clear();
    points.resize(count);
    file.readAt(offset, points.data(), 12 * count);
    m_ready.nonFinite = countNonFinite(points);
    m_prepare(points);
    m_ready.present = true;
    m_ready.prepared = true;
}

ReadyPoints NextPoints::take() {
    if (m_thread.joinable()) m_thread.join();
    if (m_error) {
        const std::exception_ptr error = m_error;
        m_error = nullptr;
        m_ready = ReadyPoints();
        std::rethrow_exception(error);
    }
    ReadyPoints ready = std::move(m_ready);
    m_ready = ReadyPoints();
    return ready;
}

}  // namespace ombrel::engine
