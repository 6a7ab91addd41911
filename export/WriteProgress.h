#pragma once

#include <cstdint>

// What a writer tells about its progress, on the thread that called it, after
// every range of at most a few thousand faces (and every range of other
// lines, with 0 faces). An implementation may throw to abandon the export:
// the writer's threads have all ended when the exception leaves the writer.
class WriteProgress {
public:
    virtual void facesWritten(std::uint64_t faces) = 0;

protected:
    ~WriteProgress() = default;
};
