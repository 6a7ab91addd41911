// The bounding-box script calls, reached by their plain names like the host's
// script does, on box records in a memory block of the test's own.
#include "ScriptTestFixture.h"

#include <cmath>
#include <cstring>
#include <limits>

namespace {

constexpr std::size_t kRecordSize = 24;

// A script memory block of whole records. Every float starts distinct
// (100 r + f + 0.25 for float f of record r), so any stray write shows. `lead`
// bytes come before the first record, to place the records at an odd address.
class RecordBlock {
public:
    explicit RecordBlock(std::size_t records, std::size_t lead = 0)
        : m_lead(lead), m_bytes(lead + records * kRecordSize, 0xAB) {
        for (std::size_t r = 0; r < records; ++r)
            for (std::size_t f = 0; f < 6; ++f)
                setFloat(r * kRecordSize + f * 4, static_cast<float>(100 * r + f) + 0.25f);
    }

    char* data() { return reinterpret_cast<char*>(m_bytes.data() + m_lead); }
    int size() const { return static_cast<int>(m_bytes.size() - m_lead); }
    const Bytes& bytes() const { return m_bytes; }

    float floatAt(std::size_t byte) const {
        float value;
        std::memcpy(&value, m_bytes.data() + m_lead + byte, sizeof value);
        return value;
    }
    void setFloat(std::size_t byte, float value) { std::memcpy(m_bytes.data() + m_lead + byte, &value, sizeof value); }
    void setRecord(std::size_t index, std::initializer_list<float> sixFloats) {
        std::size_t byte = index * kRecordSize;
        for (float value : sixFloats) {
            setFloat(byte, value);
            byte += 4;
        }
    }
    std::vector<float> record(std::size_t index) const {
        std::vector<float> floats;
        for (std::size_t f = 0; f < 6; ++f) floats.push_back(floatAt(index * kRecordSize + f * 4));
        return floats;
    }
    Bytes recordBytes(std::size_t index) const {
        const auto first = m_bytes.begin() + static_cast<std::ptrdiff_t>(m_lead + index * kRecordSize);
        return Bytes(first, first + kRecordSize);
    }

private:
    std::size_t m_lead;
    Bytes m_bytes;
};

using Floats = std::vector<float>;

const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kInfinity = std::numeric_limits<double>::infinity();

class BBoxCallsTest : public ScriptTest {
protected:
    double callWithBlock(const char* name, const char* text, double number, RecordBlock& block) {
        return host.function(name)(text, number, block.data(), block.size(), nullptr, 0, nullptr);
    }
    double callWithBlock(const char* name, const std::string& text, double number, RecordBlock& block) {
        return callWithBlock(name, text.c_str(), number, block);
    }
    double callWithNullBlock(const char* name, const char* text, double number) {
        return host.function(name)(text, number, nullptr, 0, nullptr, 0, nullptr);
    }

    // A Vek file whose first block holds these points; its box is
    // (-4, -6, 0.5) .. (2.5, 5, 7.125).
    std::string pointsFile() {
        return vek("points.vek", [](vekgen::VekWriter& w) {
            const vekgen::Point3 points[] = {{1.0f, 2.0f, 3.0f}, {-4.0f, 5.0f, 0.5f}, {2.5f, -6.0f, 7.125f}};
            w.points(points);
            w.endBlock();
        });
    }
    const Floats kPointsBox{-4.0f, -6.0f, 0.5f, 2.5f, 5.0f, 7.125f};
};

// The block as it must be after clearing record `index` of an untouched block.
Bytes afterClearing(std::size_t records, std::size_t index) {
    RecordBlock expected(records);
    expected.setFloat(index * kRecordSize, 0.0f);
    expected.setFloat(index * kRecordSize + 12, -1.0f);
    return expected.bytes();
}

}  // namespace

// ------------------------------------------------------------------ InitBBox3D

TEST_F(BBoxCallsTest, InitBBox3DTwoClearsBytes48To71) {
    RecordBlock block(4);
    EXPECT_EQ(callWithBlock("InitBBox3D", nullptr, 2.0, block), 0.0);
    EXPECT_EQ(block.floatAt(48), 0.0f);
    EXPECT_EQ(block.floatAt(60), -1.0f);
    EXPECT_EQ(block.record(2), (Floats{0.0f, 201.25f, 202.25f, -1.0f, 204.25f, 205.25f}));
    EXPECT_EQ(block.bytes(), afterClearing(4, 2));
}

