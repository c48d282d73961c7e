#include <gtest/gtest.h>

#include "cli/TableReport.h"

namespace quorvel {
namespace {

CheckReport sampleReport() {
    CheckReport report;
    report.os = {14, 5, 0};
    report.apps = 3;
    AppUpdate update;
    update.app.name = "藍染帳";
    update.app.version = "1.0";
    update.latestVersion = "1.10";
    report.updates.push_back(update);
    update.app.name = "Plain \x1b[31m Name";
    update.isIgnored = true;
    report.updates.push_back(update);
    report.skipped.push_back({"b", "com.example.b", "2.0", "already at latest", "/x/b.app"});
    report.skipped.push_back({"A", "com.example.a", "1.0", "not recognised", "/x/A.app"});
    report.issues.push_back({.appName = "Thing", .path = "/x/Thing.app", .reason = "could not read bundle"});
    return report;
}

TEST(TableReport, showsPeopleWhatIsNewerAndOnRequestAllElse) {
    struct Row {
        const char* claim;
        bool all;
        Terminal terminal;
        std::string expected;
    };
    const std::string newer =
        "New versions available (1)\n"
        "  APPLICATION  INSTALLED  AVAILABLE\n"
        "  藍染帳       1.0        1.10\n\n";
    const std::string sum =
        "1 newer version (and 1 ignored) for 3 applications on macOS 14.5.0; 1 bundle could not be listed.\n";
    const Row rows[] = {
        {"wide characters take two columns", false, {}, newer + sum},
        {"names in their order, nothing of a terminal's",
         true,
         {},
         newer +
             "Ignored versions (1)\n"
             "  APPLICATION       INSTALLED  AVAILABLE\n"
             "  Plain  [31m Name  1.0        1.10\n\n"
             "No newer version (2)\n"
             "  APPLICATION  INSTALLED  REASON\n"
             "  A            1.0        not recognised\n"
             "  b            2.0        already at latest\n\n"
             "Not listed (1)\n"
             "  APPLICATION  REASON                 PATH\n"
             "  Thing        could not read bundle  /x/Thing.app\n\n" +
             sum},
        {"cut to a terminal's width, with colours",
         false,
         {.isTerminal = true, .colour = true, .width = 12},
         "\x1b[1;32mNew versions available (1)\x1b[0m\n"
         "\x1b[1m  APPLICATI…\x1b[0m\n"
         "  藍染帳   …\n\n" +
             sum},
    };
    for (const auto& [claim, all, terminal, expected] : rows)
        EXPECT_EQ(tableReport(sampleReport(), all, terminal), expected) << claim;
}

TEST(TableReport, saysInOneLineWhenNothingIsNewer) {
    CheckReport report;
    report.os = {14, 5, 0};
    report.apps = 1;
    EXPECT_EQ(tableReport(report, true, {}), "Nothing newer for 1 application on macOS 14.5.0.\n");
}

}  // namespace
}  // namespace quorvel
