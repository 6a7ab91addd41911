#include "ModelVrml.h"

#include <algorithm>
#include <cstdarg>

namespace scriptmodel {

namespace {

// A colour byte as a float intensity in 0..1, divided in float.
double intensity(std::uint32_t word, int shift) {
    return static_cast<double>(static_cast<float>((word >> shift) & 0xFFu) / 255.0f);
}

// A texture coordinate is written flipped, 1 - value, computed in float.
double flipped(float value) { return static_cast<double>(1.0f - value); }

}  // namespace

VrmlWriter::VrmlWriter(std::FILE* file) : m_file(file) {
    std::fputs("#VRML V2.0 utf8\n\n#Created by Kelvra VRML exporter\n\n\n", m_file);
}

void VrmlWriter::finish() { std::fclose(m_file); }

void VrmlWriter::print(const char* format, ...) {
    char line[1024];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    std::fputs(line, m_file);
}

void VrmlWriter::mesh(const std::vector<Vec3>& points, const std::vector<std::int32_t>& faces,
                      const std::vector<Vec2>& uvs, const std::string& texture,
                      const std::vector<std::uint32_t>& colours, const Placement& placement) {
    std::fputs("\nShape { \n", m_file);
    if (!texture.empty()) appearance(texture);
    std::fputs("\n  geometry IndexedFaceSet { \n", m_file);
    if (!points.empty()) coordinates(points, placement);
    if (!faces.empty()) faceLines(faces, "    coordIndex [ ", "      ", false);
    if (!uvs.empty()) textureCoordinates(faces, uvs);
    if (!colours.empty()) colourLines(colours);
    std::fputs("  } \n} \n", m_file);
}

void VrmlWriter::appearance(const std::string& texture) {
    std::fputs("\n  appearance Appearance { \n    texture ImageTexture { \n      url \"", m_file);
    for (char c : texture) {  // any length; quotes and backslashes escaped as VRML strings need
        if (c == '"' || c == '\\') std::fputc('\\', m_file);
        std::fputc(c, m_file);
    }
    std::fputs("\" \n      repeatS TRUE \n      repeatT TRUE \n    } \n  } \n", m_file);
}

void VrmlWriter::coordinates(const std::vector<Vec3>& points, const Placement& placement) {
    std::fputs("    coord Coordinate { \n", m_file);
    const std::size_t n = points.size();
    for (std::size_t i = 0; i < n; ++i) {
        const Vec3 p = affineProduct(placement, points[i]);
        const double x = p.x, y = p.y, z = p.z;
        if (n == 1)
            print("      point [ %f %f %f ]\n", x, y, z);
        else if (i == 0)
            print("      point [ %f %f %f,\n", x, y, z);
        else if (i + 1 < n)
            print("         %f %f %f,\n", x, y, z);
        else
            print("         %f %f %f]\n", x, y, z);
    }
    std::fputs("    }\n", m_file);
}

void VrmlWriter::faceLines(const std::vector<std::int32_t>& faces, const char* firstPrefix, const char* restPrefix,
                           bool counted) {
    const std::size_t numFaces = faces.size() / 4;
    std::uint32_t printedCorners = 0;  // wraps like the int it prints
    for (std::size_t f = 0; f < numFaces; ++f) {
        const int corners = faces[4 * f + 3] == -1 ? 3 : 4;
        std::fputs(f == 0 ? firstPrefix : restPrefix, m_file);
        for (int j = 0; j < corners; ++j) {
            const int value = counted ? static_cast<int>(printedCorners + std::uint32_t(j)) : faces[4 * f + j];
            print(j == 0 ? "%d" : ", %d", value);
        }
        std::fputs(f + 1 < numFaces ? ", -1,\n" : "]\n", m_file);
        printedCorners += std::uint32_t(corners);
    }
}

void VrmlWriter::textureCoordinates(const std::vector<std::int32_t>& faces, const std::vector<Vec2>& uvs) {
    // Entry k belongs to corner faces[k]; entries past the face list and
    // those of a triangle's unused corner (-1) are not written.
    const std::size_t limit = std::min(uvs.size(), faces.size());
    std::size_t first = 0;
    while (first < limit && faces[first] == -1) ++first;
    if (first == limit) return;  // no entry left: no piece at all
    std::size_t last = limit - 1;
    while (faces[last] == -1) --last;

    std::fputs("\n    texCoord TextureCoordinate { \n", m_file);
    for (std::size_t k = first; k <= last; ++k) {
        if (faces[k] == -1) continue;
        const double s = flipped(uvs[k].u), t = flipped(uvs[k].v);
        if (k == first && k == last)
            print("      point [ %f %f]\n", s, t);
        else if (k == first)
            print("      point [ %f %f,\n", s, t);
        else if (k == last)
            print("         %f %f]\n", s, t);
        else
            print("         %f %f,\n", s, t);
    }
    std::fputs("    } \n\n", m_file);
    faceLines(faces, "      texCoordIndex [ ", "        ", true);
}

void VrmlWriter::colourLines(const std::vector<std::uint32_t>& colours) {
    std::fputs("\n    colorPerVertex TRUE \n    color Color {\n      color [\n", m_file);
    for (std::size_t i = 0; i < colours.size(); ++i) {
        const std::uint32_t word = colours[i];  // 0xMMRRGGBB
        print(i + 1 < colours.size() ? "        %f %f %f, \n" : "        %f %f %f] \n", intensity(word, 16),
              intensity(word, 8), intensity(word, 0));
    }
    std::fputs("    }\n", m_file);
}

}  // namespace scriptmodel
