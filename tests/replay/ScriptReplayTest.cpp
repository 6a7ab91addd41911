// Random host scripts played on the library and on the model of its script
// calls (tests/model): every return value and every byte of every export
// must agree. Each test plays the scripts of a fixed range of seeds; a
// failure names the seed, the settings and files before the script, its
// calls and the first differing byte.

#include "ScriptReplay.h"
#include "TestFiles.h"

#include <gtest/gtest.h>

namespace {

constexpr int kScriptsPerTest = 600;
// A test stops after this many failed scripts: more reports add nothing.
constexpr int kMaxReports = 3;

// The tallies checked below show that the scripts of a test reach what the
// test is meant to cover. The seeds fix the scripts, so the tallies do not
// vary from run to run (the bounds allow for the settings a test inherits
// when it shares its process with the tests before it).
int percentOfScripts(int percent) { return kScriptsPerTest * percent / 100; }

ScriptReplay::Tally replay(std::uint64_t firstSeed, const ScriptOdds& odds) {
    TempDir directory;
    ScriptReplay replay;
    int reports = 0;
    for (int i = 0; i < kScriptsPerTest && reports < kMaxReports; ++i) {
        const std::uint64_t seed = firstSeed + std::uint64_t(i);
        const std::string report = replay.play(seed, randomScript(seed, directory.path(), odds));
        if (!report.empty()) {
            ADD_FAILURE() << report;
            ++reports;
        }
    }
    EXPECT_EQ(replay.tally().scripts, kScriptsPerTest);
    return replay.tally();
}

}  // namespace

TEST(ScriptReplay, BinarySTL) {
    ScriptOdds odds;
    odds.stl = 1.0;
    odds.binaryWord = 0.9;
    const ScriptReplay::Tally tally = replay(1'000'000, odds);
    EXPECT_EQ(tally.exports, kScriptsPerTest);
    EXPECT_GT(tally.binarySTLTriangles, percentOfScripts(55));
}

TEST(ScriptReplay, AsciiSTL) {
    ScriptOdds odds;
    odds.stl = 1.0;
    odds.binaryWord = 0.05;
    const ScriptReplay::Tally tally = replay(2'000'000, odds);
    EXPECT_EQ(tally.exports, kScriptsPerTest);
    EXPECT_GT(tally.asciiSTLFacets, percentOfScripts(60));
}

TEST(ScriptReplay, VRML) {
    ScriptOdds odds;
    odds.stl = 0.0;
    odds.yesWord = 0.1;
    odds.files.uvBlock = 0.6;
    const ScriptReplay::Tally tally = replay(3'000'000, odds);
    EXPECT_EQ(tally.exports, kScriptsPerTest);
    EXPECT_GT(tally.vrmlShapes, percentOfScripts(75));
    EXPECT_GT(tally.vrmlAppearances, percentOfScripts(60));
    EXPECT_GT(tally.vrmlTexCoords, percentOfScripts(50));
}

TEST(ScriptReplay, VRMLWithColours) {
    ScriptOdds odds;
    odds.stl = 0.0;
    odds.yesWord = 0.95;
    odds.files.colourBlock = 0.8;
    const ScriptReplay::Tally tally = replay(4'000'000, odds);
    EXPECT_EQ(tally.exports, kScriptsPerTest);
    EXPECT_GT(tally.vrmlColours, percentOfScripts(50));
}

TEST(ScriptReplay, DamagedInputs) {
    ScriptOdds odds;
    odds.files.damaged = 0.6;
    odds.files.badIndices = 0.5;
    odds.yesWord = 0.5;
    const ScriptReplay::Tally tally = replay(5'000'000, odds);
    EXPECT_EQ(tally.exports, kScriptsPerTest);
    // Damaged files still leave most exports with something written from
    // the valid ones.
    EXPECT_GT(tally.binarySTLTriangles + tally.asciiSTLFacets, percentOfScripts(15));
    EXPECT_GT(tally.vrmlShapes, percentOfScripts(20));
}

TEST(ScriptReplay, OptionSequences) {
    ScriptOdds odds;
    odds.maxOptionCalls = 8;
    odds.maxExports = 3;
    odds.unusual = 0.15;
    const ScriptReplay::Tally tally = replay(6'000'000, odds);
    EXPECT_GT(tally.exports, percentOfScripts(150));
    EXPECT_GT(tally.noOutput, percentOfScripts(5));  // exports into a missing directory
    EXPECT_GT(tally.binarySTLTriangles, percentOfScripts(15));
    EXPECT_GT(tally.asciiSTLFacets, percentOfScripts(15));
    EXPECT_GT(tally.vrmlShapes, percentOfScripts(30));
}
