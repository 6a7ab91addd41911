#include "host/KelvraHelper.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

int codeFor(double version) {
    KelvraHelper::setVersion(version);
    return KelvraHelper::s_version;
}

}  // namespace

TEST(KelvraHelperVersion, Version31And311GiveCode310) {
    EXPECT_EQ(codeFor(3.1), 310);
    EXPECT_EQ(codeFor(3.11), 310);
}

TEST(KelvraHelperVersion, Version312GivesCode312) { EXPECT_EQ(codeFor(3.12), 312); }

TEST(KelvraHelperVersion, SinglePrecisionVersionsJustBelowTheirValueStillMatch) {
    ASSERT_LT(double(3.12f) * 100.0, 312.0);
    EXPECT_EQ(codeFor(double(3.12f)), 312);
    ASSERT_LT(double(3.1f) * 100.0, 310.0);
    EXPECT_EQ(codeFor(double(3.1f)), 310);
}

TEST(KelvraHelperVersion, Versions313And314GiveCode312) {
    EXPECT_EQ(codeFor(3.13), 312);
    EXPECT_EQ(codeFor(3.14), 312);
}

TEST(KelvraHelperVersion, Version309IsTooOld) { EXPECT_EQ(codeFor(3.09), 1); }

TEST(KelvraHelperVersion, Versions315To324GiveCode320) {
    EXPECT_EQ(codeFor(3.15), 320);
    EXPECT_EQ(codeFor(3.2), 320);
    EXPECT_EQ(codeFor(3.24), 320);
}

TEST(KelvraHelperVersion, Version325AndLaterGiveCode321) {
    EXPECT_EQ(codeFor(3.25), 321);
    EXPECT_EQ(codeFor(4.0), 321);
    EXPECT_EQ(codeFor(1e300), 321);
    EXPECT_EQ(codeFor(std::numeric_limits<double>::infinity()), 321);
}

TEST(KelvraHelperVersion, ZeroAndNegativeVersionsAreTooOld) {
    EXPECT_EQ(codeFor(0.0), 1);
    EXPECT_EQ(codeFor(-3.12), 1);
    EXPECT_EQ(codeFor(-1e300), 1);
}

TEST(KelvraHelperVersion, NanIsTooOld) { EXPECT_EQ(codeFor(std::nan("")), 1); }

TEST(KelvraHelperVersion, EveryCallOverwritesTheCode) {
    EXPECT_EQ(codeFor(3.12), 312);
    EXPECT_EQ(codeFor(3.1), 310);
}
