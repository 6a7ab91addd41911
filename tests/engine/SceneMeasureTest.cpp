#include "engine/SceneMeasure.h"

#include "vekio/QMVekIO.h"

#include "TestFiles.h"
#include "VekTestFiles.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

using ombrel::Phase;
using ombrel::Progress;
using ombrel::ProgressAction;
using ombrel::engine::measureScene;
using ombrel::engine::ProgressReporter;
using ombrel::engine::sceneBounds;

// The measuring pass: files cut into pieces measured on two threads give the
// box of adding every point in turn, as the readers read them; the first
// file's points are kept; each file's start is reported in order.

namespace {

bool sameBits(const BBox& a, const BBox& b) { return std::memcmp(&a, &b, sizeof(BBox)) == 0; }

// Ordinary values with zeros of both signs, infinities and NaN among them,
// the zeros and infinities at the extremes of some coordinates.
std::vector<float> awkwardCoordinates(std::size_t points, unsigned seed) {
    const float special[] = {0.0f, -0.0f, std::numeric_limits<float>::infinity(),
                             -std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN()};
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> positive(0.0f, 50.0f);
    std::vector<float> xyz(3 * points);
    for (std::size_t i = 0; i < xyz.size(); ++i) {
        xyz[i] = i % 3 == 1 ? positive(random) : positive(random) - 25.0f;  // y never below zero
        if (random() % 997 == 0) xyz[i] = special[random() % std::size(special)];
    }
    return xyz;
}

BBox boxAddedInTurn(const std::vector<QMString>& paths, bool finiteOnly) {
    BBox box;
    for (const QMString& path : paths) {
        QMArray<QMVector3f> points;
        QMVekIO().readVertexBloc(path, points);
        for (const QMVector3f& p : points)
            if (!finiteOnly || (std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z))) box.add(p);
    }
    return box;
}

class SceneMeasureTest : public ::testing::Test {
protected:
    QMString pointsFile(const std::string& name, const std::vector<float>& xyz) {
        return QMString(writeVekFile(dir.file(name), [&](vekgen::VekWriter& w) {
                            w.points(xyz.data(), xyz.size() / 3);
                            w.endBlock();
                        }).c_str());
    }
    // Two Points blocks: the readers take the first, so the layout is not
    // simple and the file is measured through them.
    QMString repeatedPointsFile(const std::string& name, const std::vector<float>& xyz) {
        return QMString(writeVekFile(dir.file(name), [&](vekgen::VekWriter& w) {
                            w.points(xyz.data(), xyz.size() / 3);
                            const float far[3] = {1e6f, 1e6f, 1e6f};
                            w.points(far, 1);
                            w.endBlock();
                        }).c_str());
    }

    std::vector<QMString> scene() {
        return {pointsFile("a.vek", awkwardCoordinates(40'000, 1)),
                repeatedPointsFile("b.vek", awkwardCoordinates(3'000, 2)),
                pointsFile("c.vek", awkwardCoordinates(2 * 16'384 + 5, 3)), pointsFile("d.vek", {})};
    }

    TempDir dir;
};

}  // namespace

TEST_F(SceneMeasureTest, ThePiecesGiveTheBoxOfEveryPointInTurn) {
    const std::vector<QMString> paths = scene();
    for (const bool finiteOnly : {false, true}) {
        const ombrel::ProgressCallback none;
        ProgressReporter progress(none, paths.size());
        const auto measured = measureScene(paths, progress, finiteOnly);
        EXPECT_TRUE(sameBits(measured.bounds, boxAddedInTurn(paths, finiteOnly))) << finiteOnly;
        EXPECT_EQ(measured.facesTotal, 0u);
    }
    EXPECT_TRUE(sameBits(sceneBounds(paths), boxAddedInTurn(paths, false)));
    EXPECT_TRUE(sameBits(sceneBounds(paths, nullptr, true), boxAddedInTurn(paths, true)));
}

TEST_F(SceneMeasureTest, TheFirstFilesPointsAreKeptAsTheReadersGiveThem) {
    const std::vector<QMString> paths = scene();
    const ombrel::ProgressCallback none;
    ProgressReporter progress(none, paths.size());
    const auto measured = measureScene(paths, progress, false);
    ASSERT_TRUE(measured.firstPoints.present);
    QMArray<QMVector3f> expected;
    QMVekIO().readVertexBloc(paths[0], expected);
    ASSERT_EQ(measured.firstPoints.points.size(), 40'000u);
    EXPECT_EQ(std::memcmp(measured.firstPoints.points.data(), expected.data(), 12 * expected.size()), 0);
}

TEST_F(SceneMeasureTest, AFirstFileTheReadersMustReadIsNotKept) {
    const std::vector<QMString> paths = {repeatedPointsFile("b.vek", awkwardCoordinates(20'000, 4)),
                                         pointsFile("c.vek", awkwardCoordinates(20'000, 5))};
    const ombrel::ProgressCallback none;
    ProgressReporter progress(none, paths.size());
    const auto measured = measureScene(paths, progress, false);
    EXPECT_FALSE(measured.firstPoints.present);
    EXPECT_TRUE(measured.firstPoints.points.empty());
    EXPECT_TRUE(sameBits(measured.bounds, boxAddedInTurn(paths, false)));
}

TEST_F(SceneMeasureTest, EachFilesStartIsReportedOnceInOrder) {
    const std::vector<QMString> paths = scene();
    std::vector<std::size_t> reported;
    const ombrel::ProgressCallback record = [&](const Progress& p) {
        EXPECT_EQ(p.phase, Phase::MeasuringScene);
        reported.push_back(p.fileIndex);
        return ProgressAction::Continue;
    };
    ProgressReporter progress(record, paths.size());
    measureScene(paths, progress, false);
    EXPECT_EQ(reported, (std::vector<std::size_t>{0, 1, 2, 3}));
}
