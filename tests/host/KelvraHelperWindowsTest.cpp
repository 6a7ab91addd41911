#include "FakeDocWrapper.h"
#include "FakeHostWindows.h"
#include "host/KelvraHelper.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

class KelvraHelperWindows : public ::testing::Test {
protected:
    void SetUp() override {
        m_savedWrapper = KelvraHelper::s_docWrapper;
        KelvraHelper::s_docWrapper = &fake;
    }
    void TearDown() override { KelvraHelper::s_docWrapper = m_savedWrapper; }

    using Window = FakeDocWrapper::Window;
    static Window& at(KWin* w) { return FakeDocWrapper::at(w); }
    static KWin* h(Window* w) { return FakeDocWrapper::handle(w); }

    // Parent with children a, b, c.
    void buildThreeChildren() {
        p = fake.create("P");
        a = fake.addChild(p, "A");
        b = fake.addChild(p, "B");
        c = fake.addChild(p, "C");
    }

    FakeDocWrapper fake;
    KWin* p = nullptr;
    KWin* a = nullptr;
    KWin* b = nullptr;
    KWin* c = nullptr;

private:
    KDocWrapper* m_savedWrapper = nullptr;
};

// ------------------------------------------------------------ getRootWindow

TEST_F(KelvraHelperWindows, RootOfADeepWindowIsTheFirstTopLevelWindow) {
    KWin* top1 = fake.create("Top1");
    KWin* top2 = fake.create("Top2");
    KWin* top3 = fake.create("Top3");
    fake.linkAfter(top1, top2);
    fake.linkAfter(top2, top3);
    KWin* mid = fake.addChild(top3, "Mid");
    fake.addChild(mid, "Before");
    KWin* deep = fake.addChild(mid, "Deep");
    EXPECT_EQ(KelvraHelper::getRootWindow(deep), top1);
}

TEST_F(KelvraHelperWindows, RootOfALoneWindowIsItself) {
    KWin* lone = fake.create("Lone");
    EXPECT_EQ(KelvraHelper::getRootWindow(lone), lone);
}

TEST_F(KelvraHelperWindows, RootClimbsPreviousSiblingsAtEveryLevelItPasses) {
    // A later child first walks back to its parent, never stopping at the
    // first child; the parent's previous siblings follow.
    buildThreeChildren();
    KWin* before = fake.create("Before");
    fake.linkAfter(before, p);
    EXPECT_EQ(KelvraHelper::getRootWindow(c), before);
}

TEST_F(KelvraHelperWindows, RootOfNullIsNull) { EXPECT_EQ(KelvraHelper::getRootWindow(nullptr), nullptr); }

// ---------------------------------------------------------- getParentWindow

TEST_F(KelvraHelperWindows, ParentWindowIsTheParentLink) {
    buildThreeChildren();
    EXPECT_EQ(KelvraHelper::getParentWindow(b), p);
    EXPECT_EQ(KelvraHelper::getParentWindow(p), nullptr);
}

TEST_F(KelvraHelperWindows, ParentWindowOfNullIsNull) { EXPECT_EQ(KelvraHelper::getParentWindow(nullptr), nullptr); }

// -------------------------------------------------------- getWindowFromPath

TEST_F(KelvraHelperWindows, EmptyPathNamesTheStartWindow) {
    buildThreeChildren();
    EXPECT_EQ(KelvraHelper::getWindowFromPath(p, QMString("")), p);
    EXPECT_EQ(KelvraHelper::getWindowFromPath(b, QMString()), b);
}

TEST_F(KelvraHelperWindows, SingleTextFindsTheChildIgnoringCase) {
    buildThreeChildren();
    EXPECT_EQ(KelvraHelper::getWindowFromPath(p, QMString("b")), b);
}

