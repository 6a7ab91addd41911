#pragma once

// What the export engine's tests share: options for a list of files, scenes
// written by the project's generator, the process's threads and descriptors
// around a failed export, exports run in a child process, and a binary STL
// file read back.

#include "engine/OmbrelExport.h"
#include "tools/vekgen/SceneGenerator.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

// The engine's names the tests use.
using ombrel::ExportOptions;
using ombrel::ExportResult;
using ombrel::Format;
using ombrel::Phase;
using ombrel::Progress;
using ombrel::ProgressAction;
using ombrel::StatusKind;
using ombrel::UpAxis;
using ombrel::WarningKind;
using Names = std::vector<std::string>;

// ---------------------------------------------------------------- options

// The options of an export of `paths` (each textured with its own name) to
// `output`.
ombrel::ExportOptions exportOptions(const std::vector<std::string>& paths, const std::string& output,
                                    ombrel::Format format = ombrel::Format::BinaryStl,
                                    std::optional<double> height = 100.0);

// The three formats, for tests that run in each, and their test names.
inline auto allFormats() {
    return ::testing::Values(ombrel::Format::BinaryStl, ombrel::Format::AsciiStl, ombrel::Format::Vrml);
}
std::string formatTestName(const ::testing::TestParamInfo<ombrel::Format>& info);

// The name of an output file of the format: "scene.stl" or "scene.wrl".
std::string sceneFileName(ombrel::Format format);

// The bytes an output file held before an export that must leave it alone:
// binary, of no format the exports write.
std::vector<unsigned char> previousOutputBytes();

// ---------------------------------------------------------------- scenes

// A scene written by vekgen's generator: its files in order and its counts.
struct GeneratedScene {
    std::vector<std::string> paths;
    std::uint64_t faces = 0;
    std::uint64_t triangles = 0;  // faces that are triangles
    std::uint64_t points = 0;
};

GeneratedScene writeGeneratedScene(const std::string& directory, const vekgen::SceneOptions& options);
GeneratedScene writeGeneratedScene(const std::string& directory, const std::vector<vekgen::PartParams>& parts);

// The bundled sample scene (head, torso, base), absolute paths.
std::vector<std::string> sampleScenePaths();

// ---------------------------------------------------------------- process resources

// The threads and open descriptors of this process.
struct ProcessResources {
    std::size_t threads = 0;
    std::size_t descriptors = 0;
};
ProcessResources processResources();

// Whether the threads and descriptors are back to `before`. A joined thread
// can stay listed for a moment after the join returns, so the counts are
// given a second to settle.
bool resourcesBack(const ProcessResources& before);
// Fails the test unless they are.
void expectResourcesBack(const ProcessResources& before);

// Runs an export that must fail and checks that it left no thread or
// descriptor behind.
ombrel::ExportResult exportExpectingFailure(const ombrel::ExportOptions& options);

// ---------------------------------------------------------------- child processes

// What a child process started by runChildWithTimeout did.
struct ChildRun {
    bool finished = false;  // it ended on its own within the time allowed
    int exitCode = -1;      // its exit code, -1 when it did not exit normally
    std::string output;     // the text its body returned
};

// Runs `body` in a forked child and returns the text it returned (with exit
// code 0; an exception gives exit code 255). A child still running after
// `timeout` is killed (finished false).
ChildRun runChildWithTimeout(const std::function<std::string()>& body,
                             std::chrono::milliseconds timeout = std::chrono::seconds(20));

// An export run in a child process after `prepare` (a file size limit, a
// change of user) returned true there; the status it ended with. Whether
// the child's threads and descriptors came back is checked there as well.
struct ChildExport {
    bool ran = false;  // prepared, ended in time, and left no thread or descriptor behind
    ombrel::Status status;
};
ChildExport exportInChild(const std::function<bool()>& prepare, const ombrel::ExportOptions& options);

// ---------------------------------------------------------------- STL

struct StlTriangle {
    float normal[3];
    float vertex[3][3];
};

// The triangles of a binary STL file; fails the test when its size does not
// match its triangle count.
std::vector<StlTriangle> readBinaryStl(const std::string& path);

// Whether two files hold the same bytes; when not, their sizes and the first
// offset where they differ (not megabytes of bytes).
::testing::AssertionResult sameFileBytes(const std::string& a, const std::string& b);

// How often `needle` occurs in `text`.
std::size_t countOccurrences(const std::string& text, const std::string& needle);
