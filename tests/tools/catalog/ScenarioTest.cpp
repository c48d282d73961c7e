#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "OversizedBody.h"
#include "Scenario.h"

namespace quorvel {

namespace {

using Json = nlohmann::json;
using Kind = CatalogAnswer::Kind;

CatalogAnswer matches(int count) {
    Json data = Json::array();
    for (int index = 0; index < count; ++index)
        data.push_back({{"id", index}, {"title", "T"}});
    return {.kind = Kind::matches, .body = Json{{"success", true}, {"data", data}}.dump()};
}

/// All that the wire shows of an answer.
std::string shown(const CatalogAnswer& answer) {
    return std::to_string(answer.status) + " " + answer.contentType + " " +
           std::to_string(static_cast<int>(answer.delivery)) + " " + answer.body;
}

}  // namespace

TEST(Scenario, bendsOnlyTheAnswersThatItIsAbout) {
    for (const auto& description : Scenario::all()) {
        const bool isRegistration = description.name == Scenario::Name::unregistered;
        for (const Kind kind : {Kind::refusal, Kind::matches, Kind::registration, Kind::event}) {
            CatalogAnswer answer = matches(2);
            answer.kind = kind;
            Scenario scenario(description.name);
            // Every second answer is bent in one scenario.
            const bool same = shown(scenario.bend(answer)) == shown(answer) &&
                              shown(scenario.bend(answer)) == shown(answer);
            EXPECT_EQ(!same, kind == (isRegistration ? Kind::registration : Kind::matches))
                << description.option << ", kind " << static_cast<int>(kind);
        }
    }
}

TEST(Scenario, failsEverySecondChunkAndStartsWithAGoodOne) {
    Scenario scenario(Scenario::Name::failingChunks);
    std::vector<int> statuses;
    for (int chunk = 0; chunk < 5; ++chunk)
        statuses.push_back(scenario.bend(matches(1)).status);
    EXPECT_EQ(statuses, (std::vector{200, 500, 200, 500, 200}));
}

TEST(Scenario, spoilsEverySecondEntryInTurnInTwoWays) {
    Scenario scenario(Scenario::Name::malformedEntries);
    const Json expected = Json::parse(
        R"([{"id":0,"title":"T"},{"id":1},{"id":2,"title":"T"},{"id":"3","title":"T"},{"id":4,"title":"T"}])");
    EXPECT_EQ(Json::parse(scenario.bend(matches(5)).body).at("data"), expected);
}

TEST(Scenario, onlyTheBlockedScenarioSaysBlockedAndOnlyNoAppsThatNothingWasFound) {
    for (const auto& [name, option, sentence] : Scenario::all()) {
        Scenario scenario(name);
        scenario.bend(matches(1));
        const CatalogAnswer answer = scenario.bend(matches(1));
        EXPECT_EQ(answer.body.find("Blocked") != std::string::npos, name == Scenario::Name::blocked)
            << option;
        EXPECT_EQ(answer.body.find("No apps were found") != std::string::npos, name == Scenario::Name::noApps)
            << option;
    }
}

TEST(OversizedBody, isOneValidAnswerAbove64MiBInSmallBlocks) {
    Scenario scenario(Scenario::Name::veryLarge);
    const CatalogAnswer nothingMatched{.kind = Kind::matches, .status = 404, .body = "{}"};
    OversizedBody body(scenario.bend(nothingMatched).body);
    std::vector<std::string> blocks;
    std::size_t size = 0;
    for (std::string block = body.nextBlock(); !block.empty(); block = body.nextBlock()) {
        ASSERT_LT(block.size(), std::size_t{128} << 10);
        size += block.size();
        blocks.push_back(std::move(block));
    }
    EXPECT_GT(size, std::size_t{64} << 20);
    // Any block may follow any other: they are valid together when each is between the first and the last.
    const std::string& last = blocks.back();
    for (std::size_t index = 1; index + 1 < blocks.size(); index += 100) {
        const std::string whole = blocks.front() + blocks[index] + last;
        EXPECT_TRUE(Json::accept(whole)) << index << ": " << blocks[index].substr(0, 200);
    }
    EXPECT_EQ(body.nextBlock(), "");
}

}  // namespace quorvel
