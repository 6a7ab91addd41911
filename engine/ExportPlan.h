#pragma once

#include "engine/OmbrelExport.h"
#include "support/QMString.h"

#include <optional>
#include <string>
#include <vector>

namespace ombrel::engine {

// One export as the engine runs it, whoever asked for it: the typed API
// (exportScene) or the host's script calls. Paths are in the form the
// library's file functions take.
struct PlannedInput {
    QMString readerPath;      // what the readers open
    std::string displayPath;  // what reports and warnings name
    QMString textureName;     // VRML texture name, before its directory is dropped
};

struct ExportPlan {
    std::vector<PlannedInput> inputs;
    QMString outputPath;
    std::string outputDisplay;
    Format format = Format::BinaryStl;
    bool vertexColors = false;
    UpAxis up = UpAxis::Y;
    // The scene's height along the up axis; without one the scene keeps its
    // size. Used in single precision, as the placement takes it.
    std::optional<double> height;
    // The host's VRML export reuses one UV array for every file, so a file
    // without UVs writes those of the file before it; the script calls keep
    // that, the typed API does not.
    bool carryUVsAcrossFiles = false;
    // The host's exports read every file even when the output cannot be
    // opened (the readers' log lines show it); the typed API stops there.
    bool readInputsWithoutOutput = false;
    // The host's exports write whatever the placement gives, infinite and NaN
    // coordinates included; the typed API refuses a height that cannot be
    // reached in single precision from the scene's extent.
    bool acceptAnyPlacement = false;
    ProgressCallback progress;
    bool check = false;  // make the print-readiness check
};

}  // namespace ombrel::engine
