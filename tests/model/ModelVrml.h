#pragma once

#include "ModelGeometry.h"

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace scriptmodel {

// One VRML 2.0 file with one Shape per mesh, printed with snprintf.
class VrmlWriter {
public:
    // Takes over `file` (already open for writing) and writes the header.
    explicit VrmlWriter(std::FILE* file);
    VrmlWriter(const VrmlWriter&) = delete;
    VrmlWriter& operator=(const VrmlWriter&) = delete;

    // One Shape: the appearance when `texture` is not empty, the points
    // through the affine product, the face indices as they are, the texture
    // coordinates of the corners that exist, the colours when `colours` is
    // not empty.
    void mesh(const std::vector<Vec3>& points, const std::vector<std::int32_t>& faces, const std::vector<Vec2>& uvs,
              const std::string& texture, const std::vector<std::uint32_t>& colours, const Placement& placement);

    // Closes the file; nothing more is written.
    void finish();

private:
    void appearance(const std::string& texture);
    void coordinates(const std::vector<Vec3>& points, const Placement& placement);
    // One line per whole face: `firstPrefix` before the first, `restPrefix`
    // before the others; every line but the last ends with -1. Each corner
    // prints its index, or with `counted` the running number of the corners
    // printed before it.
    void faceLines(const std::vector<std::int32_t>& faces, const char* firstPrefix, const char* restPrefix,
                   bool counted);
    void textureCoordinates(const std::vector<std::int32_t>& faces, const std::vector<Vec2>& uvs);
    void colourLines(const std::vector<std::uint32_t>& colours);
    void print(const char* format, ...);

    std::FILE* m_file;
};

}  // namespace scriptmodel
