#include "support/QMLogArgument.h"

#include "support/QMString.h"

#include <gtest/gtest.h>

TEST(FormatLogLine, FormatsTextAndNumbers) {
    EXPECT_EQ(formatLogLine("AddOneVekFile called : %s", {"/a/b.vek"}), "AddOneVekFile called : /a/b.vek");
    EXPECT_EQ(formatLogLine("DeclareHeight called : %f", {12.5}), "DeclareHeight called : 12.500000");
    EXPECT_EQ(formatLogLine("  Vek Reading [Points] (%d)", {1234}), "  Vek Reading [Points] (1234)");
}

TEST(FormatLogLine, KeepsFlagsWidthAndPrecision) {
    EXPECT_EQ(formatLogLine("[%-5d|%05.1f|%3s|%x]", {42, 3.14159, "ab", 255u}), "[42   |003.1| ab|ff]");
}

TEST(FormatLogLine, ConversionWithoutArgumentIsCopiedLiterally) {
    EXPECT_EQ(formatLogLine("Script: 100% done %s and %d", {}), "Script: 100% done %s and %d");
}

TEST(FormatLogLine, DoublePercentIsOnePercent) { EXPECT_EQ(formatLogLine("50%% of %d", {8}), "50% of 8"); }

TEST(FormatLogLine, NullTextPrintsAsNull) {
    EXPECT_EQ(formatLogLine(" -> %s", {static_cast<const char*>(nullptr)}), " -> (null)");
}

TEST(FormatLogLine, QMStringArgumentPrintsItsText) {
    QMString name("head.vek");
    EXPECT_EQ(formatLogLine("%s!", {name}), "head.vek!");
}

TEST(FormatLogLine, TrailingPercentIsKept) { EXPECT_EQ(formatLogLine("ends with %", {1}), "ends with %"); }

TEST(FormatLogLine, NullFormatGivesEmptyLine) { EXPECT_EQ(formatLogLine(nullptr, {1}), ""); }

TEST(FormatLogLine, IntegerArgumentForRealConversionIsConverted) {
    EXPECT_EQ(formatLogLine("%f %d", {2, 2.9}), "2.000000 2");
}

TEST(FormatLogLine, LengthModifiersAreAccepted) {
    EXPECT_EQ(formatLogLine("%ld %lu %lf", {7L, 8UL, 0.5}), "7 8 0.500000");
}
