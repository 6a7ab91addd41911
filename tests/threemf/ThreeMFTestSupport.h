#pragma once

#include "PackageReading.h"
#include "TestFiles.h"
#include "VekTestFiles.h"

#include "threemf/Ombrel3MF.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

// Scenes, exports and the reading of what they wrote, for the 3MF tests.

// The sample scene's Vek files (samples/), sorted by name.
std::vector<std::string> sampleFiles();

// Options exporting `inputs` to `output`, Z up.
ombrel::ExportOptions threeMFOptions(const std::vector<std::string>& inputs, const std::string& output,
                                     bool colours = false);

// A generated scene written once per test program: `files` parts of the
// sculpt-like kind (open horns included), with colours, `faces` in all.
std::vector<std::string> generatedScene(std::uint64_t faces, std::uint32_t files);
// A generated scene of closed solid shapes (head, torso, base), for the
// slicer's volume and parts.
std::vector<std::string> solidScene();

// The triangles of a binary STL file, three corners of x, y, z each.
using StlTriangle = std::array<float, 9>;
std::vector<StlTriangle> readBinaryStl(const std::string& path);

// The triangles of a model lib3mf read, over every object in order, as
// their corners' coordinates.
std::vector<StlTriangle> trianglesOf(const ReadModel& model);

// The number of times `part` occurs in `text`.
std::size_t occurrences(const std::string& text, const std::string& part);

#define SKIP_WITHOUT_LIB3MF() \
    if (!haveLib3mf()) GTEST_SKIP() << "lib3mf is not installed (Debian package lib3mf-dev)"
