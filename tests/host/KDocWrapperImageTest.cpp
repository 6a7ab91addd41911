#include "FakeHostWindows.h"

#include "host/KDocWrappers.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <string>

namespace {

class KDocWrapperImage : public ::testing::TestWithParam<FakeHostBuild> {
protected:
    KDocWrapper& wrapper() { return GetParam().wrapper(); }
    void* owner(KWin* win) { return w.imageOwnerOf(win); }

    FakeHostMemory memory;
    FakeHostWindows w{memory, GetParam().layout};
};

std::string buildName(const ::testing::TestParamInfo<FakeHostBuild>& info) { return info.param.name; }

INSTANTIATE_TEST_SUITE_P(AllBuilds, KDocWrapperImage, ::testing::ValuesIn(kFakeHostBuilds), buildName);

// The image offsets of each build: extents, image record, pixels, size, row bytes.
struct ImageOffsets {
    std::size_t firstExtent, secondExtent, imageRecord, pixels, bufferSize, rowBytes;
    bool fixedPoint;
};

ImageOffsets imageOffsets(const std::string& build) {
    if (build == "Host31" || build == "Host312B27") return {48, 44, 100, 40, 36, 54, true};
    if (build == "Host312") return {48, 44, 100, 40, 36, 54, false};
    return {52, 48, 104, 44, 40, 58, false};
}

// A window with an image whose owner and record are laid out by hand at the
// build's offsets.
struct HandImage {
    KWin* win;
    unsigned char* owner;
    unsigned char* record;
    unsigned char* pixels;
};

HandImage handImage(FakeHostWindows& w, const ImageOffsets& o) {
    HandImage image;
    image.win = w.window();
    image.owner = w.memory().record<unsigned char>(128);
    image.record = w.memory().record<unsigned char>(128);
    image.pixels = w.memory().record<unsigned char>(64);
    FakeHostMemory::link(image.win, w.layout().win.imageOwner, image.owner);
    FakeHostMemory::link(image.owner, o.imageRecord, image.record);
    FakeHostMemory::link(image.record, o.pixels, image.pixels);
    writeHostField<std::uint32_t>(image.record, o.bufferSize, 64);
    writeHostField<std::int16_t>(image.record, o.rowBytes, 16);
    return image;
}

void expectEmpty(const KBitmap& bitmap) {
    EXPECT_EQ(bitmap.m_pixels, nullptr);
    EXPECT_EQ(bitmap.m_bufferSize, 0u);
    EXPECT_EQ(bitmap.m_rowBytes, 0);
    EXPECT_EQ(bitmap.m_firstExtent, 0u);
    EXPECT_EQ(bitmap.m_secondExtent, 0u);
}

}  // namespace

TEST_P(KDocWrapperImage, CopiesPixelsSizeAndRowBytesFromTheImageRecord) {
    const ImageOffsets o = imageOffsets(GetParam().name);
    HandImage image = handImage(w, o);
    const KBitmap bitmap = wrapper().getButtonImage(image.win);
    EXPECT_EQ(bitmap.m_pixels, image.pixels);
    EXPECT_EQ(bitmap.m_bufferSize, 64u);
    EXPECT_EQ(bitmap.m_rowBytes, 16);
}

TEST_P(KDocWrapperImage, RowBytesIsSigned16Bit) {
    const ImageOffsets o = imageOffsets(GetParam().name);
    HandImage image = handImage(w, o);
    writeHostField<std::uint32_t>(image.record, o.rowBytes, 0x1234FFF8u);  // -8, then other bits
    EXPECT_EQ(wrapper().getButtonImage(image.win).m_rowBytes, -8);
}

TEST_P(KDocWrapperImage, BuilderImageMatchesItsSize) {
    KWin* win = w.window();
    unsigned char* pixels = w.setImage(win, 10, 3);
    const KBitmap bitmap = wrapper().getButtonImage(win);
    EXPECT_EQ(bitmap.m_pixels, pixels);
    EXPECT_EQ(bitmap.m_bufferSize, 120u);
    EXPECT_EQ(bitmap.m_rowBytes, 40);
}

