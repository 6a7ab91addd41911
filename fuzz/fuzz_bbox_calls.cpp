// fuzz_bbox_calls: InitBBox3D, AddBBox3D and GetBBoxFromVekFile, under their
// plain script names and their C++ names, with fuzzed numbers, fuzzed record
// contents and memory blocks at any alignment, on a fuzzed Vek file.
//
// Input (read with libFuzzer's FuzzedDataProvider): one to eight calls are
// taken from the end of the input, and the bytes left at its front are the
// Vek file, so a corpus entry is a Vek file followed by the calls' bytes.
//
// Invariants, for every call:
//  - it returns -1 for a null block and for a number that names no record
//    (NaN, negative or beyond INT_MAX once biased and truncated), and then
//    writes nothing; else 0, except GetBBoxFromVekFile, which returns -1
//    exactly when QMVekIO::readBBox fails on the file;
//  - it writes only its record, and there exactly what the call documents:
//    InitBBox3D minimum x := 0 and maximum x := -1; AddBBox3D record 0 := its
//    union with record 1 (BBox::add); GetBBoxFromVekFile what readBBox leaves
//    in a box loaded from the record.
// A call may be given the block's size (the host's size1): then the block
// ends right at an inaccessible page, so any access past it ends the run,
// and a record that does not lie wholly inside the block must leave the
// call at -1 with nothing written. Without a size:
// records up to 64 KiB into the block lie in a heap block that ends with the
// record (AddressSanitizer sees any write past it; bytes before the record
// are compared); farther ones, up to the largest offset a number can name
// (24 x INT_MAX), lie in a reserved address range whose pages are all
// inaccessible except those around the record.
#include "fuzz/BBoxCallForms.h"
#include "fuzz/FuzzSupport.h"
#include "geometry/BBox.h"
#include "plugin/ombrel.h"
#include "vekio/QMVekIO.h"

#include "TestFiles.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <memory>
#include <optional>
#include <sys/mman.h>
#include <unistd.h>

const BBoxCallForm kScriptBBoxCalls = {"script names", &InitBBox3D, &AddBBox3D, &GetBBoxFromVekFile};

