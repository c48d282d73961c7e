#include <gtest/gtest.h>

#include "check/UpdateCheckService.h"
#include "support/FakeOrbistoAPIService.h"
#include "support/FakeQueue.h"
#include "support/FixedScanner.h"
#include "support/TemporaryFolder.h"
#include "versions/VersionComparator.h"

namespace quorvel {
namespace {

using Requests = std::vector<std::string>;

std::unexpected<RequestError> httpFailure(int status, std::string body) {
    return std::unexpected(
        RequestError(OrbistoAPIError{OrbistoAPIError::HttpError{status, std::move(body)}}));
}

class UpdateCheckServiceTest : public testing::Test {
protected:
    UpdateCheckServiceTest() {
        auto fixedScanner = std::make_unique<FixedScanner>();
        scanner = fixedScanner.get();
        auto fakeApi = std::make_unique<FakeOrbistoAPIService>(queue);
        api = fakeApi.get();
        service = std::make_shared<UpdateCheckService>(UpdateCheckService::Parts{
            .scanner = std::move(fixedScanner),
            .api = std::move(fakeApi),
            .versionComparator = std::make_unique<VersionComparator>(),
            .instanceStore = instanceStore,
            .firstRunStore = FirstRunStore(persistence),
            .ignoredVersionsStore = IgnoredVersionsStore(persistence),
            .errorLogger = ErrorLogger(persistence, 500, [] { return std::chrono::sys_days{}; }),
            .connectivity = nullptr,
            .interChunkDelay = std::chrono::milliseconds(250),
            .environment = {{"com.ob.quorvel", "1.4.2"}, {14, 2, 1}},
            .mainQueue = queue});
        instanceStore.save(7);
    }

    void inventory(std::size_t count) {
        scanner->apps.clear();
        for (std::size_t index = 0; index < count; ++index) {
            const auto number = std::to_string(index);
            scanner->apps.push_back({"App " + number, "com.example." + number, "1.0", "/", {}});
        }
    }

    static AutoMatchResult match(std::size_t index) {
        return {1, "", "2.0", {"com.example." + std::to_string(index)}, {}};
    }

    /// Runs one check to its end and says how it ended: the number of updates or the error's text.
    std::string check(CheckObserver observer = {}) {
        std::vector<std::string> outcomes;
        service->scanAndCheck(
            "manual",
            [&](const auto& result) {
                outcomes.push_back(result ? std::to_string(result->size()) + " updates"
                                          : description(result.error()));
            },
            std::move(observer));
        queue.advance(std::chrono::hours(1));
        EXPECT_TRUE(queue.isIdle());
        EXPECT_EQ(outcomes.size(), 1U) << "a completion runs exactly once";
        return outcomes.empty() ? "" : outcomes.front();
    }

    /// The log's messages, without their timestamps.
    std::string log() const {
        std::string text = folder.read("error.log");
        constexpr std::string_view stamp = "[1970-01-01T00:00:00Z] ";
        for (auto at = text.find(stamp); at != std::string::npos; at = text.find(stamp)) {
            text.erase(at, stamp.size());
        }
        return text;
    }

