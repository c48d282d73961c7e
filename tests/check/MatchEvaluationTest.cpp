#include <algorithm>
#include <gtest/gtest.h>
#include <map>

#include "check/CheckSummary.h"
#include "check/MatchEvaluation.h"
#include "support/TemporaryFolder.h"
#include "versions/VersionComparator.h"

namespace quorvel {
namespace {

InstalledApp app(std::string name, std::string bundleID, std::string version) {
    return {std::move(name), std::move(bundleID), std::move(version), "/Applications/X.app", {}};
}

class MatchEvaluationTest : public testing::Test {
protected:
    MatchEvaluation evaluateAll(const std::vector<InstalledApp>& inventory,
                                const std::vector<AutoMatchResult>& results) const {
        auto evaluation = evaluate(inventory, results, comparator, ignoredVersions, runningOS);
        EXPECT_EQ(evaluation.updates.size() + evaluation.skipped.size(), inventory.size())
            << "every application counts exactly once";
        return evaluation;
    }

    /// The reason why the one application is skipped, or "update to" its version.
    std::string verdict(const std::string& installed, const AutoMatchResult& result) const {
        const auto evaluation = evaluateAll({app("Editor", "com.example.editor", installed)}, {result});
        return evaluation.updates.empty() ? evaluation.skipped.front().reason
                                          : "update to " + evaluation.updates.front().latestVersion;
    }

    static AutoMatchResult result(std::string version, std::optional<std::string> minimumOS = {},
                                  std::vector<std::string> identifiers = {"com.example.editor"}) {
        return {12, "Editor", std::move(version), std::move(identifiers), std::move(minimumOS)};
    }

    TemporaryFolder folder;
    IgnoredVersionsStore ignoredVersions{PersistenceManager::at(folder.path)};
    VersionComparator comparator;
    OSVersion runningOS{14, 6, 1};
};

TEST_F(MatchEvaluationTest, theFirstRuleThatAppliesDecides) {
    const std::tuple<std::string, AutoMatchResult, std::string> rows[] = {
        {"1.0", result("2.0"), "update to 2.0"},
        {"1.0", result("2.0", {}, {"com.example.Editor"}), "not recognised by Orbisto API"},
        {"1.0", result("2.0", {}, {"x", "com.example.editor"}), "update to 2.0"},
        {"beta", result("2.0"), "local version invalid: \"beta\""},
        {" - ", result("2.0"), "local version invalid: \" - \""},
        {"\t", result("2.0"), "local version invalid: \"\t\""},
        {"-", result(""), "local version invalid: \"-\""},
        {"1.0", result(""), "remote version invalid: \"\""},
        {" 1.2\t", result(" 1.2.1 "), "update to  1.2.1 "},
        {"\u0663", result("10"), "update to 10"},
        {"2.0", result("2.0"), "already at latest"},
        {"2.0", result("1.9", "99"), "already at latest"},
        {"1.0", result("2.0", "14.6.2 or later"), "requires 14.6.2 or later"},
        {"1.0", result("2.0", "14.6.1"), "update to 2.0"},
        {"1.0", result("2.0", "99.x"), "update to 2.0"},
    };
    for (const auto& [installed, offered, expected] : rows)
        EXPECT_EQ(verdict(installed, offered), expected) << installed;
}

TEST_F(MatchEvaluationTest, readsMinimumSystemVersionsOrDisregardsThem) {
    const std::map<std::string, std::string> rows{
        {"10.15", "10.15.0"},     {"11..2", "11.2.0"},   {"1.2.3.x", "1.2.3"},
        {"13.x", "none"},         {"", "none"},          {"007.1", "7.1.0"},
        {"macOS \u0661", "none"}, {"10.\u00BD", "none"}, {"99999999999999999999", "none"},
    };
    for (const auto& [text, expected] : rows) {
        const auto version = parseMinimumOS(text);
        EXPECT_EQ(version ? toText(*version) : "none", expected) << text;
    }
    EXPECT_FALSE(parseMinimumOS(std::nullopt).has_value());
}

TEST_F(MatchEvaluationTest, theLaterResultForAnIdentifierWinsAndEveryCopyCounts) {
    auto early = result("2.0"), late = result("3.0");
    late.id = 99;
    ignoredVersions.ignore("3.0", "Editor", "com.example.editor");
    const auto [updates, skipped] =
        evaluateAll({app("Editor", "com.example.editor", "1"), app("Editor 2", "com.example.editor", "2")},
                    {early, late});
    ASSERT_EQ(updates.size(), 2U);
    EXPECT_EQ(updates[0].obAppId, 99);
    EXPECT_EQ(updates[1].latestVersion, "3.0");
    EXPECT_TRUE(updates[0].isIgnored && updates[1].isIgnored);
    for (const char* other : {"3.0.1", "V3.0", "3.0 "}) {
        const auto news = evaluateAll({app("Editor", "com.example.editor", "1.0")}, {result(other)});
        EXPECT_FALSE(news.updates.at(0).isIgnored) << "exactly one version is: " << other;
    }
}

TEST_F(MatchEvaluationTest, summarisesCountsAndListsWhatNeedsAttention) {
    const auto evaluation =
        evaluateAll({app("Fresh", "com.example.editor", "1"), app("Current", "com.example.editor", "2"),
                     app("alpha", "com.example.editor", "-"), app("Zed", "new.os", "1"),
                     app("Stranger", "?", "1"), app("Odd", "odd", "1")},
                    {result("2"), result("2", "99", {"new.os"}), result("?", {}, {"odd"})});
    const std::vector<ScanIssue> issues{{"alpha", "/a", "could not read bundle"},
                                        {"Broken", "/b", "no version"}};
    EXPECT_EQ(checkSummary(evaluation, issues, "NOW"),
              "---\n[NOW] Check completed\nAll apps: 8\n"
              "Matched: 5 (1 already latest, 1 require newer OS, 2 invalid version)\n"
              "Unmatched: 1\nUpdates: 1\n---\nIssues (5):\n"
              "  Broken — no version\n  Odd — remote version invalid: \"?\"\n  Zed — requires 99\n"
              "  alpha — could not read bundle\n  alpha — local version invalid: \"-\"");

    ignoredVersions.ignore("2", "Editor", "com.example.editor");
    EXPECT_EQ(checkSummary(evaluateAll({app("Fresh", "com.example.editor", "1")}, {result("2")}), {}, "NOW"),
              "---\n[NOW] Check completed\nAll apps: 1\nMatched: 1\nUnmatched: 0\nUpdates: 0");
}

}  // namespace
}  // namespace quorvel
