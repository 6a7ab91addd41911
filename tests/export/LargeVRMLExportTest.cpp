// A VRML mesh large enough to be written in many chunks on several threads
// gives exactly the bytes of the plainest way to write it: one printf call
// per number, one list entry after the other.

#include "export/QMVRMLExport.h"
#include "vekio/QMVekIO.h"

#include "TestFiles.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <string>

namespace {

std::string printed(const char* format, double value) {
    char text[400];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

std::string triple(double x, double y, double z) {
    return printed("%f", x) + " " + printed("%f", y) + " " + printed("%f", z);
}

// Lines of a list: `first` before the first entry, `rest` before the others,
// `separator` after every entry but the last, `close` after the last.
template <class Entry>
std::string list(std::size_t n, const std::string& first, const std::string& rest, const std::string& separator,
                 const std::string& close, Entry entry) {
    std::string text;
    for (std::size_t i = 0; i < n; ++i) text += (i == 0 ? first : rest) + entry(i) + (i + 1 < n ? separator : close);
    return text;
}

struct RandomMesh {
    RandomMesh(std::size_t numPoints, std::size_t numFaces, unsigned seed) {
        std::mt19937 random(seed);
        std::uniform_real_distribution<float> coordinate(-50.0f, 50.0f), unit(0.0f, 1.0f);
        std::uniform_int_distribution<int> index(0, int(numPoints) - 1);
        for (std::size_t i = 0; i < numPoints; ++i) {
            points.push_back({coordinate(random), coordinate(random), coordinate(random)});
            colours.push_back(static_cast<std::uint32_t>(random()));
        }
        for (std::size_t f = 0; f < numFaces; ++f) {
            const bool triangle = random() % 10 == 0;
            for (int j = 0; j < 4; ++j) {
                faces.push_back(triangle && j == 3 ? -1 : index(random));
                uvs.push_back({unit(random), unit(random)});
            }
        }
    }
    QMArray<QMVector3f> points;
    QMArray<int> faces;
    QMArray<QMVector2f> uvs;
    QMArray<std::uint32_t> colours;
};

std::string faceLines(const QMArray<int>& faces, const std::string& first, const std::string& rest, bool texture) {
    std::uint32_t counter = 0;
    return list(faces.size() / 4, first, rest, ", -1,\n", "]\n", [&](std::size_t f) {
        const int corners = faces[4 * f + 3] == -1 ? 3 : 4;
        std::string line;
        for (int j = 0; j < corners; ++j)
            line += (j ? ", " : "") + std::to_string(texture ? int(counter + std::uint32_t(j)) : faces[4 * f + j]);
        counter += std::uint32_t(corners);
        return line;
    });
}

// The whole file of one mesh with every piece, written the plain way.
std::string plainVRML(RandomMesh& mesh, const QMMatrix4f& matrix) {
    std::string text = "#VRML V2.0 utf8\n\n#Created by Kelvra VRML exporter\n\n\n\nShape { \n";
    text +=
        "\n  appearance Appearance { \n    texture ImageTexture { \n      url \"skin.png\" \n"
        "      repeatS TRUE \n      repeatT TRUE \n    } \n  } \n";
    text += "\n  geometry IndexedFaceSet { \n    coord Coordinate { \n";
    text += list(mesh.points.size(), "      point [ ", "         ", ",\n", "]\n", [&](std::size_t i) {
        const QMVector3f p = matrix * mesh.points[i];
        return triple(p.x, p.y, p.z);
    });
    text += "    }\n" + faceLines(mesh.faces, "    coordIndex [ ", "      ", false);
    text += "\n    texCoord TextureCoordinate { \n";
    // Every face's corners but the -1 of triangles (no face starts with -1).
    std::vector<std::size_t> kept;
    for (std::size_t k = 0; k < mesh.faces.size(); ++k)
        if (mesh.faces[k] != -1) kept.push_back(k);
    text += list(kept.size(), "      point [ ", "         ", ",\n", "]\n", [&](std::size_t i) {
        const QMVector2f& uv = mesh.uvs[kept[i]];
        return printed("%f", 1.0f - uv.x) + " " + printed("%f", 1.0f - uv.y);
    });
    text += "    } \n\n" + faceLines(mesh.faces, "      texCoordIndex [ ", "        ", true);
    text += "\n    colorPerVertex TRUE \n    color Color {\n      color [\n";
    QMVekIO converter;
    text += list(mesh.colours.size(), "        ", "        ", ", \n", "] \n", [&](std::size_t i) {
        QMVector3f c;
        converter.convertOneMRGBToColor3f(c, mesh.colours, int(i));
        return triple(c.x, c.y, c.z);
    });
    return text + "    }\n  } \n} \n";
}

}  // namespace

TEST(LargeVRMLExport, ManyChunksGiveThePlainBytes) {
    RandomMesh mesh(40000, 30000, 11);  // every list spans several chunks
    QMMatrix4f matrix;
    matrix.setScale(QMVector3f(0.5f, 0.5f, 0.5f));
    matrix.multLeftByTranslate(QMVector3f(3.0f, 1.5f, -2.0f));
    TempDir dir;
    const std::string path = dir.file("large.wrl");
    QMVRMLExport exporter;
    exporter.m_matrix = matrix;
    exporter.m_useMatrix = true;
    exporter.startExportKMeshes(QMString(path.c_str()));
    exporter.writeKMesh(mesh.points, mesh.faces, mesh.uvs, QMString("skin.png"), &mesh.colours);
    exporter.endExportKMeshes();
    EXPECT_EQ(readFileText(path), plainVRML(mesh, matrix));
}