TEST_F(KelvraHelperWindows, TwoLevelPathGoesThroughWindowsWithoutTextIgnoringCase) {
    KWin* root = fake.create();
    fake.addChild(root, "Edit");
    KWin* file = fake.addChild(root, "File");
    KWin* group1 = fake.addChild(file);
    KWin* group2 = fake.addChild(group1);
    fake.addChild(group2, "Close");
    KWin* open = fake.addChild(group2, "Open");
    EXPECT_EQ(KelvraHelper::getWindowFromPath(root, QMString("fILE:oPEN")), open);
}

TEST_F(KelvraHelperWindows, HeadIsComparedOverTheWholeText) {
    buildThreeChildren();
    KWin* ab = fake.addChild(p, "AB");
    EXPECT_EQ(KelvraHelper::getWindowFromPath(p, QMString("ab")), ab);
    EXPECT_EQ(KelvraHelper::getWindowFromPath(p, QMString("A")), a);
    EXPECT_EQ(KelvraHelper::getWindowFromPath(p, QMString("ABC")), nullptr);
}

TEST_F(KelvraHelperWindows, UnknownTextGivesNull) {
    buildThreeChildren();
    EXPECT_EQ(KelvraHelper::getWindowFromPath(p, QMString("D")), nullptr);
    EXPECT_EQ(KelvraHelper::getWindowFromPath(p, QMString("A:B")), nullptr);
}

TEST_F(KelvraHelperWindows, PathTextsOnlyMatchBelowTheStartWindow) {
    buildThreeChildren();
    // The start's own text is not part of the path.
    EXPECT_EQ(KelvraHelper::getWindowFromPath(p, QMString("P")), nullptr);
}

TEST_F(KelvraHelperWindows, MatchingWindowWithoutTheRestDoesNotStopTheSearch) {
    KWin* root = fake.create("Root");
    KWin* first = fake.addChild(root, "Menu");
    fake.addChild(first, "Other");
    KWin* second = fake.addChild(root, "MENU");
    KWin* item = fake.addChild(second, "Item");
    EXPECT_EQ(KelvraHelper::getWindowFromPath(root, QMString("menu:item")), item);
}

TEST_F(KelvraHelperWindows, FirstMatchInTreeOrderWins) {
    KWin* root = fake.create("Root");
    KWin* group = fake.addChild(root);
    KWin* deepItem = fake.addChild(group, "Item");
    KWin* laterItem = fake.addChild(root, "Item");
    EXPECT_EQ(KelvraHelper::getWindowFromPath(root, QMString("Item")), deepItem);
    EXPECT_NE(deepItem, laterItem);
}

TEST_F(KelvraHelperWindows, WindowWithTextIsNotSearchedWithTheWholePath) {
    // "Item" lies below a window with a non-matching text: a path that does
    // not name "Wrapper" cannot reach it.
    KWin* root = fake.create("Root");
    KWin* wrapper = fake.addChild(root, "Wrapper");
    fake.addChild(wrapper, "Item");
    EXPECT_EQ(KelvraHelper::getWindowFromPath(root, QMString("Item")), nullptr);
}

TEST_F(KelvraHelperWindows, WindowTextFallsBackToTheDescriptorName) {
    KWin* root = fake.create("Root");
    KWin* named = fake.addChild(root);
    fake.setName(named, "Tools");
    KWin* inner = fake.addChild(named, "Brush");
    EXPECT_EQ(KelvraHelper::getWindowFromPath(root, QMString("tools:brush")), inner);
}

TEST_F(KelvraHelperWindows, WindowOwnTextIsPreferredToItsName) {
    KWin* root = fake.create("Root");
    KWin* both = fake.addChild(root, "Shown");
    fake.setName(both, "Internal");
    EXPECT_EQ(KelvraHelper::getWindowFromPath(root, QMString("Shown")), both);
    EXPECT_EQ(KelvraHelper::getWindowFromPath(root, QMString("Internal")), nullptr);
}

TEST_F(KelvraHelperWindows, TrailingSeparatorNamesTheMatchedWindow) {
    buildThreeChildren();
    EXPECT_EQ(KelvraHelper::getWindowFromPath(p, QMString("c:")), c);
}

