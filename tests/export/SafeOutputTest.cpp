// The exporters never leave a truncated or half-written file at their
// destination: a failed or abandoned export keeps the previous file and
// leaves nothing else in the directory.

#include "export/QMSTLExport.h"
#include "export/QMVRMLExport.h"

#include "ChildProcess.h"
#include "TestFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace {

using Names = std::vector<std::string>;

// A grid of n x n quads: 2 n^2 triangles, enough bytes to pass any small
// file size limit.
struct Grid {
    explicit Grid(int n) {
        for (int y = 0; y <= n; ++y)
            for (int x = 0; x <= n; ++x) points.push_back({float(x), float(y), 0.0f});
        for (int y = 0; y < n; ++y)
            for (int x = 0; x < n; ++x) {
                const int corner = y * (n + 1) + x;
                for (int index : {corner, corner + 1, corner + n + 2, corner + n + 1}) faces.push_back(index);
            }
    }
    QMArray<QMVector3f> points;
    QMArray<int> faces;
};

enum class Format { BinarySTL, AsciiSTL, VRML };

std::string formatName(const ::testing::TestParamInfo<Format>& info) {
    switch (info.param) {
        case Format::BinarySTL:
            return "BinarySTL";
        case Format::AsciiSTL:
            return "AsciiSTL";
        case Format::VRML:
            return "VRML";
    }
    return "";
}

class SafeOutputTest : public ::testing::TestWithParam<Format> {
protected:
    // Runs a whole export of `grid` to `path`; false when the start refused.
    static bool exportGrid(const std::string& path, Grid& grid) {
        const QMString name(path.c_str());
        if (GetParam() == Format::VRML) {
            QMVRMLExport exporter;
            exporter.startExportKMeshes(name);
            if (exporter.m_file == nullptr) return false;
            exporter.writeKMesh(grid.points, grid.faces, {}, QMString(), nullptr);
            return exporter.endExportKMeshes();
        }
        QMSTLExport exporter;
        if (!exporter.startExportKMeshes(name, GetParam() == Format::BinarySTL)) return false;
        exporter.writeKMesh(grid.points, grid.faces);
        return exporter.endExportKMeshes();
    }

    // Starts an export and abandons it half way (an exception would).
    static void abandonExport(const std::string& path, Grid& grid) {
        const QMString name(path.c_str());
        if (GetParam() == Format::VRML) {
            QMVRMLExport exporter;
            exporter.startExportKMeshes(name);
            exporter.writeKMesh(grid.points, grid.faces, {}, QMString(), nullptr);
        } else {
            QMSTLExport exporter;
            exporter.startExportKMeshes(name, GetParam() == Format::BinarySTL);
            exporter.writeKMesh(grid.points, grid.faces);
        }
    }

    Names entries(const std::string& directory) const { return directoryEntries(directory); }

    TempDir dir;
};

}  // namespace

TEST_P(SafeOutputTest, ACompleteExportReplacesThePreviousFile) {
    Grid grid(3);
    const std::string path = dir.file("out");
    writeFileText(path, "previous");
    ASSERT_TRUE(exportGrid(path, grid));
    const std::string text = readFileText(path);
    switch (GetParam()) {
        case Format::BinarySTL:
            EXPECT_EQ(text.size(), 84u + 50u * 18u);
            break;
        case Format::AsciiSTL:
            EXPECT_EQ(text.rfind("solid object0 \n", 0), 0u);
            break;
        case Format::VRML:
            EXPECT_EQ(text.rfind("#VRML V2.0 utf8\n", 0), 0u);
            break;
    }
    EXPECT_EQ(entries(dir.path()), Names{"out"});
}

TEST_P(SafeOutputTest, AFullDiskKeepsThePreviousFile) {
    const std::string path = dir.file("out");
    writeFileText(path, "previous");
    const int result = runInChildProcess([&] {
        if (!limitFileSize(64 * 1024)) return 2;
        Grid grid(150);  // 45,000 triangles: over a megabyte in every format
        return exportGrid(path, grid) ? 0 : 1;
    });
    EXPECT_EQ(result, 0);  // the export itself reports success, as always
    EXPECT_EQ(readFileText(path), "previous");
    EXPECT_EQ(entries(dir.path()), Names{"out"});
}

TEST_P(SafeOutputTest, AFullDiskWithoutPreviousFileLeavesNoFile) {
    const std::string path = dir.file("out");
    const int result = runInChildProcess([&] {
        if (!limitFileSize(64 * 1024)) return 2;
        Grid grid(150);
        return exportGrid(path, grid) ? 0 : 1;
    });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(entries(dir.path()), Names{});
}

TEST_P(SafeOutputTest, AnAbandonedExportKeepsThePreviousFile) {
    Grid grid(20);
    const std::string path = dir.file("out");
    writeFileText(path, "previous");
    abandonExport(path, grid);
    EXPECT_EQ(readFileText(path), "previous");
    EXPECT_EQ(entries(dir.path()), Names{"out"});
}

TEST_P(SafeOutputTest, AMissingDirectoryGetsNoFile) {
    Grid grid(2);
    EXPECT_FALSE(exportGrid(dir.file("missing/out"), grid));
    EXPECT_EQ(entries(dir.path()), Names{});
}

TEST_P(SafeOutputTest, AWritableFileInAReadOnlyDirectoryIsWrittenInPlace) {
    const std::string folder = dir.file("readonly");
    std::filesystem::create_directory(folder);
    writeFileText(folder + "/out", "previous");
    chmod(dir.path().c_str(), 0755);
    chmod((folder + "/out").c_str(), 0666);
    chmod(folder.c_str(), 0555);
    Grid grid(2);
    ASSERT_TRUE(exportGrid(dir.file("expected"), grid));
    const int result = runInChildProcess([&] {
        if (!dropRootPrivileges()) return 2;
        Grid grid(2);
        return exportGrid(folder + "/out", grid) ? 0 : 1;
    });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(readFileBytes(folder + "/out"), readFileBytes(dir.file("expected")));
    EXPECT_EQ(entries(folder), Names{"out"});
}

INSTANTIATE_TEST_SUITE_P(Formats, SafeOutputTest, ::testing::Values(Format::BinarySTL, Format::AsciiSTL, Format::VRML),
                         formatName);
