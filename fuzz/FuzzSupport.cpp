#include "fuzz/FuzzSupport.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <unistd.h>

void invariantBroken(const char* condition, const std::string& what, const char* file, int line) {
    std::fprintf(stderr, "\n==%d== INVARIANT BROKEN at %s:%d\n  %s\n  check: %s\n", static_cast<int>(getpid()), file,
                 line, what.c_str(), condition);
    std::fflush(stderr);
    std::abort();
}

namespace {

// Removes the directory when the process ends normally (libFuzzer returns
// from main after -runs or -max_total_time). A crashed run leaves it behind,
// named after its process id.
class ScratchDirectory {
public:
    ScratchDirectory() {
        std::error_code error;
        const char* base = std::filesystem::is_directory("/dev/shm", error) ? "/dev/shm" : "/tmp";
        m_path = std::string(base) + "/ombrel-fuzz-" + std::to_string(getpid());
        std::filesystem::create_directories(m_path, error);
        FUZZ_CHECK(!error, "cannot create the scratch directory " + m_path);
    }
    ~ScratchDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    const std::string& path() const { return m_path; }

private:
    std::string m_path;
};

}  // namespace

std::string scratchPath(const std::string& name) {
    static const ScratchDirectory directory;
    return directory.path() + "/" + name;
}

// The two scans below run over arrays of up to 64 MiB; without coverage
// callbacks on their loops they take milliseconds instead of seconds.
#define OMBREL_FUZZ_NO_COVERAGE __attribute__((no_sanitize("coverage")))

OMBREL_FUZZ_NO_COVERAGE bool zeroFrom(std::span<const unsigned char> bytes, std::size_t from) {
    static const unsigned char zeros[65536] = {};
    for (std::size_t at = from; at < bytes.size(); at += sizeof zeros)
        if (std::memcmp(bytes.data() + at, zeros, std::min(sizeof zeros, bytes.size() - at)) != 0) return false;
    return true;
}

OMBREL_FUZZ_NO_COVERAGE ArrayDigest digestOf(std::span<const unsigned char> bytes) {
    // FNV-1a over 64-bit words (arrays may hold tens of megabytes), then the tail.
    constexpr std::uint64_t kPrime = 0x100000001b3u;
    std::uint64_t hash = 0xcbf29ce484222325u;
    std::size_t i = 0;
    for (; i + 8 <= bytes.size(); i += 8) {
        std::uint64_t word;
        std::memcpy(&word, bytes.data() + i, sizeof word);
        hash = (hash ^ word) * kPrime;
        hash ^= hash >> 29;
    }
    for (; i < bytes.size(); ++i) hash = (hash ^ bytes[i]) * kPrime;
    return {bytes.size(), hash};
}
