#include "FakeHostWindows.h"

#include "host/KBitmap.h"
#include "host/KDocWrappers.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>

namespace {

class KDocWrapperWindows : public ::testing::TestWithParam<FakeHostBuild> {
protected:
    KDocWrapper& wrapper() { return GetParam().wrapper(); }
    const KWinLayout& winLayout() { return GetParam().layout.win; }

    FakeHostMemory memory;
    FakeHostWindows w{memory, GetParam().layout};
};

std::string buildName(const ::testing::TestParamInfo<FakeHostBuild>& info) { return info.param.name; }

INSTANTIATE_TEST_SUITE_P(AllBuilds, KDocWrapperWindows, ::testing::ValuesIn(kFakeHostBuilds), buildName);

// The offsets each host build lays its window and document records out at.
struct ExpectedOffsets {
    std::size_t parent, firstChild, nextSibling, prevSibling, descriptor, text, imageOwner, pulldownCount,
        pulldownEntries, docActiveView;
};

ExpectedOffsets expectedOffsets(const std::string& build) {
    if (build == "Host31") return {80, 84, 88, 92, 120, 128, 132, 192, 196, 524};
    if (build == "Host312" || build == "Host312B27") return {80, 84, 88, 92, 120, 128, 132, 192, 196, 528};
    return {84, 88, 92, 96, 124, 132, 136, 196, 200, 532};
}

}  // namespace

TEST(KBitmap, ConstructedBitmapIsAllZero) {
    KBitmap bitmap;
    EXPECT_EQ(bitmap.m_pixels, nullptr);
    EXPECT_EQ(bitmap.m_bufferSize, 0u);
    EXPECT_EQ(bitmap.m_rowBytes, 0);
    EXPECT_EQ(bitmap.m_firstExtent, 0u);
    EXPECT_EQ(bitmap.m_secondExtent, 0u);
    EXPECT_FALSE(bitmap.hasPixels());
}

TEST(KBitmap, ClearZeroesEveryField) {
    unsigned char pixels[16];
    KBitmap bitmap;
    bitmap.m_pixels = pixels;
    bitmap.m_bufferSize = 16;
    bitmap.m_rowBytes = -8;
    bitmap.m_firstExtent = 3;
    bitmap.m_secondExtent = 4;
    bitmap.clear();
    EXPECT_EQ(bitmap.m_pixels, nullptr);
    EXPECT_EQ(bitmap.m_bufferSize, 0u);
    EXPECT_EQ(bitmap.m_rowBytes, 0);
    EXPECT_EQ(bitmap.m_firstExtent, 0u);
    EXPECT_EQ(bitmap.m_secondExtent, 0u);
}

TEST(KDocWrappers, EachWrapperHasOneInstance) {
    EXPECT_EQ(&KDocWrapper31::instance(), &KDocWrapper31::instance());
    EXPECT_EQ(&KDocWrapper312B46::instance(), &KDocWrapper312B46::instance());
    EXPECT_EQ(&KUtilWrapper312B46::instance(), &KUtilWrapper312B46::instance());
    EXPECT_NE(static_cast<KDocWrapper*>(&KDocWrapper312::instance()),
              static_cast<KDocWrapper*>(&KDocWrapper312B27::instance()));
}

TEST_P(KDocWrapperWindows, BuildUsesItsRecordOffsets) {
    const ExpectedOffsets e = expectedOffsets(GetParam().name);
    const FakeHostLayout& l = GetParam().layout;
    EXPECT_EQ(l.win.parent, e.parent);
    EXPECT_EQ(l.win.firstChild, e.firstChild);
    EXPECT_EQ(l.win.nextSibling, e.nextSibling);
    EXPECT_EQ(l.win.prevSibling, e.prevSibling);
    EXPECT_EQ(l.win.descriptor, e.descriptor);
    EXPECT_EQ(l.win.text, e.text);
    EXPECT_EQ(l.win.imageOwner, e.imageOwner);
    EXPECT_EQ(l.win.pulldownCount, e.pulldownCount);
    EXPECT_EQ(l.win.pulldownEntries, e.pulldownEntries);
    EXPECT_EQ(l.docActiveView, e.docActiveView);
}

// ------------------------------------------------------------ links

