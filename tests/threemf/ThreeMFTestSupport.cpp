#include "ThreeMFTestSupport.h"

#include "tools/vekgen/SceneGenerator.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <map>
#include <utility>

std::vector<std::string> sampleFiles() {
    std::vector<std::string> paths;
    for (const auto& entry : std::filesystem::directory_iterator(std::string(OMBREL_SOURCE_DIR) + "/samples"))
        if (entry.path().extension() == ".vek") paths.push_back(entry.path().string());
    std::sort(paths.begin(), paths.end());
    return paths;
}

ombrel::ExportOptions threeMFOptions(const std::vector<std::string>& inputs, const std::string& output,
                                     bool colours) {
    ombrel::ExportOptions options;
    for (const std::string& input : inputs) options.inputs.emplace_back(input);
    options.output = output;
    options.format = ombrel::Format::ThreeMF;
    options.up = ombrel::UpAxis::Z;
    options.vertexColors = colours;
    return options;
}

namespace {

std::vector<std::string> writeScene(const vekgen::SceneGenerator& generator, const std::string& directory) {
    std::vector<std::string> paths;
    for (const vekgen::PartStats& part : generator.writeAll(directory)) paths.push_back(part.path);
    return paths;
}

}  // namespace

std::vector<std::string> generatedScene(std::uint64_t faces, std::uint32_t files) {
    static TempDir directory;
    static std::map<std::pair<std::uint64_t, std::uint32_t>, std::vector<std::string>> scenes;
    std::vector<std::string>& paths = scenes[{faces, files}];
    if (paths.empty()) {
        vekgen::SceneOptions options;
        options.faces = faces;
        options.files = files;
        options.seed = 3;
        paths = writeScene(vekgen::SceneGenerator(options),
                           directory.file(std::to_string(faces) + "-" + std::to_string(files)));
    }
    return paths;
}

std::vector<std::string> solidScene() {
    static TempDir directory;
    static const std::vector<std::string> paths = [] {
        std::vector<vekgen::PartParams> parts(3);
        const vekgen::PartShape shapes[] = {vekgen::PartShape::SolidBase, vekgen::PartShape::SolidTorso,
                                            vekgen::PartShape::SolidHead};
        const char* names[] = {"base", "torso", "head"};
        for (std::size_t i = 0; i < parts.size(); ++i) {
            parts[i].name = names[i];
            parts[i].shape = shapes[i];
            parts[i].faces = 6000;
            parts[i].seed = 11;
        }
        return writeScene(vekgen::SceneGenerator(parts), directory.path());
    }();
    return paths;
}

std::vector<StlTriangle> readBinaryStl(const std::string& path) {
    const std::vector<unsigned char> bytes = readFileBytes(path);
    std::vector<StlTriangle> triangles;
    if (bytes.size() < 84) return triangles;
    std::uint32_t count = 0;
    std::memcpy(&count, bytes.data() + 80, 4);
    for (std::size_t t = 0; t < count && 84 + 50 * (t + 1) <= bytes.size(); ++t) {
        StlTriangle triangle;
        std::memcpy(triangle.data(), bytes.data() + 84 + 50 * t + 12, 36);
        triangles.push_back(triangle);
    }
    return triangles;
}

std::vector<StlTriangle> trianglesOf(const ReadModel& model) {
    std::vector<StlTriangle> triangles;
    for (const ReadObject& object : model.objects) {
        for (const auto& t : object.triangles) {
            StlTriangle triangle;
            for (int corner = 0; corner < 3; ++corner)
                for (int axis = 0; axis < 3; ++axis) triangle[3 * corner + axis] = object.vertices[t[corner]][axis];
            triangles.push_back(triangle);
        }
    }
    return triangles;
}

std::size_t occurrences(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size())) ++count;
    return count;
}
