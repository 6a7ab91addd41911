#pragma once

#include <cstddef>
#include <functional>
#include <memory>

// The bytes of one chunk of an export, formatted apart from the others.
struct ChunkBytes {
    std::unique_ptr<char[]> data;
    std::size_t size = 0;
    std::size_t count = 0;  // what the chunk holds, for the caller (triangles, ...)
};

// Formats chunks 0 .. numChunks-1 of an export on worker threads and hands
// them to `deliver` one by one, in chunk order, on the calling thread. Each
// chunk's bytes may depend only on the chunk (and the worker's own caches),
// so the output is the same whatever the number of threads.
//
// `format(worker, chunk, bytes)` writes chunk `chunk` into `bytes.data`
// (capacity `chunkCapacity`, size and count to be set); `worker` (0 to
// workers-1) lets it use per-thread scratch state. Each worker holds two
// chunk buffers, so memory stays at 2 x workers x chunkCapacity.
//
// Every thread has ended when runOrderedChunks returns, also when `format`
// or `deliver` throws: the first exception is passed on to the caller. With
// one worker, one chunk, or when no thread can be started, everything runs on
// the calling thread. (The straightforward reference build always does so.)
void runOrderedChunks(std::size_t numChunks, std::size_t chunkCapacity, unsigned workers,
                      const std::function<void(unsigned worker, std::size_t chunk, ChunkBytes& bytes)>& format,
                      const std::function<void(const ChunkBytes& bytes)>& deliver);

// The number of formatting threads exports use: the processors available,
// at most four.
unsigned exportWorkerCount();
