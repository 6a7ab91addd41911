#include "ScriptTestFixture.h"

#include "plugin/DeclaredVekFiles.h"

using Strings = std::vector<std::string>;

namespace {

Strings texts(const QMArray<QMString>& strings) {
    Strings out;
    for (const QMString& s : strings) out.push_back(s.c_str() ? s.c_str() : "<null>");
    return out;
}

std::vector<int> flags() {
    const QMArray<char>& visibility = getDeclaredVekFileVisibility();
    return std::vector<int>(visibility.begin(), visibility.end());
}

}  // namespace

TEST_F(ScriptTest, AddedFilesAreTheirOwnTextureNamesAndVisible) {
    declare({"/a.vek", "/b.vek"});
    EXPECT_EQ(texts(getDeclaredVekFileNames()), (Strings{"/a.vek", "/b.vek"}));
    EXPECT_EQ(texts(getDeclaredTextureFileNames()), (Strings{"/a.vek", "/b.vek"}));
    EXPECT_EQ(flags(), (std::vector<int>{1, 1}));
}

TEST_F(ScriptTest, TextureNameChangesOnlyTheLastFile) {
    declare({"/a.vek", "/b.vek"});
    EXPECT_EQ(host.call("SetTextureFileNameForLastVek", "/tex/skin.png"), 0.0);
    EXPECT_EQ(texts(getDeclaredTextureFileNames()), (Strings{"/a.vek", "/tex/skin.png"}));
    EXPECT_EQ(texts(getDeclaredVekFileNames()), (Strings{"/a.vek", "/b.vek"}));
}

TEST_F(ScriptTest, InvisibleChangesOnlyTheLastFlag) {
    declare({"/a.vek", "/b.vek"});
    EXPECT_EQ(host.call("DeclareLastVekInvisible"), 0.0);
    EXPECT_EQ(flags(), (std::vector<int>{1, 0}));
}

TEST_F(ScriptTest, StartEmptiesAllThreeLists) {
    declare({"/a.vek", "/b.vek"});
    host.call("StartDeclareVekFiles");
    EXPECT_TRUE(getDeclaredVekFileNames().empty());
    EXPECT_TRUE(getDeclaredTextureFileNames().empty());
    EXPECT_TRUE(getDeclaredVekFileVisibility().empty());
}

TEST_F(ScriptTest, SameFileTwiceIsDeclaredTwice) {
    declare({"/a.vek", "/a.vek"});
    EXPECT_EQ(getDeclaredVekFileNames().size(), 2u);
}

TEST_F(ScriptTest, NullTextIsStoredAsEmptyString) {
    declare({});
    host.call("AddOneVekFile", nullptr);
    ASSERT_EQ(getDeclaredVekFileNames().size(), 1u);
    EXPECT_TRUE(getDeclaredVekFileNames()[0].empty());
    EXPECT_TRUE(getDeclaredTextureFileNames()[0].empty());
}

TEST_F(ScriptTest, CallsOnTheLastFileOfAnEmptyListAreIgnored) {
    host.call("StartDeclareVekFiles");
    EXPECT_EQ(host.call("SetTextureFileNameForLastVek", "x.png"), 0.0);
    EXPECT_EQ(host.call("DeclareLastVekInvisible"), 0.0);
    EXPECT_TRUE(getDeclaredTextureFileNames().empty());
    EXPECT_TRUE(getDeclaredVekFileVisibility().empty());
}

TEST_F(ScriptTest, RegistryCallsWriteTheirLogLines) {
    host.call("StartDeclareVekFiles");
    host.call("AddOneVekFile", "/a.vek");
    host.call("SetTextureFileNameForLastVek", "t.png");
    host.call("DeclareLastVekInvisible");
    host.call("EndDeclareVekFiles");
    host.call("DeleteDeclaredVekFiles");
    EXPECT_EQ(logLines, (Strings{"StartDeclareVekFiles called.", "AddOneVekFile called : /a.vek",
                                 "SetTextureFileNameForLastVek called : t.png", "DeclareLastVekInvisible called",
                                 "EndDeclareVekFiles called.", "DeleteDeclaredVekFiles called."}));
}

TEST_F(ScriptTest, DeleteRemovesTheFilesAndKeepsTheList) {
    const std::string a = vek("a.vek", [](vekgen::VekWriter& w) { w.endBlock(); });
    const std::string b = vek("b.vek", [](vekgen::VekWriter& w) { w.endBlock(); });
    declare({a, b});
    EXPECT_EQ(host.call("DeleteDeclaredVekFiles"), 0.0);
    EXPECT_FALSE(pathExists(a));
    EXPECT_FALSE(pathExists(b));
    EXPECT_EQ(texts(getDeclaredVekFileNames()), (Strings{a, b}));
}

TEST_F(ScriptTest, DeleteGoesOnPastMissingFiles) {
    const std::string b = vek("b.vek", [](vekgen::VekWriter& w) { w.endBlock(); });
    declare({dir.file("missing.vek"), b});
    EXPECT_EQ(host.call("DeleteDeclaredVekFiles"), 0.0);
    EXPECT_FALSE(pathExists(b));
    EXPECT_EQ(host.call("DeleteDeclaredVekFiles"), 0.0);
}
