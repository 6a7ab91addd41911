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

// Chunks are claimed in chunk order by whichever thread is free: a worker,
// or the caller while the chunk it must deliver next is not ready (so that
// no processor waits while there is formatting to do). Chunk c uses slot
// c mod S, S = 2 x (workers + 1), and can be claimed once the slot's
// previous chunk has been delivered; the caller delivers the slots in chunk
// order. Between runs the workers wait for the next one.
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
            m_nextToClaim = 0;
            m_format = &format;
            m_failed = false;
            m_error = nullptr;
            m_finishedWorkers = 0;
            for (Slot& slot : m_slots) slot.chunk = slot.pending = kNoChunk;
            ++m_run;
        }
        m_changed.notify_all();
        try {
            for (std::size_t chunk = 0; chunk < numChunks; ++chunk) {
                Slot& slot = formatUntilReady(chunk, format);
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
        std::size_t chunk = kNoChunk;    // the chunk it holds, once formatted
        std::size_t pending = kNoChunk;  // the chunk claimed for it, until delivered
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
        const std::size_t count = 2 * (std::size_t(m_workers) + 1);
        if (m_slots.size() == count && m_slotCapacity >= capacity) return;
        std::vector<Slot> slots(count);
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
            const ChunkFormatter& format = *m_format;
            for (;;) {
                m_changed.wait(lock, [&] { return m_failed || allClaimed() || canClaim(); });
                if (m_failed || allClaimed()) break;
                Slot& slot = claim();
                lock.unlock();
                const bool formatted = formatInto(worker, slot, format);
                lock.lock();
                if (formatted) done(slot);
            }
            ++m_finishedWorkers;
            m_changed.notify_all();
        }
    }

    Slot& slotOf(std::size_t chunk) { return m_slots[chunk % m_slots.size()]; }
    bool allClaimed() const { return m_nextToClaim >= m_numChunks; }
    // Whether the next chunk's slot is free (its previous chunk delivered).
    bool canClaim() { return !allClaimed() && slotOf(m_nextToClaim).pending == kNoChunk; }

    // The next chunk, claimed with the lock held; its slot keeps it as
    // pending until it is delivered.
    Slot& claim() {
        Slot& slot = slotOf(m_nextToClaim);
        slot.pending = m_nextToClaim++;
        return slot;
    }
    // With the lock held: the slot's chunk is ready for delivery.
    void done(Slot& slot) {
        slot.chunk = slot.pending;
        m_changed.notify_all();
    }

    // Formats the slot's chunk, without the lock.
    static void formatClaimed(unsigned worker, Slot& slot, const ChunkFormatter& format) {
        resetCounts(slot.bytes);
        format(worker, slot.pending, slot.bytes);
    }

    // formatClaimed on a worker: a failure stops the run.
    bool formatInto(unsigned worker, Slot& slot, const ChunkFormatter& format) {
        try {
            formatClaimed(worker, slot, format);
            return true;
        } catch (...) {
            fail(std::current_exception());
            return false;
        }
    }

    // Waits for `chunk`, formatting the next chunks meanwhile whenever one
    // can be claimed (with the calling thread's own scratch index, the
    // worker count). A failure of its own formatting is thrown.
    Slot& formatUntilReady(std::size_t chunk, const ChunkFormatter& format) {
        Slot& target = slotOf(chunk);
        std::unique_lock<std::mutex> lock(m_mutex);
        for (;;) {
            if (m_failed) throw Stopped();
            if (target.chunk == chunk) return target;
            if (canClaim()) {
                Slot& slot = claim();
                lock.unlock();
                formatClaimed(m_workers, slot, format);
                lock.lock();
                done(slot);
                continue;
            }
            m_changed.wait(lock);
        }
    }

    void release(Slot& slot) {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            slot.chunk = slot.pending = kNoChunk;
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
    std::size_t m_nextToClaim = 0;  // chunks below it are claimed
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

// One processor fewer than there are: the calling thread writes, and formats
// whenever it would wait, so it keeps the remaining processor busy. More
// threads than processors would take turns on them, the writer's included.
// With one processor (or none known) a worker would only take turns with
// the calling thread.
unsigned exportWorkerCount() {
    const unsigned processors = std::thread::hardware_concurrency();
    if (processors < 2) return 0;
    return std::clamp(processors - 1, 1u, 4u);
}