    TemporaryFolder folder;
    PersistenceManager persistence = PersistenceManager::at(folder.path);
    InstanceStore instanceStore{persistence};
    FakeQueue queue;
    FixedScanner* scanner;
    FakeOrbistoAPIService* api;
    std::shared_ptr<UpdateCheckService> service;
};

TEST_F(UpdateCheckServiceTest, sendsTheInventoryInChunksOfTwoHundredWithAPauseBetween) {
    struct Row {
        std::size_t apps;
        Requests requests;
        int milliseconds;
    };
    const std::vector<Row> rows{
        {200, {"auto-match 200"}, 0},
        {201, {"auto-match 200", "auto-match 1"}, 250},
        {400, {"auto-match 200", "auto-match 200"}, 250},
        {401, {"auto-match 200", "auto-match 200", "auto-match 1"}, 500},
    };
    for (const auto& row : rows) {
        inventory(row.apps);
        api->requests.clear();
        const auto start = queue.now;
        FakeQueue::Duration end{};
        EXPECT_EQ(check({.onChunk = {},
                         .onAnswer = {},
                         .onChunkFailed = {},
                         .onEvaluated = [&](const auto&) { end = queue.now; }}),
                  "0 updates");
        EXPECT_EQ(end - start, std::chrono::milliseconds(row.milliseconds)) << row.apps;
        Requests expected = row.requests;
        expected.push_back("/qvl/tracking 7 instance success instance_running trigger=manual apps=" +
                           std::to_string(row.apps) + " updates=0");
        EXPECT_EQ(api->requests, expected);
        EXPECT_EQ(api->lastTitles.back(), "App " + std::to_string(row.apps - 1));
        EXPECT_EQ(api->lastBundleIds.back(), "com.example." + std::to_string(row.apps - 1));
    }
}

TEST_F(UpdateCheckServiceTest, survivesFailedChunksAsLongAsOneBringsAMatch) {
    const auto failure = [](std::string body) { return httpFailure(500, std::move(body)); };
    struct Row {
        std::vector<FakeOrbistoAPIService::ChunkOutcome> chunks;
        std::string outcome, logged;
    };
    const std::vector<Row> rows{
        {{failure("a"), AutoMatchAnswer{{match(400)}}, failure("b")},
         "1 updates",
         "Chunk 1/3 failed: Server returned HTTP 500 — a.\nChunk 3/3 failed: Server returned HTTP 500 — "
         "b.\n"},
        {{AutoMatchAnswer{}, failure("a"), failure("b")},
         "Failed to check for updates (scanned 401 apps): Server returned HTTP 500 — a.",
         "Chunk 2/3 failed: Server returned HTTP 500 — a.\nChunk 3/3 failed: Server returned HTTP 500 — "
         "b.\n"},
        {{AutoMatchAnswer{{match(0), match(1)}}, httpFailure(403, "BLOCKED here"),
          AutoMatchAnswer{{match(2)}}},
         "Orbisto has blocked requests from your network (scanned 401 apps). Please contact Orbisto support.",
         "Chunk 2/3 failed: Server returned HTTP 403 — BLOCKED here.\n"},
        {{httpFailure(403, "forbidden"), AutoMatchAnswer{{match(0)}}, AutoMatchAnswer{{match(1)}}},
         "2 updates",
         "Chunk 1/3 failed: Server returned HTTP 403 — forbidden.\n"},
        {{httpFailure(500, "blocked"), AutoMatchAnswer{{match(0)}}, AutoMatchAnswer{}},
         "1 updates",
         "Chunk 1/3 failed: Server returned HTTP 500 — blocked.\n"},
    };
    inventory(401);
    for (const auto& row : rows) {
        std::filesystem::remove(folder.path / "error.log");
        api->requests.clear();
        api->chunkOutcomes.assign(row.chunks.begin(), row.chunks.end());
        EXPECT_EQ(check(), row.outcome);
        EXPECT_TRUE(log().starts_with(row.logged)) << row.outcome << "\n" << log();
        const bool succeeded = row.outcome.ends_with("updates");
        EXPECT_EQ(log().contains("Check completed"), succeeded);
        EXPECT_EQ(api->requests.back().starts_with("/qvl/tracking"), succeeded)
            << "only a successful check is reported";
        EXPECT_EQ(api->chunkOutcomes.size(), row.outcome.contains("blocked requests") ? 1U : 0U);
    }
}

TEST_F(UpdateCheckServiceTest, registersOnceBeforeTheFirstCheck) {
    std::filesystem::remove(instanceStore.url);
    inventory(1);
    api->chunkOutcomes.push_back(AutoMatchAnswer{{match(0)}});
    EXPECT_EQ(check(), "1 updates");
    const std::string tracking = "/qvl/tracking 48213 instance success ";
    EXPECT_EQ(api->requests,
              (Requests{"register 1.4.2 macOS 14.2.1", "install event", tracking + "first_install",
                        "auto-match 1", tracking + "instance_running trigger=manual apps=1 updates=1"}));
    EXPECT_EQ(api->lastBacktrace, "version: 1.4.2\nos: macOS 14.2.1");
    EXPECT_TRUE(log().starts_with("Registered instance: 48213\n")) << log();
    EXPECT_TRUE(std::filesystem::exists(folder.path / "isFirstRun.txt"));
    EXPECT_EQ(registrationRequest({}).version, "0") << "of a program that knows no version of its own";

    api->requests.clear();
    check();
    EXPECT_EQ(api->requests,
              (Requests{"auto-match 1", tracking + "instance_running trigger=manual apps=1 updates=0"}));
}

TEST_F(UpdateCheckServiceTest, checksWithoutAnInstanceWhenRegistrationFails) {
    std::filesystem::remove(instanceStore.url);
    inventory(1);
    api->registration = std::unexpected(OrbistoAPIError{OrbistoAPIError::ServerError{"Rate limited"}});
    EXPECT_EQ(check(), "0 updates");
    EXPECT_EQ(api->requests, (Requests{"register 1.4.2 macOS 14.2.1", "auto-match 1"}));
    EXPECT_TRUE(log().starts_with("registerInstance failed: Rate limited\n")) << log();
    EXPECT_FALSE(std::filesystem::exists(instanceStore.url));
}

TEST_F(UpdateCheckServiceTest, anEmptyInventoryAsksNobody) {
    std::filesystem::remove(instanceStore.url);
    scanner->found = {{"Broken", "/b", "no version"}};
    EXPECT_EQ(check(), "0 updates");
    EXPECT_TRUE(api->requests.empty());
    EXPECT_EQ(log(), "Scanner found 0 apps — skipping API call\n");
}

TEST_F(UpdateCheckServiceTest, reportsItsUpdatesThenHandsThemOverInTheMenusOrderAndTellsItsObserver) {
    inventory(3);
    scanner->found = {{"Broken", "/b", "no version"}};
    IgnoredVersionsStore(persistence).ignore("2.0", "zebra", "com.example.0");
    scanner->apps[0].name = "zebra";
    scanner->apps[1].name = "Apple";
    api->chunkOutcomes.push_back(AutoMatchAnswer{{match(0), match(1)}, 4});
    std::string told;
    std::vector<AppUpdate> updates;
    service->scanAndCheck(
        "launch",
        [&](auto result) {
            updates = std::move(*result);
            told += " after " + api->requests.back();
        },
        {.onChunk = [&](auto index,
                        auto count) { told += std::to_string(index) + "/" + std::to_string(count); },
         .onAnswer =
             [&](auto index, auto lost) {
                 told += " lost " + std::to_string(index) + "/" + std::to_string(lost);
             },
         .onChunkFailed = {},
         .onEvaluated =
             [&](const auto& evaluation) { told += " skipped " + evaluation.skipped.at(0).name; }});
    queue.runUntilIdle();
    EXPECT_EQ(told,
              "0/1 lost 0/4 skipped App 2 after /qvl/tracking 7 instance success "
              "instance_running trigger=launch apps=3 updates=2");
    EXPECT_TRUE(log().ends_with("Updates: 1\n---\nIssues (1):\n  Broken — no version\n")) << log();
    ASSERT_EQ(updates.size(), 2U);
    EXPECT_EQ(updates[0].app.name + " " + updates[1].app.name, "Apple zebra");
}

TEST_F(UpdateCheckServiceTest, aServiceThatIsGoneCompletesNothing) {
    inventory(201);
    bool completed = false;
    service->scanAndCheck("launch", [&](const auto&) { completed = true; });
    // The second chunk waits for its pause when the service goes.
    queue.runUntilIdle();
    service.reset();
    queue.advance(std::chrono::hours(1));
    EXPECT_FALSE(completed);
}

}  // namespace
}  // namespace quorvel
