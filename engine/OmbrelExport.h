#pragma once

// The export engine for programs that link the library: one call exports a
// scene of Vek files as one STL or VRML 2.0 file and says exactly what
// happened. Installed as <engine/OmbrelExport.h> in the library's include
// directory (pkg-config ombrel, or the CMake package Ombrel::ombrel).
//
//   ombrel::ExportOptions options;
//   options.inputs = {{"head.vek"}, {"body.vek"}};
//   options.output = "figure.stl";
//   options.height = 100.0;                 // millimetres along the up axis
//   options.up = ombrel::UpAxis::Z;         // as slicers expect
//   const ombrel::ExportResult result = ombrel::exportScene(options);
//   if (!result.ok()) std::fprintf(stderr, "%s\n", result.status.describe().c_str());
//
// The engine keeps no state between calls and owns nothing after it returns:
// every thread it started has been joined and every file it opened closed.
// Exports on different threads share nothing but the log observer
// (QMLogServer::setObserver), which must not be changed while one runs. No
// exception leaves exportScene (an exception thrown by the progress callback
// included: it ends the export as a cancel does, and is reported as
// kCancelled).

#include "check/PrintCheck.h"
#include "support/OmbrelApi.h"

#include <cstddef>
#include <cstdio>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace ombrel {

enum class Format {
    BinaryStl,
    AsciiStl,
    Vrml,     // VRML 2.0, always Y-up
    ThreeMF,  // 3MF: written by the ombrel3mf library (its export3MF), not by exportScene alone
};

// The axis the height is measured along, and which way is up in the file.
enum class UpAxis {
    Y,  // the sculpting host's convention, and the script calls'
    Z,  // slicers': the scene is turned +90 degrees about X, (x, y, z) -> (x, -z, y)
};

struct InputFile {
    InputFile() = default;
    InputFile(std::string path, std::optional<std::string> textureName = std::nullopt)
        : path(std::move(path)), textureName(std::move(textureName)) {}

    std::string path;  // an ordinary path, relative to the working directory or absolute
    // (VRML) Unlike the host's script calls, a file without texture
    // coordinates never takes over those of the file before it.
    // The VRML texture name of this file, written without its directory;
    // without one, the Vek file's own name.
    std::optional<std::string> textureName;
};

enum class Phase {
    MeasuringScene,  // reading every file's points for the scene's box
    Writing,         // reading each file again and writing it
};

struct Progress {
    Phase phase = Phase::MeasuringScene;
    std::size_t fileIndex = 0;  // the file being worked on, 0-based
    std::size_t fileCount = 0;
    std::uint64_t facesDone = 0;   // faces written so far, over every file
    std::uint64_t facesTotal = 0;  // faces of the whole scene (known once measured)
};

enum class ProgressAction { Continue, Stop };

// Called on the exporting thread at every file's start and at least every
// 65,536 faces written. Returning Stop cancels the export: the output's
// previous content (or absence) stays as it was, and no temporary file
// remains.
using ProgressCallback = std::function<ProgressAction(const Progress&)>;

struct ExportOptions {
    std::vector<InputFile> inputs;
    std::string output;  // the file to write; it appears only when complete
    Format format = Format::BinaryStl;
    // The scene's size along the up axis after the export. Without one the
    // scene keeps its own size (it is only moved).
    std::optional<double> height;
    bool vertexColors = false;  // VRML and 3MF: write the files' MRGB colours per vertex
    UpAxis up = UpAxis::Y;      // ignored for VRML
    ProgressCallback progress;  // may be empty
    bool check = true;          // make the print-readiness check of the report
};

enum class StatusKind {
    kSuccess,
    kInputMissing,       // an input does not exist or cannot be opened for reading
    kInputNotVek,        // an input is not a Vek file (wrong or short file header, or not a regular file)
    kOutputNotWritable,  // the output cannot be created (missing directory, permissions, a directory)
    kWriteFailed,        // a write, the flush, the close or the final rename failed (a full disk, ...)
    kOutOfMemory,
    kCancelled,       // the progress callback asked to stop
    kInvalidOptions,  // no inputs, no output, or a height that is not a positive finite number
};

struct OMBREL_API Status {
    StatusKind kind = StatusKind::kSuccess;
    std::string path;    // the file concerned, where there is one
    int systemError = 0;  // errno of the failure, where the system gave one
    std::string reason;  // the system's text for systemError, or what was wrong

    bool ok() const { return kind == StatusKind::kSuccess; }
    // One line for a person: "figure.stl: cannot write: No space left on device".
    std::string describe() const;
};

// The name of a kind, for logs: "success", "input missing", ...
OMBREL_API const char* statusKindName(StatusKind kind);

