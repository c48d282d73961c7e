#pragma once

#include <atomic>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <vector>

#include "support/StatusLog.h"

namespace quorvel {

/// What every path monitor keeps to. A Host is one network path, at first not satisfied, and offers
///   makeMonitor()        a monitor of it, not started
///   setSatisfied(bool)   changes the path; the report follows on the monitor's queue
///   started()            called once a monitor has been started
///   reasonToSkip()       why this machine cannot run the suite; empty when it can
template <typename Host>
class PathMonitorContract : public testing::Test {
protected:
    void SetUp() override {
        if (!host.reasonToSkip().empty()) GTEST_SKIP() << host.reasonToSkip();
        monitor = host.makeMonitor();
    }

    void start(PathMonitor::UpdateHandler handler) {
        monitor->start("com.ob.quorvel.test", std::move(handler));
        host.started();
    }

    /// Makes the path satisfied; true once a second monitor, started before, has reported it. Whatever the
    /// first monitor does about the change, it has had its chance then.
    bool changePathUnderAWitness() {
        StatusLog seen;
        const auto witness = host.makeMonitor();
        witness->start("com.ob.quorvel.witness", [&](PathStatus status) { seen.add(status); });
        host.started();
        const bool isWatching = seen.waitForCount(1);
        host.setSatisfied(true);
        return isWatching && seen.waitForCount(2);
    }

    Host host;
    StatusLog log;
    std::unique_ptr<PathMonitor> monitor;
};

TYPED_TEST_SUITE_P(PathMonitorContract);

TYPED_TEST_P(PathMonitorContract, reportsThePresentStatusAndThenEachChange) {
    using enum PathStatus;
    this->start([this](PathStatus status) { this->log.add(status); });
    ASSERT_TRUE(this->log.waitForCount(1));
    this->host.setSatisfied(true);
    ASSERT_TRUE(this->log.waitForCount(2));
    this->host.setSatisfied(false);
    ASSERT_TRUE(this->log.waitForCount(3));
    EXPECT_EQ(this->log.all(), (std::vector{unsatisfied, satisfied, unsatisfied}));
}

TYPED_TEST_P(PathMonitorContract, reportsNothingAfterCancel) {
    this->start([this](PathStatus status) { this->log.add(status); });
    ASSERT_TRUE(this->log.waitForCount(1));
    this->monitor->cancel();
    EXPECT_TRUE(this->changePathUnderAWitness());
    EXPECT_EQ(this->log.all().size(), 1U);
}

TYPED_TEST_P(PathMonitorContract, cancelInsideTheHandlerEndsTheReports) {
    this->start([this](PathStatus status) {
        this->monitor->cancel();
        this->log.add(status);
    });
    ASSERT_TRUE(this->log.waitForCount(1));
    EXPECT_TRUE(this->changePathUnderAWitness());
    this->monitor->cancel();
    EXPECT_EQ(this->log.all().size(), 1U);
}

TYPED_TEST_P(PathMonitorContract, mayBeDestroyedInsideTheHandler) {
    std::promise<void> destroyed;
    std::promise<void> started;
    this->start([&, wait = started.get_future().share()](PathStatus) {
        wait.wait();
        this->monitor.reset();
        destroyed.set_value();
    });
    started.set_value();
    destroyed.get_future().wait();
    EXPECT_EQ(this->monitor, nullptr);
}

TYPED_TEST_P(PathMonitorContract, cancelFromManyThreadsWaitsForTheRunningHandler) {
    std::promise<void> entered;
    std::atomic<int> cancelling = 0;
    std::atomic<bool> left = false;
    this->start([&](PathStatus) {
        entered.set_value();
        while (cancelling < 2) {
            std::this_thread::yield();
        }
        for (int turn = 0; turn < 1000; ++turn) {
            std::this_thread::yield();
        }
        left = true;
    });
    entered.get_future().wait();
    const auto cancel = [&] {
        ++cancelling;
        this->monitor->cancel();
        return left.load();
    };
    auto first = std::async(std::launch::async, cancel);
    auto second = std::async(std::launch::async, cancel);
    EXPECT_TRUE(first.get());
    EXPECT_TRUE(second.get());
}

TYPED_TEST_P(PathMonitorContract, mayBeCancelledWithoutHavingBeenStarted) {
    this->monitor->cancel();
    this->monitor.reset();
    EXPECT_TRUE(this->log.all().empty());
}

REGISTER_TYPED_TEST_SUITE_P(PathMonitorContract, reportsThePresentStatusAndThenEachChange,
                            reportsNothingAfterCancel, cancelInsideTheHandlerEndsTheReports,
                            mayBeDestroyedInsideTheHandler, cancelFromManyThreadsWaitsForTheRunningHandler,
                            mayBeCancelledWithoutHavingBeenStarted);

}  // namespace quorvel
