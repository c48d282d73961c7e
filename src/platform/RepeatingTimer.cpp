#include "platform/RepeatingTimer.h"

#include <utility>

namespace quorvel {

struct RepeatingTimer::State {
    Queue& queue;
    std::chrono::nanoseconds interval;
    std::function<void()> block;
};

RepeatingTimer::RepeatingTimer(Queue& queue, std::chrono::nanoseconds interval, std::function<void()> block)
    : state(std::make_shared<State>(State{queue, interval, std::move(block)})) {
    schedule(state);
}

RepeatingTimer::~RepeatingTimer() = default;

void RepeatingTimer::schedule(const std::shared_ptr<State>& state) {
    state->queue.postAfter(state->interval, [weakState = std::weak_ptr(state)] {
        const auto alive = weakState.lock();
        if (!alive) return;
        schedule(alive);
        alive->block();
    });
}

}  // namespace quorvel