TEST_P(KDocWrapperWindows, LinkGettersReadTheirOffsets) {
    const ExpectedOffsets e = expectedOffsets(GetParam().name);
    KWin* win = w.window();
    KWin* parent = w.window();
    KWin* child = w.window();
    KWin* next = w.window();
    KWin* prev = w.window();
    FakeHostMemory::link(win, e.parent, parent);
    FakeHostMemory::link(win, e.firstChild, child);
    FakeHostMemory::link(win, e.nextSibling, next);
    FakeHostMemory::link(win, e.prevSibling, prev);
    EXPECT_EQ(wrapper().getParentWin(win), parent);
    EXPECT_EQ(wrapper().getChildWin(win), child);
    EXPECT_EQ(wrapper().getNextWin(win), next);
    EXPECT_EQ(wrapper().getPrevWin(win), prev);
}

TEST_P(KDocWrapperWindows, LinkSettersWriteTheirOffsetsOnly) {
    const ExpectedOffsets e = expectedOffsets(GetParam().name);
    KWin* win = w.window();
    KWin* parent = w.window();
    KWin* child = w.window();
    KWin* next = w.window();
    KWin* prev = w.window();
    wrapper().setParentWin(win, parent);
    wrapper().setChildWin(win, child);
    wrapper().setNextWin(win, next);
    wrapper().setPrevWin(win, prev);
    EXPECT_EQ(readHostPointer<KWin>(win, e.parent), parent);
    EXPECT_EQ(readHostPointer<KWin>(win, e.firstChild), child);
    EXPECT_EQ(readHostPointer<KWin>(win, e.nextSibling), next);
    EXPECT_EQ(readHostPointer<KWin>(win, e.prevSibling), prev);
    // Nothing else in the record changed.
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(win);
    for (std::size_t i = 0; i < FakeHostWindows::kWindowBytes; ++i) {
        if (i >= e.parent && i < e.parent + 16) continue;
        ASSERT_EQ(bytes[i], 0) << "byte " << i;
    }
}

TEST_P(KDocWrapperWindows, LinkSettersStoreNull) {
    KWin* parent = w.window();
    KWin* win = w.window();
    w.link(parent, win);
    wrapper().setParentWin(win, nullptr);
    EXPECT_EQ(w.parentOf(win), nullptr);
    EXPECT_EQ(readHostField<std::uint32_t>(win, winLayout().parent), 0u);
}

TEST_P(KDocWrapperWindows, LinkSetterRefusesPointerAbove4GiB) {
    if (sizeof(void*) == 4) GTEST_SKIP() << "every pointer fits in 32 bits";
    KWin* parent = w.window();
    KWin* win = w.window();
    w.link(parent, win);
    KWin* high = reinterpret_cast<KWin*>(static_cast<std::uintptr_t>(UINT32_MAX) + 0x1000u);
    wrapper().setParentWin(win, high);
    wrapper().setNextWin(win, high);
    EXPECT_EQ(w.parentOf(win), parent);
    EXPECT_EQ(w.nextOf(win), nullptr);
}

// ------------------------------------------------------------ texts and names

TEST_P(KDocWrapperWindows, WinTextPrefersOwnText) {
    KWin* win = w.window("File", "fileMenu");
    EXPECT_STREQ(wrapper().getWinText(win), "File");
}

TEST_P(KDocWrapperWindows, WinTextPointsIntoTheTextRecord) {
    KWin* win = w.window("File");
    EXPECT_EQ(wrapper().getWinText(win), FakeHostWindows::chars(w.textOf(win)));
}

TEST_P(KDocWrapperWindows, WinTextWithEmptyTextRecordFallsBackToName) {
    KWin* win = w.window("", "fileMenu");
    ASSERT_NE(w.textOf(win), nullptr);
    EXPECT_STREQ(wrapper().getWinText(win), "fileMenu");
}

TEST_P(KDocWrapperWindows, WinTextGoesByTheLengthFieldNotTheCharacters) {
    KWin* win = w.window();
    FakeHostMemory::link(win, winLayout().text, w.textRecord("stale", 0));
    w.setName(win, "fileMenu");
    EXPECT_STREQ(wrapper().getWinText(win), "fileMenu");
}

TEST_P(KDocWrapperWindows, WinTextWithoutTextRecordFallsBackToName) {
    KWin* win = w.window(nullptr, "fileMenu");
    EXPECT_STREQ(wrapper().getWinText(win), "fileMenu");
}

TEST_P(KDocWrapperWindows, WinTextIsNullWithoutTextOrDescriptor) {
    KWin* win = w.window("");
    EXPECT_EQ(wrapper().getWinText(win), nullptr);
    EXPECT_EQ(wrapper().getWinText(w.window()), nullptr);
}

TEST_P(KDocWrapperWindows, WinTextIsNullWhenBothRecordsAreEmpty) {
    KWin* win = w.window("", "");
    EXPECT_EQ(wrapper().getWinText(win), nullptr);
}

