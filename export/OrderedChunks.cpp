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

void resetCounts(ChunkBytes& bytes) {
    bytes.size = 0;
    bytes.count = 0;
    bytes.skipped = 0;
}

}  // namespace

// Worker w formats chunks w, w + W, w + 2W, ... of each run into its two
// slots in turn (chunk c uses slot c mod 2W); the caller takes the slots in
// chunk order. Between runs the workers wait for the next one.
class ExportWorkers::Pool {
public:
    explicit Pool(unsigned workers) : m_workers(workers) {}
    ~Pool() { stopThreads(); }

    void run(std::size_t numChunks, std::size_t chunkCapacity, const ChunkFormatter& format,
             const ChunkDelivery& deliver) {
        if (m_workers == 0 || numChunks <= 1 || !startThreads()) {
            runOnCallingThread(numChunks, chunkCapacity, format, deliver);
            return;
        }
        growSlots(chunkCapacity);
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_numChunks = numChunks;
            m_format = &format;
            m_failed = false;
            m_error = nullptr;
            m_finishedWorkers = 0;
            for (Slot& slot : m_slots) {
                slot.chunk = kNoChunk;
                slot.busy = false;
            }
            ++m_run;
        }
        m_changed.notify_all();
        try {
            for (std::size_t chunk = 0; chunk < numChunks; ++chunk) {
                Slot& slot = waitForChunk(chunk);
                deliver(slot.bytes);
                release(slot);
            }
        } catch (...) {
            fail(std::current_exception());
        }
        std::exception_ptr error;
        {
            // The workers still use `format` until each has finished its part.
            std::unique_lock<std::mutex> lock(m_mutex);
            m_changed.wait(lock, [&] { return m_finishedWorkers == m_workers; });
            m_format = nullptr;
            error = m_error;
        }
        if (error) std::rethrow_exception(error);
    }

private:
    struct Slot {
        ChunkBytes bytes;
        std::size_t chunk = kNoChunk;  // the chunk it holds, once formatted
        bool busy = false;             // between a worker's claim and the delivery
    };

    void runOnCallingThread(std::size_t numChunks, std::size_t chunkCapacity, const ChunkFormatter& format,
                            const ChunkDelivery& deliver) {
        if (m_ownCapacity < chunkCapacity) {
            m_own.data.reset();
            m_own.data.reset(new char[chunkCapacity]);
            m_ownCapacity = chunkCapacity;
        }
        for (std::size_t chunk = 0; chunk < numChunks; ++chunk) {
            resetCounts(m_own);
            format(0, chunk, m_own);
            deliver(m_own);
        }
    }

    // False, with no thread left running, when the threads could not be
    // started; a failure other than the system's refusal (out of memory)
    // goes to the caller.
    bool startThreads() {
        if (!m_threads.empty()) return true;
        if (m_threadsRefused) return false;
        try {
            m_threads.reserve(m_workers);
            for (unsigned w = 0; w < m_workers; ++w) m_threads.emplace_back([this, w] { work(w); });
        } catch (...) {
            const std::exception_ptr error = std::current_exception();
            stopThreads();
            try {
                std::rethrow_exception(error);
            } catch (const std::system_error&) {
                m_threadsRefused = true;
                return false;
            }
        }
        return true;
    }

    void stopThreads() {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_stopping = true;
        }
        m_changed.notify_all();
        for (std::thread& thread : m_threads) thread.join();
        m_threads.clear();
        m_stopping = false;
    }

    // Buffers of at least `capacity` bytes in every slot (the workers are
    // waiting for a run, so nothing uses them).
    void growSlots(std::size_t capacity) {
        if (m_slots.size() == 2 * std::size_t(m_workers) && m_slotCapacity >= capacity) return;
        std::vector<Slot> slots(2 * std::size_t(m_workers));
        for (Slot& slot : slots) slot.bytes.data.reset(new char[capacity]);
        m_slots = std::move(slots);
        m_slotCapacity = capacity;
    }

    void work(unsigned worker) {
        std::uint64_t runsSeen = 0;
        std::unique_lock<std::mutex> lock(m_mutex);
        for (;;) {
            m_changed.wait(lock, [&] { return m_stopping || m_run != runsSeen; });
            if (m_stopping) return;
            runsSeen = m_run;
            const std::size_t numChunks = m_numChunks;
            const ChunkFormatter& format = *m_format;
            lock.unlock();
            formatPart(worker, numChunks, format);
            lock.lock();
            ++m_finishedWorkers;
            m_changed.notify_all();
        }
    }

    void formatPart(unsigned worker, std::size_t numChunks, const ChunkFormatter& format) {
        try {
            for (std::size_t chunk = worker; chunk < numChunks; chunk += m_workers) {
                Slot& slot = m_slots[chunk % m_slots.size()];
                {
                    std::unique_lock<std::mutex> lock(m_mutex);
                    m_changed.wait(lock, [&] { return m_failed || !slot.busy; });
                    if (m_failed) return;
                    slot.busy = true;
                }
                resetCounts(slot.bytes);
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

    // Stops the run; the first failure is the one reported.
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

    const unsigned m_workers;
    std::vector<std::thread> m_threads;
    bool m_threadsRefused = false;
    std::vector<Slot> m_slots;
    std::size_t m_slotCapacity = 0;
    ChunkBytes m_own;  // the buffer of runs on the calling thread
    std::size_t m_ownCapacity = 0;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_stopping = false;
    std::uint64_t m_run = 0;  // runs started
    std::size_t m_numChunks = 0;
    const ChunkFormatter* m_format = nullptr;
    unsigned m_finishedWorkers = 0;
    bool m_failed = false;
    std::exception_ptr m_error;
};

ExportWorkers::ExportWorkers(unsigned workers) : m_workers(workers), m_pool(new Pool(m_workers)) {}

ExportWorkers::~ExportWorkers() = default;

void ExportWorkers::run(std::size_t numChunks, std::size_t chunkCapacity, const ChunkFormatter& format,
                        const ChunkDelivery& deliver) {
    m_pool->run(numChunks, chunkCapacity, format, deliver);
}

void runOrderedChunks(std::size_t numChunks, std::size_t chunkCapacity, unsigned workers,
                      const ChunkFormatter& format, const ChunkDelivery& deliver) {
    ExportWorkers(workers).run(numChunks, chunkCapacity, format, deliver);
}

namespace {

// With one processor (or none known) a formatting thread would only take
// turns with the calling one.
unsigned formattingThreads(unsigned besides) {
    const unsigned processors = std::thread::hardware_concurrency();
    if (processors < 2) return 0;
    return std::clamp(processors - besides, 1u, 4u);
}

}  // namespace

unsigned exportWorkerCount() { return formattingThreads(0); }

unsigned exportWorkerCountBesideWriter() { return formattingThreads(1); }
