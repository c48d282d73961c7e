#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "platform/Queue.h"

namespace quorvel {

/// Runs its block every `interval` until it is destroyed. Time that the machine spends asleep
/// counts as the queue's delays count it; several periods missed during sleep run the block once. The queue's
/// own thread.
class RepeatingTimer {
public:
    RepeatingTimer(Queue& queue, std::chrono::nanoseconds interval, std::function<void()> block);
    ~RepeatingTimer();
    RepeatingTimer(const RepeatingTimer&) = delete;
    RepeatingTimer& operator=(const RepeatingTimer&) = delete;

private:
    struct State;
    static void schedule(const std::shared_ptr<State>& state);

    std::shared_ptr<State> state;
};

}  // namespace quorvel