TEST_F(KelvraHelperWindows, EmptyHeadMatchesAWindowWithoutText) {
    // A null text compares equal to an empty head.
    KWin* root = fake.create("Root");
    KWin* blank = fake.addChild(root);
    KWin* x = fake.addChild(blank, "X");
    EXPECT_EQ(KelvraHelper::getWindowFromPath(root, QMString(":x")), x);
}

TEST_F(KelvraHelperWindows, PulldownCandidatesAreItsParentlessEntriesInIndexOrder) {
    KWin* root = fake.create("Root");
    KWin* list = fake.addChild(root, "List");
    KWin* ownedEntry = fake.addChild(root, "Entry");  // has a parent: skipped
    KWin* entry1 = fake.create("Entry");
    KWin* entry2 = fake.create("Entry");
    KWin* child = fake.addChild(list, "Entry");  // children of a pull-down are not searched
    fake.makePulldown(list, {ownedEntry, entry1, entry2});
    EXPECT_EQ(KelvraHelper::getWindowFromPath(list, QMString("entry")), entry1);
    EXPECT_NE(child, entry1);
}

TEST_F(KelvraHelperWindows, PathContinuesIntoPulldownEntries) {
    KWin* root = fake.create("Root");
    KWin* list = fake.addChild(root, "Shapes");
    KWin* sphere = fake.create("Sphere");
    KWin* cube = fake.create("Cube");
    fake.makePulldown(list, {sphere, cube});
    EXPECT_EQ(KelvraHelper::getWindowFromPath(root, QMString("shapes:cube")), cube);
}

TEST_F(KelvraHelperWindows, PulldownChildrenAreNotCandidates) {
    KWin* list = fake.create("List");
    fake.addChild(list, "Child");
    fake.makePulldown(list, {});
    EXPECT_EQ(KelvraHelper::getWindowFromPath(list, QMString("Child")), nullptr);
}

TEST_F(KelvraHelperWindows, NullStartWithAPathGivesNull) {
    EXPECT_EQ(KelvraHelper::getWindowFromPath(nullptr, QMString("A")), nullptr);
}

// ------------------------------------------------------ getWindowChildIndex

TEST_F(KelvraHelperWindows, ChildIndexCountsFromZero) {
    buildThreeChildren();
    EXPECT_EQ(KelvraHelper::getWindowChildIndex(a), 0);
    EXPECT_EQ(KelvraHelper::getWindowChildIndex(b), 1);
    EXPECT_EQ(KelvraHelper::getWindowChildIndex(c), 2);
}

TEST_F(KelvraHelperWindows, ChildIndexOfATopLevelWindowIsMinusOne) {
    KWin* top1 = fake.create("Top1");
    KWin* top2 = fake.create("Top2");
    fake.linkAfter(top1, top2);
    EXPECT_EQ(KelvraHelper::getWindowChildIndex(top1), -1);
    EXPECT_EQ(KelvraHelper::getWindowChildIndex(top2), -1);
}

TEST_F(KelvraHelperWindows, ChildIndexOfNullIsMinusOne) { EXPECT_EQ(KelvraHelper::getWindowChildIndex(nullptr), -1); }

TEST_F(KelvraHelperWindows, ChildIndexIsMinusOneWhenTheParentDoesNotReachTheWindow) {
    buildThreeChildren();
    KWin* stray = fake.create("Stray");
    at(stray).parent = &at(p);  // claims p as parent but is not in its list
    EXPECT_EQ(KelvraHelper::getWindowChildIndex(stray), -1);
}

// -------------------------------------------------------- disconnectWindow

