#include "engine/OmbrelExport.h"

namespace ombrel {

const char* statusKindName(StatusKind kind) {
    switch (kind) {
        case StatusKind::kSuccess:
            return "success";
        case StatusKind::kInputMissing:
            return "input missing or unreadable";
        case StatusKind::kInputNotVek:
            return "input not a Vek file";
        case StatusKind::kOutputNotWritable:
            return "output not writable";
        case StatusKind::kWriteFailed:
            return "write failed";
        case StatusKind::kOutOfMemory:
            return "out of memory";
        case StatusKind::kCancelled:
            return "cancelled";
        case StatusKind::kInvalidOptions:
            return "invalid options";
    }
    return "unknown";
}

std::string Status::describe() const {
    const std::string where = path.empty() ? std::string() : path + ": ";
    switch (kind) {
        case StatusKind::kSuccess:
            return "success";
        case StatusKind::kInputMissing:
            return where + "cannot read: " + reason;
        case StatusKind::kInputNotVek:
            return where + "not a Vek file: " + reason;
        case StatusKind::kOutputNotWritable:
            return where + "cannot write: " + reason;
        case StatusKind::kWriteFailed:
            return where + "write failed: " + reason;
        case StatusKind::kOutOfMemory:
            return where + "out of memory" + (reason.empty() ? std::string() : ": " + reason);
        case StatusKind::kCancelled:
            return "export cancelled";
        case StatusKind::kInvalidOptions:
            return reason;
    }
    return reason;
}

namespace {

std::string plural(std::uint64_t count, const char* one, const char* many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

// What a block's count counts, for `count` of them.
std::string countedItems(const std::string& block, std::uint64_t count) {
    if (block == "Points") return plural(count, "point", "points");
    if (block == "Face4") return plural(count, "face", "faces");
    if (block == "UV4") return plural(count, "face's texture coordinates", "faces' texture coordinates");
    if (block == "MRGB") return plural(count, "colour", "colours");
    if (block == "Mask") return plural(count, "mask value", "mask values");
    return plural(count, "element", "elements");
}

}  // namespace

std::string Warning::describe() const {
    const std::string where = file + ": " + (block.empty() ? std::string() : block + " block: ");
    switch (kind) {
        case WarningKind::kBodyShorterThanCount:
            return where + "the block ends early; " + countedItems(block, count) + " missing, read as zeros";
        case WarningKind::kCountClamped:
            return where + "its count names " + countedItems(block, count) +
                   " more than the file holds; only those present were read";
        case WarningKind::kBlockSizeInvalid:
            return where + "invalid block size; the rest of the file was not read";
        case WarningKind::kFacesSkipped:
            return where + plural(count, "face names", "faces name") + " a point that does not exist; left out";
        case WarningKind::kFacesWithMissingPoints:
            return where + plural(count, "face names", "faces name") +
                   " a point that does not exist; written as it is";
        case WarningKind::kNonFiniteCoordinates:
            return where + plural(count, "point has", "points have") + " an infinite or NaN coordinate";
        case WarningKind::kInputSkipped:
            return file + ": could not be read; nothing of it was exported";
    }
    return where;
}

}  // namespace ombrel
