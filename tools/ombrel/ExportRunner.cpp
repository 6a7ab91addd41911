#include "tools/ombrel/ExportRunner.h"

#include "tools/ombrel/AbsolutePath.h"
#include "tools/ombrel/CommandLine.h"
#include "tools/ombrel/ExportProgress.h"
#include "tools/ombrel/ExportSummary.h"
#include "tools/ombrel/FormatNames.h"
#include "tools/ombrel/InputChecks.h"
#include "tools/ombrel/StandardOutput.h"

#ifdef OMBREL_HAVE_3MF
#include "threemf/Ombrel3MF.h"
#endif

#include <cstdio>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

const char kStandardOutputName[] = "standard output";

int exitStatusFor(const ombrel::Status& status) {
    if (status.ok()) return 0;
    return status.kind == ombrel::StatusKind::kInvalidOptions ? 2 : 1;
}

// A failure in the user's words: the engine's "/dev/stdout" is standard output.
void printFailure(ombrel::Status status) {
    if (status.path == "/dev/stdout") status.path = kStandardOutputName;
    printError(status.describe());
}

void printWarnings(const std::vector<ombrel::Warning>& warnings) {
    for (const ombrel::Warning& warning : warnings) printWarning(warning.describe());
}

std::string counted(std::size_t count, const char* one, const char* many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

// --strict: reads the scene as the export will, writing nothing. Returns -1
// when the export may go on, else the exit status (the reasons printed).
int strictCheck(const ombrel::ExportOptions& options, const std::string& shownOutput, bool showProgress) {
    ombrel::ExportOptions checkOptions = options;
    checkOptions.check = false;  // only the warnings matter here; the export makes the check
    ombrel::ExportResult checked;
    {
        ExportProgress progress("checking the input", "reading", showProgress);
        checkOptions.progress = progress.callback();
        checked = ombrel::checkScene(checkOptions);
    }
    printWarnings(checked.warnings);
    if (!checked.ok()) {
        printFailure(checked.status);
        return exitStatusFor(checked.status);
    }
    if (checked.warnings.empty()) return -1;
    printError(shownOutput + ": not written: --strict refuses damaged input (" +
               counted(checked.warnings.size(), "warning", "warnings") + ")");
    return 1;
}

// --colors asks for the files' vertex colours; a file without any (no MRGB
// block, or an empty one) gives its shape (its 3MF object) none, which the
// user should know.
void warnAboutMissingColours(const ombrel::ExportOptions& options, const ombrel::ExportReport& report) {
    const bool threeMF = options.format == ombrel::Format::ThreeMF;
    if ((options.format != ombrel::Format::Vrml && !threeMF) || !options.vertexColors) return;
    for (const ombrel::FileReport& file : report.files)
        if (!file.hasColours)
            printWarning(file.path + ": --colors: the file has no vertex colours (no MRGB block); its " +
                         (threeMF ? "object" : "shape") + " has none");
}

#ifdef OMBREL_HAVE_3MF
// What the 3MF file left out, a line per file and kind.
std::vector<std::string> threeMFWarnings(const ombrel::ExportReport& report, const ombrel::ThreeMFReport& threeMF) {
    std::vector<std::string> lines;
    for (std::size_t i = 0; i < threeMF.files.size() && i < report.files.size(); ++i) {
        const ombrel::ThreeMFFileReport& file = threeMF.files[i];
        const std::string& path = report.files[i].path;
        if (file.repeatedCornerTriangles != 0)
            lines.push_back(path + ": " +
                            counted(std::size_t(file.repeatedCornerTriangles), "triangle names", "triangles name") +
                            " one point twice, which 3MF does not allow; left out");
        if (file.nonFiniteTriangles != 0)
            lines.push_back(path + ": " + counted(std::size_t(file.nonFiniteTriangles), "triangle has", "triangles have") +
                            " a corner with an infinite or NaN coordinate, which 3MF cannot hold; left out");
        if (report.files[i].faces != 0 && !file.objectWritten)
            lines.push_back(path + ": no triangle left to write; the 3MF file has no object for it");
    }
    return lines;
}
#endif

// One export through the engine, or through the ombrel3mf library for 3MF;
// `notes` gets the warnings of what the format itself left out.
ombrel::ExportResult exportThrough(const ombrel::ExportOptions& options, std::vector<std::string>& notes) {
#ifdef OMBREL_HAVE_3MF
    if (options.format == ombrel::Format::ThreeMF) {
        ombrel::ThreeMFReport threeMF;
        ombrel::ExportResult result = ombrel::export3MF(options, threeMF);
        if (result.ok()) notes = threeMFWarnings(result.report, threeMF);
        return result;
    }
#endif
    return ombrel::exportScene(options);
}

}  // namespace

int runExport(ombrel::ExportOptions options, const ExportSettings& settings) {
    const std::string shownOutput = settings.toStandardOutput ? kStandardOutputName : options.output;
    std::vector<std::string> inputs;
    for (const ombrel::InputFile& input : options.inputs) inputs.push_back(input.path);
    const std::string sameFile = inputThatIsTheOutput(options.output, settings.toStandardOutput, inputs);
    if (!sameFile.empty()) {
        printError(shownOutput + ": the output is the input file " + sameFile + "; nothing was written");
        return 1;
    }

    StandardOutputFile standardOutput;
    if (settings.toStandardOutput) {
        std::string error;
        if (!standardOutput.open(error)) {
            printError(error);
            return 1;
        }
        options.output = standardOutput.path();
    }

    // A file on the terminal itself would be cut into by the progress line.
    const bool showProgress = settings.verbosity != Verbosity::Quiet &&
                              !(settings.toStandardOutput && isatty(STDOUT_FILENO) == 1);
    if (settings.strict) {
        const int status = strictCheck(options, shownOutput, showProgress);
        if (status >= 0) return status;
    }

    ombrel::ExportResult result;
    std::vector<std::string> notes;
    {
        // The progress line is cleared before warnings or the summary show.
        ExportProgress progress(formatName(options.format), "writing", showProgress);
        options.progress = progress.callback();
        result = exportThrough(options, notes);
        options.progress = nullptr;
    }
    printWarnings(result.warnings);
    for (const std::string& note : notes) printWarning(note);
    if (!result.ok()) {
        printFailure(result.status);
        return exitStatusFor(result.status);
    }
    std::string error;
    if (!standardOutput.finish(error)) {
        printError(error);
        return 1;
    }
    warnAboutMissingColours(options, result.report);
    if (settings.verbosity != Verbosity::Quiet) {
        SummaryOptions summary;
        summary.stream = settings.toStandardOutput ? stderr : stdout;
        summary.outputName = settings.toStandardOutput ? kStandardOutputName : absolutePath(options.output);
        summary.standardOutput = settings.toStandardOutput;
        summary.verbose = settings.verbosity == Verbosity::Verbose;
        printExportSummary(summary, options, result.report);
    }
    if (settings.strict && !result.warnings.empty()) {
        // The check found nothing, but a file changed before the export read it.
        printError(shownOutput + ": --strict: the input changed while it was exported and is damaged");
        return 1;
    }
    return 0;
}

bool threeMFAvailable() {
#ifdef OMBREL_HAVE_3MF
    return true;
#else
    return false;
#endif
}
