#include <gtest/gtest.h>

#include "check/Chunks.h"
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
            .interChunkDelay = interChunkDelay,
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
    const std::tuple<std::size_t, Requests, int> rows[] = {
        {200, {"auto-match 200"}, 0},
        {201, {"auto-match 200", "auto-match 1"}, 250},
        {401, {"auto-match 200", "auto-match 200", "auto-match 1"}, 500},
    };
    for (const auto& [apps, requests, milliseconds] : rows) {
        inventory(apps);
        api->requests.clear();
        const auto start = queue.now;
        FakeQueue::Duration end{};
        CheckObserver observer;
        observer.onEvaluated = [&](const auto&) { end = queue.now; };
        EXPECT_EQ(check(observer), "0 updates");
        EXPECT_EQ(end - start, std::chrono::milliseconds(milliseconds)) << apps;
        Requests expected = requests;
        expected.push_back("/qvl/tracking 7 instance success instance_running trigger=manual apps=" +
                           std::to_string(apps) + " updates=0");
        EXPECT_EQ(api->requests, expected);
        EXPECT_EQ(api->lastTitles.back(), "App " + std::to_string(apps - 1));
        EXPECT_EQ(api->lastBundleIds.back(), "com.example." + std::to_string(apps - 1));
    }
}

TEST_F(UpdateCheckServiceTest, survivesFailedChunksAsLongAsOneBringsAMatch) {
    const AutoMatchAnswer none, one{{match(0)}}, two{{match(0), match(1)}};
    const auto a = httpFailure(500, "a"), blocked = httpFailure(403, "BLOCKED here");
    const auto logged = [](int chunk, const std::string& error) {
        return "Chunk " + std::to_string(chunk) + "/3 failed: Server returned HTTP " + error + ".\n";
    };
    const struct {
        std::vector<FakeOrbistoAPIService::ChunkOutcome> chunks;
        std::string outcome, logged;
    } rows[] = {
        {{a, one, httpFailure(500, "b")}, "1 updates", logged(1, "500 — a") + logged(3, "500 — b")},
        {{none, a, httpFailure(500, "b")},
         "Failed to check for updates (scanned 401 apps): Server returned HTTP 500 — a.",
         logged(2, "500 — a") + logged(3, "500 — b")},
        {{two, blocked, one},
         "Orbisto has blocked requests from your network (scanned 401 apps). Please contact Orbisto support.",
         logged(2, "403 — BLOCKED here")},
        {{httpFailure(403, "forbidden"), two, none}, "2 updates", logged(1, "403 — forbidden")},
        {{httpFailure(500, "blocked"), one, none}, "1 updates", logged(1, "500 — blocked")},
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

TEST_F(UpdateCheckServiceTest, reportsItsUpdatesThenHandsThemOverInTheMenusOrderAndNotifiesItsObserver) {
    inventory(3);
    scanner->found = {{"Broken", "/b", "no version"}};
    IgnoredVersionsStore(persistence).ignore("2.0", "zebra", "com.example.0");
    scanner->apps[0].name = "zebra";
    scanner->apps[1].name = "Apple";
    api->chunkOutcomes.push_back(AutoMatchAnswer{{match(0), match(1)}, 4});
    std::string seen;
    CheckObserver observer;
    observer.onChunk = [&](auto index, auto count) { seen += std::to_string(10 * index + count); };
    observer.onAnswer = [&](auto index, auto lost) { seen += " lost " + std::to_string(10 * index + lost); };
    observer.onEvaluated = [&](const auto& all) { seen += " skipped " + all.skipped.at(0).name; };
    std::vector<AppUpdate> updates;
    service->scanAndCheck(
        "launch",
        [&](auto result) {
            updates = std::move(*result);
            seen += " after " + api->requests.back();
        },
        observer);
    queue.runUntilIdle();
    EXPECT_EQ(seen,
              "1 lost 4 skipped App 2 after /qvl/tracking 7 instance success "
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
