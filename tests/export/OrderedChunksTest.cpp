#include "export/OrderedChunks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <map>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>

namespace {

// Chunk c holds the text "<c>;" repeated c % 7 + 1 times.
void formatNumbered(unsigned, std::size_t chunk, ChunkBytes& bytes) {
    const std::string piece = std::to_string(chunk) + ";";
    for (std::size_t i = 0; i < chunk % 7 + 1; ++i) {
        std::memcpy(bytes.data.get() + bytes.size, piece.data(), piece.size());
        bytes.size += piece.size();
    }
    bytes.count = chunk;
}

std::string expectedText(std::size_t numChunks) {
    std::string text;
    for (std::size_t c = 0; c < numChunks; ++c)
        for (std::size_t i = 0; i < c % 7 + 1; ++i) text += std::to_string(c) + ";";
    return text;
}

}  // namespace

TEST(OrderedChunks, DeliversEveryChunkInOrderWhateverTheWorkerCount) {
    for (unsigned workers : {0u, 1u, 2u, 3u, 4u, 8u}) {
        std::string text;
        std::size_t countSum = 0;
        runOrderedChunks(500, 64, workers, formatNumbered, [&](const ChunkBytes& bytes) {
            text.append(bytes.data.get(), bytes.size);
            countSum += bytes.count;
        });
        EXPECT_EQ(text, expectedText(500)) << workers << " workers";
        EXPECT_EQ(countSum, 499u * 500u / 2u);
    }
}

TEST(OrderedChunks, NoChunksDeliversNothing) {
    int deliveries = 0;
    runOrderedChunks(0, 16, 4, formatNumbered, [&](const ChunkBytes&) { ++deliveries; });
    EXPECT_EQ(deliveries, 0);
}

// Each formatting thread has an index of its own: the workers 0 to
// workers-1, the calling thread the worker count.
TEST(OrderedChunks, EachFormattingThreadHasItsOwnIndex) {
    const std::thread::id caller = std::this_thread::get_id();
    std::mutex seen;
    std::map<unsigned, std::set<std::thread::id>> threadsOfIndex;
    runOrderedChunks(
        300, 8, 3,
        [&](unsigned worker, std::size_t, ChunkBytes&) {
            std::this_thread::sleep_for(std::chrono::microseconds(200));
            std::lock_guard<std::mutex> lock(seen);
            threadsOfIndex[worker].insert(std::this_thread::get_id());
        },
        [](const ChunkBytes&) {});
    for (const auto& [index, threads] : threadsOfIndex) {
        EXPECT_LE(index, 3u);
        EXPECT_EQ(threads.size(), 1u) << "index " << index;
        EXPECT_EQ(*threads.begin() == caller, index == 3u) << "index " << index;
    }
}

TEST(OrderedChunks, AFormatFailureReachesTheCallerAfterEveryThreadEnded) {
    std::atomic<int> running{0};
    std::size_t delivered = 0;
    try {
        runOrderedChunks(
            1000, 8, 2,
            [&](unsigned, std::size_t chunk, ChunkBytes&) {
                ++running;
                if (chunk == 37) {
                    --running;
                    throw std::runtime_error("chunk 37");
                }
                --running;
            },
            [&](const ChunkBytes&) { ++delivered; });
        FAIL() << "no exception";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "chunk 37");
    }
    EXPECT_EQ(running.load(), 0);
    EXPECT_LE(delivered, 37u);  // nothing after the failed chunk
}

TEST(OrderedChunks, ADeliveryFailureStopsTheWorkers) {
    std::atomic<std::size_t> formatted{0};
    EXPECT_THROW(runOrderedChunks(
                     100000, 8, 2, [&](unsigned, std::size_t, ChunkBytes&) { ++formatted; },
                     [](const ChunkBytes& bytes) {
                         if (bytes.count == 0) throw std::length_error("disk");
                     }),
                 std::length_error);
    // Workers stop within their two buffers of the failure.
    EXPECT_LT(formatted.load(), 100u);
}

