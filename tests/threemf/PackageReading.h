#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

// Reading back the 3MF files the tests write, with code that shares nothing
// with the writer: libarchive's ZIP reader for the parts, lib3mf (the 3MF
// consortium's library) for the model.

// The parts of a ZIP file by name, in the order they are stored, or nothing
// when libarchive cannot read it whole.
struct PackagePart {
    std::string name;
    std::string bytes;
    bool deflated = false;
};
std::optional<std::vector<PackagePart>> unzipParts(const std::string& path);
// The model part (3D/3dmodel.model) of a package, or "" when there is none.
std::string modelXml(const std::string& path);

// One mesh object as lib3mf reads it.
struct ReadObject {
    std::string name;
    std::vector<std::array<float, 3>> vertices;
    std::vector<std::array<std::uint32_t, 3>> triangles;
    // Per triangle, its corners' colours as 0xRRGGBB, when the triangle has
    // colour properties.
    std::vector<std::optional<std::array<std::uint32_t, 3>>> colours;
};

struct ReadModel {
    bool ok = false;
    std::string error;  // lib3mf's message when it refused the file
    std::vector<std::string> warnings;
    std::string unit;
    std::vector<ReadObject> objects;
    std::vector<std::uint32_t> buildObjectIds;
    std::vector<std::uint32_t> objectIds;
};

// Whether lib3mf was found when the tests were built.
bool haveLib3mf();
// Reads `path` with lib3mf in strict mode (warnings are failures).
ReadModel readWithLib3mf(const std::string& path);