namespace {

constexpr std::size_t kRecord = sizeof(BBox);  // 24 bytes
constexpr std::size_t kMaxMisalignment = 31;
constexpr std::uint64_t kHeapReach = 64 * 1024;
constexpr unsigned char kUntouched = 0xA5;

enum class Kind { Init, Add, Get };
enum class FileChoice { Fuzzed, Missing, Null };

struct Call {
    Kind kind = Kind::Init;
    const BBoxCallForm* form = &kScriptBBoxCalls;
    bool nullBlock = false;
    std::size_t misalignment = 0;
    double number = 0.0;
    FileChoice file = FileChoice::Fuzzed;
    int size = 0;  // the block's size given to the call; 0 or below: none
    unsigned char records[2 * kRecord] = {};  // what the block holds where the call looks
};

double consumeNumber(FuzzedDataProvider& input) {
    static constexpr double kFractions[] = {0.0, 0.05, -0.05, -0.1, 0.9, 0.95, 0.9999999, -0.9999999};
    switch (input.ConsumeIntegralInRange(0, 3)) {
        case 0:  // a small index or offset, just around a whole number
            return input.ConsumeIntegralInRange(0, 100) + input.PickValueInArray(kFractions);
        case 1:  // close to the largest whole numbers
            return double(INT_MAX) - input.ConsumeIntegralInRange(-2, 2) * 24.0 + input.PickValueInArray(kFractions);
        case 2:
            return input.ConsumeFloatingPoint<double>();
        default: {  // any bits: NaN, infinities, subnormals
            const std::uint64_t bits = input.ConsumeIntegral<std::uint64_t>();
            double number;
            std::memcpy(&number, &bits, sizeof number);
            return number;
        }
    }
}

Call consumeCall(FuzzedDataProvider& input) {
    Call call;
    call.kind = static_cast<Kind>(input.ConsumeIntegralInRange(0, 2));
    call.form = input.ConsumeBool() ? &kLinkedBBoxCalls : &kScriptBBoxCalls;
    call.nullBlock = input.ConsumeIntegralInRange(0, 15) == 0;
    call.misalignment = input.ConsumeIntegralInRange<std::size_t>(0, kMaxMisalignment);
    call.number = consumeNumber(input);
    call.file = static_cast<FileChoice>(input.ConsumeIntegralInRange(0, 7) % 3);
    if (input.ConsumeBool()) call.size = input.ConsumeIntegralInRange(-2, 8192);
    for (std::size_t i = 0; i < sizeof call.records; i += 4) {
        const std::uint32_t word = input.ConsumeIntegral<std::uint32_t>();
        std::memcpy(call.records + i, &word, 4);
    }
    return call;
}

// The record a number names, by the documented rule: the number plus the
// bias, truncated toward zero, when that is a whole number from 0 to INT_MAX.
std::optional<std::uint64_t> named(double number, double bias) {
    const double whole = std::trunc(number + bias);
    if (std::isnan(whole) || whole < 0.0 || whole > double(INT_MAX)) return std::nullopt;
    return static_cast<std::uint64_t>(whole);
}

// Where the call's record lies, in bytes from the block's start, and how
// many bytes it may touch there; empty when the number names no record.
std::optional<std::uint64_t> recordOffset(const Call& call) {
    switch (call.kind) {
        case Kind::Init: {
            const std::optional<std::uint64_t> index = named(call.number, double(0.1f));
            if (index) return *index * kRecord;
            return std::nullopt;
        }
        case Kind::Add:
            return 0;
        case Kind::Get:
            return named(call.number, 0.1);
    }
    return std::nullopt;
}

std::size_t extent(const Call& call) { return call.kind == Kind::Add ? 2 * kRecord : kRecord; }

// Memory laid out for one call: the block's start and the bytes the call may
// change (the record), everything else filled with kUntouched.
class CallMemory {
public:
    virtual ~CallMemory() = default;
    virtual char* block() = 0;
    virtual unsigned char* record() = 0;
    // Whether every byte outside the record still holds kUntouched.
    virtual bool restUntouched() const = 0;
};

// A heap block that ends right after the record.
class HeapMemory final : public CallMemory {
public:
    HeapMemory(std::size_t misalignment, std::uint64_t offset, std::size_t extent)
        : m_size(misalignment + offset + extent),
          m_bytes(new unsigned char[m_size]),
          m_misalignment(misalignment),
          m_offset(offset) {
        std::memset(m_bytes.get(), kUntouched, m_size);
    }
    char* block() override { return reinterpret_cast<char*>(m_bytes.get() + m_misalignment); }
    unsigned char* record() override { return m_bytes.get() + m_misalignment + m_offset; }
    bool restUntouched() const override {
        const std::size_t before = m_misalignment + m_offset;
        for (std::size_t i = 0; i < before; ++i)
            if (m_bytes[i] != kUntouched) return false;
        return true;
    }

private:
    std::size_t m_size;
    std::unique_ptr<unsigned char[]> m_bytes;
    std::size_t m_misalignment;
    std::uint64_t m_offset;
};

// An address range large enough for the farthest record, reserved once and
// kept inaccessible; a call opens only the pages around its record.
class FarMemory final : public CallMemory {
public:
    FarMemory(std::size_t misalignment, std::uint64_t offset, std::size_t extent) {
        static unsigned char* const base = reserve();
        static const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        m_block = base + misalignment;
        m_record = m_block + offset;
        m_pages = base + (misalignment + offset) / page * page;
        m_pagesEnd = base + (misalignment + offset + extent + page - 1) / page * page;
        FUZZ_CHECK(mprotect(m_pages, m_pagesEnd - m_pages, PROT_READ | PROT_WRITE) == 0, "mprotect failed");
        std::memset(m_pages, kUntouched, m_pagesEnd - m_pages);
        m_extent = extent;
    }
    ~FarMemory() override {
        madvise(m_pages, m_pagesEnd - m_pages, MADV_DONTNEED);
        mprotect(m_pages, m_pagesEnd - m_pages, PROT_NONE);
    }
    char* block() override { return reinterpret_cast<char*>(m_block); }
    unsigned char* record() override { return m_record; }
    bool restUntouched() const override {
        for (const unsigned char* p = m_pages; p < m_pagesEnd; ++p)
            if ((p < m_record || p >= m_record + m_extent) && *p != kUntouched) return false;
        return true;
    }

private:
    static unsigned char* reserve() {
        const std::size_t size = kMaxMisalignment + std::size_t(INT_MAX) * kRecord + 2 * kRecord + (1u << 16);
        void* range = mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        FUZZ_CHECK(range != MAP_FAILED, "cannot reserve the far records' address range");
        return static_cast<unsigned char*>(range);
    }

