#include "platform/posix/TaskQueue.h"

#include <algorithm>
#include <utility>

namespace quorvel {

TaskQueue::~TaskQueue() {
    // Dropping a task destroys what it captured, which may post once more: from here on that does nothing.
    const std::lock_guard lock(mutex);
    isClosed = true;
}

void TaskQueue::post(Task task) {
    const std::lock_guard lock(mutex);
    if (isClosed) return;
    waiting.push_back(std::move(task));
    changed.notify_one();
}

void TaskQueue::postAfter(std::chrono::nanoseconds delay, Task task) {
    const std::lock_guard lock(mutex);
    if (isClosed) return;
    const auto now = Clock::now();
    delay = std::clamp(delay, std::chrono::nanoseconds::zero(), Clock::time_point::max() - now);
    delayed.emplace(now + delay, std::move(task));
}

void TaskQueue::run() {
    for (;;) {
        Task task;
        {
            std::unique_lock lock(mutex);
            const auto hasWork = [this] { return isQuitting || !waiting.empty(); };
            if (delayed.empty()) {
                changed.wait(lock, hasWork);
            } else {
                changed.wait_until(lock, delayed.begin()->first, hasWork);
            }
            if (std::exchange(isQuitting, false)) return;
            for (const auto now = Clock::now(); !delayed.empty() && delayed.begin()->first <= now;)
                waiting.push_back(std::move(delayed.extract(delayed.begin()).mapped()));
            if (waiting.empty()) continue;
            task = std::move(waiting.front());
            waiting.pop_front();
        }
        task();
    }
}

void TaskQueue::quit() {
    const std::lock_guard lock(mutex);
    isQuitting = true;
    changed.notify_one();
}

}  // namespace quorvel