TEST_P(KDocWrapperImage, NullWindowGivesEmptyBitmap) { expectEmpty(wrapper().getButtonImage(nullptr)); }

TEST_P(KDocWrapperImage, WindowWithoutOwnerGivesEmptyBitmap) { expectEmpty(wrapper().getButtonImage(w.window())); }

TEST_P(KDocWrapperImage, OwnerWithoutImageRecordGivesEmptyBitmap) {
    const ImageOffsets o = imageOffsets(GetParam().name);
    HandImage image = handImage(w, o);
    writeHostField<std::int32_t>(image.owner, o.firstExtent, 5 << 16);
    writeHostField<std::uint32_t>(image.owner, o.imageRecord, 0);
    expectEmpty(wrapper().getButtonImage(image.win));
}

TEST_P(KDocWrapperImage, ImageRecordWithoutPixelsHasNoPixels) {
    const ImageOffsets o = imageOffsets(GetParam().name);
    HandImage image = handImage(w, o);
    writeHostField<std::uint32_t>(image.record, o.pixels, 0);
    const KBitmap bitmap = wrapper().getButtonImage(image.win);
    EXPECT_FALSE(bitmap.hasPixels());
    EXPECT_EQ(bitmap.m_bufferSize, 64u);
}

TEST_P(KDocWrapperImage, WholeExtentsAreReadInTheBuildsForm) {
    const ImageOffsets o = imageOffsets(GetParam().name);
    HandImage image = handImage(w, o);
    if (o.fixedPoint) {
        writeHostField<std::int32_t>(image.owner, o.firstExtent, 120 << 16);
        writeHostField<std::int32_t>(image.owner, o.secondExtent, 24 << 16);
    } else {
        writeHostField<float>(image.owner, o.firstExtent, 120.0f);
        writeHostField<float>(image.owner, o.secondExtent, 24.0f);
    }
    const KBitmap bitmap = wrapper().getButtonImage(image.win);
    EXPECT_EQ(bitmap.m_firstExtent, 120u);
    EXPECT_EQ(bitmap.m_secondExtent, 24u);
}

TEST_P(KDocWrapperImage, BuilderExtentsRoundTrip) {
    KWin* win = w.window();
    w.setImage(win, 4, 4);
    w.setExtents(win, 64.0, 16.0);
    const KBitmap bitmap = wrapper().getButtonImage(win);
    EXPECT_EQ(bitmap.m_firstExtent, 64u);
    EXPECT_EQ(bitmap.m_secondExtent, 16u);
}

// ------------------------------------------------------------ fixed-point builds (3.1, 3.12 B27)

namespace {

class KDocWrapperFixedExtents : public ::testing::TestWithParam<FakeHostBuild> {
protected:
    KBitmap imageWith(std::int32_t first, std::int32_t second) {
        HandImage image = handImage(w, imageOffsets(GetParam().name));
        writeHostField<std::int32_t>(image.owner, 48, first);
        writeHostField<std::int32_t>(image.owner, 44, second);
        return GetParam().wrapper().getButtonImage(image.win);
    }

    FakeHostMemory memory;
    FakeHostWindows w{memory, GetParam().layout};
};

INSTANTIATE_TEST_SUITE_P(FixedPointBuilds, KDocWrapperFixedExtents,
                         ::testing::Values(kFakeHostBuilds[0], kFakeHostBuilds[2]), buildName);

class KDocWrapperFloatExtents : public ::testing::TestWithParam<FakeHostBuild> {
protected:
    KBitmap imageWith(float first, float second) {
        const ImageOffsets o = imageOffsets(GetParam().name);
        HandImage image = handImage(w, o);
        writeHostField<float>(image.owner, o.firstExtent, first);
        writeHostField<float>(image.owner, o.secondExtent, second);
        return GetParam().wrapper().getButtonImage(image.win);
    }

    FakeHostMemory memory;
    FakeHostWindows w{memory, GetParam().layout};
};

INSTANTIATE_TEST_SUITE_P(FloatBuilds, KDocWrapperFloatExtents,
                         ::testing::Values(kFakeHostBuilds[1], kFakeHostBuilds[3], kFakeHostBuilds[4]), buildName);

}  // namespace

