#include "export/OrderedChunks.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace {

constexpr std::size_t kNoChunk = static_cast<std::size_t>(-1);

void runOnCallingThread(std::size_t numChunks, std::size_t chunkCapacity,
                        const std::function<void(unsigned, std::size_t, ChunkBytes&)>& format,
                        const std::function<void(const ChunkBytes&)>& deliver) {
    ChunkBytes bytes;
    bytes.data.reset(new char[chunkCapacity]);
    for (std::size_t chunk = 0; chunk < numChunks; ++chunk) {
        bytes.size = 0;
        bytes.count = 0;
        bytes.skipped = 0;
        format(0, chunk, bytes);
        deliver(bytes);
    }
}

// Worker w formats chunks w, w + W, w + 2W, ... into its two slots in turn
// (chunk c uses slot c mod 2W); the caller takes the slots in chunk order.
class ChunkPipeline {
public:
    ChunkPipeline(std::size_t numChunks, std::size_t chunkCapacity, unsigned workers)
        : m_numChunks(numChunks), m_workers(workers), m_slots(2 * std::size_t(workers)) {
        for (Slot& slot : m_slots) slot.bytes.data.reset(new char[chunkCapacity]);
    }

    // False, with nothing delivered, when the threads could not be started.
    bool run(const std::function<void(unsigned, std::size_t, ChunkBytes&)>& format,
             const std::function<void(const ChunkBytes&)>& deliver) {
        std::vector<std::thread> threads;
        try {
            threads.reserve(m_workers);
            for (unsigned w = 0; w < m_workers; ++w) threads.emplace_back([&, w] { work(w, format); });
        } catch (...) {
            // The threads already started stop and are joined before anything
            // leaves: without a thread the work runs on this one; any other
            // failure (out of memory) goes to the caller.
            const std::exception_ptr error = std::current_exception();
            fail(nullptr);
            for (std::thread& thread : threads) thread.join();
            try {
                std::rethrow_exception(error);
            } catch (const std::system_error&) {
                return false;
            }
        }
        try {
            for (std::size_t chunk = 0; chunk < m_numChunks; ++chunk) {
                Slot& slot = waitForChunk(chunk);
                deliver(slot.bytes);
                release(slot);
            }
        } catch (...) {
            fail(std::current_exception());
        }
        for (std::thread& thread : threads) thread.join();
        if (m_error) std::rethrow_exception(m_error);
        return true;
    }

private:
    struct Slot {
        ChunkBytes bytes;
        std::size_t chunk = kNoChunk;  // the chunk it holds, once formatted
        bool busy = false;             // between a worker's claim and the delivery
    };

    void work(unsigned worker, const std::function<void(unsigned, std::size_t, ChunkBytes&)>& format) {
        try {
            for (std::size_t chunk = worker; chunk < m_numChunks; chunk += m_workers) {
                Slot& slot = m_slots[chunk % m_slots.size()];
                {
                    std::unique_lock<std::mutex> lock(m_mutex);
                    m_changed.wait(lock, [&] { return m_failed || !slot.busy; });
                    if (m_failed) return;
                    slot.busy = true;
                }
                slot.bytes.size = 0;
                slot.bytes.count = 0;
                slot.bytes.skipped = 0;
                format(worker, chunk, slot.bytes);
                {
                    std::lock_guard<std::mutex> lock(m_mutex);
                    slot.chunk = chunk;
                }
                m_changed.notify_all();
            }
        } catch (...) {
            fail(std::current_exception());
        }
    }

    Slot& waitForChunk(std::size_t chunk) {
        Slot& slot = m_slots[chunk % m_slots.size()];
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [&] { return m_failed || slot.chunk == chunk; });
        if (m_failed) throw Stopped();
        return slot;
    }

    void release(Slot& slot) {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            slot.chunk = kNoChunk;
            slot.busy = false;
        }
        m_changed.notify_all();
    }

    // Stops every thread; the first failure is the one reported.
    void fail(std::exception_ptr error) {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            if (!m_failed) {
                m_failed = true;
                if (!m_error) m_error = error;
            }
        }
        m_changed.notify_all();
    }

    // Thrown to the caller's loop when a worker failed (its error is kept).
    struct Stopped {};

    const std::size_t m_numChunks;
    const unsigned m_workers;
    std::vector<Slot> m_slots;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_failed = false;
    std::exception_ptr m_error;
};

}  // namespace

void runOrderedChunks(std::size_t numChunks, std::size_t chunkCapacity, unsigned workers,
                      const std::function<void(unsigned, std::size_t, ChunkBytes&)>& format,
                      const std::function<void(const ChunkBytes&)>& deliver) {
    if (workers <= 1 || numChunks <= 1) return runOnCallingThread(numChunks, chunkCapacity, format, deliver);
    ChunkPipeline pipeline(numChunks, chunkCapacity, workers);
    if (!pipeline.run(format, deliver)) runOnCallingThread(numChunks, chunkCapacity, format, deliver);
}

unsigned exportWorkerCount() {
    const unsigned processors = std::thread::hardware_concurrency();
    return std::clamp(processors, 1u, 4u);
}
