#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

// The bytes of one chunk of an export, formatted apart from the others.
struct ChunkBytes {
    std::unique_ptr<char[]> data;
    std::size_t size = 0;
    std::size_t count = 0;    // what the chunk holds, for the caller (triangles, ...)
    std::size_t skipped = 0;  // what its formatter left out, for the caller
};

using ChunkFormatter = std::function<void(unsigned worker, std::size_t chunk, ChunkBytes& bytes)>;
using ChunkDelivery = std::function<void(const ChunkBytes& bytes)>;

// Formats chunks 0 .. numChunks-1 of an export on worker threads and hands
// them to `deliver` one by one, in chunk order, on the calling thread. Each
// chunk's bytes may depend only on the chunk (and the worker's own caches),
// so the output is the same whatever the number of threads.
//
// `workers` is the number of formatting threads. The calling thread formats
// too, whenever the chunk it must deliver next is not ready and another can
// be started; with no worker it formats each chunk before delivering it.
//
// `format(worker, chunk, bytes)` writes chunk `chunk` into `bytes.data`
// (capacity `chunkCapacity`, size and count to be set); `worker` (0 to
// workers-1 on the workers, `workers` on the calling thread) lets it use
// per-thread scratch state. At most 2 x (workers + 1) chunks are held at
// once, so memory stays at that many times chunkCapacity.
//
// The threads and their buffers are kept from one run to the next, for a
// whole export: starting threads and touching fresh buffers for every mesh
// and every list would cost more than formatting a small one. The threads
// end with this object. One run at a time.
//
// Every worker has finished its part when run returns, also when `format` or
// `deliver` throws: the first exception is passed on to the caller, and the
// workers stay usable. With no worker, one chunk, or when no thread can be
// started, everything runs on the calling thread.
class ExportWorkers {
public:
    explicit ExportWorkers(unsigned workers);
    ~ExportWorkers();
    ExportWorkers(const ExportWorkers&) = delete;
    ExportWorkers& operator=(const ExportWorkers&) = delete;

    unsigned count() const { return m_workers; }
    void run(std::size_t numChunks, std::size_t chunkCapacity, const ChunkFormatter& format,
             const ChunkDelivery& deliver);

private:
    class Pool;
    const unsigned m_workers;
    std::unique_ptr<Pool> m_pool;
};

// One run on workers started for it alone.
void runOrderedChunks(std::size_t numChunks, std::size_t chunkCapacity, unsigned workers,
                      const ChunkFormatter& format, const ChunkDelivery& deliver);

// The number of worker threads an export formats on besides the calling
// thread: one processor fewer than there are (at most four), none with one
// processor.
unsigned exportWorkerCount();

// What a range's formatter counts: what it wrote (triangles, ...) and the
// items it left out.
struct RangeCounts {
    std::uint64_t written = 0;
    std::uint64_t skipped = 0;
};

// One range of items, formatted, as formatRangesInOrder delivers it.
struct FormattedRange {
    const char* bytes;
    std::size_t size;
    std::size_t first, end;  // the items it holds
    RangeCounts counts;
};

// Items 0 .. numItems-1 formatted in ranges of `itemsPerRange` on `workers`
// and delivered in order on the calling thread.
//
// `format(scratch, first, end, out, counts)` writes items first to end-1 at
// `out` (room for (end - first) x maxItemBytes), may add to `counts`, and
// returns the end of its text; `scratch` is the formatting thread's own
// Scratch, made once per thread (workers and caller) for this call and kept
// across its ranges.
// `deliver(const FormattedRange&)` takes each range's bytes. Exceptions as
// for ExportWorkers::run.
template <class Scratch, class Format, class Deliver>
void formatRangesInOrder(ExportWorkers& workers, std::size_t numItems, std::size_t itemsPerRange,
                         std::size_t maxItemBytes, const Format& format, const Deliver& deliver) {
    if (numItems == 0) return;
    std::vector<Scratch> scratch(workers.count() + 1);
    const auto rangeFirst = [itemsPerRange](std::size_t chunk) { return chunk * itemsPerRange; };
    const auto rangeEnd = [numItems, itemsPerRange](std::size_t chunk) {
        return std::min(numItems, (chunk + 1) * itemsPerRange);
    };
    std::size_t nextChunk = 0;
    workers.run(
        (numItems + itemsPerRange - 1) / itemsPerRange, itemsPerRange * maxItemBytes,
        [&](unsigned worker, std::size_t chunk, ChunkBytes& bytes) {
            RangeCounts counts;
            char* end = format(scratch[worker], rangeFirst(chunk), rangeEnd(chunk), bytes.data.get(), counts);
            bytes.size = static_cast<std::size_t>(end - bytes.data.get());
            bytes.count = static_cast<std::size_t>(counts.written);
            bytes.skipped = static_cast<std::size_t>(counts.skipped);
        },
        [&](const ChunkBytes& bytes) {
            const std::size_t chunk = nextChunk++;
            deliver(FormattedRange{bytes.data.get(), bytes.size, rangeFirst(chunk), rangeEnd(chunk),
                                   RangeCounts{bytes.count, bytes.skipped}});
        });
}
