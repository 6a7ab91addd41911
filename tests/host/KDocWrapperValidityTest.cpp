#include "FakeHostWindows.h"

#include "host/KDocWrappers.h"

#include <gtest/gtest.h>

#include <string>

namespace {

class KDocWrapperValidity : public ::testing::TestWithParam<FakeHostBuild> {
protected:
    KDocWrapper& wrapper() { return GetParam().wrapper(); }
    bool docIsValid(KDoc* doc) { return GetParam().docIsValid(doc); }
    const KWinLayout& winLayout() { return GetParam().layout.win; }

    // main > {tools > {button, slider}, view}; the active view is `button`.
    struct Tree {
        KWin *main, *tools, *button, *slider, *view;
        KDoc* doc;
    };
    Tree tree() {
        Tree t;
        t.main = w.window(nullptr, "main");
        t.tools = w.window(nullptr, "tools");
        t.button = w.window(nullptr, "button");
        t.slider = w.window(nullptr, "slider");
        t.view = w.window(nullptr, "view");
        w.link(t.main, t.tools);
        w.link(t.main, t.view);
        w.link(t.tools, t.button);
        w.link(t.tools, t.slider);
        t.doc = w.document(t.slider);
        return t;
    }

    FakeHostMemory memory;
    FakeHostWindows w{memory, GetParam().layout};
};

std::string buildName(const ::testing::TestParamInfo<FakeHostBuild>& info) { return info.param.name; }

INSTANTIATE_TEST_SUITE_P(AllBuilds, KDocWrapperValidity, ::testing::ValuesIn(kFakeHostBuilds), buildName);

}  // namespace

TEST_P(KDocWrapperValidity, NullDocumentIsInvalid) {
    EXPECT_FALSE(docIsValid(nullptr));
    EXPECT_EQ(wrapper().getActiveView(nullptr), nullptr);
}

TEST_P(KDocWrapperValidity, WellLinkedTreeIsValid) {
    const Tree t = tree();
    EXPECT_TRUE(docIsValid(t.doc));
}

TEST_P(KDocWrapperValidity, ActiveViewOfValidDocument) {
    const Tree t = tree();
    EXPECT_EQ(wrapper().getActiveView(t.doc), t.slider);
}

TEST_P(KDocWrapperValidity, ActiveViewIsReadAtTheBuildsOffset) {
    const Tree t = tree();
    KDoc* doc = memory.record<KDoc>(FakeHostWindows::kDocumentBytes);
    FakeHostMemory::link(doc, GetParam().layout.docActiveView, t.button);
    EXPECT_EQ(wrapper().getActiveView(doc), t.button);
}

TEST_P(KDocWrapperValidity, DocumentWithoutActiveViewIsValid) {
    KDoc* doc = w.document(nullptr);
    EXPECT_TRUE(docIsValid(doc));
    EXPECT_EQ(wrapper().getActiveView(doc), nullptr);
}

TEST_P(KDocWrapperValidity, ChainOf19WindowsIsAccepted) {
    KWin* bottom = w.chain(19);
    EXPECT_TRUE(docIsValid(w.document(bottom)));
}

TEST_P(KDocWrapperValidity, ChainOf20WindowsIsRejected) {
    KWin* bottom = w.chain(20);
    KDoc* doc = w.document(bottom);
    EXPECT_FALSE(docIsValid(doc));
    EXPECT_EQ(wrapper().getActiveView(doc), nullptr);
}

TEST_P(KDocWrapperValidity, ParentCycleIsRejected) {
    KWin* a = w.window();
    KWin* b = w.window();
    w.link(a, b);
    FakeHostMemory::link(a, winLayout().parent, b);  // a and b are each other's parent
    FakeHostMemory::link(b, winLayout().firstChild, a);
    EXPECT_FALSE(docIsValid(w.document(b)));
}