TEST_F(KelvraHelperWindows, DisconnectingADetachedWindowIsRefusedAndChangesNothing) {
    KWin* lone = fake.create("Lone");
    KWin* kid = fake.addChild(lone, "Kid");
    EXPECT_FALSE(KelvraHelper::disconnectWindow(lone));
    EXPECT_EQ(at(lone).parent, nullptr);
    EXPECT_EQ(at(lone).prev, nullptr);
    EXPECT_EQ(at(lone).next, nullptr);
    EXPECT_EQ(at(lone).child, &at(kid));
    EXPECT_EQ(at(kid).parent, &at(lone));
}

TEST_F(KelvraHelperWindows, DisconnectingNullIsRefused) { EXPECT_FALSE(KelvraHelper::disconnectWindow(nullptr)); }

TEST_F(KelvraHelperWindows, DisconnectingTheMiddleChildJoinsItsSiblings) {
    buildThreeChildren();
    KWin* grandchild = fake.addChild(b, "G");
    EXPECT_TRUE(KelvraHelper::disconnectWindow(b));
    EXPECT_EQ(fake.children(p), (std::vector<KWin*>{a, c}));
    EXPECT_EQ(at(a).next, &at(c));
    EXPECT_EQ(at(c).prev, &at(a));
    EXPECT_EQ(at(b).parent, nullptr);
    EXPECT_EQ(at(b).prev, nullptr);
    EXPECT_EQ(at(b).next, nullptr);
    EXPECT_EQ(at(b).child, &at(grandchild));  // its own children stay
}

TEST_F(KelvraHelperWindows, DisconnectingTheFirstChildMakesTheNextOneFirst) {
    buildThreeChildren();
    EXPECT_TRUE(KelvraHelper::disconnectWindow(a));
    EXPECT_EQ(at(p).child, &at(b));
    EXPECT_EQ(at(b).prev, nullptr);
    EXPECT_EQ(fake.children(p), (std::vector<KWin*>{b, c}));
}

TEST_F(KelvraHelperWindows, DisconnectingTheLastChildEndsTheListBeforeIt) {
    buildThreeChildren();
    EXPECT_TRUE(KelvraHelper::disconnectWindow(c));
    EXPECT_EQ(at(b).next, nullptr);
    EXPECT_EQ(fake.children(p), (std::vector<KWin*>{a, b}));
}

TEST_F(KelvraHelperWindows, DisconnectingTheOnlyChildEmptiesTheParent) {
    KWin* parent = fake.create("P");
    KWin* only = fake.addChild(parent, "Only");
    EXPECT_TRUE(KelvraHelper::disconnectWindow(only));
    EXPECT_EQ(at(parent).child, nullptr);
    EXPECT_EQ(at(only).parent, nullptr);
}

TEST_F(KelvraHelperWindows, DisconnectingATopLevelSiblingUnlinksIt) {
    KWin* top1 = fake.create("Top1");
    KWin* top2 = fake.create("Top2");
    KWin* top3 = fake.create("Top3");
    fake.linkAfter(top1, top2);
    fake.linkAfter(top2, top3);
    EXPECT_TRUE(KelvraHelper::disconnectWindow(top2));
    EXPECT_EQ(at(top1).next, &at(top3));
    EXPECT_EQ(at(top3).prev, &at(top1));
    EXPECT_EQ(at(top2).prev, nullptr);
    EXPECT_EQ(at(top2).next, nullptr);
}

// --------------------------------------------------------------- moveWindow

TEST_F(KelvraHelperWindows, MovingTheFirstChildToIndexZeroIsRefused) {
    buildThreeChildren();
    EXPECT_FALSE(KelvraHelper::moveWindow(a, p, 0));
    EXPECT_EQ(fake.children(p), (std::vector<KWin*>{a, b, c}));
}

TEST_F(KelvraHelperWindows, MovingTheSecondChildToIndexOneIsRefused) {
    buildThreeChildren();
    EXPECT_FALSE(KelvraHelper::moveWindow(b, p, 1));
    EXPECT_EQ(fake.children(p), (std::vector<KWin*>{a, b, c}));
    EXPECT_EQ(at(b).prev, &at(a));
    EXPECT_EQ(at(b).next, &at(c));
}

