// How the ombrel tool reads its command line: each command's own help, the
// option forms getopt_long users expect, and the output format from the
// options or the output's name.
#include "RunCommand.h"
#include "TestFiles.h"
#include "VekTestFiles.h"

#include <gtest/gtest.h>

#include <set>

namespace {

const std::vector<std::string> kCommands = {"export", "check", "demo", "info", "bbox"};

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

class OmbrelOptionsTest : public ::testing::Test {
protected:
    CommandResult ombrel(const std::vector<std::string>& arguments) {
        return runCommand(OMBREL_TOOL_PATH, arguments, dir.path());
    }
    void triangleFile(const std::string& name) {
        writeVekFile(dir.file(name), [](vekgen::VekWriter& w) {
            w.points(std::vector<vekgen::Point3>{{2, 3, 4}, {4, 3, 4}, {2, 5, 4}});
            w.face4(std::vector<vekgen::Face4>{{0, 1, 2, -1}});
            w.endBlock();
        });
    }
    TempDir dir;
};

}  // namespace

// --- help

TEST_F(OmbrelOptionsTest, EachCommandHasItsOwnHelp) {
    std::set<std::string> texts;
    for (const std::string& command : kCommands) {
        SCOPED_TRACE(command);
        const CommandResult help = ombrel({command, "--help"});
        EXPECT_EQ(help.exitStatus, 0);
        EXPECT_EQ(help.err, "");
        EXPECT_EQ(help.out.rfind("Usage: ombrel " + command + " ", 0), 0u) << help.out;
        EXPECT_EQ(ombrel({command, "-h"}).out, help.out);
        EXPECT_EQ(ombrel({"help", command}).out, help.out);
        texts.insert(help.out);
    }
    EXPECT_EQ(texts.size(), kCommands.size());
}

TEST_F(OmbrelOptionsTest, HelpLinesFitAnEightyColumnTerminal) {
    for (const std::string& command : kCommands) {
        const std::string text = ombrel({command, "--help"}).out;
        for (std::size_t at = 0, end; (end = text.find('\n', at)) != std::string::npos; at = end + 1)
            EXPECT_LE(end - at, 79u) << command << ": " << text.substr(at, end - at);
    }
}