TEST_P(KDocWrapperValidity, ChildWithWrongParentIsRejected) {
    const Tree t = tree();
    KWin* child = w.window();
    w.link(t.slider, child);
    FakeHostMemory::link(child, winLayout().parent, t.button);
    EXPECT_FALSE(docIsValid(t.doc));
}

TEST_P(KDocWrapperValidity, NextSiblingWithWrongBackLinkIsRejected) {
    const Tree t = tree();
    FakeHostMemory::link(t.tools, winLayout().nextSibling, t.view);
    FakeHostMemory::link(t.view, winLayout().prevSibling, t.main);
    // The active view is below tools: the broken link is found on the way up.
    EXPECT_FALSE(docIsValid(t.doc));
}

TEST_P(KDocWrapperValidity, NextSiblingWithOtherParentIsRejected) {
    const Tree t = tree();
    KDoc* doc = w.document(t.button);
    FakeHostMemory::link(t.slider, winLayout().parent, t.view);
    EXPECT_FALSE(docIsValid(doc));
}

TEST_P(KDocWrapperValidity, PreviousSiblingWithWrongBackLinkIsRejected) {
    const Tree t = tree();
    FakeHostMemory::link(t.button, winLayout().nextSibling, t.view);
    EXPECT_FALSE(docIsValid(t.doc));
}

TEST_P(KDocWrapperValidity, PreviousSiblingWithOtherParentIsRejected) {
    const Tree t = tree();
    FakeHostMemory::link(t.button, winLayout().parent, t.view);
    EXPECT_FALSE(docIsValid(t.doc));
}

TEST_P(KDocWrapperValidity, SiblingsOfWindowsOffThePathAreNotChecked) {
    const Tree t = tree();
    KWin* stray = w.window();
    // view's child points back at the wrong parent, but view is not on the
    // path from the active view (slider) to the top.
    FakeHostMemory::link(t.view, winLayout().firstChild, stray);
    EXPECT_TRUE(docIsValid(t.doc));
}

TEST_P(KDocWrapperValidity, ActiveViewInUnmappedMemoryIsInvalid) {
    KDoc* doc = w.document(static_cast<KWin*>(memory.unmappedAddress()));
    EXPECT_FALSE(docIsValid(doc));
    EXPECT_EQ(wrapper().getActiveView(doc), nullptr);
}

TEST_P(KDocWrapperValidity, ActiveViewInUnreadableMemoryIsInvalid) {
    KDoc* doc = w.document(static_cast<KWin*>(memory.protectedAddress()));
    EXPECT_FALSE(docIsValid(doc));
}

TEST_P(KDocWrapperValidity, ParentInUnmappedMemoryIsInvalid) {
    const Tree t = tree();
    FakeHostMemory::link(t.main, winLayout().parent, memory.unmappedAddress());
    EXPECT_FALSE(docIsValid(t.doc));
}

TEST_P(KDocWrapperValidity, DocumentInUnmappedMemoryIsInvalid) {
    EXPECT_FALSE(docIsValid(static_cast<KDoc*>(memory.unmappedAddress())));
}

TEST_P(KDocWrapperValidity, WalkCanBeRepeatedAfterAFault) {
    const Tree t = tree();
    EXPECT_FALSE(docIsValid(w.document(static_cast<KWin*>(memory.unmappedAddress()))));
    EXPECT_TRUE(docIsValid(t.doc));
}

TEST(KDocWrapperValidityLayouts, ActiveViewOffsetTellsBuildsApart) {
    FakeHostMemory memory;
    FakeHostWindows w(memory, kFakeLayout31);
    KWin* view = w.window();
    KDoc* doc = w.document(view);  // active view at 524 only
    EXPECT_EQ(KDocWrapper31::instance().getActiveView(doc), view);
    EXPECT_EQ(KDocWrapper312::instance().getActiveView(doc), nullptr);
    EXPECT_EQ(KDocWrapper312B43::instance().getActiveView(doc), nullptr);
}
