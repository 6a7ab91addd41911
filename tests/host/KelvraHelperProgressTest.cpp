#include "FakeDocWrapper.h"
#include "FakeHostWindows.h"
#include "host/KelvraHelper.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <string>
#include <vector>

namespace {

using Pixel = std::array<unsigned char, 4>;

constexpr Pixel kBarPixel{10, 20, 30, 77};        // a drawn bar pixel before painting
constexpr Pixel kBackground{255, 255, 255, 255};  // background
constexpr Pixel kEmpty{48, 75, 105, 77};          // empty colour, byte 3 kept
constexpr Pixel kFilled{0, 110, 230, 77};         // filled colour, byte 3 kept

class KelvraHelperProgress : public ::testing::Test {
protected:
    void SetUp() override {
        m_savedDocWrapper = KelvraHelper::s_docWrapper;
        m_savedUtilWrapper = KelvraHelper::s_utilWrapper;
        m_savedUtility = KelvraHelper::s_utility;
        m_savedUtilIsValid = KelvraHelper::s_utilIsValid;
        KelvraHelper::s_docWrapper = &fake;
    }
    void TearDown() override {
        KelvraHelper::s_docWrapper = m_savedDocWrapper;
        KelvraHelper::s_utilWrapper = m_savedUtilWrapper;
        KelvraHelper::s_utility = m_savedUtility;
        KelvraHelper::s_utilIsValid = m_savedUtilIsValid;
    }

    // An image of rows x columns pixels, background except the bar pixels
    // in rows r1..r2 and columns c1..c2, which hold kBarPixel.
    FakeDocWrapper::Image& barImage(KWin* win, int rows, int columns, int r1, int r2, int c1, int c2) {
        FakeDocWrapper::Image& image = fake.setImage(win, rows, columns * 4);
        for (int r = r1; r <= r2; ++r) {
            for (int c = c1; c <= c2; ++c) set(image, r, c, kBarPixel);
        }
        return image;
    }

    static void set(FakeDocWrapper::Image& image, int row, int column, const Pixel& value) {
        const std::size_t offset = std::size_t(row) * std::size_t(image.rowBytes) + std::size_t(column) * 4;
        for (std::size_t i = 0; i < 4; ++i) image.pixels[offset + i] = value[i];
    }

    static Pixel at(const FakeDocWrapper::Image& image, int row, int column) {
        const std::size_t offset = std::size_t(row) * std::size_t(image.rowBytes) + std::size_t(column) * 4;
        return Pixel{image.pixels[offset], image.pixels[offset + 1], image.pixels[offset + 2],
                     image.pixels[offset + 3]};
    }

    // The number of filled pixels in one row between two columns, inclusive.
    static int filledInRow(const FakeDocWrapper::Image& image, int row, int fromColumn, int toColumn) {
        int count = 0;
        for (int c = fromColumn; c <= toColumn; ++c) count += at(image, row, c) == kFilled ? 1 : 0;
        return count;
    }