TEST_F(BBoxCallsTest, InitBBox3DRoundsAnIndexJustBelowAWholeNumberUp) {
    RecordBlock block(4);
    EXPECT_EQ(callWithBlock("InitBBox3D", nullptr, 1.95, block), 0.0);
    EXPECT_EQ(block.bytes(), afterClearing(4, 2));
}

TEST_F(BBoxCallsTest, InitBBox3DTruncatesAFractionTowardZero) {
    RecordBlock block(4);
    EXPECT_EQ(callWithBlock("InitBBox3D", nullptr, 0.85, block), 0.0);
    EXPECT_EQ(block.bytes(), afterClearing(4, 0));

    RecordBlock next(4);
    EXPECT_EQ(callWithBlock("InitBBox3D", nullptr, 3.4, next), 0.0);
    EXPECT_EQ(next.bytes(), afterClearing(4, 3));
}

TEST_F(BBoxCallsTest, InitBBox3DNumberJustBelowZeroNamesTheFirstRecord) {
    RecordBlock block(2);
    EXPECT_EQ(callWithBlock("InitBBox3D", nullptr, -0.05, block), 0.0);
    EXPECT_EQ(block.bytes(), afterClearing(2, 0));
}

TEST_F(BBoxCallsTest, InitBBox3DRejectsNumbersThatNameNoRecord) {
    for (double number : {-2.0, -1.5, kNaN, kInfinity, -kInfinity, 3.0e9, 1.0e300}) {
        RecordBlock block(2);
        const Bytes before = block.bytes();
        EXPECT_EQ(callWithBlock("InitBBox3D", nullptr, number, block), -1.0) << number;
        EXPECT_EQ(block.bytes(), before) << number;
    }
}

TEST_F(BBoxCallsTest, InitBBox3DWorksAtAnOddAddress) {
    RecordBlock block(3, 1);
    EXPECT_EQ(callWithBlock("InitBBox3D", nullptr, 1.0, block), 0.0);
    EXPECT_EQ(block.record(0), (Floats{0.25f, 1.25f, 2.25f, 3.25f, 4.25f, 5.25f}));
    EXPECT_EQ(block.record(1), (Floats{0.0f, 101.25f, 102.25f, -1.0f, 104.25f, 105.25f}));
    EXPECT_EQ(block.record(2), (Floats{200.25f, 201.25f, 202.25f, 203.25f, 204.25f, 205.25f}));
}

// ------------------------------------------------------------------- AddBBox3D

TEST_F(BBoxCallsTest, AddBBox3DOnAClearedRecordCopiesRecordOneVerbatim) {
    RecordBlock block(2);
    // Values whose bit patterns a numeric copy could lose: -0.0, a denormal, the extremes.
    block.setRecord(1, {-0.0f, std::numeric_limits<float>::denorm_min(), -std::numeric_limits<float>::max(), 1.5f,
                        std::numeric_limits<float>::max(), 0.0f});
    ASSERT_EQ(callWithBlock("InitBBox3D", nullptr, 0.0, block), 0.0);
    const Bytes recordOne = block.recordBytes(1);

    EXPECT_EQ(callWithBlock("AddBBox3D", nullptr, 0.0, block), 0.0);
    EXPECT_EQ(block.recordBytes(0), recordOne);
    EXPECT_EQ(block.recordBytes(1), recordOne);
}

TEST_F(BBoxCallsTest, AddBBox3DOnAClearedRecordCopiesAnEmptyRecordOneToo) {
    RecordBlock block(2);
    block.setRecord(1, {3.0f, 7.0f, 8.0f, 2.0f, 9.0f, 10.0f});  // maximum x below minimum x: empty
    ASSERT_EQ(callWithBlock("InitBBox3D", nullptr, 0.0, block), 0.0);
    EXPECT_EQ(callWithBlock("AddBBox3D", nullptr, 0.0, block), 0.0);
    EXPECT_EQ(block.record(0), (Floats{3.0f, 7.0f, 8.0f, 2.0f, 9.0f, 10.0f}));
}

TEST_F(BBoxCallsTest, AddBBox3DUnitesTwoBoxesIntoRecordZero) {
    RecordBlock block(3);
    block.setRecord(0, {0.0f, 0.0f, 0.0f, 1.0f, 1.0f, 1.0f});
    block.setRecord(1, {-1.0f, 0.5f, 2.0f, 0.5f, 3.0f, 4.0f});
    const Bytes recordOne = block.recordBytes(1);
    const Bytes recordTwo = block.recordBytes(2);

    EXPECT_EQ(callWithBlock("AddBBox3D", nullptr, 0.0, block), 0.0);
    EXPECT_EQ(block.record(0), (Floats{-1.0f, 0.0f, 0.0f, 1.0f, 3.0f, 4.0f}));
    EXPECT_EQ(block.recordBytes(1), recordOne);
    EXPECT_EQ(block.recordBytes(2), recordTwo);
}