TEST_F(OmbrelOptionsTest, HelpNeedsNothingElse) {
    // No output or input given: --help still answers, and writes nothing.
    const CommandResult result = ombrel({"export", "--help"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(directoryEntries(dir.path()), std::vector<std::string>{});
}

TEST_F(OmbrelOptionsTest, HelpAfterOtherOptionsStillAnswers) {
    triangleFile("t.vek");
    const CommandResult result = ombrel({"export", "-o", "out.stl", "t.vek", "--help"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.out, ombrel({"export", "--help"}).out);
    EXPECT_FALSE(pathExists(dir.file("out.stl")));
}

TEST_F(OmbrelOptionsTest, ExportHelpNamesEveryOption) {
    const std::string help = ombrel({"export", "--help"}).out;
    for (const char* option : {"-o, --output=FILE", "--stl", "--3mf", "--vrml", "--binary", "--ascii", "--height=MM",
                               "--up=z|y", "--colors", "--texture=FILE.vek=NAME", "--strict", "-q, --quiet",
                               "-v, --verbose", "-h, --help"})
        EXPECT_TRUE(contains(help, option)) << option;
}

TEST_F(OmbrelOptionsTest, HelpForAnUnknownCommandIsAUsageError) {
    const CommandResult result = ombrel({"help", "explode"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.err, "ombrel: unknown command 'explode' (try ombrel --help)\n");
}

TEST_F(OmbrelOptionsTest, HelpWithoutACommandIsTheOverview) {
    const CommandResult result = ombrel({"help"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.out, ombrel({"--help"}).out);
}

// --- option forms

TEST_F(OmbrelOptionsTest, ValuesMayFollowAnEqualsSign) {
    triangleFile("t.vek");
    const CommandResult separate =
        ombrel({"export", "-q", "--output", "a.stl", "--height", "7", "--up", "y", "--ascii", "t.vek"});
    const CommandResult joined = ombrel({"export", "-q", "--output=b.stl", "--height=7", "--up=y", "--ascii", "t.vek"});
    ASSERT_EQ(separate.exitStatus, 0) << separate.err;
    ASSERT_EQ(joined.exitStatus, 0) << joined.err;
    EXPECT_EQ(readFileText(dir.file("a.stl")), readFileText(dir.file("b.stl")));
    EXPECT_NE(readFileText(dir.file("a.stl")).find("vertex 0 7 0 \n"), std::string::npos);
}

TEST_F(OmbrelOptionsTest, TextureTakesAnEqualsSignInItsValue) {
    triangleFile("t.vek");
    const CommandResult result = ombrel({"export", "-q", "-o", "out.wrl", "--texture=t.vek=skin.png", "t.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_TRUE(contains(readFileText(dir.file("out.wrl")), "url \"skin.png\""));
}

TEST_F(OmbrelOptionsTest, ShortValuesMayBeAttachedAndFlagsBundled) {
    triangleFile("t.vek");
    CommandResult result = ombrel({"export", "-oout.stl", "t.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_TRUE(pathExists(dir.file("out.stl")));
    result = ombrel({"export", "-qo", "two.stl", "t.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(result.out, "");
    EXPECT_TRUE(pathExists(dir.file("two.stl")));
}

TEST_F(OmbrelOptionsTest, OptionsMayFollowTheFiles) {
    triangleFile("t.vek");
    const CommandResult result = ombrel({"export", "t.vek", "-o", "out.stl", "--quiet"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(result.out, "");
    EXPECT_TRUE(pathExists(dir.file("out.stl")));
}

TEST_F(OmbrelOptionsTest, TheLaterOfQuietAndVerboseWins) {
    triangleFile("t.vek");
    EXPECT_EQ(ombrel({"export", "-v", "-q", "-o", "a.stl", "t.vek"}).out, "");
    EXPECT_TRUE(contains(ombrel({"export", "-q", "-v", "-o", "b.stl", "t.vek"}).out, "  scene box "));
}

TEST_F(OmbrelOptionsTest, DoubleDashEndsTheOptions) {
    triangleFile("-t.vek");
    const CommandResult result = ombrel({"export", "-q", "-o", "out.stl", "--", "-t.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_TRUE(pathExists(dir.file("out.stl")));
}

TEST_F(OmbrelOptionsTest, NegativeHeightIsTakenAsTheValueAndRefused) {
    triangleFile("t.vek");
    const CommandResult result = ombrel({"export", "-o", "out.stl", "--height", "-5", "t.vek"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.err, "ombrel: --height must be a positive number of millimetres no larger than 3.4e38, not '-5'\n");
}

TEST_F(OmbrelOptionsTest, UnknownOptionsAreUsageErrors) {
    triangleFile("t.vek");
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"export", "--bogus", "-o", "out.stl", "t.vek"},
         "ombrel: unknown option '--bogus'\nTry 'ombrel export --help' for more information.\n"},
        {{"export", "-x", "-o", "out.stl", "t.vek"},
         "ombrel: unknown option '-x'\nTry 'ombrel export --help' for more information.\n"},
        {{"demo", "--colors"}, "ombrel: unknown option '--colors'\nTry 'ombrel demo --help' for more information.\n"},
        {{"info", "-v", "t.vek"}, "ombrel: unknown option '-v'\nTry 'ombrel info --help' for more information.\n"},
        {{"bbox", "--up=z", "t.vek"}, "ombrel: unknown option '--up'\nTry 'ombrel bbox --help' for more information.\n"},
    };
    for (const auto& [arguments, message] : cases) {
        const CommandResult result = ombrel(arguments);
        EXPECT_EQ(result.exitStatus, 2) << arguments[1];
        EXPECT_EQ(result.err, message);
        EXPECT_EQ(result.out, "");
    }
    EXPECT_FALSE(pathExists(dir.file("out.stl")));
}

TEST_F(OmbrelOptionsTest, AFlagGivenAValueIsAUsageError) {
    triangleFile("t.vek");
    const CommandResult result = ombrel({"export", "--ascii=yes", "-o", "out.stl", "t.vek"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.err, "ombrel: option '--ascii' takes no value\nTry 'ombrel export --help' for more information.\n");
}

TEST_F(OmbrelOptionsTest, AnOptionWithoutItsValueIsAUsageError) {
    triangleFile("t.vek");
    CommandResult result = ombrel({"export", "t.vek", "-o"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.err, "ombrel: option '-o' needs a value\nTry 'ombrel export --help' for more information.\n");
    result = ombrel({"export", "-o", "out.stl", "t.vek", "--height"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.err, "ombrel: option '--height' needs a value\nTry 'ombrel export --help' for more information.\n");
}

TEST_F(OmbrelOptionsTest, CommandsWithoutFilesAreUsageErrors) {
    for (const std::string command : {"info", "bbox"}) {
        const CommandResult result = ombrel({command});
        EXPECT_EQ(result.exitStatus, 2) << command;
        EXPECT_EQ(result.err, "ombrel: " + command + " needs at least one Vek file\nTry 'ombrel " + command +
                                  " --help' for more information.\n");
    }
    const CommandResult demo = ombrel({"demo", "extra"});
    EXPECT_EQ(demo.exitStatus, 2);
    EXPECT_EQ(demo.err, "ombrel: demo takes no files, not 'extra'\nTry 'ombrel demo --help' for more information.\n");
}

// --- the output's format

TEST_F(OmbrelOptionsTest, TheExtensionChoosesTheFormatInAnyLetterCase) {
    triangleFile("t.vek");
    const std::pair<std::string, std::string> cases[] = {
        {"a.stl", "Binary STL: "}, {"b.STL", "Binary STL: "}, {"c.Stl", "Binary STL: "}, {"d.wrl", "VRML: "},
        {"e.WRL", "VRML: "},       {"f.vrml", "VRML: "},      {"g.VRML", "VRML: "},     {"h.Vrml", "VRML: "},
    };
    for (const auto& [name, title] : cases) {
        const CommandResult result = ombrel({"export", "-o", name, "t.vek"});
        ASSERT_EQ(result.exitStatus, 0) << name << result.err;
        EXPECT_EQ(result.out.rfind(title + dir.file(name) + ", ", 0), 0u) << result.out;
        const std::string head = readFileText(dir.file(name)).substr(0, 15);
        EXPECT_EQ(head == "#VRML V2.0 utf8", title == "VRML: ") << name;
    }
}

TEST_F(OmbrelOptionsTest, AnUnknownExtensionIsAUsageError) {
    triangleFile("t.vek");
    for (const std::string name : {"x.obj", "x", "x.stl.bak", "stl", "x.3mf.bak"}) {
        const CommandResult result = ombrel({"export", "-o", name, "t.vek"});
        EXPECT_EQ(result.exitStatus, 2) << name;
        EXPECT_EQ(result.err, "ombrel: cannot tell the format of '" + name +
                                  "': name it .stl, .3mf, .wrl or .vrml, or give --stl, --3mf or --vrml\n"
                                  "Try 'ombrel export --help' for more information.\n");
        EXPECT_FALSE(pathExists(dir.file(name))) << name;
    }
}

TEST_F(OmbrelOptionsTest, AFormatFlagTakesAnyName) {
    triangleFile("t.vek");
    ASSERT_EQ(ombrel({"export", "--stl", "--ascii", "-o", "x.obj", "t.vek"}).exitStatus, 0);
    EXPECT_EQ(readFileText(dir.file("x.obj")).rfind("solid object0 \n", 0), 0u);
    ASSERT_EQ(ombrel({"export", "--vrml", "-o", "scene", "t.vek"}).exitStatus, 0);
    EXPECT_EQ(readFileText(dir.file("scene")).rfind("#VRML V2.0 utf8\n", 0), 0u);
}

TEST_F(OmbrelOptionsTest, AsciiWithVrmlIsNoted) {
    triangleFile("t.vek");
    const CommandResult result = ombrel({"export", "--ascii", "-q", "-o", "out.wrl", "t.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(result.err, "ombrel: warning: --ascii applies to STL only; VRML is always text\n");
}

TEST_F(OmbrelOptionsTest, UpYWithVrmlIsQuiet) {
    triangleFile("t.vek");
    const CommandResult result = ombrel({"export", "--up", "y", "-q", "-o", "out.wrl", "t.vek"});
    ASSERT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(result.err, "");
}