enum class WarningKind {
    kBodyShorterThanCount,  // a block's body holds fewer elements than its count says (a cut file)
    kCountClamped,          // a count far beyond the bytes present was cut down to them
    kBlockSizeInvalid,      // a block header with a size below 16 ended the file's walk
    kFacesSkipped,          // faces naming a point that does not exist were left out
    kNonFiniteCoordinates,  // points with an infinite or NaN coordinate
    kFacesWithMissingPoints,  // VRML: faces naming a point that does not exist, written as they are
    kInputSkipped,            // an input that could not be read contributed nothing
};

struct OMBREL_API Warning {
    WarningKind kind = WarningKind::kBodyShorterThanCount;
    std::string file;     // the Vek file, as given
    std::string block;    // "Points", "Face4", "UV4", "MRGB", or empty
    // What is concerned, in the unit of the block's count: faces skipped,
    // points with a non-finite coordinate, faces (or points, ...) missing.
    std::uint64_t count = 0;
    // One line for a person: "head.vek: Face4 block: 120 faces name a point that does not exist; left out".
    std::string describe() const;
};

struct FileReport {
    std::string path;
    std::uint64_t points = 0;
    std::uint64_t faces = 0;
    std::uint64_t trianglesWritten = 0;  // STL, 3MF, 3MF: triangles written (a quad gives two); VRML: 0
    std::uint64_t facesSkipped = 0;      // STL, 3MF: faces left out for naming a missing point
    bool hasColours = false;  // an MRGB block with at least one colour
    bool hasUVs = false;      // a UV4 block with at least one entry
    PrintCheck check;         // the file on its own, but its shells float or not in the scene
};

struct Box {
    double min[3] = {0, 0, 0};
    double max[3] = {0, 0, 0};
    bool empty = true;  // no point at all
};

struct ExportReport {
    std::vector<FileReport> files;
    std::uint64_t trianglesWritten = 0;  // STL
    std::uint64_t shapesWritten = 0;     // VRML
    std::uint64_t bytesWritten = 0;      // the size of the output file
    Box sceneBox;                        // the scene's box as read, before placement (and before turning Z-up)
    Box placedBox;                       // where the scene's corners land in the file
    double scale = 1.0;                  // the uniform scale of the placement
    double size[3] = {0, 0, 0};          // the placed box's extent along x, y, z
    // False when the output could not be replaced as a whole (a device, a
    // pipe, a file with several names): it was written in place.
    bool replacedAtomically = true;
    // The whole scene as one mesh (files that share an edge are connected).
    // Made for every export unless ExportOptions::check is off.
    PrintCheck check;
};

struct ExportResult {
    Status status;
    std::vector<Warning> warnings;
    ExportReport report;

    bool ok() const { return status.ok(); }
};

// Runs one export. Inputs are checked before anything is written (each must
// exist and start with a Vek file header); the output is written under a
// temporary name and put in place only when complete, so a failed or
// cancelled export leaves the previous file as it was.
OMBREL_API ExportResult exportScene(const ExportOptions& options) noexcept;

// One mesh as a SceneWriter receives it: one input file, read and placed as
// the STL export places it (Z up when asked), in the order of the inputs.
struct SceneMesh {
    std::string name;                      // the Vek file's name without directory and extension
    const float* points = nullptr;         // x, y, z of each point, placed
    std::size_t pointCount = 0;
    const std::int32_t* faces = nullptr;   // four indices a face, -1 fourth for a triangle; unchecked
    std::size_t faceCount = 0;
    const std::uint32_t* colours = nullptr;  // one 0xMMRRGGBB word a point (red in bits 16-23), or null
    std::size_t colourCount = 0;             // (null unless vertexColors is on and the file has colours)
};

// A file format written outside the library (3MF, by the ombrel3mf
// library) through the engine: the engine checks and reads the inputs,
// places the scene, reports progress, checks the mesh and owns the output
// file (it appears only when complete); the writer formats. A writer
// reports a failed write by throwing std::system_error with its errno.
class SceneWriter {
public:
    virtual ~SceneWriter() = default;
    // The export starts; everything goes to `output` (binary), which the
    // engine opened and will close.
    virtual void begin(std::FILE* output) = 0;
    // One mesh; `facesWritten(n)` after every few thousand faces (it may
    // throw to cancel the export). Returns the triangles written.
    virtual std::uint64_t writeMesh(const SceneMesh& mesh, const std::function<void(std::uint64_t)>& facesWritten) = 0;
    // After the last mesh: the file's end.
    virtual void end() = 0;
};

// Runs one export whose file `writer` formats (options.format is the
// writer's, ThreeMF for 3MF). Everything else as exportScene.
OMBREL_API ExportResult exportScene(const ExportOptions& options, SceneWriter& writer) noexcept;

// Everything exportScene does but writing: the inputs are checked, read and
// placed as the options say, and the result holds the report with its
// print-readiness check (the output option is ignored, bytesWritten is 0).
OMBREL_API ExportResult checkScene(const ExportOptions& options) noexcept;

}  // namespace ombrel
