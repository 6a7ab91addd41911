#include "tools/vekgen/PlyCommand.h"

#include "tools/vekgen/PlyWriter.h"
#include "tools/vekgen/VekMeshReader.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <stdexcept>

namespace vekgen {

namespace {

double parseHeight(const std::string& value) {
    double h = 0;
    auto [p, ec] = std::from_chars(value.data(), value.data() + value.size(), h);
    if (value.empty() || ec != std::errc() || p != value.data() + value.size() || !std::isfinite(h) || h <= 0)
        throw std::invalid_argument("--height expects a positive number, got \"" + value + "\"");
    return h;
}

}  // namespace

int runPly(const std::vector<std::string>& args) {
    PlyOptions options;
    std::vector<std::string> paths;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (a == "--triangles") {
            options.triangles = true;
        } else if (a == "--height") {
            if (i + 1 >= args.size()) throw std::invalid_argument("--height needs a value");
            options.height = parseHeight(args[++i]);
        } else if (a.rfind("--height=", 0) == 0) {
            options.height = parseHeight(a.substr(9));
        } else if (a.size() > 1 && a[0] == '-') {
            throw std::invalid_argument("unknown option " + a);
        } else {
            paths.push_back(a);
        }
    }
    if (paths.size() < 2) throw std::invalid_argument("ply needs an output file and at least one Vek file");

    std::vector<MeshData> meshes;
    for (std::size_t i = 1; i < paths.size(); ++i) meshes.push_back(readVekMesh(paths[i]));
    const PlyStats stats = writePly(paths[0], meshes, options);
    std::printf("wrote %s: %llu vertices, %llu %s, %llu bytes\n", paths[0].c_str(),
                static_cast<unsigned long long>(stats.vertices), static_cast<unsigned long long>(stats.faces),
                options.triangles ? "triangles" : "faces", static_cast<unsigned long long>(stats.bytes));
    return 0;
}

}  // namespace vekgen
