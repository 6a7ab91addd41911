#include "engine/ScenePlacement.h"

#include <gtest/gtest.h>

using ombrel::UpAxis;
using ombrel::engine::placedBox;
using ombrel::engine::placeScene;
using ombrel::engine::turnUpright;

namespace {

const BBox kBox(QMVector3f(-1.0f, 2.0f, -3.0f), QMVector3f(1.0f, 6.0f, 5.0f));

void expectVector(const QMVector3f& v, float x, float y, float z) {
    EXPECT_EQ(v.x, x);
    EXPECT_EQ(v.y, y);
    EXPECT_EQ(v.z, z);
}

}  // namespace

TEST(ScenePlacement, TurningUprightMapsXYZToXMinusZY) {
    QMArray<QMVector3f> points = {QMVector3f(1.0f, 2.0f, 3.0f), QMVector3f(-4.0f, 0.0f, -5.0f)};
    turnUpright(points, UpAxis::Z);
    expectVector(points[0], 1.0f, -3.0f, 2.0f);
    expectVector(points[1], -4.0f, 5.0f, 0.0f);
}

TEST(ScenePlacement, YUpLeavesPointsAndBoxesAlone) {
    QMArray<QMVector3f> points = {QMVector3f(1.0f, 2.0f, 3.0f)};
    turnUpright(points, UpAxis::Y);
    expectVector(points[0], 1.0f, 2.0f, 3.0f);
    const BBox box = turnUpright(kBox, UpAxis::Y);
    expectVector(box.m_min, -1.0f, 2.0f, -3.0f);
    expectVector(box.m_max, 1.0f, 6.0f, 5.0f);
}

TEST(ScenePlacement, TheUprightBoxIsTheBoxOfTheTurnedPoints) {
    const BBox box = turnUpright(kBox, UpAxis::Z);
    expectVector(box.m_min, -1.0f, -5.0f, 2.0f);
    expectVector(box.m_max, 1.0f, 3.0f, 6.0f);
}

TEST(ScenePlacement, YUpIsTheHostPlacement) {
    QMMatrix4f host;
    buildMatrix(host, 10.0f, kBox);
    const ombrel::engine::ScenePlacement placement = placeScene(kBox, 10.0, UpAxis::Y);
    for (int i = 0; i < 16; ++i) EXPECT_EQ(placement.matrix.m_data[i], host.m_data[i]) << i;
    EXPECT_EQ(placement.scale, 2.5);
}

TEST(ScenePlacement, ZUpPutsTheHeightAlongZAndTheMinimumAtTheOrigin) {
    const BBox upright = turnUpright(kBox, UpAxis::Z);  // z from 2 to 6: extent 4
    const ombrel::engine::ScenePlacement placement = placeScene(upright, 10.0, UpAxis::Z);
    EXPECT_EQ(placement.scale, 2.5);
    const BBox placed = placedBox(upright, placement.matrix);
    expectVector(placed.m_min, 0.0f, 0.0f, 0.0f);
    expectVector(placed.m_max, 5.0f, 20.0f, 10.0f);
}

TEST(ScenePlacement, WithoutAHeightTheSceneIsOnlyMoved) {
    const ombrel::engine::ScenePlacement placement = placeScene(kBox, std::nullopt, UpAxis::Y);
    EXPECT_EQ(placement.scale, 1.0);
    const BBox placed = placedBox(kBox, placement.matrix);
    expectVector(placed.m_min, 0.0f, 0.0f, 0.0f);
    expectVector(placed.m_max, 2.0f, 4.0f, 8.0f);
}

TEST(ScenePlacement, AnEmptySceneHasAnEmptyPlacedBox) {
    const BBox empty;
    const ombrel::engine::ScenePlacement placement = placeScene(empty, 10.0, UpAxis::Z);
    EXPECT_EQ(placement.scale, 1.0);
    EXPECT_FALSE(placedBox(empty, placement.matrix).isInitialized());
}
