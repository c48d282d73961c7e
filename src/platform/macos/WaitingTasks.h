#pragma once

#include <chrono>
#include <deque>
#include <map>
#include <mutex>
#include <optional>

#include "platform/Queue.h"

namespace quorvel {

/// What waits in a queue, apart from what wakes the queue's thread.
class WaitingTasks {
public:
    using Clock = std::chrono::steady_clock;

    /// Any thread.
    void add(Task task);
    void addDelayed(std::chrono::nanoseconds delay, Task task);

    /// Runs the task that was posted first, if one waits.
    void runNext();
    /// Runs the task that fell due first. Where none has, but some task will, the time until then.
    std::optional<std::chrono::nanoseconds> runDue();

    /// From now on nothing runs, and what is added is dropped.
    void stop();
    /// Drops what waits.
    void drop();

private:
    std::mutex mutex;
    bool isStopped = false;
    std::deque<Task> posted;
    std::multimap<Clock::time_point, Task> delayed;
};

}  // namespace quorvel
