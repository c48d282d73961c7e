#include <tuple>

#include "support/AppDelegateFixture.h"

namespace quorvel {
namespace {

/// What one check asks of the catalog and makes of its answers.
class UpdateCheckServiceTest : public AppDelegateFixture {
protected:
    /// Applications whose names are their numbers, all of them in the catalog, in version 2.0.
    void addListedApps(std::size_t count) {
        Versions versions;
        for (std::size_t number = 0; number < count; ++number) {
            const auto name = std::to_string(number);
            addApp(name, "1.0");
            versions[name] = "2.0";
        }
        listInCatalog(std::move(versions));
    }

    static std::string success(std::size_t apps, std::size_t updates) {
        return "/qvl/tracking success instance_running trigger=launch apps=" + std::to_string(apps) +
               " updates=" + std::to_string(updates) + "\n";
    }

    /// Runs a launch check and gives what it wrote between its first line and its last, without timestamps.
    std::string logOfLaunch() {
        session.completions.empty() ? launchOnline() : delegate->runLaunchCheck();
        settle();
        std::string text = log();
        for (auto at = text.find('['); at != std::string::npos; at = text.find('['))
            text.erase(at, std::string("[1970-01-01T00:00:00Z] ").size());
        const std::string first = "Launch started\n", last = "---\nLaunch check completed in ";
        const auto start = text.find(first) + first.size();
        return text.substr(start, text.rfind(last) - start);
    }
};

TEST_F(UpdateCheckServiceTest, sendsTheInventoryInChunksOfTwoHundredWithAPauseBetween) {
    const std::string path = "/apps/auto-match-collection ";
    const std::tuple<std::size_t, std::string, std::chrono::milliseconds> rows[] = {
        {200, path + "200\n", std::chrono::milliseconds(0)},
        {201, path + "200\n" + path + "1\n", std::chrono::milliseconds(250)},
        {401, path + "200\n" + path + "200\n" + path + "1\n", std::chrono::milliseconds(500)},
    };
    for (const auto& [apps, requests, pauses] : rows) {
        addListedApps(apps);
        const auto start = queue.now;
        logOfLaunch();
        EXPECT_EQ(queue.now - start, pauses) << apps;
        EXPECT_EQ(newRequests(), requests + success(apps, apps));
    }
}

TEST_F(UpdateCheckServiceTest, survivesFailedChunksAsLongAsOneBringsAMatch) {
    const std::string failed =
        "Failed to check for updates (scanned 401 apps): Server returned HTTP 500 — a.";
    const std::string refused =
        "Orbisto has blocked requests from your network (scanned 401 apps). Please contact Orbisto support.";
    const Answer none{200, R"({"success":true,"data":[]})"}, a{500, "a"}, b{500, "b"};
    const struct {
        std::vector<std::optional<Answer>> chunks;
        std::size_t updates;
        std::string error;
    } rows[] = {
        {{a, {}, b}, 200, ""},
        {{none, a, b}, 0, failed},
        {{{}, Answer{403, "BLOCKED here"}, none}, 0, refused},
        {{Answer{403, "forbidden"}, {}, none}, 200, ""},
        {{Answer{500, "blocked"}, {}, {}}, 201, ""},
    };
    addListedApps(401);
    for (const auto& [chunks, updates, error] : rows) {
        chunkAnswers.assign(chunks.begin(), chunks.end());
        std::string expected;
        for (std::size_t chunk = 0; chunk < 3; ++chunk) {
            if (chunks[chunk].value_or(none).status == 200) continue;
            expected += "Chunk " + std::to_string(chunk + 1) + "/3 failed: Server returned HTTP " +
                        std::to_string(chunks[chunk]->status) + " — " + chunks[chunk]->body + ".\n";
        }
        expected += error.empty() ? "---\nCheck completed\n" : error + "\n";
        const auto text = logOfLaunch();
        EXPECT_TRUE(text.starts_with(expected)) << text;
        EXPECT_EQ(updatesText().starts_with("!Last check failed\n!<" + error + ">\n"), !error.empty());
        const auto last = error.empty() ? success(401, updates) : "/qvl/tracking error " + error + "\n";
        EXPECT_TRUE(newRequests().ends_with(last)) << last;
        EXPECT_EQ(chunkAnswers.size(), error == refused ? 1U : 0U);
    }
}

TEST_F(UpdateCheckServiceTest, registersTheInstallationOnceBeforeTheFirstCheck) {
    addApp("Amberleaf", "1.0");
    std::filesystem::remove(instanceStore.url);
    answers["/qvl/instance"] = {200, R"({"success":false,"error":{"message":"Rate limited"}})"};
    const std::string asked = "/qvl/instance {\"version\":\"1.4.2\",\"os\":\"macOS 14.5.0\"}\n";
    EXPECT_TRUE(logOfLaunch().starts_with("registerInstance failed: Rate limited\n---\nCheck completed\n"));
    EXPECT_EQ(newRequests(), asked + "/apps/auto-match-collection 1\n");
    EXPECT_FALSE(std::filesystem::exists(instanceStore.url));
    answers["/qvl/instance"] = {200, R"({"success":true,"data":{"id":48213}})"};
    EXPECT_TRUE(logOfLaunch().starts_with("Registered instance: 48213\n---\nCheck completed\n"));
    EXPECT_EQ(newRequests(), asked +
                                 "/event/app/64734/install\n/qvl/tracking success first_install\n"
                                 "/apps/auto-match-collection 1\n" +
                                 success(1, 0));
    EXPECT_EQ(backtrace(), "version: 1.4.2\nos: macOS 14.5.0");
    EXPECT_TRUE(std::filesystem::exists(folder.path / "data/isFirstRun.txt"));
    EXPECT_EQ(instanceStore.load(), 48213);
}

TEST_F(UpdateCheckServiceTest, listsWhatIsNewerInOrderAndCountsWhatIsIgnored) {
    for (const char* name : {"zebra", "Apple", "Current", "Stranger"})
        addApp(name, "1.0");
    addApp("Broken", "");
    IgnoredVersionsStore(persistence).ignore("2.0", "Mango", "com.example.Mango");
    addApp("Mango", "1.0");
    listInCatalog({{"zebra", "2.0"}, {"Apple", "2.0"}, {"Mango", "2.0"}, {"Current", "1.0"}});
    EXPECT_EQ(logOfLaunch(),
              "---\nCheck completed\nAll apps: 6\nMatched: 4 (1 already latest)\nUnmatched: 1\n"
              "Updates: 2\n---\nIssues (1):\n  Broken — no version\n");
    EXPECT_EQ(updatesText(), "<Apple> (<1.0> → <2.0>)\n<zebra> (<1.0> → <2.0>)\n");
    EXPECT_TRUE(newRequests().ends_with(success(5, 3)));
}

}  // namespace
}  // namespace quorvel