TEST(OrderedChunks, NoWorkerFormatsOnTheCallingThread) {
    const std::thread::id caller = std::this_thread::get_id();
    bool sameThread = true;
    runOrderedChunks(
        10, 8, 0, [&](unsigned, std::size_t, ChunkBytes&) { sameThread &= std::this_thread::get_id() == caller; },
        [](const ChunkBytes&) {});
    EXPECT_TRUE(sameThread);
}

// One worker formats on a thread of its own; the calling thread delivers,
// and formats the chunks it would otherwise wait for.
TEST(OrderedChunks, TheCallerFormatsWhileItsNextChunkIsNotReady) {
    const std::thread::id caller = std::this_thread::get_id();
    std::mutex seen;
    std::set<std::thread::id> workers;
    std::size_t byCaller = 0;
    std::string text;
    runOrderedChunks(
        200, 64, 1,
        [&](unsigned worker, std::size_t chunk, ChunkBytes& bytes) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));  // slower than delivering
            {
                std::lock_guard<std::mutex> lock(seen);
                if (std::this_thread::get_id() == caller)
                    ++byCaller;
                else
                    workers.insert(std::this_thread::get_id());
            }
            formatNumbered(worker, chunk, bytes);
        },
        [&](const ChunkBytes& bytes) { text.append(bytes.data.get(), bytes.size); });
    EXPECT_EQ(text, expectedText(200));
    EXPECT_EQ(workers.size(), 1u);
    EXPECT_GT(byCaller, 0u);
    EXPECT_LT(byCaller, 200u);
}

TEST(ExportWorkersTest, OneSetOfWorkersServesRunAfterRunOnTheSameThreads) {
    ExportWorkers workers(2);
    std::set<std::thread::id> threads;
    std::mutex seen;
    for (std::size_t run = 0; run < 20; ++run) {
        const std::size_t numChunks = 3 + run * 17;
        std::string text;
        workers.run(
            numChunks, 64,
            [&](unsigned worker, std::size_t chunk, ChunkBytes& bytes) {
                {
                    std::lock_guard<std::mutex> lock(seen);
                    threads.insert(std::this_thread::get_id());
                }
                formatNumbered(worker, chunk, bytes);
            },
            [&](const ChunkBytes& bytes) { text.append(bytes.data.get(), bytes.size); });
        EXPECT_EQ(text, expectedText(numChunks)) << "run " << run;
    }
    threads.erase(std::this_thread::get_id());  // the caller formats a chunk now and then
    EXPECT_EQ(threads.size(), 2u);               // the same two workers every run
}

TEST(ExportWorkersTest, ARunAfterAFailedOneDeliversEverything) {
    ExportWorkers workers(2);
    EXPECT_THROW(workers.run(
                     500, 16,
                     [](unsigned, std::size_t chunk, ChunkBytes&) {
                         if (chunk == 11) throw std::runtime_error("chunk 11");
                     },
                     [](const ChunkBytes&) {}),
                 std::runtime_error);
    std::string text;
    workers.run(300, 4096, formatNumbered, [&](const ChunkBytes& bytes) { text.append(bytes.data.get(), bytes.size); });
    EXPECT_EQ(text, expectedText(300));
}

TEST(ExportWorkersTest, ALargerChunkCapacityLaterGetsLargerBuffers) {
    ExportWorkers workers(3);
    std::size_t largest = 0;
    for (std::size_t capacity : {std::size_t(8), std::size_t(100000), std::size_t(16)}) {
        workers.run(
            12, capacity,
            [&](unsigned, std::size_t, ChunkBytes& bytes) {
                std::memset(bytes.data.get(), 'x', capacity);  // the whole capacity is there
                bytes.size = capacity;
            },
            [&](const ChunkBytes& bytes) { largest = std::max(largest, bytes.size); });
    }
    EXPECT_EQ(largest, 100000u);
}