TEST_F(BBoxCallsTest, AddBBox3DAddsTheCornersOfAnEmptyRecordOneAsPoints) {
    RecordBlock block(2);
    block.setRecord(0, {1.0f, 1.0f, 1.0f, 2.0f, 2.0f, 2.0f});
    block.setRecord(1, {0.0f, 7.0f, 7.0f, -1.0f, 8.0f, 8.0f});  // empty, used as it stands
    EXPECT_EQ(callWithBlock("AddBBox3D", nullptr, 0.0, block), 0.0);
    EXPECT_EQ(block.record(0), (Floats{-1.0f, 1.0f, 1.0f, 2.0f, 8.0f, 8.0f}));
}

TEST_F(BBoxCallsTest, AddBBox3DIgnoresTheNumber) {
    RecordBlock block(4);
    block.setRecord(0, {0.0f, 0.0f, 0.0f, 1.0f, 1.0f, 1.0f});
    block.setRecord(1, {0.0f, 0.0f, 0.0f, 2.0f, 2.0f, 2.0f});
    const Bytes recordsTwoAndThree(block.bytes().begin() + 48, block.bytes().end());
    EXPECT_EQ(callWithBlock("AddBBox3D", nullptr, 2.0, block), 0.0);
    EXPECT_EQ(block.record(0), (Floats{0.0f, 0.0f, 0.0f, 2.0f, 2.0f, 2.0f}));
    EXPECT_EQ(Bytes(block.bytes().begin() + 48, block.bytes().end()), recordsTwoAndThree);
}

// ---------------------------------------------------------- GetBBoxFromVekFile

TEST_F(BBoxCallsTest, GetBBoxFromVekFileAtOffset24WritesTheSecondRecord) {
    const std::string path = pointsFile();
    RecordBlock block(3);
    const Bytes recordZero = block.recordBytes(0);
    const Bytes recordTwo = block.recordBytes(2);

    EXPECT_EQ(callWithBlock("GetBBoxFromVekFile", path, 24.0, block), 0.0);
    EXPECT_EQ(block.record(1), kPointsBox);
    EXPECT_EQ(block.recordBytes(0), recordZero);
    EXPECT_EQ(block.recordBytes(2), recordTwo);
}

TEST_F(BBoxCallsTest, GetBBoxFromVekFileTakesAByteOffsetNotAnIndex) {
    const std::string path = pointsFile();
    RecordBlock first(2);
    EXPECT_EQ(callWithBlock("GetBBoxFromVekFile", path, 0.0, first), 0.0);
    EXPECT_EQ(first.record(0), kPointsBox);

    // 1.0 is one byte in, not the second record.
    RecordBlock shifted(2);
    EXPECT_EQ(callWithBlock("GetBBoxFromVekFile", path, 1.0, shifted), 0.0);
    RecordBlock expected(2);
    for (std::size_t f = 0; f < 6; ++f) expected.setFloat(1 + 4 * f, kPointsBox[f]);
    EXPECT_EQ(shifted.bytes(), expected.bytes());
}

TEST_F(BBoxCallsTest, GetBBoxFromVekFileRoundsAnOffsetJustBelowAWholeNumberUp) {
    const std::string path = pointsFile();
    RecordBlock block(2);
    EXPECT_EQ(callWithBlock("GetBBoxFromVekFile", path, 23.95, block), 0.0);
    EXPECT_EQ(block.record(1), kPointsBox);
}

TEST_F(BBoxCallsTest, GetBBoxFromVekFileOfAMissingFileFailsAndEmptiesTheRecord) {
    RecordBlock block(2);
    EXPECT_EQ(callWithBlock("GetBBoxFromVekFile", dir.file("missing.vek"), 24.0, block), -1.0);
    EXPECT_EQ(block.bytes(), afterClearing(2, 1));
}