TEST_F(KelvraHelperWindows, MovingTheFirstChildToIndexOneIsRefused) {
    // Index 1 places the window after the first child, which is the window.
    buildThreeChildren();
    EXPECT_FALSE(KelvraHelper::moveWindow(a, p, 1));
    EXPECT_EQ(fake.children(p), (std::vector<KWin*>{a, b, c}));
}

TEST_F(KelvraHelperWindows, MovingWithANullWindowIsRefused) {
    buildThreeChildren();
    EXPECT_FALSE(KelvraHelper::moveWindow(nullptr, p, 0));
    EXPECT_FALSE(KelvraHelper::moveWindow(a, nullptr, 0));
    EXPECT_EQ(fake.children(p), (std::vector<KWin*>{a, b, c}));
}

TEST_F(KelvraHelperWindows, MovingIntoAParentWithoutChildrenIgnoresTheIndex) {
    buildThreeChildren();
    KWin* empty = fake.create("Empty");
    EXPECT_TRUE(KelvraHelper::moveWindow(b, empty, 5));
    EXPECT_EQ(fake.children(empty), (std::vector<KWin*>{b}));
    EXPECT_EQ(at(b).parent, &at(empty));
    EXPECT_EQ(at(b).prev, nullptr);
    EXPECT_EQ(at(b).next, nullptr);
    EXPECT_EQ(fake.children(p), (std::vector<KWin*>{a, c}));
}

TEST_F(KelvraHelperWindows, MovingADetachedWindowIntoAParentWithoutChildren) {
    KWin* parent = fake.create("P");
    KWin* lone = fake.create("Lone");
    EXPECT_TRUE(KelvraHelper::moveWindow(lone, parent, 0));
    EXPECT_EQ(fake.children(parent), (std::vector<KWin*>{lone}));
    EXPECT_EQ(at(lone).parent, &at(parent));
}

TEST_F(KelvraHelperWindows, MovingToIndexZeroMakesTheWindowFirst) {
    buildThreeChildren();
    EXPECT_TRUE(KelvraHelper::moveWindow(c, p, 0));
    EXPECT_EQ(fake.children(p), (std::vector<KWin*>{c, a, b}));
    EXPECT_EQ(at(c).prev, nullptr);
    EXPECT_EQ(at(a).prev, &at(c));
    EXPECT_EQ(at(b).next, nullptr);
    EXPECT_EQ(at(c).parent, &at(p));
}

TEST_F(KelvraHelperWindows, NegativeIndexMakesTheWindowFirst) {
    buildThreeChildren();
    EXPECT_TRUE(KelvraHelper::moveWindow(b, p, -3));
    EXPECT_EQ(fake.children(p), (std::vector<KWin*>{b, a, c}));
}

TEST_F(KelvraHelperWindows, MovingToIndexOnePlacesTheWindowAfterTheFirstChild) {
    buildThreeChildren();
    EXPECT_TRUE(KelvraHelper::moveWindow(c, p, 1));
    EXPECT_EQ(fake.children(p), (std::vector<KWin*>{a, c, b}));
    EXPECT_EQ(at(c).prev, &at(a));
    EXPECT_EQ(at(c).next, &at(b));
    EXPECT_EQ(at(b).prev, &at(c));
    EXPECT_EQ(at(b).next, nullptr);
}

TEST_F(KelvraHelperWindows, MovingTheFirstChildToIndexTwo) {
    buildThreeChildren();
    // Index 2 counts the window's old place too: it lands after b.
    EXPECT_TRUE(KelvraHelper::moveWindow(a, p, 2));
    EXPECT_EQ(fake.children(p), (std::vector<KWin*>{b, a, c}));
    EXPECT_EQ(at(p).child, &at(b));
    EXPECT_EQ(at(b).prev, nullptr);
    EXPECT_EQ(at(a).prev, &at(b));
    EXPECT_EQ(at(a).next, &at(c));
    EXPECT_EQ(at(c).prev, &at(a));
}

