#include "ModelSession.h"

#include "ModelGeometry.h"
#include "ModelStl.h"
#include "ModelText.h"
#include "ModelVek.h"
#include "ModelVrml.h"

#include <cstdint>
#include <cstdio>
#include <stdexcept>

namespace scriptmodel {

namespace {

// The placement of every declared file: the union box of the points of each
// file's first Points block, fitted to the height (taken in single precision).
Placement placementOf(const std::vector<std::string>& files, double height) {
    Box box;
    std::vector<Vec3> points;
    for (const std::string& file : files) {
        readBoundsPoints(file, points);
        for (const Vec3& p : points) box.add(p);
    }
    return scenePlacement(box, static_cast<float>(height));
}

// The output stream, or null when the path text names nothing that can be
// written.
std::FILE* openOutput(const std::string& pathText, const char* mode) {
    const std::string path = openedPath(pathText);
    return path.empty() ? nullptr : std::fopen(path.c_str(), mode);
}

}  // namespace

double Session::initExporter(double) {
    const bool first = !m_initialised;
    m_initialised = true;
    return first ? 1.0 : 0.0;
}

double Session::declareHeight(double height) {
    m_height = height;
    return 0.0;
}

double Session::declareFlipAndSwitch(double) { return 0.0; }

double Session::declareBinaryOrASCII(const std::string& word) {
    m_binarySTL = isOptionWord(word, "BINARY");
    return 0.0;
}

double Session::declareExportVertexColors(const std::string& word) {
    m_vertexColours = isOptionWord(word, "YES");
    return 0.0;
}

double Session::startDeclareVekFiles() {
    m_files.clear();
    m_textures.clear();
    return 0.0;
}

double Session::addOneVekFile(const std::string& path) {
    m_files.push_back(path);
    m_textures.push_back(path);
    return 0.0;
}

double Session::setTextureFileNameForLastVek(const std::string& name) {
    if (!m_textures.empty()) m_textures.back() = name;
    return 0.0;
}

double Session::declareLastVekInvisible() { return 0.0; }

double Session::endDeclareVekFiles() { return 0.0; }

double Session::exportSTLAllDeclaredVek(const std::string& path) {
    const Placement placement = placementOf(m_files, m_height);
    std::FILE* file = openOutput(path, m_binarySTL ? "wb" : "w");
    if (!file) return 0.0;
    StlWriter writer(file, m_binarySTL);
    std::vector<Vec3> points;
    std::vector<std::int32_t> faces;
    for (const std::string& name : m_files) {
        readStlBlocks(name, points, faces);
        if (!faces.empty()) writer.mesh(points, faces, placement);
    }
    writer.finish();
    return 0.0;
}

double Session::exportVRMLAllDeclaredVek(const std::string& path) {
    const Placement placement = placementOf(m_files, m_height);
    std::FILE* file = openOutput(path, "w");
    if (!file) return 0.0;
    VrmlWriter writer(file);
    // Reused from file to file: the UVs of one file stay for the next file
    // when that one has no UV4 block.
    std::vector<Vec3> points;
    std::vector<std::int32_t> faces;
    std::vector<Vec2> uvs;
    std::vector<std::uint32_t> colours;
    for (std::size_t i = 0; i < m_files.size(); ++i) {
        readShapeBlocks(m_files[i], points, faces, uvs, colours);
        if (!m_vertexColours) colours.clear();
        if (!faces.empty()) writer.mesh(points, faces, uvs, withoutDirectory(m_textures[i]), colours, placement);
    }
    writer.finish();
    return 0.0;
}

double Session::call(const std::string& name, const std::string& text, double number) {
    if (name == "InitExporter") return initExporter(number);
    if (name == "DeclareHeight") return declareHeight(number);
    if (name == "DeclareFlipAndSwitch") return declareFlipAndSwitch(number);
    if (name == "DeclareBinaryOrASCII") return declareBinaryOrASCII(text);
    if (name == "DeclareExportVertexColors") return declareExportVertexColors(text);
    if (name == "StartDeclareVekFiles") return startDeclareVekFiles();
    if (name == "AddOneVekFile") return addOneVekFile(text);
    if (name == "SetTextureFileNameForLastVek") return setTextureFileNameForLastVek(text);
    if (name == "DeclareLastVekInvisible") return declareLastVekInvisible();
    if (name == "EndDeclareVekFiles") return endDeclareVekFiles();
    if (name == "ExportSTLAllDeclaredVek") return exportSTLAllDeclaredVek(text);
    if (name == "ExportVRMLAllDeclaredVek") return exportVRMLAllDeclaredVek(text);
    throw std::invalid_argument("no script call named " + name);
}

std::string Session::describe() const {
    char settings[160];
    std::snprintf(settings, sizeof settings, "height %.17g, STL %s, vertex colours %s, %zu declared file(s)\n",
                  m_height, m_binarySTL ? "binary" : "ASCII", m_vertexColours ? "on" : "off", m_files.size());
    std::string text = settings;
    for (std::size_t i = 0; i < m_files.size(); ++i)
        text += "  \"" + m_files[i] + "\" texture \"" + m_textures[i] + "\"\n";
    return text;
}

}  // namespace scriptmodel