TEST_P(KDocWrapperWindows, WinNamePrefersName) {
    KWin* win = w.window("File", "fileMenu");
    EXPECT_STREQ(wrapper().getWinName(win), "fileMenu");
}

TEST_P(KDocWrapperWindows, WinNameWithEmptyNameRecordFallsBackToText) {
    KWin* win = w.window("File", "");
    EXPECT_STREQ(wrapper().getWinName(win), "File");
}

TEST_P(KDocWrapperWindows, WinNameWithoutDescriptorFallsBackToText) {
    KWin* win = w.window("File");
    EXPECT_STREQ(wrapper().getWinName(win), "File");
}

TEST_P(KDocWrapperWindows, WinNameWithDescriptorButNoNameRecordFallsBackToText) {
    KWin* win = w.window("File");
    w.setText2(win, "other");
    EXPECT_STREQ(wrapper().getWinName(win), "File");
}

TEST_P(KDocWrapperWindows, WinNameIsNullWithNeither) { EXPECT_EQ(wrapper().getWinName(w.window()), nullptr); }

// ------------------------------------------------------------ full path names

TEST_P(KDocWrapperWindows, FullPathNameOfNullIsEmpty) {
    const QMString path = wrapper().getFullPathName(nullptr);
    EXPECT_EQ(path.length(), 0);
}

TEST_P(KDocWrapperWindows, FullPathNameOfRootIsItsName) {
    KWin* root = w.window(nullptr, "main");
    EXPECT_STREQ(wrapper().getFullPathName(root).c_str(), "main");
}

TEST_P(KDocWrapperWindows, FullPathNameJoinsNamesFromTheRootWithColons) {
    KWin* root = w.window(nullptr, "main");
    KWin* panel = w.window(nullptr, "tools");
    KWin* button = w.window(nullptr, "export");
    w.link(root, panel);
    w.link(panel, button);
    EXPECT_STREQ(wrapper().getFullPathName(button).c_str(), "main:tools:export");
}

TEST_P(KDocWrapperWindows, FullPathNameUsesNamesBeforeTexts) {
    KWin* root = w.window("Main Window", "main");
    KWin* button = w.window("Export", "export");
    w.link(root, button);
    EXPECT_STREQ(wrapper().getFullPathName(button).c_str(), "main:export");
}

TEST_P(KDocWrapperWindows, FullPathNameUsesTextWhenNameIsMissing) {
    KWin* root = w.window(nullptr, "main");
    KWin* button = w.window("Export");
    w.link(root, button);
    EXPECT_STREQ(wrapper().getFullPathName(button).c_str(), "main:Export");
}

TEST_P(KDocWrapperWindows, FullPathNameSkipsUnnamedLevels) {
    KWin* root = w.window(nullptr, "main");
    KWin* group = w.window();
    KWin* button = w.window(nullptr, "export");
    w.link(root, group);
    w.link(group, button);
    EXPECT_STREQ(wrapper().getFullPathName(button).c_str(), "main:export");
}

TEST_P(KDocWrapperWindows, FullPathNameOfUnnamedWindowEqualsItsParents) {
    KWin* root = w.window(nullptr, "main");
    KWin* panel = w.window(nullptr, "tools");
    KWin* unnamed = w.window("", "");
    w.link(root, panel);
    w.link(panel, unnamed);
    EXPECT_STREQ(wrapper().getFullPathName(unnamed).c_str(), "main:tools");
}

TEST_P(KDocWrapperWindows, FullPathNameBelowUnnamedRootHasNoLeadingColon) {
    KWin* root = w.window();
    KWin* panel = w.window(nullptr, "tools");
    w.link(root, panel);
    EXPECT_STREQ(wrapper().getFullPathName(panel).c_str(), "tools");
}

TEST_P(KDocWrapperWindows, FullPathNameOfUnnamedRootIsEmpty) {
    EXPECT_EQ(wrapper().getFullPathName(w.window()).length(), 0);
}

namespace {

// A wrapper whose names are all "x", to show that the path is built through
// the virtual operations at every level.
template <class Base>
class RenamingWrapper : public Base {
public:
    const char* getWinName(KWin*) override { return "x"; }
};

}  // namespace

TEST(KDocWrapperFullPath, RecursesThroughTheVirtualOperations31) {
    FakeHostMemory memory;
    FakeHostWindows w(memory, kFakeLayout31);
    KWin* root = w.window(nullptr, "main");
    KWin* button = w.window(nullptr, "export");
    w.link(root, button);
    RenamingWrapper<KDocWrapper31> wrapper;
    EXPECT_STREQ(wrapper.getFullPathName(button).c_str(), "x:x");
}

