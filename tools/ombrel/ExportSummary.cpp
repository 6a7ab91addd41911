#include "tools/ombrel/ExportSummary.h"

#include "tools/ombrel/FormatNames.h"

#include <cmath>
#include <string>

namespace {

std::string counted(std::uint64_t count, const char* one, const char* many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", value);
    return text;
}

// The axis the height is measured along in the file: VRML stays Y-up.
int upAxisIndex(const ombrel::ExportOptions& options) {
    return options.format != ombrel::Format::Vrml && options.up == ombrel::UpAxis::Z ? 2 : 1;
}

// The placement leaves a scene without height (extent along Y below 1e-5
// before it is turned) where and as it is, whatever height was asked for.
bool isFlat(const ombrel::Box& sceneBox) { return std::fabs(sceneBox.max[1] - sceneBox.min[1]) < 1e-5; }

class Printer {
public:
    explicit Printer(std::FILE* stream) : m_stream(stream) {}
    void line(const std::string& text) const { std::fprintf(m_stream, "%s\n", text.c_str()); }
    void box(const char* label, const ombrel::Box& box) const {
        line(std::string("  ") + label + " (" + number(box.min[0]) + ", " + number(box.min[1]) + ", " +
             number(box.min[2]) + ") to (" + number(box.max[0]) + ", " + number(box.max[1]) + ", " +
             number(box.max[2]) + ")");
    }

private:
    std::FILE* m_stream;
};

void printCheckFigures(const Printer& out, const ombrel::PrintCheck& check) {
    out.line("  triangles " + std::to_string(check.triangles) + ", " + std::to_string(check.degenerateTriangles) +
             " degenerate");
    out.line("  shells " + std::to_string(check.shells) + ", " + std::to_string(check.closedShells) + " closed, " +
             std::to_string(check.floatingShells) + " floating");
    out.line("  edges " + std::to_string(check.openEdges) + " open, " + std::to_string(check.nonManifoldEdges) +
             " non-manifold, " + std::to_string(check.flippedEdges) + " flipped");
    out.line("  volume " + number(check.volume) + " mm^3, surface area " + number(check.surfaceArea) + " mm^2");
}

void printFile(const Printer& out, const ombrel::FileReport& file, bool stl) {
    std::string text = "  " + file.path + ": " + counted(file.points, "point", "points") + ", " +
                       counted(file.faces, "face", "faces");
    if (stl) text += ", " + counted(file.trianglesWritten, "triangle", "triangles") + " written";
    if (file.facesSkipped != 0) text += ", " + counted(file.facesSkipped, "face", "faces") + " skipped";
    out.line(text);
    out.line("    check: " + file.check.verdict());
}

}  // namespace

void printCheckReport(std::FILE* stream, const ombrel::ExportOptions& options, const ombrel::ExportReport& report) {
    const Printer out(stream);
    const int up = upAxisIndex(options);
    out.line("Print check: " + counted(report.files.size(), "Vek file", "Vek files") + ", " +
             counted(report.check.triangles, "triangle", "triangles") + ", " + (up == 2 ? "Z up" : "Y up"));
    if (report.sceneBox.empty) {
        out.line("  the scene holds no points");
        return;
    }
    out.line("  size " + number(report.size[0]) + " x " + number(report.size[1]) + " x " + number(report.size[2]) +
             " mm (x, y, z)");
    out.line("  verdict: " + report.check.verdict());
    printCheckFigures(out, report.check);
    for (const ombrel::FileReport& file : report.files) {
        out.line("  " + file.path + ": " + file.check.verdict());
        out.line("    " + counted(file.check.shells, "shell", "shells") + ", " +
                 counted(file.check.openEdges, "open edge", "open edges") + ", " +
                 counted(file.check.nonManifoldEdges, "non-manifold edge", "non-manifold edges") + ", " +
                 counted(file.check.flippedEdges, "flipped edge", "flipped edges") + ", volume " +
                 number(file.check.volume) + " mm^3");
    }
}

void printExportSummary(const SummaryOptions& summary, const ombrel::ExportOptions& options,
                        const ombrel::ExportReport& report) {
    const Printer out(summary.stream);
    const bool stl = options.format != ombrel::Format::Vrml;  // STL and 3MF: counted in triangles
    const int up = upAxisIndex(options);
    out.line(std::string(formatTitle(options.format)) + ": " + summary.outputName + ", " +
             counted(report.bytesWritten, "byte", "bytes"));
    const std::string items = stl ? counted(report.trianglesWritten, "triangle", "triangles")
                                  : counted(report.shapesWritten, "shape", "shapes");
    const bool colours = options.vertexColors &&
                         (options.format == ombrel::Format::Vrml || options.format == ombrel::Format::ThreeMF);
    out.line("  " + items + " from " + counted(report.files.size(), "Vek file", "Vek files") + ", " +
             (up == 2 ? "Z up" : "Y up") + (colours ? ", with vertex colours" : ""));
    if (report.sceneBox.empty) {
        out.line("  the scene holds no points");
    } else {
        out.line("  size " + number(report.size[0]) + " x " + number(report.size[1]) + " x " +
                 number(report.size[2]) + " mm (x, y, z)");
        if (options.height && isFlat(report.sceneBox))
            out.line("  a flat scene (no extent along the up axis): left unscaled and unmoved");
    }
    if (!report.replacedAtomically && !summary.standardOutput) out.line("  written in place: the output could not be replaced as a whole");
    out.line("  check: " + report.check.verdict());
    if (!summary.verbose) return;

    if (!report.sceneBox.empty) {
        out.box("scene box", report.sceneBox);
        out.box("written box", report.placedBox);
        out.line("  height " + number(report.size[up]) + " along " + std::string(1, "xyz"[up]) + ", scale " + number(report.scale));
    }
    printCheckFigures(out, report.check);
    for (const ombrel::FileReport& file : report.files) printFile(out, file, stl);
}
