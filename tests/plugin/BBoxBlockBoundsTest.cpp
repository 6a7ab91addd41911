// The bounding-box calls never touch memory outside the script's block when
// the host gives its size: the blocks here end right at a page no access is
// allowed to, so any stray read or write would end the test.
#include "ScriptTestFixture.h"

#include <cstring>
#include <sys/mman.h>
#include <unistd.h>

namespace {

constexpr std::size_t kRecordSize = 24;

// `size` bytes that end where a guard page (PROT_NONE) begins.
class GuardedBlock {
public:
    explicit GuardedBlock(std::size_t size) : m_size(size) {
        const std::size_t page = std::size_t(sysconf(_SC_PAGESIZE));
        m_pages = static_cast<char*>(mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        EXPECT_NE(m_pages, MAP_FAILED);
        EXPECT_EQ(mprotect(m_pages + page, page, PROT_NONE), 0);
        m_page = page;
        m_block = m_pages + page - size;
        for (std::size_t i = 0; i < size; ++i) m_block[i] = char(i);
    }
    ~GuardedBlock() { munmap(m_pages, 2 * m_page); }

    char* data() { return m_block; }
    int size() const { return int(m_size); }
    std::vector<char> bytes() const { return std::vector<char>(m_block, m_block + m_size); }
    float floatAt(std::size_t byte) const {
        float value;
        std::memcpy(&value, m_block + byte, 4);
        return value;
    }

private:
    std::size_t m_size;
    std::size_t m_page = 0;
    char* m_pages = nullptr;
    char* m_block = nullptr;
};

class BBoxBlockBoundsTest : public ScriptTest {
protected:
    double call(const char* name, double number, GuardedBlock& block, int size, const char* text = nullptr) {
        return host.function(name)(text, number, block.data(), size, nullptr, 0, nullptr);
    }
    std::string cube() {
        return vek("cube.vek", [](vekgen::VekWriter& w) {
            w.points(std::vector<vekgen::Point3>{{1, 2, 3}, {4, 5, 6}});
            w.endBlock();
        });
    }
};

}  // namespace

TEST_F(BBoxBlockBoundsTest, InitOfARecordPastTheBlockTouchesNothing) {
    GuardedBlock block(kRecordSize);
    const std::vector<char> before = block.bytes();
    EXPECT_EQ(call("InitBBox3D", 1.0, block, block.size()), -1.0);
    EXPECT_EQ(block.bytes(), before);
}

TEST_F(BBoxBlockBoundsTest, AddNeedsRoomForBothRecords) {
    GuardedBlock block(kRecordSize);
    const std::vector<char> before = block.bytes();
    EXPECT_EQ(call("AddBBox3D", 0.0, block, block.size()), -1.0);
    EXPECT_EQ(block.bytes(), before);
}

TEST_F(BBoxBlockBoundsTest, ReadingIntoAnOffsetPastTheBlockTouchesNothing) {
    GuardedBlock block(kRecordSize);
    const std::string file = cube();
    const std::vector<char> before = block.bytes();
    for (const double offset : {24.0, 1.0, 41943040.0})
        EXPECT_EQ(call("GetBBoxFromVekFile", offset, block, block.size(), file.c_str()), -1.0) << offset;
    EXPECT_EQ(block.bytes(), before);
}

TEST_F(BBoxBlockBoundsTest, RecordsInsideTheBlockAreWrittenUpToItsLastByte) {
    GuardedBlock block(2 * kRecordSize);
    EXPECT_EQ(call("InitBBox3D", 1.0, block, block.size()), 0.0);
    EXPECT_EQ(block.floatAt(kRecordSize + 12), -1.0f);
    EXPECT_EQ(call("GetBBoxFromVekFile", 24.0, block, block.size(), cube().c_str()), 0.0);
    EXPECT_EQ(block.floatAt(kRecordSize + 20), 6.0f);  // the last float of the block
    EXPECT_EQ(call("AddBBox3D", 0.0, block, block.size()), 0.0);
}

TEST_F(BBoxBlockBoundsTest, WithoutASizeTheCallsTrustTheScript) {
    // Size 0: as the host has always called them; the records named lie
    // inside this block, so nothing strays.
    GuardedBlock block(2 * kRecordSize);
    EXPECT_EQ(call("InitBBox3D", 1.0, block, 0), 0.0);
    EXPECT_EQ(call("AddBBox3D", 0.0, block, -5), 0.0);
    EXPECT_EQ(call("GetBBoxFromVekFile", 24.0, block, 0, cube().c_str()), 0.0);
    EXPECT_EQ(block.floatAt(kRecordSize + 20), 6.0f);
}