    FakeDocWrapper fake;
    FakeUtilWrapper util;

private:
    KDocWrapper* m_savedDocWrapper = nullptr;
    KUtilWrapper* m_savedUtilWrapper = nullptr;
    KUtility* m_savedUtility = nullptr;
    bool m_savedUtilIsValid = false;
};

// --------------------------------------------------------- setProgressBarPercentage

TEST_F(KelvraHelperProgress, TenColumnsAtFiftyPercentFillFive) {
    KWin* button = fake.create("Bar");
    FakeDocWrapper::Image& image = barImage(button, 4, 14, 1, 2, 2, 11);
    ASSERT_TRUE(KelvraHelper::setProgressBarPercentage(button, 50.0));
    for (int r = 1; r <= 2; ++r) {
        for (int c = 2; c <= 6; ++c) EXPECT_EQ(at(image, r, c), kFilled) << r << "," << c;
        for (int c = 7; c <= 11; ++c) EXPECT_EQ(at(image, r, c), kEmpty) << r << "," << c;
    }
}

TEST_F(KelvraHelperProgress, TenColumnsAt99Point9PercentFillNine) {
    KWin* button = fake.create("Bar");
    FakeDocWrapper::Image& image = barImage(button, 4, 14, 1, 2, 2, 11);
    ASSERT_TRUE(KelvraHelper::setProgressBarPercentage(button, 99.9));
    EXPECT_EQ(filledInRow(image, 1, 2, 11), 9);
    EXPECT_EQ(filledInRow(image, 2, 2, 11), 9);
    EXPECT_EQ(at(image, 1, 11), kEmpty);
}

TEST_F(KelvraHelperProgress, TenColumnsAtHundredPercentFillTen) {
    KWin* button = fake.create("Bar");
    FakeDocWrapper::Image& image = barImage(button, 4, 14, 1, 2, 2, 11);
    ASSERT_TRUE(KelvraHelper::setProgressBarPercentage(button, 100.0));
    EXPECT_EQ(filledInRow(image, 1, 2, 11), 10);
    EXPECT_EQ(filledInRow(image, 2, 2, 11), 10);
}

TEST_F(KelvraHelperProgress, PixelsOutsideTheBarAreLeftAlone) {
    KWin* button = fake.create("Bar");
    FakeDocWrapper::Image& image = barImage(button, 4, 14, 1, 2, 2, 11);
    ASSERT_TRUE(KelvraHelper::setProgressBarPercentage(button, 100.0));
    for (int c = 0; c < 14; ++c) {
        EXPECT_EQ(at(image, 0, c), kBackground) << c;
        EXPECT_EQ(at(image, 3, c), kBackground) << c;
    }
    for (int r = 1; r <= 2; ++r) {
        EXPECT_EQ(at(image, r, 0), kBackground);
        EXPECT_EQ(at(image, r, 1), kBackground);
        EXPECT_EQ(at(image, r, 12), kBackground);
        EXPECT_EQ(at(image, r, 13), kBackground);
    }
}

TEST_F(KelvraHelperProgress, PaintingWritesBytesZeroToTwoAndKeepsByteThree) {
    KWin* button = fake.create("Bar");
    FakeDocWrapper::Image& image = barImage(button, 1, 4, 0, 0, 0, 3);
    set(image, 0, 0, Pixel{1, 2, 3, 200});
    set(image, 0, 3, Pixel{1, 2, 3, 9});
    ASSERT_TRUE(KelvraHelper::setProgressBarPercentage(button, 50.0));
    EXPECT_EQ(at(image, 0, 0), (Pixel{0, 110, 230, 200}));
    EXPECT_EQ(at(image, 0, 3), (Pixel{48, 75, 105, 9}));
}

TEST_F(KelvraHelperProgress, LowerPercentagePaintsTheRestEmptyAgain) {
    KWin* button = fake.create("Bar");
    FakeDocWrapper::Image& image = barImage(button, 3, 12, 1, 1, 1, 10);
    ASSERT_TRUE(KelvraHelper::setProgressBarPercentage(button, 100.0));
    ASSERT_TRUE(KelvraHelper::setProgressBarPercentage(button, 30.0));
    EXPECT_EQ(filledInRow(image, 1, 1, 10), 3);
    EXPECT_EQ(at(image, 1, 3), kFilled);
    EXPECT_EQ(at(image, 1, 4), kEmpty);
    EXPECT_EQ(at(image, 1, 10), kEmpty);
}

TEST_F(KelvraHelperProgress, NegativePercentPaintsTheWholeBarEmpty) {
    KWin* button = fake.create("Bar");
    FakeDocWrapper::Image& image = barImage(button, 3, 12, 1, 1, 1, 10);
    ASSERT_TRUE(KelvraHelper::setProgressBarPercentage(button, -40.0));
    for (int c = 1; c <= 10; ++c) EXPECT_EQ(at(image, 1, c), kEmpty) << c;
    EXPECT_EQ(at(image, 1, 0), kBackground);
}

TEST_F(KelvraHelperProgress, NotANumberPercentPaintsTheWholeBarEmpty) {
    KWin* button = fake.create("Bar");
    FakeDocWrapper::Image& image = barImage(button, 3, 12, 1, 1, 1, 10);
    ASSERT_TRUE(KelvraHelper::setProgressBarPercentage(button, std::numeric_limits<double>::quiet_NaN()));
    for (int c = 1; c <= 10; ++c) EXPECT_EQ(at(image, 1, c), kEmpty) << c;
}

TEST_F(KelvraHelperProgress, AboveHundredPercentPaintsOnPastTheRightEdge) {
    // 10 bar columns (2..11) at 120 percent: the fill end is 2 + 12 = 14, so
    // the two pixels after the bar's right edge in each row are filled too.
    KWin* button = fake.create("Bar");
    FakeDocWrapper::Image& image = barImage(button, 4, 16, 1, 2, 2, 11);
    ASSERT_TRUE(KelvraHelper::setProgressBarPercentage(button, 120.0));
    for (int r = 1; r <= 2; ++r) {
        EXPECT_EQ(filledInRow(image, r, 2, 11), 10);
        EXPECT_EQ(at(image, r, 12), (Pixel{0, 110, 230, 255}));
        EXPECT_EQ(at(image, r, 13), (Pixel{0, 110, 230, 255}));
        EXPECT_EQ(at(image, r, 14), kBackground);
        EXPECT_EQ(at(image, r, 1), kBackground);
    }
}

TEST_F(KelvraHelperProgress, HugePercentStopsAtTheBufferEnd) {
    KWin* button = fake.create("Bar");
    FakeDocWrapper::Image& image = barImage(button, 2, 8, 1, 1, 2, 5);
    ASSERT_TRUE(KelvraHelper::setProgressBarPercentage(button, 1e300));
    EXPECT_EQ(filledInRow(image, 1, 2, 5), 4);
    EXPECT_EQ(at(image, 1, 7)[0], 0);  // the last pixel of the buffer
    EXPECT_EQ(at(image, 1, 1), kBackground);
    EXPECT_EQ(image.pixels.size(), 2u * 8u * 4u);
}

TEST_F(KelvraHelperProgress, PercentageNeedsAButtonWithPixels) {
    KWin* noImage = fake.create("Bar");
    KWin* emptyImage = fake.create("Bar");
    fake.setEmptyImage(emptyImage);
    EXPECT_FALSE(KelvraHelper::setProgressBarPercentage(nullptr, 50.0));
    EXPECT_FALSE(KelvraHelper::setProgressBarPercentage(noImage, 50.0));
    EXPECT_FALSE(KelvraHelper::setProgressBarPercentage(emptyImage, 50.0));
}

// --------------------------------------------------------------- bar rectangle

TEST_F(KelvraHelperProgress, BarRectangleSpansFromTheFirstToTheLastBarPixel) {
    // Only two bar pixels: (1, 2) and (3, 6). Everything between them in rows
    // 1..3 and columns 2..6 is the bar, background pixels included.
    KWin* button = fake.create("Bar");
    FakeDocWrapper::Image& image = fake.setImage(button, 5, 9 * 4);
    set(image, 1, 2, kBarPixel);
    set(image, 3, 6, kBarPixel);
    ASSERT_TRUE(KelvraHelper::setProgressBarPercentage(button, 0.0));
    for (int r = 0; r < 5; ++r) {
        for (int c = 0; c < 9; ++c) {
            const bool inside = r >= 1 && r <= 3 && c >= 2 && c <= 6;
            if (inside) {
                EXPECT_EQ(at(image, r, c)[0], 48) << r << "," << c;
                EXPECT_EQ(at(image, r, c)[1], 75) << r << "," << c;
                EXPECT_EQ(at(image, r, c)[2], 105) << r << "," << c;
            } else {
                EXPECT_EQ(at(image, r, c), kBackground) << r << "," << c;
            }
        }
    }
}

TEST_F(KelvraHelperProgress, Byte254BelongsToTheBar) {
    KWin* button = fake.create("Bar");
    FakeDocWrapper::Image& image = fake.setImage(button, 1, 6 * 4);
    set(image, 0, 1, Pixel{254, 255, 255, 255});
    set(image, 0, 4, Pixel{254, 0, 0, 1});
    ASSERT_TRUE(KelvraHelper::setProgressBarPercentage(button, 100.0));
    EXPECT_EQ(at(image, 0, 0), kBackground);
    EXPECT_EQ(at(image, 0, 1), (Pixel{0, 110, 230, 255}));
    EXPECT_EQ(at(image, 0, 4), (Pixel{0, 110, 230, 1}));
    EXPECT_EQ(at(image, 0, 5), kBackground);
}

TEST_F(KelvraHelperProgress, ImageWithoutBarPixelIsRefusedAndLeftAlone) {
    KWin* button = fake.create("Bar");
    FakeDocWrapper::Image& image = fake.setImage(button, 3, 5 * 4);
    const std::vector<unsigned char> before = image.pixels;
    EXPECT_FALSE(KelvraHelper::setProgressBarPercentage(button, 50.0));
    EXPECT_FALSE(KelvraHelper::setProgressBarNoPercentage(button, 0));
    EXPECT_FALSE(KelvraHelper::initProgressBar(button));
    EXPECT_EQ(image.pixels, before);
}

TEST_F(KelvraHelperProgress, NonPositiveRowBytesIsRefused) {
    KWin* button = fake.create("Bar");
    FakeDocWrapper::Image& image = barImage(button, 2, 4, 0, 1, 0, 3);
    const std::vector<unsigned char> before = image.pixels;
    image.rowBytes = 0;
    EXPECT_FALSE(KelvraHelper::setProgressBarPercentage(button, 50.0));
    image.rowBytes = -16;
    EXPECT_FALSE(KelvraHelper::setProgressBarNoPercentage(button, 3));
    EXPECT_FALSE(KelvraHelper::initProgressBar(button));
    EXPECT_EQ(image.pixels, before);
}

TEST_F(KelvraHelperProgress, BufferSmallerThanOnePixelIsRefused) {
    KWin* button = fake.create("Bar");
    FakeDocWrapper::Image& image = barImage(button, 1, 4, 0, 0, 0, 3);
    const std::vector<unsigned char> before = image.pixels;
    image.bufferSize = 3;
    EXPECT_FALSE(KelvraHelper::setProgressBarPercentage(button, 50.0));
    EXPECT_FALSE(KelvraHelper::setProgressBarNoPercentage(button, 0));
    EXPECT_FALSE(KelvraHelper::initProgressBar(button));
    EXPECT_EQ(image.pixels, before);
}

// ----------------------------------------------------- setProgressBarNoPercentage

TEST_F(KelvraHelperProgress, PhaseZeroLeavesTheFirstPixelEmpty) {
    KWin* button = fake.create("Bar");
    FakeDocWrapper::Image& image = barImage(button, 4, 40, 1, 2, 1, 38);
    ASSERT_TRUE(KelvraHelper::setProgressBarNoPercentage(button, 0));
    EXPECT_EQ(at(image, 1, 1), kEmpty);
}

TEST_F(KelvraHelperProgress, PhaseSixteenFillsTheFirstPixel) {
    KWin* button = fake.create("Bar");
    FakeDocWrapper::Image& image = barImage(button, 4, 40, 1, 2, 1, 38);
    ASSERT_TRUE(KelvraHelper::setProgressBarNoPercentage(button, 16));
    EXPECT_EQ(at(image, 1, 1), kFilled);
}

TEST_F(KelvraHelperProgress, StripesAreSixteenPixelsWide) {
    // Row 0, phase 0: m runs 0, 31, 30, ..., so column 0 is empty, columns
    // 1..16 filled, 17..32 empty and 33 filled again.
    KWin* button = fake.create("Bar");
    FakeDocWrapper::Image& image = barImage(button, 1, 36, 0, 0, 0, 35);
    ASSERT_TRUE(KelvraHelper::setProgressBarNoPercentage(button, 0));
    EXPECT_EQ(at(image, 0, 0), kEmpty);
    for (int c = 1; c <= 16; ++c) EXPECT_EQ(at(image, 0, c), kFilled) << c;
    for (int c = 17; c <= 32; ++c) EXPECT_EQ(at(image, 0, c), kEmpty) << c;
    EXPECT_EQ(at(image, 0, 33), kFilled);
}

TEST_F(KelvraHelperProgress, EachRowShiftsTheStripesByOnePixel) {
    KWin* button = fake.create("Bar");
    FakeDocWrapper::Image& image = barImage(button, 4, 40, 1, 2, 1, 38);
    ASSERT_TRUE(KelvraHelper::setProgressBarNoPercentage(button, 0));
    // First bar row: the first filled column is the bar's second one; in the
    // next row it is the third.
    EXPECT_EQ(at(image, 1, 2), kFilled);
    EXPECT_EQ(at(image, 2, 2), kEmpty);
    EXPECT_EQ(at(image, 2, 3), kFilled);
    EXPECT_EQ(at(image, 2, 18), kFilled);
    EXPECT_EQ(at(image, 2, 19), kEmpty);
}

TEST_F(KelvraHelperProgress, NextPhaseMovesTheStripesByOnePixel) {
    KWin* button = fake.create("Bar");
    FakeDocWrapper::Image& image = barImage(button, 1, 36, 0, 0, 0, 35);
    ASSERT_TRUE(KelvraHelper::setProgressBarNoPercentage(button, 1));
    EXPECT_EQ(at(image, 0, 0), kEmpty);
    EXPECT_EQ(at(image, 0, 1), kEmpty);
    for (int c = 2; c <= 17; ++c) EXPECT_EQ(at(image, 0, c), kFilled) << c;
    EXPECT_EQ(at(image, 0, 18), kEmpty);
}

TEST_F(KelvraHelperProgress, NegativePhaseKeepsTheSignOfTheRemainder) {
    // m starts at -1 (not 31): column 0 empty, then 30, 29, ..., 16 filled.
    KWin* button = fake.create("Bar");
    FakeDocWrapper::Image& image = barImage(button, 1, 20, 0, 0, 0, 19);
    ASSERT_TRUE(KelvraHelper::setProgressBarNoPercentage(button, -1));
    EXPECT_EQ(at(image, 0, 0), kEmpty);
    for (int c = 1; c <= 15; ++c) EXPECT_EQ(at(image, 0, c), kFilled) << c;
    EXPECT_EQ(at(image, 0, 16), kEmpty);
}

TEST_F(KelvraHelperProgress, StripesNeedAButtonWithPixels) {
    KWin* noImage = fake.create("Bar");
    EXPECT_FALSE(KelvraHelper::setProgressBarNoPercentage(nullptr, 0));
    EXPECT_FALSE(KelvraHelper::setProgressBarNoPercentage(noImage, 0));
}

// ------------------------------------------------------------- initProgressBar

TEST_F(KelvraHelperProgress, InitPaintsTheBarEmptyAndShowsTheName) {
    KWin* button = fake.create();
    fake.setName(button, "Progress");
    FakeDocWrapper::Image& image = barImage(button, 3, 8, 1, 1, 1, 6);
    set(image, 1, 3, Pixel{0, 110, 230, 77});  // a leftover filled pixel
    ASSERT_TRUE(KelvraHelper::initProgressBar(button));
    for (int c = 1; c <= 6; ++c) EXPECT_EQ(at(image, 1, c), kEmpty) << c;
    EXPECT_EQ(at(image, 1, 0), kBackground);
    ASSERT_NE(fake.getButtonText(button), nullptr);
    EXPECT_STREQ(fake.getButtonText(button), "Progress");
}

TEST_F(KelvraHelperProgress, InitKeepsAnExistingText) {
    KWin* button = fake.create("Own");
    fake.setName(button, "Progress");
    barImage(button, 1, 4, 0, 0, 0, 3);
    ASSERT_TRUE(KelvraHelper::initProgressBar(button));
    EXPECT_STREQ(fake.getButtonText(button), "Own");
}

TEST_F(KelvraHelperProgress, InitNeedsAButtonWithPixels) {
    KWin* noImage = fake.create("Bar");
    KWin* emptyImage = fake.create("Bar");
    fake.setEmptyImage(emptyImage);
    EXPECT_FALSE(KelvraHelper::initProgressBar(nullptr));
    EXPECT_FALSE(KelvraHelper::initProgressBar(noImage));
    EXPECT_FALSE(KelvraHelper::initProgressBar(emptyImage));
}

// ------------------------------------------------------------ initProgressBar2

TEST_F(KelvraHelperProgress, Init2TakesOverTheSourceImageAndText) {
    KWin* button = fake.create("Old");
    fake.setName(button, "ButtonName");
    KWin* source = fake.create("Source");
    fake.setName(source, "SourceName");
    fake.setText2(source, "Working");
    FakeDocWrapper::Image& image = barImage(source, 3, 6, 1, 1, 1, 4);
    FakeDocWrapper::TextRecord* oldText = FakeDocWrapper::at(button).text;
    FakeDocWrapper::TextRecord* working = FakeDocWrapper::at(source).text2;

    ASSERT_TRUE(KelvraHelper::initProgressBar2(button, source));
    EXPECT_EQ(FakeDocWrapper::at(button).image, &image);
    EXPECT_EQ(FakeDocWrapper::at(source).image, nullptr);
    EXPECT_EQ(FakeDocWrapper::at(button).text, working);
    EXPECT_EQ(FakeDocWrapper::at(source).text2, oldText);
    EXPECT_STREQ(fake.getButtonText(button), "Working");
    for (int c = 1; c <= 4; ++c) EXPECT_EQ(at(image, 1, c), kEmpty) << c;
    EXPECT_EQ(at(image, 0, 1), kBackground);
}

TEST_F(KelvraHelperProgress, Init2RefusesAButtonThatAlreadyHasPixels) {
    KWin* button = fake.create("Old");
    fake.setName(button, "ButtonName");
    FakeDocWrapper::Image& buttonImage = barImage(button, 2, 4, 0, 0, 0, 3);
    KWin* source = fake.create("Source");
    fake.setName(source, "SourceName");
    fake.setText2(source, "Working");
    FakeDocWrapper::Image& sourceImage = barImage(source, 2, 4, 1, 1, 0, 3);
    const FakeDocWrapper::Window buttonBefore = FakeDocWrapper::at(button);
    const FakeDocWrapper::Window sourceBefore = FakeDocWrapper::at(source);
    const std::vector<unsigned char> buttonPixels = buttonImage.pixels;
    const std::vector<unsigned char> sourcePixels = sourceImage.pixels;

    EXPECT_FALSE(KelvraHelper::initProgressBar2(button, source));
    EXPECT_EQ(FakeDocWrapper::at(button).text, buttonBefore.text);
    EXPECT_EQ(FakeDocWrapper::at(button).name, buttonBefore.name);
    EXPECT_EQ(FakeDocWrapper::at(button).text2, buttonBefore.text2);
    EXPECT_EQ(FakeDocWrapper::at(button).image, buttonBefore.image);
    EXPECT_EQ(FakeDocWrapper::at(source).text, sourceBefore.text);
    EXPECT_EQ(FakeDocWrapper::at(source).text2, sourceBefore.text2);
    EXPECT_EQ(FakeDocWrapper::at(source).image, sourceBefore.image);
    EXPECT_EQ(buttonImage.pixels, buttonPixels);
    EXPECT_EQ(sourceImage.pixels, sourcePixels);
    EXPECT_STREQ(fake.getButtonText(button), "Old");
}

TEST_F(KelvraHelperProgress, Init2WithASourceWithoutPixelsFailsAfterTheSwaps) {
    KWin* button = fake.create("Old");
    fake.setName(button, "ButtonName");
    KWin* source = fake.create("Source");
    fake.setName(source, "SourceName");
    fake.setText2(source, "Working");
    EXPECT_FALSE(KelvraHelper::initProgressBar2(button, source));
    EXPECT_STREQ(fake.getButtonText(button), "Working");
}

TEST_F(KelvraHelperProgress, Init2NeedsBothWindows) {
    KWin* button = fake.create("Old");
    KWin* source = fake.create("Source");
    barImage(source, 1, 4, 0, 0, 0, 3);
    EXPECT_FALSE(KelvraHelper::initProgressBar2(nullptr, source));
    EXPECT_FALSE(KelvraHelper::initProgressBar2(button, nullptr));
    EXPECT_EQ(FakeDocWrapper::at(button).image, nullptr);
}

// ---------------------------------------------------------- setProgressBarText

TEST_F(KelvraHelperProgress, TextIsSetOnAButtonWithATextRecord) {
    KWin* button = fake.create("Start");
    EXPECT_TRUE(KelvraHelper::setProgressBarText(button, "Saving 3 of 10"));
    EXPECT_STREQ(fake.getButtonText(button), "Saving 3 of 10");
}

TEST_F(KelvraHelperProgress, TextNeedsATextRecord) {
    KWin* noText = fake.create();
    fake.setName(noText, "Name");
    EXPECT_FALSE(KelvraHelper::setProgressBarText(noText, "Saving"));
    EXPECT_EQ(FakeDocWrapper::at(noText).text, nullptr);
    EXPECT_STREQ(FakeDocWrapper::at(noText).name->chars.c_str(), "Name");
}

TEST_F(KelvraHelperProgress, TextOnANullButtonIsRefused) {
    EXPECT_FALSE(KelvraHelper::setProgressBarText(nullptr, "Saving"));
}

TEST_F(KelvraHelperProgress, NullTextClearsTheButtonText) {
    KWin* button = fake.create("Start");
    EXPECT_TRUE(KelvraHelper::setProgressBarText(button, nullptr));
    EXPECT_STREQ(fake.getButtonText(button), "");
}

// ------------------------------------------------------------------ runKScript

TEST_F(KelvraHelperProgress, ScriptIsRefusedWhileTheUtilityIsNotValid) {
    KelvraHelper::s_utilWrapper = &util;
    KelvraHelper::s_utilIsValid = false;
    EXPECT_FALSE(KelvraHelper::runKScript(QMString("print 1")));
    EXPECT_EQ(util.m_calls, 0);
}

TEST_F(KelvraHelperProgress, ScriptRunsThroughTheUtilityWrapper) {
    KUtility* utility = reinterpret_cast<KUtility*>(&util);  // any distinct address
    KelvraHelper::s_utilWrapper = &util;
    KelvraHelper::s_utility = utility;
    KelvraHelper::s_utilIsValid = true;
    util.m_result = true;
    EXPECT_TRUE(KelvraHelper::runKScript(QMString("print 1")));
    EXPECT_EQ(util.m_calls, 1);
    EXPECT_EQ(util.m_lastUtility, utility);
    EXPECT_EQ(util.m_lastScript, "print 1");
}

TEST_F(KelvraHelperProgress, ScriptFailureOfTheWrapperIsReturned) {
    KelvraHelper::s_utilWrapper = &util;
    KelvraHelper::s_utilIsValid = true;
    util.m_result = false;
    EXPECT_FALSE(KelvraHelper::runKScript(QMString("bad script")));
    EXPECT_EQ(util.m_calls, 1);
}

}  // namespace

