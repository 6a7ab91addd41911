#include "FakeHostWindows.h"

#include "host/KDocWrappers.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <cstring>
#include <string>

namespace {

// What the fake entry point received, and what it returns.
struct EntryCall {
    int calls = 0;
    std::uint32_t args[6] = {};
    std::string script;
    int result = 0;
};
EntryCall g_call;

int fakeEntry(std::uint32_t a0, std::uint32_t a1, std::uint32_t a2, std::uint32_t a3, std::uint32_t a4,
              std::uint32_t a5) {
    ++g_call.calls;
    const std::uint32_t args[6] = {a0, a1, a2, a3, a4, a5};
    std::memcpy(g_call.args, args, sizeof args);
    const char* text = static_cast<const char*>(hostPointer(a4));
    g_call.script = text == nullptr ? "<null>" : text;
    return g_call.result;
}

class KUtilWrapperScript : public ::testing::Test {
protected:
    void SetUp() override { g_call = EntryCall(); }

    FakeScriptEntry entry{&fakeEntry};
    KUtilWrapper312B46& wrapper = KUtilWrapper312B46::instance();
};

}  // namespace

TEST_F(KUtilWrapperScript, NullUtilityIsRefused) {
    EXPECT_FALSE(wrapper.runKScript(nullptr, QMString("script")));
    EXPECT_EQ(g_call.calls, 0);
}

TEST_F(KUtilWrapperScript, EntryReceivesVersionCommandAndScript) {
    QMString script("[ExportAll]");
    ASSERT_TRUE(wrapper.runKScript(entry.utility(), script));
    ASSERT_EQ(g_call.calls, 1);
    EXPECT_EQ(g_call.args[0], std::bit_cast<std::uint32_t>(3.12f));
    EXPECT_EQ(g_call.args[0], 0x4047AE14u);
    EXPECT_EQ(g_call.args[1], 7u);
    EXPECT_EQ(g_call.args[2], 0u);
    EXPECT_EQ(g_call.args[3], 0u);
    EXPECT_EQ(g_call.args[5], 0u);
    EXPECT_EQ(g_call.script, "[ExportAll]");
}

TEST_F(KUtilWrapperScript, ScriptBelow4GiBIsPassedByItsOwnAddress) {
    QMString script("run");
    HostAddress address = 0;
    if (!toHostAddress(script.c_str(), address)) GTEST_SKIP() << "the heap lies above 4 GiB here";
    ASSERT_TRUE(wrapper.runKScript(entry.utility(), script));
    EXPECT_EQ(g_call.args[4], address);
}

TEST_F(KUtilWrapperScript, ScriptAbove4GiBIsPassedAsACopyBelow4GiB) {
    QMString script("copy me");
    HostAddress address = 0;
    if (toHostAddress(script.c_str(), address)) GTEST_SKIP() << "the heap lies below 4 GiB here";
    ASSERT_TRUE(wrapper.runKScript(entry.utility(), script));
    EXPECT_NE(g_call.args[4], 0u);
    EXPECT_EQ(g_call.script, "copy me");
}

TEST_F(KUtilWrapperScript, ResultZeroIsSuccess) {
    g_call.result = 0;
    EXPECT_TRUE(wrapper.runKScript(entry.utility(), QMString("x")));
}

TEST_F(KUtilWrapperScript, ResultOneIsFailure) {
    g_call.result = 1;
    EXPECT_FALSE(wrapper.runKScript(entry.utility(), QMString("x")));
    EXPECT_EQ(g_call.calls, 1);
}

TEST_F(KUtilWrapperScript, NegativeResultIsFailure) {
    g_call.result = -1;
    EXPECT_FALSE(wrapper.runKScript(entry.utility(), QMString("x")));
}

TEST_F(KUtilWrapperScript, NullScriptIsPassedAsNullAddress) {
    EXPECT_TRUE(wrapper.runKScript(entry.utility(), QMString()));
    EXPECT_EQ(g_call.args[4], 0u);
    EXPECT_EQ(g_call.script, "<null>");
}

TEST_F(KUtilWrapperScript, LongScriptArrivesWhole) {
    std::string text;
    for (int i = 0; i < 5000; ++i) text += static_cast<char>('a' + i % 26);
    EXPECT_TRUE(wrapper.runKScript(entry.utility(), QMString(text.c_str())));
    EXPECT_EQ(g_call.script, text);
}
