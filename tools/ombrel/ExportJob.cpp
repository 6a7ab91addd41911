#include "tools/ombrel/StlExportJob.h"

#include "geometry/BBox.h"
#include "geometry/QMMatrix4f.h"
#include "plugin/DeclaredVekFiles.h"
#include "plugin/ombrel.h"
#include "tools/ombrel/ExportProgress.h"
#include "tools/ombrel/InputChecks.h"
#include "tools/ombrel/LibraryPath.h"
#include "tools/ombrel/ScriptCalls.h"
#include "tools/ombrel/StlSummary.h"

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

}  // namespace

int runStlExport(const StlExportJob& job) {
    if (job.inputs.empty()) {
        std::fprintf(stderr, "ombrel: no Vek file given\n");
        return 2;
    }
    for (const std::string& input : job.inputs) {
        std::string problem = checkVekInput(input);
        if (!problem.empty()) {
            std::fprintf(stderr, "ombrel: %s\n", problem.c_str());
            return 1;
        }
    }
    std::string problem = checkWritableOutput(job.output);
    if (!problem.empty()) {
        std::fprintf(stderr, "ombrel: %s\n", problem.c_str());
        return 1;
    }

    callScript(InitExporter, nullptr, kToolHostVersion);
    callScript(StartDeclareVekFiles);
    for (const std::string& input : job.inputs) callScript(AddOneVekFile, toLibraryPath(input));
    callScript(EndDeclareVekFiles);

    const BBox bounds = computeAllVekFilesBBox();
    const double height = job.height ? *job.height : double(bounds.m_max.y) - double(bounds.m_min.y);
    callScript(DeclareBinaryOrASCII, job.binary ? "BINARY" : "ASCII");
    callScript(DeclareHeight, nullptr, height);

    const std::string output = toLibraryPath(job.output);
    {
        ExportProgress progress(job.binary ? "binary STL" : "ASCII STL", job.inputs.size());
        callScript(ExportSTLAllDeclaredVek, output);
    }

    const StlSummary summary = summarizeStl(job.output, job.binary);
    if (!summary.readable) {
        std::fprintf(stderr, "ombrel: %s: the export wrote no file\n", job.output.c_str());
        return 1;
    }
    float scale = 1.0f;
    const BBox placed = placedBox(bounds, static_cast<float>(height), scale);
    std::printf("%s STL: %s\n", job.binary ? "Binary" : "ASCII",
                std::filesystem::absolute(job.output).lexically_normal().c_str());
    std::printf("  %llu triangles, %llu bytes, from %zu Vek file%s\n",
                static_cast<unsigned long long>(summary.triangles), static_cast<unsigned long long>(summary.bytes),
                job.inputs.size(), job.inputs.size() == 1 ? "" : "s");
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
