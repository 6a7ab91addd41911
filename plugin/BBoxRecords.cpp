#include "plugin/BBoxRecords.h"

#include "geometry/BBox.h"
#include "support/QMString.h"
#include "vekio/QMVekIO.h"

#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>

namespace {

constexpr std::size_t kRecordSize = sizeof(BBox);  // 24 bytes, six floats

// Offsets of the two floats that clearing a record writes.
constexpr std::size_t kMinXOffset = offsetof(BBox, m_min);
constexpr std::size_t kMaxXOffset = offsetof(BBox, m_max);

// A script number as a record index or byte offset: the number, already biased
// by the caller so that integral values computed in floating point (1.9999...)
// name the intended integer, truncated toward zero.
//
// Empty when the truncated value is NaN, negative or larger than an int: such
// a number names no record, and converting it would be undefined. A number a
// little below zero truncates to 0 and so still names the first record.
std::optional<std::uint64_t> wholeNumber(double biased) {
    const double whole = std::trunc(biased);
    if (!(whole >= 0.0) || whole > static_cast<double>(INT_MAX)) return std::nullopt;  // NaN fails the first test
    return static_cast<std::uint64_t>(whole);
}

// The record that starts `offset` bytes into the block. Null when the block is
// null, when the host gave the block's size (above 0) and the record does not
// lie wholly inside it, or when the record would run past the end of the
// address space; without a size, how far the block extends is the script's
// business.
char* recordAt(char* block, int size, std::uint64_t offset) {
    if (!block) return nullptr;
    if (size > 0 && (offset > std::uint64_t(size) || std::uint64_t(size) - offset < kRecordSize)) return nullptr;
    const std::uintptr_t base = reinterpret_cast<std::uintptr_t>(block);
    if (base > UINTPTR_MAX - kRecordSize || offset > UINTPTR_MAX - kRecordSize - base) return nullptr;
    return block + static_cast<std::size_t>(offset);
}

BBox loadRecord(const char* record) {
    BBox box;
    std::memcpy(&box, record, kRecordSize);
    return box;
}

void storeRecord(char* record, const BBox& box) { std::memcpy(record, &box, kRecordSize); }

}  // namespace

double clearBBoxRecord(double number, char* memBlock1, int size1) {
    if (!memBlock1) return -1.0;
    // The bias is the single-precision 0.1 widened to double.
    const std::optional<std::uint64_t> index = wholeNumber(number + static_cast<double>(0.1f));
    if (!index) return -1.0;
    char* record = recordAt(memBlock1, size1, *index * kRecordSize);
    if (!record) return -1.0;

    // Only minimum x and maximum x are written; the next add overwrites the rest.
    const float minX = 0.0f;
    const float maxX = -1.0f;
    std::memcpy(record + kMinXOffset, &minX, sizeof minX);
    std::memcpy(record + kMaxXOffset, &maxX, sizeof maxX);
    return 0.0;
}

double addBBoxRecords(char* memBlock1, int size1) {
    if (!recordAt(memBlock1, size1, 0) || !recordAt(memBlock1, size1, kRecordSize)) return -1.0;
    // An empty record 0 takes all six floats of record 1 as they are, empty or
    // not; otherwise record 1's two corners are added as points.
    BBox box = loadRecord(memBlock1);
    box.add(loadRecord(memBlock1 + kRecordSize));
    storeRecord(memBlock1, box);
    return 0.0;
}

double readBBoxRecordFromVekFile(const char* path, double number, char* memBlock1, int size1) {
    // A null block names no record, whatever the offset: there is nothing to
    // write to, and the file is left alone.
    if (!memBlock1) return -1.0;
    const std::optional<std::uint64_t> offset = wholeNumber(number + 0.1);
    if (!offset) return -1.0;
    char* record = recordAt(memBlock1, size1, *offset);
    if (!record) return -1.0;

    // The reader works on a copy of the record, which goes back into the block
    // however the read ends: a failed read leaves the record as the reader left
    // the box (emptied, or holding the points read before the failure).
    struct StoreOnExit {
        char* record;
        BBox box;
        ~StoreOnExit() { storeRecord(record, box); }
    } target{record, loadRecord(record)};

    QMVekIO reader;
    return reader.readBBox(QMString(path), target.box) ? 0.0 : -1.0;
}
