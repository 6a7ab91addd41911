#include "EngineTestSupport.h"

#include "TestFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <sstream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

ombrel::ExportOptions exportOptions(const std::vector<std::string>& paths, const std::string& output,
                                    ombrel::Format format, std::optional<double> height) {
    ombrel::ExportOptions options;
    for (const std::string& path : paths) options.inputs.push_back({path, std::nullopt});
    options.output = output;
    options.format = format;
    options.height = height;
    return options;
}

std::string formatTestName(const ::testing::TestParamInfo<ombrel::Format>& info) {
    switch (info.param) {
        case ombrel::Format::BinaryStl:
            return "BinaryStl";
        case ombrel::Format::AsciiStl:
            return "AsciiStl";
        case ombrel::Format::Vrml:
            return "Vrml";
        case ombrel::Format::ThreeMF:
            return "ThreeMF";
    }
    return "Unknown";
}

std::string sceneFileName(ombrel::Format format) { return format == ombrel::Format::Vrml ? "scene.wrl" : "scene.stl"; }

std::vector<unsigned char> previousOutputBytes() {
    std::vector<unsigned char> bytes(3000);
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<unsigned char>((i * 37 + 11) % 251);
    return bytes;
}

// ---------------------------------------------------------------- scenes

namespace {

GeneratedScene writeScene(const std::string& directory, const vekgen::SceneGenerator& generator) {
    GeneratedScene scene;
    for (const vekgen::PartStats& part : generator.writeAll(directory)) {
        scene.paths.push_back(part.path);
        scene.faces += part.faces;
        scene.triangles += part.triangles;
        scene.points += part.points;
    }
    return scene;
}

}  // namespace

GeneratedScene writeGeneratedScene(const std::string& directory, const vekgen::SceneOptions& options) {
    return writeScene(directory, vekgen::SceneGenerator(options));
}

GeneratedScene writeGeneratedScene(const std::string& directory, const std::vector<vekgen::PartParams>& parts) {
    return writeScene(directory, vekgen::SceneGenerator(parts));
}

std::vector<std::string> sampleScenePaths() {
    const std::string samples = std::string(OMBREL_SOURCE_DIR) + "/samples/";
    return {samples + "head.vek", samples + "torso.vek", samples + "base.vek"};
}

// ---------------------------------------------------------------- process resources

namespace {

// Entries of a /proc directory, "." and ".." left out.
std::size_t countEntries(const char* directory) {
    DIR* dir = opendir(directory);
    if (!dir) return 0;
    std::size_t count = 0;
    while (const dirent* entry = readdir(dir))
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0) ++count;
    closedir(dir);
    return count;
}

}  // namespace

ProcessResources processResources() {
    // The listing of /proc/self/fd holds the descriptor it is read through,
    // in every count alike.
    return {countEntries("/proc/self/task"), countEntries("/proc/self/fd")};
}

bool resourcesBack(const ProcessResources& before) {
    for (int attempt = 0;; ++attempt) {
        const ProcessResources now = processResources();
        if (now.threads == before.threads && now.descriptors == before.descriptors) return true;
        if (attempt == 100) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

void expectResourcesBack(const ProcessResources& before) {
    if (resourcesBack(before)) return;
    const ProcessResources now = processResources();
    EXPECT_EQ(now.threads, before.threads) << "threads left running";
    EXPECT_EQ(now.descriptors, before.descriptors) << "descriptors left open";
}

ombrel::ExportResult exportExpectingFailure(const ombrel::ExportOptions& options) {
    const ProcessResources before = processResources();
    ombrel::ExportResult result = ombrel::exportScene(options);
    EXPECT_FALSE(result.ok()) << "the export succeeded";
    expectResourcesBack(before);
    return result;
}

// ---------------------------------------------------------------- child processes

namespace {

void writeAll(int fd, const std::string& text) {
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t n = ::write(fd, text.data() + done, text.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return;
        done += std::size_t(n);
    }
}

// Reads what is there without blocking; true at the end of the pipe.
bool drain(int fd, std::string& into) {
    char buffer[4096];
    for (;;) {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n > 0) {
            into.append(buffer, std::size_t(n));
            continue;
        }
        if (n < 0 && errno == EINTR) continue;
        return n == 0;
    }
}

}  // namespace

ChildRun runChildWithTimeout(const std::function<std::string()>& body, std::chrono::milliseconds timeout) {
    ChildRun run;
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0) {
        ADD_FAILURE() << "pipe: " << std::strerror(errno);
        return run;
    }
    std::fflush(nullptr);  // nothing buffered is written twice
    const pid_t child = fork();
    if (child < 0) {
        ADD_FAILURE() << "fork: " << std::strerror(errno);
        ::close(fds[0]);
        ::close(fds[1]);
        return run;
    }
    if (child == 0) {
        ::close(fds[0]);
        int code = 0;
        std::string text;
        try {
            text = body();
        } catch (...) {
            code = 255;
        }
        writeAll(fds[1], text);
        _exit(code);
    }
    ::close(fds[1]);
    fcntl(fds[0], F_SETFL, O_NONBLOCK);
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    int status = 0;
    bool exited = false;
    while (!exited && std::chrono::steady_clock::now() < deadline) {
        pollfd readable{fds[0], POLLIN, 0};
        poll(&readable, 1, 20);
        drain(fds[0], run.output);
        exited = waitpid(child, &status, WNOHANG) == child;
    }
    if (!exited) {
        kill(child, SIGKILL);
        while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
        }
    } else {
        run.finished = true;
        fcntl(fds[0], F_SETFL, 0);
        while (!drain(fds[0], run.output)) {
        }
    }
    ::close(fds[0]);
    run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return run;
}

