#pragma once

#include <algorithm>
#include <chrono>
#include <deque>
#include <map>
#include <utility>

#include "platform/Queue.h"

namespace quorvel {

/// The main queue of a test: nothing runs until the test says so, and time passes only when the test moves
/// it.
class FakeQueue final : public Queue {
public:
    using Duration = std::chrono::nanoseconds;

    void post(Task task) override { ready.push_back(std::move(task)); }

    void postAfter(Duration delay, Task task) override { delayed.emplace(now + delay, std::move(task)); }

    /// Runs what is ready, and what that makes ready. Time stands still.
    void runUntilIdle() {
        while (!ready.empty()) {
            Task task = std::move(ready.front());
            ready.pop_front();
            task();
        }
    }

    /// Moves the clock by `duration`, running everything that falls due at its own time.
    void advance(Duration duration) {
        const Duration end = now + duration;
        runUntilIdle();
        while (!delayed.empty() && delayed.begin()->first <= end) {
            auto node = delayed.extract(delayed.begin());
            now = std::max(now, node.key());
            post(std::move(node.mapped()));
            runUntilIdle();
        }
        now = end;
    }

    /// How long until the earliest delayed task falls due; zero when there is none.
    Duration untilNext() const { return delayed.empty() ? Duration::zero() : delayed.begin()->first - now; }

    bool isIdle() const { return ready.empty() && delayed.empty(); }

    Duration now{};

private:
    std::deque<Task> ready;
    std::multimap<Duration, Task> delayed;
};

}  // namespace quorvel