TEST_F(KelvraHelperWindows, IndexPastTheEndPlacesTheWindowLast) {
    buildThreeChildren();
    KWin* other = fake.create("Other");
    KWin* moved = fake.addChild(other, "Moved");
    EXPECT_TRUE(KelvraHelper::moveWindow(moved, p, 99));
    EXPECT_EQ(fake.children(p), (std::vector<KWin*>{a, b, c, moved}));
    EXPECT_EQ(at(moved).parent, &at(p));
    EXPECT_EQ(at(moved).prev, &at(c));
    EXPECT_EQ(at(moved).next, nullptr);
    EXPECT_EQ(at(c).next, &at(moved));
    EXPECT_EQ(at(other).child, nullptr);
}

TEST_F(KelvraHelperWindows, MovingBetweenParentsAtAnIndexInTheMiddle) {
    buildThreeChildren();
    KWin* other = fake.create("Other");
    KWin* x = fake.addChild(other, "X");
    KWin* y = fake.addChild(other, "Y");
    EXPECT_TRUE(KelvraHelper::moveWindow(x, p, 2));
    EXPECT_EQ(fake.children(p), (std::vector<KWin*>{a, b, x, c}));
    EXPECT_EQ(fake.children(other), (std::vector<KWin*>{y}));
    EXPECT_EQ(at(y).prev, nullptr);
    EXPECT_EQ(KelvraHelper::getWindowChildIndex(x), 2);
}

TEST_F(KelvraHelperWindows, MovingTheLastChildPastTheEndIsRefused) {
    // The neighbours found for a large index end at the window itself.
    buildThreeChildren();
    EXPECT_FALSE(KelvraHelper::moveWindow(c, p, 10));
    EXPECT_EQ(fake.children(p), (std::vector<KWin*>{a, b, c}));
}

}  // namespace

// ------------------------------------------- over host records of every build

namespace {

class KelvraHelperHostWindows : public ::testing::TestWithParam<FakeHostBuild> {
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

INSTANTIATE_TEST_SUITE_P(AllBuilds, KelvraHelperHostWindows, ::testing::ValuesIn(kFakeHostBuilds), buildName);

TEST_P(KelvraHelperHostWindows, PathFindsAWindowThroughAPulldownAndAGroup) {
    KWin* root = w.window();
    KWin* menu = w.window("Menu");
    KWin* list = w.window("Shapes");
    KWin* group = w.window();
    KWin* cube = w.window(nullptr, "Cube");  // matched through its name
    w.link(root, menu);
    w.link(menu, list);
    w.makePulldown(list, {group});
    w.link(group, cube);
    EXPECT_EQ(KelvraHelper::getWindowFromPath(root, QMString("menu:SHAPES:cube")), cube);
    EXPECT_EQ(KelvraHelper::getRootWindow(cube), group);  // pull-down entries have no parent
    EXPECT_EQ(KelvraHelper::getRootWindow(list), root);
}

TEST_P(KelvraHelperHostWindows, MoveRelinksHostRecords) {
    KWin* p = w.window("P");
    KWin* a = w.window("A");
    KWin* b = w.window("B");
    KWin* c = w.window("C");
    w.link(p, a);
    w.link(p, b);
    w.link(p, c);
    ASSERT_TRUE(KelvraHelper::moveWindow(c, p, 0));
    EXPECT_EQ(w.firstChildOf(p), c);
    EXPECT_EQ(w.prevOf(c), nullptr);
    EXPECT_EQ(w.nextOf(c), a);
    EXPECT_EQ(w.prevOf(a), c);
    EXPECT_EQ(w.nextOf(b), nullptr);
    EXPECT_EQ(KelvraHelper::getWindowChildIndex(b), 2);
    EXPECT_FALSE(KelvraHelper::moveWindow(a, p, 1));
}

}  // namespace