ChildExport exportInChild(const std::function<bool()>& prepare, const ombrel::ExportOptions& options) {
    const ChildRun run = runChildWithTimeout([&]() -> std::string {
        if (!prepare()) return "unprepared";
        const ProcessResources before = processResources();
        const ombrel::Status status = ombrel::exportScene(options).status;
        if (!resourcesBack(before)) return "threads or descriptors left behind";
        std::ostringstream out;
        out << "status\n"
            << int(status.kind) << '\n'
            << status.systemError << '\n'
            << status.path << '\n'
            << status.reason;
        return out.str();
    });
    ChildExport result;
    EXPECT_TRUE(run.finished) << "the export in the child process did not end";
    EXPECT_EQ(run.exitCode, 0);
    std::istringstream in(run.output);
    std::string tag;
    std::getline(in, tag);
    EXPECT_EQ(tag, "status") << "the child process: " << run.output;
    if (tag != "status" || !run.finished) return result;
    int kind = 0;
    in >> kind >> result.status.systemError;
    in.ignore(1);
    std::getline(in, result.status.path);
    std::getline(in, result.status.reason);
    result.status.kind = static_cast<ombrel::StatusKind>(kind);
    result.ran = true;
    return result;
}

// ---------------------------------------------------------------- STL

std::vector<StlTriangle> readBinaryStl(const std::string& path) {
    const std::vector<unsigned char> bytes = readFileBytes(path);
    std::vector<StlTriangle> triangles;
    if (bytes.size() < 84) {
        ADD_FAILURE() << path << ": " << bytes.size() << " bytes, shorter than a binary STL header";
        return triangles;
    }
    std::uint32_t count = 0;
    std::memcpy(&count, bytes.data() + 80, 4);
    if (bytes.size() != 84 + 50 * std::uint64_t(count)) {
        ADD_FAILURE() << path << ": " << bytes.size() << " bytes for " << count << " triangles";
        return triangles;
    }
    triangles.resize(count);
    for (std::uint32_t t = 0; t < count; ++t) {
        const unsigned char* record = bytes.data() + 84 + 50 * std::size_t(t);
        std::memcpy(triangles[t].normal, record, 12);
        std::memcpy(triangles[t].vertex, record + 12, 36);
    }
    return triangles;
}

::testing::AssertionResult sameFileBytes(const std::string& a, const std::string& b) {
    const std::vector<unsigned char> x = readFileBytes(a);
    const std::vector<unsigned char> y = readFileBytes(b);
    if (x == y) return ::testing::AssertionSuccess();
    const auto differ = std::mismatch(x.begin(), x.end(), y.begin(), y.end());
    return ::testing::AssertionFailure() << a << " (" << x.size() << " bytes) and " << b << " (" << y.size()
                                         << " bytes) differ from byte " << (differ.first - x.begin());
}

std::size_t countOccurrences(const std::string& text, const std::string& needle) {
    std::size_t count = 0;
    for (std::size_t at = text.find(needle); at != std::string::npos; at = text.find(needle, at + needle.size()))
        ++count;
    return count;
}
