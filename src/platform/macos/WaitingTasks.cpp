#include "platform/macos/WaitingTasks.h"

#include <algorithm>
#include <utility>

#include "platform/macos/ToolkitCall.h"

namespace quorvel {

void WaitingTasks::add(Task task) {
    const std::lock_guard lock(mutex);
    if (!isStopped) posted.push_back(std::move(task));
}

void WaitingTasks::addDelayed(std::chrono::nanoseconds delay, Task task) {
    // Beyond which the clock would overflow.
    constexpr std::chrono::years maxDelay{100};
    if (!isStopped)
        delayed.emplace(Clock::now() + std::min<Clock::duration>(delay, maxDelay), std::move(task));
}

void WaitingTasks::runNext() {
    Task task;
    {
        const std::lock_guard lock(mutex);
        if (isStopped || posted.empty()) return;
        task = std::move(posted.front());
        posted.pop_front();
    }
    runForToolkit([&] { task(); });
}

std::optional<std::chrono::nanoseconds> WaitingTasks::runDue() {
    if (isStopped || delayed.empty()) return std::nullopt;
    if (const auto rest = delayed.begin()->first - Clock::now(); rest > Clock::duration::zero()) return rest;
    auto task = std::move(delayed.extract(delayed.begin()).mapped());
    runForToolkit([&] { task(); });
    return std::nullopt;
}

void WaitingTasks::stop() {
    const std::lock_guard lock(mutex);
    isStopped = true;
}

void WaitingTasks::drop() {
    std::deque<Task> dropped;
    {
        const std::lock_guard lock(mutex);
        dropped.swap(posted);
    }
    const auto droppedLater = std::exchange(delayed, {});
}

}  // namespace quorvel