TEST_P(KDocWrapperFixedExtents, IntegerPartOf16Dot16) {
    const KBitmap bitmap = imageWith((100 << 16) | 0xC000, (40 << 16) | 0xFFFF);  // 100.75 and 40.99998
    EXPECT_EQ(bitmap.m_firstExtent, 100u);
    EXPECT_EQ(bitmap.m_secondExtent, 40u);
}

TEST_P(KDocWrapperFixedExtents, NegativeValuesShiftArithmetically) {
    const KBitmap bitmap = imageWith(-98304, -1);   // -1.5 and -1/65536
    EXPECT_EQ(bitmap.m_firstExtent, 0xFFFFFFFEu);   // -2
    EXPECT_EQ(bitmap.m_secondExtent, 0xFFFFFFFFu);  // -1
}

TEST_P(KDocWrapperFixedExtents, FloatBitsAreReadAsFixedPoint) {
    // 100.0f is 0x42C80000: read as 16.16 its integer part is 0x42C8.
    std::int32_t bits = 0;
    const float value = 100.0f;
    std::memcpy(&bits, &value, 4);
    const KBitmap bitmap = imageWith(bits, 0);
    EXPECT_EQ(bitmap.m_firstExtent, 0x42C8u);
    EXPECT_EQ(bitmap.m_secondExtent, 0u);
}

TEST_P(KDocWrapperFloatExtents, AddsTwoTenthsAndTruncates) {
    const KBitmap bitmap = imageWith(99.85f, 99.7f);
    EXPECT_EQ(bitmap.m_firstExtent, 100u);
    EXPECT_EQ(bitmap.m_secondExtent, 99u);
}

TEST_P(KDocWrapperFloatExtents, ValuesJustBelowWholeRoundUp) {
    const KBitmap bitmap = imageWith(63.9999f, 0.8f);
    EXPECT_EQ(bitmap.m_firstExtent, 64u);
    EXPECT_EQ(bitmap.m_secondExtent, 1u);
}

TEST_P(KDocWrapperFloatExtents, NegativeValuesGiveZero) {
    const KBitmap bitmap = imageWith(-0.1f, -5.0f);
    EXPECT_EQ(bitmap.m_firstExtent, 0u);
    EXPECT_EQ(bitmap.m_secondExtent, 0u);
}

TEST_P(KDocWrapperFloatExtents, HugeValuesGiveAllOnes) {
    const KBitmap bitmap = imageWith(5e9f, std::numeric_limits<float>::infinity());
    EXPECT_EQ(bitmap.m_firstExtent, 0xFFFFFFFFu);
    EXPECT_EQ(bitmap.m_secondExtent, 0xFFFFFFFFu);
}

TEST_P(KDocWrapperFloatExtents, LargestValuesBelow2To32AreTruncated) {
    const KBitmap bitmap = imageWith(4294967040.0f, 4294967296.0f);  // 2^32 - 256 and 2^32
    EXPECT_EQ(bitmap.m_firstExtent, 4294967040u);
    EXPECT_EQ(bitmap.m_secondExtent, 0xFFFFFFFFu);
}

TEST_P(KDocWrapperFloatExtents, NotANumberGivesZero) {
    const KBitmap bitmap = imageWith(std::numeric_limits<float>::quiet_NaN(), 8.0f);
    EXPECT_EQ(bitmap.m_firstExtent, 0u);
    EXPECT_EQ(bitmap.m_secondExtent, 8u);
}

TEST(KDocWrapperImageExtents, Build27ReadsFixedPointWhere312ReadsFloat) {
    FakeHostMemory memory;
    FakeHostWindows w(memory, kFakeLayout312);
    HandImage image = handImage(w, imageOffsets("Host312"));
    writeHostField<float>(image.owner, 48, 100.0f);
    writeHostField<float>(image.owner, 44, 50.0f);
    EXPECT_EQ(KDocWrapper312::instance().getButtonImage(image.win).m_firstExtent, 100u);
    EXPECT_EQ(KDocWrapper312B27::instance().getButtonImage(image.win).m_firstExtent, 0x42C8u);
    EXPECT_EQ(KDocWrapper312B27::instance().getButtonImage(image.win).m_secondExtent, 0x4248u);
}
