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

inline std::vector<float> flatten(const QMArray<QMVector3f>& points) {
    std::vector<float> out;
    for (const QMVector3f& p : points) out.insert(out.end(), {p.x, p.y, p.z});
    return out;
}
