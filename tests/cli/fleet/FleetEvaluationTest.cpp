#include <gtest/gtest.h>

#include "cli/fleet/FleetEvaluation.h"
#include "support/TemporaryFolder.h"

namespace quorvel {
namespace {

/// As reports tell them.
std::vector<std::string> outcomesOf(const Verdicts& verdicts) {
    std::vector<std::string> outcomes;
    for (const auto* list : {&verdicts.updates, &verdicts.skipped}) {
        for (const auto& [app, latest, id, isIgnored, code, reason] : *list)
            outcomes.push_back(
                std::string(app.path).append(app.name).append(latest).append(code).append(reason) +
                std::to_string(id) + (isIgnored ? " ignored" : ""));
    }
    return outcomes;
}

std::vector<std::string> outcomesAlone(const Fleet& fleet, const FleetHost& host,
                                       const std::vector<AutoMatchResult>& results,
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

TEST(FleetEvaluation, saysOfEachHostWhatItWouldHearAloneAndWhatIsNotAnswered) {
    const std::vector<AutoMatchResult> results{
        {.id = 1, .title = "", .version = "2.0", .bundleIdentifiers = {"i"}, .minimumOSVersion = "12"},
        {.id = 2, .title = "", .version = "9", .bundleIdentifiers = {"j", "k"}, .minimumOSVersion = {}},
        {.id = 3, .title = "", .version = "x", .bundleIdentifiers = {"k"}, .minimumOSVersion = {}}};
    const TemporaryFolder folder;
    const IgnoredVersionsStore ignored(PersistenceManager::at(folder.path));
    ignored.ignore("9", "A", "j");
    Fleet fleet;
    const std::vector<std::string> names{"b", "A", "á", "c"};
    for (const auto& system : {std::optional<OSVersion>(), {{11, 9, 0}}, {{12, 0, 0}}}) {
        fleet.hosts.emplace_back().system = system;
        auto& apps = fleet.hosts.back().apps;
        for (const char* identifier : {"", "i", "j", "k", "l"}) {
            for (const char* version : {"1.0", "2.0", "beta", "-", "10"})
                apps.push_back(fleet.table.add({names[apps.size() % names.size()], identifier, version,
                                                "/Applications/" + std::to_string(apps.size())}));
        }
    }
    FleetEvaluation evaluation(fleet, results, {}, ignored.load());
    for (const auto& host : fleet.hosts)
        EXPECT_EQ(outcomesOf(evaluation.evaluate(host, host.system)),
                  outcomesAlone(fleet, host, results, ignored));
    FleetEvaluation partial(fleet, results, {"l", "i"}, {});
    for (const auto& skipped : partial.evaluate(fleet.hosts[0], std::nullopt).skipped)
        EXPECT_EQ(skipped.isAnswered(), skipped.app.identifier != "l") << skipped.app.identifier;
}

TEST(FleetEvaluation, asksForEachIdentifierOnceByTheNameThatMostRowsHave) {
    Fleet fleet;
    const std::pair<const char*, const char*> rows[] = {{"Old", "z"}, {"Renamed", "z"}, {"Renamed", "z"},
                                                        {"Tie", "y"}, {"Even", "y"},    {"Nameless", ""}};
    for (const auto& [name, identifier] : rows)
        fleet.hosts.emplace_back().apps.push_back(fleet.table.add({name, identifier, "1", name}));
    fleet.table.add({"Superseded", "x", "1", ""});
    std::string asked;
    for (const auto& app : distinctApplications(fleet))
        asked += app.bundleID + "=" + app.name + " ";
    EXPECT_EQ(asked, "y=Even z=Renamed ");
}

}  // namespace
}  // namespace quorvel
