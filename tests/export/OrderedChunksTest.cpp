#include "export/OrderedChunks.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
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
    for (unsigned workers : {1u, 2u, 3u, 4u, 8u}) {
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

TEST(OrderedChunks, WorkersGetTheirOwnIndexBelowTheWorkerCount) {
    std::atomic<unsigned> highest{0};
    runOrderedChunks(
        100, 8, 3,
        [&](unsigned worker, std::size_t, ChunkBytes&) {
            unsigned seen = highest.load();
            while (worker > seen && !highest.compare_exchange_weak(seen, worker)) {
            }
        },
        [](const ChunkBytes&) {});
    EXPECT_EQ(highest.load(), 2u);
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

TEST(OrderedChunks, OneWorkerRunsOnTheCallingThread) {
    const std::thread::id caller = std::this_thread::get_id();
    bool sameThread = true;
    runOrderedChunks(
        10, 8, 1, [&](unsigned, std::size_t, ChunkBytes&) { sameThread &= std::this_thread::get_id() == caller; },
        [](const ChunkBytes&) {});
    EXPECT_TRUE(sameThread);
}
