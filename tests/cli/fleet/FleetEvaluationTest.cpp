#include <gtest/gtest.h>

#include "cli/fleet/FleetEvaluation.h"

namespace quorvel {
namespace {

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