TEST(KDocWrapperFullPath, RecursesThroughTheVirtualOperations312B46) {
    FakeHostMemory memory;
    FakeHostWindows w(memory, kFakeLayout312B46);
    KWin* root = w.window(nullptr, "main");
    KWin* panel = w.window(nullptr, "tools");
    KWin* button = w.window(nullptr, "export");
    w.link(root, panel);
    w.link(panel, button);
    RenamingWrapper<KDocWrapper312B46> wrapper;
    EXPECT_STREQ(wrapper.getFullPathName(button).c_str(), "x:x:x");
}

// ------------------------------------------------------------ pull-down lists

TEST_P(KDocWrapperWindows, PulldownWinIsTheWindowForKind1007) {
    KWin* win = w.window();
    w.makePulldown(win, {});
    EXPECT_EQ(reinterpret_cast<void*>(wrapper().getPulldownWin(win)), static_cast<void*>(win));
}

TEST_P(KDocWrapperWindows, PulldownWinIsNullForOtherKinds) {
    KWin* win = w.window();
    w.setKind(win, 1006);
    EXPECT_EQ(wrapper().getPulldownWin(win), nullptr);
}

TEST_P(KDocWrapperWindows, PulldownWinIsNullWithoutDescriptor) {
    EXPECT_EQ(wrapper().getPulldownWin(w.window()), nullptr);
}

TEST_P(KDocWrapperWindows, PulldownKindIsASigned16BitField) {
    KWin* win = w.window();
    // 1007 in the low half, other bits in the two bytes that follow.
    writeHostField<std::uint32_t>(w.descriptor(win), kDescriptorKind, 0x7FFF0000u | 1007u);
    EXPECT_NE(wrapper().getPulldownWin(win), nullptr);
    KWin* negative = w.window();
    w.setKind(negative, static_cast<std::int16_t>(-1007));
    EXPECT_EQ(wrapper().getPulldownWin(negative), nullptr);
}

TEST_P(KDocWrapperWindows, PulldownCountAndEntriesAreReadFromTheirOffsets) {
    const ExpectedOffsets e = expectedOffsets(GetParam().name);
    KWin* list = w.window();
    KWin* first = w.window("One");
    KWin* second = w.window("Two");
    KWin* third = w.window("Three");
    w.makePulldown(list, {first, second, third});
    ASSERT_EQ(readHostField<std::int32_t>(list, e.pulldownCount), 3);
    ASSERT_EQ(readHostPointer<KWin>(list, e.pulldownEntries + 8), third);
    KPulldownWin* pulldown = wrapper().getPulldownWin(list);
    EXPECT_EQ(wrapper().getWinCountInPulldownWin(pulldown), 3);
    EXPECT_EQ(wrapper().getWinInPulldownWin(pulldown, 0), first);
    EXPECT_EQ(wrapper().getWinInPulldownWin(pulldown, 1), second);
    EXPECT_EQ(wrapper().getWinInPulldownWin(pulldown, 2), third);
}

TEST_P(KDocWrapperWindows, PulldownEntryIndexIsNotBoundsChecked) {
    KWin* list = w.window();
    KWin* first = w.window();
    KWin* beyond = w.window();
    w.makePulldown(list, {first, beyond});
    writeHostField<std::int32_t>(list, winLayout().pulldownCount, 1);
    KPulldownWin* pulldown = wrapper().getPulldownWin(list);
    EXPECT_EQ(wrapper().getWinCountInPulldownWin(pulldown), 1);
    EXPECT_EQ(wrapper().getWinInPulldownWin(pulldown, 1), beyond);
}

// ------------------------------------------------------------ copyButtonNameToButtonText

TEST_P(KDocWrapperWindows, CopyNameToTextSharesTheNameRecord) {
    KWin* win = w.window(nullptr, "progress");
    void* name = w.nameOf(win);
    wrapper().copyButtonNameToButtonText(win);
    EXPECT_EQ(w.textOf(win), name);
    EXPECT_EQ(w.nameOf(win), name);
    EXPECT_STREQ(wrapper().getButtonText(win), "progress");
}

TEST_P(KDocWrapperWindows, CopyNameToTextKeepsAnExistingTextRecord) {
    KWin* win = w.window("", "progress");
    void* text = w.textOf(win);
    wrapper().copyButtonNameToButtonText(win);
    EXPECT_EQ(w.textOf(win), text);
}

TEST_P(KDocWrapperWindows, CopyNameToTextWithoutDescriptorChangesNothing) {
    KWin* win = w.window();
    wrapper().copyButtonNameToButtonText(win);
    EXPECT_EQ(w.textOf(win), nullptr);
}

