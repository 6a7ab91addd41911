#include "export/STLBinaryRecords.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

// The batched records hold the bytes of records written one field at a time,
// and nothing is written past them.

namespace {

std::vector<char> recordOneByOne(const QMVector3f* points, const TriangleCorners& t) {
    const QMVector3f fields[4] = {stlFacetNormal(points[t.i0], points[t.i1], points[t.i2]), points[t.i0],
                                  points[t.i1], points[t.i2]};
    std::vector<char> record(kSTLRecordBytes, ' ');
    for (int f = 0; f < 4; ++f) {
        std::memcpy(&record[12 * f], &fields[f].x, 4);
        std::memcpy(&record[12 * f + 4], &fields[f].y, 4);
        std::memcpy(&record[12 * f + 8], &fields[f].z, 4);
    }
    return record;
}

// Points with zeros of both signs, tiny, huge, infinite and NaN coordinates,
// and ordinary ones; exactly as many as asked, so that a read past the last
// one is a read past the array (which the sanitised build reports).
std::vector<QMVector3f> awkwardPoints(std::size_t n) {
    const float inf = std::numeric_limits<float>::infinity();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float values[] = {0.0f, -0.0f, 1.0f, -1.0f, 1e-13f, 1e-30f, 1e-40f, 3e38f, -3e38f, inf, nan, 0.5f, -7.25f};
    std::mt19937 random(3);
    std::uniform_int_distribution<std::size_t> pick(0, std::size(values) - 1);
    std::uniform_real_distribution<float> ordinary(-50.0f, 50.0f);
    std::vector<QMVector3f> points;
    points.reserve(n);
    for (std::size_t i = 0; i < n; ++i) {
        if (i % 2 == 0)
            points.emplace_back(ordinary(random), ordinary(random), ordinary(random));
        else
            points.emplace_back(values[pick(random)], values[pick(random)], values[pick(random)]);
    }
    points.shrink_to_fit();
    return points;
}

}  // namespace

TEST(STLBinaryRecordsTest, RecordsHaveTheBytesOfOneByOneRecords) {
    const std::vector<QMVector3f> points = awkwardPoints(300);
    const int last = int(points.size()) - 1;
    std::mt19937 random(5);
    std::uniform_int_distribution<int> index(0, last);
    std::vector<TriangleCorners> triangles;
    for (int t = 0; t < 3000; ++t) triangles.push_back({index(random), index(random), index(random)});
    // The last point in every corner of a batch of four.
    for (int t = 0; t < 4; ++t) triangles.push_back({t == 0 ? last : 1, t == 1 ? last : 2, t >= 2 ? last : 3});
    for (std::size_t count : {std::size_t(0), std::size_t(1), std::size_t(3), std::size_t(4), std::size_t(5),
                              std::size_t(9), triangles.size()}) {
        const TriangleCorners* batch = triangles.data() + triangles.size() - count;
        std::vector<char> out(count * kSTLRecordBytes + 64, '\x5a');
        char* end = formatSTLBinaryRecords(points.data(), points.size(), batch, count, out.data());
        ASSERT_EQ(end, out.data() + count * kSTLRecordBytes);
        std::size_t different = 0;
        for (std::size_t k = 0; k < count; ++k) {
            const std::vector<char> expected = recordOneByOne(points.data(), batch[k]);
            if (std::memcmp(out.data() + k * kSTLRecordBytes, expected.data(), kSTLRecordBytes) != 0) ++different;
        }
        EXPECT_EQ(different, 0u) << count << " triangles";
        EXPECT_EQ(std::vector<char>(end, end + 64), std::vector<char>(64, '\x5a')) << count << " triangles";
    }
}

TEST(STLBinaryRecordsTest, AKnownRecord) {
    const std::vector<QMVector3f> points = {{0, 0, 0}, {2, 0, 0}, {0, 2, 0}};
    const TriangleCorners triangles[4] = {{0, 1, 2}, {0, 1, 2}, {0, 2, 1}, {0, 1, 2}};
    char out[4 * kSTLRecordBytes];
    formatSTLBinaryRecords(points.data(), points.size(), triangles, 4, out);
    const float expected[12] = {0, 0, -1, 0, 0, 0, 0, 2, 0, 2, 0, 0};
    EXPECT_EQ(std::memcmp(out + 2 * kSTLRecordBytes, expected, sizeof expected), 0);
    EXPECT_EQ(out[2 * kSTLRecordBytes + 48], ' ');
    EXPECT_EQ(out[2 * kSTLRecordBytes + 49], ' ');
}
