#pragma once

#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>

#include "platform/Queue.h"

namespace quorvel {

/// A main queue for programs that wait for nothing but tasks: it sleeps on a condition variable, on the
/// thread that calls `run`. Owned by a command, which outlives all that posts to it.
class TaskQueue final : public Queue {
public:
    TaskQueue() = default;
    ~TaskQueue() override;
    TaskQueue(const TaskQueue&) = delete;
    TaskQueue& operator=(const TaskQueue&) = delete;

    void post(Task task) override;
    void postAfter(std::chrono::nanoseconds delay, Task task) override;

    /// Runs tasks until `quit`. What a task throws comes out of here.
    void run();

    /// Ends the `run` under way after the task at hand, or the next `run` before its first. Any thread.
    void quit();

private:
    using Clock = std::chrono::steady_clock;

    std::mutex mutex;
    std::condition_variable changed;
    bool isQuitting = false;
    /// Outlives the tasks.
    bool isClosed = false;
    std::deque<Task> waiting;
    /// By due time; of two that are due together, the one posted first comes first.
    std::multimap<Clock::time_point, Task> delayed;
};

}  // namespace quorvel