// ------------------------------------------- over host records of every build

namespace {

class KelvraHelperHostProgress : public ::testing::TestWithParam<FakeHostBuild> {
protected:
    void SetUp() override {
        m_savedWrapper = KelvraHelper::s_docWrapper;
        KelvraHelper::s_docWrapper = &GetParam().wrapper();
    }
    void TearDown() override { KelvraHelper::s_docWrapper = m_savedWrapper; }

    FakeHostMemory memory;
    FakeHostWindows w{memory, GetParam().layout};

private:
    KDocWrapper* m_savedWrapper = nullptr;
};

std::string buildName(const ::testing::TestParamInfo<FakeHostBuild>& info) { return info.param.name; }

INSTANTIATE_TEST_SUITE_P(AllBuilds, KelvraHelperHostProgress, ::testing::ValuesIn(kFakeHostBuilds), buildName);

TEST_P(KelvraHelperHostProgress, InitAndHalfFillPaintAHostImage) {
    // The fake host image is all zero: every pixel belongs to the bar.
    KWin* button = w.window(nullptr, "Progress");
    unsigned char* pixels = w.setImage(button, 10, 2);
    ASSERT_TRUE(KelvraHelper::initProgressBar(button));
    EXPECT_STREQ(KelvraHelper::s_docWrapper->getButtonText(button), "Progress");
    ASSERT_TRUE(KelvraHelper::setProgressBarPercentage(button, 50.0));
    for (int row = 0; row < 2; ++row) {
        for (int column = 0; column < 10; ++column) {
            const unsigned char* pixel = pixels + row * 40 + column * 4;
            const Pixel expected = column < 5 ? Pixel{0, 110, 230, 0} : Pixel{48, 75, 105, 0};
            EXPECT_EQ((Pixel{pixel[0], pixel[1], pixel[2], pixel[3]}), expected) << row << "," << column;
        }
    }
}

}  // namespace
