#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "platform/PathMonitor.h"

namespace quorvel {

/// What a test keeps in hand of a FakePathMonitor, whose owner is the service under test. The thread that
/// calls `report` stands for the monitor's serial queue.
class FakePath {
public:
    /// Runs the handler with `status`, even when it is the last one again: a path may change, and be
    /// reported, while its status stays. Does nothing before `start` and after `cancel`.
    void report(PathStatus status) {
        const std::lock_guard lock(reporting);
        const auto current = handler;
        if (current && !isCancelled) current(status);
    }

    /// Held while a report runs, so that a cancel on another thread waits for its end, and one inside the
    /// handler does not.
    std::recursive_mutex reporting;
    PathMonitor::UpdateHandler handler;
    std::string queueLabel;
    bool isCancelled = false;
};

/// A monitor that reports what the test tells it to.
class FakePathMonitor final : public PathMonitor {
public:
    explicit FakePathMonitor(std::shared_ptr<FakePath> watchedPath) : path(std::move(watchedPath)) {}
    ~FakePathMonitor() override { cancel(); }

    void start(std::string_view queueLabel, UpdateHandler handler) override {
        const std::lock_guard lock(path->reporting);
        path->queueLabel = queueLabel;
        path->handler = std::move(handler);
    }

    void cancel() override {
        const std::lock_guard lock(path->reporting);
        path->isCancelled = true;
    }

private:
    std::shared_ptr<FakePath> path;
};

}  // namespace quorvel
