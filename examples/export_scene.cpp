// export_scene: exports Vek files as one binary STL file, upright for a
// slicer (Z up) at the given height in millimetres, with a progress line and
// what the engine reports.
//
//   export_scene OUT.stl HEIGHT FILE.vek...
#include <engine/OmbrelExport.h>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
    if (argc < 4) {
        std::fprintf(stderr, "usage: export_scene OUT.stl HEIGHT FILE.vek...\n");
        return 2;
    }
    ombrel::ExportOptions options;
    options.output = argv[1];
    options.height = std::strtod(argv[2], nullptr);
    options.up = ombrel::UpAxis::Z;  // slicers build along Z
    for (int i = 3; i < argc; ++i) options.inputs.push_back({argv[i]});
    options.progress = [](const ombrel::Progress& progress) {
        if (progress.phase == ombrel::Phase::Writing && progress.facesTotal != 0)
            std::fprintf(stderr, "\rwriting %zu/%zu: %3d%%", progress.fileIndex + 1, progress.fileCount,
                         static_cast<int>(100 * progress.facesDone / progress.facesTotal));
        return ombrel::ProgressAction::Continue;  // Stop would cancel the export
    };

    const ombrel::ExportResult result = ombrel::exportScene(options);
    std::fprintf(stderr, "\n");
    for (const ombrel::Warning& warning : result.warnings)
        std::fprintf(stderr, "warning: %s\n", warning.describe().c_str());
    if (!result.ok()) {
        std::fprintf(stderr, "error: %s\n", result.status.describe().c_str());
        return 1;
    }
    const ombrel::ExportReport& report = result.report;
    std::printf("%llu triangles, %llu bytes, %.2f x %.2f x %.2f mm\n",
                static_cast<unsigned long long>(report.trianglesWritten),
                static_cast<unsigned long long>(report.bytesWritten), report.size[0], report.size[1],
                report.size[2]);
    for (const ombrel::FileReport& file : report.files)
        std::printf("  %s: %llu faces, %llu triangles\n", file.path.c_str(),
                    static_cast<unsigned long long>(file.faces),
                    static_cast<unsigned long long>(file.trianglesWritten));
    return 0;
}
