#include <algorithm>
#include <atomic>
#include <future>
#include <thread>

#include "connectivity/ConnectivityService.h"
#include "support/FakePathMonitor.h"
#include "support/StatusLog.h"

namespace quorvel {
namespace {

/// A service on a path that the test reports on.
struct Watched {
    void install() {
        service->setOnConnectivityRestored([this] { ++restores; });
    }

    std::shared_ptr<FakePath> path = std::make_shared<FakePath>();
    std::unique_ptr<ConnectivityService> service =
        std::make_unique<ConnectivityService>(std::make_unique<FakePathMonitor>(path));
    int restores = 0;
};

// A script holds s, u and r for reports of satisfied, unsatisfied and requires connection, and i for a
// callback that is installed. What follows each step is whether the service is connected and how many
// callbacks have run.
struct Row {
    const char* script;
    const char* expected;
};

std::string play(const std::string& script) {
    Watched watched;
    std::string states;
    for (const char step : script) {
        if (step == 'i') watched.install();
        if (step == 's') watched.path->report(PathStatus::satisfied);
        if (step == 'u') watched.path->report(PathStatus::unsatisfied);
        if (step == 'r') watched.path->report(PathStatus::requiresConnection);
        states += watched.service->isConnected() ? '+' : '-';
        states += std::to_string(watched.restores);
    }
    return states;
}

TEST(ConnectivityService, runsTheCallbackOnceForEachReportedOutageThatEnds) {
    const Row rows[] = {
        {"i", "-0"},
        {"is", "-0+0"},
        {"iss", "-0+0+0"},
        {"isuss", "-0+0-0+1+1"},
        {"iuss", "-0-0+1+1"},
        {"iuus", "-0-0-0+1"},
        {"irs", "-0-0+1"},
        {"isrurs", "-0+0-0-0-0+1"},
        {"isus us", "-0+0-0+1+1-1+1"},
        {"iusius", "-0-0+1+1-1+2"},
        {"usisus", "-0+0+0+0-0+1"},
        {"siius", "+0+0+0-0+1"},
        {"suis", "+0-0-0+1"},
    };
    for (const auto& [script, expected] : rows) {
        EXPECT_EQ(play(script), expected) << "script " << script;
    }
}

TEST(ConnectivityService, isConnectedForEverWithoutMonitoring) {
    const auto path = std::make_shared<FakePath>();
    ConnectivityService skipping(std::make_unique<FakePathMonitor>(path), true);
    ConnectivityService without(nullptr);
    EXPECT_TRUE(skipping.isConnected());
    EXPECT_TRUE(without.isConnected());
    EXPECT_EQ(path->handler, nullptr);
}

TEST(ConnectivityService, isConnectedAlreadyWhenTheCallbackRuns) {
    Watched watched;
    bool wasConnected = false;
    watched.service->setOnConnectivityRestored([&] { wasConnected = watched.service->isConnected(); });
    watched.path->report(PathStatus::unsatisfied);
    watched.path->report(PathStatus::satisfied);
    EXPECT_TRUE(wasConnected);
}

TEST(ConnectivityService, keepsACallbackInstalledByTheCallbackForTheNextOutage) {
    Watched watched;
    watched.service->setOnConnectivityRestored([&] { watched.install(); });
    watched.path->report(PathStatus::unsatisfied);
    watched.path->report(PathStatus::satisfied);
    EXPECT_EQ(watched.restores, 0);
    watched.path->report(PathStatus::unsatisfied);
    watched.path->report(PathStatus::satisfied);
    EXPECT_EQ(watched.restores, 1);
}

TEST(ConnectivityService, listensOnItsOwnQueueUntilItIsDestroyed) {
    Watched watched;
    EXPECT_EQ(watched.path->queueLabel, "com.ob.quorvel.connectivity");
    watched.install();
    watched.path->report(PathStatus::unsatisfied);
    watched.service.reset();
    EXPECT_TRUE(watched.path->isCancelled);
    // A monitor whose report was already on its way calls a handler that holds nothing.
    watched.path->handler(PathStatus::satisfied);
    EXPECT_EQ(watched.restores, 0);
}

TEST(ConnectivityService, mayBeDestroyedByItsOwnCallback) {
    Watched watched;
    watched.service->setOnConnectivityRestored([&] { watched.service.reset(); });
    watched.path->report(PathStatus::unsatisfied);
    watched.path->report(PathStatus::satisfied);
    EXPECT_EQ(watched.service, nullptr);
}

TEST(ConnectivityService, destructionWaitsForACallbackThatRuns) {
    Watched watched;
    std::promise<void> entered;
    bool left = false;
    watched.service->setOnConnectivityRestored([&] {
        entered.set_value();
        for (int turn = 0; turn < 1000; ++turn)
            std::this_thread::yield();
        left = true;
    });
    std::thread queue([path = watched.path] {
        path->report(PathStatus::unsatisfied);
        path->report(PathStatus::satisfied);
    });
    entered.get_future().wait();
    watched.service.reset();
    EXPECT_TRUE(left);
    queue.join();
}

TEST(ConnectivityService, runsNoCallbackTwiceWhenInstallingRacesWithReports) {
    Watched watched;
    std::atomic<bool> isInstalling = true;
    std::thread queue([&isInstalling, path = watched.path] {
        while (isInstalling) {
            path->report(PathStatus::unsatisfied);
            path->report(PathStatus::satisfied);
        }
    });
    std::vector<std::atomic<int>> runs(10'000);
    for (auto& count : runs)
        watched.service->setOnConnectivityRestored([&count] { ++count; });
    isInstalling = false;
    queue.join();
    EXPECT_TRUE(std::ranges::all_of(runs, [](const auto& count) { return count <= 1; }));
}

}  // namespace
}  // namespace quorvel
