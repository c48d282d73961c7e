#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <ostream>
#include <vector>

#include "platform/PathMonitor.h"

namespace quorvel {

inline std::ostream& operator<<(std::ostream& out, PathStatus status) {
    const char* const names[] = {"satisfied", "unsatisfied", "requires connection"};
    return out << names[static_cast<int>(status)];
}

/// The path reports so far, in order, and a way to wait for them.
class StatusLog {
public:
    void add(PathStatus status) {
        const std::lock_guard lock(mutex);
        statuses.push_back(status);
        changed.notify_all();
    }

    std::vector<PathStatus> all() const {
        const std::lock_guard lock(mutex);
        return statuses;
    }

    /// Whether `condition`, asked of all statuses after each report, has come true; false after a limit that
    /// only a report which never comes can reach.
    template <typename Condition>
    bool waitUntil(Condition condition) const {
        std::unique_lock lock(mutex);
        return changed.wait_for(lock, std::chrono::seconds(30), [&] { return condition(statuses); });
    }

    bool waitForCount(std::size_t count) const {
        return waitUntil([count](const auto& all) { return all.size() >= count; });
    }

private:
    mutable std::mutex mutex;
    mutable std::condition_variable changed;
    std::vector<PathStatus> statuses;
};

}  // namespace quorvel
