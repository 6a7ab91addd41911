// bench_io_floor: the raw I/O an export cannot avoid, done as cheaply as the
// system allows: every input block the export needs, each read exactly once
// with large pread() calls into one reused buffer, then an output of the
// export's size written with large write() calls. No parsing, no formatting.
//
//   bench_io_floor KIND OUTPUT_BYTES OUT FILE.vek...
//
// KIND names the export whose input is read, file by file:
//   bounds  the Points block of each file;
//   stl     the Points and Face4 blocks of each file (the scene bounds come
//           from the same points, so they are not read a second time);
//   vrml    the Points, Face4, UV4 and MRGB blocks of each file.
// OUT receives exactly OUTPUT_BYTES bytes; the driver puts it in the
// directory of the export's own output, so both write to the same file system.
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
#include <utility>
#include <vector>

namespace {

constexpr std::size_t kChunk = std::size_t(8) << 20;

// One input file and the bodies of the blocks read from it.
struct FileReads {
    std::string path;
    std::vector<std::pair<std::uint64_t, std::uint64_t>> bodies;  // offset, bytes
};

// The blocks an export of this kind reads from each file.
std::vector<std::uint32_t> tagsRead(const std::string& kind) {
    if (kind == "bounds") return {vekgen::kTagPoints};
    if (kind == "stl") return {vekgen::kTagPoints, vekgen::kTagFace4};
    return {vekgen::kTagPoints, vekgen::kTagFace4, vekgen::kTagUV4, vekgen::kTagMRGB};
}

// The body of the first block with each tag; a tag the file lacks adds nothing.
FileReads fileReads(const std::string& path, const std::vector<std::uint32_t>& tags) {
    const vekgen::VekInspection file = vekgen::VekInspector::inspectFile(path);
    if (!file.ok()) throw std::runtime_error(path + ": " + file.message);
    FileReads reads{path, {}};
    for (const std::uint32_t tag : tags) {
        const auto block = std::find_if(file.blocks.begin(), file.blocks.end(),
                                        [tag](const vekgen::VekBlockInfo& b) { return b.tag == tag; });
        if (block != file.blocks.end())
            reads.bodies.emplace_back(block->offset + vekgen::kBlockHeaderSize,
                                      block->size - vekgen::kBlockHeaderSize);
    }
    return reads;
}

std::runtime_error systemError(const std::string& what, const std::string& path) {
    return std::runtime_error(what + " " + path + ": " + std::strerror(errno));
}

void readFile(const FileReads& reads, std::vector<char>& buffer) {
    const int fd = open(reads.path.c_str(), O_RDONLY);
    if (fd < 0) throw systemError("cannot open", reads.path);
    for (const auto& [offset, bytes] : reads.bodies)
        for (std::uint64_t done = 0; done < bytes;) {
            const std::size_t want = static_cast<std::size_t>(std::min<std::uint64_t>(kChunk, bytes - done));
            const ssize_t got = pread(fd, buffer.data(), want, static_cast<off_t>(offset + done));
            if (got <= 0) throw systemError("cannot read", reads.path);
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
        std::vector<FileReads> plan;
        for (int i = 4; i < argc; ++i) plan.push_back(fileReads(argv[i], tagsRead(kind)));
        std::vector<char> buffer(kChunk, ' ');
        const Stopwatch clock;
        for (const FileReads& reads : plan) readFile(reads, buffer);
        writeOutput(argv[3], outputBytes, buffer);
        clock.report();
    } catch (const std::exception& e) {
        std::fprintf(stderr, "bench_io_floor: %s\n", e.what());
        return 1;
    }
    return 0;
}
