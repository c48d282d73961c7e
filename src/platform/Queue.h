#pragma once

#include <chrono>

#include "platform/UniqueFunction.h"

namespace quorvel {

using Task = UniqueFunction<void()>;

/// A queue that runs tasks one after another on one thread. The main queue owns all of the program's state.
/// A task that is still waiting when the queue is destroyed is dropped without being run.
class Queue {
public:
    virtual ~Queue() = default;

    /// Runs `task` later, in the order of posting; never inside this call. Any thread.
    virtual void post(Task task) = 0;

    /// Runs `task` once, `delay` after this call; never inside this call. Only on the queue's own thread.
    virtual void postAfter(std::chrono::nanoseconds delay, Task task) = 0;
};

}  // namespace quorvel
