#pragma once

#include <memory>

#include "platform/Queue.h"

namespace quorvel {

/// The run loop of the main thread as a queue: its tasks run also while a menu is open or an alert is shown.
/// What a task throws ends the process. Made and destroyed on the main thread; owned by an entry.
class MainQueue final : public Queue {
public:
    MainQueue();
    ~MainQueue() override;
    MainQueue(const MainQueue&) = delete;
    MainQueue& operator=(const MainQueue&) = delete;

    void post(Task task) override;

    /// Time that the machine spends asleep counts as the system's timers count it.
    void postAfter(std::chrono::nanoseconds delay, Task task) override;

    /// From now on no task runs and none is taken; those that wait stay until the queue is destroyed.
    void stop();

private:
    struct State;
    const std::unique_ptr<State> state;
};

}  // namespace quorvel
