#include "tools/ombrel/ExportSummary.h"

#include "tools/ombrel/AbsolutePath.h"
#include "tools/ombrel/FormatNames.h"

#include <cmath>
#include <cstdio>
#include <string>

namespace {

std::string counted(std::uint64_t count, const char* one, const char* many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

void printBox(const char* label, const ombrel::Box& box) {
    std::printf("  %s (%g, %g, %g) to (%g, %g, %g)\n", label, box.min[0], box.min[1], box.min[2], box.max[0],
                box.max[1], box.max[2]);
}

// The axis the height is measured along in the file: VRML stays Y-up.
int upAxisIndex(const ombrel::ExportOptions& options) {
    return options.format != ombrel::Format::Vrml && options.up == ombrel::UpAxis::Z ? 2 : 1;
}

// The placement leaves a scene without height (extent along Y below 1e-5
// before it is turned) where and as it is, whatever height was asked for.
bool isFlat(const ombrel::Box& sceneBox) { return std::fabs(sceneBox.max[1] - sceneBox.min[1]) < 1e-5; }

void printPlacement(const ombrel::ExportOptions& options, const ombrel::ExportReport& report) {
    printBox("scene box", report.sceneBox);
    printBox("written box", report.placedBox);
    const int up = upAxisIndex(options);
    std::printf("  height %g along %c, scale %g%s\n", report.size[up], "xyz"[up], report.scale,
                isFlat(report.sceneBox) ? " (a flat scene: left unscaled and unmoved)" : "");
    std::printf("  size along x, y, z: %g, %g, %g\n", report.size[0], report.size[1], report.size[2]);
}

void printFile(const ombrel::FileReport& file, bool stl) {
    std::string line = file.path + ": " + counted(file.points, "point", "points") + ", " +
                       counted(file.faces, "face", "faces");
    if (stl) line += ", " + counted(file.trianglesWritten, "triangle", "triangles") + " written";
    if (file.facesSkipped != 0) line += ", " + counted(file.facesSkipped, "face", "faces") + " skipped";
    std::printf("  %s\n", line.c_str());
}

}  // namespace

void printExportSummary(const ombrel::ExportOptions& options, const ombrel::ExportReport& report) {
    const bool stl = options.format != ombrel::Format::Vrml;
    std::printf("%s: %s\n", formatTitle(options.format), absolutePath(options.output).c_str());
    const std::string items = stl ? counted(report.trianglesWritten, "triangle", "triangles")
                                  : counted(report.shapesWritten, "shape", "shapes");
    std::printf("  %s, %s, from %s%s\n", items.c_str(), counted(report.bytesWritten, "byte", "bytes").c_str(),
                counted(report.files.size(), "Vek file", "Vek files").c_str(),
                !stl && options.vertexColors ? ", with vertex colours" : "");
    if (!report.replacedAtomically) std::printf("  written in place: the output could not be replaced as a whole\n");
    if (report.sceneBox.empty)
        std::printf("  the scene holds no points\n");
    else
        printPlacement(options, report);
    for (const ombrel::FileReport& file : report.files) printFile(file, stl);
}
