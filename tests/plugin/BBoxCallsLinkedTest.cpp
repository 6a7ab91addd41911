// The bounding-box calls under their C++ names, as a program that links
// against the library calls them. Only <BBoxCalls.h> is seen here: the plain
// extern "C" names of the same calls must not be declared in this unit.
#include "TestFiles.h"
#include "VekTestFiles.h"

#include "plugin/BBoxCalls.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace {

using Floats = std::vector<float>;

// Six floats per record, kept in bytes as a script's block is.
struct Records {
    explicit Records(std::size_t count) : bytes(count * 24, 0) {
        for (std::size_t i = 0; i < count * 6; ++i) set(i, static_cast<float>(i) + 0.5f);
    }
    char* data() { return reinterpret_cast<char*>(bytes.data()); }
    int size() const { return static_cast<int>(bytes.size()); }
    float get(std::size_t floatIndex) const {
        float value;
        std::memcpy(&value, bytes.data() + 4 * floatIndex, sizeof value);
        return value;
    }
    void set(std::size_t floatIndex, float value) { std::memcpy(bytes.data() + 4 * floatIndex, &value, sizeof value); }
    Floats record(std::size_t index) const {
        Floats floats;
        for (std::size_t f = 0; f < 6; ++f) floats.push_back(get(6 * index + f));
        return floats;
    }
    std::vector<unsigned char> bytes;
};

}  // namespace

TEST(BBoxCallsLinked, InitBBox3DClearsTheIndexedRecord) {
    Records block(3);
    EXPECT_EQ(InitBBox3D(nullptr, 1.95, block.data(), block.size(), nullptr, 0, nullptr), 0.0);
    EXPECT_EQ(block.record(0), (Floats{0.5f, 1.5f, 2.5f, 3.5f, 4.5f, 5.5f}));
    EXPECT_EQ(block.record(1), (Floats{6.5f, 7.5f, 8.5f, 9.5f, 10.5f, 11.5f}));
    EXPECT_EQ(block.record(2), (Floats{0.0f, 13.5f, 14.5f, -1.0f, 16.5f, 17.5f}));
}

TEST(BBoxCallsLinked, AddBBox3DCopiesIntoAClearedRecordAndUnitesOtherwise) {
    Records block(2);
    ASSERT_EQ(InitBBox3D(nullptr, 0.0, block.data(), block.size(), nullptr, 0, nullptr), 0.0);
    EXPECT_EQ(AddBBox3D(nullptr, 0.0, block.data(), block.size(), nullptr, 0, nullptr), 0.0);
    EXPECT_EQ(block.record(0), block.record(1));

    for (std::size_t f = 0; f < 6; ++f) block.set(6 + f, f < 3 ? -10.0f : 20.0f);
    EXPECT_EQ(AddBBox3D(nullptr, 0.0, block.data(), block.size(), nullptr, 0, nullptr), 0.0);
    EXPECT_EQ(block.record(0), (Floats{-10.0f, -10.0f, -10.0f, 20.0f, 20.0f, 20.0f}));
}

TEST(BBoxCallsLinked, GetBBoxFromVekFileFillsTheRecordAtTheByteOffset) {
    TempDir dir;
    const std::string path = writeVekFile(dir.file("box.vek"), [](vekgen::VekWriter& w) {
        const vekgen::Point3 points[] = {{1.0f, -2.0f, 3.0f}, {-1.0f, 2.0f, 0.25f}};
        w.points(points);
        w.endBlock();
    });
    Records block(2);
    EXPECT_EQ(GetBBoxFromVekFile(path.c_str(), 24.0, block.data(), block.size(), nullptr, 0, nullptr), 0.0);
    EXPECT_EQ(block.record(0), (Floats{0.5f, 1.5f, 2.5f, 3.5f, 4.5f, 5.5f}));
    EXPECT_EQ(block.record(1), (Floats{-1.0f, -2.0f, 0.25f, 1.0f, 2.0f, 3.0f}));

    const std::string missing = dir.file("missing.vek");
    EXPECT_EQ(GetBBoxFromVekFile(missing.c_str(), 0.0, block.data(), block.size(), nullptr, 0, nullptr), -1.0);
}

TEST(BBoxCallsLinked, NullBlockGivesMinusOneFromAllThreeCalls) {
    EXPECT_EQ(InitBBox3D(nullptr, 0.0, nullptr, 0, nullptr, 0, nullptr), -1.0);
    EXPECT_EQ(AddBBox3D(nullptr, 0.0, nullptr, 0, nullptr, 0, nullptr), -1.0);
    EXPECT_EQ(GetBBoxFromVekFile("/nowhere.vek", 0.0, nullptr, 0, nullptr, 0, nullptr), -1.0);
}
