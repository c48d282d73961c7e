#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
#include <thread>

#include "connectivity/ConnectivityService.h"
#include "support/FakePathMonitor.h"

namespace quorvel {
namespace {

class ConnectivityServiceTest : public testing::Test {
protected:
    void report(std::initializer_list<PathStatus> statuses) const {
        for (const auto status : statuses)
            path->report(status);
    }

    std::shared_ptr<FakePath> path = std::make_shared<FakePath>();
    std::unique_ptr<ConnectivityService> service =
        std::make_unique<ConnectivityService>(std::make_unique<FakePathMonitor>(path));
};

using enum PathStatus;

// A script holds s, u and r for reports of satisfied, unsatisfied and requires connection, and i for a
// callback that is installed. What follows each step is whether the service is connected and how many
// callbacks have run.
TEST_F(ConnectivityServiceTest, runsTheCallbackOnceForEachReportedOutageThatEnds) {
    const std::pair<const char*, const char*> rows[] = {
        {"is", "-0+0"},          {"isuss", "-0+0-0+1+1"},    {"iuus", "-0-0-0+1"},
        {"irs", "-0-0+1"},       {"isusus", "-0+0-0+1-1+1"}, {"iusius", "-0-0+1+1-1+2"},
        {"siius", "+0+0+0-0+1"}, {"suis", "+0-0-0+1"},
    };
    for (const auto& [script, expected] : rows) {
        path = std::make_shared<FakePath>();
        service = std::make_unique<ConnectivityService>(std::make_unique<FakePathMonitor>(path));
        int restores = 0;
        std::string states;
        for (const char step : std::string(script)) {
            if (step == 'i') service->setOnConnectivityRestored([&] { ++restores; });
            if (step != 'i')
                report({step == 's' ? satisfied : step == 'u' ? unsatisfied : requiresConnection});
            states += (service->isConnected() ? '+' : '-') + std::to_string(restores);
        }
        EXPECT_EQ(states, expected) << script;
    }
}

TEST_F(ConnectivityServiceTest, isConnectedForEverWithoutMonitoring) {
    const auto unwatched = std::make_shared<FakePath>();
    EXPECT_TRUE(ConnectivityService(std::make_unique<FakePathMonitor>(unwatched), true).isConnected());
    EXPECT_TRUE(ConnectivityService(nullptr).isConnected());
    EXPECT_EQ(unwatched->handler, nullptr);
}

TEST_F(ConnectivityServiceTest, listensOnItsOwnQueueUntilTheCallbackOrItsOwnerEndsIt) {
    EXPECT_EQ(path->queueLabel, "com.ob.quorvel.connectivity");
    service->setOnConnectivityRestored([&] {
        EXPECT_TRUE(service->isConnected());
        service->setOnConnectivityRestored([&] { service.reset(); });
    });
    report({unsatisfied, satisfied});
    EXPECT_NE(service, nullptr) << "the successor is for the next outage";
    report({unsatisfied, satisfied});
    EXPECT_EQ(service, nullptr);
    EXPECT_TRUE(path->isCancelled);
    // A monitor whose report was already on its way calls a handler that holds nothing.
    path->handler(unsatisfied);
}

TEST_F(ConnectivityServiceTest, runsNoCallbackTwiceWhenInstallingRacesWithReports) {
    std::atomic<bool> isInstalling = true;
    std::thread queue([&] {
        while (isInstalling)
            report({unsatisfied, satisfied});
    });
    std::vector<std::atomic<int>> runs(500);
    for (auto& count : runs)
        service->setOnConnectivityRestored([&count] { ++count; });
    isInstalling = false;
    queue.join();
    EXPECT_TRUE(std::ranges::all_of(runs, [](const auto& count) { return count <= 1; }));
}

}  // namespace
}  // namespace quorvel
