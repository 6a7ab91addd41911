#include "engine/ExportPlan.h"
#include "engine/ExportRun.h"
#include "engine/InputCheck.h"
#include "engine/OmbrelExport.h"
#include "engine/ProgressReporter.h"
#include "export/QMSTLExport.h"
#include "export/QMVRMLExport.h"
#include "support/LibraryPath.h"

#include <cerrno>
#include <cmath>
#include <limits>
#include <new>
#include <stdexcept>
#include <system_error>
#include <cstring>

namespace ombrel {

namespace {

Status invalidOptions(std::string reason) { return Status{StatusKind::kInvalidOptions, {}, 0, std::move(reason)}; }

Status checkOptions(const ExportOptions& options, bool writes) {
    if (options.inputs.empty()) return invalidOptions("no input file given");
    if (writes && options.output.empty()) return invalidOptions("no output file given");
    // Placement computes in single precision: larger heights would overflow.
    if (options.height && !(std::isfinite(*options.height) && *options.height > 0.0 &&
                            *options.height <= std::numeric_limits<float>::max()))
        return invalidOptions("the height must be a positive number no larger than 3.4e38");
    for (const InputFile& input : options.inputs) {
        Status status = engine::checkVekInput(input.path);
        if (!status.ok()) return status;
    }
    return Status{};
}

engine::ExportPlan planFor(const ExportOptions& options) {
    engine::ExportPlan plan;
    for (const InputFile& input : options.inputs) {
        const std::string readerPath = toLibraryPath(input.path);
        plan.inputs.push_back({QMString(readerPath.c_str()), input.path,
                               QMString(input.textureName ? input.textureName->c_str() : input.path.c_str())});
    }
    plan.outputPath = QMString(toLibraryPath(options.output).c_str());
    plan.outputDisplay = options.output;
    plan.format = options.format;
    plan.vertexColors = options.vertexColors;
    plan.up = options.up;
    plan.height = options.height;
    plan.progress = options.progress;
    plan.check = options.check;
    return plan;
}

// Sets the status; when even that runs out of memory, at least its kind.
void setStatus(ExportResult& result, StatusKind kind, const std::string& path, int error, const char* reason) noexcept {
    try {
        result.status = Status{kind, path, error, reason};
    } catch (...) {
        result.status.kind = kind;
    }
}

void run(const ExportOptions& options, bool writes, SceneWriter* writer, ExportResult& result) {
    const engine::ExportPlan plan = planFor(options);
    if (!writes) {
        engine::runCheck(plan, result);
    } else if (writer) {
        engine::runExport(plan, *writer, result);
    } else if (options.format == Format::ThreeMF) {
        result.status = invalidOptions("3MF is written by the ombrel3mf library: link it and call ombrel::export3MF");
    } else if (options.format == Format::Vrml) {
        QMVRMLExport exporter;
        engine::runExport(plan, exporter, result);
    } else {
        QMSTLExport exporter;
        engine::runExport(plan, exporter, result);
    }
}

// Runs an export, or only its check, and turns what ends it into a status.
ExportResult runGuarded(const ExportOptions& options, bool writes, SceneWriter* writer = nullptr) noexcept {
    ExportResult result;
    try {
        result.status = checkOptions(options, writes);
        if (!result.status.ok()) return result;
        run(options, writes, writer, result);
    } catch (const engine::ExportCancelled&) {
        setStatus(result, StatusKind::kCancelled, options.output, 0, "cancelled");
    } catch (const std::bad_alloc&) {
        setStatus(result, StatusKind::kOutOfMemory, options.output, ENOMEM, "not enough memory for the export");
    } catch (const std::system_error& error) {
        const int code = error.code().value();
        setStatus(result, StatusKind::kWriteFailed, options.output, code, std::strerror(code));
    } catch (const std::length_error&) {
        setStatus(result, StatusKind::kOutOfMemory, options.output, ENOMEM, "the scene is too large to hold");
    } catch (const std::exception& error) {
        setStatus(result, StatusKind::kWriteFailed, options.output, 0, error.what());
    } catch (...) {
        setStatus(result, StatusKind::kWriteFailed, options.output, 0, "unexpected failure");
    }
    return result;
}

}  // namespace

ExportResult exportScene(const ExportOptions& options) noexcept { return runGuarded(options, true); }

ExportResult exportScene(const ExportOptions& options, SceneWriter& writer) noexcept {
    return runGuarded(options, true, &writer);
}

ExportResult checkScene(const ExportOptions& options) noexcept { return runGuarded(options, false); }

}  // namespace ombrel
