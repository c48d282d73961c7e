#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <random>

#include "check/MatchEvaluation.h"
#include "cli/fleet/FleetEvaluation.h"
#include "cli/fleet/FleetOutline.h"
#include "support/TemporaryFolder.h"

namespace quorvel {
namespace {

/// Hosts of applications that share identifiers, versions and names at random, some of them unusable.
void fillAtRandom(Fleet& fleet, std::mt19937& random) {
    const auto choose = [&](const std::vector<std::string>& texts) { return texts[random() % texts.size()]; };
    const auto hosts = 1 + random() % 6;
    for (std::size_t number = 0; number < hosts; ++number) {
        auto& host = fleet.hosts.emplace_back();
        host.name = "host " + std::to_string(number);
        if (random() % 3 > 0) host.system = OSVersion{static_cast<std::int64_t>(10 + random() % 5), 0, 0};
        const auto apps = random() % 20;
        for (std::size_t app = 0; app < apps; ++app) {
            host.apps.push_back(
                fleet.table.add({choose({"b", "A", "á", "c"}), choose({"", "i", "j", "k", "l"}),
                                 choose({"1.0", "2.0", "beta", "-", "3.0"}),
                                 "/Applications/" + std::to_string(app) + ".app"}));
        }
    }
}

/// An outcome as reports tell it.
using Outcomes = std::vector<std::string>;

Outcomes outcomesOf(const Verdicts& verdicts) {
    Outcomes outcomes;
    for (const auto& [app, latest, id, isIgnored, code, reason] : verdicts.updates)
        outcomes.push_back(std::string(app.path).append(app.name).append(latest) +
                           (isIgnored ? " ignored" : ""));
    for (const auto& [app, latest, id, isIgnored, code, reason] : verdicts.skipped)
        outcomes.push_back(
            std::string(app.path).append(app.name).append(app.version).append(reason).append(code));
    return outcomes;
}

Outcomes outcomesAlone(const Fleet& fleet, const FleetHost& host, const std::vector<AutoMatchResult>& results,
                       const IgnoredVersionsStore& ignored) {
    std::vector<InstalledApp> apps;
    for (const auto number : host.apps) {
        const auto& [name, identifier, version, path] = fleet.table[number];
        apps.push_back(
            {std::string(name), std::string(identifier), std::string(version), std::string(path), {}});
    }
    // A system so new that it runs anything stands for one that nobody knows.
    auto alone =
        evaluate(apps, results, VersionComparator(), ignored, host.system.value_or(OSVersion{99, 0, 0}));
    sortByName(alone.updates, "");
    Verdicts verdicts;
    for (const auto& [app, latest, id, isIgnored] : alone.updates)
        verdicts.updates.push_back({listed(app), latest, id, isIgnored});
    for (const auto& [name, identifier, version, code, reason, path] : alone.skipped)
        verdicts.skipped.push_back(skippedVerdict({name, identifier, version, path}, code, reason, true));
    return outcomesOf(verdicts);
}

TEST(FleetEvaluation, saysOfEachHostWhatItWouldHearAlone) {
    const std::vector<AutoMatchResult> results{
        {.id = 1, .title = "", .version = "2.0", .bundleIdentifiers = {"i"}, .minimumOSVersion = "12"},
        {.id = 2, .title = "", .version = "9", .bundleIdentifiers = {"j", "k"}, .minimumOSVersion = {}},
        {.id = 3, .title = "", .version = "x", .bundleIdentifiers = {"k"}, .minimumOSVersion = {}}};
    const TemporaryFolder folder;
    const IgnoredVersionsStore ignored(PersistenceManager::at(folder.path));
    ignored.ignore("9", "A", "j");
    std::mt19937 random(1);
    std::map<std::string, int> kinds;
    for (int round = 0; round < 200; ++round) {
        Fleet fleet;
        fillAtRandom(fleet, random);
        FleetEvaluation evaluation(fleet, results, {}, ignored.load());
        for (const auto& host : fleet.hosts) {
            const auto alone = outcomesAlone(fleet, host, results, ignored);
            EXPECT_EQ(outcomesOf(evaluation.evaluate(host, host.system)), alone) << "round " << round;
            for (const auto& outcome : alone)
                ++kinds[outcome.substr(outcome.size() - 7)];
        }
    }
    EXPECT_GT(kinds.size(), 6U) << "the samples say too little";
}

TEST(FleetEvaluation, asksForEachIdentifierOnceByTheNameThatMostRowsHave) {
    Fleet fleet;
    const auto add = [&](const std::string& host, const std::string& name, const std::string& identifier) {
        if (fleet.hosts.empty() || fleet.hosts.back().name != host) fleet.hosts.emplace_back().name = host;
        fleet.hosts.back().apps.push_back(fleet.table.add({name, identifier, "1", "/" + name}));
    };
    add("a", "Old", "z");
    add("b", "Renamed", "z");
    add("c", "Renamed", "z");
    add("c", "Tie", "y");
    add("d", "Even", "y");
    add("d", "Nameless", "");
    fleet.table.add({"Superseded", "x", "1", ""});
    std::string asked;
    for (const auto& app : distinctApplications(fleet))
        asked += app.bundleID + "=" + app.name + " ";
    EXPECT_EQ(asked, "y=Even z=Renamed ");
}

TEST(FleetEvaluation, tellsAMissingAnswerFromOneThatKnowsNothing) {
    Fleet fleet;
    auto& host = fleet.hosts.emplace_back();
    for (const char* identifier : {"lost", "unknown", "known", ""})
        host.apps.push_back(fleet.table.add({"N", identifier, "1", identifier}));
    const std::vector<AutoMatchResult> results{
        {.id = 1, .title = "", .version = "1", .bundleIdentifiers = {"known"}, .minimumOSVersion = {}}};
    FleetEvaluation evaluation(fleet, results, {"lost", "known"}, {});
    std::string answered;
    for (const auto& skipped : evaluation.evaluate(host, std::nullopt).skipped)
        answered += std::string(skipped.app.identifier) + (skipped.isAnswered() ? "+ " : "- ");
    EXPECT_EQ(answered, "lost- unknown+ known+ + ");
}

}  // namespace
}  // namespace quorvel
