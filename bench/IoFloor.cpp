// bench_io_floor: the raw I/O an export cannot avoid, done as cheaply as the
// system allows: the input blocks the export reads, read with large read()
// calls into one reused buffer, and an output of the export's size written
// with large write() calls. No parsing, no formatting.
//
//   bench_io_floor KIND OUTPUT_BYTES OUT FILE.vek...
//
// KIND names the export whose reads are repeated, in its order:
//   bounds  the Points block of each file;
//   stl     the Points block of each file (the scene bounds), then the Points
//           and Face4 blocks of each file;
//   vrml    the same, and also the UV4 and MRGB blocks of each file.
// Prints "seconds S" (block positions are found before the clock starts).

#include "bench/Stopwatch.h"
#include "tools/vekgen/VekInspector.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

constexpr std::size_t kChunk = std::size_t(8) << 20;

struct Extent {
    std::string path;
    std::uint64_t offset = 0;
    std::uint64_t bytes = 0;
};

// The body of the first block with this tag, or nothing when there is none.
void addBody(std::vector<Extent>& plan, const std::string& path, const vekgen::VekInspection& file, std::uint32_t tag) {
    for (const vekgen::VekBlockInfo& b : file.blocks)
        if (b.tag == tag) {
            plan.push_back({path, b.offset + vekgen::kBlockHeaderSize, b.size - vekgen::kBlockHeaderSize});
            return;
        }
}

std::vector<Extent> readPlan(const std::string& kind, const std::vector<std::string>& files) {
    std::vector<vekgen::VekInspection> inspected;
    for (const std::string& path : files) {
        inspected.push_back(vekgen::VekInspector::inspectFile(path));
        if (!inspected.back().ok()) throw std::runtime_error(path + ": " + inspected.back().message);
    }
    std::vector<Extent> plan;
    for (std::size_t i = 0; i < files.size(); ++i) addBody(plan, files[i], inspected[i], vekgen::kTagPoints);
    if (kind == "bounds") return plan;
    for (std::size_t i = 0; i < files.size(); ++i) {
        addBody(plan, files[i], inspected[i], vekgen::kTagPoints);
        addBody(plan, files[i], inspected[i], vekgen::kTagFace4);
        if (kind == "vrml") {
            addBody(plan, files[i], inspected[i], vekgen::kTagUV4);
            addBody(plan, files[i], inspected[i], vekgen::kTagMRGB);
        }
    }
    return plan;
}

std::runtime_error systemError(const std::string& what, const std::string& path) {
    return std::runtime_error(what + " " + path + ": " + std::strerror(errno));
}

void readExtent(const Extent& e, std::vector<char>& buffer) {
    const int fd = open(e.path.c_str(), O_RDONLY);
    if (fd < 0) throw systemError("cannot open", e.path);
    for (std::uint64_t done = 0; done < e.bytes;) {
        const std::size_t want = static_cast<std::size_t>(std::min<std::uint64_t>(kChunk, e.bytes - done));
        const ssize_t got = pread(fd, buffer.data(), want, static_cast<off_t>(e.offset + done));
        if (got <= 0) throw systemError("cannot read", e.path);
        done += static_cast<std::uint64_t>(got);
    }
    close(fd);
}

void writeOutput(const std::string& path, std::uint64_t bytes, const std::vector<char>& buffer) {
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd < 0) throw systemError("cannot open", path);
    for (std::uint64_t done = 0; done < bytes;) {
        const std::size_t want = static_cast<std::size_t>(std::min<std::uint64_t>(kChunk, bytes - done));
        const ssize_t put = write(fd, buffer.data(), want);
        if (put <= 0) throw systemError("cannot write", path);
        done += static_cast<std::uint64_t>(put);
    }
    if (close(fd) != 0) throw systemError("cannot close", path);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 5) {
        std::fputs("usage: bench_io_floor bounds|stl|vrml OUTPUT_BYTES OUT FILE.vek...\n", stderr);
        return 2;
    }
    const std::string kind = argv[1];
    if (kind != "bounds" && kind != "stl" && kind != "vrml") {
        std::fprintf(stderr, "bench_io_floor: unknown kind %s\n", kind.c_str());
        return 2;
    }
    try {
        const std::uint64_t outputBytes = std::stoull(argv[2]);
        const std::vector<Extent> plan = readPlan(kind, std::vector<std::string>(argv + 4, argv + argc));
        std::vector<char> buffer(kChunk, ' ');
        const Stopwatch clock;
        for (const Extent& e : plan) readExtent(e, buffer);
        writeOutput(argv[3], outputBytes, buffer);
        clock.report();
    } catch (const std::exception& e) {
        std::fprintf(stderr, "bench_io_floor: %s\n", e.what());
        return 1;
    }
    return 0;
}