TEST_F(BBoxCallsTest, GetBBoxFromVekFileFailsWhenTheFirstBlockIsNotPoints) {
    const std::string path = vek("faces-first.vek", [](vekgen::VekWriter& w) {
        const vekgen::Face4 faces[] = {{0, 1, 2, -1}};
        const vekgen::Point3 points[] = {{1.0f, 2.0f, 3.0f}, {4.0f, 5.0f, 6.0f}, {7.0f, 8.0f, 9.0f}};
        w.face4(faces);
        w.points(points);
        w.endBlock();
    });
    RecordBlock block(1);
    EXPECT_EQ(callWithBlock("GetBBoxFromVekFile", path, 0.0, block), -1.0);
    EXPECT_EQ(block.bytes(), afterClearing(1, 0));
}

TEST_F(BBoxCallsTest, GetBBoxFromVekFileWithANullTextFails) {
    RecordBlock block(1);
    EXPECT_EQ(callWithBlock("GetBBoxFromVekFile", nullptr, 0.0, block), -1.0);
}

TEST_F(BBoxCallsTest, GetBBoxFromVekFileOfAFileWithoutPointsGivesAnEmptyRecord) {
    const std::string path = vek("no-points.vek", [](vekgen::VekWriter& w) {
        w.points(std::span<const vekgen::Point3>());
        w.endBlock();
    });
    RecordBlock block(1);
    EXPECT_EQ(callWithBlock("GetBBoxFromVekFile", path, 0.0, block), 0.0);
    EXPECT_EQ(block.bytes(), afterClearing(1, 0));
}

TEST_F(BBoxCallsTest, GetBBoxFromVekFileRejectsNumbersThatNameNoOffset) {
    const std::string path = pointsFile();
    for (double number : {-1.5, -24.0, kNaN, kInfinity, -kInfinity, 3.0e9}) {
        RecordBlock block(2);
        const Bytes before = block.bytes();
        EXPECT_EQ(callWithBlock("GetBBoxFromVekFile", path, number, block), -1.0) << number;
        EXPECT_EQ(block.bytes(), before) << number;
    }
}

// ------------------------------------------------------------- all three calls

TEST_F(BBoxCallsTest, NullBlockGivesMinusOneFromAllThreeCalls) {
    const std::string path = pointsFile();  // a readable file: only the block makes the read fail
    EXPECT_EQ(callWithNullBlock("InitBBox3D", nullptr, 0.0), -1.0);
    EXPECT_EQ(callWithNullBlock("InitBBox3D", nullptr, 2.0), -1.0);
    EXPECT_EQ(callWithNullBlock("AddBBox3D", nullptr, 0.0), -1.0);
    EXPECT_EQ(callWithNullBlock("GetBBoxFromVekFile", path.c_str(), 0.0), -1.0);
    // A null block is refused whatever the offset: it never addresses a record.
    EXPECT_EQ(callWithNullBlock("GetBBoxFromVekFile", path.c_str(), 24.0), -1.0);
}

TEST_F(BBoxCallsTest, BoxCallsWriteNoLogLines) {
    const std::string path = pointsFile();
    RecordBlock block(2);
    callWithBlock("InitBBox3D", nullptr, 0.0, block);
    callWithBlock("GetBBoxFromVekFile", path, 24.0, block);
    callWithBlock("AddBBox3D", nullptr, 0.0, block);
    callWithBlock("GetBBoxFromVekFile", dir.file("missing.vek"), 24.0, block);
    callWithNullBlock("AddBBox3D", nullptr, 0.0);
    EXPECT_TRUE(logLines.empty());
}

TEST_F(BBoxCallsTest, ScriptGathersTheBoxOfSeveralFiles) {
    // The pattern a script follows: empty record 0, read each file into record
    // 1, add record 1 to record 0.
    const std::string a = vek("a.vek", [](vekgen::VekWriter& w) {
        const vekgen::Point3 points[] = {{0.0f, 0.0f, 0.0f}, {1.0f, 2.0f, 3.0f}};
        w.points(points);
        w.endBlock();
    });
    const std::string b = vek("b.vek", [](vekgen::VekWriter& w) {
        const vekgen::Point3 points[] = {{-5.0f, 1.0f, 1.0f}, {0.5f, 0.5f, 9.0f}};
        w.points(points);
        w.endBlock();
    });
    RecordBlock block(2);
    ASSERT_EQ(callWithBlock("InitBBox3D", nullptr, 0.0, block), 0.0);
    for (const std::string& path : {a, b}) {
        ASSERT_EQ(callWithBlock("GetBBoxFromVekFile", path, 24.0, block), 0.0);
        ASSERT_EQ(callWithBlock("AddBBox3D", nullptr, 0.0, block), 0.0);
    }
    EXPECT_EQ(block.record(0), (Floats{-5.0f, 0.0f, 0.0f, 1.0f, 2.0f, 9.0f}));
}
