#include "FakeHostWindows.h"

#include "host/KDocWrappers.h"

#include <gtest/gtest.h>

#include <string>

namespace {

class KDocWrapperSwap : public ::testing::TestWithParam<FakeHostBuild> {
protected:
    KDocWrapper& wrapper() { return GetParam().wrapper(); }

    FakeHostMemory memory;
    FakeHostWindows w{memory, GetParam().layout};
};

std::string buildName(const ::testing::TestParamInfo<FakeHostBuild>& info) { return info.param.name; }

INSTANTIATE_TEST_SUITE_P(AllBuilds, KDocWrapperSwap, ::testing::ValuesIn(kFakeHostBuilds), buildName);

}  // namespace

// ------------------------------------------------------------ swapWinText

TEST_P(KDocWrapperSwap, OwnTextsExchangeRecordPointers) {
    KWin* a = w.window("Alpha");
    KWin* b = w.window("Beta");
    void* textA = w.textOf(a);
    void* textB = w.textOf(b);
    wrapper().swapWinText(a, kWinText, b, kWinText);
    EXPECT_EQ(w.textOf(a), textB);
    EXPECT_EQ(w.textOf(b), textA);
    // Only pointers moved: each record keeps its characters.
    EXPECT_STREQ(FakeHostWindows::chars(textA), "Alpha");
    EXPECT_STREQ(FakeHostWindows::chars(textB), "Beta");
}

TEST_P(KDocWrapperSwap, OwnTextsSwapWithoutDescriptors) {
    KWin* a = w.window("Alpha");
    KWin* b = w.window();
    void* textA = w.textOf(a);
    wrapper().swapWinText(a, kWinText, b, kWinText);
    EXPECT_EQ(w.textOf(a), nullptr);
    EXPECT_EQ(w.textOf(b), textA);
}

TEST_P(KDocWrapperSwap, OwnTextWithSecondDescriptorText) {
    KWin* button = w.window("Button", "button");
    KWin* source = w.window(nullptr, "source");
    void* buttonText = w.textOf(button);
    void* sourceText2 = w.setText2(source, "Loading");
    wrapper().swapWinText(button, kWinText, source, kWinDescriptorText2);
    EXPECT_EQ(w.textOf(button), sourceText2);
    EXPECT_EQ(w.text2Of(source), buttonText);
    EXPECT_STREQ(wrapper().getButtonText(button), "Loading");
}

TEST_P(KDocWrapperSwap, DescriptorNamesExchange) {
    KWin* a = w.window(nullptr, "first");
    KWin* b = w.window(nullptr, "second");
    void* nameA = w.nameOf(a);
    void* nameB = w.nameOf(b);
    wrapper().swapWinText(a, kWinDescriptorName, b, kWinDescriptorName);
    EXPECT_EQ(w.nameOf(a), nameB);
    EXPECT_EQ(w.nameOf(b), nameA);
    EXPECT_STREQ(wrapper().getWinName(a), "second");
}

TEST_P(KDocWrapperSwap, NameWithSecondTextOfTheSameWindow) {
    KWin* a = w.window(nullptr, "name");
    void* name = w.nameOf(a);
    void* text2 = w.setText2(a, "second");
    wrapper().swapWinText(a, kWinDescriptorName, a, kWinDescriptorText2);
    EXPECT_EQ(w.nameOf(a), text2);
    EXPECT_EQ(w.text2Of(a), name);
}

TEST_P(KDocWrapperSwap, NullWindowChangesNothing) {
    KWin* a = w.window("Alpha");
    void* textA = w.textOf(a);
    wrapper().swapWinText(a, kWinText, nullptr, kWinText);
    wrapper().swapWinText(nullptr, kWinText, a, kWinText);
    EXPECT_EQ(w.textOf(a), textA);
}

TEST_P(KDocWrapperSwap, DescriptorSelectorWithMissingDescriptorChangesNothing) {
    KWin* a = w.window("Alpha");  // no descriptor
    KWin* b = w.window("Beta", "beta");
    void* textA = w.textOf(a);
    void* textB = w.textOf(b);
    void* nameB = w.nameOf(b);
    // b's selector is not 0 and a lacks a descriptor.
    wrapper().swapWinText(a, kWinText, b, kWinDescriptorName);
    EXPECT_EQ(w.textOf(a), textA);
    EXPECT_EQ(w.nameOf(b), nameB);
    // a's selector is not 0; the descriptor-less one is a.
    wrapper().swapWinText(b, kWinDescriptorName, a, kWinText);
    EXPECT_EQ(w.textOf(a), textA);
    EXPECT_EQ(w.textOf(b), textB);
    EXPECT_EQ(w.nameOf(b), nameB);
}

TEST_P(KDocWrapperSwap, OutOfRangeSelectorReadsNullAndStoresNothing) {
    KWin* a = w.window("Alpha", "alpha");
    KWin* b = w.window("Beta", "beta");
    void* textA = w.textOf(a);
    void* nameA = w.nameOf(a);
    void* nameB = w.nameOf(b);
    wrapper().swapWinText(a, static_cast<KWinTextType>(3), b, kWinText);
    // b's slot receives the null read from selector 3; a is untouched.
    EXPECT_EQ(w.textOf(b), nullptr);
    EXPECT_EQ(w.textOf(a), textA);
    EXPECT_EQ(w.nameOf(a), nameA);
    EXPECT_EQ(w.text2Of(a), nullptr);
    EXPECT_EQ(w.nameOf(b), nameB);
}

TEST_P(KDocWrapperSwap, NegativeSelectorNeedsDescriptorsToo) {
    KWin* a = w.window("Alpha");
    KWin* b = w.window("Beta");
    void* textB = w.textOf(b);
    wrapper().swapWinText(a, static_cast<KWinTextType>(-1), b, kWinText);
    EXPECT_EQ(w.textOf(b), textB);
}

// ------------------------------------------------------------ swapWinImage

TEST_P(KDocWrapperSwap, ImagesExchangeOwnerPointers) {
    KWin* a = w.window();
    KWin* b = w.window();
    unsigned char* pixelsA = w.setImage(a, 2, 2);
    void* ownerA = w.imageOwnerOf(a);
    wrapper().swapWinImage(a, b);
    EXPECT_EQ(w.imageOwnerOf(a), nullptr);
    EXPECT_EQ(w.imageOwnerOf(b), ownerA);
    EXPECT_EQ(wrapper().getButtonImage(b).m_pixels, pixelsA);
}

TEST_P(KDocWrapperSwap, ImageOwnerIsTheLayoutsField) {
    KWin* a = w.window();
    KWin* b = w.window();
    w.setImage(a, 1, 1);
    w.setImage(b, 1, 1);
    void* ownerA = w.imageOwnerOf(a);
    void* ownerB = w.imageOwnerOf(b);
    wrapper().swapWinImage(a, b);
    const std::size_t offset = GetParam().layout.win.imageOwner;
    EXPECT_EQ(offset, GetParam().layout.win.text + 4);
    EXPECT_EQ(readHostPointer(a, offset), ownerB);
    EXPECT_EQ(readHostPointer(b, offset), ownerA);
}

TEST_P(KDocWrapperSwap, ImageSwapWithNullWindowChangesNothing) {
    KWin* a = w.window();
    w.setImage(a, 1, 1);
    void* ownerA = w.imageOwnerOf(a);
    wrapper().swapWinImage(a, nullptr);
    wrapper().swapWinImage(nullptr, a);
    EXPECT_EQ(w.imageOwnerOf(a), ownerA);
}