TEST_P(KDocWrapperWindows, CopyNameToTextWithoutNameRecordChangesNothing) {
    KWin* win = w.window();
    w.setText2(win, "second");
    wrapper().copyButtonNameToButtonText(win);
    EXPECT_EQ(w.textOf(win), nullptr);
}

TEST_P(KDocWrapperWindows, CopyNameToTextIgnoresNullWindow) {
    wrapper().copyButtonNameToButtonText(nullptr);
    SUCCEED();
}

// ------------------------------------------------------------ button text

TEST_P(KDocWrapperWindows, ButtonTextIsTheTextRecordsCharacters) {
    KWin* win = w.window("Start", "startButton");
    EXPECT_EQ(wrapper().getButtonText(win), FakeHostWindows::chars(w.textOf(win)));
    EXPECT_STREQ(wrapper().getButtonText(win), "Start");
}

TEST_P(KDocWrapperWindows, ButtonTextOfEmptyRecordIsEmptyNotNull) {
    KWin* win = w.window("");
    ASSERT_NE(wrapper().getButtonText(win), nullptr);
    EXPECT_STREQ(wrapper().getButtonText(win), "");
}

TEST_P(KDocWrapperWindows, ButtonTextIsNullWithoutTextRecord) {
    EXPECT_EQ(wrapper().getButtonText(w.window(nullptr, "name")), nullptr);
    EXPECT_EQ(wrapper().getButtonText(nullptr), nullptr);
}

TEST_P(KDocWrapperWindows, SetButtonTextStoresLengthAndCharacters) {
    KWin* win = w.window("Old text");
    wrapper().setButtonText(win, "Saving");
    EXPECT_EQ(FakeHostWindows::lengthOf(w.textOf(win)), 6u);
    EXPECT_STREQ(FakeHostWindows::chars(w.textOf(win)), "Saving");
}

TEST_P(KDocWrapperWindows, SetButtonTextCopiesLengthPlusOneBytes) {
    KWin* win = w.window("Old text");
    wrapper().setButtonText(win, "Go");
    const char* chars = FakeHostWindows::chars(w.textOf(win));
    EXPECT_EQ(std::memcmp(chars, "Go\0 text", 8), 0);
}

TEST_P(KDocWrapperWindows, SetButtonTextNullEmptiesTheRecord) {
    KWin* win = w.window("Old");
    wrapper().setButtonText(win, nullptr);
    const char* chars = FakeHostWindows::chars(w.textOf(win));
    EXPECT_EQ(FakeHostWindows::lengthOf(w.textOf(win)), 0u);
    EXPECT_EQ(chars[0], '\0');
    EXPECT_EQ(chars[1], 'l');  // only the first character is cleared
}

TEST_P(KDocWrapperWindows, SetButtonTextOf255CharactersEndsWithNul) {
    KWin* win = w.window("Old");
    const std::string text(255, 'a');
    wrapper().setButtonText(win, text.c_str());
    const char* chars = FakeHostWindows::chars(w.textOf(win));
    EXPECT_EQ(FakeHostWindows::lengthOf(w.textOf(win)), 255u);
    EXPECT_EQ(chars[254], 'a');
    EXPECT_EQ(chars[255], '\0');
}

TEST_P(KDocWrapperWindows, SetButtonTextCapsLongTextAt255AndCopies256Bytes) {
    KWin* win = w.window("Old");
    unsigned char* record = static_cast<unsigned char*>(w.textOf(win));
    record[kTextChars + 256] = 0x5A;  // just past the copy
    std::string text;
    for (int i = 0; i < 300; ++i) text += static_cast<char>('A' + i % 26);
    wrapper().setButtonText(win, text.c_str());
    const char* chars = FakeHostWindows::chars(record);
    EXPECT_EQ(FakeHostWindows::lengthOf(record), 255u);
    EXPECT_EQ(std::memcmp(chars, text.data(), 255), 0);
    EXPECT_EQ(chars[255], text[255]);  // the text's 256th character, not a NUL
    EXPECT_EQ(chars[255], 'V');
    EXPECT_EQ(record[kTextChars + 256], 0x5A);
}

TEST_P(KDocWrapperWindows, SetButtonTextWithoutTextRecordChangesNothing) {
    KWin* win = w.window(nullptr, "name");
    void* name = w.nameOf(win);
    wrapper().setButtonText(win, "New");
    EXPECT_EQ(w.textOf(win), nullptr);
    EXPECT_STREQ(FakeHostWindows::chars(name), "name");
    wrapper().setButtonText(nullptr, "New");
}
