#include <gtest/gtest.h>
#include <sstream>

#include "cli/Report.h"
#include "platform/text/Text.h"

namespace quorvel {
namespace {

AppUpdate update(std::string name, std::string installed, std::string available, bool isIgnored = false) {
    AppUpdate update;
    update.app.name = std::move(name);
    update.app.version = std::move(installed);
    update.latestVersion = std::move(available);
    update.isIgnored = isIgnored;
    return update;
}

CheckReport sampleReport() {
    CheckReport report;
    report.system = {{14, 5, 0}, RunningSystem::Source::given};
    report.inventory.apps.resize(4);
    report.updates = {update("藍染帳", "1.0", "1.10"), update("Plain \x1b[31m Name", "1.0", "1.10", true)};
    report.skipped = {
        {{"b", "com.example.b", "2.0", SkipCode::upToDate, "already at latest", "/x/b.app"}},
        {{"A", "com.example.a", "1.0", SkipCode::notRecognised, "not recognised", "/x/A.app"}, false}};
    report.inventory.issues.push_back(
        {.appName = "Thing", .path = "/x/Thing.app", .reason = "could not read bundle"});
    report.inventory.folderIssues.push_back(
        {.appName = "y", .path = "/x/y", .reason = "could not read folder"});
    return report;
}

TEST(TableReport, showsPeopleWhatIsNewerAndOnRequestAllElse) {
    const std::string newer =
        "New versions available (1)\n"
        "  APPLICATION  INSTALLED  AVAILABLE\n"
        "  藍染帳       1.0        1.10\n\n";
    const std::string sum = "1 newer version (and 1 ignored) for 4 applications on macOS 14.5.0; ";
    const std::string rest = "; 1 folder could not be read; the catalog gave no answer for 1 application.\n";
    EXPECT_EQ(tableReport(sampleReport(), false, {}),
              newer + sum + "1 bundle could not be listed (--all names it)" + rest);
    EXPECT_EQ(tableReport(sampleReport(), true, {}),
              newer +
                  "Ignored versions (1)\n"
                  "  APPLICATION       INSTALLED  AVAILABLE\n"
                  "  Plain  [31m Name  1.0        1.10\n\n"
                  "No newer version (2)\n"
                  "  APPLICATION  INSTALLED  REASON\n"
                  "  A            1.0        not answered\n"
                  "  b            2.0        already at latest\n\n"
                  "Not listed (2)\n"
                  "  APPLICATION  REASON                 PATH\n"
                  "  Thing        could not read bundle  /x/Thing.app\n"
                  "  y            could not read folder  /x/y\n\n" +
                  sum + "1 bundle could not be listed" + rest);
}

TEST(TableReport, saysWhatItsLastLineRestsOn) {
    CheckReport report;
    report.inventory.folders = {"/a", "/b\x1b]0;title\a", "/c"};
    report.system = {{26, 1, 0}, RunningSystem::Source::assumed};
    EXPECT_EQ(tableReport(report, true, {}), "No applications found in /a, /b ]0;title  and /c.\n");
    report.inventory.apps.resize(1);
    EXPECT_EQ(tableReport(report, true, {}),
              "Nothing newer for 1 application on macOS 26.1.0 (assumed; --os-version says which it is).\n");
}

/// The text without line breaks, indentation and alignment.
std::string withoutSpaces(const std::string& text) {
    std::string rest;
    for (const char byte : text) {
        if (byte != ' ' && byte != '\n') rest += byte;
    }
    return rest;
}

/// Texts of every kind, among them what a hostile bundle would choose.
CheckReport wideReport() {
    CheckReport report;
    report.inventory.apps.resize(24);
    const std::string family = "👩‍👩‍👧‍👦";
    std::string names;
    for (int index = 0; index < 40; ++index)
        names += index % 2 == 0 ? "é" : family;
    for (const std::string& name : {std::string("Short"), std::string(200, 'n'), names, std::string("ספר")}) {
        for (const std::string version :
             {"1", "2024.10.31 (123456)", "$(MARKETING_VERSION) and more than that"}) {
            report.updates.push_back(update(name, version, version + ".1"));
            const std::string reason = "local version invalid: \"" + version + "\"";
            report.skipped.push_back({{name, "", version, SkipCode::installedVersionInvalid, reason, "/"}});
            report.inventory.issues.push_back(
                {name, "/Applications/" + std::string(90, 'p') + ".app", "no version"});
        }
    }
    return report;
}

TEST(TableReport, fitsEveryWidthAndLosesNothingButTheEndsOfNames) {
    const CheckReport report = wideReport();
    for (const std::size_t width : {30U, 40U, 80U, 200U}) {
        const auto text = tableReport(
            report, true, {.isTerminal = true, .hasControls = true, .colour = false, .width = width});
        const auto solid = withoutSpaces(text);
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);) {
            const bool isVersionAlone = line.starts_with("    ") && line.contains("$(MARK");
            const bool isSentence = line.contains("newer versions for");
            EXPECT_TRUE(text::displayWidth(line) <= width || isVersionAlone || isSentence) << width << line;
            for (const auto character : text::characters(line))
                EXPECT_FALSE(character.ends_with("\u200D")) << "a cluster is split: " << line;
        }
        for (const auto& entry : report.updates) {
            EXPECT_TRUE(text.contains(entry.app.version)) << width << entry.app.version;
            EXPECT_TRUE(text.contains(entry.latestVersion)) << width << entry.latestVersion;
        }
        for (const auto& entry : report.skipped)
            EXPECT_TRUE(solid.contains(withoutSpaces(entry.app.reason))) << width << entry.app.reason;
        EXPECT_TRUE(solid.contains(report.inventory.issues.front().path)) << width;
    }
    EXPECT_TRUE(tableReport(report, true, {}).contains(std::string(200, 'n')))
        << "off a terminal nothing is cut";
}

TEST(TableReport, coloursHeadingsAndAlignsWhatStandsUnderThem) {
    CheckReport report;
    report.updates = {update("An application with a long name", "1.0", "1.1"), update("B", "10.0", "10.1")};
    EXPECT_TRUE(
        tableReport(report, false, {.isTerminal = true, .hasControls = true, .colour = true, .width = 40})
            .starts_with("\x1b[1;32mNew versions available (2)\x1b[0m\n"
                         "\x1b[1m  APPLICATION       INSTALLED  AVAILABLE\x1b[0m\n"
                         "  An application …  1.0        1.1\n"
                         "  B                 10.0       10.1\n"));
}

}  // namespace
}  // namespace quorvel
