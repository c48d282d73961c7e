#pragma once

#include <atomic>
#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>

#include "support/StatusLog.h"

namespace quorvel {

/// One network path, at first not satisfied.
class PathHost {
public:
    virtual ~PathHost() = default;
    /// A monitor of it, not started.
    virtual std::unique_ptr<PathMonitor> makeMonitor() = 0;
    /// Changes the path; the report follows on the monitor's queue.
    virtual void setSatisfied(bool satisfied) = 0;
    /// Why this machine cannot run the suite; empty when it can.
    virtual std::string reasonToSkip() const = 0;
};

/// What every path monitor keeps to; the parameter makes its host.
class PathMonitorContract : public testing::TestWithParam<std::function<std::unique_ptr<PathHost>()>> {
protected:
    void SetUp() override {
        if (!host->reasonToSkip().empty()) GTEST_SKIP() << host->reasonToSkip();
        monitor = host->makeMonitor();
    }

    void start(PathMonitor::UpdateHandler handler) {
        monitor->start("com.ob.quorvel.test", std::move(handler));
    }

    const std::unique_ptr<PathHost> host = GetParam()();
    StatusLog log;
    std::unique_ptr<PathMonitor> monitor;
};

TEST_P(PathMonitorContract, reportsThePresentStatusAndThenEachChange) {
    using enum PathStatus;
    host->makeMonitor()->cancel();
    start([this](PathStatus status) { log.add(status); });
    ASSERT_TRUE(log.waitForCount(1));
    host->setSatisfied(true);
    ASSERT_TRUE(log.waitForCount(2));
    host->setSatisfied(false);
    ASSERT_TRUE(log.waitForCount(3));
    EXPECT_EQ(log.all(), (std::vector{unsatisfied, satisfied, unsatisfied}));
}

TEST_P(PathMonitorContract, reportsNothingAfterCancel) {
    for (const bool isInside : {false, true}) {
        host->setSatisfied(false);
        monitor = host->makeMonitor();
        StatusLog seen, witnessed;
        start([&](PathStatus status) {
            if (isInside) monitor->cancel();
            seen.add(status);
        });
        ASSERT_TRUE(seen.waitForCount(1));
        monitor->cancel();
        // Started before the change: once it has reported that, the first monitor has had its chance.
        const auto witness = host->makeMonitor();
        witness->start("com.ob.quorvel.witness", [&](PathStatus status) { witnessed.add(status); });
        ASSERT_TRUE(witnessed.waitForCount(1));
        host->setSatisfied(true);
        EXPECT_TRUE(witnessed.waitForCount(2));
        EXPECT_EQ(seen.all().size(), 1U) << "inside the handler: " << isInside;
    }
}

TEST_P(PathMonitorContract, mayBeDestroyedInsideTheHandler) {
    std::promise<void> destroyed, started;
    start([&, wait = started.get_future().share()](PathStatus) {
        wait.wait();
        monitor.reset();
        destroyed.set_value();
    });
    started.set_value();
    destroyed.get_future().wait();
    EXPECT_EQ(monitor, nullptr);
}

TEST_P(PathMonitorContract, cancelFromManyThreadsWaitsForTheRunningHandler) {
    std::promise<void> entered;
    std::atomic<int> cancelling = 0;
    std::atomic<bool> left = false;
    start([&](PathStatus) {
        entered.set_value();
        while (cancelling < 2)
            std::this_thread::yield();
        for (int turn = 0; turn < 1000; ++turn)
            std::this_thread::yield();
        left = true;
    });
    entered.get_future().wait();
    const auto cancel = [&] {
        ++cancelling;
        monitor->cancel();
        return left.load();
    };
    auto first = std::async(std::launch::async, cancel), second = std::async(std::launch::async, cancel);
    EXPECT_TRUE(first.get());
    EXPECT_TRUE(second.get());
}

}  // namespace quorvel
