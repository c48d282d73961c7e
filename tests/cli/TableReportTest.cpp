#include <gtest/gtest.h>

#include "cli/Report.h"

namespace quorvel {
namespace {

/// Of grapheme clusters that are two columns wide.
const std::string family = "👩‍👩‍👧‍👦", fourFamilies = family + family + family + family,
                  families = fourFamilies + family;

Terminal terminal(std::size_t width) {
    return {.isTerminal = true, .hasControls = true, .colour = width > 66, .width = width};
}

const std::string longName = "A " + families + std::string(60, 'n');
const std::vector<ScanIssue> issues{{"ספר", "/x/" + std::string(40, 'p') + ".app", "could not read bundle"}};
const std::vector<ScanIssue> folderIssues{{"y", "/x/y", "could not read folder"}};

/// Texts of every kind, among them what a hostile bundle would choose.
HostReport sampleReport() {
    return {.source = "/a, /b\x1b]0;title\a and /c",
            .system = {{14, 5, 0}, RunningSystem::Source::given},
            .apps = 6,
            .verdicts = {{{{"藍染帳", "", "1.0"}, "1.10"},
                          {{longName, "", "2024.10.31 (123456)"}, "$(MARKETING_VERSION) and more"},
                          {{"Plain \x1b[31m Name", "", "1.0"}, "1.10", 1, true}},
                         {skippedVerdict({"b", "", "2.0"}, SkipCode::upToDate, "already at latest", false),
                          skippedVerdict({"Another application of words", "", "-"},
                                         SkipCode::installedVersionInvalid,
                                         "local version invalid: \"$(MARKETING_VERSION)-and-more\"", true),
                          skippedVerdict({"A", "", "1.0"}, SkipCode::notRecognised, "unknown", false)}},
            .issues = issues,
            .folderIssues = folderIssues};
}

const std::string sum =
    "2 newer versions (and 1 ignored) for 6 applications on macOS 14.5.0; "
    "1 bundle could not be listed";
const std::string rest = "; 1 folder could not be read; the catalog gave no answer for 1 application.\n";

TEST(TableReport, showsPeopleWhatIsNewerAndOnRequestAllElse) {
    EXPECT_EQ(tableReport(sampleReport(), false, {}),
              "New versions available (2)\n"
              "  APPLICATION  INSTALLED  AVAILABLE\n"
              "  A " +
                  families + std::string(60, 'n') +
                  "\n"
                  "               2024.10.31 (123456)\n"
                  "                          $(MARKETING_VERSION) and more\n"
                  "  藍染帳       1.0        1.10\n\n" +
                  sum + " (--all names it)" + rest);
    EXPECT_EQ(tableReport(sampleReport(), true, terminal(67)),
              "\x1b[1;32mNew versions available (2)\x1b[0m\n"
              "\x1b[1m  APPLICATION                                  INSTALLED  AVAILABLE\x1b[0m\n"
              "  A " +
                  families + std::string(30, 'n') +
                  "…  2024.10.31 (123456)\n"
                  "    $(MARKETING_VERSION) and more\n"
                  "  藍染帳                                       1.0        1.10\n\n"
                  "\x1b[1;32mIgnored versions (1)\x1b[0m\n"
                  "\x1b[1m  APPLICATION       INSTALLED  AVAILABLE\x1b[0m\n"
                  "  Plain  [31m Name  1.0        1.10\n\n"
                  "\x1b[1;32mNo newer version (3)\x1b[0m\n"
                  "\x1b[1m  APPLICATION           INSTALLED  REASON\x1b[0m\n"
                  "  A                     1.0        not answered\n"
                  "  Another application…  -          local version invalid:\n"
                  "                                   \"$(MARKETING_VERSION)-and-more\"\n"
                  "  b                     2.0        already at latest\n\n"
                  "\x1b[1;32mNot listed (2)\x1b[0m\n"
                  "\x1b[1m  APPLICATION  REASON                 PATH\x1b[0m\n"
                  "  y            could not read folder  /x/y\n"
                  "  \u2068ספר\u2069          could not read bundle  /x/" +
                  std::string(26, 'p') +
                  "\n"
                  "                                      " +
                  std::string(14, 'p') + ".app\n\n" + sum + rest);
}

TEST(TableReport, losesNothingButTheEndsOfNamesInANarrowTerminal) {
    const std::pair<std::size_t, std::string> rows[] = {
        {66, "  Another application of wor…  -          local version invalid:\n"},
        {51, "  Another app…  -          local version invalid:\n"},
        {50,
         "  Another application of words  -\n    local version invalid:\n    "
         "\"$(MARKETING_VERSION)-and-more\"\n"},
        {24, "  APPLICATION\n    INSTALLED\n    AVAILABLE\n"},
        {24, "  A " + fourFamilies +
                 "…\n    2024.10.31 (123456)\n"
                 "    $(MARKETING_VERSION) and more\n"},
        {24,
         "  Another app…  -\n    local version\n    invalid:\n    \"$(MARKETING_VERSION\n    )-and-more\"\n"},
    };
    for (const auto& [width, lines] : rows) {
        const auto text = tableReport(sampleReport(), true, terminal(width));
        EXPECT_TRUE(text.contains(lines)) << text;
    }
}

TEST(TableReport, saysWhatItsLastLineRestsOn) {
    auto report = sampleReport();
    report.verdicts = {};
    report.system = {{26, 1, 0}, RunningSystem::Source::assumed};
    const std::vector<ScanIssue> twoIssues(2);
    report.issues = twoIssues;
    const std::string omissions =
        "; 2 bundles could not be listed (--all names them); 1 folder could not be read.\n";
    EXPECT_EQ(tableReport(report, false, {}),
              "Nothing newer for 6 applications on macOS 26.1.0 (assumed; --os-version says which it is)" +
                  omissions);
    report.apps = 0;
    EXPECT_EQ(tableReport(report, false, {}), "No applications found in /a, /b ]0;title  and /c" + omissions);
}

}  // namespace
}  // namespace quorvel
