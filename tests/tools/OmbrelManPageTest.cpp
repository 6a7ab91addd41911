// The ombrel(1) manual page: well-formed roff, and in step with the tool's
// own help (every option a command's --help names is documented).
#include "RunCommand.h"
#include "TestFiles.h"

#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <unistd.h>

namespace {

const std::string kManPage = std::string(OMBREL_SOURCE_DIR) + "/tools/ombrel/ombrel.1";

bool installed(const std::string& program) { return access(program.c_str(), X_OK) == 0; }

// The page's text with the roff escapes an option name contains undone:
// "\-\-height" is "--height", "\fB...\fR" changes only the font.
std::string manPageText() {
    std::string text = readFileText(kManPage);
    text = std::regex_replace(text, std::regex(R"(\\f[BIRP])"), "");
    text = std::regex_replace(text, std::regex(R"(\\-)"), "-");
    return text;
}

// The options a help text lists: "--name" and "-x" at the start of its option lines.
std::set<std::string> optionsInHelp(const std::string& help) {
    std::set<std::string> options;
    const std::regex line(R"(^ {2,6}(-[a-z])?(, )?(--[a-z0-9]+)?)", std::regex::multiline);
    for (auto it = std::sregex_iterator(help.begin(), help.end(), line); it != std::sregex_iterator(); ++it) {
        if ((*it)[1].matched) options.insert((*it)[1].str());
        if ((*it)[3].matched) options.insert((*it)[3].str());
    }
    return options;
}

}  // namespace

TEST(OmbrelManPageTest, FormatsWithoutWarnings) {
    if (!installed("/usr/bin/groff")) GTEST_SKIP() << "groff is not installed (Debian package groff-base)";
    const CommandResult result = runCommand("/usr/bin/groff", {"-man", "-Tutf8", "-ww", "-z", kManPage});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.err, "");
}

TEST(OmbrelManPageTest, ManShowsIt) {
    if (!installed("/usr/bin/man")) GTEST_SKIP() << "man is not installed (Debian package man-db)";
    const CommandResult result = runCommand("/usr/bin/man", {"--warnings", "-l", kManPage});
    EXPECT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(result.err, "");
    EXPECT_NE(result.out.find("OMBREL(1)"), std::string::npos) << result.out.substr(0, 200);
}

TEST(OmbrelManPageTest, DocumentsEveryCommandAndOption) {
    const std::string page = manPageText();
    for (const std::string command : {"export", "check", "demo", "info", "bbox"}) {
        SCOPED_TRACE(command);
        EXPECT_NE(page.find(".B " + command + "\n"), std::string::npos);
        const CommandResult help = runCommand(OMBREL_TOOL_PATH, {command, "--help"});
        ASSERT_EQ(help.exitStatus, 0);
        const std::set<std::string> options = optionsInHelp(help.out);
        if (command == "export") {
            EXPECT_GE(options.size(), 15u);
        }
        for (const std::string& option : options) EXPECT_NE(page.find(option), std::string::npos) << option;
    }
}

TEST(OmbrelManPageTest, GivesTheExitStatuses) {
    const std::string page = manPageText();
    EXPECT_NE(page.find(".SH EXIT STATUS"), std::string::npos);
    for (const char* status : {".B 0\n", ".B 1\n", ".B 2\n"}) EXPECT_NE(page.find(status), std::string::npos) << status;
}
