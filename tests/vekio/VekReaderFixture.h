#pragma once

#include "vekio/QMVekIO.h"

#include "TestFiles.h"
#include "VekTestFiles.h"

#include "support/QMLogServer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

// A temporary directory for Vek files, with the log lines of the readers
// captured while a test runs.
class VekReaderTest : public ::testing::Test {
protected:
    void SetUp() override {
        QMLogServer::setObserver([this](const char* line) { logLines.push_back(line); });
    }
    void TearDown() override { QMLogServer::setObserver({}); }

    QMString write(const std::string& name, const std::function<void(vekgen::VekWriter&)>& build) {
        return QMString(writeVekFile(dir.file(name), build).c_str());
    }

    TempDir dir;
    QMVekIO io;
    std::vector<std::string> logLines;
};

// Small well-known blocks.
inline const std::vector<vekgen::Point3> kTriangle = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
inline const std::vector<vekgen::Point3> kSquare = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
inline const std::vector<vekgen::Face4> kOneQuad = {{0, 1, 2, 3}};
inline const std::vector<vekgen::Face4> kOneTriangle = {{0, 1, 2, -1}};
inline const std::vector<vekgen::UV4> kOneQuadUV = {{0, 0, 1, 0, 1, 1, 0, 1}};

// A small file with every block the readers know, an unknown one among them:
// points, an unknown block, two faces (a quad and a triangle), their UVs, a
// mask and four colours.
inline std::vector<unsigned char> fileWithEveryBlock() {
    return vekBytes([](vekgen::VekWriter& w) {
        w.points(kSquare);
        w.rawBlock(40001, 2, std::vector<unsigned char>(8, 0x77));
        w.face4(std::vector<vekgen::Face4>{{0, 1, 2, 3}, {0, 2, 3, -1}});
        w.uv4(std::vector<vekgen::UV4>{{0, 0, 1, 0, 1, 1, 0, 1}, {0.5f, 0, 1, 0.5f, 0, 1, 0, 0}});
        w.mask(std::vector<unsigned char>{1, 2, 3, 4});
        w.mrgb(std::vector<std::uint32_t>{0x00FF0000u, 0x0000FF00u, 0x000000FFu, 0x00808080u});
        w.endBlock();
    });
}

inline std::vector<float> flatten(const QMArray<QMVector3f>& points) {
    std::vector<float> out;
    for (const QMVector3f& p : points) out.insert(out.end(), {p.x, p.y, p.z});
    return out;
}