    unsigned char* m_block;
    unsigned char* m_record;
    unsigned char* m_pages;
    unsigned char* m_pagesEnd;
    std::size_t m_extent;
};

// A block of exactly `size` bytes that ends where an inaccessible page
// begins: an access past its end faults.
class GuardedMemory final : public CallMemory {
public:
    GuardedMemory(std::size_t size, std::uint64_t offset) : m_size(size), m_offset(offset) {
        static const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        m_mapped = (size + page - 1) / page * page + page;
        m_pages = static_cast<unsigned char*>(
            mmap(nullptr, m_mapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        FUZZ_CHECK(m_pages != MAP_FAILED, "cannot map a guarded block");
        FUZZ_CHECK(mprotect(m_pages + m_mapped - page, page, PROT_NONE) == 0, "mprotect failed");
        m_block = m_pages + m_mapped - page - size;
        std::memset(m_block, kUntouched, size);
    }
    ~GuardedMemory() override { munmap(m_pages, m_mapped); }
    char* block() override { return reinterpret_cast<char*>(m_block); }
    unsigned char* record() override { return m_block + m_offset; }
    // Every byte of the block outside [offset, offset + extent).
    bool untouchedOutside(std::size_t extent) const {
        for (std::size_t i = 0; i < m_size; ++i)
            if ((i < m_offset || i >= m_offset + extent) && m_block[i] != kUntouched) return false;
        return true;
    }
    bool restUntouched() const override { return untouchedOutside(0); }

private:
    std::size_t m_size;
    std::uint64_t m_offset;
    std::size_t m_mapped = 0;
    unsigned char* m_pages = nullptr;
    unsigned char* m_block = nullptr;
};

std::unique_ptr<CallMemory> memoryFor(const Call& call, std::uint64_t offset) {
    if (offset + extent(call) <= kHeapReach)
        return std::make_unique<HeapMemory>(call.misalignment, offset, extent(call));
    return std::make_unique<FarMemory>(call.misalignment, offset, extent(call));
}

BBox loadBox(const unsigned char* bytes) {
    BBox box;
    std::memcpy(&box, bytes, kRecord);
    return box;
}

double invoke(const Call& call, char* block, const char* path) {
    switch (call.kind) {
        case Kind::Init:
            return call.form->initBBox3D(nullptr, call.number, block, call.size, nullptr, 0, nullptr);
        case Kind::Add:
            return call.form->addBBox3D(nullptr, call.number, block, call.size, nullptr, 0, nullptr);
        case Kind::Get:
            return call.form->getBBoxFromVekFile(path, call.number, block, call.size, nullptr, 0, nullptr);
    }
    return 0.0;
}


// The record after the call, and the call's result, as documented.
double expectedEffect(const Call& call, const char* path, unsigned char* records) {
    switch (call.kind) {
        case Kind::Init: {
            const float minX = 0.0f;
            const float maxX = -1.0f;
            std::memcpy(records + offsetof(BBox, m_min), &minX, sizeof minX);
            std::memcpy(records + offsetof(BBox, m_max), &maxX, sizeof maxX);
            return 0.0;
        }
        case Kind::Add: {
            BBox box = loadBox(records);
            box.add(loadBox(records + kRecord));
            std::memcpy(records, &box, kRecord);
            return 0.0;
        }
        case Kind::Get: {
            BBox box = loadBox(records);
            QMVekIO reader;
            const bool read = reader.readBBox(QMString(path), box);
            std::memcpy(records, &box, kRecord);
            return read ? 0.0 : -1.0;
        }
    }
    return 0.0;
}

std::string describe(const Call& call) {
    static const char* const kNames[] = {"InitBBox3D", "AddBBox3D", "GetBBoxFromVekFile"};
    char number[64];
    std::snprintf(number, sizeof number, "%.17g", call.number);
    return std::string(kNames[static_cast<int>(call.kind)]) + " (" + call.form->name + ") with number " + number +
           ", block misaligned by " + std::to_string(call.misalignment) + ", size " + std::to_string(call.size);
}

// A call given the block's size: its record is used only when it lies
// wholly inside the block; the block ends at a guard page.
void runSized(const Call& call, const char* path, const std::optional<std::uint64_t>& offset) {
    const std::size_t size = std::size_t(call.size);
    const bool inside = offset && *offset <= size && size - *offset >= extent(call);
    GuardedMemory memory(size, inside ? *offset : 0);
    if (!inside) {
        FUZZ_CHECK(invoke(call, memory.block(), path) == -1.0, describe(call) + " outside its block does not fail");
        FUZZ_CHECK(memory.restUntouched(), describe(call) + " wrote into the block although it failed");
        return;
    }
    std::memcpy(memory.record(), call.records, extent(call));
    unsigned char expected[2 * kRecord];
    std::memcpy(expected, call.records, sizeof expected);
    const double expectedResult = expectedEffect(call, path, expected);
    FUZZ_CHECK(invoke(call, memory.block(), path) == expectedResult, describe(call) + " returned another result");
    FUZZ_CHECK(std::memcmp(memory.record(), expected, extent(call)) == 0,
               describe(call) + " left another record than documented");
    FUZZ_CHECK(memory.untouchedOutside(extent(call)), describe(call) + " wrote outside its record");
}

void run(const Call& call, const std::string& vekPath) {
    const std::string missing = scratchPath("missing.vek");
    const char* path = call.file == FileChoice::Fuzzed    ? vekPath.c_str()
                       : call.file == FileChoice::Missing ? missing.c_str()
                                                          : nullptr;
    const std::optional<std::uint64_t> offset = recordOffset(call);
    if (!call.nullBlock && call.size > 0) return runSized(call, path, offset);
    if (call.nullBlock || !offset) {
        // Nothing may be written: the block, when there is one, is a small one
        // that the call must leave alone.
        HeapMemory memory(call.misalignment, 0, 2 * kRecord);
        char* block = call.nullBlock ? nullptr : memory.block();
        FUZZ_CHECK(invoke(call, block, path) == -1.0, describe(call) + " does not fail");
        FUZZ_CHECK(memory.restUntouched() && std::all_of(memory.record(), memory.record() + 2 * kRecord,
                                                         [](unsigned char b) { return b == kUntouched; }),
                   describe(call) + " wrote into the block although it failed");
        return;
    }

    const std::unique_ptr<CallMemory> memory = memoryFor(call, *offset);
    std::memcpy(memory->record(), call.records, extent(call));
    unsigned char expected[2 * kRecord];
    std::memcpy(expected, call.records, sizeof expected);
    const double expectedResult = expectedEffect(call, path, expected);

    const double result = invoke(call, memory->block(), path);
    FUZZ_CHECK(result == expectedResult, describe(call) + " returned " + std::to_string(result));
    FUZZ_CHECK(std::memcmp(memory->record(), expected, extent(call)) == 0,
               describe(call) + " left another record than documented");
    FUZZ_CHECK(memory->restUntouched(), describe(call) + " wrote outside its record");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    std::vector<Call> calls(input.ConsumeIntegralInRange(1, 8));
    for (Call& call : calls) call = consumeCall(input);
    const std::string vekPath = scratchPath("input.vek");
    writeFileBytes(vekPath, input.ConsumeRemainingBytes<unsigned char>());
    for (const Call& call : calls) run(call, vekPath);
    return 0;
}
