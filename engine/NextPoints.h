#pragma once

#include "support/QMArray.h"
#include "support/QMString.h"
#include "vekio/VekMeshLayout.h"

#include <cstdint>
#include <exception>
#include <functional>
#include <thread>

namespace ombrel::engine {

// Points of an input file as the export takes them: as the file holds them,
// or already made ready (turned upright and placed, for STL) together with
// the count of points that had an infinite or NaN coordinate as read.
struct ReadyPoints {
    QMArray<QMVector3f> points;
    bool present = false;   // points of the file are here
    bool prepared = false;  // `prepare` has been applied and nonFinite counted
    std::uint64_t nonFinite = 0;
};

// Counts the points with an infinite or NaN coordinate.
std::uint64_t countNonFinite(const QMArray<QMVector3f>& points);

// Reads the points of the next input file on another thread while the
// current one is written, and makes them ready there, so that the writing
// thread goes on from one file to the next without stopping. Only a file of
// simple layout is read ahead (its Points block, exactly what the readers
// give); any other is left to the readers. The thread is joined by take()
// and by the destructor.
class NextPoints {
public:
    using Prepare = std::function<void(QMArray<QMVector3f>&)>;

    explicit NextPoints(Prepare prepare) : m_prepare(std::move(prepare)) {}
    ~NextPoints();
    NextPoints(const NextPoints&) = delete;
    NextPoints& operator=(const NextPoints&) = delete;

    // Starts reading `path`, located as `layout`, into `memory` (an array
    // whose storage is reused). Nothing starts for a file that is not simple
    // or when no thread can be had.
    void start(const QMString& path, const VekMeshLayout& layout, QMArray<QMVector3f>&& memory);

    // The points started last (not present when none were started), once
    // ready; a failure of the read (out of memory) is passed on here.
    ReadyPoints take();

private:
    void readAhead(const QMString& path, std::uint64_t offset, std::size_t count);

    Prepare m_prepare;
    std::thread m_thread;
    ReadyPoints m_ready;
    std::exception_ptr m_error;
};

}  // namespace ombrel::engine
