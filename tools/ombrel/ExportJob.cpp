#include "tools/ombrel/ExportJob.h"

#include "geometry/BBox.h"
#include "geometry/QMMatrix4f.h"
#include "plugin/DeclaredVekFiles.h"
#include "plugin/ombrel.h"
#include "tools/ombrel/ExportProgress.h"
#include "tools/ombrel/InputChecks.h"
#include "support/LibraryPath.h"
#include "tools/ombrel/OutputSummary.h"
#include "tools/ombrel/ScriptCalls.h"

#include <cstdio>
#include <filesystem>

namespace {

void printBox(const char* label, const BBox& box) {
    std::printf("  %s (%g, %g, %g) to (%g, %g, %g)\n", label, box.m_min.x, box.m_min.y, box.m_min.z, box.m_max.x,
                box.m_max.y, box.m_max.z);
}

// Where the scene's corners land: the library's own placement of the bounds.
BBox placedBox(const BBox& bounds, float height, float& scale) {
    QMMatrix4f matrix;
    buildMatrix(matrix, height, bounds);
    scale = matrix.m_data[5];
    BBox placed;
    placed.add(matrix.multVec3f(bounds.m_min));
    placed.add(matrix.multVec3f(bounds.m_max));
    return placed;
}

// Declares the files as the host script does, each followed by its texture
// name when the user gave one.
void declareFiles(const ExportJob& job) {
    callScript(StartDeclareVekFiles);
    for (const std::string& input : job.inputs) {
        callScript(AddOneVekFile, toLibraryPath(input));
        for (const auto& [file, texture] : job.textures)
            if (toLibraryPath(file) == toLibraryPath(input)) callScript(SetTextureFileNameForLastVek, texture);
    }
    callScript(EndDeclareVekFiles);
}

const char* reportTitle(ExportFormat format) {
    switch (format) {
        case ExportFormat::BinaryStl:
            return "Binary STL";
        case ExportFormat::AsciiStl:
            return "ASCII STL";
        case ExportFormat::Vrml:
            return "VRML";
    }
    return "";
}

int fail(const std::string& problem, int status) {
    std::fprintf(stderr, "ombrel: %s\n", problem.c_str());
    return status;
}

}  // namespace

const char* formatName(ExportFormat format) {
    switch (format) {
        case ExportFormat::BinaryStl:
            return "binary STL";
        case ExportFormat::AsciiStl:
            return "ASCII STL";
        case ExportFormat::Vrml:
            return "VRML";
    }
    return "";
}

int runExport(const ExportJob& job) {
    if (job.inputs.empty()) return fail("no Vek file given", 2);
    for (const std::string& input : job.inputs) {
        std::string problem = checkVekInput(input);
        if (!problem.empty()) return fail(problem, 1);
    }
    std::string problem = checkWritableOutput(job.output);
    if (!problem.empty()) return fail(problem, 1);

    callScript(InitExporter, nullptr, kToolHostVersion);
    declareFiles(job);
    const BBox bounds = computeAllVekFilesBBox();
    const double height = job.height ? *job.height : double(bounds.m_max.y) - double(bounds.m_min.y);
    callScript(DeclareHeight, nullptr, height);
    const std::string output = toLibraryPath(job.output);
    {
        ExportProgress progress(formatName(job.format), job.inputs.size());
        if (job.format == ExportFormat::Vrml) {
            callScript(DeclareExportVertexColors, job.vertexColors ? "YES" : "NO");
            callScript(ExportVRMLAllDeclaredVek, output);
        } else {
            callScript(DeclareBinaryOrASCII, job.format == ExportFormat::BinaryStl ? "BINARY" : "ASCII");
            callScript(ExportSTLAllDeclaredVek, output);
        }
    }

    const OutputSummary summary = summarizeOutput(job.output, job.format);
    if (!summary.readable) return fail(job.output + ": the export wrote no file", 1);
    float scale = 1.0f;
    const BBox placed = placedBox(bounds, static_cast<float>(height), scale);
    std::printf("%s: %s\n", reportTitle(job.format), std::filesystem::absolute(job.output).lexically_normal().c_str());
    std::printf("  %llu %s, %llu bytes, from %zu Vek file%s%s\n", static_cast<unsigned long long>(summary.items),
                job.format == ExportFormat::Vrml ? "shapes" : "triangles",
                static_cast<unsigned long long>(summary.bytes), job.inputs.size(), job.inputs.size() == 1 ? "" : "s",
                job.format == ExportFormat::Vrml && job.vertexColors ? ", with vertex colours" : "");
    if (!bounds.isInitialized()) {
        std::printf("  the scene holds no points\n");
        return 0;
    }
    printBox("scene box", bounds);
    printBox("written box", placed);
    std::printf("  height %g, scale %g%s\n", height, scale,
                placed.m_max.y - placed.m_min.y == 0.0f && !job.height ? " (flat scene, left unscaled)" : "");
    return 0;
}
